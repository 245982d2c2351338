// frame/controls.h — which controls of the window may be used in which state of a run.
#pragma once

// Before a run has started: only what needs no run (scan settings, install path, folders) is enabled.
void gf_setRunControlsEnabled(bool enabled);
// Behind the data check: the settings that need the database.
void gf_setRemainingControlsEnabled();
// The three time shift boxes and "Sim Time", enabled once a service session exists.
void gf_setTimeShiftControlsEnabled(bool enabled);
// The three time shift parameters back to 0, saved and displayed.
void gf_resetTimeShiftParameters();
