// airports/state.h — what the airport data remember between calls, and its reset.
// The stand table and the facts beside it belong to the thread that handles the park airport (the engine
// thread); the engine reads them there too. The airport table (airports/airport_table.h) is read once per
// process and survives a restart: gf_clearAirportTable() empties it.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <list>
#include <mutex>
#include <string>
#include <vector>

#include "airports/airport_file.h"
#include "airports/airport_table.h"
#include "airports/park_list.h"

struct AirportsState {
    std::vector<Stand> stands;          // the park airport's stands in file order; stand sid is index + 1
    std::string parkIcao;               // the park airport whose file gf_readApf reads; set by the park airport
                                        // tracking, emptied when the airport is left; empty: none
    std::string airportName;            // `airport_name` of the file read
    std::string publisher;              // `publisher` of the file read: "stock", "ORBX", a name, or "unknown"
    int32_t altitude = 0;               // feet, `altitude` of the file read
    double parkAirportElevation = 0.0;  // feet, the same value as a double
    int32_t trafficWeek = 0;            // `RT_traffic_week` of the file read; 0 when absent
    bool handmade = false;              // the learned file is handmade: its stands replaced the file's
    std::filesystem::path learnedPath;  // where the learned file of the loaded airport is saved; empty: none

    std::list<ParkAirportEntry> parkAirports;  // the user's park airports, nearest first after a sort
    double lastTrackLat = 0.0;                 // degrees: the user's position at the last sorting
    double lastTrackLon = 0.0;
    std::mutex parkListFileLock;  // one writer of my_park_airports.txt at a time: engine thread or SimClient
};
extern AirportsState airports;  // defined in airports/state.cpp

// The add-on airport scan: written by the scan's thread and its workers while it runs, idle otherwise.
struct AddonScanState {
    std::mutex reportLock;                  // guards `report`; taken by the workers
    std::vector<std::string> report;        // lines of the scan report, written at the scan's end; reserved 2048
    std::atomic<int32_t> workers{0};        // BGL workers running
    std::atomic<int32_t> linked{0};         // airports linked to an archived file in this scan
    std::atomic<int32_t> generated{0};      // airport files generated in this scan
    std::atomic<int32_t> filesRead{0};      // BGL files with airports read in this scan (progress line)
    std::atomic<int32_t> airportsFound{0};  // airports decoded in this scan
    std::filesystem::path simDataOverride;  // tests and the demo: the folder of scenery.cfg; empty: the simulator's
};
extern AddonScanState addonScan;  // defined in airports/state.cpp

// Back to the state of a fresh run (restart of a run, every test fixture): no park airport, no stands.
void gf_resetAirports();
