// Whole legs of recorded Zurich flights through the program and the simulator double: an arrival flares,
// touches down softly, rolls out, turns off, taxis and parks on its stand with the stand's heading; a
// departure is pushed back tail first, holds, taxis, takes off and climbs away, and when its data end it
// flies on a little and then goes. A failing case writes the double's track of the object as CSV.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <vector>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/geo.h"
#include "engine/state.h"
#include "support/fixture.h"
#include "tools/harness/harness.h"

namespace {

constexpr double kFieldFt = 1416.0;      // the double's terrain
constexpr double kStandWithinM = 2.0;    // parked on the stand ...
constexpr double kStandWithinDeg = 3.0;  // ... with its heading
constexpr double kSoftSinkFpm = 300.0;   // over the last second before the wheels touch
constexpr double kPushSeenMetres = 5.0;  // movement that tells which way the aircraft leaves

// The flight begins `seconds` earlier on the line it first flies, on a 3 degree slope up from its first point.
void lf_layApproach(tdbl::Flight& f, double seconds) {
    const tdbl::TrackPoint first = f.points.front();
    const double feetPerS = first.groundSpeedKt * 6076.11549 / 3600.0;
    std::vector<tdbl::TrackPoint> before;
    for (double t = seconds; t >= 1.0; t -= 1.0) {
        tdbl::TrackPoint p = first;
        const LatLon at = gf_destinationPoint({first.lat, first.lon}, first.trackDeg * kDegToRad + kPi, t * feetPerS);
        p.lat = at.lat;
        p.lon = at.lon;
        p.baroAltFt = first.baroAltFt + t * feetPerS * std::tan(3.0 * kDegToRad);
        p.t = seconds - t;
        before.push_back(p);
    }
    for (tdbl::TrackPoint& p : f.points) p.t += seconds;
    f.points.insert(f.points.begin(), before.begin(), before.end());
    f.durationS += seconds;
}

struct LegCase {
    const char* callsign;
    double approachS;              // laid before the recording
    const char* stand;             // where an arrival must park; "" for none
    bool pushBack;                 // leaves its stand tail first
    double climbFt;                // above the field before its data end; 0: not asked
    int64_t seconds;               // of replay, the 30 s delay included
    std::vector<ActPhase> phases;  // the phases the aircraft must pass, in this order
};

class WholeLegTest : public ZarkTest, public ::testing::WithParamInterface<LegCase> {
protected:
    // The Zurich scenario with only this flight, replayed from the harness's start. An arrival recorded
    // from less than the live delay before touchdown would be placed on the runway: its approach is laid
    // back along its first track on a 3 degree slope for `approachS` seconds.
    harness::Options onlyFlight(const std::string& callsign, double approachS = 0.0) const {
        harness::Options o = harness::gf_zurichOptions(gf_sourceDir(), gf_binaryDir());
        auto& flights = o.traffic.flights;
        const auto keep =
            std::find_if(flights.begin(), flights.end(), [&](const tdbl::Flight& f) { return f.callsign == callsign; });
        EXPECT_NE(keep, flights.end());
        const tdbl::Flight flight = *keep;
        flights.assign(1, flight);
        if (approachS > 0.0) lf_layApproach(flights[0], approachS);
        o.traffic.parked.clear();
        o.liveriesFile = false;  // a generic livery for every type
        return o;
    }
    static void writeTrack(const simdouble::SimObject& o, const std::string& name) {
        const auto path = gf_binaryDir() / "tests" / fmt::format("{}_track.csv", name);
        std::ofstream out(path);
        out << "atMs,lat,lon,altFt,pitchDeg,bankDeg,headingDeg,onGround\n";
        for (const simdouble::TrackPoint& p : o.track)
            out << fmt::format("{},{:.7f},{:.7f},{:.1f},{:.2f},{:.2f},{:.1f},{}\n", p.atMs, p.latitude, p.longitude,
                               p.altitude, p.pitch * kRadToDeg, p.bank * kRadToDeg, p.heading * kRadToDeg, p.onGround);
        ADD_FAILURE() << "track written to " << path;
    }
};

double lf_metres(LatLon a, LatLon b) { return gf_distanceNm(a, b) * 1852.0; }

// Sink rates over the last second before each touchdown the double saw, feet per minute.
std::vector<double> lf_touchdownSinks(const simdouble::SimObject& o) {
    std::vector<double> sinks;
    for (size_t i = 1; i < o.track.size(); ++i) {
        if (o.track[i - 1].onGround || !o.track[i].onGround) continue;
        for (size_t j = i; j-- > 0;)
            if (o.track[i].atMs - o.track[j].atMs >= 1000) {
                const double minutes = static_cast<double>(o.track[i].atMs - o.track[j].atMs) / 60000.0;
                sinks.push_back((o.track[j].altitude - o.track[i].altitude) / minutes);
                break;
            }
    }
    return sinks;
}

// Whether the first movement of the object away from where it was made is tail first.
bool lf_leavesBackwards(const simdouble::SimObject& o) {
    const LatLon from{o.track.front().latitude, o.track.front().longitude};
    for (const simdouble::TrackPoint& p : o.track) {
        const LatLon at{p.latitude, p.longitude};
        if (lf_metres(from, at) < kPushSeenMetres) continue;
        return std::fabs(gf_angleDiff(p.heading, gf_bearing(from, at))) > kPi / 2.0;
    }
    return false;
}

TEST_P(WholeLegTest, FlightFollowsItsPhasesOnTheGround) {
    const LegCase& c = GetParam();
    {
        harness::Harness h(onlyFlight(c.callsign, c.approachS));
        ASSERT_TRUE(h.start());
        std::vector<ActPhase> seen;
        bool extrapolated = false;
        h.runUntil(
            [&] {
                for (const Act& a : engine.active) {
                    if (a.callsign != c.callsign || a.state != ActState::Live) continue;
                    if (seen.empty() || seen.back() != a.phase) seen.push_back(a.phase);
                    extrapolated = extrapolated || (!a.onGround && a.extrapolation > 0);
                }
                return false;
            },
            c.seconds * 1000);
        const simdouble::SimObject* o = h.objectWithTail(c.callsign);
        ASSERT_NE(o, nullptr);
        ASSERT_FALSE(o->track.empty());

        // The phases in their order, others allowed between them.
        auto at = seen.begin();
        for (ActPhase p : c.phases) {
            at = std::find(at, seen.end(), p);
            EXPECT_NE(at, seen.end()) << "phase " << static_cast<int>(p) << " not passed in order";
        }
        if (*c.stand != '\0') {
            const auto sinks = lf_touchdownSinks(*o);
            EXPECT_FALSE(sinks.empty()) << "no touchdown";
            for (double sink : sinks) EXPECT_LE(sink, kSoftSinkFpm);
            EXPECT_TRUE(logHas(fmt::format("{:8} landed", c.callsign)));
            const auto stand = std::find_if(airports.stands.begin(), airports.stands.end(),
                                            [&](const Stand& s) { return s.name == c.stand; });
            ASSERT_NE(stand, airports.stands.end());
            const simdouble::TrackPoint& rest = o->track.back();
            EXPECT_LE(lf_metres({rest.latitude, rest.longitude}, {stand->latitude, stand->longitude}), kStandWithinM);
            EXPECT_LE(std::fabs(gf_angleDiff(stand->heading, rest.heading)) * kRadToDeg, kStandWithinDeg);
            EXPECT_TRUE(o->onGround);
        }
        if (c.pushBack) {
            EXPECT_TRUE(lf_leavesBackwards(*o));
        }
        if (c.climbFt > 0.0) {
            double highest = 0.0;
            for (const simdouble::TrackPoint& p : o->track) highest = std::max(highest, p.altitude);
            EXPECT_GE(highest - kFieldFt, c.climbFt);
            // The data ended in the air: made-up legs, then the object went.
            EXPECT_TRUE(extrapolated);
            EXPECT_GE(o->removedMs, 0);
        }
        if (HasFailure()) {
            std::string text;
            for (ActPhase p : seen) text += fmt::format("{} ", static_cast<int>(p));
            ADD_FAILURE() << "phases seen: " << text;
            writeTrack(*o, c.callsign);
        }
    }
}

using P = ActPhase;
INSTANTIATE_TEST_SUITE_P(
    Zurich, WholeLegTest,
    ::testing::Values(
        LegCase{"CAI3208", 120, "B34", false, 0, 1100, {P::Airborne, P::Taxi, P::ToStand, P::AtStand}},
        // Its recording ends 14 s after lift-off, 760 ft up: no climb to ask for.
        LegCase{"ENT57BW", 0, "", true, 0, 960, {P::AtStand, P::PushBack, P::HoldAfterPush, P::Taxi, P::TakeOff}},
        LegCase{"SWR137H", 0, "", false, 3000, 800, {P::Taxi, P::TakeOff, P::Airborne}}),
    [](const ::testing::TestParamInfo<LegCase>& info) { return std::string(info.param.callsign); });

}  // namespace
