// Decoding one snapshot of 5,000 aircraft: JSON parse plus processLiveLine for every line, against the parse
// alone. Target: the whole under 50 ms, at most twice the parse.
#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include "service/client.h"
#include "service/state.h"
#include "service/traffic.h"
#include "tools/trafficdouble/double.h"

namespace {
constexpr size_t kAircraft = 5000;

// Lines of the recorded Zurich flights at many moments, each under an address of its own.
const std::string& lf_snapshotText() {
    static const std::string text = [] {
        tdbl::TrafficDouble replay(tdbl::gf_zurichScenario(ZARK_SOURCE_DIR));
        nlohmann::json data = nlohmann::json::object();
        const double origin = static_cast<double>(replay.scenario().replayOriginUnix);
        for (int step = 0; data.size() < kAircraft; ++step) {
            const nlohmann::json snap = replay.snapshot(origin + step * 7.0, 90, -90, -180, 180);
            for (const auto& [key, line] : snap.items()) {
                if (data.size() >= kAircraft) break;
                nlohmann::json copy = line;
                const std::string hex = fmt::format("{:06x}", 0x100000 + data.size());
                copy[0] = hex;
                data[hex] = std::move(copy);
            }
        }
        return nlohmann::json{{"status", 200}, {"rrl", 2000}, {"data", std::move(data)}}.dump();
    }();
    return text;
}

void lf_prepare() {
    gf_resetService();
    gf_setQueryPosition(47.458056, 8.548056);
    gf_setParkAirport(47.458056, 8.548056, 1417);
    lf_updateArea();
}

void BM_ParseOnly(benchmark::State& state) {
    const std::string& text = lf_snapshotText();
    for (auto _ : state) {
        nlohmann::json answer = nlohmann::json::parse(text);
        benchmark::DoNotOptimize(answer);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseOnly)->Unit(benchmark::kMillisecond);

void BM_ParseAndDecode(benchmark::State& state) {
    const std::string& text = lf_snapshotText();
    lf_prepare();
    TrafficReader& reader = trafficReader;
    size_t kept = 0;
    for (auto _ : state) {
        nlohmann::json answer = nlohmann::json::parse(text);
        auto& data = answer["data"];
        for (auto it = data.begin(); it != data.end(); ++it) {
            reader.line = std::move(*it);
            reader.processLiveLine();
        }
        kept = reader.batch.size();
        reader.batch.clear();
    }
    state.counters["kept"] = static_cast<double>(kept);
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_ParseAndDecode)->Unit(benchmark::kMillisecond);
}  // namespace

BENCHMARK_MAIN();
