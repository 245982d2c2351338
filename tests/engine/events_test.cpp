// What each report of the simulator does to an aircraft's life state.
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "engine/commands.h"
#include "engine/events.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"
#include "frame/core/params.h"
#include "simlink/ids.h"
#include "simlink/queues.h"

namespace {

constexpr uint32_t kHex = 0x4b1614;
constexpr uint32_t kObject = 1001;

struct Transition {
    const char* what;
    ActState before;
    SimEvent event;
    std::optional<ActState> after;  // nullopt: the record is gone
    uint32_t objectAfter;
};

class EventsTest : public EngineTest {
protected:
    static std::vector<ClientEventRequest> takeClientEvents() {
        std::lock_guard lock(simQueues.simLock);
        std::vector<ClientEventRequest> out = simQueues.eventQueue;
        simQueues.eventQueue.clear();
        return out;
    }
};

TEST_F(EventsTest, LifeStateFollowsTheSimulatorsReports) {
    const Transition table[] = {
        {"created: object stored, still settling",
         ActState::Creating,
         {kObject, kHex, 0, kSimLiveCreated, 0, 40},
         ActState::Creating,
         kObject},
        {"created with id 2: no object",
         ActState::Creating,
         {2, kHex, 0, kSimLiveCreated, 0, 40},
         ActState::Creating,
         0},
        {"creation failed: erased", ActState::Creating, {0, kHex, 0, kSimCreateFailed, 0, 0}, std::nullopt, 0},
        {"removed while live: erased", ActState::Live, {kObject, 0, 0, kSimRemoved, 0, 0}, std::nullopt, 0},
        {"removed while removing: erased", ActState::Removing, {kObject, 0, 0, kSimRemoved, 0, 0}, std::nullopt, 0},
        {"removed while recreating: New again",
         ActState::Recreating,
         {kObject, 0, 0, kSimRemoved, 0, 0},
         ActState::New,
         0},
        {"blocked while New: dropped", ActState::New, {0, kHex, 0, kSimBlocked, 0, 0}, ActState::New, 0},
        {"blocked while live: removing", ActState::Live, {0, kHex, 0, kSimBlocked, 0, 0}, ActState::Removing, kObject},
        {"blocked while creating: left alone",
         ActState::Creating,
         {0, kHex, 0, kSimBlocked, 0, 0},
         ActState::Creating,
         0},
        {"blocked while removing: left alone",
         ActState::Removing,
         {0, kHex, 0, kSimBlocked, 0, 0},
         ActState::Removing,
         kObject},
        {"removal of another object: nothing",
         ActState::Live,
         {kObject + 1, 0, 0, kSimRemoved, 0, 0},
         ActState::Live,
         kObject},
    };
    for (const Transition& t : table) {
        SCOPED_TRACE(t.what);
        gf_clearEngineTables();
        Act& act = gf_newAct(record(kHex, 100.0, 500));
        act.state = t.before;
        act.throttle = 2;
        act.flaps = 1;
        act.objectId = t.before == ActState::Live || t.before == ActState::Removing || t.before == ActState::Recreating
                           ? kObject
                           : 0;
        gf_processSimEvent(t.event);
        Act* found = gf_findActByHexid(kHex);
        if (!t.after) {
            EXPECT_EQ(found, nullptr);
            continue;
        }
        ASSERT_NE(found, nullptr);
        EXPECT_EQ(found->state, *t.after);
        EXPECT_EQ(found->objectId, t.objectAfter);
        EXPECT_EQ(found->drop, std::string(t.what) == "blocked while New: dropped");
        if (t.before == ActState::Recreating) {
            EXPECT_TRUE(found->recreated);
            EXPECT_EQ(found->throttle, 5);
            EXPECT_EQ(found->flaps, 4);
            EXPECT_EQ(found->stream.size(), 1u);  // its samples stay
        }
    }
    EXPECT_TRUE(logHas("SWR12 will be removed from buffer while blocked"));
    EXPECT_TRUE(logHas("SWR12 removed from simulator immediately while blocked"));
    EXPECT_TRUE(logHas("===> SWR12 objectId in liveAIAdded 2"));
}

// A new object settles for 2 s: two light toggles on the way, then it is Live and its lights and
// configuration are set from scratch.
TEST_F(EventsTest, NewObjectBecomesLiveAfterTwoHundredSlices) {
    TrafficRecord r = record(kHex, 100.0, 500);
    r.airborne = false;
    r.altitude = 0.0;
    r.groundSpeed = 12.0;
    Act& act = gf_newAct(r);
    act.state = ActState::Creating;
    act.phase = ActPhase::Taxi;
    gf_pushSimEvent({kObject, kHex, 0, kSimLiveCreated, 0, 3.5});
    runSlice();
    EXPECT_EQ(engine.active[0].objectId, kObject);
    EXPECT_TRUE(engine.active[0].onGround);
    takeClientEvents();
    runSlices(198);
    EXPECT_EQ(engine.active[0].state, ActState::Creating);
    // The toggles of 500 and 1000 ms go straight to the simulator, which this test does not have.
    const std::string log = logText();
    size_t toggles = 0;
    for (size_t at = log.find("gf_allLightsToggle fails"); at != std::string::npos;
         at = log.find("gf_allLightsToggle fails", at + 1))
        ++toggles;
    EXPECT_EQ(toggles, 2u);
    runSlice();  // the 200th slice since the report
    EXPECT_EQ(engine.active[0].state, ActState::Live);
    std::vector<uint32_t> ids;
    for (const ClientEventRequest& e : takeClientEvents()) {
        EXPECT_EQ(e.objectId, kObject);
        ids.push_back(e.eventId);
    }
    EXPECT_THAT(ids, testing::ElementsAre(kEvSpoilersSet, kEvEngineAutoStart, kEvNavLights, kEvBeaconLights,
                                          kEvLandingLights, kEvTaxiLights, kEvStrobes, kEvLogoLights, kEvCabinLights,
                                          kEvThrottleSet, kEvFlapsSet));
    EXPECT_EQ(engine.active[0].throttle, 0);
    EXPECT_EQ(engine.active[0].flaps, 1);
    std::lock_guard lock(simQueues.eventLock);
    EXPECT_TRUE(simQueues.delayList.empty());
}

TEST_F(EventsTest, HeightAndStaticReportsAtTheirLimits) {
    struct Static {
        double cg, pitchDeg, cgAfter, pitchAfterDeg;
    };
    const Static table[] = {
        {1.0, -0.99, 1.0, -0.99},  // CG 1 kept, pitch just above -1 kept
        {35.0, 2.5, 35.0, 2.5},    // both upper limits kept
        {0.9, -1.0, 0.0, 0.7},     // CG below 1 stays 0; -1 degree replaced
        {35.1, 2.51, 0.0, 0.7},
    };
    for (const Static& s : table) {
        SCOPED_TRACE(s.cg);
        gf_clearEngineTables();
        liveAct(record(kHex, 100.0, 500), ActPhase::Taxi, kObject);
        gf_processSimEvent({kObject, 0, 0, kSimStatic, s.cg, s.pitchDeg * kDegToRad});
        EXPECT_DOUBLE_EQ(engine.active[0].staticCg, s.cgAfter);
        EXPECT_NEAR(engine.active[0].staticPitch, s.pitchAfterDeg * kDegToRad, 1e-12);
    }
    EXPECT_TRUE(logHas("static CG 0.9ft wrong?"));
    // On the ground the height comes from the report: ground altitude plus the standing height.
    Act& act = engine.active[0];
    act.onGround = true;
    act.staticCg = 9.0;
    gf_processSimEvent({kObject, 1, 0, kSimHeight, 1416.0, 0.5});
    EXPECT_DOUBLE_EQ(act.altitude, 1425.0);
    EXPECT_DOUBLE_EQ(act.agl, 0.5);
}

TEST_F(EventsTest, CommandsSendOnlyWhatChanged) {
    Act& act = liveAct(record(kHex, 100.0, 500), ActPhase::Taxi, kObject);
    act.throttle = 5;
    act.flaps = 4;
    gf_setThrottle(act, 5);  // nothing sent yet, nothing sent now
    gf_setFlaps(act, 4);
    EXPECT_TRUE(takeClientEvents().empty());
    gf_setThrottle(act, 0);
    gf_setFlaps(act, 0);
    gf_setFlaps(act, 0);
    const auto sent = takeClientEvents();
    ASSERT_EQ(sent.size(), 2u);
    EXPECT_EQ(sent[0].eventId, kEvThrottleSet);
    EXPECT_EQ(sent[1].eventId, kEvFlapsSet);
    act.category = ModelCategory::Rotorcraft;
    gf_setFlaps(act, 2);
    gf_setGear(act, true);
    EXPECT_TRUE(takeClientEvents().empty());
}

TEST_F(EventsTest, RemovalGoesThroughTheQueueAndCompactionFillsTheGap) {
    for (uint32_t i = 0; i < 4; ++i) liveAct(record(kHex + i, 100.0, 500), ActPhase::Taxi, kObject + i);
    gf_removeAct(engine.active[1]);
    EXPECT_EQ(engine.active[1].state, ActState::Removing);
    EXPECT_THAT(engine.removalQueue, testing::ElementsAre(kObject + 1));
    engine.active[0].objectId = 0;
    gf_removeAct(engine.active[0]);
    EXPECT_TRUE(logHas("removing act SWR12"));
    engine.active[1].drop = true;
    engine.active[3].drop = true;
    EXPECT_EQ(gf_compactActive(), 2u);
    ASSERT_EQ(engine.active.size(), 2u);
    EXPECT_EQ(engine.active[0].hexid, kHex);
    EXPECT_EQ(engine.active[1].hexid, kHex + 2);  // the last record moved into the gap
}
}  // namespace

namespace {
// An aircraft created again after a change of identity on its stand does not "park" a second time.
TEST_F(EventsTest, RecreatedAircraftAtItsStandParksOnlyOnce) {
    LOG.current = true;
    for (const bool recreated : {true, false}) {
        SCOPED_TRACE(recreated);
        gf_clearEngineTables();
        TrafficRecord r = record(kHex, 100.0, 500);
        r.airborne = false;
        r.altitude = 0.0;
        Act& act = gf_newAct(r);
        act.state = ActState::Creating;
        act.phase = ActPhase::AtStand;
        act.sid = 17;
        act.recreated = recreated;
        gf_processSimEvent({kObject, kHex, 0, kSimLiveCreated, 0, 3.0});
        EXPECT_FALSE(engine.active[0].recreated);
        EXPECT_EQ(engine.active[0].slots, 1);
        EXPECT_EQ(logHas("SWR12    parks"), !recreated);
    }
}
}  // namespace
