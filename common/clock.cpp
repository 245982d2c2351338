#include "common/clock.h"

#include <atomic>
#include <thread>

namespace {
std::atomic<ManualClock*> g_manual{nullptr};
}  // namespace

void gf_useManualClock(ManualClock* clock) { g_manual.store(clock); }
ManualClock* gf_manualClock() { return g_manual.load(); }

SteadyTime gf_steadyNow() {
    if (ManualClock* m = g_manual.load()) {
        std::lock_guard guard(m->lock);
        return m->steady;
    }
    return std::chrono::steady_clock::now();
}

UtcTime gf_utcNow() {
    if (ManualClock* m = g_manual.load()) {
        std::lock_guard guard(m->lock);
        return m->utc;
    }
    return std::chrono::system_clock::now();
}

int64_t gf_epochSeconds() {
    return std::chrono::duration_cast<std::chrono::seconds>(gf_utcNow().time_since_epoch()).count();
}

void gf_sleepFor(std::chrono::milliseconds d) {
    if (ManualClock* m = g_manual.load()) {
        m->advance(d);
        if (m->onSleep) m->onSleep();
        return;
    }
    if (d.count() > 0) std::this_thread::sleep_for(d);
}
