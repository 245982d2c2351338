// engine/motion.h — how a live aircraft follows its stream: legs from sample to sample, stepped every slice,
// and its position sent to the simulator.
#pragma once

#include <cstdint>

#include "engine/act.h"

constexpr int32_t kSmallestLegSlices = 25;   // no leg is shorter
constexpr double kSlicesPerHour = 360000.0;  // nm * this / knots = slices
constexpr int64_t kWeekSlices = 60480000;    // dueTick step of an aircraft whose data stopped at a stand
constexpr int32_t kNarrowSlack = 1000;       // slices; the slacks shrink back to this, 100 a leg
constexpr int32_t kOpenSlack = 3000;         // slices, at events where the data are poor
constexpr int32_t kOpenLateSlackDeparting = 5000;
constexpr double kAirPitchBase = -0.05235987755982989;  // -3 degrees: pitch in level flight, radians
constexpr double kGroundPitch = 0.010471975511965976;   // 0.6 degrees, radians

// Step 2 of each slice: every Live aircraft steps along its leg and its position goes out, every New
// one goes through the admission; dropped records are erased; the positions are handed over.
void gf_moveAircraft();
// Some aircraft is in its landing phase: the scan of aircraft in range runs five times as often.
bool gf_anyAircraftLanding();

// Wide slacks after poor data (take-off, go-around, the end of a stop); ends an extrapolation.
void gf_openSlack(Act& act);
// Each slack above 1000 goes down by 100, not below 1000.
void gf_shrinkSlack(Act& act);
// The pitch that goes with a vertical speed (feet per minute) in the air.
double gf_airPitch(double verticalSpeedFpm);
