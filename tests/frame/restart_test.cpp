// A restart ends a run, not the process: what it clears for the next run, and how an exit asked for during
// its countdown ends the process instead.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include "common/clock.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "frame/mainloop.h"
#include "platform/window.h"
#include "support/fixture.h"

namespace {

class RestartTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_useManualClock(&clock_);
        gf_readParameters();
    }
    ManualClock clock_;
};

// Every run-state flag of the design and whether a restart clears it or keeps it for the next run.
struct FlagRow {
    const char* name;
    std::atomic<bool>* flag;
    bool cleared;
};
const FlagRow kRestartFlags[] = {
    {"exitInProgress", &run.exitInProgress, true},
    {"userClosed", &run.userClosed, true},
    {"tickPending", &run.tickPending, true},
    {"simRunning", &run.simRunning, true},  // the next run waits for its own session to say so
    {"readerStopped", &run.readerStopped, true},
    {"flightNotRunningSeen", &run.flightNotRunningSeen, true},
    {"blockRequested", &run.blockRequested, true},
    {"parkUpdateRequested", &run.parkUpdateRequested, true},
    {"parkingBusy", &run.parkingBusy, true},  // else "Re-read" stays dead in the next run
    {"timeShifted", &loop.timeShifted, true},
    {"flushStaticRequested", &run.flushStaticRequested, false},  // served by the next run's tick
    {"reReadRequested", &run.reReadRequested, false},
    {"ptOnlySwitched", &run.ptOnlySwitched, false},
    {"forgetNoMatchRequested", &run.forgetNoMatchRequested, false},
    {"requestFailed", &run.requestFailed, false},  // the start of traffic clears it
};

TEST_F(RestartTest, ARestartClearsWhatTheEndedRunLeftAndKeepsTheUsersPendingPresses) {
    for (const FlagRow& row : kRestartFlags) *row.flag = true;
    run.parkUpdateArmed = true;
    loop.tickCount = 900;
    links::offeredRecords = 4321;
    run.exitReason = kExitRestart;
    FinalExit(0);
    for (const FlagRow& row : kRestartFlags) EXPECT_EQ(row.flag->load(), !row.cleared) << row.name;
    EXPECT_FALSE(run.parkUpdateArmed);
    EXPECT_EQ(run.exitReason, kExitNotYetSet);
    EXPECT_EQ(loop.tickCount, 0);
    EXPECT_EQ(links::offeredRecords, 0);  // "This run ... offered" counts the next run alone
    EXPECT_TRUE(logHas("This run served 900 ticks and offered 4321 traffic records\n"));
}

// The close button in the middle of a 30 second countdown: the run must not start again.
TEST_F(RestartTest, TheCloseButtonDuringTheCountdownEndsTheProcess) {
    gf_installExitSequence();  // the real sequences, each on a thread of its own
    int started = 0, ended = 0;
    ASSERT_TRUE(gf_createWindow(0, 0, [&](uint32_t m) {
        if (m == kMsgStartRun) {
            ++started;
            gf_postQuit(1);
        }
        if (m == kMsgEndProcess) {
            ++ended;
            gf_postQuit(0);
        }
    }));
    std::atomic<bool> closed{false};
    clock_.onSleep = [&closed] {
        if (gf_messageLine().message == "Restarting after 20 seconds" && !closed.exchange(true))
            gf_windowProcedure(kMsgClose);
    };
    gf_requestExit(kExitRestart, 30);
    EXPECT_EQ(gf_runMessagePump(), 0);
    // Both sequences have ended; whatever either posted after the first answer is served now.
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (run.activeThreads.load() > 0 && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    ASSERT_EQ(run.activeThreads.load(), 0);
    // Windows takes a quit out of the queue with the first answer: a new one ends this pump, after what
    // is queued before it.
    gf_postQuit(0);
    gf_runMessagePump();
    gf_destroyWindow();
    clock_.onSleep = nullptr;
    EXPECT_TRUE(closed);
    EXPECT_EQ(started, 0);
    EXPECT_EQ(ended, 1);
    EXPECT_TRUE(logHas("Exiting: RESTART\n"));
    EXPECT_TRUE(logHas("Exiting: USER CLOSED SIM\n"));
    EXPECT_TRUE(logHas("User closed ZARK_P3D\n"));
    EXPECT_TRUE(run.userClosed);
}

// FinalExit's own handler reports what went wrong; a system error asks for an exit, which must not begin
// a second exit sequence, also when the restart has already cleared exitInProgress.
TEST_F(RestartTest, AFailingExitDoesNotStartASecondExit) {
    clock_.onSleep = [] {
        if (gf_messageLine().message == "Restarting after 2 seconds") throw std::runtime_error("disk gone");
    };
    run.exitReason = kExitRestart;
    FinalExit(3);
    clock_.onSleep = nullptr;
    EXPECT_EQ(gf_messageLine().error, "FinalExit: disk gone");
    EXPECT_TRUE(exitRequests_.empty());
}

}  // namespace
