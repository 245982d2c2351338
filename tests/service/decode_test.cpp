// The live line decoder and the hand-over of a snapshot: what the engine receives from a service line.
#include <cmath>

#include <gmock/gmock.h>

#include "common/geo.h"
#include "frame/core/errors.h"
#include "frame/core/params.h"
#include "service/client.h"
#include "service/state.h"
#include "service/traffic.h"
#include "simlink/queues.h"
#include "support/fixture.h"

using json = nlohmann::json;

namespace {
constexpr double kZurichLat = 47.458056;
constexpr double kZurichLon = 8.548056;
constexpr double kZurichElevationFt = 1417.0;

class DecodeTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_setQueryPosition(kZurichLat, kZurichLon);
        lf_updateArea();
    }
    // A good airborne line near Zurich; tests spoil one field at a time.
    static json line() {
        json l = json::array();
        for (int i = 0; i < 29; ++i) l.push_back(nullptr);
        l[0] = "4b1614";
        l[1] = 47.5;
        l[2] = 8.6;
        l[3] = 137.5;
        l[4] = 5000;
        l[5] = 200.0;
        l[7] = "X";
        l[8] = "A320";
        l[9] = "HB-IJK";
        l[10] = 1767225600.5;
        l[11] = "LSZH";
        l[12] = "EGLL";
        l[13] = "SWR137H";
        l[15] = -700;
        l[17] = "adsb_icao";
        l[25] = 140.0;
        l[28] = "A3";
        return l;
    }
    // Decodes one line; the record appended, or nullopt when the line was dropped.
    static std::optional<TrafficRecord> decode(json l) {
        trafficReader.batch.clear();
        trafficReader.line = std::move(l);
        trafficReader.processLiveLine();
        if (trafficReader.batch.empty()) return std::nullopt;
        return trafficReader.batch.back();
    }
    static json at(double lat, double lon, double altFt, double gsKt) {
        json l = line();
        l[1] = lat;
        l[2] = lon;
        l[4] = altFt;
        l[5] = gsKt;
        return l;
    }
    // A point `nm` east of the airport.
    static LatLon east(double nm) { return gf_destinationPoint({kZurichLat, kZurichLon}, kPi / 2, nm * 6076.11549); }
};

TEST_F(DecodeTest, AGoodLineBecomesATypedRecord) {
    const auto r = decode(line());
    ASSERT_TRUE(r);
    EXPECT_EQ(r->hexid, 0x4b1614u);
    EXPECT_EQ(r->model, "A320");
    EXPECT_EQ(r->reg, "HB-IJK");
    EXPECT_EQ(r->callsign, "SWR137H");
    EXPECT_EQ(r->from, "LSZH");
    EXPECT_EQ(r->to, "EGLL");
    EXPECT_TRUE(r->airline.empty());
    EXPECT_DOUBLE_EQ(r->altitude, 5000.0);
    EXPECT_TRUE(r->airborne);
    EXPECT_DOUBLE_EQ(r->track, 137.5);
    EXPECT_DOUBLE_EQ(r->verticalSpeed, -700.0);
    EXPECT_DOUBLE_EQ(r->timestamp, 1767225600.5);
    EXPECT_TRUE(r->hasHeading);
    EXPECT_NEAR(*r->trueHeading, 140.0 * kDegToRad, 1e-12);
    EXPECT_FALSE(r->bank.has_value());
}

TEST_F(DecodeTest, TimeStampMovesEvenForDroppedLines) {
    EXPECT_FALSE(decode(json::array({"4b1614", 47.5, 8.6, 100.0})));  // no registration, no callsign
    EXPECT_EQ(trafficReader.lastTrafficTime.load(), 0.0);
    json l = line();
    l[10] = 1767225601.25;
    l[9] = nullptr;
    l[13] = nullptr;
    EXPECT_FALSE(decode(l));
    EXPECT_EQ(trafficReader.lastTrafficTime.load(), 1767225601.25);
    l = line();
    l[10] = 1767225601;  // an integer counts as no time stamp
    ASSERT_TRUE(decode(l));
    EXPECT_EQ(trafficReader.lastTrafficTime.load(), 0.0);
    EXPECT_FALSE(decode(json("not a line")));
}

