// The named pipe of a simulator on the same machine (Windows only): the double serves the pipe, the client
// finds it through SimConnect.cfg, and a close is never kept waiting by a read that began after it.
#ifdef _WIN32

#include <process.h>

#include <atomic>
#include <chrono>
#include <future>

#include <fmt/format.h>

#include "simlink/transport/packets.h"
#include "simlink/transport/session.h"
#include "simlink/transport/transport.h"
#include "support/fixture.h"
#include "tools/simdouble/pipe_server.h"
#include "transport_support.h"

namespace {

using namespace std::chrono_literals;
constexpr auto kHangLimit = 5s;  // what a close or a stopped read may take before it counts as hanging

// Delivers the first message only when the test lets it go, so a close can come while the reader is busy.
struct HoldingInbound final : Inbound {
    std::promise<void> inside;
    std::shared_future<void> release;
    std::atomic<int> messages{0};
    void onMessage(std::vector<uint8_t>&&) override {
        if (messages++ != 0) return;
        inside.set_value();
        release.wait();
    }
    void onFailure(const std::string&) override {}
};

// Forwards to the pipe and tells when shutdown() has been called.
struct WatchedLink final : ByteLink {
    std::unique_ptr<ByteLink> inner;
    std::promise<void> shutdownCalled;
    std::atomic<bool> once{false};
    bool writeAll(const uint8_t* d, size_t n, std::string& e) override { return inner->writeAll(d, n, e); }
    long readSome(uint8_t* d, size_t n, std::string& e) override { return inner->readSome(d, n, e); }
    void shutdown() override {
        inner->shutdown();
        if (!once.exchange(true)) shutdownCalled.set_value();
    }
};

class TransportPipe : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        static int serial = 0;
        pipeName_ = fmt::format("ZARK_P3D test {} {}", _getpid(), ++serial);
        std::string error;
        ASSERT_TRUE(server_.listen(pipeName_, error)) << error;
        server_.start();
    }
    void TearDown() override {
        if (h_) SimConnect_Close(h_);
        server_.stop();
        TransportTest::TearDown();
    }
    bool open() {
        writeFile("SimConnect.cfg", fmt::format("[SimConnect]\nProtocol=Pipe\nAddress=.\nPort={}\n", pipeName_));
        EXPECT_EQ(SimConnect_Open(&h_, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
        return h_ != nullptr;
    }
    // Ends every connection from the server's side: what frees a client that hangs, after a failure.
    void dropAll() {
        server_.withSim([](simdouble::SimDouble& s) {
            s.dropAll();
            return 0;
        });
    }
    // The open packet of a client, for a transport driven without the session.
    static PacketBlock openPacket() {
        auto block = std::make_shared<std::vector<uint8_t>>();
        scwire::PacketWriter w(*block);
        w.u32(0);
        w.u32(scwire::kProtocolVersion);
        w.u32(scwire::kOpen);
        w.u32(1);
        w.text("ZARK_P3D", 256);
        w.u32(0);
        w.u32(scwire::kOpenProductTag);
        w.u32(scwire::kOpenLibraryMajor);
        w.u32(scwire::kOpenLibraryMinor);
        w.zeros(8);
        w.finish();
        return block;
    }
    simdouble::SimDouble sim_;
    simdouble::PipeServer server_{sim_, false};
    std::string pipeName_;
    HANDLE h_ = nullptr;
    Received got_;
};

TEST_F(TransportPipe, OpensAndAsksOverThePipe) {
    ASSERT_TRUE(open());
    EXPECT_EQ(gf_sessionTransportName(h_), "Pipe");
    openAndAskTheDouble(h_, got_);
    EXPECT_EQ(server_.withSim([](simdouble::SimDouble& s) { return s.clientName(1); }), "ZARK_P3D");
}

TEST_F(TransportPipe, ABrokenPipeIsReportedByTheNextDispatch) {
    ASSERT_TRUE(open());
    openAndAskTheDouble(h_, got_);
    dropAll();
    EXPECT_EQ(dispatchUntil(h_, got_, [] { return false; }), E_FAIL);
    EXPECT_FALSE(gf_sessionFailure(h_).empty());
}

// A shutdown that comes while no read is pending still stops the next read.
TEST_F(TransportPipe, AReadAfterTheShutdownReturnsAtOnce) {
    std::string error;
    std::unique_ptr<ByteLink> link = gf_connectPipe(".", pipeName_, error);
    ASSERT_NE(link, nullptr) << error;
    link->shutdown();
    auto read = std::async(std::launch::async, [&] {
        uint8_t buffer[64];
        std::string e;
        return link->readSome(buffer, sizeof buffer, e);
    });
    const bool returned = read.wait_for(kHangLimit) == std::future_status::ready;
    if (!returned) dropAll();
    EXPECT_TRUE(returned) << "the read waited for the simulator after the shutdown";
    EXPECT_EQ(read.get(), 0);
}

// The close comes while the reader delivers a message; the read it would begin next must not wait.
TEST_F(TransportPipe, ACloseWhileTheReaderDeliversIsNotKeptWaiting) {
    std::string error;
    auto watched = std::make_unique<WatchedLink>();
    watched->inner = gf_connectPipe(".", pipeName_, error);
    ASSERT_NE(watched->inner, nullptr) << error;
    std::future<void> shutdownCalled = watched->shutdownCalled.get_future();
    HoldingInbound inbound;
    std::promise<void> release;
    inbound.release = release.get_future().share();
    std::future<void> inside = inbound.inside.get_future();
    std::unique_ptr<Transport> transport = gf_makeStreamTransport(std::move(watched), "Pipe", inbound, 65536);
    transport->send(openPacket());
    ASSERT_EQ(inside.wait_for(kHangLimit), std::future_status::ready) << "the double did not answer";
    auto closing = std::async(std::launch::async, [&] { transport->close(); });
    EXPECT_EQ(shutdownCalled.wait_for(kHangLimit), std::future_status::ready);
    release.set_value();
    const bool closed = closing.wait_for(kHangLimit) == std::future_status::ready;
    if (!closed) dropAll();
    closing.wait();
    EXPECT_TRUE(closed) << "the close waited for a read begun after the shutdown";
}

}  // namespace

#endif
