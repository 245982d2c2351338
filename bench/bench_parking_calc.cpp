// A whole parking calculation at the largest airport file (Paris LFPG) with six weeks of learned history
// over it: the first calculation at airport entry and the renewal of 20 minutes later. Time per
// calculation, with the fit searched up to MAX_FIT half hours back (first argument) for parking_percentage
// of the stands (second argument): at 100 per cent the search walks all the way back, the worst case.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <vector>

#include <fmt/format.h>

#include "airports/state.h"
#include "bench/learned_history.h"
#include "common/timeofweek.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "parking/calculation.h"
#include "parking/state.h"

namespace fs = std::filesystem;

namespace {

constexpr int kWeeks = 6;
constexpr int kAircraftPerDay = 4;  // per stand and day: a busy gate

// A fresh install folder with LFPG and a learned file of weeks of history, read into the stand table.
void lf_prepare() {
    const fs::path root = fs::temp_directory_path() / "zark-bench-parking";
    fs::remove_all(root);
    fs::create_directories(root / "airports/archive/stock");
    fs::create_directories(root / "airports/learned/stock");
    fs::copy_file(fs::path(ZARK_BINARY_DIR) / "install/airports/archive/stock/LFPG.xml",
                  root / "airports/archive/stock/LFPG.xml");
    fs::current_path(root);
    gf_resetProgram();
    airports.parkIcao = "LFPG";
    QualityPair q;
    gf_readApf(q, "airports/archive/stock/LFPG.xml");
    AirportFileData data{"LFPG", airports.airportName, "", "stock", 0, -1, -1, 392, airports.stands};
    gf_fillLearnedHistory(data.stands, kWeeks, kAircraftPerDay, true);
    gf_writeApf(data, "airports/learned/stock/LFPG.xml", true);
    gf_resetAirports();
    airports.parkIcao = "LFPG";
    gf_readApf(q, "airports/archive/stock/LFPG.xml");
    gf_reserveEngineTables();
    gf_storeTimeOfWeek({3, 20});
}

// The calculation switches off the options it used up; the next one starts from the file's state.
void lf_renumber() {
    for (Stand& s : airports.stands) {
        uint32_t id = 1;
        for (ParkPos& o : s.options) o.optId = id++;
    }
}

size_t lf_options() {
    size_t n = 0;
    for (const Stand& s : airports.stands) n += s.options.size();
    return n;
}

void BM_FirstCalculationLfpg(benchmark::State& state) {
    lf_prepare();
    MAX_FIT.current = state.range(0);
    parking_percentage.current = state.range(1);
    PARK_SOFT.current = true;
    size_t chosen = 0;
    for (auto _ : state) {
        state.PauseTiming();
        lf_renumber();
        state.ResumeTiming();
        gf_firstCalculation();
        chosen = parking.chosenPositions.size();
    }
    state.counters["stands"] = static_cast<double>(airports.stands.size());
    state.counters["options"] = static_cast<double>(lf_options());
    state.counters["chosen"] = static_cast<double>(chosen);
    state.counters["fit_real"] = parking.fitReal;
    state.counters["fit_soft"] = parking.fitSoft;
}

// The renewal with the first calculation's aircraft standing, half an hour later.
void BM_RenewalLfpg(benchmark::State& state) {
    lf_prepare();
    MAX_FIT.current = state.range(0);
    parking_percentage.current = state.range(1);
    PARK_SOFT.current = true;
    gf_firstCalculation();
    uint32_t objectId = 1;
    for (const ChosenPosition& c : parking.chosenPositions) {
        ParkedAc p;
        p.callsign = c.cs1 + "*";
        p.altCallsign1 = c.cs1;
        p.altCallsign2 = c.cs2;
        p.airline = c.airl;
        p.model = c.type;
        p.reg = c.reg;
        p.sid = c.sid;
        p.hexid = objectId;
        p.objectId = objectId++;
        p.state = ActState::Live;
        p.parkedSince = gf_packTimeOfWeek(gf_stepBack({3, 20}, c.offset));
        engine.parked.push_back(p);
    }
    const std::vector<ParkedAc> standing = engine.parked;
    gf_storeTimeOfWeek({3, 21});
    for (auto _ : state) {
        state.PauseTiming();
        engine.parked = standing;
        engine.removalQueue.clear();
        state.ResumeTiming();
        gf_renewParking(false);
    }
    state.counters["parked"] = static_cast<double>(standing.size());
    state.counters["removed"] = static_cast<double>(engine.removalQueue.size());
    state.counters["added"] = static_cast<double>(parking.chosenPositions.size());
}

}  // namespace

BENCHMARK(BM_FirstCalculationLfpg)->Args({4, 30})->Args({47, 30})->Args({47, 100})->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RenewalLfpg)->Args({4, 30})->Args({47, 30})->Args({47, 100})->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
