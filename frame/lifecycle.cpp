#include "frame/lifecycle.h"

#include <filesystem>
#include <thread>

#include "common/clock.h"
#include "frame/controls.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/links.h"
#include "frame/mainloop.h"
#include "platform/window.h"

namespace {
using namespace std::chrono_literals;
}  // namespace

void gf_installExitSequence() {
    gf_setExitHandler([](int32_t reason, int32_t seconds) {
        // Only one FinalExit at a time: the first request wins, later ones are dropped by the flag.
        bool expected = false;
        if (!run.exitInProgress.compare_exchange_strong(expected, true)) return;
        run.exitReason.exchange(reason);
        std::thread([seconds] { FinalExit(seconds); }).detach();
    });
}

// ---------------------------------------------------------------- start of a run

void lf_readAllData() {
    gf_makeFolders();
    gf_readParameters();
    gf_migrateParameters();
    gf_applyLateralRange();
    parDerived.typedRange = LATERAL_RANGE.current.load();
    parDerived.maxLiveWorking = MAX_LIVE.current.load();
    links::setAccountKey(gf_readAccountKey());
    gf_setRunControlsEnabled(false);
    if (!SIM_TIME.current) {
        const int32_t minutes =
            (TIME_SHIFT_HOURS.current + TIME_SHIFT_DAYS.current * 24) * 60 + TIME_SHIFT_MINS.current;
        if (minutes > 0) gf_setTimeShift(minutes, true);
    }
    PROGRAM_INSTALL_PATH.current = std::filesystem::current_path().string();
    gf_saveParameter(PROGRAM_INSTALL_PATH);
    gf_computeTimeOfWeek();
    links::dailyDataCheck();  // reads the database and the fixes behind its database step, once per process
    gf_setControlText(SIM_INSTALL_PATH.controlId, SIM_INSTALL_PATH.current);
    if (SIM_INSTALL_PATH.current.empty()) lf_detectSim();
    gf_setRemainingControlsEnabled();
    MAX_FIT_FL.current = static_cast<float>(MAX_FIT.current) * 0.5f + 0.5f;
    links::readAirportTable();
    gf_flushLog();
}

bool lf_waitForSim() {
    while (!run.simRunning.load()) {
        gf_sleepFor(100ms);
        if (gf_exitFlagSet()) return false;
    }
    links::requestUserOnGroundData();
    for (;;) {
        if (links::userOnGroundDelivered() && !gf_isNullBox(links::userPosition())) break;
        links::requestUserSnapshot();
        gf_sleepFor(500ms);
        if (gf_exitFlagSet()) return false;
    }
    links::requestUserNames();
    while (gf_isNullBox(links::userPosition())) {
        links::requestUserSnapshot();
        gf_sleepFor(200ms);
        if (gf_exitFlagSet()) return false;
    }
    return !gf_exitFlagSet();
}

