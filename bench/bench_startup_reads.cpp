// The start-up reads on the real generated input files (build/install/input): the database, the fixes
// and the airport table together, against a bare pugixml load of the same three files.
// Targets: the three reads under 1.0 s, and at most 3 times the bare load.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>

#include <pugixml.hpp>

#include "airports/airport_table.h"
#include "frame/folders.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"

namespace {

// The readers take their files relative to the install folder, which is the current directory.
void lf_enterInstallFolder() {
    static const bool entered = [] {
        std::filesystem::current_path(std::filesystem::path(ZARK_BINARY_DIR) / "install");
        return true;
    }();
    (void)entered;
}

void BM_StartupReads(benchmark::State& state) {
    lf_enterInstallFolder();
    for (auto _ : state) {
        gf_clearAirportTable();
        gf_readDbase();
        gf_readFixes();
        benchmark::DoNotOptimize(gf_readAirports());
    }
    state.counters["records"] = static_cast<double>(dbase.records.size());
    state.counters["airports"] = static_cast<double>(airportTable.rows.size());
}
BENCHMARK(BM_StartupReads)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_BarePugixmlLoad(benchmark::State& state) {
    lf_enterInstallFolder();
    for (auto _ : state) {
        for (const auto* path : {&folders::dbaseXml, &folders::fixesXml, &folders::airportsXml}) {
            pugi::xml_document doc;
            benchmark::DoNotOptimize(doc.load_file(path->c_str()));
        }
    }
}
BENCHMARK(BM_BarePugixmlLoad)->Unit(benchmark::kMillisecond)->MinTime(2.0);

}  // namespace

BENCHMARK_MAIN();
