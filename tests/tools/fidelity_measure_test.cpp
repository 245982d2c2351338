// The fidelity tool's measures: statistics, the replayed recording at a moment, and a shown object held
// against its flight 30 s late.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "tools/fidelity/measure.h"

namespace {

TEST(FidelityStats, MedianAndPercentileByNearestRank) {
    std::vector<double> hundred;
    for (int i = 100; i >= 1; --i) hundred.push_back(i);
    std::rotate(hundred.begin(), hundred.begin() + 37, hundred.end());
    EXPECT_EQ(fidelity::gf_median(hundred), 50.0);
    EXPECT_EQ(fidelity::gf_percentile(hundred, 0.95), 95.0);
    EXPECT_EQ(fidelity::gf_percentile(hundred, 1.0), 100.0);
    EXPECT_EQ(fidelity::gf_median({7.0, 1.0, 3.0}), 3.0);
    EXPECT_EQ(fidelity::gf_percentile({4.0}, 0.95), 4.0);
    EXPECT_EQ(fidelity::gf_median({}), 0.0);
}

constexpr double kStepDeg = 0.0001;  // latitude per recorded second: 11.1 m/s, 21.6 kt
constexpr double kStepM = kStepDeg * 111195.0;

// Two flights; the second runs north on the ground for 60 s from a stand that faces north, after standing
// still there for `stillS` seconds.
tdbl::Scenario lf_scenario(int stillS = 0) {
    tdbl::Scenario s;
    s.replayOriginUnix = 1000;
    s.replayStaggerS = 97.0;
    s.replayGapS = 600.0;
    for (int f = 0; f < 2; ++f) {
        tdbl::Flight flight;
        flight.callsign = f == 0 ? "AAA1" : "BBB2";
        for (int t = 0; t <= 60; ++t) {
            tdbl::TrackPoint p;
            p.t = t;
            p.lat = 47.0 + kStepDeg * std::max(0, t - stillS);
            p.lon = 8.0;
            p.groundSpeedKt = 21.6 + t;
            p.onGround = 1;
            flight.points.push_back(p);
        }
        flight.durationS = 60.0;
        s.flights.push_back(flight);
    }
    return s;
}

TEST(FidelityRecording, ReplayedAtItsStaggeredStartEachCycleAndInterpolated) {
    const tdbl::Scenario s = lf_scenario();
    const double start = 1000.0 + 97.0;  // flight 1
    struct Case {
        double utc;
        bool present;
        double lat, speedKt;
    } cases[] = {
        {start, true, 47.0, 21.6},
        {start + 5.5, true, 47.0 + 5.5 * kStepDeg, 27.1},
        {start + 60.0, true, 47.0 + 60 * kStepDeg, 81.6},
        {start + 61.0, false, 0, 0},  // between two replays
        {start - 1.0, false, 0, 0},
        {start + 660.0 + 2.5, true, 47.0 + 2.5 * kStepDeg, 24.1},  // the next cycle
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.utc);
        const auto p = fidelity::gf_recordedAt(s, 1, c.utc);
        ASSERT_EQ(p.has_value(), c.present);
        if (!p) continue;
        EXPECT_NEAR(p->lat, c.lat, 1e-9);
        EXPECT_NEAR(p->groundSpeedKt, c.speedKt, 1e-9);
    }
}

// An object of flight 1 that the simulator showed every 100 ms, `lagS` behind the recording.
simdouble::SimObject lf_shownObject(const tdbl::Scenario& s, const fidelity::CompareSetup& setup, double lagS) {
    simdouble::SimObject o;
    for (int64_t ms = 0; ms <= 50000; ms += 100) {
        const auto rec = fidelity::gf_recordedAt(s, 1, setup.simEpochUtc + static_cast<double>(ms) / 1000.0 - lagS);
        if (rec) o.track.push_back({ms, rec->lat, rec->lon, 1417.0, 0.0, 0.0, 0.0, true});
    }
    return o;
}

TEST(FidelityCompare, ErrorsAreTakenAgainstTheRecording30SecondsEarlier) {
    const tdbl::Scenario s = lf_scenario();
    const std::vector<fidelity::Stand> stands{{"S1", {47.0, 8.0}, 0.0}};
    fidelity::CompareSetup setup;
    setup.simEpochUtc = 1000.0 + 97.0 + 30.0;  // the object's time 0 shows the flight's first second
    setup.runEndUtc = setup.simEpochUtc + 50.0;
    struct Case {
        double lagS, medianM;
    } cases[] = {{30.0, 0.0}, {29.0, kStepM}, {32.0, 2 * kStepM}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.lagS);
        const simdouble::SimObject o = lf_shownObject(s, setup, c.lagS);
        const fidelity::FlightResult r = fidelity::gf_compareFlight(s, 1, {&o}, stands, setup);
        EXPECT_TRUE(r.airErrM.empty());
        EXPECT_NEAR(fidelity::gf_median(r.groundErrM), c.medianM, 0.2);
        EXPECT_LT(r.worstJumpExcessM, 0.0);
        EXPECT_EQ(r.startStand, "");  // it rolls from its first second: no push back to judge
    }
}

TEST(FidelityCompare, AJumpCountsOverSpeedTimesFrameAndLeavingTailFirstIsAPushBack) {
    const tdbl::Scenario s = lf_scenario(30);  // standing on its stand for the live delay
    const std::vector<fidelity::Stand> stands{{"S1", {47.0, 8.0}, 0.0}};
    fidelity::CompareSetup setup;
    setup.simEpochUtc = 1000.0 + 97.0 + 30.0;
    simdouble::SimObject o = lf_shownObject(s, setup, 30.0);
    // 55.6 m ahead for one frame, 40 s in: 61.6 kt allow 3.17 m a frame, plus 1 m.
    o.track[400].latitude += 0.0005;
    fidelity::FlightResult r = fidelity::gf_compareFlight(s, 1, {&o}, stands, setup);
    EXPECT_EQ(r.startStand, "S1");
    EXPECT_NEAR(r.worstJumpExcessM, (0.0005 + kStepDeg / 10) * 111195.0 - 4.17, 0.3);
    ASSERT_TRUE(r.pushBackwards.has_value());
    EXPECT_FALSE(*r.pushBackwards);  // nose north, rolling north

    for (simdouble::TrackPoint& p : o.track) p.heading = kPi;
    r = fidelity::gf_compareFlight(s, 1, {&o}, stands, setup);
    ASSERT_TRUE(r.pushBackwards.has_value());
    EXPECT_TRUE(*r.pushBackwards);
}

TEST(FidelityCompare, AnObjectLeftParkedIntoTheNextReplayIsMeasuredOnlyAgainstItsOwn) {
    const tdbl::Scenario s = lf_scenario();
    fidelity::CompareSetup setup;
    setup.simEpochUtc = 1000.0 + 97.0 + 30.0;
    simdouble::SimObject o = lf_shownObject(s, setup, 30.0);
    const size_t own = o.track.size();
    // Still standing where it stopped while the next replay (660 s later) starts 490 to 556 m behind it.
    simdouble::TrackPoint parked = o.track.back();
    for (int64_t ms = 660000; ms <= 666000; ms += 100) {
        parked.atMs = ms;
        o.track.push_back(parked);
    }
    const fidelity::FlightResult r = fidelity::gf_compareFlight(s, 1, {&o}, {}, setup);
    EXPECT_EQ(r.groundErrM.size(), own);
    EXPECT_LT(*std::max_element(r.groundErrM.begin(), r.groundErrM.end()), 0.2);
}

}  // namespace
