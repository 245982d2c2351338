// frame/frame.h — the program frame as a whole: process entry and the reset of all its globals.
#pragma once

#include <cstdint>

// Back to the state of a fresh process for everything the frame keeps: run-state flags, message line,
// panel and controls, parameters, the run's paths, and what the frame counts of other subsystems. A restart uses the
// parts it needs; every test fixture calls it.
void gf_resetFrame();

// The process: single-instance lock, log, window (headless on a machine without a display), one run.
// Returns the process exit code: -1 when another instance runs.
int gf_processEntry(int argc, char** argv);
int initInstance();
// The window procedure of the program: start of a run, the close button, the end of the process.
void gf_windowProcedure(uint32_t message);
