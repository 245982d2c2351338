// Receive framing: how the simulator's byte stream becomes messages, and what ends a session.
#include <cstring>

#include "simlink/transport/framer.h"
#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "transport_support.h"

namespace {

struct Cut {
    std::vector<Bytes> out;
    ReceiveFramer::Sink sink() {
        return [this](std::vector<uint8_t>&& m) { out.push_back(std::move(m)); };
    }
};

Bytes sized(uint32_t size, uint32_t id = 8) {
    Bytes b(size, 0xAB);
    scwire::gf_putU32(b.data(), size);
    scwire::gf_putU32(b.data() + 4, 5);
    scwire::gf_putU32(b.data() + 8, id);
    return b;
}

Bytes join(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& p : parts) all.insert(all.end(), p.begin(), p.end());
    return all;
}

TEST(TransportFraming, MessageOfExactlyTheLimitIsAcceptedOneByteMoreEndsTheStream) {
    Cut cut;
    ReceiveFramer ok(41088);
    Bytes big = sized(41088);
    EXPECT_TRUE(ok.feed(big.data(), big.size(), cut.sink()));
    ASSERT_EQ(cut.out.size(), 1u);
    EXPECT_EQ(cut.out[0], big);

    ReceiveFramer bad(41088);
    Bytes tooBig = sized(41089);
    EXPECT_FALSE(bad.feed(tooBig.data(), tooBig.size(), cut.sink()));
    EXPECT_TRUE(bad.failed());
    EXPECT_NE(bad.error().find("41089"), std::string::npos);
    EXPECT_EQ(cut.out.size(), 1u);
}

TEST(TransportFraming, ZeroPaddingBetweenMessagesIsSteppedOver) {
    Cut cut;
    ReceiveFramer f;
    Bytes a = sized(28, 4), b = sized(256, 9), c = sized(24, 1);
    // Word padding before a size with a zero low byte, odd padding before another message.
    Bytes all = join({a, Bytes(8, 0), b, Bytes(5, 0), c, Bytes(4, 0)});
    EXPECT_TRUE(f.feed(all.data(), all.size(), cut.sink()));
    ASSERT_EQ(cut.out.size(), 3u);
    EXPECT_EQ(cut.out[0], a);
    EXPECT_EQ(cut.out[1], b);
    EXPECT_EQ(cut.out[2], c);
    // Padding that arrives in single bytes.
    Cut slow;
    ReceiveFramer g;
    for (uint8_t byte : all) EXPECT_TRUE(g.feed(&byte, 1, slow.sink()));
    EXPECT_EQ(slow.out, cut.out);
}

// A size of 1 to 3 cannot even hold itself; 4 is a (headless) message the dispatch drops later.
TEST(TransportFraming, SizesOneToThreeBreakTheStream) {
    for (uint32_t size : {1u, 2u, 3u, 4u}) {
        Cut cut;
        ReceiveFramer f;
        Bytes b(8, 0);
        scwire::gf_putU32(b.data(), size);
        EXPECT_EQ(f.feed(b.data(), 4, cut.sink()), size == 4) << size;
    }
}

TEST(TransportFraming, BufferGrowsToOneMebibyteAndNoFurther) {
    Cut cut;
    ReceiveFramer f(2 * 1024 * 1024);
    Bytes m = sized(1024 * 1024);
    Bytes odd = sized(5000);
    EXPECT_TRUE(f.feed(odd.data(), odd.size(), cut.sink()));
    EXPECT_EQ(f.bufferSize() % kReceiveChunk, 0u);  // grown in steps of 2048
    EXPECT_TRUE(f.feed(m.data(), m.size(), cut.sink()));
    EXPECT_EQ(cut.out.size(), 2u);
    ReceiveFramer g(2 * 1024 * 1024);
    Bytes tooBig = sized(1024 * 1024 + 1);
    EXPECT_FALSE(g.feed(tooBig.data(), tooBig.size(), cut.sink()));
}

