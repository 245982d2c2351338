// service/state.h — what the traffic service client remembers between calls, and its reset.
// The two client objects (weatherClient, trafficReader) are in service/client.h.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <limits>
#include <mutex>
#include <string>
#include <vector>

#include "common/clock.h"
#include "service/record.h"

struct ServiceState {
    // --- the traffic lock and what it guards ---
    std::mutex trafficLock;      // taken after the message line lock, before the event queue lock
    bool acceptTraffic = false;  // the flight runs and the engine is in its loop: snapshots are taken
    // The run has not entered its loop yet: the history and the first snapshots are kept for it. The
    // engine's slice counter stands still until then, so their due slices stay ahead of it.
    bool holdUntilLoop = true;
    SteadyTime heldSince{};  // when the hold began: the slice counter stands still from then until the loop
    std::vector<TrafficRecord> initialLoad;  // the paced list of the history's oldest snapshot
    // Live records in arrival order; the engine takes them all at the next slice. Bounded, and emptied
    // whenever traffic is refused, so a simulator that sits in a menu piles nothing up.
    std::deque<TrafficRecord> liveQueue;
    int64_t liveDropped = 0;  // records refused because the queue was full

    std::string accountKey;  // the user's key for the service; read at start

    // --- weather, written by the Weather Reader ---
    std::atomic<int32_t> qnh{1013};        // hPa, read by the Traffic Reader
    std::atomic<int32_t> engineQnh{1013};  // hPa, the same value for the engine
    int32_t lastQnh = 1013;                // Weather Reader only
    std::string metarStation;              // Weather Reader only: ICAO of the nearest METAR station
    std::atomic<bool> weatherOk{false};    // the last weather exchange had status 200
    bool weatherLampHeld = false;          // main loop only: what the weather lamp last showed

    // --- positions handed in by the other subsystems ---
    std::atomic<double> queryLatitude{0.0};  // user aircraft, degrees; the simulator link sets them
    std::atomic<double> queryLongitude{0.0};
    std::atomic<double> queryAltitudeFt{0.0};
    std::atomic<bool> parkAirportSet{false};  // a park airport is known
    std::atomic<double> parkLatitude{0.0};    // degrees
    std::atomic<double> parkLongitude{0.0};
    std::atomic<double> parkAirportElevation{std::numeric_limits<double>::quiet_NaN()};  // ft; NaN unknown

    // The engine's slice counter S; the engine installs its reader before the Traffic Reader starts.
    std::function<int32_t()> sliceNow = [] { return 0; };
};
extern ServiceState service;

// The user position for the query box, the range filter and the weather; the simulator link calls it.
void gf_setQueryPosition(double latitude, double longitude, double altitudeFt = 0.0);
// The park airport, for the ground filter and the ground test; NaN elevation when unknown.
void gf_setParkAirport(double latitude, double longitude, double elevationFt);
void gf_clearParkAirport();

// Back to the state of a fresh process (restart of a run, every test fixture).
void gf_resetService();
