// common/timeofweek.h — the time-of-week word: which day of the week and which half hour of the day.
// 64 bits: low 32 bits the day, 1 Monday .. 7 Sunday; high 32 bits the half hour of the day, 0 .. 47; UTC.
// Written by atomic exchange so that every thread sees a consistent pair.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>

struct TimeOfWeek {
    uint32_t day = 1;       // 1 Monday .. 7 Sunday
    uint32_t halfHour = 0;  // 0 .. 47
    bool operator==(const TimeOfWeek&) const = default;
};

constexpr uint64_t gf_packTimeOfWeek(TimeOfWeek t) {
    return (static_cast<uint64_t>(t.halfHour) << 32) | static_cast<uint64_t>(t.day);
}
constexpr TimeOfWeek gf_unpackTimeOfWeek(uint64_t word) {
    return {static_cast<uint32_t>(word & 0xFFFFFFFFu), static_cast<uint32_t>(word >> 32)};
}

// The day and half hour of a UTC moment.
TimeOfWeek gf_timeOfWeekAt(std::chrono::system_clock::time_point utc);
// n half hours back (n may be negative to go forward), wrapping over days and the week.
TimeOfWeek gf_stepBack(TimeOfWeek t, int n);
inline TimeOfWeek gf_stepForward(TimeOfWeek t, int n) { return gf_stepBack(t, -n); }

// The process-wide word, stored and loaded whole.
extern std::atomic<uint64_t> timeOfWeekWord;
inline void gf_storeTimeOfWeek(TimeOfWeek t) { timeOfWeekWord.exchange(gf_packTimeOfWeek(t)); }
inline TimeOfWeek gf_loadTimeOfWeek() { return gf_unpackTimeOfWeek(timeOfWeekWord.load()); }
