// engine/act.h — the records of the aircraft the engine handles: a live aircraft (`Act`) that follows the
// samples of the traffic service, and a statically parked one (`ParkedAc`), with their common head.
// Headings, bank and pitch are radians (true heading 0 .. 2 pi; negative pitch is nose up, as in the
// simulator); distances nautical miles unless a unit is given, altitudes feet, speeds knots; every tick,
// slot and slice count is in engine slices of 10 ms.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

#include "common/geo.h"
#include "liveries/dbase.h"

// One position of an aircraft: the tail of a TrafficRecord with the same field names.
struct Sample {
    double latitude = 0.0;              // degrees, north positive
    double longitude = 0.0;             // degrees, east positive
    std::optional<double> bank;         // radians, right wing down negative; absent when not reported
    std::optional<double> trueHeading;  // radians; exactly 2 pi stands for 0, so 0 stays "absent"
    double altitude = 0.0;              // feet; 0 is on the ground
    double groundSpeed = 0.0;           // knots
    double track = 0.0;                 // degrees true
    double verticalSpeed = 0.0;         // feet per minute
    double airspeed = 0.0;              // knots
    int32_t dueTick = 0;                // slice S at which the aircraft is to be here
    bool airborne = false;              // altitude > 0
    bool stopped = false;               // the aircraft stands still at this point
    bool hasHeading = false;            // trueHeading is present
};

// Life state of an Act or a ParkedAc.
enum class ActState : int32_t {
    New = 0,         // in the table, collecting samples; no object and no request (Act only)
    Creating = 1,    // creation requested
    Live = 2,        // the object exists and is driven
    Recreating = 3,  // removed in order to be created again under another identity (Act only)
    Removing = 4,    // removal ordered; the record goes when the simulator confirms
};

// Flight phase of an Act. The numbers are compared ("at least Taxi"), keep their order.
enum class ActPhase : int32_t {
    PushBack = 0,       // being pushed from the stand
    HoldAfterPush = 1,  // push done, waits for the real aircraft to move off
    Taxi = 2,           // on the ground and moving; also rolling out and lined up
    TakeOff = 3,        // take-off roll, rotation, lift-off
    Airborne = 4,       // flying
    ToStand = 5,        // rolling the last metres into a chosen stand
    AtStand = 6,        // on a stand
    Unplaced = 7,       // not given a phase yet; value at creation
};

// The head common to both records. The eight strings mean what the same fields of TrafficRecord mean.
struct AcBase {
    std::string airline;          // airline code, 3 letters or "PVT"
    std::string model;            // ICAO type designator
    std::string from;             // origin airport; compared with the park airport's IATA code
    std::string to;               // destination airport; compared likewise
    std::string callsign;         // current callsign; a trailing "_" marks a ghost
    std::string altCallsign1;     // copy of callsign made at admission; parked: first callsign of the stand option
    std::string altCallsign2;     // coupled callsign; an Act's is emptied at admission, filled by the stand search
    std::string reg;              // regcode
    bool coupledChecked = false;  // the search for a coupled callsign has run
    ModelCategory category = ModelCategory::Large;  // Large until set
    bool cargo = false;                             // cargo operator or cargo type
    bool fsltl = false;                             // the chosen livery is of the FSLTL family
    double halfSpan = 0.0;                          // half wingspan, nm
    double staticCg = 0.0;                          // reference point above ground when standing, feet; 0 unknown
    double staticPitch = 0.0;                       // pitch when standing, radians; 0 unknown
    double rotatePitch = 0.0;                       // pitch at the end of rotation, radians
    double climbPitch = 0.0;                        // pitch of the initial climb, radians
    double taxiTurnRate = 0.0;                      // radians per slice
    double turnRate = 0.0;                          // radians per slice now in force on the ground
    double maxAltRate = 0.0;                        // largest altitude step, feet per slice
    double slowSpeed = 0.0;                         // speed for the last part to a stand, knots
    uint32_t hexid = 0;                             // transponder address; a ParkedAc's serial 1..9999
    int32_t flareSlots = 0;                         // slices
    int32_t onGroundSlots = 0;                      // slices
    int32_t rotateSlots = 0;                        // slices
    int32_t liftOffSlots = 0;                       // slices
    std::string_view livery;  // matched title; its characters live in the livery table for the whole run
};

