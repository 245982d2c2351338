// The parking calculation: how many stands, which, the user's stand, and the renewal.
#include <chrono>
#include <cmath>
#include <map>
#include <string>

#include "airports/state.h"
#include "common/clock.h"
#include "common/geo.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/calculation.h"
#include "parking/search.h"
#include "parking/state.h"
#include "parking_support.h"

namespace {

TEST(WantedPositions, ByStandCountAndPercentage) {
    struct Case {
        size_t stands;
        int64_t percent;
        int32_t wanted;
    };
    for (const Case c :
         {Case{10, 30, 3}, Case{2, 30, 1}, Case{3, 60, 2}, Case{1, 0, 1}, Case{4, 0, 0}, Case{371, 5, 19}}) {
        airports.stands.assign(c.stands, Stand{});
        parking_percentage.current = c.percent;
        EXPECT_EQ(gf_wantedPositions(), c.wanted) << c.stands << " stands at " << c.percent << "%";
    }
    airports.stands.clear();
}

// The largest type of the two whose half span fits the stand with room to spare; empty if none does.
std::string lf_typeFor(const Stand& s) {
    for (const char* t : {"B77W", "A320"})
        if (gf_halfWingspan(t) * 1.1 <= s.radius) return t;
    return {};
}

// History on every stand for now; the reserved stand is the user's.
TEST_F(ParkingTest, FirstCalculationFillsRealStandsWithoutOverlapAndLeavesTheUsersStandFree) {
    parking_percentage.current = 60;
    int n = 0;
    for (Stand& s : airports.stands)
        if (const std::string type = lf_typeFor(s); !type.empty()) {
            addOption(s, "AFR" + std::to_string(++n), "", 3, {20}, type);
            if (parking.reservedStand.empty()) parking.reservedStand = s.name;  // with history for now
        }
    ASSERT_GT(n, 50);

    gf_firstCalculation();
    const size_t chosen = parking.chosenPositions.size();
    EXPECT_GT(chosen, 30u);
    EXPECT_LE(static_cast<int32_t>(chosen), gf_wantedPositions());
    while (!parking.chosenPositions.empty()) gf_placeNextStatic();

    ASSERT_EQ(engine.staticCreationQueue.size(), chosen) << "every position has a livery";
    std::map<uint32_t, const ParkedAc*> bySerial;
    for (const ParkedAc& p : engine.parked) bySerial[p.hexid] = &p;
    for (const CreateRequest& r : engine.staticCreationQueue) {
        const ParkedAc& p = *bySerial.at(r.hexid);
        const Stand& s = airports.stands.at(p.sid - 1);
        EXPECT_NE(s.name, parking.reservedStand);
        EXPECT_LE(
            gf_distanceNm({r.initPosition.Latitude, r.initPosition.Longitude}, {s.latitude, s.longitude}) * 1852.0,
            1.0);
        EXPECT_LE(std::fabs(gf_angleDiff(r.initPosition.Heading * kDegToRad, s.heading)) * kRadToDeg, 2.0);
        EXPECT_EQ(r.tail.back(), '*');
    }
    for (const ParkedAc& a : engine.parked)
        for (const ParkedAc& b : engine.parked) {
            if (&a == &b) continue;
            const double apart = gf_distanceNm({a.standLat, a.standLon}, {b.standLat, b.standLon});
            EXPECT_GT(apart, gf_halfWingspan(a.model) + gf_halfWingspan(b.model))
                << a.callsign << " and " << b.callsign;
        }
}

// Half an hour later: the aircraft still there by its history keeps its stand and is not made again,
// the one whose hours ended goes, and a newcomer's position is added; a live aircraft that took that
// stand in the meantime has the position dropped with its line.
TEST_F(ParkingTest, RenewalAfterTheHalfHourTurnsKeepsRemovesAndAdds) {
    parking_percentage.current = 1;  // 4 of LSZH's stands: more than the history holds
    addOption(stand("A10"), "AFR1", "", 3, {20, 21});
    addOption(stand("E23"), "AFR2", "AFR3", 3, {20});
    addOption(stand("B36"), "AFR4", "", 3, {21});
    gf_firstCalculation();
    ASSERT_EQ(parking.chosenPositions.size(), 2u);
    createAll();
    ASSERT_EQ(engine.parked.size(), 2u);
    const ParkedAc* leaving = nullptr;
    for (const ParkedAc& p : engine.parked)
        if (p.sid == stand("E23").sid) leaving = &p;
    ASSERT_NE(leaving, nullptr);
    EXPECT_EQ(leaving->callsign, "AFR3*") << "gone by the next half hour: made under the number it leaves with";
    const uint32_t leavingObject = leaving->objectId;

    setNow({3, 21});
    ASSERT_TRUE(gf_renewParking(false));

    for (const ParkedAc& p : engine.parked)
        EXPECT_EQ(p.state, p.sid == stand("A10").sid ? ActState::Live : ActState::Removing) << p.callsign;
    ASSERT_EQ(engine.removalQueue.size(), 1u);
    EXPECT_EQ(engine.removalQueue.front(), leavingObject);
    ASSERT_EQ(parking.chosenPositions.size(), 1u);
    EXPECT_EQ(parking.chosenPositions.front().sid, stand("B36").sid);
    Act live;
    live.callsign = "SWR40";
    live.state = ActState::Live;
    live.phase = ActPhase::AtStand;
    live.sid = stand("B36").sid;
    engine.active.push_back(live);
    gf_placeNextStatic();
    EXPECT_TRUE(engine.staticCreationQueue.empty());
    EXPECT_TRUE(logHas("no static parking for AFR4, live aircraft SWR40 standing here"));
}

// A live aircraft whose data stopped leaves its stand at the renewal after 180 minutes for a heavy, 90
// for others; with INITIAL_LOAD_ONLY nobody is removed for parking reasons.
TEST_F(ParkingTest, SilentLiveAircraftOnAStandGoAfterTheirTime) {
    struct Case {
        ModelCategory category;
        int minutes;
        bool initialLoadOnly;
        bool removed;
    };
    const Case cases[] = {{ModelCategory::Heavy, 181, false, true},
                          {ModelCategory::Heavy, 179, false, false},
                          {ModelCategory::Large, 91, false, true},
                          {ModelCategory::Large, 91, true, false}};
    for (const Case& c : cases) {
        engine.active.clear();
        INITIAL_LOAD_ONLY.current = c.initialLoadOnly;
        Act a;
        a.callsign = "SWR40";
        a.state = ActState::Live;
        a.phase = ActPhase::AtStand;
        a.category = c.category;
        a.objectId = 77;
        a.sid = stand("E23").sid;
        a.standTime = std::chrono::duration_cast<std::chrono::nanoseconds>(
                          (gf_steadyNow() - std::chrono::minutes(c.minutes)).time_since_epoch())
                          .count();
        engine.active.push_back(a);
        ASSERT_TRUE(gf_renewParking(false));
        EXPECT_EQ(engine.active.front().state == ActState::Removing, c.removed) << c.minutes << " minutes";
        EXPECT_EQ(parking.stayers.size(), c.removed ? 0u : 1u);
    }
}

}  // namespace

