// Which new aircraft may enter the simulator, which one makes way, and who wins between ghost and main.
#include <gtest/gtest.h>

#include <functional>

#include "engine/admission.h"
#include "engine/intake.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/liveries_file.h"
#include "liveries/matching.h"
#include "service/state.h"
#include "simlink/user.h"
#include "support/fixture.h"

namespace {

constexpr LatLon kUser{47.0, 8.0};
constexpr int32_t kDue = 1000;  // slice at which the first sample of a test aircraft falls due

// A position `nm` north of the user (one degree of latitude is 60 nm on the rules' sphere).
LatLon lf_north(double nm, double eastDeg = 0.0) { return {kUser.lat + nm / 60.0, kUser.lon + eastDeg}; }

class AdmissionTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_reserveEngineTables();
        gf_clearDbase();
        dbase.aircraft = {"A320", "A321", "B738", "C172", "EC35"};
        dbase.large = {"A320", "A321", "B738"};
        dbase.rotorcraft = {"EC35"};
        dbase.records.add("HB-JLP", DbaseRecord{"SWR", "A321", "EDW", false});
        dbase.records.build();
        // Generic liveries of two types; the B738 has none.
        liveries.liveryList = {{"ZZZ", "A320", "Generic A320", "", 0, false},
                               {"ZZZ", "A321", "Generic A321", "", 0, false}};
        gf_processScannedLiveries();
        fresh();
    }
    // The world of one case: empty tables, default parameters, the user standing at kUser.
    void fresh() {
        gf_clearEngineTables();
        gf_resetParameters();
        gf_resetMatching();  // also the titles remembered by hexid
        user.userSnapshot = UserSnapshot{};
        user.userSnapshot.latitude = kUser.lat;
        user.userSnapshot.longitude = kUser.lon;
        user.userSnapshot.agl = 3000.0;
        user.userOnGround = true;
        engine.slice = kDue - 100;
    }

    static TrafficRecord record(uint32_t hexid, const std::string& callsign, LatLon at, double altitude) {
        TrafficRecord r;
        r.hexid = hexid;
        r.callsign = callsign;
        r.model = "A320";
        r.latitude = at.lat;
        r.longitude = at.lon;
        r.altitude = altitude;
        r.airborne = altitude > 0.0;
        r.groundSpeed = altitude > 0.0 ? 250.0 : 20.0;
        r.track = 0.0;
        r.dueTick = kDue;
        return r;
    }
    // An aircraft offered with three samples a second apart, moving north; the Act is returned.
    Act& newcomer(uint32_t hexid, const std::string& callsign, LatLon at, const char* model = "A320") {
        TrafficRecord r = record(hexid, callsign, at, 5000.0);
        r.model = model;
        const size_t before = engine.active.size();
        gf_offerLiveSample(r);
        EXPECT_EQ(engine.active.size(), before + 1);
        Act& a = engine.active.back();
        for (int i = 1; i < 3; ++i) {
            Sample s = a.stream.front();
            s.latitude += i * 0.001;
            s.dueTick += i * 100;
            a.stream.push_back(s);
        }
        return a;
    }
    // A live aircraft `nm` north of the user.
    Act& live(const std::string& callsign, double nm, uint32_t objectId) {
        Act a;
        a.callsign = callsign;
        a.hexid = 0x400000 + objectId;
        a.objectId = objectId;
        a.state = ActState::Live;
        a.phase = ActPhase::Airborne;
        a.latitude = lf_north(nm).lat;
        a.longitude = lf_north(nm).lon;
        a.stream.push_back(Sample{});
        engine.active.push_back(a);
        return engine.active.back();
    }
};

enum class Effect { Wait, Skip, Drop, Placed };
const char* lf_name(Effect e) {
    static const char* names[] = {"wait", "skip", "drop", "placed"};
    return names[static_cast<int>(e)];
}

Effect lf_effectOf(const Act& a, size_t samplesBefore, bool placed) {
    if (placed) return a.state == ActState::Creating ? Effect::Placed : Effect::Wait;
    if (a.drop) return Effect::Drop;
    return a.stream.size() + 1 == samplesBefore ? Effect::Skip : Effect::Wait;
}

struct RuleCase {
    const char* name;
    std::function<void(Act&)> arrange;  // on the newcomer and the world around it
    Effect effect;
    std::function<void(const Act&)> check = nullptr;
};

