// The rules of the ground one at a time: which stand an aircraft that stops takes, when a roll-out ends,
// when a take-off begins, and what a height report makes of an aircraft that was not landing.
#include <gtest/gtest.h>

#include "airports/state.h"
#include "common/geo.h"
#include "engine/ground.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "engine_support.h"

namespace {

constexpr uint32_t kHex = 0x4b1614;
constexpr LatLon kStandAt{47.4520, 8.5620};
constexpr double kM = 1.0 / 1852.0;  // nm per metre

class GroundRulesTest : public EngineTest {
protected:
    // One stand north of kStandAt's latitude line, with a radius in metres.
    static Stand& addStand(const char* name, double metresNorth, double radiusM, bool heli = false) {
        Stand s;
        s.name = name;
        const LatLon at = gf_destinationPoint(kStandAt, 0.0, metresNorth / 0.3048);
        s.latitude = at.lat;
        s.longitude = at.lon;
        s.radius = radiusM * kM;
        s.heli = heli;
        airports.stands.push_back(s);
        gf_numberStands(airports.stands);
        return airports.stands.back();
    }
    static Act& taxiing(double halfSpanM, ModelCategory category = ModelCategory::Large) {
        TrafficRecord r = record(kHex, 1000.0, 0);
        r.airborne = false;
        r.altitude = 0.0;
        r.groundSpeed = 10.0;
        r.latitude = kStandAt.lat;
        r.longitude = kStandAt.lon;
        Act& act = liveAct(r, ActPhase::Taxi);
        act.halfSpan = halfSpanM * kM;
        act.category = category;
        return act;
    }
};

TEST_F(GroundRulesTest, AStoppedAircraftFindsTheStandItFits) {
    struct Case {
        const char* what;
        double standNorthM, radiusM, halfSpanM;
        bool wide, knowsCallsign, heliStand;
        ModelCategory category;
        bool found;
        double radiusAfterM;  // of the stand, after the search
    };
    const Case cases[] = {
        {"19 m off, fits", 19, 18, 17, false, false, false, ModelCategory::Large, true, 18},
        {"21 m off, fits, not wide", 21, 18, 17, false, false, false, ModelCategory::Large, false, 18},
        {"3 m too wide, 15 m off: grows", 15, 15, 18, false, false, false, ModelCategory::Large, true, 17},
        {"3 m too wide, 25 m off", 25, 15, 18, true, false, false, ModelCategory::Large, false, 15},
        {"70 m off, its history knows the flight", 70, 18, 17, true, true, false, ModelCategory::Large, true, 18},
        {"70 m off, a stranger", 70, 18, 17, true, false, false, ModelCategory::Large, false, 18},
        {"a helicopter on a gate", 5, 18, 6, false, false, false, ModelCategory::Rotorcraft, false, 18},
        {"an aeroplane on a helipad", 5, 18, 17, false, false, true, ModelCategory::Large, false, 18},
        {"a helicopter on a helipad", 5, 18, 6, false, false, true, ModelCategory::Rotorcraft, true, 18},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        airports.stands.clear();
        engine.active.clear();
        Stand& stand = addStand("B34", c.standNorthM, c.radiusM, c.heliStand);
        if (c.knowsCallsign) stand.options.push_back({"EDW", "A320", "", "SWR12", "", 1, 1, 1, false, false});
        const Act& act = taxiing(c.halfSpanM, c.category);
        const double limit = c.wide ? kSpanTooWideSearchNm : kParkTestNm;
        const Stand* found = gf_searchStandNear(kStandAt, act, limit, c.wide);
        EXPECT_EQ(found != nullptr, c.found);
        EXPECT_NEAR(airports.stands[0].radius / kM, c.radiusAfterM, 1e-6);
    }
}

// The parking test lays the last metres: the stream ends on the stand, stopped, with the stand's heading.
TEST_F(GroundRulesTest, ATaxiingAircraftThatStopsNearAStandRollsOntoIt) {
    const Stand& stand = addStand("A49", 12, 20);
    Act& act = taxiing(17);
    act.slowSpeed = 4.0;
    act.stream.front().stopped = false;
    Sample stop = act.stream.front();
    stop.stopped = true;
    stop.groundSpeed = 0.0;
    stop.dueTick = 500;
    act.stream.push_back(stop);
    ASSERT_TRUE(gf_tryParkAt(act, false));
    EXPECT_EQ(act.phase, ActPhase::ToStand);
    ASSERT_EQ(act.stream.size(), 3u);
    EXPECT_EQ(act.stream[1].latitude, stand.latitude);
    EXPECT_TRUE(act.stream[2].stopped);
    // 12 m at 4 kt is 5.8 s.
    EXPECT_NEAR(act.stream[1].dueTick - act.stream[0].dueTick, 583, 1);
    runSlices(800);
    EXPECT_EQ(act.phase, ActPhase::AtStand);
    EXPECT_NEAR(gf_distanceNm({act.latitude, act.longitude}, {stand.latitude, stand.longitude}) / kM, 0.0, 0.01);
}

TEST_F(GroundRulesTest, RollOutAndTakeOffTriggers) {
    struct Case {
        const char* what;
        double headSpeed, headingOffDeg;
        bool departing, nextClimbs;
        bool rollOutAfter, spoilersIn;
        ActPhase phaseAfter;
    };
    const Case cases[] = {
        {"91 kt on the runway: spoilers stay out", 91, 0, false, false, true, false, ActPhase::Taxi},
        {"90 kt: spoilers in", 90, 0, false, false, true, true, ActPhase::Taxi},
        {"15 degrees off the runway: vacated", 60, 15, false, false, false, true, ActPhase::Taxi},
        {"42 kt, climbing samples: no take-off yet", 42, 0, true, true, false, false, ActPhase::Taxi},
        {"43 kt, climbing samples: take-off", 43, 0, true, true, false, false, ActPhase::TakeOff},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        engine.active.clear();
        Act& act = taxiing(17);
        act.rollOut = !c.departing;
        act.departing = c.departing;
        act.heading = c.headingOffDeg * kDegToRad;
        act.touchdownHeading = 0.0;
        act.stream.front().groundSpeed = c.headSpeed;
        Sample next = act.stream.front();
        next.latitude += 0.001;
        next.dueTick = 300;
        next.airborne = c.nextClimbs;
        next.altitude = c.nextClimbs ? 1500.0 : 0.0;
        next.verticalSpeed = c.nextClimbs ? 1200.0 : 0.0;
        next.groundSpeed = 150.0;
        act.stream.push_back(next);
        gf_setGroundLeg(act);
        EXPECT_EQ(act.rollOut, c.rollOutAfter);
        EXPECT_EQ(act.phase, c.phaseAfter);
        if (!c.departing) {
            EXPECT_EQ(act.flaps == 1 || act.flaps == 0, c.spoilersIn);
        }
    }
}

// A height report of the ground for an aircraft that was placed on the ground only sets it down.
TEST_F(GroundRulesTest, AGroundReportOfAnAircraftThatWasNotLandingIsNoLanding) {
    Act& act = taxiing(17);
    act.onGround = false;
    gf_touchdown(act);
    EXPECT_TRUE(act.onGround);
    EXPECT_FALSE(act.rollOut);
    EXPECT_FALSE(act.landedHere);
    EXPECT_FALSE(logHas("landed"));
    act.onGround = false;
    act.onApproach = true;
    gf_touchdown(act);
    EXPECT_TRUE(act.rollOut);
    EXPECT_TRUE(act.landedHere);
    EXPECT_TRUE(logHas("SWR12    landed"));
}

}  // namespace
