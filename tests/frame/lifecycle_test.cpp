#include <gtest/gtest.h>
#ifndef _WIN32
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <filesystem>
#include <thread>

#include "common/clock.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "frame/links_seam.h"
#include "frame/mainloop.h"
#include "platform/platform.h"
#include "platform/window.h"
#include "service/client.h"
#include "simlink/state.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

class ExitTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_useManualClock(&clock_);
        links::setTrace(&trace_);
        gf_readParameters();
    }
    void TearDown() override {
        links::setTrace(nullptr);
        ZarkTest::TearDown();
    }
    void exitWith(int reason, int seconds) {
        run.exitReason = reason;
        const SteadyTime t0 = gf_steadyNow();
        FinalExit(seconds);
        elapsed_ = std::chrono::duration_cast<std::chrono::milliseconds>(gf_steadyNow() - t0);
    }
    bool asked(const std::string& step) const { return std::find(trace_.begin(), trace_.end(), step) != trace_.end(); }
    ManualClock clock_;
    std::vector<std::string> trace_;
    std::chrono::milliseconds elapsed_{0};
};

TEST_F(ExitTest, UserCloseEndsTheProcessAndResetsTheSessionParameters) {
    BLOCK_CALLSIGN.current = "SWR12";
    SIM_TIME.current = true;
    TIME_SHIFT_HOURS.current = 5;
    exitWith(kExitUserClosed, 0);
    EXPECT_TRUE(logHas("Exiting: USER CLOSED SIM\n"));
    EXPECT_TRUE(logHas("User closed ZARK_P3D\n"));
    EXPECT_TRUE(run.userClosed);
    EXPECT_FALSE(run.exitInProgress);
    EXPECT_EQ(BLOCK_CALLSIGN.current, "");
    EXPECT_FALSE(SIM_TIME.current);
    EXPECT_EQ(TIME_SHIFT_HOURS.current, 0);
    for (const char* step : {"stopSimClient", "removeAllLive", "removeAllQueuedObjects", "logMatchingSummary"})
        EXPECT_TRUE(asked(step)) << step;
    EXPECT_FALSE(asked("rtLogout"));  // no session was up
    EXPECT_EQ(elapsed_, std::chrono::milliseconds(1500));
}

// KEEP_SIM_TIME keeps the shift over the end; a system error waits longer so that it stays readable.
TEST_F(ExitTest, SimClosedKeepsAKeptShiftAndASystemErrorWaitsLonger) {
    KEEP_SIM_TIME_PAR.current = true;
    SIM_TIME.current = false;
    TIME_SHIFT_DAYS.current = 2;
    exitWith(kExitSimClosed, 0);
    EXPECT_TRUE(logHas("Exiting: SIM WAS CLOSED\n"));
    EXPECT_EQ(TIME_SHIFT_DAYS.current, 2);
    exitWith(kExitSystemError, 0);
    EXPECT_TRUE(logHas("Exiting: SYSTEM ERROR\n"));
    EXPECT_EQ(elapsed_, std::chrono::milliseconds(6500));
    EXPECT_FALSE(run.userClosed);
}

