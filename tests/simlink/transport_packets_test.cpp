// The bytes of every packet the client sends, against layouts computed by hand, and the send serial.
#include <cstring>
#include <string>

#include "simlink/transport/framer.h"
#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "transport_support.h"

namespace {

// Hand-built expectations, independent of the client's writer.
struct Expect {
    Bytes b;
    Expect(uint32_t id, uint32_t serial) {
        word(0);
        word(35);
        word(id);
        word(serial);
    }
    Expect& word(uint32_t v) {
        for (int i = 0; i < 4; ++i) b.push_back(static_cast<uint8_t>(v >> (8 * i)));
        return *this;
    }
    Expect& text(const std::string& s, size_t n) {
        for (size_t i = 0; i < n; ++i) b.push_back(i < s.size() ? static_cast<uint8_t>(s[i]) : 0);
        return *this;
    }
    Expect& dbl(double d) {
        uint64_t u;
        std::memcpy(&u, &d, 8);
        word(static_cast<uint32_t>(u));
        return word(static_cast<uint32_t>(u >> 32));
    }
    Bytes done() {
        uint32_t n = static_cast<uint32_t>(b.size());
        for (int i = 0; i < 4; ++i) b[i] = static_cast<uint8_t>(n >> (8 * i));
        return b;
    }
};

class TransportPackets : public TransportTest {
protected:
    void SetUp() override {
        TransportTest::SetUp();
        scope_ = std::make_unique<InProcessScope>(server_);
        ASSERT_EQ(SimConnect_Open(&h_, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
    }
    void TearDown() override {
        if (h_) SimConnect_Close(h_);
        scope_.reset();
        TransportTest::TearDown();
    }
    const Bytes& last() const { return server_.packets.back(); }
    RecordingServer server_;
    std::unique_ptr<InProcessScope> scope_;
    HANDLE h_ = nullptr;
};

TEST_F(TransportPackets, OpenPacketCarriesNameAndTheP3DConstants) {
    ASSERT_EQ(server_.packets.size(), 1u);
    Bytes want =
        Expect(0xF0000001, 1).text("ZARK_P3D", 256).word(0).word(0x50334400).word(5).word(3).word(0).word(0).done();
    EXPECT_EQ(want.size(), 296u);
    EXPECT_EQ(server_.packets[0], want);
    DWORD id = 0;
    EXPECT_EQ(SimConnect_GetLastSentPacketID(h_, &id), S_OK);
    EXPECT_EQ(id, 1u);
}

TEST_F(TransportPackets, EveryCallMatchesItsLayoutByteForByte) {
    uint32_t s = 1;
    auto check = [&](HRESULT hr, const Bytes& want, size_t size) {
        ASSERT_EQ(hr, S_OK);
        EXPECT_EQ(want.size(), size);
        EXPECT_EQ(last(), want);
    };
    check(SimConnect_MapClientEventToSimEvent(h_, 220, "GEAR_SET"),
          Expect(0xF0000004, ++s).word(220).text("GEAR_SET", 256).done(), 276);
    check(SimConnect_TransmitClientEvent(h_, 7, 218, 3072, 301, 0),
          Expect(0xF0000005, ++s).word(7).word(218).word(3072).word(301).word(0).done(), 36);
    check(SimConnect_AddClientEventToNotificationGroup(h_, 301, 208, 1),
          Expect(0xF0000007, ++s).word(301).word(208).word(1).done(), 28);
    check(SimConnect_SetNotificationGroupPriority(h_, 301, SIMCONNECT_GROUP_PRIORITY_HIGHEST),
          Expect(0xF0000009, ++s).word(301).word(1).done(), 24);
    float eps = 0.5f;
    uint32_t epsBits;
    std::memcpy(&epsBits, &eps, 4);
    check(SimConnect_AddToDataDefinition(h_, 403, "Plane Latitude", "degree", SIMCONNECT_DATATYPE_FLOAT64, 0.5f,
                                         SIMCONNECT_UNUSED),
          Expect(0xF000000C, ++s)
              .word(403)
              .text("Plane Latitude", 256)
              .text("degree", 256)
              .word(4)
              .word(epsBits)
              .word(0xFFFFFFFF)
              .done(),
          544);
    check(SimConnect_ClearDataDefinition(h_, 407), Expect(0xF000000D, ++s).word(407).done(), 20);
    check(SimConnect_RequestDataOnSimObject(h_, 108, 409, 0, SIMCONNECT_PERIOD_SECOND, 0, 1, 2, 3),
          Expect(0xF000000E, ++s).word(108).word(409).word(0).word(4).word(0).word(1).word(2).word(3).done(), 48);
    check(SimConnect_RequestDataOnSimObjectType(h_, 101, 404, 40000, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT),
          Expect(0xF000000F, ++s).word(101).word(404).word(40000).word(2).done(), 32);
    double three[3] = {50.0, 80.0, 80.0};
    check(SimConnect_SetDataOnSimObject(h_, 401, 12, 0, 0, 24, three),
          Expect(0xF0000010, ++s).word(401).word(12).word(0).word(0).word(24).dbl(50).dbl(80).dbl(80).done(), 60);
    check(SimConnect_SubscribeToSystemEvent(h_, 201, "Sim"), Expect(0xF0000017, ++s).word(201).text("Sim", 256).done(),
          276);
    check(SimConnect_UnsubscribeFromSystemEvent(h_, 201), Expect(0xF0000018, ++s).word(201).done(), 20);
    SIMCONNECT_DATA_INITPOSITION pos{47.5, 8.5, 1400, -1.5, 0.5, 270, 1, 0};
    check(SimConnect_AICreateNonATCAircraft(h_, "Airbus A320 Swiss", "SWR123", pos, 104),
          Expect(0xF0000029, ++s)
              .text("Airbus A320 Swiss", 256)
              .text("SWR123", 12)
              .dbl(47.5)
              .dbl(8.5)
              .dbl(1400)
              .dbl(-1.5)
              .dbl(0.5)
              .dbl(270)
              .word(1)
              .word(0)
              .word(104)
              .done(),
          344);
    check(SimConnect_AIReleaseControl(h_, 12, 103), Expect(0xF000002B, ++s).word(12).word(103).done(), 24);
    check(SimConnect_AIRemoveObject(h_, 12, 105), Expect(0xF000002C, ++s).word(12).word(105).done(), 24);
    check(SimConnect_AISetAircraftFlightPlan(h_, 12, "fp\\12.pln", 110),
          Expect(0xF000002D, ++s).word(12).text("fp\\12.pln", 260).word(110).done(), 284);
    DWORD id = 0;
    SimConnect_GetLastSentPacketID(h_, &id);
    EXPECT_EQ(id, s);
}

TEST_F(TransportPackets, SetDataWithAnArraySendsCountTimesUnitSize) {
    double six[6] = {1, 2, 3, 4, 5, 6};
    ASSERT_EQ(SimConnect_SetDataOnSimObject(h_, 401, 12, 0, 2, 24, six), S_OK);
    EXPECT_EQ(last().size(), 36u + 48u);
    EXPECT_EQ(u32At(last(), 0), 84u);
}

TEST_F(TransportPackets, TextThatDoesNotFitGivesTheErrorAndSendsNothing) {
    const size_t before = server_.packets.size();
    DWORD idBefore = 0, idAfter = 0;
    SimConnect_GetLastSentPacketID(h_, &idBefore);
    EXPECT_EQ(SimConnect_MapClientEventToSimEvent(h_, 1, std::string(256, 'E').c_str()), E_NOT_SUFFICIENT_BUFFER);
    EXPECT_EQ(SimConnect_SubscribeToSystemEvent(h_, 1, std::string(300, 'S').c_str()), E_NOT_SUFFICIENT_BUFFER);
    SIMCONNECT_DATA_INITPOSITION pos{};
    EXPECT_EQ(SimConnect_AICreateNonATCAircraft(h_, "title", "TWELVECHARSX", pos, 104), E_NOT_SUFFICIENT_BUFFER);
    EXPECT_EQ(SimConnect_AISetAircraftFlightPlan(h_, 5, std::string(260, 'p').c_str(), 110), E_NOT_SUFFICIENT_BUFFER);
    EXPECT_EQ(SimConnect_AddToDataDefinition(h_, 1, "x", std::string(256, 'u').c_str()), E_NOT_SUFFICIENT_BUFFER);
    EXPECT_EQ(server_.packets.size(), before);
    SimConnect_GetLastSentPacketID(h_, &idAfter);
    EXPECT_EQ(idAfter, idBefore);
    // The longest texts that fit do go out.
    EXPECT_EQ(SimConnect_AICreateNonATCAircraft(h_, std::string(255, 't').c_str(), "ELEVENCHARS", pos, 104), S_OK);
    EXPECT_EQ(server_.packets.size(), before + 1);
}

TEST_F(TransportPackets, SendSerialPassesOverZeroWhenItWraps) {
    ASSERT_TRUE(gf_setLastSentPacketId(h_, 0xFFFFFFFEu));
    SimConnect_ClearDataDefinition(h_, 1);
    EXPECT_EQ(u32At(last(), 12), 0xFFFFFFFFu);
    SimConnect_ClearDataDefinition(h_, 2);
    EXPECT_EQ(u32At(last(), 12), 1u);
    DWORD id = 0;
    SimConnect_GetLastSentPacketID(h_, &id);
    EXPECT_EQ(id, 1u);
    SimConnect_ClearDataDefinition(h_, 3);
    EXPECT_EQ(u32At(last(), 12), 2u);
}

TEST_F(TransportPackets, BadArgumentsAndUnknownHandlesAreRefused) {
    HANDLE other = nullptr;
    EXPECT_EQ(SimConnect_Open(nullptr, "x", nullptr, 0, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(SimConnect_Open(&other, nullptr, nullptr, 0, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(SimConnect_Open(&other, std::string(256, 'n').c_str(), nullptr, 0, nullptr, 0), E_NOT_SUFFICIENT_BUFFER);
    EXPECT_EQ(other, nullptr);
    int notASession = 0;
    EXPECT_EQ(SimConnect_ClearDataDefinition(&notASession, 1), E_INVALIDARG);
    EXPECT_EQ(SimConnect_CallDispatch(&notASession, Received::collect, nullptr), E_INVALIDARG);
    EXPECT_EQ(SimConnect_Close(&notASession), E_INVALIDARG);
    EXPECT_EQ(SimConnect_GetLastSentPacketID(h_, nullptr), E_INVALIDARG);
    // Data up to the receive buffer's 1 MiB may be set, a byte more no longer.
    std::vector<uint8_t> data(kReceiveBufferLimit + 1);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(h_, 402, 2, 0, 0, kReceiveBufferLimit, data.data()), S_OK);
    EXPECT_EQ(SimConnect_SetDataOnSimObject(h_, 402, 2, 0, 0, kReceiveBufferLimit + 1, data.data()), E_INVALIDARG);
}

TEST_F(TransportPackets, CloseEndsTheConnectionAndTheHandle) {
    EXPECT_EQ(SimConnect_Close(h_), S_OK);
    EXPECT_TRUE(server_.closed);
    EXPECT_EQ(SimConnect_ClearDataDefinition(h_, 1), E_INVALIDARG);
    h_ = nullptr;
}

}  // namespace
