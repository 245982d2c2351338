// engine/stands.h — the stands of the park airport as a live aircraft sees them: which stand an aircraft
// stands on or stops at, whether it may have it, and taking it.
#pragma once

#include <cstdint>
#include <string>

#include "airports/airport_file.h"
#include "common/geo.h"
#include "engine/act.h"

constexpr double kParkAirportNm = 5.0;                       // a ground start farther out taxis
constexpr double kStandSearchNm = 0.029697624190064796;      // 55 m around the search position
constexpr double kStandOnItNm = 0.010799136069114472;        // 20 m: an aircraft this close stands on the stand
constexpr double kSecondChoiceNm = 0.0458963282937365;       // 85 m: a stand that knows this aircraft
constexpr double kSettledNm = 0.018898488120950324;          // 35 m: the stream ends this close to its head
constexpr double kOversizeShrinkNm = 0.0005399568034557236;  // 1 m: a grown stand's radius under the half span

// The stand rules for a head on the ground. True when the aircraft is placed (AtStand or Taxi) and goes
// on; false when it was dropped or lost its head for this slice.
bool gf_standRulesForLive(Act& act);
// The best free stand within limitNm of position for this aircraft, or null. `wide` also accepts, up to
// 85 m, a stand whose history knows this callsign or airline and type. A stand the aircraft stands right
// on but does not fit grows to the aircraft's size. The pointer is good until the stand table changes.
Stand* gf_searchStandNear(LatLon position, const Act& act, double limitNm, bool wide);
// The stand with this id, or null.
Stand* gf_standOfId(uint32_t sid);
// The stand's name for the log: "sid==0?" for no stand, "unknown" for an id not in the table.
std::string gf_standName(uint32_t sid);
// The stand is kept free: the reserved stand of the park airport, or the one the user stands on.
bool gf_standKeptFree(const Stand& stand);
// The parked aircraft on the stand make way for a live one.
void gf_clearStandForLive(const Act& act, const Stand& stand);
// An arrival takes `stand`: a live aircraft on a stand next to it whose span overlaps goes, the first found.
void gf_adjacentMakePlace(const Act& newcomer, const Stand& stand);
// A cargo aircraft on a stand not known as cargo marks it so, for the learned file.
void gf_markCargoStand(const Act& act);
