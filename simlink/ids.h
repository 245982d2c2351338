// simlink/ids.h — the program's own SimConnect numbers: data definitions, requests, system events,
// client events and the notification group. Every handler of the session relies on them, so they never
// change between versions.
#pragma once

#include <cstddef>
#include <cstdint>

// Data definitions.
constexpr uint32_t kDefControls = 401;      // spoilers and two throttles of an AI aircraft, sent
constexpr uint32_t kDefPosition = 402;      // position of an AI aircraft, sent: eight doubles, 64 bytes
constexpr uint32_t kDefUserData = 403;      // user aircraft snapshot, received: twelve 8-byte fields
constexpr uint32_t kDefInRange = 404;       // scan of aircraft in range, received
constexpr uint32_t kDefStatic = 405;        // standing height and pitch of an AI aircraft, received
constexpr uint32_t kDefLightOn = 406;       // set up, never requested
constexpr uint32_t kDefUserTitle = 407;     // "TITLE" of the user aircraft
constexpr uint32_t kDefUserModel = 408;     // "ATC MODEL" of the user aircraft
constexpr uint32_t kDefUserOnGround = 409;  // "SIM ON GROUND" of the user aircraft, once a second

// Requests.
constexpr uint32_t kReqInRange = 101;       // aircraft within rangeMeters, definition 404
constexpr uint32_t kReqStatic = 102;        // static values of a new AI object, definition 405
constexpr uint32_t kReqRelease = 103;       // request id of SimConnect_AIReleaseControl
constexpr uint32_t kReqCreate = 104;        // request id of SimConnect_AICreateNonATCAircraft
constexpr uint32_t kReqRemove = 105;        // request id of SimConnect_AIRemoveObject
constexpr uint32_t kReqUserTitle = 106;     // definition 407, once
constexpr uint32_t kReqUserModel = 107;     // definition 408, once
constexpr uint32_t kReqUserOnGround = 108;  // definition 409, every second: the tick
constexpr uint32_t kReqUserSnapshot = 109;  // definition 403, once per call
constexpr uint32_t kReqFlightPlan = 110;    // request id of SimConnect_AISetAircraftFlightPlan

// System events.
constexpr uint32_t kEvSim = 201;
constexpr uint32_t kEvObjectAdded = 202;
constexpr uint32_t kEvObjectRemoved = 203;
constexpr uint32_t kEvFrame = 204;
constexpr uint32_t kEvPositionChanged = 205;
constexpr uint32_t kEvFlightLoaded = 206;

// Client events.
constexpr uint32_t kEvBeaconLights = 207;
constexpr uint32_t kEvNavLights = 208;
constexpr uint32_t kEvTaxiLights = 209;
constexpr uint32_t kEvStrobes = 210;
constexpr uint32_t kEvLandingLights = 211;
constexpr uint32_t kEvCabinLights = 212;
constexpr uint32_t kEvLogoLights = 213;
constexpr uint32_t kEvAllLightsToggle = 214;
constexpr uint32_t kEvFreezeLatLon = 215;
constexpr uint32_t kEvFreezeAltitude = 216;
constexpr uint32_t kEvFreezeAttitude = 217;
constexpr uint32_t kEvFlapsSet = 218;
constexpr uint32_t kEvSpoilersSet = 219;
constexpr uint32_t kEvGearSet = 220;
constexpr uint32_t kEvEngineAutoStart = 221;
constexpr uint32_t kEvEngineAutoShutdown = 222;
constexpr uint32_t kEvThrottleSet = 223;

// The one notification group of the client events.
constexpr uint32_t kGroupAi = 301;

// Data values of the client events, in the simulator's range of 0 to 16383.
constexpr uint32_t kThrottleTable[5] = {0, 4914, 8191, 11468, 16383};
constexpr uint32_t kFlapsTable[5] = {0, 3072, 10240, 16383, 0};  // index 4 stands for retracted again
constexpr uint32_t kSpoilersOut = 16383;

// Objects of at most this height above ground (feet) get height reports from the scan in range.
constexpr double kHeightReportFeet = 2500.0;
// A jump of the user aircraft farther than this (nm) is a teleport: the traffic picture is void.
constexpr double kTeleportNm = 10.0;
// Inside this distance (nm, 55 m) of a stand the user aircraft stands on it.
constexpr double kUserStandNm = 0.029697624190064796;
// The user's title is kept and compared up to this many characters.
constexpr size_t kUserTitleChars = 48;
// Hexids above this are live aircraft; below are the serials of parked ones.
constexpr uint32_t kFirstLiveHexid = 10000;
// Failed requests of a run after which the session counts as failing and the run restarts.
constexpr int32_t kRequestFailureLimit = 3;
// frameRate is refreshed every this many frames.
constexpr int32_t kFramesPerRefresh = 30;
// Above this frame rate (fps) a busy simulator lock makes the engine wait instead of dropping positions.
constexpr float kWaitAboveFps = 50.0f;
// Room reserved at the start of a run in each outbound list and in the bookkeeping of creations.
constexpr size_t kQueueReserve = 256;
