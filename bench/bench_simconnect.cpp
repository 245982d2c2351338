// SimConnect client: what one position update costs the caller (encode + queue), and how many go
// through loopback TCP to the simulator double per second, 1,000 updates to a frame.
#include <benchmark/benchmark.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <thread>

#include "simlink/transport/inprocess.h"
#include "simlink/transport/packets.h"
#include "simlink/transport/session.h"
#include "tools/simdouble/tcp_server.h"

namespace {

constexpr int kUpdatesPerFrame = 1000;

// Takes packets and forgets them: only the client's own work is measured.
struct NullServer final : InProcessServer {
    struct Conn final : InProcessConnection {
        void fromClient(const uint8_t*, size_t n) override { benchmark::DoNotOptimize(n); }
        void clientClosed() override {}
    };
    std::unique_ptr<InProcessConnection> connect(InProcessClient&) override { return std::make_unique<Conn>(); }
};

double position[8] = {47.4647, 8.5492, 0.01, 0.0, 1.57, 1500.0, 0.0, 140.0};

void BM_EncodeAndQueueInProcess(benchmark::State& state) {
    NullServer server;
    gf_setInProcessServer(&server);
    HANDLE h = nullptr;
    SimConnect_Open(&h, "bench", nullptr, 0, nullptr, SIMCONNECT_CFG_LOCAL_INDEX);
    for (auto _ : state) {
        for (int i = 0; i < kUpdatesPerFrame; ++i) SimConnect_SetDataOnSimObject(h, 402, 2 + i, 0, 0, 64, position);
    }
    state.SetItemsProcessed(state.iterations() * kUpdatesPerFrame);
    SimConnect_Close(h);
    gf_setInProcessServer(nullptr);
}
BENCHMARK(BM_EncodeAndQueueInProcess)->Unit(benchmark::kMicrosecond);

// One frame: 1,000 updates queued by the caller, then the double has all of them.
void BM_RoundTripLoopbackTcp(benchmark::State& state) {
    namespace fs = std::filesystem;
    simdouble::Scenario scenario;
    scenario.createDelayMs = 0;
    simdouble::SimDouble sim(scenario);
    simdouble::TcpServer server(sim, false);
    std::string error;
    uint16_t port = server.listen("127.0.0.1", 0, error);
    if (port == 0) {
        state.SkipWithError(error.c_str());
        return;
    }
    server.start();
    fs::path dir = fs::temp_directory_path() / "bench_simconnect";
    fs::create_directories(dir);
    std::ofstream(dir / "SimConnect.cfg")
        << "[SimConnect]\nProtocol=IPv4\nAddress=127.0.0.1\nPort=" << port << "\nDisableNagle=1\n";
    gf_setSimConnectCfgFolders({dir});
    HANDLE h = nullptr;
    if (FAILED(SimConnect_Open(&h, "bench", nullptr, 0, nullptr, 0))) {
        state.SkipWithError("no connection");
        return;
    }
    for (const char* v : {"Plane Latitude", "Plane Longitude", "Plane Pitch degrees", "Plane Bank degrees",
                          "Plane Heading degrees true", "Plane Altitude", "Vertical Speed", "Airspeed True"})
        SimConnect_AddToDataDefinition(h, 402, v, "number");
    // One object to move; the rest of the frame moves it again (the double checks each update).
    SIMCONNECT_DATA_INITPOSITION init{47.4647, 8.5492, 1500, 0, 0, 90, 0, 140};
    SimConnect_AICreateNonATCAircraft(h, "Airbus A320", "BENCH1", init, 104);
    const uint32_t object = scenario.userObjectId + 1;
    auto received = [&] {
        return server.withSim([](simdouble::SimDouble& s) { return s.packetsOf(scwire::kSetDataOnSimObject); });
    };
    uint64_t want = 0;
    double callSeconds = 0;
    for (auto _ : state) {
        auto t0 = std::chrono::steady_clock::now();
        for (int i = 0; i < kUpdatesPerFrame; ++i) SimConnect_SetDataOnSimObject(h, 402, object, 0, 0, 64, position);
        callSeconds += std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
        want += kUpdatesPerFrame;
        while (received() < want) std::this_thread::yield();
    }
    state.SetItemsProcessed(state.iterations() * kUpdatesPerFrame);
    state.counters["caller_ns_per_update"] = callSeconds * 1e9 / static_cast<double>(want ? want : 1);
    SimConnect_Close(h);
    server.stop();
    gf_setSimConnectCfgFolders({});
    fs::remove_all(dir);
}
BENCHMARK(BM_RoundTripLoopbackTcp)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
