// airports/state.h — what the airport data remembers between calls, and its reset.
// The airport table (airports/airport_table.h) is read once per process and survives a restart:
// gf_clearAirportTable() empties it.
#pragma once

#include "airports/airport_table.h"

// Back to the state of a fresh process (restart of a run, every test fixture).
void gf_resetAirports();
