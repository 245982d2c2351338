// Without a port in SimConnect.cfg the connection goes to the Prepar3D that the program knows: the pipe and
// the registry ports of that version, v6 as well as v5.
#include <optional>
#include <string>

#include <fmt/format.h>

#include "frame/core/folders.h"
#include "frame/core/params.h"
#include "platform/platform.h"
#include "simlink/state.h"
#include "simlink/transport/config.h"
#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "transport_support.h"

namespace {

// The machine's registry: which versions are installed (bit 1: v5, bit 2: v6), each with ports of its
// own, and set up in a folder whose name does not tell the version.
int g_installed = 0;
std::optional<std::string> lf_registry(const std::string& key, const std::string& value) {
    const bool v5 = key == "SOFTWARE\\Lockheed Martin\\Prepar3D v5" && (g_installed & 1);
    const bool v6 = key == "SOFTWARE\\Lockheed Martin\\Prepar3D v6" && (g_installed & 2);
    if (!v5 && !v6) return std::nullopt;
    if (value == "SetupPath") return std::string("D:\\Sims\\P3D\\");
    if (value == "SimConnect_Port_IPv4") return std::string(v5 ? "1" : "2");
    if (value == "SimConnect_Port_IPv6") return std::string(v5 ? "3" : "4");
    return std::nullopt;
}

class TransportVersion : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        gf_setRegistryOverride(lf_registry);
    }
};

TEST_F(TransportVersion, WithoutAPortTheChainUsesThePipeAndThePortsOfTheSimulatorVersion) {
    g_installed = 3;
    for (const int version : {5, 6}) {
        const std::string pipe = fmt::format("Lockheed Martin Prepar3D v{}\\SimConnect", version);
        const auto chain = gf_connectChain(SimConnectConfig{}, version);
        ASSERT_EQ(chain.size(), 4u);
        EXPECT_EQ(chain[0].kind, ConnectStep::Pipe);
        EXPECT_EQ(chain[0].port, pipe);
        EXPECT_EQ(chain[1].kind, ConnectStep::IPv6);
        EXPECT_EQ(chain[1].port, version == 5 ? "3" : "4");
        EXPECT_EQ(chain[2].kind, ConnectStep::IPv4);
        EXPECT_EQ(chain[2].port, version == 5 ? "1" : "2");
        EXPECT_EQ(chain[3].kind, ConnectStep::Pipe);
        EXPECT_EQ(chain[3].host, ".");
        EXPECT_EQ(chain[3].port, pipe);
    }
    // A port in SimConnect.cfg names the pipe of the first step; the last one is the simulator's own.
    SimConnectConfig named;
    named.port = "Custom";
    const auto chain = gf_connectChain(named, 6);
    EXPECT_EQ(chain.front().port, "Custom");
    EXPECT_EQ(chain.back().port, "Lockheed Martin Prepar3D v6\\SimConnect");
}

TEST_F(TransportVersion, TheSessionOpensOnThePortsOfTheVersionTheProgramFoundOrWasTold) {
    struct Row {
        const char* what;
        const char* installPath;  // empty: detected in the registry
        int32_t p3dVersion;
        int installed;
        int expected;
    };
    const Row rows[] = {
        {"install path of a v6", "C:\\Lockheed Martin\\Prepar3D v6", 5, 3, 6},
        {"install path of a v5", "C:\\Lockheed Martin\\Prepar3D v5", 6, 3, 5},
        {"P3D_VERSION 6 where the path does not tell", "D:\\Sims\\P3D", 6, 3, 6},
        {"nothing tells: v5", "D:\\Sims\\P3D", 5, 3, 5},
        {"v6 detected in the registry", "", 5, 2, 6},
        {"v5 detected, before P3D_VERSION", "", 6, 1, 5},
    };
    for (const Row& row : rows) {
        g_installed = row.installed;
        runPaths = RunPaths{};
        gf_resetSimConnectTransport();
        gf_setSimConnectCfgFolders({root_});  // no SimConnect.cfg anywhere
        SIM_INSTALL_PATH.current = row.installPath;
        P3D_VERSION.current = row.p3dVersion;
        if (SIM_INSTALL_PATH.current.empty()) lf_detectSim();
        const size_t before = logText().size();
        EXPECT_FALSE(gf_openSimConnect()) << row.what;  // nobody listens on these ports
        const std::string tried = logText().substr(before);
        const char* port4 = row.expected == 5 ? "1" : "2";
        const char* port6 = row.expected == 5 ? "3" : "4";
        EXPECT_NE(tried.find(fmt::format("IPv4 127.0.0.1:{}:", port4)), std::string::npos) << row.what << ": " << tried;
        EXPECT_NE(tried.find(fmt::format("IPv6 ::1:{}:", port6)), std::string::npos) << row.what << ": " << tried;
    }
}

}  // namespace
