// Sockets over loopback to the simulator double: IPv4 and IPv6, and a dropped connection.
#include <chrono>
#include <thread>

#include <fmt/format.h>

#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "tools/simdouble/tcp_server.h"
#include "transport_support.h"

namespace {

class TransportSocket : public TransportTest {
protected:
    void TearDown() override {
        if (h_) SimConnect_Close(h_);
        server_.stop();
        TransportTest::TearDown();
    }
    // Listens, writes the cfg for it and opens a session.
    bool connect(const char* protocol, const char* address) {
        std::string error;
        uint16_t port = server_.listen(address, 0, error);
        if (port == 0) return false;
        server_.start();
        writeFile("SimConnect.cfg", fmt::format("[SimConnect]\nProtocol={}\nAddress={}\nPort={}\nDisableNagle=1\n",
                                                protocol, address, port));
        EXPECT_EQ(SimConnect_Open(&h_, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
        return h_ != nullptr;
    }
    template <typename P>
    HRESULT dispatchUntil(P done) {
        return ::dispatchUntil(h_, got_, done);
    }
    void openAndAsk() {
        openAndAskTheDouble(h_, got_);
        EXPECT_EQ(server_.withSim([](simdouble::SimDouble& s) { return s.clientName(1); }), "ZARK_P3D");
    }
    simdouble::SimDouble sim_;
    simdouble::TcpServer server_{sim_, false};
    HANDLE h_ = nullptr;
    Received got_;
};

struct Loopback {
    const char *protocol, *address, *used;
};
class TransportSockets : public TransportSocket, public ::testing::WithParamInterface<Loopback> {};

// Auto tries IPv6 first and falls back to IPv4.
TEST_P(TransportSockets, ConnectsOverLoopback) {
    const Loopback& c = GetParam();
    if (!connect(c.protocol, c.address)) GTEST_SKIP() << "no " << c.protocol << " loopback on this machine";
    EXPECT_EQ(gf_sessionTransportName(h_), c.used);
    openAndAsk();
}

INSTANTIATE_TEST_SUITE_P(Protocols, TransportSockets,
                         ::testing::Values(Loopback{"IPv4", "127.0.0.1", "IPv4"}, Loopback{"IPv6", "::1", "IPv6"},
                                           Loopback{"Auto", "127.0.0.1", "IPv4"}));

TEST_F(TransportSocket, DroppedConnectionIsReportedByTheNextDispatch) {
    ASSERT_TRUE(connect("IPv4", "127.0.0.1"));
    openAndAsk();
    server_.withSim([](simdouble::SimDouble& s) {
        s.dropAll();
        return 0;
    });
    EXPECT_EQ(dispatchUntil([] { return false; }), E_FAIL);
    EXPECT_FALSE(gf_sessionFailure(h_).empty());
    EXPECT_EQ(SimConnect_ClearDataDefinition(h_, 408), E_FAIL);
}

}  // namespace
