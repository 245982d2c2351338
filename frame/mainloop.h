// frame/mainloop.h — the engine thread's loop: 10 ms slices on the steady clock, and the tick, one per
// simulator second, with everything that is counted in seconds. The schedule lives in one place: lf_slice.
#pragma once

#include <atomic>
#include <cstdint>

struct LoopState {
    // Written by the engine thread; read by the exit on its own thread and by the Traffic Reader.
    std::atomic<int32_t> tickCount{0};     // T: ticks served since mainLoop began; back to 0 every 86400
    std::atomic<uint64_t> slice{0};        // S: slices since process start (10 ms each); never reset
    std::atomic<bool> timeShifted{false};  // traffic is asked for in the past
    int32_t notRunningCountdown = 100;     // slices to the next once-a-second chore while the sim is stopped
    double lastSimTime = 0.0;              // the simulator's clock at the last tick, for SIM_TIME; 0 unknown
    std::atomic<bool> inMainLoop{false};   // the engine thread is in mainLoop; the exit waits for it to leave
};
extern LoopState loop;

constexpr int kSliceMs = 10;  // one slice of the engine
constexpr int32_t kTicksPerDay = 86400;
constexpr int32_t kMaxTimeShiftMinutes = 40320;  // 4 weeks

// Runs the slices until the run ends. Returns when an exit flag is set.
void mainLoop();
// One slice: the engine's work, and the tick's if one is pending.
void lf_slice();
void lf_tick();
void lf_every30Ticks();
void lf_flightNotRunning();
void lf_engineSlice();

// The range follows the flight phase when AUTO_RANGE is on.
void gf_autoRange();
// Asks the service for traffic `minutes` in the past (cut to 4 weeks); window thread or engine thread.
void gf_setTimeShift(int32_t minutes, bool silent);
// The day and half hour of "now" for the traffic: the last snapshot's time while shifted, else the wall clock.
void gf_computeTimeOfWeek();

void gf_resetLoop();
