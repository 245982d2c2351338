// The session as the simulator sees it: what it sets up, in which order, and which simulators it accepts.
#include <gtest/gtest.h>

#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "session_support.h"
#include "simlink/handlers.h"

namespace {

TEST_F(SessionTest, OpenSetsUpTheWholeVocabularyInItsOrder) {
    ASSERT_TRUE(gf_openSimConnect());
    EXPECT_EQ(sim_.takeLines(), gf_expectedSetupLines());
}

TEST_F(SessionTest, CloseClearsEveryDefinitionAndSubscriptionAndEndsTheRun) {
    open();
    panel.simConnected = true;
    lf_closeSimConnect();
    const std::vector<std::string> expected = {
        "Clear 407",       "Clear 408",       "Clear 409",       "Clear 402",       "Clear 403",
        "Clear 401",       "Clear 404",       "Clear 405",       "Clear 406",       "Unsubscribe 201",
        "Unsubscribe 202", "Unsubscribe 203", "Unsubscribe 204", "Unsubscribe 205", "Unsubscribe 206"};
    EXPECT_EQ(sim_.takeLines(), expected);
    EXPECT_FALSE(sim_.connected());
    EXPECT_FALSE(panel.simConnected);
    EXPECT_TRUE(logHas("Flight Simulator no longer connected, ZARK_P3D will stop ..."));
    EXPECT_EQ(exitRequests_, (std::vector<std::pair<int, int>>{{1, 0}}));
}

TEST_F(SessionTest, CloseDuringAnExitRequestsNothingMore) {
    open();
    run.exitInProgress = true;
    lf_closeSimConnect();
    EXPECT_FALSE(sim_.connected());
    EXPECT_TRUE(exitRequests_.empty());
    EXPECT_FALSE(logHas("no longer connected"));
}

// A new run starts from nothing: the old session is closed and nothing queued or learned is kept.
TEST_F(SessionTest, TheResetClosesTheSessionAndForgetsTheRun) {
    open();
    userAt(50.03, 8.57, 100);
    for (int i = 0; i < 2; ++i) {  // one list being filled, one swapped out for the next frame
        PositionUpdate p;
        p.objectId = 130;
        gf_pushPosition(p);
        lf_swapOutboundPositions();
    }
    CreateRequest create;
    create.tail = "DLH1";
    gf_queueCreate(create);
    user.writeParkListHead = [] {};
    ASSERT_FALSE(simQueues.outboundPositions[0].empty() && simQueues.outboundPositions[1].empty());
    gf_resetSimlink();
    EXPECT_FALSE(sim_.connected());
    EXPECT_EQ(simlink.hSimConnect, nullptr);
    EXPECT_TRUE(simQueues.outboundPositions[0].empty() && simQueues.outboundPositions[1].empty());
    EXPECT_TRUE(simQueues.createQueue.empty());
    EXPECT_EQ(user.lastUserLatitude, 0.0);
    EXPECT_FALSE(user.writeParkListHead);
}

struct OpenCase {
    const char* name;
    const char* installPath;
    int32_t expectedVersion;
    bool passes;
};

class SimulatorVersionTest : public SessionTest, public ::testing::WithParamInterface<OpenCase> {};

TEST_P(SimulatorVersionTest, OnlyAPrepar3DOfTheRightVersionPasses) {
    const OpenCase& c = GetParam();
    SIM_INSTALL_PATH.current = c.installPath;
    simlink.expectedVersion = c.expectedVersion;
    open();
    sim_.sendOpen(c.name);
    EXPECT_EQ(step(), c.passes);
    EXPECT_TRUE(panel.simConnected);
    if (c.passes) {
        EXPECT_TRUE(errorLine().empty());
        EXPECT_TRUE(logHas(panel.simText.get() + " connected "));
    } else {
        EXPECT_NE(errorLine().find("78"), std::string::npos) << errorLine();
        EXPECT_NE(errorLine().find("wrong P3D version \"" + panel.simText.get() + "\" connects ... ?"),
                  std::string::npos)
            << errorLine();
        EXPECT_TRUE(gf_controlState(SIM_INSTALL_PATH.controlId).enabled);
        EXPECT_TRUE(sim_.connected()) << "a user error leaves the session to the exit";
    }
}

INSTANTIATE_TEST_SUITE_P(Versions, SimulatorVersionTest,
                         ::testing::Values(OpenCase{"Lockheed Martin\xC2\xAE Prepar3D\xC2\xAE v5", "D:\\Prepar3D v5", 0,
                                                    true},
                                           OpenCase{"Lockheed Martin Prepar3D v5", "D:\\Prepar3D v4", 5, true},
                                           OpenCase{"Lockheed Martin Prepar3D v6", "D:\\P3DV6", 0, true},
                                           OpenCase{"Lockheed Martin Prepar3D v5", "D:\\Prepar3D v4", 4, false},
                                           OpenCase{"Lockheed Martin Prepar3D v4", "D:\\Prepar3D v4", 4, false},
                                           OpenCase{"Lockheed Martin Prepar3D v4", "D:\\Prepar3D v5", 5, false},
                                           OpenCase{"Lockheed Martin Prepar3D v6", "D:\\Prepar3D v5", 5, false}));

TEST_F(SessionTest, QuotesAndBracketsAreRemovedBeforeTheComparison) {
    SIM_INSTALL_PATH.current = "E:\\Lockheed Martin\\Prepar3D v5";
    open();
    sim_.sendOpen("\"Lockheed Martin [Prepar3D] (v5)\"", 5, 4, 14, 32);
    EXPECT_TRUE(step());
    EXPECT_EQ(panel.simText.get(), "Lockheed Martin Prepar3D v5 (5.4.14.32)");
    EXPECT_TRUE(logHas("Lockheed Martin Prepar3D v5 (5.4.14.32) connected "));
}

TEST_F(SessionTest, AnMsfsSimulatorIsRefusedWithError78) {
    for (const char* name : {"KittyHawk", "\"KittyHawk\"", "[SunRise]"}) {
        gf_clearErrorAndMessage();
        open();
        sim_.sendOpen(name);
        EXPECT_FALSE(step()) << name;
        EXPECT_NE(errorLine().find("78"), std::string::npos) << errorLine();
        EXPECT_NE(errorLine().find(", (MSFS) not being P3D connects ... ?"), std::string::npos) << errorLine();
        EXPECT_TRUE(panel.simText.get().empty());
        gf_resetSimlink();
    }
}

TEST_F(SessionTest, AnEmptySimulatorNameIsOnlyLogged) {
    open();
    sim_.sendOpen("");
    EXPECT_TRUE(step());
    EXPECT_TRUE(logHas("! Simulator name empty?"));
    EXPECT_FALSE(panel.simConnected);
}

TEST_F(SessionTest, AVersionMismatchEndsSimClientWithError95) {
    open();
    sim_.sendException(SIMCONNECT_EXCEPTION_VERSION_MISMATCH, 1, 3);
    EXPECT_FALSE(step());
    EXPECT_NE(errorLine().find("95"), std::string::npos) << errorLine();
    EXPECT_NE(errorLine().find("Simconnect Version Mismatch, dwindex: 3 "), std::string::npos) << errorLine();
}

TEST_F(SessionTest, ALostConnectionLeavesTheSessionToTheExit) {
    open();
    sim_.drop();
    EXPECT_TRUE(step());
    EXPECT_TRUE(errorLine().empty());
}

}  // namespace
