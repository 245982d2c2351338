// The stream transport over a link that misbehaves as real ones do: reads that split or join messages,
// sends that fail while a message arrives, partial writes of a full socket, a peer that leaves.
// Built on sockets of the system (socketpair, signals to interrupt a blocked write): Linux only.
#ifndef _WIN32

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>

#include <netinet/in.h>
#include <pthread.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include "simlink/transport/transport.h"
#include "transport_support.h"

namespace {

using namespace std::chrono_literals;

// A link whose reads hand out scripted pieces and whose writes are recorded, or fail with `writeError`.
class FakeLink final : public ByteLink {
public:
    struct Shared {
        std::mutex lock;
        std::condition_variable changed;
        std::deque<Bytes> reads;  // an empty piece is the peer's orderly end
        std::string readError;    // set: the next read fails with it
        std::string writeError;   // set: every write fails with it
        std::vector<Bytes> writes;
        bool shut = false;
    };
    explicit FakeLink(Shared& s) : s_(s) {}
    bool writeAll(const uint8_t* data, size_t n, std::string& error) override {
        std::lock_guard lock(s_.lock);
        if (!s_.writeError.empty()) {
            error = s_.writeError;
            return false;
        }
        s_.writes.emplace_back(data, data + n);
        s_.changed.notify_all();
        return true;
    }
    long readSome(uint8_t* data, size_t n, std::string& error) override {
        std::unique_lock lock(s_.lock);
        s_.changed.wait(lock, [this] { return s_.shut || !s_.reads.empty() || !s_.readError.empty(); });
        if (s_.shut) return 0;
        if (!s_.readError.empty()) {
            error = s_.readError;
            return -1;
        }
        Bytes& piece = s_.reads.front();
        const size_t k = std::min(n, piece.size());
        std::copy(piece.begin(), piece.begin() + static_cast<long>(k), data);
        piece.erase(piece.begin(), piece.begin() + static_cast<long>(k));
        if (piece.empty() || k == 0) s_.reads.pop_front();
        return static_cast<long>(k);
    }
    void shutdown() override {
        std::lock_guard lock(s_.lock);
        s_.shut = true;
        s_.changed.notify_all();
    }

private:
    Shared& s_;
};

// What the transport delivers, with a bounded wait for its threads.
struct Delivered final : Inbound {
    std::mutex lock;
    std::condition_variable changed;
    std::vector<Bytes> messages;
    std::vector<std::string> failures;
    void onMessage(std::vector<uint8_t>&& m) override {
        std::lock_guard l(lock);
        messages.push_back(std::move(m));
        changed.notify_all();
    }
    void onFailure(const std::string& why) override {
        std::lock_guard l(lock);
        failures.push_back(why);
        changed.notify_all();
    }
    template <typename P>
    bool waitFor(P done) {
        std::unique_lock l(lock);
        return changed.wait_for(l, 5s, done);
    }
};

class TransportFaults : public ::testing::Test {
protected:
    void start() { transport_ = gf_makeStreamTransport(std::make_unique<FakeLink>(link_), "Fake", inbound_, 41088); }
    void read(Bytes piece) {
        std::lock_guard lock(link_.lock);
        link_.reads.push_back(std::move(piece));
        link_.changed.notify_all();
    }
    static PacketBlock block(Bytes b) { return std::make_shared<const Bytes>(std::move(b)); }