TEST_F(ExitTest, RestartCountsDownOnTheMessageLineWithoutLoggingEachStep) {
    SCAN_LIVERIES.current = true;
    SCAN_AIRPORTS.current = true;
    panel.qnhShown = 990;
    panel.standCount = 7;
    panel.qualityText.set("98%");
    exitWith(kExitRestart, 30);
    EXPECT_TRUE(logHas("Exiting: RESTART\n"));
    EXPECT_TRUE(logHas("Prepare for a restart ...\n"));
    EXPECT_TRUE(logHas("Restarting after 30 seconds\n\n\n\n\n\n"));
    EXPECT_FALSE(logHas("Restarting after 29 second"));
    EXPECT_EQ(gf_messageLine().message, "Restarting after 1 second");
    EXPECT_EQ(elapsed_, std::chrono::milliseconds(1500 + 30'000));
    // What a restart clears beside the run's flags (the panel shows nothing of the last run), and what it keeps.
    EXPECT_EQ(panel.qnhShown, 1013);
    EXPECT_EQ(panel.standCount, 0);
    EXPECT_EQ(panel.qualityText.get(), "");
    EXPECT_FALSE(SCAN_LIVERIES.current);  // reason 2 does not scan again
    EXPECT_FALSE(SCAN_AIRPORTS.current);
    EXPECT_NE(readFile(gf_parametersPath()).find("name=\"SCAN_LIVERIES\" value=\"false\""), std::string::npos);
    EXPECT_TRUE(asked("clearEngineTables"));
    EXPECT_TRUE(asked("resetReaders"));
}

TEST_F(ExitTest, RestartForANewInstallPathKeepsTheScans) {
    SCAN_LIVERIES.current = true;
    gf_showError("151: No P3D install path detected, type full Install Path above, and press Enter");
    exitWith(kExitRestartIpp, 3);
    EXPECT_EQ(gf_messageLine().error, "");          // a restart clears the error
    EXPECT_FALSE(logHas("Prepare for a restart"));  // only reason 2 says so
    EXPECT_TRUE(logHas("Exiting: RESTART_IPP\n"));
    EXPECT_TRUE(SCAN_LIVERIES.current);
    EXPECT_EQ(elapsed_, std::chrono::milliseconds(1500 + 3000));
}

TEST_F(ExitTest, ASecondRequestDuringAnExitIsDropped) {
    gf_installExitSequence();
    run.exitInProgress = true;
    gf_requestExit(kExitRestart, 30);
    EXPECT_EQ(run.exitReason, kExitNotYetSet);
    run.exitInProgress = false;
}

TEST_F(ExitTest, CloseButtonEndsTheProcessAlsoWhenNoRunStarted) {
    gf_installExitSequence();  // the real exit sequence, on its own thread
    ASSERT_TRUE(gf_createWindow(100, 200, [](uint32_t m) {
        if (m != kMsgStartRun) gf_windowProcedure(m);
    }));
    gf_postWindowMessage(kMsgClose);
    const int code = gf_runMessagePump();
    gf_destroyWindow();
    EXPECT_EQ(code, 0);
    EXPECT_FALSE(gf_logIsOpen());  // WM_APP + 2 closed the log
    const std::string log = readFile("Log.txt");
    EXPECT_NE(log.find("Close window button clicked, closing ZARK_P3D ..."), std::string::npos);
    EXPECT_NE(log.find("Exiting: USER CLOSED SIM"), std::string::npos);
    EXPECT_NE(log.find("ZARK_P3D ends at "), std::string::npos);
    // The position of the window is kept.
    EXPECT_NE(readFile(gf_parametersPath()).find("name=\"MAIN_WINDOW_Y\" value=\"200\""), std::string::npos);
}

class StartTest : public ExitTest {
protected:
    void SetUp() override {
        ExitTest::SetUp();
        // The installer's input folder, with the data the build generated from public sources.
        fs::copy(gf_binaryDir() / "install" / "input", "input", fs::copy_options::recursive);
        fs::copy(gf_binaryDir() / "install" / "output", "output", fs::copy_options::recursive);
        links::databaseRead = false;
    }
};

TEST_F(StartTest, NoDocsFolderIsError41AndNoExit) {
    fs::remove_all("docs");
    lf_startUpZARK();
    EXPECT_EQ(gf_messageLine().error, "41: ZARK_P3D must be run from the ZARK_P3D folder!");
    EXPECT_TRUE(exitRequests_.empty());
    EXPECT_EQ(run.activeThreads, 0);
}

TEST_F(StartTest, MissingInstallPathOnLinuxStopsTheRunWithError151) {
    lf_startUpZARK();
    EXPECT_EQ(gf_messageLine().error,
              "151: No P3D install path detected, type full Install Path above, and press Enter");
    EXPECT_TRUE(exitRequests_.empty());
    EXPECT_TRUE(fs::is_directory("output/errors"));
}

TEST_F(StartTest, TheWaitForTheSimulatorEndsWithAnExit) {
    run.simRunning = false;
    std::thread closer([] {
        while (gf_steadyNow() < SteadyTime(std::chrono::hours(1000)) + std::chrono::seconds(5))
            std::this_thread::yield();
        run.userClosed = true;
    });
    EXPECT_FALSE(lf_waitForSim());
    closer.join();
    EXPECT_FALSE(asked("requestUserOnGroundData"));
}

// Once the simulator runs, the start waits for the user aircraft's first on-ground answer and position,
// asking for a snapshot each half second, and only then for its names.
TEST_F(StartTest, TheWaitForTheSimulatorEndsWhenTheUserAircraftIsPlaced) {
    run.simRunning = true;
    user.userOnGroundKnown = true;
    int sleeps = 0;
    clock_.onSleep = [&sleeps] {
        if (++sleeps == 3) links::answers.userPosition = LatLon{47.46, 8.55};
        if (sleeps > 100) run.userClosed = true;  // a wait that never ends fails instead of hanging
    };
    const SteadyTime t0 = gf_steadyNow();
    EXPECT_TRUE(lf_waitForSim());
    clock_.onSleep = nullptr;
    links::answers = {};
    EXPECT_EQ(gf_steadyNow() - t0, std::chrono::milliseconds(3 * 500));
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "requestUserSnapshot"), 3);
    const auto names = std::find(trace_.begin(), trace_.end(), "requestUserNames");
    EXPECT_EQ(std::find(names, trace_.end(), "requestUserSnapshot"), trace_.end()) << "names once it is placed";
}