// Each rule with the case that tells it from its neighbours, in the order the rules run.
TEST_F(AdmissionTest, EachRuleHasItsEffectInItsOrder) {
    const auto onGround = [](Act& a, double speed) {
        for (Sample& s : a.stream) {
            s.altitude = 0.0;
            s.airborne = false;
            s.groundSpeed = speed;
        }
    };
    const std::vector<RuleCase> cases = {
        {"an ordinary airborne aircraft 1 s before its head is due", [](Act&) {}, Effect::Placed,
         [](const Act& a) {
             EXPECT_EQ(a.phase, ActPhase::Airborne);
             EXPECT_EQ(a.airline, "SWR");  // from the callsign
             EXPECT_EQ(engine.creationReady.back(), a.hexid);
             EXPECT_EQ(engine.checkQueue.back(), a.hexid);
             EXPECT_DOUBLE_EQ(a.latitude, a.stream.front().latitude);
         }},
        {"1: an empty stream", [](Act& a) { a.stream.clear(); }, Effect::Drop},
        {"2: airborne, more than 1 s before due", [](Act&) { engine.slice = kDue - 101; }, Effect::Wait},
        {"2: rolling on the ground, 3 s before due", [&](Act& a) { onGround(a, 20.0), engine.slice = kDue - 300; },
         Effect::Placed, [](const Act& a) { EXPECT_EQ(a.phase, ActPhase::Taxi); }},
        {"15: on the runway at 140 kt and slowing: just landed",
         [&](Act& a) {
             onGround(a, 140.0);
             a.stream.back().groundSpeed = 120.0;
             engine.slice = kDue - 300;
         },
         Effect::Placed,
         [](const Act& a) {
             EXPECT_EQ(a.phase, ActPhase::Taxi);
             EXPECT_TRUE(a.rollOut);
             EXPECT_TRUE(a.landedHere);
             EXPECT_DOUBLE_EQ(a.touchdownHeading, a.heading);
         }},
        {"15: on the runway at 140 kt and faster: no roll-out",
         [&](Act& a) {
             onGround(a, 140.0);
             a.stream.back().groundSpeed = 150.0;
             engine.slice = kDue - 300;
         },
         Effect::Placed, [](const Act& a) { EXPECT_FALSE(a.rollOut); }},
        {"2: standing on the ground, 3 s before due", [&](Act& a) { onGround(a, 0.0), engine.slice = kDue - 300; },
         Effect::Wait},
        {"3: one sample, no first leg", [](Act& a) { a.stream.resize(1); }, Effect::Drop},
        {"4: a ghost already replaced",
         [](Act& a) {
             a.callsign = "SWR123_";
             engine.ghostList.push_back("SWR123_");
         },
         Effect::Drop},
        {"4: a ghost never replaced, without its main", [](Act& a) { a.callsign = "SWR123_"; }, Effect::Placed},
        {"5: airborne and ground samples",
         [](Act& a) {
             a.stream.back().airborne = false;
             a.stream.back().altitude = 0.0;
         },
         Effect::Skip},
        {"6: user on the ground, aircraft standing 120 m from him",
         [&](Act& a) {
             onGround(a, 0.0);
             a.stream.front().latitude = kUser.lat + 120.0 / 1852.0 / 60.0;
             a.stream.front().longitude = kUser.lon;
         },
         Effect::Skip},
        {"6: the same with the ground check off",
         [&](Act& a) {
             COLLISION_USER_GND.current = false;
             onGround(a, 0.0);
             a.stream.front().latitude = kUser.lat + 120.0 / 1852.0 / 60.0;
             a.stream.front().longitude = kUser.lon;
         },
         Effect::Placed},
        {"6: held while the user rolls at 10 kt",
         [](Act& a) {
             a.held = true;
             user.userSnapshot.groundVelocity = 10.0;
         },
         Effect::Skip},
        {"6: held, standing 400 m from a user who stands",
         [&](Act& a) {
             a.held = true;
             onGround(a, 0.0);
             a.stream.front().latitude = kUser.lat + 400.0 / 1852.0 / 60.0;
         },
         Effect::Skip},
        {"6: held, standing 600 m from a user who stands",
         [&](Act& a) {
             a.held = true;
             onGround(a, 0.0);
             a.stream.front().latitude = kUser.lat + 600.0 / 1852.0 / 60.0;
             a.stream.front().longitude = kUser.lon;
         },
         Effect::Placed, [](const Act& a) { EXPECT_FALSE(a.held); }},
        {"6: user flying low, aircraft on the ground ahead of him",
         [&](Act& a) {
             user.userOnGround = false;
             user.userSnapshot.agl = 800.0;
             user.userSnapshot.heading = 0.0;
             onGround(a, 20.0);
             a.stream.front().latitude = lf_north(1.0).lat;
             a.stream.front().longitude = kUser.lon;
         },
         Effect::Skip, [](const Act& a) { EXPECT_TRUE(a.held); }},
        {"6: user flying high, aircraft on the ground ahead of him",
         [&](Act& a) {
             user.userOnGround = false;
             user.userSnapshot.agl = 1500.0;
             onGround(a, 20.0);
             a.stream.front().latitude = lf_north(1.0).lat;
             a.stream.front().longitude = kUser.lon;
         },
         Effect::Placed},
        {"6: airborne aircraft across the user's path at his height",
         [](Act& a) {
             user.userOnGround = false;
             user.userSnapshot.altitude = 5500.0;
             a.stream.front().latitude = lf_north(3.0).lat;
             a.stream.front().longitude = kUser.lon;
             a.stream.front().track = 180.0;  // flying at the user
         },
         Effect::Skip, [](const Act& a) { EXPECT_TRUE(a.held); }},
        {"6: airborne aircraft 3000 ft above the user",
         [](Act& a) {
             user.userOnGround = false;
             user.userSnapshot.altitude = 2000.0;
             a.stream.front().latitude = lf_north(3.0).lat;
             a.stream.front().track = 180.0;
         },
         Effect::Placed},
        {"7: eleven live creations waiting", [](Act&) { engine.liveCreationQueue.resize(11); }, Effect::Skip},
        {"7: ten live creations waiting", [](Act&) { engine.liveCreationQueue.resize(10); }, Effect::Placed},
        {"8: at MAX_LIVE and the farthest",
         [this](Act&) {
             MAX_LIVE.current = 6;
             for (uint32_t i = 0; i < 6; ++i) live(fmt::format("LIV{}", i), 0.5, 10 + i);
         },
         Effect::Drop},
        {"9: the blocked callsign", [](Act&) { BLOCK_CALLSIGN.current = "SWR123"; }, Effect::Drop},
        {"10: a registration the database knows, no callsign",
         [](Act& a) {
             a.reg = "HB-JLP";
             a.callsign = "@@@@@@@@";
             a.airline = "XXX";
         },
         Effect::Placed,
         [](const Act& a) {
             EXPECT_EQ(a.airline, "EDW");  // the operator wins over the owner
             EXPECT_EQ(a.model, "A321");
             EXPECT_EQ(a.callsign, "HB-JLP");
         }},
        {"11: a callsign of 9 characters", [](Act& a) { a.callsign = "SWR123456"; }, Effect::Drop},
        {"11: a callsign of 8 characters", [](Act& a) { a.callsign = "SWR12345"; }, Effect::Placed},
        {"11: no callsign and no registration", [](Act& a) { a.callsign.clear(); }, Effect::Drop},
        {"12: \"ABC1234\" flies for ABC", [](Act& a) { a.callsign = "ABC1234"; }, Effect::Placed,
         [](const Act& a) { EXPECT_EQ(a.airline, "ABC"); }},
        {"12: \"AB12\" is private", [](Act& a) { a.callsign = "AB12"; }, Effect::Placed,
         [](const Act& a) { EXPECT_EQ(a.airline, "PVT"); }},
        {"13: found no livery before",
         [](Act& a) {
             a.airline = "SWR";
             gf_bookNoMatch(a);
         },
         Effect::Drop},
        {"14: a ghost whose main flies",
         [this](Act& a) {
             a.callsign = "SWR123_";
             live("SWR123", 5.0, 20);
         },
         Effect::Drop},
        {"15: a type without a livery",
         [](Act& a) {
             a.model = "B738";
             a.airline = "SWR";
         },
         Effect::Drop, [](const Act& a) { EXPECT_TRUE(gf_isBookedNoMatch(a)); }},
    };
    for (const RuleCase& c : cases) {
        SCOPED_TRACE(c.name);
        fresh();
        Act& a = newcomer(0x4B1801, "SWR123", lf_north(5.0));
        c.arrange(a);
        const uint32_t hexid = a.hexid;
        const size_t before = a.stream.size();
        Act* act = nullptr;
        for (Act& x : engine.active)
            if (x.hexid == hexid) act = &x;
        const bool placed = gf_admitAct(*act);
        const Effect got = lf_effectOf(*act, before, placed);
        EXPECT_STREQ(lf_name(got), lf_name(c.effect));
        if (c.check && got == c.effect) c.check(*act);
    }
}

