#include <gtest/gtest.h>

#include <thread>

#include "common/clock.h"
#include "common/timeofweek.h"

using namespace std::chrono;

TEST(TimeOfWeek, PackKeepsDayLowAndHalfHourHigh) {
    const uint64_t w = gf_packTimeOfWeek({3, 47});
    EXPECT_EQ(w & 0xFFFFFFFFu, 3u);
    EXPECT_EQ(w >> 32, 47u);
    EXPECT_EQ(gf_unpackTimeOfWeek(w), (TimeOfWeek{3, 47}));
}

TEST(TimeOfWeek, FromUtcMoment) {
    // 2026-01-01 is a Thursday.
    const system_clock::time_point t = system_clock::time_point(seconds(1'767'225'600)) + hours(13) + minutes(29);
    EXPECT_EQ(gf_timeOfWeekAt(t), (TimeOfWeek{4, 26}));
    EXPECT_EQ(gf_timeOfWeekAt(t + minutes(1)), (TimeOfWeek{4, 27}));
    // Sunday counts as day 7.
    EXPECT_EQ(gf_timeOfWeekAt(t + days(3)).day, 7u);
}

TEST(TimeOfWeek, SteppingWrapsOverDaysAndTheWeek) {
    EXPECT_EQ(gf_stepBack({1, 1}, 3), (TimeOfWeek{7, 46}));  // Monday 00:30 back by 1.5 h is Sunday 23:00
    EXPECT_EQ(gf_stepBack({3, 10}, 10), (TimeOfWeek{3, 0}));
    EXPECT_EQ(gf_stepBack({3, 10}, 11), (TimeOfWeek{2, 47}));
    EXPECT_EQ(gf_stepForward({7, 47}, 1), (TimeOfWeek{1, 0}));
    EXPECT_EQ(gf_stepForward({2, 40}, 47), (TimeOfWeek{3, 39}));
    EXPECT_EQ(gf_stepBack(gf_stepForward({5, 20}, 200), 200), (TimeOfWeek{5, 20}));
}

TEST(TimeOfWeek, WordIsExchangedWhole) {
    gf_storeTimeOfWeek({6, 33});
    EXPECT_EQ(gf_loadTimeOfWeek(), (TimeOfWeek{6, 33}));
}

TEST(Clock, ManualClockStandsStillAndSleepsAdvanceIt) {
    ManualClock mc;
    gf_useManualClock(&mc);
    const SteadyTime t0 = gf_steadyNow();
    const int64_t e0 = gf_epochSeconds();
    EXPECT_EQ(gf_steadyNow(), t0);
    gf_sleepFor(milliseconds(30'000));  // returns at once
    EXPECT_EQ(gf_steadyNow() - t0, milliseconds(30'000));
    EXPECT_EQ(gf_epochSeconds() - e0, 30);
    gf_useManualClock(nullptr);
    EXPECT_NE(gf_steadyNow(), t0 + milliseconds(30'000));
    // Without it a pause really waits, down to the 1 ms turn of SimClient's loop.
    const auto before = std::chrono::steady_clock::now();
    gf_sleepFor(milliseconds(1));
    EXPECT_GE(std::chrono::steady_clock::now() - before, milliseconds(1));
}
