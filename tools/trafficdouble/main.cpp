// trafficdouble: the RealTraffic service double as a program, for the demo.
//   trafficdouble [--port N] [--scenario file.json] [--rrl ms] [--wrrl ms]
// Point the program at it with the environment variable ZARK_RT_URL=http://127.0.0.1:N
#include <cstdio>
#include <cstring>
#include <string>

#include "tools/common/stopsignal.h"
#include "tools/trafficdouble/double.h"

namespace {
int lf_usage() {
    std::fprintf(stderr, "usage: trafficdouble [--port N] [--scenario file.json] [--rrl ms] [--wrrl ms]\n");
    return 2;
}
}  // namespace

int main(int argc, char** argv) {
    int port = 8090;
    std::string scenarioFile = std::string(ZARK_SOURCE_DIR) + "/data/tracks/LSZH_scenario.json";
    int rrl = -1, wrrl = -1;
    for (int i = 1; i < argc; ++i) {
        const bool hasValue = i + 1 < argc;
        if (std::strcmp(argv[i], "--port") == 0 && hasValue)
            port = std::atoi(argv[++i]);
        else if (std::strcmp(argv[i], "--scenario") == 0 && hasValue)
            scenarioFile = argv[++i];
        else if (std::strcmp(argv[i], "--rrl") == 0 && hasValue)
            rrl = std::atoi(argv[++i]);
        else if (std::strcmp(argv[i], "--wrrl") == 0 && hasValue)
            wrrl = std::atoi(argv[++i]);
        else
            return lf_usage();
    }
    try {
        tdbl::Scenario scenario = tdbl::gf_loadScenario(scenarioFile);
        if (rrl > 0) scenario.rrl = rrl;
        if (wrrl > 0) scenario.wrrl = wrrl;
        const size_t flights = scenario.flights.size();
        tdbl::TrafficDouble server(std::move(scenario));
        const int bound = server.start(port);
        std::printf("trafficdouble: %zu recorded flights, listening on http://127.0.0.1:%d\n", flights, bound);
        std::printf("trafficdouble: set ZARK_RT_URL=http://127.0.0.1:%d for the program\n", bound);
        std::fflush(stdout);
        toolsig::waitForStopSignal();
        server.stop();
    } catch (const std::exception& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
    return 0;
}
