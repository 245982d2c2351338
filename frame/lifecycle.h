// frame/lifecycle.h — the run-state flags and the one way to end or restart a run.
// Flags are single bytes written by atomic exchange; all live for the whole process.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

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
};
extern RunState run;

// True when the run is ending: an exit is carried out or the user closed the program.
inline bool gf_exitFlagSet() { return run.exitInProgress.load() || run.userClosed.load(); }

// The one way to end or restart a run, from any thread. Dropped while an exit is in progress.
void gf_requestExit(int32_t reason, int32_t seconds);

// Until the whole exit sequence is wired, or in a test, the request goes to this handler instead
// of starting FinalExit. Tests install a recorder; nullptr restores the default.
using ExitHandler = std::function<void(int32_t reason, int32_t seconds)>;
void gf_setExitHandler(ExitHandler handler);

void gf_resetRunState();

// The engine thread's body: reads all data, runs the scans, waits for the simulator, logs in, and stays
// in mainLoop until the run ends.
void lf_startUpZARK();
void lf_readAllData();
void lf_startTraffic();
// Waits for a running sim and a valid user position; false when an exit came first.
bool lf_waitForSim();
// The exit sequence, once per exit, on a thread of its own: readers, logout, objects, SimClient,
// learned data, then either the end of the process or a countdown to a new run.
void FinalExit(int32_t seconds);
