// engine/intake.h — how traffic records reach the active table: the hand-over from the Traffic Reader, the
// paced initial load, the new aircraft, and the filters that decide which samples enter a stream.
#pragma once

#include <cstddef>
#include <cstdint>

#include "engine/act.h"
#include "service/record.h"

// Thresholds of the intake, in the program's units.
constexpr double kTimeGapSeconds = 1.0;                     // a record no later than this after the last is ignored
constexpr size_t kStreamLimit = 200;                        // samples; above this the aircraft is given up
constexpr double kStillBoxDeg = 0.00015;                    // a smaller move in both axes is no move
constexpr double kStandCircleNm = 0.0458963282937365;       // 85 m: inside it a sample belongs to the stand
constexpr double kStandMovedNm = 0.0016198704103671706;     // 3 m: smallest change of the distance to the stand
constexpr double kStandLostNm = 0.10799136069114472;        // 200 m: an aircraft this far from its stand is gone
constexpr double kAirThinningNm = 0.2429805615550756;       // 450 m: an airborne leg is at least this long
constexpr double kGroundThinningNm = 0.010799136069114472;  // 20 m on the ground ...
constexpr double kGroundThinningSeconds = 15.0;             // ... or at most this long
constexpr double kStopThinningNm = 0.011879049676025918;    // 22 m: a stop this close to its start is a hesitation
constexpr int32_t kStopThinningSlices = 1500;               // 15 s: a shorter stop is a hesitation
constexpr double kFieldBandFt = 120.0;  // within this of the field, below 10000 ft: touching down or lifting off
constexpr double kFieldBandTopFt = 10000.0;
constexpr double kNoFieldElevationFt = -1000.0;  // the field's elevation when no park airport is set
// A record farther from the last sample than this speed could carry it in the time between them (plus the
// slack) is no position of this aircraft: a corrupt position or a second aircraft under its address.
constexpr double kFastestPlausibleKt = 1000.0;
constexpr double kJumpSlackNm = 5.0;
// A taxiing aircraft's record must lie within what its reported speed, and this much more, could carry it
// since the last accepted record with a new position, plus the scatter of ground fixes: a taxiing aircraft
// does not cover 180 m in a second, a multilateration fix that scatters by that much does. Past the
// believe time the position is taken however far: the aircraft really is there (a take-off run without
// speeds). Above taxi speeds the speeds lag a run that gains 5 kt a second: no test.
constexpr double kGroundJumpTaxiKt = 50.0;
constexpr double kGroundJumpHeadroomKt = 40.0;
constexpr double kGroundJumpScatterNm = 0.016198704103671708;  // 30 m
constexpr double kGroundJumpBelieveSeconds = 10.0;
// Bits of Act::badInputLogged: each kind of impossible record is logged once per aircraft.
constexpr uint8_t kBadInputTimeBack = 1;
constexpr uint8_t kBadInputJump = 2;
constexpr uint8_t kBadInputGroundJump = 4;

// The record an Act has taken last: the yardstick of the next one's time and position.
void gf_noteAcceptedRecord(Act& act, const TrafficRecord& record);
// Engine thread: one traffic record offered to the active table (a new sample of a known aircraft, or a
// new aircraft).
void gf_offerLiveSample(TrafficRecord& record);
// Engine thread, step 4 of each slice: the live records handed over since the last slice, in arrival
// order; then the initial load, paced as its batch counter says. Returns how many records were offered.
size_t gf_workTrafficBuffer();
// False for a record below 10000 ft and within 120 ft of the field: it is touching down or lifting off.
bool gf_outsideFieldBand(const TrafficRecord& record);
// The sample of a record, as the stream keeps it.
Sample gf_sampleOf(const TrafficRecord& record);

// The filters of the phase, then the sample is appended (engine/filters.cpp).
void gf_addSample(Act& act, Sample sample);
// Takes the aircraft out of the simulator to create it again under its new identity.
void gf_recreateAct(Act& act);
