// An aircraft in the simulator follows its samples: it reaches each at its due slice, in between it lies
// on the line between them, and every slice its position goes to the frame handler.
#include <cmath>
#include <vector>

#include <gmock/gmock.h>

#include "common/geo.h"
#include "engine/intake.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"
#include "simlink/queues.h"

namespace {

constexpr uint32_t kHex = 0x4b1614;
constexpr uint32_t kObject = 1001;

class MotionTest : public EngineTest {
protected:
    // The positions the last slice handed to the frame handler.
    static std::vector<PositionUpdate> sentPositions() {
        std::lock_guard lock(simQueues.simLock);
        return simQueues.outboundPositions[1 - simQueues.filling];
    }
    // A sample `nm` east of the first record at 47.4 N, due at `due`.
    static TrafficRecord eastOf(double nm, double altitude, int32_t due, double verticalSpeed = 0.0) {
        TrafficRecord r = record(kHex, 1000.0 + due / 100.0, due);
        r.verticalSpeed = verticalSpeed;
        r.longitude = gf_destinationPoint({r.latitude, r.longitude}, kPi / 2.0, nm * 6076.11549).lon;
        r.altitude = altitude;
        return r;
    }
};

TEST_F(MotionTest, AirborneAircraftReachesEachSampleAtItsDueSlice) {
    // 200 kt for 10 s is 0.5556 nm: the legs fit their schedule. The climb of 3000 ft/min is within an
    // airliner's rate.
    Act& act = liveAct(record(kHex, 1000.0, 0), ActPhase::Airborne, kObject);
    act.heading = kPi / 2.0;
    act.stream.push_back(gf_sampleOf(eastOf(0.5556, 5500.0, 1000, 3000.0)));
    act.stream.push_back(gf_sampleOf(eastOf(1.1111, 6000.0, 2000, 3000.0)));
    const TrafficRecord first = eastOf(0.5556, 5500.0, 1000);
    std::vector<double> longitudes;
    for (int s = 0; s <= 1000; ++s) {
        runSlice();
        const auto sent = sentPositions();
        ASSERT_EQ(sent.size(), 1u) << "slice " << s;
        EXPECT_EQ(sent[0].objectId, kObject);
        longitudes.push_back(sent[0].longitude);
        if (s == 500) {
            // Half way along the first leg: half way in position and in height.
            EXPECT_NEAR(sent[0].longitude, (8.60 + first.longitude) / 2.0, 2e-5);
            EXPECT_NEAR(sent[0].altitude, 5250.0, 10.0);
            EXPECT_NEAR(sent[0].heading, kPi / 2.0, 0.01);
            EXPECT_NEAR(sent[0].trueAirspeed, 210.0, 1e-9);
            EXPECT_NEAR(sent[0].verticalSpeed, 3000.0 / 60.0, 2.0);  // feet per second
            EXPECT_LT(sent[0].pitch, 0.0);                           // climbing: nose up
        }
    }
    EXPECT_NEAR(engine.active[0].longitude, first.longitude, 2e-5);
    EXPECT_NEAR(engine.active[0].altitude, 5500.0, 1.0);
    for (size_t i = 1; i < longitudes.size(); ++i) EXPECT_GE(longitudes[i], longitudes[i - 1]);
}

// A leg timed by its length works off the aircraft's lead or lag on its sample's due slice, but takes no
// less than half and no more than twice its length in time.
TEST_F(MotionTest, LegWorksOffLeadOrLagWithinHalfToTwiceItsLength) {
    const struct {
        int32_t due, end;  // slices after now; the leg's length at its speed is 360
    } cases[] = {{400, 400}, {1000, 720}, {100, 180}};
    for (const auto& c : cases) {
        gf_clearEngineTables();
        Act& act = liveAct(record(kHex, 1000.0, engine.slice), ActPhase::Taxi, kObject);
        act.stream.push_back(gf_sampleOf(eastOf(0.01, 0.0, engine.slice + c.due)));
        gf_clampSchedule(act, 360);
        EXPECT_EQ(act.stream[1].dueTick - engine.slice, c.end) << "due " << c.due;
    }
}

// When the samples end in the air the aircraft flies on for 8 made-up legs, slowing down, then goes.
TEST_F(MotionTest, AircraftWhoseDataEndFliesOnThenIsRemoved) {
    Act& act = liveAct(record(kHex, 1000.0, 0), ActPhase::Airborne, kObject);
    act.heading = kPi / 2.0;
    act.stream.push_back(gf_sampleOf(eastOf(0.5556, 5000.0, 1000)));
    runSlices(1001);
    EXPECT_EQ(engine.active[0].state, ActState::Live);
    EXPECT_EQ(engine.active[0].extrapolation, 8);
    runSlices(8 * 800);
    EXPECT_EQ(engine.active[0].state, ActState::Removing);
    EXPECT_GT(engine.active[0].longitude, eastOf(3.0, 5000.0, 0).longitude);  // it flew on eastwards
    runSlices(10);
    EXPECT_THAT(engine.removalQueue, testing::IsEmpty());  // handed to the simulator at the next 100 ms
    std::lock_guard lock(simQueues.simLock);
    EXPECT_THAT(simQueues.removeQueue, testing::ElementsAre(kObject));
}

// From the first records to a moving object: admitted shortly before the head is due, created at the
// next 500 ms mark, Live 200 slices after the simulator reported it, then positions every slice.
TEST_F(MotionTest, NewAircraftIsCreatedAndThenMoved) {
    TrafficRecord a = eastOf(0.0, 5000.0, 1000);
    TrafficRecord b = eastOf(1.1111, 5000.0, 3000);
    gf_offerLiveSample(a);
    gf_offerLiveSample(b);
    ASSERT_EQ(engine.active.size(), 1u);
    runSlices(900);
    EXPECT_EQ(engine.active[0].state, ActState::New);
    runSlice();  // S 900: the head is due in 100 slices
    EXPECT_EQ(engine.active[0].state, ActState::Creating);
    runSlices(50);
    CreateRequest created;
    {
        std::lock_guard lock(simQueues.simLock);
        ASSERT_EQ(simQueues.createQueue.size(), 1u);
        created = simQueues.createQueue[0];
    }
    EXPECT_EQ(created.tail, "SWR12");
    EXPECT_EQ(created.hexid, kHex);
    EXPECT_NEAR(created.initPosition.Heading, 90.0, 0.1);
    EXPECT_EQ(created.initPosition.OnGround, 0u);
    gf_pushSimEvent({kObject, kHex, 0, kSimLiveCreated, 0, 4000.0});
    runSlices(200);
    EXPECT_EQ(engine.active[0].state, ActState::Live);
    runSlice();
    const auto sent = sentPositions();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].objectId, kObject);
    EXPECT_GT(sent[0].longitude, a.longitude);
}
}  // namespace
