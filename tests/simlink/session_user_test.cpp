// The user aircraft: its names and span, where it is, the tick it drives, and the stand it stands on.
#include <gtest/gtest.h>

#include "common/geo.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "session_support.h"

namespace {

using Exits = std::vector<std::pair<int, int>>;

class UserTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        gf_fillSmallDbase();
        open();
    }
    void title(const std::string& t) {
        sim_.sendData(kReqUserTitle, 100, kDefUserTitle, ScriptedSim::text(t, t.size() + 1));
        ASSERT_TRUE(step());
    }
    bool model(const std::string& m) {
        sim_.sendData(kReqUserModel, 100, kDefUserModel, ScriptedSim::text(m, 32));
        return step();
    }
};

TEST_F(UserTest, TheTitleIsKeptToItsFirst48Characters) {
    const std::string longTitle = "Aerosoft A320 Lufthansa D-AIZA Sharklets CFM 2021 Repaint Pack v2";
    title(longTitle);
    EXPECT_EQ(user.userTitle, longTitle.substr(0, 48));
    EXPECT_EQ(panel.userTitleText.get(), longTitle.substr(0, 48));
    EXPECT_TRUE(logHas("SimConnect: User aircraft title: " + longTitle.substr(0, 48)));
    EXPECT_FALSE(logHas("SimConnect: User aircraft title: " + longTitle.substr(0, 49)));
    const size_t logSize = logText().size();
    title(longTitle.substr(0, 48) + " changed after the 48th");
    EXPECT_EQ(logText().size(), logSize) << "a change after the 48th character is not noticed";
    title("");
    EXPECT_TRUE(logHas("! title of your ac is empty?"));
    EXPECT_EQ(user.userTitle, longTitle.substr(0, 48));
}

TEST_F(UserTest, AModelReferenceGivesTheLongestKnownCodeInFrontOfItsMark) {
    ASSERT_TRUE(model("ATCCOM.AC_MODEL_B738.0.text"));
    EXPECT_EQ(user.userModel, "B738");
    EXPECT_TRUE(logHas("SimConnect: User aircraft model: B738, half wing span: 17.9 meter, category: Large"));
    EXPECT_TRUE(panel.userSpanKnown);
    ASSERT_TRUE(model("ATCCOM.AC_MODEL_XE35.0.text"));
    EXPECT_EQ(user.userModel, "E35");
    ASSERT_TRUE(model("ATCCOM.AC_MODEL_WQDH.0.text"));
    EXPECT_EQ(user.userModel, "DH");
    ASSERT_NEAR(*user.userHalfSpan, 25.9 * 0.5 / 1852.0, 1e-12);
}

TEST_F(UserTest, ACameraFliesNoAircraft) {
    ASSERT_TRUE(model("camerapod"));
    EXPECT_TRUE(panel.userSpanKnown);
    EXPECT_EQ(*user.userHalfSpan, gf_halfWingspan("E190"));
    EXPECT_EQ(user.userCategory, ModelCategory::Light);
    EXPECT_TRUE(logHas("SimConnect: User aircraft model: camerapod"));
    EXPECT_FALSE(logHas("category"));
}

TEST_F(UserTest, AnUnknownModelIsDeducedFromAnAerosoftTitle) {
    title("Aerosoft A320 Lufthansa D-AIZA");
    ASSERT_TRUE(model("AB_A320_SL_CFM"));
    EXPECT_EQ(user.userModel, "A320");
    EXPECT_TRUE(logHas("SimConnect: User aircraft model deduced from title: A320, half wing span: 17.9 meter"));
    EXPECT_TRUE(panel.userSpanKnown);
    EXPECT_EQ(user.userCategory, ModelCategory::Large);
    title("Aerosoft A321");  // the shortest title that tells its type
    ASSERT_TRUE(model("AB_A321_IAE"));
    EXPECT_EQ(user.userModel, "A321");
}

TEST_F(UserTest, AnUnknownModelTakesTheLargestSpanAndSaysSo) {
    title("Some Freeware Trainer");
    ASSERT_TRUE(model("TRAINER_X"));
    EXPECT_FALSE(panel.userSpanKnown);
    EXPECT_EQ(*user.userHalfSpan, dbase.largestHalfWingspan);
    EXPECT_EQ(messageLine(), "User aircraft wing span unknown, max is taken instead, please report in my Forum!");
    EXPECT_TRUE(logHas("SimConnect: User aircraft model: TRAINER_X, category: Light"));
}

TEST_F(UserTest, AnEmptyModelEndsSimClientWithError71) {
    EXPECT_FALSE(model(""));
    EXPECT_NE(errorLine().find("71"), std::string::npos) << errorLine();
    EXPECT_NE(errorLine().find("atc_model= in [General] section of your aircraft.cfg is empty or missing"),
              std::string::npos);
}

TEST_F(UserTest, AReferenceMarkTooNearTheStartEndsSimClientWithError73) {
    EXPECT_FALSE(model("AB.0.text"));
    EXPECT_NE(errorLine().find("73"), std::string::npos) << errorLine();
    EXPECT_NE(errorLine().find("It looks like you have not selected an aircraft as user vehicle"), std::string::npos);
}

