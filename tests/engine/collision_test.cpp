// Aircraft that would touch the user's aircraft or each other go; on adjacent stands the spans decide.
#include <gtest/gtest.h>

#include <vector>

#include "airports/state.h"
#include "common/geo.h"
#include "engine/collision.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "simlink/user.h"

namespace {

constexpr LatLon kUser{47.45, 8.55};
constexpr double kEast = kPi / 2;

LatLon lf_from(LatLon origin, double bearing, double nm) {
    return gf_destinationPoint(origin, bearing, nm * kFeetPerNm);
}

class CollisionTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        user.userSnapshot.latitude = kUser.lat;
        user.userSnapshot.longitude = kUser.lon;
        user.userSnapshot.heading = kEast;
        user.userHalfSpan = 0.01;
    }
    void TearDown() override {
        dbase.wingspans.clear();  // the database outlives a reset
        EngineTest::TearDown();
    }
    // A live aircraft at `at`, on the ground or at `altitude`, of half span 0.01 nm.
    Act& act(uint32_t hexid, LatLon at, bool onGround, double altitude = 0.0) {
        TrafficRecord r = record(hexid, 1000.0, 100);
        r.latitude = at.lat;
        r.longitude = at.lon;
        r.airborne = !onGround;
        r.altitude = onGround ? 0.0 : altitude;
        Act& a = liveAct(r, onGround ? ActPhase::Taxi : ActPhase::Airborne, hexid);
        a.halfSpan = 0.01;
        return a;
    }
    ParkedAc& parked(uint32_t serial, LatLon stand, const std::string& model = "A320", uint32_t sid = 0) {
        ParkedAc p;
        p.hexid = serial;
        p.objectId = 500 + serial;
        p.callsign = "PK" + std::to_string(serial) + "*";
        p.model = model;
        p.halfSpan = 0.01;
        p.standLat = stand.lat;
        p.standLon = stand.lon;
        p.sid = sid;
        p.state = ActState::Live;
        engine.parked.push_back(p);
        return engine.parked.back();
    }
};

TEST_F(CollisionTest, TheUserOnTheGroundClearsOnlyGroundAircraftWithinTheSpansAndAMargin) {
    struct Case {
        const char* what;
        double nm;
        bool onGround;
        ActState state;
        bool removed;
    };
    const Case cases[] = {
        {"two half spans of 0.01 nm at 0.02199 nm", 0.02199, true, ActState::Live, true},
        {"at 0.0221 nm", 0.0221, true, ActState::Live, false},
        {"airborne right above", 0.001, false, ActState::Live, false},
        {"not in the simulator yet", 0.001, true, ActState::Creating, false},
    };
    user.userOnGround = true;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        Act& a = act(0x4b0001, lf_from(kUser, kEast, c.nm), c.onGround, 3000.0);
        a.state = c.state;
        gf_collisionChecks();
        EXPECT_EQ(engine.active[0].state == ActState::Removing, c.removed);
    }
    // Without a known user span the user is a point: the same aircraft at 0.0115 nm stays.
    gf_clearEngineTables();
    user.userHalfSpan.reset();
    act(0x4b0001, lf_from(kUser, kEast, 0.0115), true);
    gf_collisionChecks();
    EXPECT_EQ(engine.active[0].state, ActState::Live);
}

TEST_F(CollisionTest, AUserStandingStillDoesNotLookAtTheParkedAircraftAgain) {
    user.userOnGround = true;
    parked(1, lf_from(kUser, 0.0, 0.015));
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[0].state, ActState::Removing);
    // Created next to him while he stands: it stays, until he moves.
    parked(2, lf_from(kUser, kPi, 0.015));
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[1].state, ActState::Live);
    user.userSnapshot.latitude += 0.00001;
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[1].state, ActState::Removing);
    // And the switch turns the check off.
    COLLISION_USER_GND.current = false;
    parked(3, lf_from(kUser, kPi, 0.001));
    user.userSnapshot.latitude += 0.00001;
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[2].state, ActState::Live);
}

TEST_F(CollisionTest, TheUserInTheAirClearsWhatLiesOnHisLineOrFliesAcrossHim) {
    struct Case {
        const char* what;
        double agl;
        double bearing;  // from the user to the aircraft
        double nm;
        bool onGround;
        double altitude;  // the user flies at 3000 ft
        double heading;   // of the aircraft
        bool removed;
    };
    const double west = 3 * kPi / 2;
    const Case cases[] = {
        {"agl 499, on the ground 0.9 nm ahead on his line", 499, kEast, 0.9, true, 0, 0, true},
        {"agl 500: it stays", 500, kEast, 0.9, true, 0, 0, false},
        {"agl 499, 1.1 nm ahead", 499, kEast, 1.1, true, 0, 0, false},
        {"agl 499, 0.9 nm ahead 60 ft off his line", 499, kEast + 60.0 / (0.9 * kFeetPerNm), 0.9, true, 0, 0, false},
        {"3 nm ahead flying at him, 900 ft higher", 2000, kEast, 3.0, false, 3900, west, true},
        {"the same 1000 ft higher", 2000, kEast, 3.0, false, 4000, west, false},
        {"4.1 nm ahead flying at him", 2000, kEast, 4.1, false, 3000, west, false},
        {"3 nm ahead flying north: he is far off its line", 2000, kEast, 3.0, false, 3000, 0.0, false},
    };
    user.userOnGround = false;
    user.userSnapshot.altitude = 3000.0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        user.userSnapshot.agl = c.agl;
        Act& a = act(0x4b0002, lf_from(kUser, c.bearing, c.nm), c.onGround, c.altitude);
        a.heading = c.heading;
        a.altitude = c.altitude;
        gf_collisionChecks();
        EXPECT_EQ(engine.active[0].state == ActState::Removing, c.removed);
    }
}

