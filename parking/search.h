// parking/search.h — who stands on which stand of the park airport at a given hour of the week: the walk
// over the stands' history, the walk back in time when the present hour leaves stands empty ("fit"), and
// the partner callsign of a flight that leaves under another number.
// Engine thread, inside a parking calculation; reads the stand table (airports.stands), the parked and
// active tables, and the lists and seen sets of parking/state.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "airports/airport_file.h"
#include "common/timeofweek.h"
#include "engine/act.h"

// One stand found free with an option that fits the hour searched.
struct FoundPosition {
    std::string airl;
    std::string type;
    uint32_t sid = 0;
    int32_t offset = 0;  // half hours back
    std::string reg;
    std::string cs1, cs2;
    bool stays = false;  // still there in the half hour after the present one
};

constexpr size_t kSearchReserve = 512;  // found and accepted positions of one search

// Real (soft false) or soft options `offset` half hours before `time`; appends to `found`, compares
// registrations with `accepted`. Marks each stand it fills taken and its neighbours adjacentTaken.
void lf_searchStands(TimeOfWeek time, bool soft, int32_t offset, std::vector<FoundPosition>& found,
                     const std::vector<FoundPosition>& accepted);
// Offsets 0 .. MAX_FIT until `wanted` stands are taken (true). What the last round found stays in
// `found`, the rounds before go to `accepted`. Stores the last offset in fitReal or fitSoft.
bool lf_searchFit(TimeOfWeek time, bool soft, int32_t wanted, std::vector<FoundPosition>& found,
                  std::vector<FoundPosition>& accepted);
// Real options first, then soft ones (PARK_SOFT or PARK_FAKE), appended to parking.chosenPositions;
// `have` stands are already taken by earlier sources.
void lf_choosePositions(TimeOfWeek time, int32_t wanted, int32_t have);

// The partner of a live aircraft's callsign in the history around `time` (10 half hours either side, 14
// for a heavy): sets altCallsign1 and altCallsign2 when an option of its airline couples the callsign.
void gf_searchForCoupledCsAroundThisTime(TimeOfWeek time, AcBase& ac);
// A real, not deleted option of this aircraft: its callsign, or its airline and model.
bool gf_optionMatchesAircraft(const ParkPos& option, const std::string& callsign, const std::string& airline,
                              const std::string& model);

// Hours that n half hours stand for in the log: the half hour itself counts.
constexpr double gf_halfHoursToHours(int32_t n) { return n * 0.5 + 0.5; }
// Still there in the half hour after `time`: an option without a second callsign always; else by its
// own hours, or at midnight by an option of the next day with bit 0.
bool gf_optionStays(const Stand& stand, const ParkPos& option, TimeOfWeek time);
// Stands with `taken` set.
int32_t gf_takenCount();
// `taken` on the stand, `adjacentTaken` on its neighbours.
void gf_markTaken(uint32_t sid);
// Two aircraft on these stands would touch: their half spans (nm) add up to more than the stands' distance.
bool gf_spansOverlap(uint32_t sidA, const std::string& modelA, uint32_t sidB, const std::string& modelB);
