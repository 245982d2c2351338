// Objects in the simulator: created from the queue, tied to their request by tail number, frozen, moved,
// reported, removed; and the back pressure of the position stream.
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "frame/core/message.h"
#include "frame/core/runstate.h"
#include "session_support.h"
#include "simlink/handlers.h"

namespace {

constexpr uint32_t kUser = 100;

class ObjectsTest : public SessionTest {
protected:
    void SetUp() override {
        SessionTest::SetUp();
        open();
        userAt(50.03, 8.57, kUser);
        sim_.takeLines();
    }
    static CreateRequest request(const std::string& tail, uint32_t hexid) {
        CreateRequest r;
        r.initPosition = {50.03, 8.57, 364.0, 0.0, 0.0, 250.0, 1, 0};
        r.tail = tail;
        r.title = "FSPXAI B738 Lufthansa";
        r.hexid = hexid;
        return r;
    }
    // The simulator announces an object and the next scan reports it.
    void appears(uint32_t objectId, const std::string& atcId, double agl = 0.0) {
        sim_.sendAddRemove(kEvObjectAdded, objectId);
        scan(objectId, atcId, agl);
    }
    void scan(uint32_t objectId, const std::string& atcId, double agl, double groundAltitude = 364.0) {
        sim_.sendData(kReqInRange, objectId, kDefInRange, ScriptedSim::inRange(agl, groundAltitude, agl < 1.0, atcId),
                      /*byType=*/true);
        ASSERT_TRUE(step());
    }
};

TEST_F(ObjectsTest, ACreatedObjectIsTiedToItsRequestFrozenAndReported) {
    gf_queueCreate(request("DLH4AB", 0x3C6444));
    gf_queueCreate(request("12*", 42));
    frame();
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Create \"FSPXAI B738 Lufthansa\" DLH4AB 104",
                                                          "Create \"FSPXAI B738 Lufthansa\" 12* 104"}));
    appears(101, "DLH4AB", 0.4);
    appears(102, "12*");
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Release 101 103", "Release 102 103"}));
    const auto ev = events();
    ASSERT_EQ(ev.size(), 2u);
    EXPECT_EQ(ev[0].objectId, 101u);
    EXPECT_EQ(ev[0].hexid, 0x3C6444u);
    EXPECT_EQ(ev[0].kind, kSimLiveCreated);
    EXPECT_EQ(ev[0].b, 0.4);
    EXPECT_EQ(ev[1].objectId, 102u);
    EXPECT_EQ(ev[1].hexid, 42u);
    EXPECT_EQ(ev[1].kind, kSimParkedCreated);
    EXPECT_EQ(ev[1].b, 0.0);
    frame();
    EXPECT_EQ(sim_.takeLines(),
              (std::vector<std::string>{"Transmit 101 215 1 301", "Transmit 101 216 1 301", "Transmit 101 217 1 301",
                                        "Transmit 102 215 1 301", "Transmit 102 216 1 301", "Transmit 102 217 1 301"}));
    EXPECT_TRUE(simQueues.pendingCreates.empty());
    EXPECT_TRUE(simQueues.addedObjects.empty());
}

TEST_F(ObjectsTest, TwoCreationsWithOneTailAreToldApartByOrder) {
    gf_queueCreate(request("BAW1", 20001));
    gf_queueCreate(request("EZY9", 20003));
    gf_queueCreate(request("BAW1", 20002));
    frame();
    sim_.sendAddRemove(kEvObjectAdded, 110);
    sim_.sendAddRemove(kEvObjectAdded, 111);
    ASSERT_TRUE(step());
    scan(111, "BAW1", 0.0);  // the first seen takes the first sent
    scan(110, "BAW1", 0.0);
    const auto ev = events();
    ASSERT_EQ(ev.size(), 2u);
    EXPECT_EQ(ev[0].objectId, 111u);
    EXPECT_EQ(ev[0].hexid, 20001u);
    EXPECT_EQ(ev[1].objectId, 110u);
    EXPECT_EQ(ev[1].hexid, 20002u);
    ASSERT_EQ(simQueues.pendingCreates.size(), 1u);
    EXPECT_EQ(simQueues.pendingCreates[0].tail, "EZY9");
}

