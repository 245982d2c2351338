// tools/harness/harness.h — the program's engine, its simulator session and the simulator double stepped
// together in one thread, slice by slice on the manual clock, fed with the recorded flights that the
// traffic double replays. Tests and benchmarks drive whole runs with it, without sockets, threads or sleeps.
//
// One slice of the harness is what 10 ms are for the program: the simulator double and SimClient turn ten
// times (SimClient's 1 ms beat), then the main loop's lf_slice runs once (the engine slice and, when the
// simulator's once-per-second data came, the tick), then the clock moves 10 ms. Every `pollEveryMs` the
// traffic double's snapshot of that moment goes through the Traffic Reader's decoder and is handed over
// 30 s ahead, as the Traffic Reader does.
//
// The harness owns the program's globals while it lives: make it after the subsystems were reset (a test
// fixture does that) and only one at a time.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/clock.h"
#include "common/geo.h"
#include "service/client.h"
#include "tools/simdouble/simdouble.h"
#include "tools/trafficdouble/double.h"

namespace harness {

struct Options {
    simdouble::Scenario sim;  // default: the demo's Prepar3D v5 with the user's A320 at stand A15 of Zurich
    tdbl::Scenario traffic;   // default: the recorded Zurich flights
    // Holds input/ (database) and, if the build made it, output/LiveriesScanned.xml. Both are linked or
    // copied into the current directory when it has none of its own.
    std::filesystem::path install;
    int64_t pollEveryMs = 2000;  // the service's rate limit
    // Start as the program does: the history request's five snapshots first (the oldest one the initial
    // load), then live snapshots from `pollEveryMs` later. The run reaches its loop `startupMs` after the
    // history came; until then the slice counter stands still and the snapshots are held for the loop.
    bool history = false;
    int64_t startupMs = 0;
    // Read the install's liveries file; without it (or when false): one generic livery ("ZZZ") per type of
    // the traffic, all installed in the double.
    bool liveriesFile = true;
    std::vector<std::string> typesWithoutLivery;  // ... but not for these
    LatLon parkAirport{47.458056, 8.548056};      // Zurich; the ground filter and the field band use it
    double parkElevationFt = 1417.0;
    // The park airport's stands (name,lat,lon,heading_deg,kind,...,radius_m,...), loaded as its stand table;
    // empty: no stand table. A name met twice keeps its first row.
    std::filesystem::path standsCsv;
};
// Some recordings freeze speed and track on the ground (the last airborne velocity repeated for minutes
// while the position moves), others have none: there the speed and track are taken from the positions,
// over `windowS`.
// Returns how many points were mended.
size_t gf_mendFrozenVelocity(tdbl::Flight& flight, double windowS = 8.0);
// The stand table of the park airport from a stands CSV; radius_m, when absent, is 20 m.
void gf_loadStandTable(const std::filesystem::path& csv);
// The defaults above, read from the source tree and the build tree.
Options gf_zurichOptions(const std::filesystem::path& sourceDir, const std::filesystem::path& binaryDir);

class Harness {
public:
    explicit Harness(Options options);
    ~Harness();
    Harness(const Harness&) = delete;
    Harness& operator=(const Harness&) = delete;

    // Reads the data, opens the session and waits (in slices) until the simulator runs and the user
    // aircraft is known. False when that did not happen within 10 simulated seconds.
    bool start();
    // One slice of 10 ms; polls the traffic when its time has come.
    void slice();
    void runFor(int64_t ms);
    // Slices until `done` holds, at most `ms`; whether it held.
    bool runUntil(const std::function<bool()>& done, int64_t ms);
    // Hands one snapshot of the traffic double over now, as a poll would.
    void pollNow();
    // Hands the history the double gives now over, as the Traffic Reader's first request does.
    void handOverHistoryNow();
    // The end of traffic as the exit does it: every live aircraft removed, creations cancelled, then slices
    // until the simulator has confirmed every removal (at most `ms`). True when no AI object is left.
    bool removeAllAndSettle(int64_t ms = 30000);
    // Stops feeding traffic (the service says nothing more).
    void stopTraffic() { trafficOn_ = false; }

    simdouble::SimDouble& sim() { return *sim_; }
    const tdbl::TrafficDouble& traffic() const { return *traffic_; }
    const Options& options() const { return options_; }

    // Time: the manual clock's UTC, and the UTC of a moment of the double's recording.
    double utcNow() const;
    double utcAtSimMs(int64_t simMs) const { return simEpochUtc_ + static_cast<double>(simMs) / 1000.0; }
    int64_t slices() const { return slices_; }
    // Real nanoseconds of the program's part of the last slice (lf_slice), for benchmarks.
    int64_t lastSliceNs() const { return lastSliceNs_; }

    // The double's AI objects (alive or not), and the one created with this tail number last.
    std::vector<const simdouble::SimObject*> aiObjects() const { return sim_->aiObjects(false); }
    const simdouble::SimObject* objectWithTail(const std::string& tail) const;
    // Where the recorded flight of this index was at this UTC, as the traffic double replays it (linear
    // between rows); empty when the flight is not being replayed then.
    std::optional<LatLon> recordedPosition(size_t flight, double utc) const;
    // The index of the recorded flight with this callsign, or -1.
    int flightOfCallsign(const std::string& callsign) const;

private:
    Options options_;
    ManualClock clock_;
    std::unique_ptr<simdouble::SimDouble> sim_;
    std::unique_ptr<simdouble::InProcessSimulator> server_;
    std::unique_ptr<tdbl::TrafficDouble> traffic_;
    std::unique_ptr<TrafficReader> reader_;
    double simEpochUtc_ = 0.0;  // UTC at the double's time 0
    int64_t slices_ = 0;
    int64_t lastSliceNs_ = 0;
    int64_t nextPollMs_ = 0;  // harness time of the next poll
    bool trafficOn_ = true;
};

}  // namespace harness
