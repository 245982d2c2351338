// common/clock.h — every read of a clock and every sleep of the program goes through here,
// so that a test can drive the engine slice by slice without waiting through real time.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <mutex>

using SteadyTime = std::chrono::steady_clock::time_point;
using UtcTime = std::chrono::system_clock::time_point;

SteadyTime gf_steadyNow();  // monotonic; for pacing and waits
UtcTime gf_utcNow();        // wall clock, UTC
int64_t gf_epochSeconds();  // gf_utcNow() as seconds since 1970
// Sleeps on the steady clock. Under a manual clock it advances that clock instead and returns at once.
void gf_sleepFor(std::chrono::milliseconds d);

// A clock a test owns: time stands still until the test (or a sleep) advances it. The test's thread may
// advance it while the program's threads read it, so both go through its lock.
struct ManualClock {
    SteadyTime steady{std::chrono::hours(1000)};
    UtcTime utc{std::chrono::seconds(1'767'225'600)};  // 2026-01-01 00:00:00 UTC, a Thursday
    mutable std::mutex lock;
    // Called by every sleep under this clock, on the sleeping thread, once the clock has moved: a test acts
    // at a moment of the program's time without racing it (the close button during a countdown, say).
    // Set it before the program's threads start.
    std::function<void()> onSleep;
    void advance(std::chrono::milliseconds d) {
        std::lock_guard guard(lock);
        steady += d;
        utc += d;
    }
};

// Replace the clocks by a manual one (nullptr restores the real clocks). The caller keeps it alive.
void gf_useManualClock(ManualClock* clock);
ManualClock* gf_manualClock();  // the one in use, or nullptr
