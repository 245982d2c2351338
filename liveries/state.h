// liveries/state.h — what the livery data remembers between calls, and its reset.
// The database (liveries/dbase.h) and the fixes (liveries/fixes.h) are read once per process and
// survive a restart: gf_clearDbase() and gf_clearFixes() empty them.
#pragma once

#include "liveries/dbase.h"
#include "liveries/fixes.h"

// Back to the state of a fresh run (restart of a run, every test fixture).
void gf_resetLiveries();
