// The airport archive as the daily check loads it: 3000 airport files (the generated stock files under
// other names, about 40 kB each) fetched from the update server double on loopback, checked and written
// one by one under airports/archive. Time per whole update.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <fmt/format.h>

#include "common/clock.h"
#include "frame/core/download.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "frame/links.h"
#include "frame/update.h"
#include "platform/platform.h"
#include "tools/updatedouble/double.h"

namespace fs = std::filesystem;

namespace {

constexpr int kFiles = 3000;

std::string lf_read(const fs::path& p) {
    std::ifstream in(p, std::ios::binary);
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

void BM_ArchiveUpdate(benchmark::State& state) {
    const fs::path root = fs::temp_directory_path() / "zark-bench-update";
    fs::remove_all(root);
    fs::create_directories(root / "docs");
    fs::create_directories(root / "input");
    fs::current_path(root);
    const fs::path stock = fs::path(ZARK_BINARY_DIR) / "install/airports/archive/stock";
    const std::string files[] = {lf_read(stock / "LFBO.xml"), lf_read(stock / "LFPG.xml"), lf_read(stock / "LSZH.xml")};
    std::vector<std::pair<std::string, std::string>> entries;
    for (int i = 0; i < kFiles; ++i) entries.emplace_back(fmt::format("archive/stock/X{:04}.xml", i), files[i % 3]);
    udbl::gf_writeZip(root / "server/downloads/archive/p3d/archive.zip", entries);
    std::ofstream(root / "server/downloads/archive/p3d/version.json") << "22.0.1\n";
    std::ofstream("input/dbase.xml") << "<dbase/>\n";
    std::ofstream("input/AIG-regcodes.xml") << "<regcodes/>\n";
    fs::create_directories("airports");
    fs::create_directories(root / "appdata/ZARK_P3D");
    gf_setAppDataOverride(root / "appdata");  // the parameters stay in the temp folder
    gf_resetProgram();
    gf_openLog("Log.txt");
    udbl::UpdateDouble server(root / "server");
    server.start();
    gf_setUpdateBaseUrl(server.baseUrl());
    links::databaseRead = true;
    for (auto _ : state) {
        // The same day, a folder of the archive gone: the check loads the archive and nothing else.
        state.PauseTiming();
        fs::remove_all("airports/archive");
        state.ResumeTiming();
        DATA_CHECKED_AT_DATE.current = links::scrambleDateText(gf_dateText(gf_epochSeconds()));
        ARCHIVE_VERSION.current = "22.0.1";
        gf_dailyDataCheck();
    }
    if (!fs::exists("airports/archive/stock/X2999.xml")) state.SkipWithError("archive not extracted");
    state.counters["files/s"] = benchmark::Counter(
        static_cast<double>(kFiles) * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
    server.stop();
    gf_closeLog();
    gf_setAppDataOverride({});
}
BENCHMARK(BM_ArchiveUpdate)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
