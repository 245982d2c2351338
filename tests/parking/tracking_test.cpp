// The park airport follows the user: on the ground at Zurich, away to Paris and back. What goes and
// comes at each change: standing aircraft, stand links, the learned file, the airport's own limits, the
// stand kept free for the user; and the user's park list as he writes it and as the program updates it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fmt/format.h>

#include "common/geo.h"
#include "engine/state.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "parking/learning.h"
#include "parking/state.h"
#include "parking/tracking.h"
#include "parking_fixture.h"
#include "service/state.h"
#include "support/resets.h"

using ::testing::HasSubstr;

namespace {

constexpr LatLon kA15{47.454283, 8.556983};  // stand A15 of Zurich
constexpr LatLon kLszh{47.4647, 8.54917};
constexpr LatLon kLfpg{49.0128, 2.55};

LatLon lf_east(LatLon p, double nm) { return gf_destinationPoint(p, kPi / 2, nm * kFeetPerNm); }

class TrackingTest : public ParkAirportTest {};

TEST_F(TrackingTest, TheUserFliesFromZurichToParisAndBack) {
    writeFile(folders::myParkAirports, "LFPG\nLSZH\n");
    // Paris keeps a lower limit of live aircraft in its learned file.
    writeFile("airports/learned/stock/LFPG.xml",
              "<?xml version=\"1.0\"?><parameters>"
              "<parameter name=\"airport_name\" value=\"Charles de Gaulle International Airport\"/>"
              "<parameter name=\"publisher\" value=\"stock\"/><parameter name=\"MAX_LIVE\" value=\"50\"/>"
              "</parameters><parkpositions/>");
    userAt(kA15, true);
    ASSERT_TRUE(gf_readParkAirports(false));

    // On the ground at the start: Zurich at once, its stands in memory, the user's stand kept free and
    // written into his list.
    gf_trackParkAirport(true);
    EXPECT_EQ(parking.parkIcao, "LSZH");
    EXPECT_EQ(engine.parkIata, "ZRH");
    EXPECT_TRUE(service.parkAirportSet.load());
    EXPECT_TRUE(panel.atParkAirport.load());
    EXPECT_EQ(parking.reservedStand, "A15");
    ASSERT_NE(stand("A15"), nullptr);
    EXPECT_TRUE(stand("A15")->reserved);
    EXPECT_EQ(readFile(folders::myParkAirports), "LFPG\nLSZH,A15\n");
    EXPECT_TRUE(logHas("The park airport is LSZH/ZRH"));

    // A Swiss aircraft parks at A10 and is learned; another taxis with a stand in view; a third stands.
    const uint32_t a10 = stand("A10")->sid;
    Act parked = swiss(0x4B1801, "HBJXA", "SWR12");
    ASSERT_TRUE(gf_learnAtStand(a10, parked, false, {3, 20}, false));
    Act standing = swiss(0x4B1802, "HBJXB", "SWR14");
    standing.phase = ActPhase::AtStand;
    standing.objectId = 77;
    standing.sid = stand("A11")->sid;
    Act taxiing = swiss(0x4B1803, "HBJXC", "SWR16");
    taxiing.phase = ActPhase::Taxi;
    taxiing.sid = stand("A13")->sid;
    engine.active = {standing, taxiing};

    // Airborne and 30 nm out: Zurich is left and its learning saved.
    userAt(lf_east(kLszh, 30.0), false, 5000.0);
    gf_trackParkAirport(false);
    EXPECT_TRUE(parking.parkIcao.empty());
    EXPECT_TRUE(airports.stands.empty());
    EXPECT_FALSE(service.parkAirportSet.load());
    EXPECT_FALSE(panel.atParkAirport.load());
    EXPECT_EQ(engine.active[0].state, ActState::Removing);
    EXPECT_EQ(engine.active[1].sid, 0u);
    EXPECT_TRUE(logHas("LSZH/ZRH is out of sight (30.0 nm), parked aircraft will be removed"));
    EXPECT_THAT(readFile("airports/learned/stock/LSZH.xml"), HasSubstr("reg=\"HBJXA\""));
    EXPECT_TRUE(logHas("\"airports/learned/stock/LSZH.xml\" saved with 1 update "));

    // 10 nm from Paris at 3000 ft: in sight, parked traffic asked for, the file read at the next step
    // with the airport's own limit.
    userAt(lf_east(kLfpg, 10.0), false, 3000.0);
    gf_trackParkAirport(false);
    EXPECT_EQ(parking.parkIcao, "LFPG");
    EXPECT_TRUE(parking.airportLoadPending);
    EXPECT_TRUE(run.parkingBusy.load());
    EXPECT_TRUE(airports.stands.empty());
    gf_trackParkAirport(false);
    EXPECT_FALSE(parking.airportLoadPending);
    EXPECT_GT(airports.stands.size(), 500u);
    EXPECT_EQ(MAX_LIVE.current.load(), 50);
    EXPECT_TRUE(parking.reservedStand.empty());

    // Back towards Zurich: Paris out of sight, its limit lifted; Zurich in sight, and what was learned
    // there comes back from its learned file, with the user's stand kept free again.
    userAt(lf_east(kLszh, 12.0), false, 4000.0);
    gf_trackParkAirport(false);
    EXPECT_TRUE(parking.parkIcao.empty());
    EXPECT_EQ(MAX_LIVE.current.load(), 300);
    gf_trackParkAirport(false);
    gf_trackParkAirport(false);
    EXPECT_EQ(parking.parkIcao, "LSZH");
    EXPECT_EQ(parking.reservedStand, "A15");
    const Stand* back = stand("A10");
    ASSERT_NE(back, nullptr);
    ASSERT_EQ(back->options.size(), 1u);
    EXPECT_EQ(back->options[0].reg, "HBJXA");
    EXPECT_EQ(back->options[0].hh, uint64_t{1} << 20);
    EXPECT_TRUE(back->options[0].learned);
}

TEST_F(TrackingTest, LimitsOfSightAndNearerListAirports) {
    writeFile(folders::myParkAirports, "LFPG\nLFBO\n");
    userAt(lf_east(kLfpg, 19.999), false, 18000.0);
    ASSERT_TRUE(gf_readParkAirports(true));
    // Exactly at AIRPORT_RANGE and AIRPORT_HEIGHT: in sight.
    gf_trackParkAirport(false);
    EXPECT_EQ(parking.parkIcao, "LFPG");
    gf_trackParkAirport(false);
    ASSERT_TRUE(panel.atParkAirport.load());
    // A foot higher: out of sight.
    userAt(lf_east(kLfpg, 20.0), false, 18001.0);
    gf_trackParkAirport(false);
    EXPECT_TRUE(parking.parkIcao.empty());
    // 20.1 nm: not in sight at any height.
    userAt(lf_east(kLfpg, 20.1), false, 1000.0);
    gf_trackParkAirport(false);
    EXPECT_TRUE(parking.parkIcao.empty());
    // On the ground next to no airport of the table.
    userAt(lf_east(kLfpg, 20.1), true);
    gf_trackParkAirport(false);
    EXPECT_TRUE(logHas("User aircraft on the ground, no airport in sight"));
    EXPECT_NEAR(gf_nearestListedAirportNm(lf_east(kLfpg, 20.1)), 20.1, 0.01);
}

TEST_F(TrackingTest, TheParkListReportsWhatTheUserMustMendAndKeepsTheRest) {
    writeFile(folders::myParkAirports,
              "EGLL,A1,B\n"    // three tokens: wrong syntax, only logged
              "XXXX\n"         // not in the airport table
              "LSZH,NOSUCH\n"  // a stand Zurich's file does not have: joins all the same
              "LFPG,\n"        // the empty field vanishes
              "\n"
              "LFPG,A1\n");  // double: the first wins
    writeFile("airports/my_thirdparty/LFBO.xml", "<parameters/>");
    writeFile("airports/my_thirdparty/QQQQ.xml", "<parameters/>");  // not an airport
    userAt(kA15, true);
    EXPECT_FALSE(gf_readParkAirports(true));
    EXPECT_FALSE(panel.parkListOk.load());
    std::vector<std::string> codes;
    for (const ParkAirportEntry& e : airports.parkAirports) codes.push_back(e.icao + "," + e.stand);
    // Nearest first from Zurich.
    EXPECT_THAT(codes, ::testing::ElementsAre("LSZH,NOSUCH", "LFPG,", "LFBO,"));
    EXPECT_TRUE(logHas("===> my_park_airports.txt:EGLL,A1,B wrong syntax, skipped"));
    EXPECT_TRUE(logHas("airport XXXX is unknown"));
    EXPECT_TRUE(logHas("LSZH stand NOSUCH is unknown"));
    EXPECT_TRUE(logHas("===> my_park_airports.txt:LFPG double, skipped"));
    EXPECT_TRUE(logHas("1 park airport added from \"airports/my_thirdparty\""));

    // At Zurich the unknown stand is not kept free; the user's real stand replaces it in the file,
    // which comes back sorted.
    gf_trackParkAirport(true);
    EXPECT_EQ(parking.reservedStand, "A15");
    EXPECT_EQ(readFile(folders::myParkAirports), "\nEGLL,A1,B\nLFPG,\nLFPG,A1\nLSZH,A15\nXXXX\n");
    EXPECT_TRUE(logHas("my_park_airports.txt:LSZH,A15 updated stand"));

    // The user writes another stand for Zurich and asks for a re-read while he stands elsewhere.
    writeFile(folders::myParkAirports, "LSZH,A17\n");
    panel.userStandText.set("");
    std::string text;
    EXPECT_TRUE(gf_reReadParkAirports(true, text));
    EXPECT_EQ(text, "reserved stand changed from \"A15\" to \"A17\"");
    EXPECT_EQ(parking.reservedStand, "A17");
    EXPECT_FALSE(stand("A15")->reserved);
    EXPECT_TRUE(stand("A17")->reserved);

    // The simulator link's stand check (another thread) writes its own copy of the head into the file.
    gf_setUserParkListHead("LSZH", "B36");
    gf_writeUserParkListHead();
    EXPECT_EQ(readFile(folders::myParkAirports), "LSZH,B36\n");
}

TEST_F(TrackingTest, SoftLearningIsOnlyForAirportsWithAThinHistory) {
    // Toulouse with 19 or 20 stands and a quality of 45: from 20 stands its history is good enough.
    for (const size_t count : {19u, 20u}) {
        SCOPED_TRACE(count);
        std::string stands;
        for (size_t i = 0; i < count; ++i)
            stands += fmt::format(
                "<parkpos id=\"G{}\" latitude=\"{:.6f}\" longitude=\"1.363820\" heading=\"0\" "
                "radius=\"20\"/>",
                i, 43.6291 + 0.001 * static_cast<double>(i));
        writeFile("airports/archive/stock/LFBO.xml",
                  "<?xml version=\"1.0\"?><parameters><parameter name=\"airport_name\" value=\"Toulouse\"/>"
                  "<parameter name=\"publisher\" value=\"stock\"/><parameter name=\"altitude\" value=\"499\"/>"
                  "<parameter name=\"Qf_real\" value=\"45\"/></parameters><parkpositions>" +
                      stands + "</parkpositions>");
        LEARN_SOFT.current = true;
        panel.parkParametersChanged = false;
        userAt({43.6291, 1.36382}, true);
        gf_trackParkAirport(true);
        ASSERT_EQ(parking.parkIcao, "LFBO");
        EXPECT_EQ(parking.learnAllowed, count < 20);
        EXPECT_EQ(LEARN_SOFT.current.load(), count < 20);
        EXPECT_EQ(panel.parkParametersChanged.load(), count == 20);
        gf_resetAllSubsystems();
        ASSERT_TRUE(gf_readAirports());
    }
    // Without its file the user on the ground there is told, and nothing is loaded; a missing park list
    // is no fault.
    std::filesystem::remove("airports/archive/stock/LFBO.xml");
    std::filesystem::remove(folders::myParkAirports);  // the stays above wrote Toulouse's stand into it
    userAt({43.6291, 1.36382}, true);
    gf_trackParkAirport(true);
    EXPECT_TRUE(parking.parkIcao.empty());
    EXPECT_TRUE(logHas("User aircraft on the ground at LFBO, no airport file found"));
    EXPECT_TRUE(gf_readParkAirports(false));
    EXPECT_TRUE(logHas("airports/my_park_airports.txt not found"));
}

}  // namespace
