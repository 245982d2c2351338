// The BGL side of the add-on airport scan over a tree of 500 airport BGL files (copies of the real
// samples in data/bgl, made in the build folder), against a bare read of the same files: the walk, the
// quick filter and the decoding of every airport, and the whole scan with its links and generated files.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>

#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 500;

// The tree, once per process: 500 files in 50 folders, the samples in turn.
const fs::path& lf_tree() {
    static const fs::path root = [] {
        const fs::path r = fs::path(ZARK_BINARY_DIR) / "bench-bgl-scan";
        fs::remove_all(r);
        std::vector<fs::path> samples;
        for (const fs::directory_entry& e : fs::directory_iterator(fs::path(ZARK_SOURCE_DIR) / "data/bgl"))
            if (e.path().extension() == ".bgl" || e.path().extension() == ".BGL") samples.push_back(e.path());
        std::sort(samples.begin(), samples.end());
        for (int i = 0; i < kFiles; ++i) {
            const fs::path folder = r / "tree" / fmt::format("addon{:02}", i / 10) / "scenery";
            fs::create_directories(folder);
            const fs::path& s = samples[static_cast<size_t>(i) % samples.size()];
            fs::copy_file(s, folder / fmt::format("{:03}_{}", i, s.filename().string()));
        }
        fs::create_directories(r / "install");
        fs::current_path(r / "install");
        gf_makeFolders();
        return r;
    }();
    return root;
}

template <typename Visit>
void lf_walk(const fs::path& root, Visit visit) {
    for (const fs::directory_entry& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file()) visit(e.path());
}

// The floor: every file read whole, nothing looked at.
void BM_BareRead(benchmark::State& state) {
    const fs::path tree = lf_tree() / "tree";
    size_t bytes = 0;
    for (auto _ : state) {
        lf_walk(tree, [&](const fs::path& p) {
            std::string content;
            gf_bglReadBytes(p, content);
            bytes += content.size();
        });
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
}

// What the scan does per file on one thread: the filters, the read, the decoding of every airport.
void BM_DecodeTree(benchmark::State& state) {
    const fs::path tree = lf_tree() / "tree";
    size_t stands = 0;
    for (auto _ : state) {
        lf_walk(tree, [&](const fs::path& p) {
            const std::string name = p.string();
            if (name.find("statics") != std::string::npos || !gf_bglHasAirports(p)) return;
            BglWords words;
            gf_bglReadWords(p, words);
            gf_decodeBglAirports(words, name, [&](BglAirport& a) { stands += a.data.stands.size(); });
        });
    }
    state.counters["stands"] = benchmark::Counter(static_cast<double>(stands), benchmark::Counter::kAvgIterations);
}

// The whole scan of a manual folder: workers, report, a generated airport file for every airport.
void BM_FullScan(benchmark::State& state) {
    const fs::path tree = lf_tree() / "tree";
    runPaths.hardwareThreads = static_cast<unsigned>(state.range(0));
    for (auto _ : state) gf_scanAddonAirports(false, {tree.string()});
    state.counters["files"] = addonScan.filesRead.load();
}

BENCHMARK(BM_BareRead)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DecodeTree)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FullScan)->Arg(1)->Arg(2)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
