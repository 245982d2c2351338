// parking/steps.h — the steps the first calculation and the renewal share. Engine thread.
#pragma once

#include <cstdint>
#include <string>

#include "common/timeofweek.h"
#include "engine/act.h"

// The moment the calculation in hand works with (parking.calcTime).
TimeOfWeek gf_calcNow();
// `a` is later than `b` in the week; Monday counts as later than Sunday.
bool gf_laterInWeek(TimeOfWeek a, TimeOfWeek b);
// The moment taken and logged, the seen sets taken from the Traffic Reader, the soft lamp cleared.
void gf_startCalculation();
// The user's stands stay free: the one the tracking reserved, and the one under the user aircraft.
void gf_markReserved();
// taken, reserved and adjacentTaken cleared on every stand; `renumber` brings back the options the last
// search switched off (optId 1, 2, ... in vector order).
void gf_clearStandFlags(bool renumber);
// chosenPositions by offset; the creation takes from the back.
void gf_sortPositions(bool largestFirst);
// The parked aircraft goes: Removing, and an entry in toRemove.
void gf_queueRemoval(ParkedAc& parked);
// The callsign or its ghost is in the last traffic data.
bool gf_seenLive(const std::string& callsign);
// The stand's name for the log; "sid==0?" for none.
std::string gf_parkStandName(uint32_t sid);
// parking.wanted and the panel's copy from gf_wantedPositions().
void gf_publishWanted();

template <typename V>
int32_t gf_count(const V& v) {
    return static_cast<int32_t>(v.size());
}
