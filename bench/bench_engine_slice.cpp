// One slice of the main loop (lf_slice: simulator events, motion, pacing, traffic intake, admission, and
// the tick's work once a second) with 300 and with 512 live aircraft, in the in-process harness against
// the simulator double. The aircraft are the recorded Zurich flights replayed many times, each copy
// under its own address and callsign, shifted a little in position in the air and started at its own
// moment of the recording, so that every phase of the recordings moves at once: approach, roll-out,
// taxi, standing at a stand, push back, take-off and climb.
// Target: p99 at most 0.5 ms a slice with 300 aircraft. Read the counters p50_us and p99_us; the counters
// approach, rollout, taxi, at_stand, push, climb and cruise give the mix (mean count of live aircraft).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include <unistd.h>

#include <fmt/format.h>

#include "airports/state.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "liveries/state.h"
#include "parking/state.h"
#include "service/state.h"
#include "simlink/state.h"
#include "tools/harness/harness.h"

namespace {
namespace fs = std::filesystem;

constexpr int kMeasuredSlices = 3000;         // 30 s of the program
constexpr int kCopiesPerLiveEighths = 13;     // copies replayed per live aircraft wanted, in eighths
constexpr double kWideRangeNm = 500.0;        // no copy leaves the range: the count stays where it was ramped to
constexpr double kFieldFt = 1417.0;           // Zurich
constexpr double kFullShiftAboveFt = 3000.0;  // copies lie apart in the air and merge on the final approach

// n flights out of the 13 recorded ones: copy k of flight i is shifted by up to 0.012 degrees of latitude
// and 0.018 of longitude in the air, less and less below 3000 ft above the field and not at all on the
// ground, where it rolls on the real taxiways to the real stands; it replays on a loop without a gap,
// starting at its own moment.
tdbl::Scenario lf_manyFlights(const tdbl::Scenario& recorded, int n) {
    tdbl::Scenario s = recorded;
    s.flights.clear();
    s.replayGapS = 0.0;
    s.replayStaggerS = 37.0;
    const size_t count = recorded.flights.size();
    for (int j = 0; j < n; ++j) {
        tdbl::Flight f = recorded.flights[static_cast<size_t>(j) % count];
        const int copy = j / static_cast<int>(count);
        f.icao24 = fmt::format("{:06x}", 0x600000 + j);
        f.callsign = fmt::format("{}{:04d}", f.callsign.substr(0, 3), j);
        f.reg.clear();
        const double dLat = (copy % 7 - 3) * 0.004, dLon = (copy / 7 % 7 - 3) * 0.006;
        for (tdbl::TrackPoint& p : f.points) {
            const double share =
                p.onGround == 1 ? 0.0 : std::clamp((p.baroAltFt - kFieldFt) / kFullShiftAboveFt, 0.0, 1.0);
            p.lat += dLat * share;
            p.lon += dLon * share;
        }
        s.flights.push_back(std::move(f));
    }
    return s;
}

// A fresh install folder as the current directory and the program's globals as a new process has them.
void lf_freshProgram(int n) {
    const fs::path dir = fs::temp_directory_path() / fmt::format("zark-bench-{}-{}", ::getpid(), n);
    fs::remove_all(dir);
    fs::create_directories(dir / "docs");
    fs::current_path(dir);
    gf_closeLog();
    gf_resetProgram();
    gf_openLog("Log.txt");
}

double lf_percentile(std::vector<int64_t> v, double p) {
    const size_t i = std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())));
    std::nth_element(v.begin(), v.begin() + static_cast<long>(i), v.end());
    return static_cast<double>(v[i]) / 1000.0;
}

// The phases of the live aircraft, summed over the measured slices.
struct PhaseMix {
    size_t approach = 0, rollOut = 0, taxi = 0, atStand = 0, push = 0, climb = 0, cruise = 0;
    void add() {
        for (const Act& a : engine.active) {
            if (a.state != ActState::Live) continue;
            if (a.rollOut)
                ++rollOut;
            else if (a.onApproach)
                ++approach;
            else if (a.phase == ActPhase::AtStand || a.phase == ActPhase::ToStand)
                ++atStand;
            else if (a.phase == ActPhase::PushBack || a.phase == ActPhase::HoldAfterPush)
                ++push;
            else if (a.phase == ActPhase::TakeOff || a.departing || a.climbOut)
                ++climb;
            else if (a.phase == ActPhase::Taxi || a.onGround)
                ++taxi;
            else
                ++cruise;
        }
    }
};

size_t lf_liveCount() {
    return static_cast<size_t>(std::count_if(engine.active.begin(), engine.active.end(),
                                             [](const Act& a) { return a.state == ActState::Live; }));
}

void BM_EngineSlice(benchmark::State& state) {
    const int n = static_cast<int>(state.range(0));
    lf_freshProgram(n);
    harness::Options o = harness::gf_zurichOptions(ZARK_SOURCE_DIR, ZARK_BINARY_DIR);
    o.liveriesFile = false;  // a generic livery for every type: every copy flies
    // About five in eight copies are in the simulator at a time: the rest are between two replays, standing
    // past the end of their samples or being created again.
    o.traffic = lf_manyFlights(o.traffic, n * kCopiesPerLiveEighths / 8);
    AUTO_RANGE.current = false;  // on the ground it would shrink the range to 8 nm
    parDerived.rangeNm = kWideRangeNm;
    harness::Harness h(o);
    if (!h.start()) {
        state.SkipWithError("the harness did not start");
        return;
    }
    // One creation per 500 ms: the table fills in n / 2 seconds; then it holds while copies come and go.
    h.runUntil([n] { return lf_liveCount() >= static_cast<size_t>(n); }, static_cast<int64_t>(n) * 700 + 120000);
    h.runFor(20000);
    std::vector<int64_t> ns;
    ns.reserve(kMeasuredSlices);
    size_t liveSum = 0;
    PhaseMix mix;
    for (auto _ : state) {
        h.slice();
        ns.push_back(h.lastSliceNs());
        state.SetIterationTime(static_cast<double>(h.lastSliceNs()) * 1e-9);
        liveSum += lf_liveCount();
        mix.add();
    }
    const auto mean = [&ns](size_t sum) { return static_cast<double>(sum) / static_cast<double>(ns.size()); };
    state.counters["approach"] = mean(mix.approach);
    state.counters["rollout"] = mean(mix.rollOut);
    state.counters["taxi"] = mean(mix.taxi);
    state.counters["at_stand"] = mean(mix.atStand);
    state.counters["push"] = mean(mix.push);
    state.counters["climb"] = mean(mix.climb);
    state.counters["cruise"] = mean(mix.cruise);
    state.counters["p50_us"] = lf_percentile(ns, 0.50);
    state.counters["p99_us"] = lf_percentile(ns, 0.99);
    state.counters["max_us"] = lf_percentile(ns, 1.0);
    state.counters["live"] = static_cast<double>(liveSum) / static_cast<double>(ns.size());
    state.counters["active"] = static_cast<double>(engine.active.size());
}
BENCHMARK(BM_EngineSlice)
    ->Arg(300)
    ->Arg(512)
    ->Iterations(kMeasuredSlices)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
