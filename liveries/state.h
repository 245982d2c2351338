// liveries/state.h — what the livery data remembers between calls, and its reset.
#pragma once

// Back to the state of a fresh process (restart of a run, every test fixture).
void gf_resetLiveries();