// Any hexid above this is an Act; a ParkedAc's serial stays below.
constexpr uint32_t kParkedSerialLimit = 10000;

// A statically parked aircraft. An Act begins with the same fields in the same order.
struct ParkedAc : AcBase {
    uint32_t objectId = 0;      // simulator object id; 0 while there is none
    double standLat = 0.0;      // stand position, degrees
    double standLon = 0.0;      // degrees
    double standHeading = 0.0;  // radians
    uint64_t parkedSince = 0;   // time-of-week word of the moment it took the stand
    uint32_t ptHexid = 0;       // hexid of the parked-traffic record it came from, else 0
    uint32_t sid = 0;           // id of the Stand it uses, 0 for none
    ActState state = ActState::New;
    int32_t throttle = 5;       // last throttle index sent; 5 = nothing sent yet
    int32_t flaps = 4;          // last flaps index sent; 4 = nothing sent yet
    bool standCargo = false;    // the stand is a cargo stand
    bool fromPt = false;        // it came from parked traffic
    bool dropOnCreate = false;  // its creation could not be cancelled: remove it as soon as it exists
};

// One live aircraft, following a stream of service samples.
struct Act : ParkedAc {
    double latitude = 0.0;          // present position, degrees
    double longitude = 0.0;         // degrees
    double pitch = 0.0;             // present attitude, radians
    double bank = 0.0;              // radians
    double heading = 0.0;           // radians, true
    double altitude = 0.0;          // feet
    double verticalSpeedFps = 0.0;  // feet per second, as sent to the simulator
    double trueAirspeed = 0.0;      // knots, as sent to the simulator
    std::deque<Sample> stream;      // positions still to be flown; never empty once the record exists
    double lastTimestamp = 0.0;     // seconds since 1970 of the last accepted traffic record
    double lastRecordLat = 0.0;     // its position, degrees: the engine's own samples (stand, push) lie elsewhere
    double lastRecordLon = 0.0;     // degrees
    double lastRecordSpeed = 0.0;   // its ground speed, knots
    double lastRecordMoved = 0.0;   // seconds since 1970 of the last accepted record with a new position: a
                                    // fix repeated for seconds is stale, the next one makes up for all of them
    double lastCheckLat = 0.0;      // position at the last collision check against parked aircraft, degrees
    double lastCheckLon = 0.0;      // degrees
    int64_t standTime = 0;          // steady clock, ns, of the last sample inside the stand circle
    int32_t extrapolation = 0;      // 0 none; above 0 extrapolated legs left; -1 used up
    ActPhase phase = ActPhase::Unplaced;
    ActPhase prevPhase = ActPhase::Unplaced;
    bool drop = false;              // goes at the next compaction; no simulator object is involved
    bool standHeld = false;         // holds its stand while the stream has run out
    bool onGround = false;          // on the ground now
    bool hasPlanFile = false;       // a flight plan file exists for this objectId
    bool held = false;              // refused for now by a collision rule at admission
    bool recreated = false;         // the object is being created a second time after a change of identity
    double stepLat = 0.0;           // per slice on the present leg, degrees
    double stepLon = 0.0;           // degrees
    double stepPitch = 0.0;         // radians
    double stepBank = 0.0;          // radians
    double stepHeading = 0.0;       // radians
    double stepAlt = 0.0;           // feet
    double legVerticalSpeed = 0.0;  // feet per minute on this leg
    double legAirspeed = 0.0;       // knots on this leg
    double curveOriginLat = 0.0;    // ground curve origin, degrees
    double curveOriginLon = 0.0;    // degrees
    double curveStart = 0.0;        // metres from the origin
    double curveEndY = 0.0;         // metres
    double curveEndX = 0.0;         // metres
    double curveStop = 0.0;         // metres
    double curveCtrlX = std::numeric_limits<double>::quiet_NaN();  // metres; NaN in both: no curve
    double curveCtrlY = std::numeric_limits<double>::quiet_NaN();  // metres
    double curveIndex = 0.0;                                       // position on the curve, 0 .. 1
    double curveStep = 0.0;                                        // its step per slice
    double turnAngle = 0.0;                                        // degrees of the present curve
    Sample pushSample;                                             // the point to which a push back turns
    double lastSearchLat = 0.0;                                    // position of the last stand search, degrees
    double lastSearchLon = 0.0;                                    // degrees
    int32_t earlySlack = 1000;                                     // slices a leg may end before its sample's dueTick
    int32_t lateSlack = 1000;                                      // slices a leg may end after it
    int32_t pushStage = 0;                                         // points of the push still to be flown
    int32_t slots = 1;                                             // countdown of the present manoeuvre, slices
    int32_t awayCount = 0;                                         // samples in a row moving away from the stand
    double targetHeading = 0.0;                                    // radians
    double agl = 2500.0;                   // height above ground as the simulator reports it, feet
    double fieldHeight = 0.0;              // height above fieldElevation, feet
    double touchdownHeading = 0.0;         // radians
    double pullDistance = 0.0;             // largest distance seen from the end of the push, nm
    double firstStandDist = 0.0;           // first distance of samples from the stand, metres
    double lastStandDist = 0.0;            // last distance, metres
    double turnLeft = 0.0;                 // degrees still to turn
    std::optional<double> keepHeading;     // radians, kept through a re-creation
    bool pushTurnRight = false;            // side of the push's last turn
    bool pushTurnKnown = false;            // ... and whether it is known
    std::optional<double> fieldElevation;  // elevation latched for the flare, feet
    int32_t flareStage = 0;                // 0 none, 1 .. 4
    bool onApproach = false;
    bool landedHere = false;
    bool towed = false;
    bool climbOut = false;
    bool departing = false;
    bool aboveTen = false;  // lights last set above 10000 ft
    bool belowTen = false;  // lights last set below 10000 ft
    bool noseDown = false;
    bool rollOut = false;
    bool leaving = false;
    bool turning = false;
    uint8_t badInputLogged = 0;  // kinds of impossible records already logged for this aircraft (kBadInput...)
};

