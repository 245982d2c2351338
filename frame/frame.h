// frame/frame.h — the program frame as a whole: process entry and the reset of all its globals.
#pragma once

#include <cstdint>

// Back to the state of a fresh process for everything the frame keeps: its services (gf_resetFrameCore),
// the main loop's counters and what the orchestration keeps of other subsystems. Every test fixture calls it.
void gf_resetFrame();
// The frame and every subsystem back to the state of a fresh process (test fixtures, benchmarks, tools).
void gf_resetProgram();

// The process: single-instance lock, log, window (headless on a machine without a display), one run.
// Returns the process exit code: -1 when another instance runs.
int gf_processEntry(int argc, char** argv);
int initInstance();
// The window procedure of the program: start of a run, the close button, the end of the process.
void gf_windowProcedure(uint32_t message);
