// frame/lifecycle.h — the start of a run, the wait for the simulator, and the exit sequence.
#pragma once

#include <cstdint>

#include "frame/core/runstate.h"

// The exit sequence behind gf_requestExit: the first request wins and starts FinalExit on a thread of its
// own. The process entry installs it; a test that wants the real sequence does too.
void gf_installExitSequence();

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
// The restart branch's reset of everything the ended run leaves behind, before the countdown: the
// orchestration's own state, then the services' run-state flags, so that none falls between the two.
void gf_resetRunForRestart(int32_t reason);