TEST_F(UserTest, AJumpOfMoreThan10NmIsATeleportButTheFirstSnapshotNeverIs) {
    const LatLon start{50.0333, 8.5706};
    userAt(start.lat, start.lon);
    EXPECT_TRUE(exitRequests_.empty()) << "the first snapshot has nothing to jump from";
    const LatLon nine = gf_destinationPoint(start, 1.0, 9.0 * 6076.11548556);
    userAt(nine.lat, nine.lon);
    EXPECT_TRUE(exitRequests_.empty());
    const LatLon eleven = gf_destinationPoint(nine, 1.0, 11.0 * 6076.11548556);
    userAt(eleven.lat, eleven.lon);
    EXPECT_TRUE(logHas("Teleport"));
    EXPECT_EQ(exitRequests_, (Exits{{2, 30}}));
    EXPECT_DOUBLE_EQ(user.lastUserLatitude, eleven.lat) << "the new position stands in any case";
}

TEST_F(UserTest, TheSnapshotIsCopiedWholeWithItsTimeAndTheUserObject) {
    sim_.sendData(kReqUserSnapshot, 77, kDefUserData, ScriptedSim::snapshot(50.0, 8.5, -12.0, 3.0, 3600, 60, 2024));
    ASSERT_TRUE(step());
    EXPECT_EQ(simlink.userObjectId, 77u);
    EXPECT_EQ(user.simEpoch, 1709168400) << "2024-02-29 01:00:00 UTC";
    UserSnapshot copy;
    gf_requestUserSnapshot(copy);
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Request 109 403 0 1"}));
    EXPECT_EQ(copy.altitude, 0.0) << "a negative altitude reads 0";
    EXPECT_EQ(copy.latitude, 50.0);
    EXPECT_EQ(copy.longitude, 8.5);
    EXPECT_EQ(copy.groundVelocity, 3.0);
    EXPECT_EQ(copy.zuluYear, 2024);
    EXPECT_EQ(user.userSnapshot.zuluTime, 3600);
    EXPECT_EQ(gf_simEpochSeconds(2026, 1, 0), 1767225600);
    auto cut = ScriptedSim::snapshot(51.0, 9.0);
    cut.resize(cut.size() - 8);  // one field short: not read
    sim_.sendData(kReqUserSnapshot, 77, kDefUserData, cut);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas(fmt::format("User aircraft data of {} bytes, {} expected", cut.size(), cut.size() + 8)));
    EXPECT_EQ(user.userSnapshot.latitude, 50.0);
}

TEST_F(UserTest, TheOncePerSecondDataIsTheTickAndTrustedOnlyWithAPosition) {
    onGround(true);
    EXPECT_TRUE(run.tickPending);
    EXPECT_FALSE(user.userOnGroundKnown) << "no position yet";
    run.tickPending = false;
    userAt(50.03, 8.57);
    onGround(true);
    EXPECT_TRUE(run.tickPending);
    EXPECT_TRUE(user.userOnGroundKnown);
    EXPECT_TRUE(user.userOnGround);
    onGround(false);
    EXPECT_FALSE(user.userOnGround);
}

TEST_F(UserTest, TheUserStandIsFoundAndStoredInTheParkList) {
    const LatLon stand{50.0500, 8.5800};
    user.parkStands = {{"V155", stand}, {"V157", gf_destinationPoint(stand, 1.57, 260.0)}};
    user.loadedParkAirport = "EDDF";
    user.parkListHeadIcao = "EDDF";
    int writes = 0;
    static int* writesSeen = nullptr;
    writesSeen = &writes;
    user.writeParkListHead = [] { ++*writesSeen; };

    userAt(stand.lat, stand.lon);
    EXPECT_EQ(user.userStand, "") << "not known to be on the ground yet";
    onGround(true);
    const LatLon near = gf_destinationPoint(stand, 0.5, 150.0);  // 46 m from the stand's centre
    userAt(near.lat, near.lon);
    EXPECT_EQ(user.userStand, "V155");
    EXPECT_EQ(panel.userStandText.get(), "V155");

    sim_.sendEvent(kEvFlightLoaded, 0);
    ASSERT_TRUE(step());
    EXPECT_EQ(user.parkListHeadStand, "V155");
    EXPECT_EQ(writes, 1);
    gf_checkUserStand();
    EXPECT_EQ(writes, 1) << "an unchanged stand is not written again";

    const LatLon away = gf_destinationPoint(stand, 3.14, 200.0);  // 61 m: on no stand
    userAt(away.lat, away.lon);
    EXPECT_EQ(user.userStand, "");
    EXPECT_EQ(panel.userStandText.get(), "");
}

TEST_F(UserTest, AMovingUserOrAnotherAirportLeavesTheParkListAlone) {
    const LatLon stand{50.0500, 8.5800};
    user.parkStands = {{"V155", stand}};
    user.loadedParkAirport = "EDDF";
    user.parkListHeadIcao = "EDDM";
    userAt(stand.lat, stand.lon);
    onGround(true);
    gf_checkUserStand();
    EXPECT_EQ(user.parkListHeadStand, "");
    user.parkListHeadIcao = "EDDF";
    userAt(stand.lat, stand.lon, 100, /*groundSpeed=*/5.0);
    gf_checkUserStand();
    EXPECT_EQ(user.parkListHeadStand, "");
}

}  // namespace
