// engine/motion.h — how a live aircraft follows its stream: legs from sample to sample, stepped every slice,
// and its position sent to the simulator. The leg functions are shared by the files of the motion
// (engine/motion*.cpp) and the ground operations (engine/ground*.cpp); all run on the engine thread.
#pragma once

#include <cstdint>

#include "common/geo.h"
#include "engine/act.h"

constexpr int32_t kSmallestLegSlices = 25;      // no leg is shorter
constexpr double kSlicesPerHour = 360000.0;     // nm * this / knots = slices
constexpr double kMetresPerDegree = 111132.95;  // curves only
constexpr int64_t kWeekSlices = 60480000;       // dueTick step of an aircraft whose data stopped at a stand
constexpr int32_t kNarrowSlack = 1000;          // slices; the slacks shrink back to this, 100 a leg
constexpr int32_t kOpenSlack = 3000;            // slices, at events where the data are poor
constexpr int32_t kOpenLateSlackDeparting = 5000;
constexpr double kAirPitchBase = -0.05235987755982989;  // -3 degrees: pitch in level flight, radians
constexpr double kFlarePitch = -0.06981317007977318;    // -4 degrees: highest nose in the flare, radians
constexpr double kGroundPitch = 0.010471975511965976;   // 0.6 degrees, radians

// Step 2 of each slice: every Live aircraft steps along its leg and its position goes out, every New
// one goes through the admission; dropped records are erased; the positions are handed over.
void gf_moveAircraft();
// Some aircraft is in its flare: the scan of aircraft in range runs five times as often.
bool gf_anyAircraftLanding();

// Wide slacks after poor data (take-off, go-around, the end of a stop); ends an extrapolation.
void gf_openSlack(Act& act);
// The same slacks, the extrapolation left as it is.
void gf_widenSlack(Act& act);
// Each slack above 1000 goes down by 100, not below 1000.
void gf_shrinkSlack(Act& act);
// The pitch that goes with a vertical speed (feet per minute) in the air.
double gf_airPitch(double verticalSpeedFpm);
// Position of a sample.
inline LatLon gf_at(const Sample& s) { return {s.latitude, s.longitude}; }
// An angle wrapped into 0 .. 2 pi.
double gf_wrapAngle(double radians);

// --- legs (engine/motion.cpp) ---
// The mean ground speed of head and next; from the schedule when both stand. Knots.
double gf_legSpeed(const Act& act);
// The leg ends at S + duration, as far as the slacks let it move off next's due slice.
void gf_clampSchedule(Act& act, int32_t duration);

// --- on the ground (engine/ground_legs.cpp) ---
// Decided at the start of each leg on the ground: curves, midpoints, the parking test, leaving a stand,
// and the leg's duration.
void gf_planGroundLeg(Act& act);
// The duration of a leg on the ground and the turn rate that fits it.
void gf_scheduleGroundLeg(Act& act);
// A sample halfway between head and next goes in behind the head.
void gf_insertMidpoint(Act& act);
// One quadratic curve from the present position over next to third replaces the two legs; next goes.
void gf_makeCurve(Act& act);
// The point and heading of the curve at t; false without a curve or with t out of range.
bool gf_curvePoint(const Act& act, double t, LatLon& position, double& heading);
// The curve is cleared.
void gf_clearCurve(Act& act);

// --- in the air and each slice (engine/motion_air.cpp) ---
// At the start of a leg of n slices in the air: altitude, pitch, heading and bank steps, configuration.
void gf_setAirLeg(Act& act, int32_t n);
// One slice of an aircraft whose head is not stopped: position, heading, flare, rotation and climb.
void gf_stepAct(Act& act);
