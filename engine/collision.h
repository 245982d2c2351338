// engine/collision.h — keeping the injected aircraft off the user's aircraft and off each other: nothing in
// the simulator keeps them apart, so an aircraft that would touch goes. And who may stay when two stands
// lie so close that the aircraft on them could overlap. Engine thread only.
#pragma once

#include <cstdint>

#include "airports/airport_file.h"
#include "common/geo.h"
#include "engine/act.h"

constexpr double kClearanceFactor = 1.1;     // two aircraft on the ground need their half spans plus 10 per cent
constexpr double kLowApproachAglFt = 500.0;  // a user below this height looks at the ground ahead
constexpr double kLowApproachAheadNm = 1.0;  // ... this far
constexpr double kLowApproachLineFt = 50.0;  // ... within this of his line of flight
constexpr double kAirborneNearNm = 4.0;      // an airborne aircraft this close to the user
constexpr double kAirborneLayerFt = 1000.0;  // ... and less than this above or below him
constexpr double kAirborneLineFt = 700.0;    // ... with the user within this of its line of flight

// Once per simulator tick, after the motion: the user on the ground or in the air against the live
// aircraft, then the taxiing aircraft against the parked ones, each as its parameter allows.
void gf_collisionChecks();

// --- the single rules, for the tick and the stand rules of admission, arrival and parking ---

// The user on the ground: the first live aircraft on the ground within the clearance goes; then, if he
// moved since the last look, the first parked aircraft whose stand lies within it.
void lf_collisionUserGround();
// The user in the air: true when `act` (Live) was in his way and was removed.
bool lf_collisionUserAir(Act& act);
// A taxiing aircraft reaches the stand of `parked`: true when the parked aircraft was removed.
bool lf_collisionLiveParked(const Act& act, ParkedAc& parked);

// The stand `stand` is being given to `newcomer`; `act` may stand on the adjacent stand `adjacentId`.
// At creation: true when `act` refuses the newcomer (their spans overlap), which ends the walk.
bool lf_adjacentRefusesNewcomer(uint32_t adjacentId, const Act& newcomer, const Stand& stand, const Act& act);
// An arrival takes the stand: `act` on the adjacent stand goes if their spans overlap. True when it went.
bool lf_adjacentMakesPlace(uint32_t adjacentId, const Act& newcomer, const Stand& stand, Act& act);
// A live aircraft takes the stand either way: `parked` on the adjacent stand goes if their spans overlap.
// True when it went, which ends the walk.
bool lf_parkedAdjacentMakesPlace(uint32_t adjacentId, const Act& newcomer, const Stand& stand, ParkedAc& parked);
