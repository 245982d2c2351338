// tools/common/stopsignal.h — the doubles run until Ctrl-C or a kill of the demo script.
#pragma once

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

namespace toolsig {

inline std::atomic<bool> stopRequested{false};

// Returns after SIGINT or SIGTERM.
inline void waitForStopSignal() {
    std::signal(SIGINT, [](int) { stopRequested = true; });
    std::signal(SIGTERM, [](int) { stopRequested = true; });
    while (!stopRequested) std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

}  // namespace toolsig
