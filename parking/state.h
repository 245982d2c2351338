// parking/state.h — what static parking remembers between calls, and its reset.
// Everything here belongs to the engine thread. The Traffic Reader reads the park airport's position
// through its own copies (service/state.h), never these fields.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "common/geo.h"

// This aircraft was booked into the stand history at this half hour.
struct LearnedPair {
    uint32_t hexid = 0;
    uint32_t halfHour = 0;  // 0 .. 47
};

struct ParkingState {
    // --- the park airport (emptied when it is left) ---
    std::string parkIcao;             // ICAO code; empty: no park airport
    std::string parkIata;             // IATA code, may be empty; routes of live aircraft are compared with it
    LatLon parkPosition;              // degrees, from the airport table
    double parkElevation = 0;         // feet
    std::string reservedStand;        // the stand kept free for the user; empty: none
    bool airportLoadPending = false;  // the airport file is read at the next tracking step
    bool learnAllowed = false;        // the airport's history is thin enough to learn soft options

    // --- learning (lives as long as the process: a change of airport keeps it) ---
    std::vector<LearnedPair> learnedPairs;  // one entry per hexid, its last booking
};
extern ParkingState parking;  // defined in parking/state.cpp

// Back to the state of a fresh process (every test fixture): no park airport, nothing learned.
void gf_resetParking();
// The start of a new run: the park airport is forgotten (its save ran at the end of the last run);
// what was learned in this process stays.
void gf_resetParkingForRun();
