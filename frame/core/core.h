// frame/core/core.h — the frame's services as a whole: what every subsystem may use of the frame.
#pragma once

// Back to the state of a fresh process for everything the services keep: run-state flags, message line,
// panel and controls, parameters and the run's paths. The orchestration's own reset calls it; so does
// every test fixture.
void gf_resetFrameCore();
