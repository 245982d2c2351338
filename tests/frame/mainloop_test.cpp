#include <gtest/gtest.h>

#include <algorithm>

#include "common/clock.h"
#include "common/timeofweek.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "frame/links_seam.h"
#include "frame/mainloop.h"
#include "service/client.h"
#include "service/state.h"
#include "support/fixture.h"

// Drives the schedule slice by slice: a tick is "delivered" by setting tickPending, as SimClient does.
class ScheduleTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_useManualClock(&clock_);
        links::setTrace(&trace_);
        links::answers = {};
        run.simRunning = true;
    }
    void TearDown() override {
        links::setTrace(nullptr);
        links::answers = {};
        ZarkTest::TearDown();
    }
    // One tick: a slice with tickPending set. Returns the steps it asked for.
    std::vector<std::string> tick() {
        trace_.clear();
        run.tickPending = true;
        lf_slice();
        return trace_;
    }
    void tickTo(int32_t t) {
        while (loop.tickCount < t) tick();
    }
    static bool has(const std::vector<std::string>& steps, const std::string& step) {
        return std::find(steps.begin(), steps.end(), step) != steps.end();
    }
    ManualClock clock_;
    std::vector<std::string> trace_;
};

TEST_F(ScheduleTest, SlicesRunWithoutTicksAndTicksOnlyWhenDeliveredMergedTicksOnce) {
    for (int i = 0; i < 500; ++i) lf_slice();
    EXPECT_EQ(loop.tickCount, 0);
    EXPECT_TRUE(has(trace_, "moveAircraft"));
    run.tickPending = true;
    run.tickPending = true;  // a second delivery while the slice was busy
    lf_slice();
    lf_slice();
    EXPECT_EQ(loop.tickCount, 1);
    EXPECT_FALSE(run.tickPending);
}

TEST_F(ScheduleTest, MultipleOfFifteenAndSixteenRunsOnlyTheFifteenBranch) {
    tickTo(239);
    const auto steps = tick();  // T = 240
    EXPECT_EQ(loop.tickCount, 240);
    EXPECT_TRUE(has(steps, "computeQueryBox"));
    EXPECT_FALSE(has(steps, "trackParkAirport"));
    tickTo(255);
    EXPECT_TRUE(has(tick(), "trackParkAirport"));  // T = 256: 16 off the 15 grid
}

TEST_F(ScheduleTest, SixtyOneStepRunsOffTheFifteenGridWithParkedAircraft) {
    links::answers.parkedTableEmpty = false;
    tickTo(60);
    EXPECT_TRUE(has(tick(), "removeParkedDuplicates"));  // T = 61
    tickTo(914);
    EXPECT_FALSE(has(tick(), "removeParkedDuplicates"));  // T = 915 = 15 * 61
    links::answers.parkedTableEmpty = true;
    tickTo(975);
    EXPECT_FALSE(has(tick(), "removeParkedDuplicates"));  // T = 976 = 16 * 61, nothing parked
}

TEST_F(ScheduleTest, RenewalMinutesCountDownAndWrap) {
    std::vector<int> shown;
    for (int t = 60; t <= 1260; t += 60) {
        tickTo(t);
        shown.push_back(panel.minutesToRenewal);
    }
    const std::vector<int> expected = {19, 18, 17, 16, 15, 14, 13, 12, 11, 10, 9, 8, 7, 6, 5, 4, 3, 2, 1, 20, 19};
    EXPECT_EQ(shown, expected);
}

TEST_F(ScheduleTest, ParkingUpdateRequestedAt1200StartsByTheNextFifteen) {
    panel.atParkAirport = true;
    tickTo(1200);
    EXPECT_TRUE(run.parkUpdateRequested);
    EXPECT_FALSE(run.parkUpdateArmed);
    tickTo(1215);
    EXPECT_TRUE(run.parkUpdateArmed);  // phase one: parked traffic asked for
    EXPECT_TRUE(run.parkingBusy);
    tickTo(1229);
    links::answers.renewParking = true;
    run.ptOnlySwitched = true;
    const auto steps = tick();  // T = 1230: phase two
    EXPECT_TRUE(has(steps, "renewParking"));
    EXPECT_FALSE(run.parkUpdateRequested);
    EXPECT_FALSE(run.parkUpdateArmed);
    EXPECT_FALSE(run.ptOnlySwitched);
}

