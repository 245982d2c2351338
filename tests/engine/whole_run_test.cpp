// Whole runs of the recorded Zurich flights through the program and the simulator double, in process:
// what the simulator shows must be the real flights, 30 s late, under installed liveries.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>

#include <fmt/format.h>

#include "common/geo.h"
#include "frame/links.h"
#include "liveries/dbase.h"
#include "simlink/user.h"
#include "support/fixture.h"
#include "tools/harness/harness.h"

namespace {

constexpr double kDelayS = 30.0;
constexpr int64_t kRunMs = 15 * 60 * 1000;  // flights 0 to 9 begin in these 15 minutes (one every 97 s)
constexpr size_t kFewestPoints = 20;        // track points (one a second) of an object worth measuring
constexpr size_t kWindowPoints = 20;        // flying points over which a delay is fitted along the way
constexpr double kCreationLagS = 4.0;       // placement to the first move: creation pace, scan, 2 s delay
constexpr double kMedianAtBestM = 100.0;    // off the track at the object's own delay
constexpr double kMedianAt30M = 500.0;      // ... and at exactly 30 s: the lag at 250 kt

// The horizontal distance, at each point the double recorded of an object (`most` of them from the
// `from`th on), from where its flight was `delayS` earlier.
std::vector<double> lf_errorsAt(const harness::Harness& h, const simdouble::SimObject& o, int flight, double delayS,
                                bool airborneOnly = false, size_t from = 0, size_t most = SIZE_MAX) {
    std::vector<double> metres;
    size_t i = 0;
    for (const simdouble::TrackPoint& p : o.track) {
        if ((airborneOnly && p.onGround) || i++ < from) continue;
        if (i - from > most) break;
        const auto then = h.recordedPosition(static_cast<size_t>(flight), h.utcAtSimMs(p.atMs) - delayS);
        if (then) metres.push_back(gf_distanceNm({p.latitude, p.longitude}, *then) * 1852.0);
    }
    return metres;
}

double lf_median(std::vector<double> v) {
    if (v.empty()) return 0.0;
    std::nth_element(v.begin(), v.begin() + static_cast<long>(v.size() / 2), v.end());
    return v[v.size() / 2];
}

// The delay, in half seconds, at which the flying object lies closest to its recorded flight (by the
// median); on the ground, where aircraft stand and roll slowly, any delay fits about as well.
double lf_bestDelay(const harness::Harness& h, const simdouble::SimObject& o, int flight, size_t from = 0,
                    size_t most = SIZE_MAX) {
    double best = 0.0, bestMedian = 1e12;
    for (double d = 10.0; d <= 45.0; d += 0.5) {
        const double m = lf_median(lf_errorsAt(h, o, flight, d, true, from, most));
        if (m < bestMedian) {
            bestMedian = m;
            best = d;
        }
    }
    return best;
}

class WholeRunTest : public ZarkTest {
protected:
    harness::Options options() const { return harness::gf_zurichOptions(gf_sourceDir(), gf_binaryDir()); }
    // Every object's track beside its recorded flight 30 s earlier, to be looked at when a test fails.
    void exportTracks(const harness::Harness& h) {
        std::ofstream out(root_ / "tracks.csv");
        out << "tail,object,simMs,lat,lon,alt,recordedLat,recordedLon\n";
        for (const simdouble::SimObject* o : h.aiObjects()) {
            const int flight = h.flightOfCallsign(o->tail);
            for (const simdouble::TrackPoint& p : o->track) {
                const auto then = flight < 0
                                      ? std::nullopt
                                      : h.recordedPosition(static_cast<size_t>(flight), h.utcAtSimMs(p.atMs) - kDelayS);
                out << fmt::format("{},{},{},{:.6f},{:.6f},{:.0f},{:.6f},{:.6f}\n", o->tail, o->id, p.atMs, p.latitude,
                                   p.longitude, p.altitude, then ? then->lat : 0.0, then ? then->lon : 0.0);
            }
        }
        ADD_FAILURE() << "tracks written to " << (root_ / "tracks.csv");
    }
};

// Live snapshots only, or the history first as the program starts, its loop some seconds later.
struct RunStart {
    const char* name;
    bool history;
    int64_t startupMs;
};

class WholeRunStartTest : public WholeRunTest, public ::testing::WithParamInterface<RunStart> {};

TEST_P(WholeRunStartTest, RecordedFlightsAppearUnderInstalledTitlesAndFollowTheirTracks30SecondsLate) {
    harness::Options options = this->options();
    options.history = GetParam().history;
    options.startupMs = GetParam().startupMs;
    harness::Harness h(options);
    ASSERT_TRUE(h.start());
    h.runFor(kRunMs);
    const auto objects = h.aiObjects();
    ASSERT_TRUE(h.removeAllAndSettle());

    const auto& installed = h.sim().scenario().titles;
    for (const simdouble::SimObject* o : objects) {
        SCOPED_TRACE(o->tail);
        EXPECT_NE(std::find(installed.begin(), installed.end(), o->title), installed.end()) << o->title;
        EXPECT_GE(h.flightOfCallsign(o->tail), 0);
        EXPECT_GE(o->removedMs, 0) << "still in the simulator";
    }
    EXPECT_GE(objects.size(), 6u);

    // Each object lies on its flight as it was 30 s earlier, plus the seconds its creation took: it is
    // placed 1 s before its first sample is due and moves only once the simulator has made it.
    size_t measured = 0, flying = 0;
    for (const simdouble::SimObject* o : objects) {
        SCOPED_TRACE(fmt::format("{} object {}", o->tail, o->id));
        const int flight = h.flightOfCallsign(o->tail);
        if (flight < 0 || o->track.size() < kFewestPoints) continue;
        ++measured;
        EXPECT_LT(lf_median(lf_errorsAt(h, *o, flight, kDelayS)), kMedianAt30M);
        const size_t airborne = lf_errorsAt(h, *o, flight, kDelayS, true).size();
        if (airborne < kFewestPoints) continue;
        ++flying;
        const double delay = lf_bestDelay(h, *o, flight);
        EXPECT_NEAR(delay, kDelayS + kCreationLagS / 2, kCreationLagS / 2);  // 30 s to 30 s + creation lag
        EXPECT_LT(lf_median(lf_errorsAt(h, *o, flight, delay, true)), kMedianAtBestM);
        // Born in the air, it keeps that delay from its first seconds on, also when it was born from the
        // history's older snapshots. (A take-off's wide slack may leave one born on the ground later.)
        if (o->track.front().onGround) continue;
        for (size_t from = 0; from + kWindowPoints <= airborne; from += kWindowPoints / 2)
            EXPECT_NEAR(lf_bestDelay(h, *o, flight, from, kWindowPoints), kDelayS + kCreationLagS / 2,
                        kCreationLagS / 2)
                << "from point " << from;
    }
    EXPECT_GE(measured, 10u);
    EXPECT_GE(flying, 3u);
    if (HasFailure()) exportTracks(h);
}

INSTANTIATE_TEST_SUITE_P(Starts, WholeRunStartTest,
                         ::testing::Values(RunStart{"LiveSnapshots", false, 0}, RunStart{"HistoryFirst", true, 1000},
                                           RunStart{"HistoryAfterSlowStartUp", true, 8000}),
                         [](const ::testing::TestParamInfo<RunStart>& info) { return std::string(info.param.name); });

// A type the database does not know never becomes an aircraft; an airline it does not know flies like any
// other, and one whose type has no livery is named in the log's "No match found for" list. The others fly.
TEST_F(WholeRunTest, UnknownTypesAndAirlinesCostOnlyTheirOwnAircraft) {
    harness::Options o = options();
    auto& flights = o.traffic.flights;
    flights.at(1).type = "XX99";  // AFR181L
    flights.at(1).reg.clear();
    flights.at(12).callsign = "QQQ879";  // a B789, whose registration would name its airline
    flights.at(12).reg.clear();
    flights.at(3).callsign = "QQQ570";  // an A320
    flights.at(3).reg.clear();
    o.liveriesFile = false;
    o.typesWithoutLivery = {"B789"};
    harness::Harness h(o);
    ASSERT_TRUE(h.start());
    h.runFor(8 * 60 * 1000);
    links::logNoMatch();
    ASSERT_TRUE(h.removeAllAndSettle());

    EXPECT_EQ(h.objectWithTail("AFR181L"), nullptr);
    EXPECT_EQ(h.objectWithTail("QQQ879"), nullptr);
    EXPECT_TRUE(logHas("\nNo match found for: \nQQQ B789 \n"));
    ASSERT_NE(h.objectWithTail("QQQ570"), nullptr);
    EXPECT_EQ(h.objectWithTail("QQQ570")->title, "Generic A320");
    for (const char* flying : {"CAI3208", "SWR137H", "SWR75C"}) EXPECT_NE(h.objectWithTail(flying), nullptr) << flying;
}

// The user stands on the taxiway to B34 where CAI3208 passes after landing, among the other recorded
// traffic. No aircraft comes closer to him than the ground clearance, less what it rolls in the second
// between two checks; and no two aircraft on the ground overlap where their recordings did not.
TEST_F(WholeRunTest, NothingComesCloserThanTheClearanceToTheUserOrOverlapsOnTheGround) {
    constexpr double kMetresPerNm = 1852.0;
    constexpr double kRollPerCheckM = 15.0;  // 30 kt for the second between two checks
    constexpr double kPassingM = 50.0;       // beyond the clearance: the traffic did come by
    harness::Options o = options();
    o.sim.user.latitude = 47.455258;  // CAI3208 400 s into its recording, taxiing
    o.sim.user.longitude = 8.554054;
    harness::Harness h(o);
    ASSERT_TRUE(h.start());
    user.userHalfSpan = gf_halfWingspan("A320");  // the harness runs no start-up that asks for his model
    h.runFor(20 * 60 * 1000);

    const LatLon userAt{o.sim.user.latitude, o.sim.user.longitude};
    const auto halfSpanM = [&](int flight) {
        return gf_halfWingspan(o.traffic.flights.at(static_cast<size_t>(flight)).type) * kMetresPerNm;
    };
    struct Seen {
        int flight;
        LatLon at;
    };
    std::map<int64_t, std::vector<Seen>> onGroundBySecond;
    double nearestM = 1e9;
    for (const simdouble::SimObject* a : h.aiObjects()) {
        const int flight = h.flightOfCallsign(a->tail);
        ASSERT_GE(flight, 0) << a->tail;
        for (const simdouble::TrackPoint& p : a->track) {
            if (!p.onGround) continue;
            const LatLon at{p.latitude, p.longitude};
            const double clearanceM = (*user.userHalfSpan * kMetresPerNm + halfSpanM(flight)) * 1.1;
            const double beyondM = gf_distanceNm(userAt, at) * kMetresPerNm - clearanceM;
            EXPECT_GT(beyondM, -kRollPerCheckM) << a->tail << " at " << p.atMs << " ms";
            nearestM = std::min(nearestM, beyondM);
            onGroundBySecond[p.atMs / 1000].push_back({flight, at});
        }
    }
    EXPECT_LT(nearestM, kPassingM);

    // SWR75C's recorded fixes on the ground scatter by hundreds of metres from one second to the next:
    // where it is shown is nowhere in particular.
    const int scattered = h.flightOfCallsign("SWR75C");
    for (const auto& [second, here] : onGroundBySecond)
        for (size_t i = 0; i < here.size(); ++i)
            for (size_t j = i + 1; j < here.size(); ++j) {
                const Seen& a = here[i];
                const Seen& b = here[j];
                if (a.flight == b.flight || a.flight == scattered || b.flight == scattered) continue;
                const double spansM = halfSpanM(a.flight) + halfSpanM(b.flight);
                if (gf_distanceNm(a.at, b.at) * kMetresPerNm >= spansM) continue;
                const double then = h.utcAtSimMs(second * 1000) - kDelayS;
                const auto ra = h.recordedPosition(static_cast<size_t>(a.flight), then);
                const auto rb = h.recordedPosition(static_cast<size_t>(b.flight), then);
                ASSERT_TRUE(ra && rb);
                EXPECT_LT(gf_distanceNm(*ra, *rb) * kMetresPerNm, spansM + kRollPerCheckM)
                    << o.traffic.flights.at(static_cast<size_t>(a.flight)).callsign << " and "
                    << o.traffic.flights.at(static_cast<size_t>(b.flight)).callsign << " overlap at " << second << " s";
            }
    if (HasFailure()) exportTracks(h);
}

}  // namespace
