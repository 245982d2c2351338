// engine/ground.h — what happens to a live aircraft on the ground: touchdown and roll-out, the departure
// and the take-off run, the last metres into a stand, pushing back and pulling out, and how many live
// aircraft may stand parked. Engine thread.
#pragma once

#include <cstdint>

#include "airports/airport_file.h"
#include "engine/act.h"

constexpr double kSpanTooWideSearchNm = 0.029697624190064796;  // 55 m: search limit of a wide parking test
constexpr double kParkTestNm = 0.010799136069114472;           // 20 m: search limit of a plain parking test
constexpr double kAtStandNm = 0.0010799136069114472;           // 2 m: arrived
constexpr double kTakeOffTriggerKt = 43.0;                     // a departing aircraft this fast may rotate

// --- landing and take-off (engine/ground_events.cpp) ---
// A height report shows on the ground an aircraft that was not: touchdown, or a plain first contact.
void gf_touchdown(Act& act);
// The start of a leg on the ground towards a moving next: phase, throttle, attitude, take-off trigger.
void gf_setGroundLeg(Act& act);
// A sample shows the aircraft speeding up for take-off or lifting off.
void gf_startDeparture(Act& act);
// The take-off roll ends: rotation and climb follow in the slice steps.
void gf_startTakeOff(Act& act);
// Each ground leg while rolling out: the turn off the runway ends it; spoilers in below 90 knots.
void gf_rollOut(Act& act);

// --- stands (engine/ground_stands.cpp) ---
// The stand fields of the aircraft from the stand, with a fresh stand circle.
void gf_takeStand(Act& act, const Stand& stand);
// The parking test of a taxiing aircraft whose stream ends stopped.
void gf_parkingTest(Act& act);
// A stand at the last sample of the stream; the last metres into it are laid. True if one was taken.
bool gf_tryParkAt(Act& act, bool wide);
// The stream of an aircraft rolling to its stand has ended: parked, or taxiing on if it is not there.
void gf_arriveAtStand(Act& act);
// Leaving a stand forwards, or tail first with a turn to the side the real aircraft shows.
void gf_pullOut(Act& act);
void gf_pushBack(Act& act);
// A leg of the push: at its midpoint the side of the turn is decided, at its end the aircraft holds.
void gf_pushLeg(Act& act);
// Holds the number of aircraft on stands to what the parking calculation wanted.
void gf_limitParked(int32_t newcomers);