TEST_F(ScheduleTest, NoParkingUpdateAwayFromAParkAirportOrWithInitialLoadOnly) {
    tickTo(1200);
    EXPECT_FALSE(run.parkUpdateRequested);
    panel.atParkAirport = true;
    INITIAL_LOAD_ONLY.current = true;
    tickTo(2400);
    EXPECT_FALSE(run.parkUpdateRequested);
    RT_PARKTRAFFIC_ONLY.current = true;  // the service's parked traffic is renewed all the same
    tickTo(3600);
    EXPECT_TRUE(run.parkUpdateRequested);
}

TEST_F(ScheduleTest, FlightNotRunningStopsTrafficAndResumes) {
    links::setTrace(&trace_);
    links::setAcceptTraffic(true);  // as mainLoop leaves it on entry
    run.simRunning = false;
    for (int i = 0; i < 250; ++i) lf_slice();
    EXPECT_FALSE(service.acceptTraffic);
    EXPECT_TRUE(run.flightNotRunningSeen);
    EXPECT_EQ(loop.tickCount, 0);                                               // no tick work in this state
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "recountAircraft"), 2);  // once a second
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "clearPendingUpdates"), 1);
    EXPECT_TRUE(logHas(" Flight not running\n"));
    run.simRunning = true;
    const auto steps = tick();
    EXPECT_TRUE(has(steps, "setAcceptTraffic"));
    EXPECT_FALSE(run.flightNotRunningSeen);
    EXPECT_TRUE(service.acceptTraffic);
    EXPECT_TRUE(logHas(" Flight resumed\n"));
}

TEST_F(ScheduleTest, EngineSlicePacesRemovalCreationAndRangeRequests) {
    loop.slice = 0;
    for (int i = 0; i < 100; ++i) lf_slice();
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "removeNextObject"), 10);       // every 100 ms
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "createNextLive"), 2);          // every 500 ms
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "requestAircraftInRange"), 1);  // every second
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "requestUserSnapshot"), 1);
    trace_.clear();
    run.requestFailed = true;
    for (int i = 0; i < 100; ++i) lf_slice();
    EXPECT_EQ(std::count(trace_.begin(), trace_.end(), "requestAircraftInRange"), 0);
}

TEST_F(ScheduleTest, ReaderStoppedEndsTheRunAtTheNextThirtyTicks) {
    run.readerStopped = true;
    tickTo(30);
    EXPECT_EQ(gf_messageLine().error, "1001: RT error");
    ASSERT_FALSE(exitRequests_.empty());
    EXPECT_EQ(exitRequests_.back(), std::make_pair(5, 0));
}

// On the ground near, high up far, between them by the nearest listed airport (rounded, plus 3); the query
// box is asked for anew only when the range changes.
TEST_F(ScheduleTest, AutoRangeNearFarAndBetween) {
    const struct {
        bool onGround;
        double altitudeFt, nearestNm;  // nearestNm 0: as it was
        int32_t range;
    } rows[] = {{true, 0, 0, 8},         {false, 25000, 0, 40},   {false, 5000, 4.9, 8},
                {false, 5000, 20.4, 23}, {false, 5000, 36.9, 40}, {false, 5000, 37.0, 40}};
    for (const auto& r : rows) {
        SCOPED_TRACE(r.range);
        links::answers.userOnGround = r.onGround;
        links::answers.userAltitudeFt = r.altitudeFt;
        if (r.nearestNm > 0) links::answers.nearestListedAirportNm = r.nearestNm;
        const int32_t before = LATERAL_RANGE.current;
        trace_.clear();
        gf_autoRange();
        EXPECT_EQ(LATERAL_RANGE.current, r.range);
        EXPECT_EQ(parDerived.radiusMetres, r.range * 1852 + 10000);
        if (&r != rows) {
            EXPECT_EQ(has(trace_, "computeQueryBox"), r.range != before);
        }
    }
    EXPECT_EQ(gf_controlState(LATERAL_RANGE.controlId).text, "40");
}

