// The aircraft.cfg scan of a tree of 5,000 real aircraft.cfg files (the samples of data/aircraftcfg with
// the folders their packages had, laid out again and again in build/bench-scan-tree: some 220,000
// folders) with 2 workers, against a bare read of the same files: the walk of the tree and the reading of
// each file, one after the other. Target: the scan at most 3 times the bare read; BM_ScanRatio reports
// the ratio.
#include <benchmark/benchmark.h>

#include <chrono>
#include <fstream>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "liveries/scan.h"
#include "liveries/state.h"
#include "tools/mkscantree/layout.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 5000;
constexpr unsigned kWorkers = 2;

const fs::path& lf_tree() {
    static const fs::path tree = fs::path(ZARK_BINARY_DIR) / "bench-scan-tree";
    return tree;
}

// Lays out the tree once per build folder; a marker tells it is complete.
std::vector<fs::path> lf_prepare() {
    static std::vector<fs::path> files;
    if (!files.empty()) return files;
    const fs::path marker = lf_tree() / "complete";
    const auto& samples = scantree::gf_samples();
    if (!fs::exists(marker)) {
        fs::remove_all(lf_tree());
        for (int i = 0; i < kFiles; ++i) {
            const scantree::Sample& s = samples[static_cast<size_t>(i) % samples.size()];
            const fs::path rel(s.path);
            scantree::gf_layoutAircraft(fs::path(ZARK_SOURCE_DIR) / "data" / "aircraftcfg" / rel,
                                        lf_tree() / std::to_string(i) / rel.parent_path().filename(), s);
        }
        std::ofstream(marker) << kFiles;
    }
    for (const auto& e : fs::recursive_directory_iterator(lf_tree()))
        if (e.is_regular_file() && e.path().extension() == ".cfg") files.push_back(e.path());
    // The install folder with the real database and fixes, which the scan consults.
    fs::current_path(fs::path(ZARK_BINARY_DIR) / "install");
    gf_clearDbase();
    gf_readDbase();
    gf_readFixes();
    runPaths.hardwareThreads = kWorkers;
    return files;
}

// What any scan must do at least: walk the tree and read every aircraft.cfg, one after the other.
double lf_bareRead() {
    const auto t0 = std::chrono::steady_clock::now();
    size_t bytes = 0;
    std::string buffer;
    for (const auto& e : fs::recursive_directory_iterator(lf_tree())) {
        if (!e.is_regular_file() || e.path().extension() != ".cfg") continue;
        std::ifstream in(e.path(), std::ios::binary);
        buffer.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
        bytes += buffer.size();
    }
    benchmark::DoNotOptimize(bytes);
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

double lf_scan() {
    gf_clearLiveryTables();
    const auto t0 = std::chrono::steady_clock::now();
    lf_scanFolder(1, lf_tree());
    const double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    benchmark::DoNotOptimize(liveries.liveryList.size());
    return s;
}

void BM_BareRead(benchmark::State& state) {
    const auto files = lf_prepare();
    for (auto _ : state) state.SetIterationTime(lf_bareRead());
    state.counters["files"] = static_cast<double>(files.size());
}
BENCHMARK(BM_BareRead)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_Scan(benchmark::State& state) {
    const auto files = lf_prepare();
    for (auto _ : state) state.SetIterationTime(lf_scan());
    state.counters["liveries"] = static_cast<double>(liveries.liveryList.size());
}
BENCHMARK(BM_Scan)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

// Both on warm files, alternating, the ratio of the sums.
void BM_ScanRatio(benchmark::State& state) {
    const auto files = lf_prepare();
    double bare = 0, scan = 0;
    for (auto _ : state) {
        bare += lf_bareRead();
        scan += lf_scan();
        state.SetIterationTime(scan);
    }
    state.counters["ratio"] = scan / bare;
}
BENCHMARK(BM_ScanRatio)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

int main(int argc, char** argv) {
    gf_openLog(fs::temp_directory_path() / "bench_livery_scan.log");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    gf_closeLog();
    return 0;
}
