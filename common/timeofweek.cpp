#include "common/timeofweek.h"

#include <ctime>

#include "platform/platform.h"

std::atomic<uint64_t> timeOfWeekWord{gf_packTimeOfWeek({1, 0})};

TimeOfWeek gf_timeOfWeekAt(std::chrono::system_clock::time_point utc) {
    const std::time_t secs = std::chrono::system_clock::to_time_t(utc);
    std::tm tm{};
    gf_gmtime(secs, tm);
    const uint32_t day = tm.tm_wday == 0 ? 7u : static_cast<uint32_t>(tm.tm_wday);  // tm: 0 is Sunday
    const uint32_t half = static_cast<uint32_t>(tm.tm_hour * 2 + (tm.tm_min >= 30 ? 1 : 0));
    return {day, half};
}

TimeOfWeek gf_stepBack(TimeOfWeek t, int n) {
    // Work in half hours since Monday 00:00, modulo one week (7 * 48).
    constexpr int kWeek = 7 * 48;
    int idx = static_cast<int>(t.day - 1) * 48 + static_cast<int>(t.halfHour) - n;
    idx %= kWeek;
    if (idx < 0) idx += kWeek;
    return {static_cast<uint32_t>(idx / 48 + 1), static_cast<uint32_t>(idx % 48)};
}
