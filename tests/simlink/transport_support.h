// tests/simlink/transport_support.h — helpers of the transport and double tests: a server that only
// records the client's packets, a collector of dispatched messages, and little-endian field access.
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "simlink/transport/inprocess.h"
#include "simlink/transport/packets.h"
#include "simlink/transport/session.h"
#include "simlink/transport/simconnect.h"
#include "support/fixture.h"

using Bytes = std::vector<uint8_t>;

// Records every packet and can say anything to the client.
struct RecordingServer final : InProcessServer {
    struct Conn final : InProcessConnection {
        RecordingServer& s;
        explicit Conn(RecordingServer& server) : s(server) {}
        void fromClient(const uint8_t* d, size_t n) override { s.packets.emplace_back(d, d + n); }
        void clientClosed() override {
            s.client = nullptr;
            s.closed = true;
        }
    };
    std::unique_ptr<InProcessConnection> connect(InProcessClient& c) override {
        client = &c;
        return std::make_unique<Conn>(*this);
    }
    void say(const Bytes& b) { client->toClient(b.data(), b.size()); }
    std::vector<Bytes> packets;
    InProcessClient* client = nullptr;
    bool closed = false;
};

struct Received {
    std::vector<Bytes> messages;
    static void CALLBACK collect(SIMCONNECT_RECV* p, DWORD n, void* ctx) {
        auto* b = reinterpret_cast<uint8_t*>(p);
        static_cast<Received*>(ctx)->messages.emplace_back(b, b + n);
    }
    std::vector<Bytes> ofId(uint32_t id) const {
        std::vector<Bytes> out;
        for (const Bytes& m : messages)
            if (scwire::gf_getU32(m.data() + 8) == id) out.push_back(m);
        return out;
    }
};

inline uint32_t u32At(const Bytes& b, size_t offset) { return scwire::gf_getU32(b.data() + offset); }

// A message from the simulator: size, version 5, id, then the words given.
inline Bytes message(uint32_t id, std::vector<uint32_t> words, size_t extraZeros = 0) {
    Bytes b;
    scwire::PacketWriter w(b);
    w.u32(0);
    w.u32(5);
    w.u32(id);
    for (uint32_t v : words) w.u32(v);
    w.zeros(extraZeros);
    w.finish();
    return b;
}

// Keeps an in-process server installed for one scope.
struct InProcessScope {
    explicit InProcessScope(InProcessServer& s) { gf_setInProcessServer(&s); }
    ~InProcessScope() { gf_setInProcessServer(nullptr); }
};

// The base of the transport tests: a fresh transport, and SimConnect.cfg looked for in the install folder only.
class TransportTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_resetSimConnectTransport();
        gf_setSimConnectCfgFolders({root_});
    }
    void TearDown() override {
        gf_resetSimConnectTransport();
        ZarkTest::TearDown();
    }
};

// Dispatches until the predicate holds; a loopback or pipe needs a moment, never more than 5 s.
template <typename P>
HRESULT dispatchUntil(HANDLE h, Received& got, P done) {
    HRESULT hr = S_OK;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!done() && std::chrono::steady_clock::now() < deadline) {
        hr = SimConnect_CallDispatch(h, Received::collect, &got);
        if (FAILED(hr)) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return hr;
}

// Against the simulator double: the answer to the open names Prepar3D v5, and a request for the user
// aircraft's model comes back with the scenario's "C130".
inline void openAndAskTheDouble(HANDLE h, Received& got) {
    ASSERT_EQ(dispatchUntil(h, got, [&] { return !got.ofId(SIMCONNECT_RECV_ID_OPEN).empty(); }), S_OK);
    Bytes open = got.ofId(SIMCONNECT_RECV_ID_OPEN).at(0);
    EXPECT_EQ(open.size(), 308u);
    EXPECT_STREQ(reinterpret_cast<const SIMCONNECT_RECV_OPEN*>(open.data())->szApplicationName,
                 "Lockheed Martin\xC2\xAE Prepar3D\xC2\xAE v5");
    SimConnect_AddToDataDefinition(h, 408, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32);
    SimConnect_RequestDataOnSimObject(h, 107, 408, SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE);
    ASSERT_EQ(dispatchUntil(h, got, [&] { return !got.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA).empty(); }), S_OK);
    Bytes data = got.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA).at(0);
    EXPECT_EQ(data.size(), 40u + 32u);
    EXPECT_STREQ(reinterpret_cast<const char*>(data.data() + 40), "C130");
}
