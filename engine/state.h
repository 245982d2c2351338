// engine/state.h — what the live traffic engine remembers between calls, and its reset.
#pragma once

// Back to the state of a fresh process (restart of a run, every test fixture).
void gf_resetEngine();
