// parking/state.h — what static parking remembers between calls, and its reset.
// Engine thread, unless a field says otherwise. The stand table itself is airports.stands; the Traffic
// Reader reads the park airport's position through its own copies (service/state.h), never these fields.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "common/geo.h"

// One position the calculation found: from the history of a stand (parking/search.h) or from the
// service's parked traffic. Consumed from the back, one creation at a time.
struct ChosenPosition {
    uint32_t ptHexid = 0;  // hexid of the parked-traffic record, 0 when it comes from the history
    int32_t offset = 0;    // half hours back: how long ago the aircraft was seen here
    std::string airl;      // airline code
    std::string type;      // ICAO aircraft type
    uint32_t sid = 0;      // the stand
    std::string cs1;       // callsign it came in under
    std::string cs2;       // callsign it leaves under; may be empty
    std::string reg;       // registration; may be empty
    bool fromPt = false;   // from the service's parked traffic
    bool stays = false;    // still there in the half hour after the present one
};

// A live aircraft standing on a stand of the park airport.
struct Stayer {
    std::string callsign;
    uint32_t sid = 0;
    int32_t minutes = 0;  // since its last sample inside the stand circle; 0 while its data still come
};

// A parked aircraft that keeps its stand at a renewal.
struct Keeper {
    std::string callsign, altCallsign1, altCallsign2, reg, airline, model;
    uint64_t parkedSince = 0;  // time-of-week word
    uint32_t sid = 0;
    bool ends = false;  // leaves now: its coupled flight takes over on the same stand
};

// A parked aircraft a renewal sends away.
struct RemoveEntry {
    std::string callsign;
    uint32_t sid = 0;
};

constexpr size_t kChosenReserve = 256;
constexpr size_t kStayerReserve = 64;
constexpr size_t kKeeperReserve = 256;
constexpr size_t kRemoveReserve = 256;

// This aircraft was booked into the stand history at this half hour.
struct LearnedPair {
    uint32_t hexid = 0;
    uint32_t halfHour = 0;  // 0 .. 47
};

struct ParkingState {
    std::vector<ChosenPosition> chosenPositions;  // still to be created; the next one is the last
    std::vector<Stayer> stayers;                  // live aircraft on stands, fewest minutes first
    std::vector<Keeper> keepers;                  // parked aircraft that stay, newest first
    std::vector<RemoveEntry> toRemove;            // parked aircraft that go

    // --- the park airport as the tracking set it (emptied when it is left) ---
    std::string parkIcao;             // ICAO code; empty: no park airport
    std::string parkIata;             // IATA code, may be empty; routes of live aircraft are compared with it
    LatLon parkPosition;              // degrees, from the airport table
    double parkElevation = 0;         // feet
    std::string reservedStand;        // the stand kept free for the user; empty: none
    bool airportLoadPending = false;  // the airport file is read at the next tracking step
    bool learnAllowed = false;        // the airport's history is thin enough to learn soft options

    // What the last traffic data held, taken at the start of a calculation: an aircraft in these is live.
    std::unordered_set<std::string> seenCallsigns;
    std::unordered_set<uint32_t> seenHexids;

    int32_t wanted = 0;     // stands to fill at the last calculation
    int32_t serial = 0;     // hexid of the last parked aircraft made, 1 .. 9999, then from 0 again
    int32_t fitReal = 0;    // offset at which the last search for real options ended
    int32_t fitSoft = -1;   // the same for soft options; -1 when none ran
    uint64_t calcTime = 0;  // time-of-week word the calculation in hand works with

    // --- learning (lives as long as the process: a change of airport keeps it) ---
    std::vector<LearnedPair> learnedPairs;  // one entry per hexid, its last booking
};
extern ParkingState parking;  // defined in parking/state.cpp

// Empties the lists of a calculation, keeping their capacities (the park airport is left).
void gf_clearParkingLists();
// Back to the state of a fresh process (every test fixture): no park airport, nothing learned.
void gf_resetParking();
// The start of a new run: the park airport is forgotten (its save ran at the end of the last run);
// what was learned in this process stays.
void gf_resetParkingForRun();