void lf_startTraffic() {
    try {
        gf_setWindowTopmost(ALWAYS_ON_TOP.current);
        links::reserveTables();
        run.requestFailed = false;
        links::makeFlightPlanFolder();
        panel.sessionUp = false;
        panel.simConnected = false;
        links::startSimClient();
        if (!lf_waitForSim()) return;
        links::readParkAirports();
        gf_setControlEnabled(kReReadButtonId, true);
        if (AUTO_RANGE.current) {
            gf_autoRange();
            gf_setControlEnabled(LATERAL_RANGE.controlId, false);
        }
        if (gf_exitFlagSet()) return;
        panel.serviceNotStarted = false;
        gf_flushLog();
        if (gf_exitFlagSet()) return;
        links::holdTrafficUntilLoop();
        links::setQueryPosition(links::userPosition());
        links::computeQueryBox();
        if (!links::rtLogin()) return;
        panel.weatherLamp = 2;
        panel.trafficLamp = 2;
        gf_invalidate(Band::Status);
        gf_setTimeShiftControlsEnabled(true);
        for (int i = 0; i < 10 && !links::sessionExists(); ++i) gf_sleepFor(300ms);
        links::startWeatherReader();
        for (int i = 0; i < 10 && links::shownQnh() == 0; ++i) {
            gf_sleepFor(300ms);
            if (run.reReadRequested.load()) {
                const std::string text = links::reReadParkAirports();
                if (!text.empty()) gf_showMessage(text, true);
                run.reReadRequested = false;
            }
        }
        links::startTrafficReader();
        links::setQueryPosition(links::userPosition());
        if (run.readerStopped.load()) {
            gf_showError("Reader error");
            gf_requestExit(kExitSystemError, 0);
        }
        int rounds = 0;
        while (links::lastSnapshotTime() == 0 && rounds < 150 && !gf_exitFlagSet()) {
            gf_sleepFor(100ms);
            ++rounds;
        }
        if (links::lastSnapshotTime() == 0) gf_logLine("No traffic in this region?");
        gf_computeTimeOfWeek();
        links::trackParkAirport(true);
        gf_flushLog();
    } catch (const std::exception& e) {
        // A failed login or any other failure here ends the run: the service must not be left half open.
        gf_showError(e.what());
        panel.sessionUp = false;
        gf_requestExit(kExitSystemError, 0);
        return;
    }
    if (gf_exitFlagSet()) return;
    try {
        mainLoop();
    } catch (...) {
        loop.inMainLoop = false;
        gf_reportException("mainLoop");
    }
}

void lf_startUpZARK() {
    ThreadCount counted;
    try {
        if (!std::filesystem::exists(folders::docs))
            throw zel::UserErrorException(
                41, fmt::format("{} must be run from the {} folder!", kProgramName, kProgramName));
        lf_readAllData();
        const int64_t now = gf_epochSeconds();
        const int64_t since = now - LAST_EPOCH_TIME.current;
        if (since < 60) {
            gf_logLine(fmt::format("{} second{} since last run", since, gf_plural(since)));
        } else if (since / 60 < 524160) {
            const int64_t m = since / 60, s = since % 60;
            gf_logLine(fmt::format("{} minute{} and {} second{} since last run", m, gf_plural(m), s, gf_plural(s)));
        }
        gf_makeFolder(folders::myRegcodes);
        gf_storeStockAirportsPath();
        gf_storeHardwareThreads();
        if (!std::filesystem::exists(folders::liveriesScanned)) {
            gf_showMessage(fmt::format("File {} is gone, rescan liveries", folders::liveriesScanned.string()), true);
            SCAN_LIVERIES.current = true;
            gf_saveParameter(SCAN_LIVERIES);
            gf_setControlChecked(SCAN_LIVERIES.controlId, true);
        }
        links::scanLiveries(SCAN_LIVERIES.current);
        if (gf_exitFlagSet()) return;
        if (SCAN_AIRPORTS.current) links::scanAirports();
        if (since < 2) {
            const int64_t hold = 2 - std::max<int64_t>(since, 0);
            gf_showMessage(
                fmt::format("Holding for {} seconds... (RT API cannnot be revisited within 2 seconds)", hold), true);
            gf_sleepFor(std::chrono::seconds(hold));
        }
        gf_countAirportFiles();
        if (!gf_exitFlagSet())
            lf_startTraffic();
        else
            gf_requestExit(kExitUserClosed, 1);
    } catch (...) {
        gf_reportException("lf_startUpZARK");
    }
}

// ---------------------------------------------------------------- end of a run

void gf_resetRunForRestart(int32_t reason) {
    gf_clearErrorAndMessage();
    links::resetReaders();
    if (reason == kExitRestart) {
        // A new flight or place needs no new scans; a new install path (reason 3) does.
        SCAN_LIVERIES.current = false;
        gf_saveParameter(SCAN_LIVERIES);
        SCAN_AIRPORTS.current = false;
        gf_saveParameter(SCAN_AIRPORTS);
    }
    loop.timeShifted = false;
    loop.tickCount = 0;
    links::offeredRecords = 0;  // "This run ... offered" counts per run
    links::clearUserSnapshot();
    gf_applyLateralRange();
    links::clearEngineTables();
    links::resetSimlinkForRestart();
    links::resetParkingForRestart();
    gf_resetPanel();
    panel.qnhShown = 1013;
    gf_resetRunStateForRestart();  // last: it lets the next exit in
}

