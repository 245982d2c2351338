// liveries/state.h — what the livery data remembers between calls, and its reset.
// The database (liveries/dbase.h) and the fixes (liveries/fixes.h) are read once per process and
// survive a restart: gf_clearDbase() and gf_clearFixes() empty them. The livery tables below are built
// at every start of a run (liveries/liveries_file.h) and read-only afterwards; the matching state
// (liveries/matching.h) changes on the engine thread only.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <deque>
#include <list>
#include <mutex>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "liveries/dbase.h"
#include "liveries/fixes.h"

// One livery of one airline code, as a scan finds it or LiveriesScanned.xml holds it.
struct LiveryData {
    std::string airline;  // ICAO airline code as the livery is filed; "ZZZ" generic, "PVT" private
    std::string model;    // ICAO type code
    std::string title;    // the name by which the simulator creates the object
    std::string regcode;  // registration from atc_id, or empty
    int32_t level = 0;    // position of the scanned folder, 1 to 10; 0 when read from the file
    bool cargo = false;   // freighter livery
};

// A title with its cargo flag, as airlineLiveries keeps it.
struct LiveryTitle {
    std::string_view title;  // into LiveryTables::titleStore
    bool cargo = false;
};

using TitleViews = std::vector<std::string_view>;
using ModelTitles = std::unordered_map<std::string, TitleViews>;  // model -> titles

// The tables that the matching reads. Every title view points into titleStore, whose strings never move
// (a deque only appends), so a view stays valid until the tables are rebuilt at the next start of a run:
// nothing that holds a view (an aircraft's livery, hexidLiveries) may outlive the run.
struct LiveryTables {
    std::list<LiveryData> liveryList;    // between the scan or read and the end of gf_processScannedLiveries
    std::deque<std::string> titleStore;  // owner of every title string of the run
    // airline -> model -> titles in list order.
    std::unordered_map<std::string, std::unordered_map<std::string, std::vector<LiveryTitle>>> airlineLiveries;
    std::unordered_map<std::string, ModelTitles> paxLiveries;  // the same split by the cargo flag; no empty list
    std::unordered_map<std::string, ModelTitles> cargoLiveries;
    ModelTitles paxModelLiveries;  // model -> titles of all airlines
    ModelTitles cargoModelLiveries;
    std::unordered_map<std::string, std::string_view> regcodeLiveries;  // exact registration -> title
    TitleViews specialLiveries;            // titles that only their registrations wear; once per registration
    std::vector<std::string> lightModels;  // models of that category with a livery, sorted, unique
    std::vector<std::string> buzjetModels;
    std::vector<std::string> rotorcraftModels;
    int64_t liveryCount = 0;  // liveries of the list when the tables were built (the panel shows it)
};
extern LiveryTables liveries;  // defined in liveries/state.cpp; start-up thread, then read-only

// One list of report lines that scan workers may fill at once.
struct ScanList {
    std::mutex lock;                 // taken by each worker that appends
    std::vector<std::string> lines;  // one report line each
    void add(std::string line) {
        std::lock_guard guard(lock);
        lines.push_back(std::move(line));
    }
};

// What a scan found wrong or changed, written to the report files and emptied afterwards.
struct ScanLists {
    ScanList invalidAirlines;     // InvalidAirlineCodes.txt, output/errors
    ScanList invalidModels;       // InvalidAircraftCodes.txt, output/errors
    ScanList fixes;               // Fixes.txt, output/errors; in order of arrival
    ScanList invalidCfgFiles;     // InvalidAircraftCfgFiles.txt, output/errors
    ScanList incompleteSections;  // IncompleFltsimSections.txt, output/errors
    ScanList noSectionFiles;      // AircraftCfgWithNoFltsimSection.txt, output/info
    ScanList dbaseCorrections;    // AirlineModelConversions.txt, output/info; in order of arrival
    ScanList skippedOnPriority;   // LiveriesSkippedOnPriority.txt, output/info
};
extern ScanLists scanLists;  // defined in liveries/state.cpp
void gf_clearScanLists();    // after the reports, and with the tables

// What the workers of an aircraft.cfg scan share besides the scan lists. Lives from the start of a scan
// to gf_clearScanLists, so a title taken from the first folder is refused in every later one.
struct LiveryScanState {
    std::atomic<int32_t> scanWorkers{0};  // file workers running now; never above the worker limit
    std::atomic<int32_t> filesFound{0};   // aircraft.cfg and sim.cfg files handed to a worker in this scan
    std::atomic<int32_t> filesDone{0};    // of those, the ones whose worker has ended
    std::mutex seenLock;                  // guards seenTitles
    std::set<std::string> seenTitles;     // titles taken so far in this scan
    // Titles a scan ignores (AIG-regcodes.xml entries without registrations, one-field lines of the
    // user's files); filled before the first file is read, only read by the workers.
    std::unordered_set<std::string> dontUseTitles;
};
extern LiveryScanState liveryScan;  // defined in liveries/state.cpp

// The steps of the matching cascade, 1 (registration) to 6 (a similar model of any airline).
inline constexpr int kMatchSteps = 6;

// What the matching remembers over a run (engine thread). The counters are atomics so that the window or
// a summary may read them from another thread.
struct MatchState {
    std::vector<std::string> unmakeableLiveries;  // titles the simulator refused; copies, they outlive a restart
    std::deque<std::string> unmakeableAircraft;   // "model airline" of each refusal, newest first
    std::unordered_map<uint32_t, std::string_view> hexidLiveries;  // the title a hexid got last
    std::set<std::string> noMatchAircraft;                         // "{:3} {:4} reg" of live aircraft without a livery
    std::array<std::atomic<uint32_t>, kMatchSteps + 1> matchCounters{};  // [step] live matches; [0] unused
    std::atomic<uint32_t> remembered{0};                                 // live matches served from hexidLiveries (=c=)
    std::atomic<uint32_t> noMatch{0};                                    // live cascades that found no title
    std::atomic<uint32_t> refused{0};                                    // titles refused by the simulator
};
extern MatchState matching;  // defined in liveries/state.cpp

// Empties the livery tables and the scan lists (a new run builds them again). The matching state of the
// process (refused titles, counters) stays; gf_resetMatching() empties it too.
void gf_clearLiveryTables();
void gf_resetMatching();
// Back to the state of a fresh run (restart of a run, every test fixture).
void gf_resetLiveries();