TEST_F(ScheduleTest, ASilentTimeShiftShowsAndRemovesNothingAndAShiftIsCutToFourWeeks) {
    gf_setTimeShift(1 * 1440 + 10 * 60 + 50, true);
    EXPECT_EQ(TIME_SHIFT_DAYS.current, 1);
    EXPECT_EQ(TIME_SHIFT_HOURS.current, 10);
    EXPECT_EQ(TIME_SHIFT_MINS.current, 50);
    EXPECT_EQ(gf_messageLine().message, "");
    EXPECT_FALSE(has(trace_, "removeAllLive"));
    EXPECT_FALSE(run.parkUpdateRequested);
    EXPECT_NE(readFile(gf_parametersPath()).find("name=\"TIME_SHIFT_HOURS\" value=\"10\""), std::string::npos);
    gf_setTimeShift(40321, false);
    EXPECT_TRUE(logHas("Time shifting is limited to 4 weeks\n"));
    EXPECT_EQ(TIME_SHIFT_DAYS.current, 28);
    EXPECT_EQ(TIME_SHIFT_HOURS.current, 0);
    EXPECT_EQ(TIME_SHIFT_MINS.current, 0);
    EXPECT_EQ(gf_messageLine().message, "Time shifted 40320 minutes");
    EXPECT_TRUE(run.parkUpdateRequested);
    EXPECT_TRUE(has(trace_, "removeAllLive"));
    EXPECT_TRUE(loop.timeShifted);
    trace_.clear();
    gf_setTimeShift(0, false);
    EXPECT_FALSE(loop.timeShifted);
    EXPECT_EQ(gf_messageLine().message, "No time shift");
    EXPECT_TRUE(has(trace_, "removeAllLive"));
}

TEST_F(ScheduleTest, SimTimeFollowsTheSimulatorsClock) {
    SIM_TIME.current = true;
    const double now = static_cast<double>(gf_epochSeconds());
    links::answers.simTimeSeconds = now - 3 * 3600;  // the simulator runs 3 hours behind
    tick();
    EXPECT_EQ(TIME_SHIFT_HOURS.current, 3);
    EXPECT_TRUE(loop.timeShifted);
    links::answers.simTimeSeconds = now - 3 * 3600 + 10;  // moved by less than 30 s: no new shift
    gf_clearMessage();
    tick();
    EXPECT_EQ(gf_messageLine().message, "");
}

TEST_F(ScheduleTest, TimeOfWeekFollowsTheSnapshotOnlyWhileShifted) {
    const int64_t wednesday = 1'767'225'600 + 6 * 86400 + 13 * 3600 + 45 * 60;  // 2026-01-07 13:45 UTC
    const TimeOfWeek wall = gf_timeOfWeekAt(gf_utcNow()), shifted{3, 27};
    ASSERT_NE(wall, shifted);
    const struct {
        bool timeShifted;
        int64_t snapshot;
        TimeOfWeek expected;
    } cases[] = {{false, wednesday, wall}, {true, 0, wall}, {true, wednesday, shifted}};
    for (const auto& c : cases) {
        loop.timeShifted = c.timeShifted;
        trafficReader.lastTrafficTime = static_cast<double>(c.snapshot);
        gf_computeTimeOfWeek();
        EXPECT_EQ(gf_loadTimeOfWeek(), c.expected) << c.timeShifted << " " << c.snapshot;
    }
}

TEST_F(ScheduleTest, UnmatchedAircraftAreForgottenOnlyWhenTheUserAsks) {
    tickTo(29);
    EXPECT_FALSE(has(tick(), "forgetNoMatchAircraft"));  // T = 30: nobody asked
    run.forgetNoMatchRequested = true;
    tickTo(59);
    EXPECT_TRUE(has(tick(), "forgetNoMatchAircraft"));  // T = 60: served
    EXPECT_FALSE(run.forgetNoMatchRequested);
    tickTo(89);
    EXPECT_FALSE(has(tick(), "forgetNoMatchAircraft"));  // T = 90: once per request
}

// "Re-read" is served on the 15 grid, only when asked, and once.
TEST_F(ScheduleTest, ReReadIsServedOnlyWhenAsked) {
    tickTo(14);
    EXPECT_FALSE(has(tick(), "reReadParkAirports"));  // T = 15: nobody asked
    run.reReadRequested = true;
    tickTo(29);
    EXPECT_TRUE(has(tick(), "reReadParkAirports"));  // T = 30: served
    EXPECT_FALSE(run.reReadRequested);
    tickTo(44);
    EXPECT_FALSE(has(tick(), "reReadParkAirports"));  // T = 45: once per request
}
