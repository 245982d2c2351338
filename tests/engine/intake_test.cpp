// Which records of a known aircraft enter its stream, at the thresholds of each filter; identity changes.
#include <vector>

#include <gmock/gmock.h>

#include "common/geo.h"
#include "engine/intake.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "service/state.h"
#include "simlink/queues.h"

namespace {

constexpr uint32_t kHex = 0x4b1614;
constexpr double kDegPerNmLon = 1.0 / 60.0 / 0.6769;  // about 47.4 N

class IntakeTest : public EngineTest {};

struct Offer {
    const char* what;
    bool airborne;
    double firstSpeed, firstTrack;
    double dt;  // seconds after the first record
    double speed, track;
    bool kept;
};

TEST_F(IntakeTest, FiltersAtTheirThresholds) {
    const Offer table[] = {
        {"same time stamp", true, 200, 90, 0.0, 200, 95, false},
        {"1.0 s after: a gap too short", true, 200, 90, 1.0, 200, 95, false},
        {"1.01 s after", true, 200, 90, 1.01, 200, 95, true},
        {"6 kt after 60 kt: a jump", true, 60, 90, 10, 6, 95, false},
        {"7 kt after 60 kt", true, 60, 90, 10, 7, 95, true},
        {"4 kt after 60 kt", true, 60, 90, 10, 4, 95, true},
        {"60 kt after 6 kt: a jump", true, 6, 90, 10, 60, 95, false},
        {"80 kt after 5 kt", true, 5, 90, 10, 80, 95, false},
        {"79 kt after 5 kt", true, 5, 90, 10, 79, 95, true},
        {"300 kt steady track, 2.9 s: under 450 m", true, 300, 90, 2.9, 300, 91, false},
        {"300 kt steady track, 2.95 s", true, 300, 90, 2.95, 300, 91, true},
        {"300 kt, track 1.1 degrees off", true, 300, 90, 2.0, 300, 91.1, true},
        {"ground 20 kt steady, 1.9 s: under 20 m", false, 20, 90, 1.9, 20, 92, false},
        {"ground 20 kt steady, 2.0 s", false, 20, 90, 2.0, 20, 92, true},
        {"ground standing, 15 s", false, 0, 90, 15.0, 0, 90, false},
        {"ground standing, 15.1 s", false, 0, 90, 15.1, 0, 90, true},
        {"ground 31 kt is no taxi thinning", false, 31, 90, 1.5, 31, 90, true},
    };
    for (const Offer& o : table) {
        SCOPED_TRACE(o.what);
        gf_clearEngineTables();
        TrafficRecord first = record(kHex, 1000.0, 3000);
        first.airborne = o.airborne;
        first.altitude = o.airborne ? 5000.0 : 0.0;
        first.groundSpeed = o.firstSpeed;
        first.track = o.firstTrack;
        gf_offerLiveSample(first);
        ASSERT_EQ(engine.active.size(), 1u);
        TrafficRecord second = first;
        second.timestamp += o.dt;
        second.dueTick += static_cast<int32_t>(o.dt * 100);
        second.groundSpeed = o.speed;
        second.track = o.track;
        second.longitude += 0.001;  // a move well outside the still box
        gf_offerLiveSample(second);
        EXPECT_EQ(engine.active[0].stream.size(), o.kept ? 2u : 1u);
        EXPECT_DOUBLE_EQ(engine.active[0].lastTimestamp, o.kept ? second.timestamp : first.timestamp);
    }
}

// A sample that barely moves on the ground becomes a stop at the last position, due one slice after it.
TEST_F(IntakeTest, StillBoxOnTheGroundMakesAStop) {
    TrafficRecord r = record(kHex, 1000.0, 3000);
    r.airborne = false;
    r.altitude = 0.0;
    r.groundSpeed = 10.0;
    Act& act = liveAct(r, ActPhase::Taxi);
    TrafficRecord near = r;
    near.timestamp += 20.0;
    near.dueTick += 2000;
    near.latitude += 0.00014;
    gf_offerLiveSample(near);
    ASSERT_EQ(act.stream.size(), 2u);
    EXPECT_TRUE(act.stream[1].stopped);
    EXPECT_EQ(act.stream[1].latitude, r.latitude);
    EXPECT_EQ(act.stream[1].groundSpeed, 0.0);
    EXPECT_EQ(act.stream[1].dueTick, 3001);
}

// A standing aircraft sets off as late as reaching its first moving sample at that sample's speed allows,
// so it leaves 30 s after the real one; never before the present slice.
TEST_F(IntakeTest, StopEndsWhenTheRealAircraftSetOff) {
    struct Case {
        const char* what;
        int32_t sampleDue;
        double knots;
        int32_t headDue;
    };
    constexpr double kNorthDeg = 0.0009;  // about 100 m: 0.054 nm, 1944 slices at 10 kt
    const int32_t lead = static_cast<int32_t>(gf_distanceNm({47.40, 8.60}, {47.40 + kNorthDeg, 8.60}) * 36000.0);
    const Case cases[] = {
        {"sets off a leg's time before the sample", 20000, 10.0, 20000 - lead},
        {"a slow sample: timed at 5 kt", 20000, 2.0, 20000 - 2 * lead},
        {"the real one set off long ago: at once", 4000, 10.0, 3001},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        engine.slice = 3000;
        TrafficRecord r = record(kHex, 1000.0, 3300);  // stands, a made-up stop of 3 s
        r.airborne = false;
        r.altitude = r.groundSpeed = 0.0;
        Act& act = liveAct(r, ActPhase::Taxi);
        act.stream.front().stopped = true;
        TrafficRecord moving = r;
        moving.timestamp += 20.0;
        moving.dueTick = c.sampleDue;
        moving.latitude += kNorthDeg;
        moving.groundSpeed = c.knots;
        gf_offerLiveSample(moving);
        ASSERT_EQ(act.stream.size(), 2u);
        EXPECT_NEAR(act.stream.front().dueTick, c.headDue, 1);
        EXPECT_EQ(act.stream.front().groundSpeed, c.knots);
    }
}

// (The field band that keeps a new aircraft out is told with the admission rules.)
TEST_F(IntakeTest, NewAircraftOncePerCallsign) {
    TrafficRecord r = record(kHex, 1000.0, 3000);
    gf_offerLiveSample(r);
    ASSERT_EQ(engine.active.size(), 1u);
    TrafficRecord twin = r;
    twin.hexid = kHex + 1;  // the same flight under a second address
    gf_offerLiveSample(twin);
    EXPECT_EQ(engine.active.size(), 1u);
}

// The database is asked for the model of an aircraft once: a hexid it could not give a model stays
// refused for the run, however many records come.
TEST_F(IntakeTest, ModelLookupRunsOncePerAircraft) {
    TrafficRecord r = record(kHex, 1000.0, 3000);
    r.model.clear();
    r.reg = "HBJLT";
    gf_offerLiveSample(r);
    EXPECT_TRUE(engine.active.empty());
    dbase.records.add("HB-JLT", DbaseRecord{"SWR", "A320", "", false});
    dbase.records.build();
    r.timestamp += 10.0;
    gf_offerLiveSample(r);
    EXPECT_TRUE(engine.active.empty());
    r.hexid = kHex + 7;  // another aircraft asks afresh, and finds the model through the "HB-JLT" spelling
    gf_offerLiveSample(r);
    ASSERT_EQ(engine.active.size(), 1u);
    EXPECT_EQ(engine.active[0].model, "A320");
}

TEST_F(IntakeTest, StreamLimitGivesUpAnAircraft) {
    Act& act = gf_newAct(record(kHex, 1000.0, 3000));
    for (int i = 1; i <= 200; ++i) {
        TrafficRecord r = record(kHex, 1000.0 + 10.0 * i, 3000 + 1000 * i);
        r.track = 90.0 + (i % 2) * 5.0;
        r.longitude += 0.01 * i;
        gf_offerLiveSample(r);
    }
    EXPECT_EQ(act.stream.size(), 201u);
    EXPECT_FALSE(act.drop);
    TrafficRecord more = record(kHex, 5000.0, 900000);
    more.longitude += 5.0;
    gf_offerLiveSample(more);
    EXPECT_TRUE(act.drop);
}

// A new callsign on an aircraft in the simulator: it is taken out and created again under the new
// identity, keeping its heading, and comes back as New with its samples when the simulator confirms.
TEST_F(IntakeTest, IdentityChangeRecreatesTheObject) {
    GUID_CHANGES.current = true;
    Act& act = liveAct(record(kHex, 1000.0, 3000), ActPhase::Airborne);
    act.heading = 1.2;
    act.latitude = 47.41;
    TrafficRecord r = record(kHex, 1010.0, 4000);
    r.callsign = "EDW12";
    r.longitude += 0.02;
    gf_offerLiveSample(r);
    EXPECT_EQ(act.state, ActState::Recreating);
    EXPECT_EQ(act.callsign, "EDW12");
    EXPECT_EQ(act.altCallsign1, "EDW12");
    ASSERT_TRUE(act.keepHeading.has_value());
    EXPECT_DOUBLE_EQ(*act.keepHeading, 1.2);
    EXPECT_THAT(engine.removalQueue, testing::ElementsAre(1001u));
    ASSERT_EQ(act.stream.size(), 2u);  // the present position, due at once
    EXPECT_DOUBLE_EQ(act.stream[1].latitude, 47.41);
    EXPECT_EQ(act.stream[1].dueTick, engine.slice + 1);
    EXPECT_TRUE(logHas("          EDW12"));
    TrafficRecord later = r;
    later.timestamp += 10.0;
    later.longitude += 0.02;
    gf_offerLiveSample(later);  // while recreating: ignored
    EXPECT_EQ(act.stream.size(), 2u);
    runSlice();
    gf_pushSimEvent({1001, 0, 0, kSimRemoved, 0, 0});
    runSlice();
    EXPECT_EQ(engine.active[0].state, ActState::New);
    EXPECT_TRUE(engine.active[0].recreated);
    EXPECT_EQ(engine.active[0].objectId, 0u);
}

TEST_F(IntakeTest, WithoutGuidChangesTheIdentityIsStoredAndTheObjectStays) {
    GUID_CHANGES.current = false;
    Act& act = liveAct(record(kHex, 1000.0, 3000), ActPhase::Airborne);
    act.from = "ZRH";
    act.to = "LHR";
    TrafficRecord r = record(kHex, 1010.0, 4000);
    r.callsign = "EDW12";
    r.from = "GVA";
    r.to = "AMS";
    r.longitude += 0.02;
    gf_offerLiveSample(r);
    EXPECT_EQ(act.state, ActState::Live);
    EXPECT_EQ(act.callsign, "EDW12");
    EXPECT_EQ(act.from, "GVA");
    EXPECT_EQ(act.to, "AMS");
    EXPECT_EQ(act.stream.size(), 2u);
    EXPECT_TRUE(engine.removalQueue.empty());
}
// Impossible records cost only themselves, with one line per aircraft and kind; the next sane record
// enters the stream as if they had not come. On the ground a taxiing aircraft's fix may scatter by 30 m
// beyond what its speed and 40 kt more carry it, a fix repeated for seconds was stale, and past 10 s the
// position is believed.
TEST_F(IntakeTest, ImpossibleRecordsAreLoggedOnceAndLeaveTheAircraftFlying) {
    constexpr double kNmPerM = 1.0 / 1852.0;
    struct Case {
        const char* what;
        double speedKt;  // 0: the aircraft flies at 200 kt; otherwise it taxis at this speed
        double staleS;   // a record repeating the first position this many seconds after it; 0: none
        double dt;       // seconds after the first record
        double eastNm;
        const char* logLine;  // empty: kept
    };
    const Case cases[] = {
        {"time going backwards", 0, 0, -20.0, 1.0, "time stamp 20.0 s before the last one, records ignored"},
        {"1000 nm away 10 s later", 0, 0, 10.0, 1000.0, "position 1000 nm away after 10 s, records ignored"},
        {"8 nm away 10 s later", 0, 0, 10.0, 8.0, "position 8 nm away after 10 s, records ignored"},
        {"7.5 nm away 10 s later: a fast jet and some noise", 0, 0, 10.0, 7.5, ""},
        {"500 nm away 30 minutes later", 0, 0, 1800.0, 500.0, ""},
        {"taxiing, 85 m away 2 s later", 10, 0, 2.0, 85 * kNmPerM,
         "ground position 85 m away after 2 s at 10 kt, records ignored"},
        {"taxiing, 80 m away 2 s later: a scattered fix", 10, 0, 2.0, 80 * kNmPerM, ""},
        {"taxiing, 150 m away 6 s after the fix last moved", 10, 4, 6.0, 150 * kNmPerM, ""},
        {"taxiing, 400 m away 10 s later: it is there", 10, 0, 10.0, 400 * kNmPerM, ""},
        {"rolling at 60 kt, 150 m away 2 s later", 60, 0, 2.0, 150 * kNmPerM, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        TrafficRecord first = record(kHex, 1000.0, 3000);
        if (c.speedKt > 0) {
            first.airborne = false;
            first.altitude = 1400.0;
            first.groundSpeed = c.speedKt;
        }
        Act& act = liveAct(first, c.speedKt > 0 ? ActPhase::Taxi : ActPhase::Airborne);
        if (c.staleS > 0) {
            TrafficRecord stale = first;
            stale.timestamp += c.staleS;
            stale.dueTick += static_cast<int32_t>(c.staleS * 100);
            stale.track += 10.0;  // not thinned away
            gf_offerLiveSample(stale);
        }
        TrafficRecord bad = first;
        bad.timestamp += c.dt;
        bad.dueTick += 1000;
        bad.track += 5.0;
        const LatLon to = gf_destinationPoint({first.latitude, first.longitude}, kPi / 2, c.eastNm * 6076.11549);
        bad.latitude = to.lat;
        bad.longitude = to.lon;
        gf_offerLiveSample(bad);
        gf_offerLiveSample(bad);
        const bool kept = *c.logLine == '\0';
        ASSERT_EQ(act.stream.back().longitude == bad.longitude, kept);
        if (kept) continue;
        const std::string log = logText();
        const size_t at = log.find(c.logLine);
        EXPECT_NE(at, std::string::npos) << log;
        EXPECT_EQ(log.find(c.logLine, at + 1), std::string::npos) << "logged once";
        TrafficRecord sane = first;
        sane.timestamp += 12.0;
        sane.dueTick += 1200;
        sane.track += 5.0;
        sane.longitude += (c.speedKt > 0 ? 0.02 : 0.6) * kDegPerNmLon;
        gf_offerLiveSample(sane);
        EXPECT_EQ(act.stream.size(), 2u);
    }
}

}  // namespace