TEST_F(DecodeTest, RegistrationRules) {
    json l = line();
    l[9] = "ABCDEFGHIJKLM";  // 13 characters: no registration
    auto r = decode(l);
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->reg.empty());
    l[7] = "F";
    EXPECT_FALSE(decode(l));
    l[9] = "null";
    EXPECT_FALSE(decode(l));
    l[9] = "ABCDEFGHIJKL";  // 12 are fine
    r = decode(l);
    ASSERT_TRUE(r);
    EXPECT_EQ(r->reg, "ABCDEFGHIJKL");
}

TEST_F(DecodeTest, UnwantedKindsAreDropped) {
    json l = line();
    l[28] = "B1";
    EXPECT_FALSE(decode(l));
    for (const char* c : {"B2", "B4", "C1", "C2"}) {
        l[28] = c;
        EXPECT_FALSE(decode(l)) << c;
    }
    l[8] = "GLID";
    l[28] = "";
    EXPECT_TRUE(decode(l));  // the type list is consulted only with a category
    l[28] = "A1";
    EXPECT_FALSE(decode(l));
    l[8] = "ZZZZ";
    auto r = decode(l);
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->model.empty());
    l[8] = "0";
    r = decode(l);
    ASSERT_TRUE(r);
    EXPECT_TRUE(r->model.empty());
}

TEST_F(DecodeTest, CorruptPositionsRaise744AndTheRangeFilters) {
    gf_setQueryPosition(0.0, 0.0);  // the box needs a position: make the user sit at the null point
    trafficReader.userLatitude = 0.0;
    trafficReader.userLongitude = 0.0;
    json l = line();
    l[1] = 0.0005;
    l[2] = 0.02;
    try {
        decode(l);
        FAIL() << "no exception";
    } catch (const zel::SysErrorException& e) {
        EXPECT_EQ(e.code(), 744);
        EXPECT_THAT(e.what(), testing::HasSubstr("lalo:0.000500 0.020000"));
    }
    l[1] = -0.0005;
    EXPECT_NO_THROW(decode(l));
    for (auto [lat, lon] : {std::pair{90.0, 180.0}, std::pair{-90.0, -180.0}}) {  // the edges are positions
        l[1] = lat;
        l[2] = lon;
        EXPECT_NO_THROW(decode(l)) << lat;
    }
    l[1] = 91.0;
    EXPECT_THROW(decode(l), zel::SysErrorException);
    l[1] = 47.0;
    l[2] = "8.6";  // a string is no position: 0, in the null box
    l[1] = "47.0";
    EXPECT_THROW(decode(l), zel::SysErrorException);

    trafficReader.userLatitude = kZurichLat;
    trafficReader.userLongitude = kZurichLon;
    const LatLon near = east(39.0), far = east(41.0);
    EXPECT_TRUE(decode(at(near.lat, near.lon, 5000, 200)));
    EXPECT_FALSE(decode(at(far.lat, far.lon, 5000, 200)));
}

TEST_F(DecodeTest, TrueHeadingOnlyFromAdsbIcao) {
    json l = line();
    l[25] = 361.0;
    try {
        decode(l);
        FAIL() << "no exception";
    } catch (const zel::SysErrorException& e) {
        EXPECT_EQ(e.code(), 746);
        EXPECT_THAT(e.what(), testing::HasSubstr("true heading:361.00"));
    }
    l[25] = 360.0;
    EXPECT_NEAR(*decode(l)->trueHeading, kTwoPi, 1e-12);
    l[25] = 0;
    EXPECT_EQ(*decode(l)->trueHeading, kTwoPi);  // 0 stays distinct from absent
    l[25] = nullptr;
    EXPECT_EQ(*decode(l)->trueHeading, kTwoPi);
    l[25] = -5.0;
    EXPECT_FALSE(decode(l)->hasHeading);
    l[25] = 90.0;
    l[17] = "mlat";
    auto r = decode(l);
    EXPECT_FALSE(r->hasHeading);
    EXPECT_FALSE(r->trueHeading.has_value());
    l[17] = "adsb_icao";
    l[3] = 0;  // a zero track takes the heading
    EXPECT_DOUBLE_EQ(decode(l)->track, 90.0);
}

