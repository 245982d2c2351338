// engine/events.h — what the simulator's reports do to the records, and the delay list that lets a new
// object settle for 200 slices before it takes commands.
#pragma once

#include <cstdint>

#include "engine/act.h"
#include "simlink/queues.h"

constexpr int32_t kSettleSlices = 200;  // a new object takes commands reliably after 2 s
constexpr double kStaticCgLowFt = 1.0;  // a standing height outside 1 .. 35 ft is wrong
constexpr double kStaticCgHighFt = 35.0;
constexpr double kStaticPitchLow = -1.0 * kDegToRad;        // at or below: replaced
constexpr double kStaticPitchHigh = 2.5 * kDegToRad;        // above: replaced
constexpr double kStaticPitchStand = 0.012217304763960306;  // 0.7 degrees, radians

// Step 1 of each slice: every queued simulator event through its handler, then one step of each entry of
// the delay list. Takes the event queue lock; commands take the simulator lock inside it.
void gf_drainEngineEvents();
// One event (the event queue lock is held by the caller).
void gf_processSimEvent(const SimEvent& event);
// The simulator reported the object of a live aircraft. False when the id is no object (below 3).
bool gf_liveAIAdded(Act& act, uint32_t objectId, double reportedAgl);