    FakeLink::Shared link_;
    Delivered inbound_;
    std::unique_ptr<Transport> transport_;
};

TEST_F(TransportFaults, ReadsThatSplitOrJoinMessagesDeliverEachWholeAndInOrder) {
    const Bytes a = message(SIMCONNECT_RECV_ID_EVENT, {1, 201, 1}), b = message(SIMCONNECT_RECV_ID_QUIT, {}),
                c = message(SIMCONNECT_RECV_ID_EVENT, {1, 202, 7, 2, 0});
    Bytes joined(a.begin() + 5, a.end());
    joined.insert(joined.end(), b.begin(), b.end());
    joined.insert(joined.end(), c.begin(), c.begin() + 3);
    start();
    read(Bytes(a.begin(), a.begin() + 5));
    read(joined);
    read(Bytes(c.begin() + 3, c.end()));
    ASSERT_TRUE(inbound_.waitFor([&] { return inbound_.messages.size() == 3; }));
    EXPECT_EQ(inbound_.messages, (std::vector<Bytes>{a, b, c}));
    EXPECT_TRUE(inbound_.failures.empty());
}

TEST_F(TransportFaults, ASendThatFailsWhileAMessageArrivesEndsTheLinkOnceAndKeepsTheMessage) {
    link_.writeError = "Broken pipe";
    start();
    const Bytes quit = message(SIMCONNECT_RECV_ID_QUIT, {});
    read(quit);
    transport_->send(block({1, 2, 3, 4}));
    ASSERT_TRUE(inbound_.waitFor([&] { return !inbound_.failures.empty() && !inbound_.messages.empty(); }));
    EXPECT_EQ(inbound_.messages.front(), quit);
    transport_->send(block({5, 6}));  // after the failure: dropped, not written
    transport_->close();
    EXPECT_EQ(inbound_.failures, (std::vector<std::string>{"send failed: Broken pipe"}));
    EXPECT_TRUE(link_.writes.empty());
}

TEST_F(TransportFaults, TheEndOfTheReadSideIsToldWithItsCause) {
    const std::pair<std::string, std::string> cases[] = {
        {"", "the simulator closed the connection"},
        {"Connection reset by peer", "receive failed: Connection reset by peer"},
        {"oversize", "protocol error: "}};
    for (const auto& [readError, told] : cases) {
        FakeLink::Shared link;
        Delivered inbound;
        auto t = gf_makeStreamTransport(std::make_unique<FakeLink>(link), "Fake", inbound, 41088);
        {
            std::lock_guard lock(link.lock);
            if (readError == "oversize")
                link.reads.push_back(Bytes{0x81, 0xA0, 0, 0, 5, 0, 0, 0});  // 41089 bytes announced
            else if (readError.empty())
                link.reads.push_back({});
            else
                link.readError = readError;
            link.changed.notify_all();
        }
        ASSERT_TRUE(inbound.waitFor([&] { return !inbound.failures.empty(); })) << told;
        EXPECT_EQ(inbound.failures.front().rfind(told, 0), 0u) << inbound.failures.front();
        t->close();
        EXPECT_EQ(inbound.failures.size(), 1u) << "the end is told once, the close adds nothing";
    }
}

TEST_F(TransportFaults, CloseLetsQueuedPacketsLeaveInOrderAndReportsNothing) {
    start();
    for (uint8_t i = 1; i <= 5; ++i) transport_->send(block({i, i}));
    transport_->close();
    Bytes all;
    for (const Bytes& w : link_.writes) all.insert(all.end(), w.begin(), w.end());
    EXPECT_EQ(all, (Bytes{1, 1, 2, 2, 3, 3, 4, 4, 5, 5}));
    EXPECT_TRUE(inbound_.failures.empty()) << "a closing transport does not report its own end";
}

// A send that a signal interrupts returns after part of the bytes, or with EINTR: the link goes on where it
// stopped, and every byte still arrives once and in order.
TEST(TransportSocketWrites, AnInterruptedSendGoesOnWhereItStopped) {
    struct sigaction quiet {};
    quiet.sa_handler = [](int) {};  // no SA_RESTART: the send returns early
    struct sigaction previous {};
    sigaction(SIGUSR1, &quiet, &previous);
    const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t len = sizeof addr;
    ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&addr), sizeof addr), 0);
    ASSERT_EQ(::listen(listener, 1), 0);
    ::getsockname(listener, reinterpret_cast<sockaddr*>(&addr), &len);
    std::string error;
    auto link = gf_connectSocket(false, "127.0.0.1", std::to_string(ntohs(addr.sin_port)), true, error);
    ASSERT_NE(link, nullptr) << error;
    const int peer = ::accept(listener, nullptr, nullptr);
    Bytes big(16 << 20);
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<uint8_t>(i * 7 + i / 251);
    std::atomic<bool> written{false}, ok{false};
    std::thread writer([&] {
        ok = link->writeAll(big.data(), big.size(), error);
        written = true;
    });
    std::thread signaller([&] {
        while (!written) {
            pthread_kill(writer.native_handle(), SIGUSR1);
            std::this_thread::yield();
        }
    });
    Bytes got;
    got.reserve(big.size());
    uint8_t chunk[4096];
    while (got.size() < big.size()) {
        const ssize_t k = ::recv(peer, chunk, sizeof chunk, 0);
        if (k <= 0) break;
        got.insert(got.end(), chunk, chunk + k);
    }
    writer.join();
    signaller.join();
    sigaction(SIGUSR1, &previous, nullptr);
    EXPECT_TRUE(ok) << error;
    EXPECT_TRUE(got == big) << got.size() << " bytes arrived";
    ::close(peer);
    ::close(listener);
}

}  // namespace

#endif  // !_WIN32