// Nearest first: the farthest live aircraft makes way if it lies more than 0.1 nm beyond the newcomer.
TEST_F(AdmissionTest, AtTheLimitTheFarthestMakesWayBeyondTheMargin) {
    struct Case {
        const char* name;
        std::vector<double> liveNm;  // in table order
        size_t ready;                // creations under way
        int32_t limit;
        int removed;  // index into liveNm, -1 none
        Effect effect;
    };
    const std::vector<Case> cases = {
        {"farthest at 20.2 nm goes", {11, 12, 13, 14, 15, 16, 17, 18, 19, 20.2}, 0, 10, 9, Effect::Placed},
        {"farthest at 20.05 nm stays, the newcomer goes",
         {11, 12, 13, 14, 15, 16, 17, 18, 19, 20.05},
         0,
         10,
         -1,
         Effect::Drop},
        {"of two close together the earlier wins",
         {11, 12, 13, 14, 15, 16, 17, 18, 21.0, 21.05},
         0,
         10,
         8,
         Effect::Placed},
        {"creations under way count", {11, 12, 13, 14, 15, 16, 17, 18, 20.05}, 1, 10, -1, Effect::Drop},
        {"below the limit nothing is counted", {11, 12, 13, 14, 15, 16, 17, 18, 20.05}, 0, 10, -1, Effect::Placed},
        {"a limit of 300 is off", std::vector<double>(300, 1.0), 0, 300, -1, Effect::Placed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        fresh();
        MAX_LIVE.current = c.limit;
        for (size_t i = 0; i < c.liveNm.size(); ++i) live(fmt::format("L{}", i), c.liveNm[i], 10 + i);
        engine.creationReady.assign(c.ready, 0x999999);
        const size_t index = engine.active.size();
        newcomer(0x4B1801, "SWR123", lf_north(20.0));
        Act& a = engine.active[index];
        const size_t before = a.stream.size();
        const bool placed = gf_admitAct(a);
        EXPECT_STREQ(lf_name(lf_effectOf(a, before, placed)), lf_name(c.effect));
        for (size_t i = 0; i < c.liveNm.size(); ++i)
            EXPECT_EQ(engine.active[i].state == ActState::Removing, static_cast<int>(i) == c.removed) << i;
    }
}

TEST_F(AdmissionTest, ChangedLimitRemovesTheFarthestUntilTheCountFits) {
    for (int i = 0; i < 8; ++i) live(fmt::format("L{}", i), 10.0 + i, 10 + i);
    MAX_LIVE.current = 6;
    gf_applyMaxLive();
    std::vector<uint32_t> gone;
    for (const Act& a : engine.active)
        if (a.state == ActState::Removing) gone.push_back(a.objectId);
    EXPECT_EQ(gone, (std::vector<uint32_t>{16, 17}));
    EXPECT_EQ(engine.removalQueue.size(), 2u);
}

// Place the aircraft at the end of the vector as the engine would, then let the simulator make it.
void lf_placeAndMake(Act& a, uint32_t objectId) {
    ASSERT_TRUE(gf_admitAct(a));
    a.state = ActState::Live;
    a.objectId = objectId;
}

TEST_F(AdmissionTest, GhostAfterItsMainIsDropped) {
    lf_placeAndMake(newcomer(0x4B1801, "DLH123", lf_north(5.0)), 11);
    Act& ghost = newcomer(0x4B1802, "DLH123_", lf_north(5.1));
    EXPECT_FALSE(gf_admitAct(ghost));
    EXPECT_TRUE(ghost.drop);
    EXPECT_EQ(engine.active[0].state, ActState::Live);
}

TEST_F(AdmissionTest, MainAfterItsGhostReplacesItForTheRestOfTheRun) {
    lf_placeAndMake(newcomer(0x4B1802, "DLH123_", lf_north(5.1)), 11);
    Act& main = newcomer(0x4B1801, "DLH123", lf_north(5.0));
    ASSERT_TRUE(gf_admitAct(main));
    EXPECT_EQ(engine.active[0].state, ActState::Removing);
    EXPECT_EQ(engine.removalQueue, std::deque<uint32_t>{11});
    EXPECT_EQ(engine.ghostList, std::vector<std::string>{"DLH123_"});
    EXPECT_TRUE(logHas("DLH123_  is a ghost and will be removed, continue with DLH123"));

    // The ghost never comes back in this run, not even when its main has gone.
    main.state = ActState::Removing;
    Act& again = newcomer(0x4B1804, "DLH123_", lf_north(5.3), "A321");
    EXPECT_FALSE(gf_admitAct(again));
    EXPECT_TRUE(again.drop);
}

TEST_F(AdmissionTest, StandClaimsBetweenLiveAircraft) {
    struct Case {
        const char* newcomer;
        const char* existing;
        bool standHeld;
        bool removed, refused;
        const char* log;
    };
    const std::vector<Case> cases = {
        {"DLH123", "DLH123", false, true, false, "ac with same callsign DLH123 wants it"},
        {"DLH123_", "DLH123", false, false, true, "ghost DLH123_ wants it, but don't do it"},
        {"DLH123", "DLH123_", false, true, false, "DLH123_  ghost, replace by DLH123"},
        {"SWR8", "DLH123_", false, true, false, "DLH123_  ghost, replace by SWR8"},
        {"SWR8_", "DLH123", false, false, true, "ghost SWR8_ wants it, refused"},
        {"SWR8", "DLH123", true, false, true, "other live SWR8 wants it?"},
        {"SWR8", "DLH123", false, true, false, "DLH123   removed because of new SWR8"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.newcomer) + " vs " + c.existing);
        fresh();
        Act& existing = live(c.existing, 1.0, 11);
        existing.phase = ActPhase::AtStand;
        existing.sid = 7;
        existing.standHeld = c.standHeld;
        Act newcomer;
        newcomer.callsign = c.newcomer;
        newcomer.sid = 7;
        bool refused = false;
        EXPECT_TRUE(lf_claimStand(newcomer, existing, "A15", refused));
        EXPECT_EQ(refused, c.refused);
        EXPECT_EQ(existing.state == ActState::Removing, c.removed);
        EXPECT_TRUE(logHas(c.log));
    }
    // Another stand, or an aircraft not yet live, takes no part.
    Act& other = live("DLH123", 1.0, 12);
    other.phase = ActPhase::AtStand;
    other.sid = 8;
    Act newcomer;
    newcomer.callsign = "DLH123";
    newcomer.sid = 7;
    bool refused = true;
    EXPECT_FALSE(lf_claimStand(newcomer, other, "A15", refused));
    EXPECT_FALSE(refused);
}

