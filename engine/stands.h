// engine/stands.h — where a live aircraft that starts on the ground begins: on a free stand of the park
// airport, or taxiing.
//
// STUB until the airport files come: no stand table is loaded yet, so gf_searchStandNear finds nothing,
// the rules end at their first step and every ground start taxis. The rules after the search (reserved
// and user stands, claims of other live aircraft, adjacency, clearing the parked aircraft, taking the
// stand and learning the arrival) come with the stand table; lf_claimStand and lf_parkedMakesPlace in
// engine/admission.h are ready for them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "common/geo.h"
#include "engine/act.h"

// The stand rules for a head on the ground. True when the aircraft is placed (AtStand or Taxi) and goes
// on; false when it was dropped or lost its head for this slice.
bool gf_standRulesForLive(Act& act);
// A stand within limitNm of position, its id; `wide` widens the search for a standing aircraft.
std::optional<uint32_t> gf_searchStandNear(LatLon position, double limitNm, bool wide);
// The stand's name for the log: "sid==0?" for no stand, "unknown" for an id not in the table.
std::string gf_standName(uint32_t sid);
