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
    // Dispatches until the predicate holds; the loopback needs a moment, never more than 5 s.
    template <typename P>
    HRESULT dispatchUntil(P done) {
        HRESULT hr = S_OK;
        auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
        while (!done() && std::chrono::steady_clock::now() < deadline) {
            hr = SimConnect_CallDispatch(h_, Received::collect, &got_);
            if (FAILED(hr)) break;
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return hr;
    }
    void openAndAsk() {
        ASSERT_EQ(dispatchUntil([&] { return !got_.ofId(SIMCONNECT_RECV_ID_OPEN).empty(); }), S_OK);
        Bytes open = got_.ofId(SIMCONNECT_RECV_ID_OPEN).at(0);
        EXPECT_EQ(open.size(), 308u);
        EXPECT_STREQ(reinterpret_cast<const SIMCONNECT_RECV_OPEN*>(open.data())->szApplicationName,
                     "Lockheed Martin\xC2\xAE Prepar3D\xC2\xAE v5");
        SimConnect_AddToDataDefinition(h_, 408, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32);
        SimConnect_RequestDataOnSimObject(h_, 107, 408, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
        ASSERT_EQ(dispatchUntil([&] { return !got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA).empty(); }), S_OK);
        Bytes data = got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA).at(0);
        EXPECT_EQ(data.size(), 40u + 32u);
        EXPECT_STREQ(reinterpret_cast<const char*>(data.data() + 40), "C130");
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

}  // namespace
