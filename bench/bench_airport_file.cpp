// Reading airport files into the stand table: the largest archived file (Paris LFPG, 554 stands), and the
// same airport with a learned file of six weeks of history over it. Time per read, overlap pairs included.
#include <benchmark/benchmark.h>

#include <filesystem>

#include <fmt/format.h>

#include "airports/state.h"
#include "bench/learned_history.h"
#include "frame/core/params.h"

namespace fs = std::filesystem;

namespace {

constexpr int kWeeks = 6;
constexpr int kAircraftPerDay = 4;  // per stand and day: a busy gate

// A fresh install folder in the temp folder with the generated LFPG file, and optionally a learned file.
void lf_prepare(bool learned) {
    const fs::path root = fs::temp_directory_path() / "zark-bench-apf";
    fs::remove_all(root);
    fs::create_directories(root / "airports/archive/stock");
    fs::create_directories(root / "airports/learned/stock");
    fs::copy_file(fs::path(ZARK_BINARY_DIR) / "install/airports/archive/stock/LFPG.xml",
                  root / "airports/archive/stock/LFPG.xml");
    fs::current_path(root);
    if (!learned) return;
    gf_resetAirports();
    airports.parkIcao = "LFPG";
    QualityPair q;
    gf_readApf(q, "airports/archive/stock/LFPG.xml");
    AirportFileData data{"LFPG", airports.airportName, "", "stock", 0, -1, -1, 392, airports.stands};
    gf_fillLearnedHistory(data.stands, kWeeks, kAircraftPerDay, false);
    gf_writeApf(data, "airports/learned/stock/LFPG.xml", true);
    gf_resetAirports();
}

void lf_readLoop(benchmark::State& state) {
    size_t options = 0;
    for (auto _ : state) {
        gf_resetAirports();
        airports.parkIcao = "LFPG";
        QualityPair q;
        const std::string error = gf_readApf(q, "airports/archive/stock/LFPG.xml");
        if (!error.empty()) state.SkipWithError(error.c_str());
        options = 0;
        for (const Stand& s : airports.stands) options += s.options.size();
        benchmark::DoNotOptimize(q);
    }
    state.counters["stands"] = static_cast<double>(airports.stands.size());
    state.counters["options"] = static_cast<double>(options);
    state.counters["file_kB"] = static_cast<double>(fs::exists("airports/learned/stock/LFPG.xml")
                                                        ? fs::file_size("airports/learned/stock/LFPG.xml")
                                                        : fs::file_size("airports/archive/stock/LFPG.xml")) /
                                1024.0;
}

void BM_ReadArchivedLfpg(benchmark::State& state) {
    lf_prepare(false);
    lf_readLoop(state);
}

void BM_ReadLfpgWithLearnedWeeks(benchmark::State& state) {
    lf_prepare(true);
    lf_readLoop(state);
}

}  // namespace

BENCHMARK(BM_ReadArchivedLfpg)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadLfpgWithLearnedWeeks)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