// A start the user ends before the traffic ends quietly, after it has applied what the last run left: a kept
// time shift (sim time is off), and the time since that run in the log.
TEST_F(StartTest, AStartClosedBeforeTheTrafficEndsQuietlyWithTheLastRunApplied) {
    SIM_INSTALL_PATH.current = "C:\\Lockheed Martin\\Prepar3D v5";
    TIME_SHIFT_DAYS.current = 1;
    TIME_SHIFT_HOURS.current = 2;
    TIME_SHIFT_MINS.current = 3;
    LAST_EPOCH_TIME.current = static_cast<int32_t>(gf_epochSeconds() - 125);
    PROGRAM_VERSION.current = "9.3.0";
    for (auto* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS, &LAST_EPOCH_TIME}) gf_saveParameter(*p);
    gf_saveParameter(SIM_INSTALL_PATH);
    gf_saveParameter(PROGRAM_VERSION);
    run.userClosed = true;
    lf_startUpZARK();
    EXPECT_FALSE(loop.inMainLoop);
    EXPECT_FALSE(asked("startSimClient"));
    EXPECT_TRUE(exitRequests_.empty());
    EXPECT_EQ(gf_messageLine().error, "");
    EXPECT_TRUE(loop.timeShifted);
    EXPECT_EQ(TIME_SHIFT_DAYS.current * 1440 + TIME_SHIFT_HOURS.current * 60 + TIME_SHIFT_MINS.current, 1563);
    EXPECT_TRUE(logHas("2 minutes and 5 seconds since last run\n"));
}

#ifdef _WIN32
TEST(Instance, ASecondInstanceEndsAtOnceWithMinusOne) {
    const fs::path dir = fs::temp_directory_path() / "zark-instance";
    fs::create_directories(dir);
    const fs::path previous = fs::current_path();
    fs::current_path(dir);
    // The first instance holds the named mutex, as the process entry of a running program does; a second
    // one sees it as another process would, and must not even open the log.
    ASSERT_TRUE(gf_acquireInstanceLock());
    EXPECT_EQ(gf_processEntry(0, nullptr), -1);
    EXPECT_FALSE(fs::exists(dir / "Log.txt"));
    gf_releaseInstanceLock();
    EXPECT_TRUE(gf_acquireInstanceLock());  // the second one kept nothing of the mutex
    gf_releaseInstanceLock();
    fs::current_path(previous);
    fs::remove_all(dir);
}
#else
TEST(Instance, ASecondInstanceEndsAtOnceWithMinusOne) {
    const fs::path dir = fs::temp_directory_path() / ("zark-instance-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    gf_setAppDataOverride(dir);
    // The first instance holds the lock file, as the process entry of a running program does.
    fs::create_directories(dir / "ZARK_P3D");
    const int fd = ::open((dir / "ZARK_P3D" / "ZARKTraffic_P3D.lock").c_str(), O_RDWR | O_CREAT, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::flock(fd, LOCK_EX | LOCK_NB), 0);
    const pid_t child = fork();
    if (child == 0) {
        // A second process: it must not even open the log.
        ::chdir(dir.c_str());
        _exit(gf_processEntry(0, nullptr) == -1 && !fs::exists(dir / "Log.txt") ? 0 : 1);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ::close(fd);
    gf_setAppDataOverride({});
    fs::remove_all(dir);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
#endif

TEST_F(ExitTest, TheLogoutWaitsForTheReadersButNotForever) {
    using namespace std::chrono_literals;
    // Both readers ended: no wait at all.
    SteadyTime t0 = gf_steadyNow();
    EXPECT_TRUE(links::waitForReaders(2s));
    EXPECT_EQ(gf_steadyNow(), t0);
    // One still at work: the wait gives up after its limit.
    trafficReader.readerRunning = true;
    t0 = gf_steadyNow();
    EXPECT_FALSE(links::waitForReaders(2s));
    EXPECT_EQ(gf_steadyNow() - t0, 2s);
    trafficReader.readerRunning = false;
    weatherClient.readerRunning = true;
    EXPECT_FALSE(links::waitForReaders(500ms));
    weatherClient.readerRunning = false;
}