TEST_F(CollisionTest, ATaxiingAircraftClearsTheParkedOneOnItsWayOnlyWhenItMoved) {
    COLLISION_LIVE_PARKED_GND.current = true;
    user.userOnGround = false;
    user.userSnapshot.agl = 3000.0;
    user.userSnapshot.altitude = 30000.0;
    const LatLon at = lf_from(kUser, 0.0, 5.0);
    Act& taxiing = act(0x4b0003, at, true);
    taxiing.callsign = "SWR7";
    gf_collisionChecks();  // nothing parked yet; its position is looked at from now on
    parked(4, lf_from(at, kEast, 0.02));
    engine.active[0].lastCheckLat = at.lat;
    engine.active[0].lastCheckLon = at.lon;
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[0].state, ActState::Live) << "it has not moved since the last check";
    engine.active[0].latitude += 0.000001;
    gf_collisionChecks();
    EXPECT_EQ(engine.parked[0].state, ActState::Removing);
    EXPECT_TRUE(logHas(": PK4*     removed for collision avoidance with live SWR7")) << logText();
}

// Two stands listed as adjacent; whether the aircraft on them overlap is the two models' business.
TEST_F(CollisionTest, OnAdjacentStandsTheSpansDecideWhoStays) {
    dbase.wingspans["A320"] = 0.0097;
    dbase.wingspans["B77W"] = 0.0175;
    const double span = 0.0097 + 0.0175;
    struct Case {
        const char* what;
        double gapNm;
        const char* otherModel;
        bool sameCallsign;
        bool overlap;  // the two spans are wider than the gap
    };
    const Case cases[] = {
        {"A320 beside a B77W, a little closer than their spans", span * 0.999, "B77W", false, true},
        {"a little farther", span * 1.001, "B77W", false, false},
        {"two A320 at the same gap", span * 0.999, "A320", false, false},
        {"the newcomer's own callsign on the adjacent stand blocks nothing", span * 0.5, "B77W", true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        gf_resetAirports();
        airports.stands.resize(2);
        airports.stands[0].name = "A1";
        airports.stands[0].latitude = kUser.lat;
        airports.stands[0].longitude = kUser.lon;
        const LatLon next = lf_from(kUser, kEast, c.gapNm);
        airports.stands[1].name = "A2";
        airports.stands[1].latitude = next.lat;
        airports.stands[1].longitude = next.lon;
        Act& newcomer = act(0x4b0010, kUser, true);
        newcomer.callsign = "SWR1";
        Act& other = act(0x4b0011, next, true);
        other.model = c.otherModel;
        other.callsign = c.sameCallsign ? "SWR1" : "DLH2";
        other.phase = ActPhase::AtStand;
        other.sid = 2;
        const Stand& stand = airports.stands[0];
        EXPECT_EQ(lf_adjacentRefusesNewcomer(2, engine.active[0], stand, engine.active[1]),
                  c.overlap && !c.sameCallsign);
        // Not on the adjacent stand, or not standing: no concern of the rules.
        EXPECT_FALSE(lf_adjacentRefusesNewcomer(1, engine.active[0], stand, engine.active[1]));
        EXPECT_EQ(lf_adjacentMakesPlace(2, engine.active[0], stand, engine.active[1]), c.overlap);
        EXPECT_EQ(engine.active[1].state == ActState::Removing, c.overlap);
        ParkedAc& p = parked(5, next, c.otherModel, 2);
        EXPECT_EQ(lf_parkedAdjacentMakesPlace(2, engine.active[0], stand, p), c.overlap);
        EXPECT_EQ(engine.parked[0].state == ActState::Removing, c.overlap);
    }
    // An airport whose stand list came empty (or was left meanwhile): no adjacent stand, nobody goes.
    const Stand kept = airports.stands[0];
    gf_resetAirports();
    engine.active[1].state = ActState::Live;
    engine.parked[0].state = ActState::Live;
    EXPECT_FALSE(lf_adjacentRefusesNewcomer(2, engine.active[0], kept, engine.active[1]));
    EXPECT_FALSE(lf_adjacentMakesPlace(2, engine.active[0], kept, engine.active[1]));
    EXPECT_FALSE(lf_parkedAdjacentMakesPlace(2, engine.active[0], kept, engine.parked[0]));
    EXPECT_EQ(engine.active[1].state, ActState::Live);
    EXPECT_TRUE(logHas("A1      : DLH2     at adjacent and colliding, A2 blocks live SWR1 parking")) << logText();
    EXPECT_TRUE(logHas("A1      : DLH2     removed by adjacent parking SWR1 A2")) << logText();
    EXPECT_TRUE(logHas("A1      : PK5*     removed by adjacent parking SWR1 at 2")) << logText();
}

}  // namespace