namespace {

// "Flush static": every parked aircraft goes, those still queued without ever reaching the simulator,
// and nothing of the calculation comes after. The reserved stand is cleared of its parked aircraft.
TEST_F(ParkingTest, FlushAndReservedStandClearParkedAircraft) {
    parking_percentage.current = 1;
    addOption(stand("A10"), "AFR1", "", 3, {20});
    addOption(stand("E23"), "AFR2", "", 3, {20});
    addOption(stand("B36"), "AFR3", "", 3, {20});
    gf_firstCalculation();
    ASSERT_EQ(parking.chosenPositions.size(), 3u);
    gf_placeNextStatic();
    createAll();  // the rest made and Live
    ASSERT_EQ(engine.parked.size(), 3u);

    parking.reservedStand = "E23";
    gf_clearReservedStand();
    ASSERT_EQ(engine.removalQueue.size(), 1u);
    EXPECT_EQ(gf_findParkedByObject(engine.removalQueue.front())->sid, stand("E23").sid);

    addOption(stand("E26"), "AFR4", "", 3, {20});
    parking.chosenPositions.push_back({0, 0, "AFR", "A320", stand("E26").sid, "AFR4", "", "", false, true});
    gf_placeNextStatic();  // queued, not created yet
    ASSERT_EQ(engine.staticCreationQueue.size(), 1u);
    parking.chosenPositions.push_back({0, 0, "AFR", "A320", stand("E53").sid, "AFR5", "", "", false, true});

    gf_flushStatic();
    EXPECT_TRUE(parking.chosenPositions.empty());
    EXPECT_TRUE(engine.staticCreationQueue.empty());
    EXPECT_EQ(engine.parked.size(), 3u) << "the queued one is gone at once";
    for (const ParkedAc& p : engine.parked) EXPECT_EQ(p.state, ActState::Removing) << p.callsign;
    EXPECT_EQ(engine.removalQueue.size(), 3u) << "the one already going is not asked twice";
}

}  // namespace