TEST_F(ObjectsTest, AnObjectOfAnotherProgramIsLoggedAndIgnored) {
    appears(150, "N12345", 0.0);
    EXPECT_TRUE(logHas("just created, but not by ZARK_P3D, oid: 150, callsign \"N12345\" unknown"));
    EXPECT_TRUE(sim_.takeLines().empty()) << "not frozen";
    scan(150, "N12345", 10.0);
    sim_.sendAddRemove(kEvObjectRemoved, 150);
    ASSERT_TRUE(step());
    EXPECT_TRUE(events().empty());
}

TEST_F(ObjectsTest, OnlyAircraftAboveTheUserCount) {
    sim_.sendAddRemove(kEvObjectAdded, 160, SIMCONNECT_SIMOBJECT_TYPE_GROUND);
    sim_.sendAddRemove(kEvObjectAdded, 90);
    sim_.sendAddRemove(kEvObjectRemoved, 161, SIMCONNECT_SIMOBJECT_TYPE_BOAT);
    ASSERT_TRUE(step());
    EXPECT_TRUE(simQueues.addedObjects.empty());
    scan(90, "D-EABC", 0.0);
    EXPECT_TRUE(events().empty());
    sim_.sendAddRemove(kEvObjectRemoved, 120);
    ASSERT_TRUE(step());
    const auto ev = events();
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, kSimRemoved);
    EXPECT_EQ(ev[0].objectId, 120u);
}

TEST_F(ObjectsTest, AFailedCreationIsReportedByItsPacket) {
    gf_queueCreate(request("AFR7", 0x39AC47));
    frame();
    const uint32_t packet = sim_.lastSerial();
    sim_.sendException(SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED, packet + 50);
    ASSERT_TRUE(step());
    EXPECT_TRUE(events().empty()) << "an unknown packet has no effect";
    EXPECT_EQ(simQueues.pendingCreates.size(), 1u);
    sim_.sendException(SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED, packet);
    ASSERT_TRUE(step());
    const auto ev = events();
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, kSimCreateFailed);
    EXPECT_EQ(ev[0].hexid, 0x39AC47u);
    EXPECT_EQ(ev[0].objectId, 0u);
    EXPECT_TRUE(simQueues.pendingCreates.empty());
}

TEST_F(ObjectsTest, TheUsersSideIsNeverRemoved) {
    gf_queueRemove(0);
    gf_queueRemove(kUser);
    gf_queueRemove(130);
    frame();
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Remove 130 105"}));
    EXPECT_TRUE(logHas("!Simconnect call to remove AI ac with objectId 0"));
    EXPECT_TRUE(logHas("!Simconnect call to remove AI ac with objectId 100"));
}

TEST_F(ObjectsTest, HeightReportsComeOnlyNearTheGroundAndNeverForParkedAircraft) {
    scan(120, "DLH4AB", 2500.0, 111.0);
    scan(121, "DLH4AC", 2501.0);
    scan(122, "7*", 0.0);
    scan(kUser, "D-EABC", 0.0);
    scan(123, "DLH4AD", 0.0);
    const auto ev = events();
    ASSERT_EQ(ev.size(), 2u);
    EXPECT_EQ(ev[0].kind, kSimHeight);
    EXPECT_EQ(ev[0].objectId, 120u);
    EXPECT_EQ(ev[0].hexid, 0u) << "in the air";
    EXPECT_EQ(ev[0].a, 111.0);
    EXPECT_EQ(ev[0].b, 2500.0);
    EXPECT_EQ(ev[1].objectId, 123u);
    EXPECT_EQ(ev[1].hexid, 1u) << "on the ground";
}

TEST_F(ObjectsTest, StaticValuesComeBackAsKind4) {
    gf_requestStaticValues(130);
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Request 102 405 130 1"}));
    std::vector<uint8_t> payload(16);
    const double values[2] = {6.5, -0.01};
    std::memcpy(payload.data(), values, 16);
    sim_.sendData(kReqStatic, 130, kDefStatic, payload);
    ASSERT_TRUE(step());
    const auto ev = events();
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, kSimStatic);
    EXPECT_EQ(ev[0].a, 6.5);
    EXPECT_EQ(ev[0].b, -0.01);
}

