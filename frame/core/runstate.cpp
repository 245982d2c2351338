#include "frame/core/runstate.h"

#include <mutex>

RunState run;

namespace {
std::mutex g_handlerLock;
ExitHandler g_exitHandler;
}  // namespace

const char* gf_exitReasonName(int32_t reason) {
    switch (reason) {
        case kExitSimClosed: return "SIM WAS CLOSED";
        case kExitRestart: return "RESTART";
        case kExitRestartIpp: return "RESTART_IPP";
        case kExitUserClosed: return "USER CLOSED SIM";
        case kExitSystemError: return "SYSTEM ERROR";
        default: return "NOT_YET_SET";
    }
}

void gf_setExitHandler(ExitHandler handler) {
    std::lock_guard lock(g_handlerLock);
    g_exitHandler = std::move(handler);
}

void gf_requestExit(int32_t reason, int32_t seconds) {
    if (run.exitInProgress.load()) return;
    ExitHandler handler;
    {
        std::lock_guard lock(g_handlerLock);
        handler = g_exitHandler;
    }
    if (!handler) {
        run.exitReason.exchange(reason);
        return;
    }
    handler(reason, seconds);
}

void gf_resetRunState() {
    run.exitInProgress = false;
    run.userClosed = false;
    run.tickPending = false;
    run.simRunning = false;
    run.readerStopped = false;
    run.flightNotRunningSeen = false;
    run.flushStaticRequested = false;
    run.reReadRequested = false;
    run.blockRequested = false;
    run.parkUpdateRequested = false;
    run.parkUpdateArmed = false;
    run.ptOnlySwitched = false;
    run.parkingBusy = false;
    run.requestFailed = false;
    run.forgetNoMatchRequested = false;
    run.activeThreads = 0;
    run.exitReason = kExitNotYetSet;
}

void gf_resetRunStateForRestart() {
    run.exitReason = kExitNotYetSet;
    run.tickPending = false;
    // The old session's word: the next run waits for its own simulator session to say it runs.
    run.simRunning = false;
    run.readerStopped = false;
    run.flightNotRunningSeen = false;
    run.parkUpdateRequested = false;
    run.parkUpdateArmed = false;
    run.blockRequested = false;
    // The parking update of the ended run will not finish: the parking controls must work again.
    run.parkingBusy = false;
    run.userClosed = false;
    run.exitInProgress = false;
}
