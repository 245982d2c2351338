// frame/core/runstate.h — the run-state flags and the one way to end or restart a run.
// Flags are single bytes written by atomic exchange; all live for the whole process.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

// Why a run ends; the name goes into "Exiting: {}".
enum ExitReason : int32_t {
    kExitNotYetSet = 0,   // "NOT_YET_SET"
    kExitSimClosed = 1,   // "SIM WAS CLOSED"
    kExitRestart = 2,     // "RESTART"
    kExitRestartIpp = 3,  // "RESTART_IPP"
    kExitUserClosed = 4,  // "USER CLOSED SIM"
    kExitSystemError = 5  // "SYSTEM ERROR"
};
const char* gf_exitReasonName(int32_t reason);

struct RunState {
    std::atomic<bool> exitInProgress{false};        // an exit or restart is being carried out
    std::atomic<bool> userClosed{false};            // the process ends after this exit
    std::atomic<bool> tickPending{false};           // one simulator second has passed (SimClient -> lf_slice)
    std::atomic<bool> simRunning{false};            // the "Sim" event says running
    std::atomic<bool> readerStopped{false};         // a reader stopped and wants the run ended
    std::atomic<bool> flightNotRunningSeen{false};  // "{} Flight not running" was entered
    std::atomic<bool> flushStaticRequested{false};  // button "Flush static"
    std::atomic<bool> reReadRequested{false};       // button "Re-read"
    std::atomic<bool> blockRequested{false};        // a callsign was (un)blocked
    std::atomic<bool> parkUpdateRequested{false};   // a new parking calculation is wanted
    bool parkUpdateArmed = false;                   // engine thread only: phase two is due
    std::atomic<bool> ptOnlySwitched{false};        // "PT only" switched since the last calculation
    std::atomic<bool> parkingBusy{false};           // the two-phase parking update runs
    std::atomic<bool> requestFailed{false};         // three simulator requests failed in this run
    std::atomic<int32_t> activeThreads{0};          // frame threads alive (engine, SimClient, readers, FinalExit)
    std::atomic<int32_t> exitReason{kExitNotYetSet};
    // The user asked to forget the aircraft that found no livery (MATCHING_DEPTH grew); the next multiple
    // of 30 ticks serves it.
    std::atomic<bool> forgetNoMatchRequested{false};
};
extern RunState run;

// True when the run is ending: an exit is carried out or the user closed the program.
inline bool gf_exitFlagSet() { return run.exitInProgress.load() || run.userClosed.load(); }

// The one way to end or restart a run, from any thread. Dropped while an exit is in progress; else the
// reason is stored and the request goes to the exit handler, which the program's orchestration installs
// (it starts the exit sequence) and a test replaces with a recorder. Without a handler only the reason is kept.
void gf_requestExit(int32_t reason, int32_t seconds);
using ExitHandler = std::function<void(int32_t reason, int32_t seconds)>;
void gf_setExitHandler(ExitHandler handler);

// Counts a frame thread into run.activeThreads for the time of its body.
struct ThreadCount {
    ThreadCount() { ++run.activeThreads; }
    ~ThreadCount() { --run.activeThreads; }
    ThreadCount(const ThreadCount&) = delete;
    ThreadCount& operator=(const ThreadCount&) = delete;
};

// Every flag back to the state of a fresh process; the exit handler stays.
void gf_resetRunState();
// What a restart clears of the flags, as the last step before its countdown: the reason goes back to
// "NOT_YET_SET", the flags of the ended run and of its exit are cleared, exitInProgress last, so that from
// then on a close (or any other exit) is heard again. Kept: presses of the user not served yet (flush
// static, re-read, PT only, forget the unmatched aircraft), requestFailed (the start of traffic clears it)
// and the thread count.
void gf_resetRunStateForRestart();