TEST_F(ObjectsTest, PositionsAndEventsGoOutWithTheNextFrameInOrder) {
    PositionUpdate p;
    p.latitude = 50.1;
    p.objectId = 130;
    gf_pushPosition(p);
    p.objectId = kUser;  // the user's own aircraft is never moved
    gf_pushPosition(p);
    lf_swapOutboundPositions();
    gf_setLights(130, 1, 1, 0, 1, 0, 1, 1);
    int32_t flaps = 0;
    gf_setFlaps(130, ModelCategory::Large, flaps, 2);
    gf_setFlaps(130, ModelCategory::Large, flaps, 2);  // unchanged: nothing
    frame();
    EXPECT_EQ(sim_.takeLines(),
              (std::vector<std::string>{"SetData 402 130 64 50.1", "Transmit 130 208 1 301", "Transmit 130 207 1 301",
                                        "Transmit 130 211 0 301", "Transmit 130 209 1 301", "Transmit 130 210 0 301",
                                        "Transmit 130 213 1 301", "Transmit 130 212 1 301", "Release 130 103",
                                        "Transmit 130 218 10240 301", "Release 130 103"}));
    EXPECT_EQ(flaps, 2);
    frame();
    EXPECT_TRUE(sim_.takeLines().empty()) << "a list is sent once";
}

TEST_F(ObjectsTest, ARotorcraftGetsNoFlapsSpoilersOrGearAndThrottle5OnlyStores) {
    int32_t flaps = 0, throttle = 0;
    gf_setFlaps(130, ModelCategory::Rotorcraft, flaps, 1);
    gf_setSpoilers(130, ModelCategory::Rotorcraft, true);
    gf_setGear(130, ModelCategory::Rotorcraft, false);
    gf_setThrottle(130, throttle, 5);
    gf_setThrottle(130, throttle, 5);
    gf_setThrottle(130, throttle, 3);
    gf_startEngines(130);
    frame();
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Transmit 130 223 11468 301", "Transmit 130 221 0 301"}));
    EXPECT_EQ(throttle, 3);
    EXPECT_EQ(flaps, 0);
}

// Holds the simulator lock on a thread of its own, as the engine would, until released.
class LockHolder {
public:
    LockHolder() {
        thread_ = std::thread([this] {
            std::lock_guard lock(simQueues.simLock);
            held_.set_value();
            release_.get_future().wait();
        });
        held_.get_future().wait();
    }
    void release() {
        release_.set_value();
        thread_.join();
    }

private:
    std::promise<void> held_, release_;
    std::thread thread_;
};

TEST_F(ObjectsTest, ABusyLockCostsTheFrameButLosesNothingQueued) {
    gf_queueCreate(request("DLH4AB", 0x3C6444));
    LockHolder holder;
    frame();
    EXPECT_TRUE(sim_.takeLines().empty());
    holder.release();
    frame();
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"Create \"FSPXAI B738 Lufthansa\" DLH4AB 104"}));
}

TEST_F(ObjectsTest, At30FpsABusyLockDropsTheSlicesPositions) {
    simlink.frameRate = 30.0f;
    PositionUpdate p;
    p.objectId = 130;
    gf_pushPosition(p);
    LockHolder holder;
    lf_swapOutboundPositions();  // returns at once
    holder.release();
    frame();
    EXPECT_TRUE(sim_.takeLines().empty());
    EXPECT_TRUE(simQueues.outboundPositions[0].empty());
    EXPECT_TRUE(simQueues.outboundPositions[1].empty());
}

TEST_F(ObjectsTest, At60FpsABusyLockMakesTheEngineWait) {
    simlink.frameRate = 60.0f;
    PositionUpdate p;
    p.objectId = 130;
    p.latitude = 50.2;
    gf_pushPosition(p);
    LockHolder holder;
    std::atomic<bool> swapped{false};
    std::thread engine([&] {
        lf_swapOutboundPositions();
        swapped = true;
    });
    EXPECT_FALSE(swapped) << "the swap cannot finish while the lock is held";
    holder.release();
    engine.join();
    frame(60.0f);
    EXPECT_EQ(sim_.takeLines(), (std::vector<std::string>{"SetData 402 130 64 50.2"}));
}

}  // namespace