TEST_F(DecodeTest, HexidAboveTheParkedSerials) {
    json l = line();
    l[0] = "2710";
    EXPECT_FALSE(decode(l));
    l[0] = "2711";
    EXPECT_EQ(decode(l)->hexid, 10001u);
    l[0] = "4b1614~";  // digits up to the first other character count
    EXPECT_EQ(decode(l)->hexid, 0x4b1614u);
    for (json bad : {json(""), json("xyz"), json(0x4b1614), json(nullptr)}) {
        l[0] = bad;
        EXPECT_FALSE(decode(l)) << bad;
    }
}

TEST_F(DecodeTest, CallsignRules) {
    json l = line();
    l[13] = "TOW 12";
    EXPECT_FALSE(decode(l));
    l[13] = "TOWER1";
    EXPECT_EQ(decode(l)->callsign, "TOWER1");
    l[13] = "ERARMTR0";
    EXPECT_FALSE(decode(l));
    l[13] = "SW@R1";
    EXPECT_EQ(decode(l)->callsign, "");  // goes on with its registration
    l[13] = "null";
    l[9] = nullptr;
    EXPECT_FALSE(decode(l));  // neither registration nor callsign
}

TEST_F(DecodeTest, BlockedCallsignIsRemovedOnceAndReleasedWhenTheUserTypesAnother) {
    BLOCK_CALLSIGN.current = "SWR137H";
    EXPECT_FALSE(decode(line()));
    EXPECT_FALSE(decode(line()));
    // The engine hears of it through the simulator event queue, as a removal of kind 5.
    const std::vector<SimEvent> events = gf_takeSimEvents();
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kind, kSimBlocked);
    EXPECT_EQ(events[0].hexid, 0x4b1614u);
    EXPECT_EQ(events[0].objectId, 0u);
    EXPECT_TRUE(logHas("Reader: Live aircraft SWR137H blocked"));
    BLOCK_CALLSIGN.current = "EDW229";
    json other = line();
    other[13] = "EDW229";
    EXPECT_FALSE(decode(other));
    EXPECT_TRUE(logHas("Reader: Live aircraft SWR137H no longer blocked"));
    EXPECT_TRUE(decode(line()));  // SWR137H flows again
    EXPECT_FALSE(decode(other));  // and the new one is blocked at its next line
    EXPECT_TRUE(logHas("Reader: Live aircraft EDW229 blocked"));
    BLOCK_CALLSIGN.current.clear();
}

// Parking asks which aircraft the service still sends: only then every decoded one is noted, by hexid and,
// when it has one, by callsign; taking the notes ends the collection.
TEST_F(DecodeTest, SeenAircraftAreNotedOnlyWhileParkingAsks) {
    std::unordered_set<std::string> callsigns;
    std::unordered_set<uint32_t> hexids;
    ASSERT_TRUE(decode(line()));
    gf_takeSeenAircraft(callsigns, hexids);
    EXPECT_TRUE(hexids.empty());
    trafficReader.collectSeen = true;
    json noCallsign = line();
    noCallsign[0] = "4b1615";
    noCallsign[13] = nullptr;
    ASSERT_TRUE(decode(line()) && decode(noCallsign));
    gf_takeSeenAircraft(callsigns, hexids);
    EXPECT_EQ(hexids, (std::unordered_set<uint32_t>{0x4b1614, 0x4b1615}));
    EXPECT_EQ(callsigns, (std::unordered_set<std::string>{"SWR137H"}));
    ASSERT_TRUE(decode(line()));
    gf_takeSeenAircraft(callsigns, hexids);
    EXPECT_TRUE(hexids.empty() && callsigns.empty()) << "taken once, and the collection ended";
}