void FinalExit(int32_t seconds) {
    ThreadCount counted;
    try {
        run.exitInProgress = true;
        const int32_t reason = run.exitReason.load();
        gf_logLine(fmt::format("Exiting: {}", gf_exitReasonName(reason)));
        const int32_t ticks = loop.tickCount.load();
        const int64_t offered = links::offeredRecords.load();
        gf_logLine(fmt::format("This run served {} tick{} and offered {} traffic record{}", ticks, gf_plural(ticks),
                               offered, gf_plural(offered)));
        if (reason == kExitRestart) gf_showMessage("Prepare for a restart ...", true);
        if (links::sessionExists()) {
            links::stopReaders();
            gf_sleepFor(3s);  // lets the readers' current request end
            // The logout uses the traffic side's session: it must not overlap a reader still at work.
            if (!links::waitForReaders(2s))
                gf_logLine("A reader has not ended after 5 seconds; logging out all the same");
            links::rtLogout();
            // The next start holds back until the service may be visited again: it counts from here.
            LAST_EPOCH_TIME.current = LAST_EPOCH_TIME.clamp(gf_epochSeconds());
            gf_saveParameter(LAST_EPOCH_TIME);
        }
        gf_sleepFor(500ms);
        // The engine thread has left mainLoop by now: it looks at the exit flags at least once a slice.
        for (int i = 0; i < 20 && loop.inMainLoop; ++i) gf_sleepFor(100ms);
        links::removeAllLive();
        links::flushStatic();
        links::removeAllQueuedObjects();
        gf_sleepFor(1s);
        if (reason == kExitSystemError) gf_sleepFor(5s);  // the error stays readable
        if (reason == kExitUserClosed) {
            gf_logLine(fmt::format("User closed {}", kProgramName));
            run.userClosed = true;
        }
        links::stopSimClient();
        links::clearHexidLiveries();
        links::removeFlightPlanFolder();
        const bool restart = reason == kExitRestart || reason == kExitRestartIpp;
        if (restart) {
            if (SIM_TIME.current) gf_resetTimeShiftParameters();
        } else {
            BLOCK_CALLSIGN.current.clear();
            gf_saveParameter(BLOCK_CALLSIGN);
            loop.timeShifted = false;
            if (KEEP_SIM_TIME_PAR.current) {
                if (SIM_TIME.current) gf_resetTimeShiftParameters();
            } else {
                SIM_TIME.current = false;
                gf_saveParameter(SIM_TIME);
                gf_resetTimeShiftParameters();
            }
            links::logMatchingSummary();
            links::logNoMatch();
        }
        links::leaveParkAirport();
        links::setParkingControls(false);
        for (int i = 0; i < 61 && run.activeThreads.load() > 1; ++i) gf_sleepFor(100ms);
        if (restart) {
            gf_resetRunForRestart(reason);
            gf_logLine(fmt::format("Restarting after {} seconds\n\n\n\n\n", seconds));
            for (int32_t s = seconds; s >= 1 && !gf_exitFlagSet(); --s) {
                gf_showMessage(fmt::format("Restarting after {} second{}", s, gf_plural(s)), false);
                gf_sleepFor(1s);
            }
            // An exit asked for during the countdown (the close button) has a sequence of its own by now:
            // that one ends the process, and this one must neither start a run nor touch its flags.
            if (gf_exitFlagSet()) return;
            if (gf_windowExists()) gf_postWindowMessage(kMsgStartRun);
        } else {
            links::clearNotCreatedNames();
            run.exitInProgress = false;
            if (gf_windowExists()) gf_postWindowMessage(kMsgEndProcess);
        }
        gf_flushLog();
    } catch (...) {
        // The restart may have cleared the flag already. Held while the failure is reported, it drops the
        // exit request of the report: a failed exit ends the process, it does not begin another exit.
        run.exitInProgress = true;
        gf_reportException("FinalExit");
        if (gf_windowExists()) gf_postWindowMessage(kMsgEndProcess);
    }
}