// The field band keeps aircraft that are touching down or lifting off out; a type the database does not
// know, without a registration that names one, never becomes an aircraft.
TEST_F(AdmissionTest, OfferedRecordsThatNeverBecomeAircraft) {
    gf_setParkAirport(kUser.lat, kUser.lon, 4950.0);
    struct Case {
        const char* name;
        double altitude;
        const char* model;
        const char* reg;
        bool made;
        const char* modelMade = "";
    };
    const std::vector<Case> cases = {
        {"5000 ft over a field at 4950 ft", 5000.0, "A320", "", false},
        {"5070 ft over it", 5070.0, "A320", "", false},
        {"5071 ft over it", 5071.0, "A320", "", true, "A320"},
        {"on the ground", 0.0, "A320", "", true, "A320"},
        {"an unknown type", 8000.0, "XXXX", "", false},
        {"an unknown type with a known registration", 8000.0, "XXXX", "HB-JLP", true, "A321"},
        {"no type with a known registration", 8000.0, "", "HB-JLP", true, "A321"},
        {"a helicopter while helicopters are off", 8000.0, "EC35", "", false},
    };
    uint32_t hexid = 0x4B1801;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        gf_clearEngineTables();
        HELICOPTERS.current = false;
        TrafficRecord r = record(++hexid, "SWR123", lf_north(5.0), c.altitude);
        r.model = c.model;
        r.reg = c.reg;
        gf_offerLiveSample(r);
        ASSERT_EQ(engine.active.size(), c.made ? 1u : 0u);
        if (c.made) {
            EXPECT_EQ(engine.active[0].model, c.modelMade);
        }
    }
}

}  // namespace