TEST_F(DecodeTest, GroundDetectionTable) {
    gf_setParkAirport(kZurichLat, kZurichLon, kZurichElevationFt);
    const double lat = kZurichLat, lon = kZurichLon;
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt + 100, 40))->altitude, 0.0);
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt + 100, 50))->altitude, kZurichElevationFt + 100);
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt + 121, 40))->altitude, kZurichElevationFt + 121);
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt + 45, 120))->altitude, 0.0);
    EXPECT_GT(decode(at(lat, lon, kZurichElevationFt + 46, 120))->altitude, 0.0);
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt + 90, 80))->altitude, 0.0);
    EXPECT_GT(decode(at(lat, lon, kZurichElevationFt + 90, 81))->altitude, 0.0);
    EXPECT_EQ(decode(at(lat, lon, kZurichElevationFt - 10, 150))->altitude, 0.0);
    EXPECT_EQ(decode(at(lat, lon, 36000, 35))->altitude, 0.0);  // at 35 knots every altitude is the ground
    EXPECT_FALSE(decode(at(lat, lon, 36000, 35))->airborne);

    gf_clearParkAirport();  // without an elevation only the test on 35 knots is left; ground lines drop
    EXPECT_GT(decode(at(lat, lon, 100, 40))->altitude, 0.0);
    EXPECT_FALSE(decode(at(lat, lon, 100, 30)));
}

TEST_F(DecodeTest, AltitudeFallsBackToGeometricAndIsCorrectedToQnh) {
    json l = line();
    l[4] = nullptr;
    l[18] = 6000;
    EXPECT_EQ(decode(l)->altitude, 6000.0);
    l[18] = nullptr;
    gf_setParkAirport(kZurichLat, kZurichLon, kZurichElevationFt);
    EXPECT_EQ(decode(l)->altitude, 0.0);
    service.qnh = 1000;
    EXPECT_EQ(decode(at(47.46, 8.55, 300, 150))->altitude, 0.0);
    EXPECT_EQ(decode(at(47.46, 8.55, 5000, 200))->altitude, 5000.0 - 13 * 30);
    service.qnh = 1020;
    EXPECT_EQ(decode(at(47.46, 8.55, 5000, 200))->altitude, 5000.0 + 7 * 30);
    service.qnh = 1013;
    EXPECT_EQ(decode(at(47.46, 8.55, 14000, 200))->altitude, 14000.0);
    EXPECT_EQ(decode(at(47.46, 8.55, 14000, 30))->altitude, 0.0);
}

TEST_F(DecodeTest, GroundLinesOnlyNearTheParkAirport) {
    gf_setParkAirport(kZurichLat, kZurichLon, kZurichElevationFt);
    const LatLon in = east(4.9), out = east(5.1);
    EXPECT_TRUE(decode(at(in.lat, in.lon, 0, 10)));
    EXPECT_FALSE(decode(at(out.lat, out.lon, 0, 10)));
    EXPECT_TRUE(decode(at(out.lat, out.lon, 9000, 250)));  // airborne lines pass anywhere in range
}

TEST_F(DecodeTest, BankOnlyWhenAirborneAndAirspeedDefaults) {
    json l = line();
    l[23] = 10.0;
    EXPECT_NEAR(*decode(l)->bank, -10.0 * kDegToRad, 1e-12);
    l[23] = -1;
    EXPECT_FALSE(decode(l)->bank);
    l[23] = 0;
    EXPECT_FALSE(decode(l)->bank);
    l[23] = 10.0;
    gf_setParkAirport(kZurichLat, kZurichLon, kZurichElevationFt);
    EXPECT_FALSE(decode(at(47.46, 8.55, 0, 10))->bank);

    const std::pair<double, double> defaults[] = {{2000, 180},  {2001, 220},  {5000, 220},  {5001, 250},
                                                  {10000, 250}, {20000, 350}, {20001, 430}, {0, 180}};
    for (auto [alt, kt] : defaults) EXPECT_EQ(decode(at(47.46, 8.55, alt, 200))->airspeed, kt) << alt;
    l = line();
    l[20] = 265;
    EXPECT_EQ(decode(l)->airspeed, 265.0);
    l[20] = "265";
    EXPECT_EQ(decode(l)->airspeed, 180.0 + 40.0);  // a text is no airspeed: the default for 5000 ft
}

