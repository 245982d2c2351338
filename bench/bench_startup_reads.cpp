// The start-up reads on the real generated input files (build/install/input): the database, the fixes
// and the airport table together, against a bare pugixml load of the same three files.
// Targets: the three reads under 1.0 s, and at most 3 times the bare load. Two ratio counters answer the
// second: BM_FreshProcessRatio as the program meets the files (once, in a new process) and
// BM_RatioToBareLoad on warm memory, where nothing but the work itself counts.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <filesystem>

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pugixml.hpp>

#include "airports/airport_table.h"
#include "frame/core/folders.h"
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

// A start-up finds the tables empty; emptying them is not part of it.
void lf_emptyTables() {
    gf_clearDbase();
    gf_clearFixes();
    gf_clearAirportTable();
}

void lf_startupReads() {
    gf_readDbase();
    gf_readFixes();
    benchmark::DoNotOptimize(gf_readAirports());
}

void lf_bareLoads() {
    for (const auto* path : {&folders::dbaseXml, &folders::fixesXml, &folders::airportsXml}) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_file(path->c_str()));
    }
}

// Runs `work` once in a child forked from this process and returns the child's own measurement of it, in
// seconds: the program meets these files once per process, with memory fresh from the system. The loops
// below, which repeat the work in one process, measure warm memory instead.
double lf_secondsInFreshProcess(void (*work)()) {
    int fds[2];
    if (::pipe(fds) != 0) return -1.0;
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::close(fds[0]);
        const auto t0 = std::chrono::steady_clock::now();
        work();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        const bool sent = ::write(fds[1], &seconds, sizeof seconds) == static_cast<ssize_t>(sizeof seconds);
        ::_exit(sent ? 0 : 1);
    }
    ::close(fds[1]);
    double seconds = -1.0;
    if (pid < 0 || ::read(fds[0], &seconds, sizeof seconds) != static_cast<ssize_t>(sizeof seconds)) seconds = -1.0;
    ::close(fds[0]);
    if (pid > 0) ::waitpid(pid, nullptr, 0);
    return seconds;
}

// Reads and bare loads, each in a fresh process, alternately. Time is that of the reads; the counters
// give both and their ratio. Runs first, while this process has read nothing.
void BM_FreshProcessRatio(benchmark::State& state) {
    lf_enterInstallFolder();
    gf_clearDbase();
    gf_clearAirportTable();
    ::malloc_trim(0);
    double reads = 0.0, bare = 0.0;
    for (auto _ : state) {
        const double r = lf_secondsInFreshProcess(lf_startupReads);
        const double b = lf_secondsInFreshProcess(lf_bareLoads);
        if (r < 0.0 || b < 0.0) {
            state.SkipWithError("the measuring child failed");
            return;
        }
        state.SetIterationTime(r);
        reads += r;
        bare += b;
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["reads_ms"] = reads * 1000.0 / n;
    state.counters["bare_ms"] = bare * 1000.0 / n;
    state.counters["ratio"] = reads / bare;
}
BENCHMARK(BM_FreshProcessRatio)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(40);

// The loops below repeat the work in one process. Left to itself, the allocator gives the freed document
// back to the system at the end of one pass and takes it again in the next, and how much of that each
// side pays depends on what the previous pass left on the heap (the bare load swings by several times
// with it).
// Kept mapped, both sides run on warm memory and the figures compare the work itself.
void lf_keepMemoryMapped() {
    static const bool kept = [] {
        ::mallopt(M_TRIM_THRESHOLD, 1 << 30);
        ::mallopt(M_MMAP_THRESHOLD, 32 << 20);
        return true;
    }();
    (void)kept;
}

void BM_StartupReads(benchmark::State& state) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    for (auto _ : state) {
        state.PauseTiming();
        lf_emptyTables();
        state.ResumeTiming();
        lf_startupReads();
    }
    state.counters["records"] = static_cast<double>(dbase.records.size());
    state.counters["airports"] = static_cast<double>(airportTable.rows.size());
}
BENCHMARK(BM_StartupReads)->Unit(benchmark::kMillisecond)->MinTime(2.0);

void BM_BarePugixmlLoad(benchmark::State& state) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    for (auto _ : state) lf_bareLoads();
}
BENCHMARK(BM_BarePugixmlLoad)->Unit(benchmark::kMillisecond)->MinTime(2.0);

// Both in one loop, one after the other, so that the ratio does not depend on what else the machine does
// during one of the two runs above.
void BM_RatioToBareLoad(benchmark::State& state) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    using Clock = std::chrono::steady_clock;
    Clock::duration reads{}, bare{};
    for (auto _ : state) {
        lf_emptyTables();
        const auto t0 = Clock::now();
        lf_startupReads();
        const auto t1 = Clock::now();
        lf_bareLoads();
        reads += t1 - t0;
        bare += Clock::now() - t1;
    }
    const auto ms = [&](Clock::duration d) {
        return std::chrono::duration<double, std::milli>(d).count() / static_cast<double>(state.iterations());
    };
    state.counters["reads_ms"] = ms(reads);
    state.counters["bare_ms"] = ms(bare);
    state.counters["ratio"] = ms(reads) / ms(bare);
}
BENCHMARK(BM_RatioToBareLoad)->Unit(benchmark::kMillisecond)->MinTime(3.0);

// The parts, to see where the time goes: each reader alone, and the bare load of its file.
void BM_ReadDbase(benchmark::State& state) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    for (auto _ : state) {
        state.PauseTiming();
        gf_clearDbase();
        state.ResumeTiming();
        gf_readDbase();
    }
}
BENCHMARK(BM_ReadDbase)->Unit(benchmark::kMillisecond);

void BM_ReadAirports(benchmark::State& state) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    for (auto _ : state) {
        gf_clearAirportTable();
        benchmark::DoNotOptimize(gf_readAirports());
    }
}
BENCHMARK(BM_ReadAirports)->Unit(benchmark::kMillisecond);

void BM_BareLoad(benchmark::State& state, const std::filesystem::path* path) {
    lf_enterInstallFolder();
    lf_keepMemoryMapped();
    for (auto _ : state) {
        pugi::xml_document doc;
        benchmark::DoNotOptimize(doc.load_file(path->c_str()));
    }
}
BENCHMARK_CAPTURE(BM_BareLoad, dbase, &folders::dbaseXml)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_BareLoad, airports, &folders::airportsXml)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
