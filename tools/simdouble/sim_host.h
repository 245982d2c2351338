// tools/simdouble/sim_host.h — what the TCP and the pipe server of the double share: the double under one
// lock, and in real-time mode simulator time that follows the steady clock.
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "tools/simdouble/simdouble.h"

namespace simdouble {

class SimHost {
public:
    // realTime: simulator time follows the steady clock; otherwise only advance() moves it.
    SimHost(SimDouble& sim, bool realTime) : sim_(sim), realTime_(realTime) {}

    void advance(int64_t ms) {
        std::lock_guard lock(lock_);
        sim_.advance(ms);
    }
    // The double is used only under the lock: lets a test or the executable look inside.
    template <typename F>
    auto withSim(F&& f) {
        std::lock_guard lock(lock_);
        return f(sim_);
    }

protected:
    // In real-time mode moves simulator time by the whole milliseconds since `last`. Under lock_.
    void followClock(std::chrono::steady_clock::time_point& last) {
        if (!realTime_) return;
        const auto ms =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - last).count();
        if (ms <= 0) return;
        last += std::chrono::milliseconds(ms);
        sim_.advance(ms);
    }

    SimDouble& sim_;
    bool realTime_;
    std::mutex lock_;  // guards sim_ and the server's clients
};

}  // namespace simdouble