// --- hand-over ---

class HandOverTest : public DecodeTest {
protected:
    static void batchOf(std::initializer_list<double> stamps) {
        trafficReader.batch.clear();
        uint32_t hex = 0x400000;
        for (double t : stamps) {
            TrafficRecord r;
            r.hexid = hex++;
            r.timestamp = t;
            trafficReader.batch.push_back(r);
        }
    }
    static std::vector<int32_t> liveDueTicks() {
        std::lock_guard lock(service.trafficLock);
        std::vector<int32_t> out;
        for (const TrafficRecord& r : service.liveQueue) out.push_back(r.dueTick);
        return out;
    }
};

TEST_F(HandOverTest, DueTicksCountFromTheMedianInTenths) {
    service.sliceNow = [] { return 5000; };
    batchOf({100.0, 103.27, 99.87, 101.0});  // sorted 99.87 100 101 103.27: the median is 101
    lf_handOverSnapshot(trafficReader, 30);
    EXPECT_THAT(liveDueTicks(),
                testing::ElementsAre(3000 + 5000 - 100, 3000 + 5000 + 220, 3000 + 5000 - 100 - 10, 3000 + 5000));
    EXPECT_TRUE(trafficReader.batch.empty());
    batchOf({42.0});
    lf_handOverSnapshot(trafficReader, 6);
    EXPECT_EQ(liveDueTicks().back(), 600 + 5000);
    trafficReader.lastTrafficTime = 12.0;
    batchOf({});
    lf_handOverSnapshot(trafficReader, 30);
    EXPECT_EQ(trafficReader.lastTrafficTime.load(), 0.0) << "an empty snapshot says: no traffic now";
}

TEST_F(HandOverTest, InitialLoadOnlyWhileTakenAndEmpty) {
    gf_setAcceptTraffic(false);  // the flight does not run
    batchOf({1.0, 2.0});
    lf_handOverSnapshot(trafficReader, 0);
    {
        std::lock_guard lock(service.trafficLock);
        EXPECT_TRUE(service.initialLoad.empty());
        EXPECT_TRUE(service.liveQueue.empty());
    }
    gf_holdTrafficUntilLoop();  // a run starts: the history arrives before its loop
    batchOf({1.0, 2.0, 3.0});
    lf_handOverSnapshot(trafficReader, 0);
    batchOf({4.0});
    lf_handOverSnapshot(trafficReader, 0);  // the list still holds the first load: thrown away
    std::lock_guard lock(service.trafficLock);
    ASSERT_EQ(service.initialLoad.size(), 3u);
    EXPECT_EQ(service.initialLoad[1].dueTick, 0);
    EXPECT_EQ(service.initialLoad[0].dueTick, -100);
}

// While the simulator sits in a menu nothing piles up, and what waited goes at the refusal: no backlog
// with due slices in the past arrives on resume. A full queue refuses the rest of a snapshot.
TEST_F(HandOverTest, LiveQueueIsEmptiedOnRefusalAndBounded) {
    gf_setAcceptTraffic(true);
    batchOf({1.0, 2.0});
    lf_handOverSnapshot(trafficReader, 30);
    EXPECT_EQ(liveDueTicks().size(), 2u);
    gf_setAcceptTraffic(false);
    EXPECT_TRUE(liveDueTicks().empty());
    for (int i = 0; i < 100; ++i) {
        batchOf({1.0, 2.0, 3.0});
        lf_handOverSnapshot(trafficReader, 30);
    }
    EXPECT_TRUE(liveDueTicks().empty());
    gf_setAcceptTraffic(true);
    trafficReader.batch.assign(kLiveQueueLimit + 5, TrafficRecord{});
    lf_handOverSnapshot(trafficReader, 30);
    EXPECT_EQ(liveDueTicks().size(), kLiveQueueLimit);
    EXPECT_TRUE(logHas("===> 5 traffic records dropped: the engine takes none"));
}
}  // namespace