// What each category brings. Slots are slices; rates radians per slice; pitches radians (negative is
// nose up); speeds knots; maxAltRate feet per slice. The first rows are copied into the record at
// creation, the last ones are consulted by category.
struct CategoryValues {
    int32_t flareSlots;
    int32_t onGroundSlots;
    int32_t rotateSlots;
    int32_t liftOffSlots;
    double rotatePitchDeg;   // degrees here; varied by 2.5 per cent, stored in radians
    double climbPitchDeg;    // degrees here; varied by 5 per cent, stored in radians
    double taxiTurnRateDps;  // degrees per second
    double maxAltRate;       // feet per slice
    double slowSpeed;        // knots
    double rotationSpeed;    // knots
    double maxBankDeg;       // degrees
    double maxBankRateDps;   // degrees per second
    double maxPitchRateDps;  // degrees per second
};

// Indexed by ModelCategory: Light, Buzjets, Large, Heavy, HighPerf, Rotorcraft.
inline constexpr std::array<CategoryValues, kModelCategoryCount> kCategoryValues = {{
    {250, 250, 100, 200, -9.0, -15.0, 15.0, 0.5, 5.0, 90.0, 40.0, 3.5, 1.0},
    {300, 300, 200, 250, -8.0, -18.0, 10.0, 0.75, 4.5, 110.0, 35.0, 2.75, 0.85},
    {400, 350, 200, 300, -6.0, -16.5, 7.0, 0.6, 4.0, 140.0, 30.0, 2.0, 0.75},
    {450, 450, 250, 400, -5.0, -12.5, 5.0, 0.5, 3.0, 150.0, 20.0, 1.5, 0.5},
    {150, 150, 100, 200, -6.0, -20.0, 10.0, 1.0, 4.5, 220.0, 90.0, 10.0, 3.0},
    {100, 100, 100, 100, -20.0, -30.0, 20.0, 0.75, 5.0, 0.0, 75.0, 6.0, 3.0},
}};

// A rate in degrees per second as radians per slice (100 slices a second).
constexpr double gf_perSecondToPerSlice(double degreesPerSecond) { return degreesPerSecond * kPi / 18000.0; }

inline const CategoryValues& gf_categoryValues(ModelCategory c) { return kCategoryValues[static_cast<size_t>(c)]; }
