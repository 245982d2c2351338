// The SimClient thread: it waits for the simulator without limit, says so once, and stops when told.
#include <gtest/gtest.h>

#include <chrono>
#include <thread>

#include "common/clock.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "session_support.h"
#include "simlink/transport/config.h"

namespace {

class ThreadTest : public SessionTest {
protected:
    void TearDown() override {
        gf_resetSimlink();
        gf_useManualClock(nullptr);
        gf_setSimConnectCfgFolders({});
        SessionTest::TearDown();
    }
    // The thread runs on its own; the test waits for what it must have done (a bounded real wait).
    static bool waitFor(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done())
            if (std::chrono::steady_clock::now() > deadline)
                return false;
            else
                std::this_thread::yield();
        return true;
    }
    ManualClock clock_;
};

TEST_F(ThreadTest, WithoutASimulatorItWaitsAndSaysSoOnce) {
    gf_useManualClock(&clock_);
    gf_setInProcessServer(nullptr);
    gf_setSimConnectCfgFolders({root_});  // no SimConnect.cfg: nothing to connect to
    SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v5";
    const auto before = gf_steadyNow();
    gf_startSimClient();
    // Each try waits a second of the manual clock: three seconds gone means at least three tries.
    ASSERT_TRUE(waitFor([&] { return gf_steadyNow() - before >= std::chrono::seconds(3); }));
    gf_stopSimClient();
    EXPECT_EQ(messageLine(), "Waiting for Prepar3Dv5 ...");
    const std::string log = logText();
    EXPECT_EQ(log.find("Waiting for Prepar3Dv5 ..."), log.rfind("Waiting for Prepar3Dv5 ...")) << "shown once";
    EXPECT_FALSE(panel.simConnected);
    EXPECT_EQ(run.activeThreads, 0);
    EXPECT_TRUE(exitRequests_.empty());
}

TEST_F(ThreadTest, AStartStopsThePreviousSimClientAndAStopClosesTheSession) {
    SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v6";
    gf_startSimClient();
    ASSERT_TRUE(waitFor([&] { return sim_.connections == 1; }));
    gf_startSimClient();
    ASSERT_TRUE(waitFor([&] { return sim_.connections == 2; }));
    EXPECT_EQ(run.activeThreads, 1);
    EXPECT_EQ(exitRequests_, (std::vector<std::pair<int, int>>{{1, 0}})) << "the first session was closed";
    run.exitInProgress = true;
    gf_stopSimClient();
    EXPECT_FALSE(sim_.connected());
    EXPECT_EQ(run.activeThreads, 0);
    EXPECT_FALSE(simlink.simClient.joinable());
}

TEST_F(ThreadTest, AFaultEndsTheThreadAndAnExitClosesWhatAUserErrorLeftOpen) {
    SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v5";
    gf_startSimClient();
    EXPECT_TRUE(gf_simClientRunning());
    ASSERT_TRUE(waitFor([&] { return sim_.connections == 1; }));
    sim_.sendOpen("KittyHawk");
    ASSERT_TRUE(waitFor([] { return !gf_simClientRunning(); })) << "the thread ended";
    EXPECT_EQ(run.activeThreads, 0);
    EXPECT_NE(errorLine().find("78"), std::string::npos);
    EXPECT_TRUE(sim_.connected()) << "a user error leaves the session to the exit";
    run.exitInProgress = true;
    gf_stopSimClient();
    EXPECT_FALSE(sim_.connected());
}

}  // namespace
