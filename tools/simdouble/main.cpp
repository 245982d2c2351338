// simdouble: plays a scenario as a Prepar3D v5 simulator on a TCP port, IPv4 and IPv6, until stopped.
//   simdouble [--scenario file.json] [--port 5000] [--any] [--export track.json] [--pipe name]
// --pipe (Windows build only) serves the named pipe "\\.\pipe\<name>" instead of TCP.
// On SIGINT or SIGTERM the recording of all objects is written to the export file. SIGUSR1 (not on Windows)
// plays a flight load, as when the user loads a flight in the simulator: a script may use it to restart a
// client's run.
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <thread>

#include <fmt/format.h>

#include "frame/core/textfiles.h"
#include "tools/simdouble/pipe_server.h"
#include "tools/simdouble/tcp_server.h"

namespace {
volatile std::sig_atomic_t stopRequested = 0;
volatile std::sig_atomic_t flightLoadRequested = 0;
void lf_onSignal(int) { stopRequested = 1; }
#ifdef SIGUSR1  // Windows has no user signals: there the flight load is not played
void lf_onFlightLoadSignal(int) { flightLoadRequested = 1; }
#endif

// Serves until SIGINT or SIGTERM, then writes the recording.
template <typename Server>
int lf_serveUntilStopped(Server& server, const std::string& exportFile) {
    std::signal(SIGINT, lf_onSignal);
    std::signal(SIGTERM, lf_onSignal);
#ifdef SIGUSR1
    std::signal(SIGUSR1, lf_onFlightLoadSignal);
#endif
    server.start();
    while (!stopRequested) {
        if (flightLoadRequested) {
            flightLoadRequested = 0;
            server.withSim([](simdouble::SimDouble& s) {
                s.flightLoaded(s.scenario().flightFile);
                return 0;
            });
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    server.stop();
    if (!exportFile.empty()) {
        std::string text = server.withSim([](simdouble::SimDouble& s) { return s.exportJson().dump(1); });
        if (!gf_writeFileAtomically(exportFile, text + "\n")) {
            std::fprintf(stderr, "simdouble: could not write \"%s\"\n", exportFile.c_str());
            return 1;
        }
        std::printf("simdouble: recording written to \"%s\"\n", exportFile.c_str());
    }
    return 0;
}

int lf_servePipe([[maybe_unused]] simdouble::SimDouble& sim, [[maybe_unused]] const std::string& name,
                 [[maybe_unused]] const std::string& exportFile) {
#ifdef _WIN32
    simdouble::PipeServer server(sim, true);
    std::string error;
    if (!server.listen(name, error)) {
        std::fprintf(stderr, "simdouble: %s\n", error.c_str());
        return 1;
    }
    std::printf("simdouble: listening on pipe \"%s\"\n", name.c_str());
    std::fflush(stdout);
    return lf_serveUntilStopped(server, exportFile);
#else
    std::fprintf(stderr, "simdouble: no named pipes on this system\n");
    return 2;
#endif
}

int lf_usage(const char* why) {
    std::fprintf(stderr,
                 "simdouble: %s\nusage: simdouble [--scenario file.json] [--port N] [--any] [--export file.json] "
                 "[--pipe name]\n",
                 why);
    return 2;
}
}  // namespace

int main(int argc, char** argv) {
    std::string scenarioFile, exportFile, pipeName;
    int port = 5000;
    bool any = false;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        auto value = [&]() -> const char* { return i + 1 < argc ? argv[++i] : nullptr; };
        if (a == "--scenario") {
            const char* v = value();
            if (!v) return lf_usage("--scenario needs a file");
            scenarioFile = v;
        } else if (a == "--port") {
            const char* v = value();
            if (!v) return lf_usage("--port needs a number");
            port = std::atoi(v);
            if (port < 0 || port > 65535) return lf_usage("--port must be 0 to 65535");
        } else if (a == "--export") {
            const char* v = value();
            if (!v) return lf_usage("--export needs a file");
            exportFile = v;
        } else if (a == "--pipe") {
            const char* v = value();
            if (!v) return lf_usage("--pipe needs a name");
            pipeName = v;
        } else if (a == "--any") {
            any = true;
        } else {
            return lf_usage(fmt::format("unknown argument \"{}\"", a).c_str());
        }
    }
    simdouble::Scenario scenario;
    try {
        if (!scenarioFile.empty()) scenario = simdouble::gf_loadScenario(scenarioFile);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "simdouble: %s\n", e.what());
        return 1;
    }
    simdouble::SimDouble sim(scenario);
    if (!pipeName.empty()) return lf_servePipe(sim, pipeName, exportFile);
    simdouble::TcpServer server(sim, true);
    int listening = 0;
    for (const char* address : {any ? "0.0.0.0" : "127.0.0.1", any ? "::" : "::1"}) {
        std::string error;
        uint16_t p = server.listen(address, static_cast<uint16_t>(port), error);
        if (p == 0) {
            std::fprintf(stderr, "simdouble: %s\n", error.c_str());
        } else {
            std::printf("simdouble: \"%s\" listening on [%s]:%u\n", scenario.applicationName.c_str(), address, p);
            ++listening;
        }
    }
    if (listening == 0) return 1;
    std::fflush(stdout);
    return lf_serveUntilStopped(server, exportFile);
}
