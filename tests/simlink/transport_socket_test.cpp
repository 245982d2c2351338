// Sockets over loopback to the simulator double: IPv4 and IPv6, a clean close and a dropped connection.
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

TEST_F(TransportSocket, ConnectsOverIPv4Loopback) {
    ASSERT_TRUE(connect("IPv4", "127.0.0.1"));
    EXPECT_EQ(gf_sessionTransportName(h_), "IPv4");
    openAndAsk();
}

TEST_F(TransportSocket, ConnectsOverIPv6Loopback) {
    std::string error;
    if (!connect("IPv6", "::1")) GTEST_SKIP() << "no IPv6 loopback on this machine";
    EXPECT_EQ(gf_sessionTransportName(h_), "IPv6");
    openAndAsk();
}

TEST_F(TransportSocket, AutoFallsBackFromIPv6ToIPv4) {
    ASSERT_TRUE(connect("Auto", "127.0.0.1"));
    EXPECT_EQ(gf_sessionTransportName(h_), "IPv4");
    openAndAsk();
}

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

TEST_F(TransportSocket, CleanCloseBySimulatorEndsTheSessionToo) {
    ASSERT_TRUE(connect("IPv4", "127.0.0.1"));
    openAndAsk();
    server_.withSim([](simdouble::SimDouble& s) {
        s.closeAll();
        return 0;
    });
    EXPECT_EQ(dispatchUntil([] { return false; }), E_FAIL);
    EXPECT_NE(gf_sessionFailure(h_).find("closed the connection"), std::string::npos);
}

TEST_F(TransportSocket, ClientCloseLetsQueuedPacketsLeaveFirst) {
    ASSERT_TRUE(connect("IPv4", "127.0.0.1"));
    openAndAsk();
    for (int i = 0; i < 100; ++i) SimConnect_SubscribeToSystemEvent(h_, 300 + i, "Frame");
    EXPECT_EQ(SimConnect_Close(h_), S_OK);
    h_ = nullptr;
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (server_.clients() > 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    EXPECT_EQ(server_.withSim([](simdouble::SimDouble& s) { return s.packetsOf(0xF0000017); }), 100u);
}

}  // namespace
