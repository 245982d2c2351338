// engine/state.h — what the live traffic engine remembers between slices, and its reset.
// Owned by the engine thread unless a field says otherwise. Records are held by value; an erase moves the
// last record into the gap, so no reference or index to a record survives an erase or an append.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <string>
#include <unordered_set>
#include <vector>

#include "engine/act.h"
#include "simlink/queues.h"

constexpr size_t kActiveReserve = 512;        // Act records that fit without a reallocation
constexpr size_t kParkedReserve = 256;        // ParkedAc records likewise
constexpr size_t kDelayListReserve = 128;     // objects in their first 200 slices
constexpr size_t kCreationReadyReserve = 64;  // aircraft admitted in the same moment
constexpr size_t kGhostListReserve = 64;      // ghosts already replaced

struct EngineState {
    std::vector<Act> active;                        // every live aircraft in any ActState
    std::vector<ParkedAc> parked;                   // every statically parked aircraft
    std::vector<uint32_t> creationReady;            // hexids admitted this moment; one popped per slice
    std::deque<uint32_t> checkQueue;                // hexids to review against parked aircraft, one per tick
    std::deque<uint32_t> removalQueue;              // objectIds to remove, one per 100 ms
    std::deque<CreateRequest> liveCreationQueue;    // one created per 500 ms, before the static ones
    std::deque<CreateRequest> staticCreationQueue;  // parked aircraft, when no live one waits
    std::vector<std::string> ghostList;             // callsigns with "_" of ghosts a main aircraft replaced

    std::unordered_set<uint32_t> unknownModels;  // hexids whose model the database could not give: refused at once
    std::string parkIata;  // IATA code of the park airport, empty when none; written by the park airport tracking

    bool flareActive = false;  // some aircraft is in its flare: the scan of aircraft in range runs every 20 slices
    int32_t slice = 0;         // S of the slice in progress; set by the frame at the start of each slice

    // The user position of the last check of the user on the ground against the parked aircraft,
    // degrees: a user standing still does not check them again, so one created next to him stays.
    double lastUserCheckLat = 0.0;
    double lastUserCheckLon = 0.0;
    // Where the flight plan documents of the objects lie ("orig_dest" under the roaming app-data folder
    // of the program); set once a run by gf_makeFlightPlanFolder, empty before: no plans are written.
    std::filesystem::path flightPlanFolder;

    // Pacing of the initial load (the history's oldest snapshot): one record per slice, two when the
    // batch began with more than 150; a new batch starts no earlier than 210 slices after the last.
    int32_t batchCounter = 200;  // slices since the last batch began; starts ripe so the first load starts at once
    size_t batchLeft = 0;        // records of the batch in progress still to offer
    bool batchDouble = false;    // the batch began with more than 150 records

    // Set by another thread (a time shift from the window): the engine removes every live aircraft at
    // the start of its next slice, so that no other thread walks its tables.
    std::atomic<bool> removeAllRequested{false};

    // Counters of the run, engine thread; tests and the demo summary read them.
    int64_t offeredRecords = 0;   // traffic records offered to the active table
    int64_t acceptedSamples = 0;  // records whose sample entered a stream
    int64_t actsCreated = 0;      // Act records made by the intake
    int64_t recreations = 0;      // identity changes that took an aircraft out to create it again
    int64_t positionsSent = 0;    // position updates handed to the frame handler
};
extern EngineState engine;  // defined in engine/state.cpp

// Reserves the capacities once; they stay over a restart.
void gf_reserveEngineTables();
// Empties every table and queue of the engine, keeping capacities (restart of a run).
void gf_clearEngineTables();
// Back to the state of a fresh process (every test fixture): tables emptied, counters zero.
void gf_resetEngine();