class TransportDispatch : public TransportTest {};

TEST_F(TransportDispatch, MessagesReachTheCallbackOnlyInDispatchAndInOrder) {
    RecordingServer server;
    InProcessScope scope(server);
    HANDLE h = nullptr;
    ASSERT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
    server.say(message(SIMCONNECT_RECV_ID_EVENT, {0xFFFFFFFF, 201, 1}));
    server.say(message(SIMCONNECT_RECV_ID_QUIT, {}));
    server.say(Bytes{8, 0, 0, 0, 5, 0, 0, 0});  // too short for a head
    Received got;
    EXPECT_EQ(gf_sessionQueued(h), 3u);
    EXPECT_TRUE(got.messages.empty());
    EXPECT_EQ(SimConnect_CallDispatch(h, Received::collect, &got), S_OK);
    ASSERT_EQ(got.messages.size(), 2u);  // the 8-byte message is no message
    EXPECT_EQ(u32At(got.messages[0], 8), 4u);
    EXPECT_EQ(u32At(got.messages[0], 20), 1u);
    EXPECT_EQ(u32At(got.messages[1], 8), 3u);
    EXPECT_EQ(SimConnect_CallDispatch(h, Received::collect, &got), S_OK);
    EXPECT_EQ(got.messages.size(), 2u);
    SimConnect_Close(h);
}

TEST_F(TransportDispatch, OversizeMessageEndsTheSessionAtTheNextDispatch) {
    writeFile("SimConnect.cfg", "[SimConnect]\nMaxReceiveSize=100\n");  // does not lower the limit
    RecordingServer server;
    InProcessScope scope(server);
    HANDLE h = nullptr;
    ASSERT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
    server.say(sized(41088, 8));
    server.say(sized(41089, 8));
    server.say(message(SIMCONNECT_RECV_ID_QUIT, {}));  // nothing arrives after the end
    Received got;
    EXPECT_EQ(SimConnect_CallDispatch(h, Received::collect, &got), E_FAIL);
    EXPECT_EQ(got.messages.size(), 1u);
    EXPECT_NE(gf_sessionFailure(h).find("protocol error"), std::string::npos);
    EXPECT_TRUE(logHas("SimConnect: connection lost"));
    EXPECT_EQ(SimConnect_ClearDataDefinition(h, 1), E_FAIL);
    EXPECT_EQ(SimConnect_CallDispatch(h, Received::collect, &got), E_FAIL);
    EXPECT_EQ(SimConnect_Close(h), S_OK);
}

TEST_F(TransportDispatch, ConfiguredMaxReceiveSizeRaisesTheLimit) {
    writeFile("SimConnect.cfg", "[SimConnect]\nMaxReceiveSize=60000\n");
    RecordingServer server;
    InProcessScope scope(server);
    HANDLE h = nullptr;
    ASSERT_EQ(SimConnect_Open(&h, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
    server.say(sized(60000, 8));
    Received got;
    EXPECT_EQ(SimConnect_CallDispatch(h, Received::collect, &got), S_OK);
    EXPECT_EQ(got.messages.size(), 1u);
    SimConnect_Close(h);
}

TEST_F(TransportDispatch, RetrieveStringStaysInsideTheMessage) {
    Bytes m = sized(48);
    std::memcpy(m.data() + 40, "C172\0\0\0\0", 8);
    char* s = nullptr;
    DWORD n = 0;
    auto* recv = reinterpret_cast<SIMCONNECT_RECV*>(m.data());
    EXPECT_EQ(SimConnect_RetrieveString(recv, 48, m.data() + 40, &s, &n), S_OK);
    EXPECT_STREQ(s, "C172");
    EXPECT_EQ(n, 5u);
    std::memset(m.data() + 40, 'x', 8);
    EXPECT_EQ(SimConnect_RetrieveString(recv, 48, m.data() + 40, &s, &n), E_FAIL);
}

}  // namespace
