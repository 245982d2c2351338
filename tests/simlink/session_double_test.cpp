// The session against the simulator double, in process: client, SimClient and simulator stepped together.
#include <gtest/gtest.h>

#include <functional>

#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "session_support.h"
#include "tools/simdouble/simdouble.h"

namespace {

class DoubleTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        SIM_INSTALL_PATH.current = "D:\\Lockheed Martin\\Prepar3D v5";
        scenario_.createDelayMs = 300;
        scenario_.titles = {"FSPXAI B738 Lufthansa"};
    }
    void TearDown() override {
        gf_resetSimlink();
        gf_setInProcessServer(nullptr);
        ZarkTest::TearDown();
    }
    void start() {
        sim_ = std::make_unique<simdouble::SimDouble>(scenario_);
        link_ = std::make_unique<simdouble::InProcessSimulator>(*sim_);
        gf_setInProcessServer(link_.get());
        ASSERT_TRUE(gf_openSimConnect());
    }
    // Simulator time and SimClient together, one millisecond at a time as the thread would turn.
    bool runMs(int64_t ms) {
        for (int64_t i = 0; i < ms; ++i) {
            sim_->advance(1);
            if (!gf_simClientStep()) return false;
        }
        return true;
    }
    // Runs until `done` holds, at most `ms` milliseconds of simulator time.
    bool runUntil(const std::function<bool()>& done, int64_t ms = 5000) {
        for (int64_t i = 0; i < ms && !done(); ++i)
            if (!runMs(1)) return false;
        return done();
    }
    std::vector<SimEvent> events_;
    bool eventOfKind(uint32_t kind) {
        for (const SimEvent& e : gf_takeSimEvents()) events_.push_back(e);
        for (const SimEvent& e : events_)
            if (e.kind == kind) return true;
        return false;
    }
    const SimEvent* firstOfKind(uint32_t kind) const {
        for (const SimEvent& e : events_)
            if (e.kind == kind) return &e;
        return nullptr;
    }

    simdouble::Scenario scenario_;
    std::unique_ptr<simdouble::SimDouble> sim_;
    std::unique_ptr<simdouble::InProcessSimulator> link_;
};

TEST_F(DoubleTest, TheDoubleUnderstandsTheWholeSetup) {
    start();
    ASSERT_TRUE(runMs(100));
    EXPECT_TRUE(sim_->exceptions().empty()) << "every definition, mapping and group entry was understood";
    EXPECT_TRUE(panel.simConnected);
    EXPECT_EQ(panel.simText.get(), "Lockheed Martin Prepar3D v5 (5.4.9.28482)");
}

TEST_F(DoubleTest, AWrongSimulatorOrAMismatchEndsSimClient) {
    scenario_.applicationName = "KittyHawk";
    start();
    EXPECT_FALSE(runMs(10));
    EXPECT_NE(gf_messageLine().error.find("78"), std::string::npos) << gf_messageLine().error;
    gf_resetSimlink();
    gf_clearErrorAndMessage();
    scenario_.applicationName = "Lockheed Martin Prepar3D v5";
    scenario_.versionMismatch = true;
    start();
    EXPECT_FALSE(runMs(10));
    EXPECT_NE(gf_messageLine().error.find("95"), std::string::npos) << gf_messageLine().error;
}

TEST_F(DoubleTest, TheUserAircraftDrivesTheTickAndIsTracked) {
    start();
    gf_requestUserNames();
    gf_requestOnGroundEachSecond();
    ASSERT_TRUE(runUntil([] { return !user.userTitle.empty() && user.userHalfSpan.has_value(); }));
    EXPECT_EQ(user.userTitle, "Lockheed Martin C-130");
    EXPECT_EQ(user.userModel, "C130");
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));
    gf_requestUserSnapshot(snapshot);
    EXPECT_NEAR(snapshot.latitude, 47.4647, 1e-9);
    EXPECT_NEAR(snapshot.longitude, 8.5492, 1e-9);
    EXPECT_EQ(simlink.userObjectId, scenario_.userObjectId);
    EXPECT_EQ(user.simEpoch.load() / 86400, 1767268800 / 86400) << "the simulated day";
    run.tickPending = false;
    ASSERT_TRUE(runUntil([] { return run.tickPending.load(); }, 1100)) << "a tick within a simulated second";
    EXPECT_TRUE(user.userOnGroundKnown);
    EXPECT_TRUE(user.userOnGround);
    ASSERT_TRUE(runMs(1000));
    EXPECT_NEAR(simlink.frameRate, 30.0f, 0.5f) << "refreshed every 30th frame";
}

TEST_F(DoubleTest, AnObjectIsCreatedFrozenMovedAndRemoved) {
    start();
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));

    CreateRequest request;
    request.initPosition = {47.4600, 8.5500, 1416.0, 0.0, 0.0, 120.0, 1, 0};
    request.tail = "SWR12A";
    request.title = "FSPXAI B738 Lufthansa";
    request.hexid = 0x4B1815;
    gf_queueCreate(request);
    CreateRequest unknown = request;
    unknown.title = "No Such Livery";
    unknown.tail = "EZS99";
    unknown.hexid = 0x4B1816;
    gf_queueCreate(unknown);

    ASSERT_TRUE(runUntil([] { return simQueues.addedObjects.size() == 1; }));
    gf_requestAircraftInRange();
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimLiveCreated) && eventOfKind(kSimCreateFailed); }));
    const SimEvent created = *firstOfKind(kSimLiveCreated);
    EXPECT_EQ(created.hexid, 0x4B1815u);
    EXPECT_EQ(firstOfKind(kSimCreateFailed)->hexid, 0x4B1816u);
    ASSERT_TRUE(runMs(100));
    const simdouble::SimObject* object = sim_->object(created.objectId);
    ASSERT_NE(object, nullptr);
    EXPECT_EQ(object->tail, "SWR12A");
    EXPECT_TRUE(object->released);
    EXPECT_TRUE(object->freezeLatLon && object->freezeAltitude && object->freezeAttitude);

    PositionUpdate p;
    p.objectId = created.objectId;
    p.latitude = 47.4610;
    p.longitude = 8.5510;
    p.altitude = 1416.0;
    p.heading = 2.0;
    gf_pushPosition(p);
    lf_swapOutboundPositions();
    ASSERT_TRUE(runMs(50));
    EXPECT_NEAR(sim_->object(created.objectId)->latitude, 47.4610, 1e-9);
    EXPECT_NEAR(sim_->object(created.objectId)->longitude, 8.5510, 1e-9);

    gf_queueRemove(created.objectId);
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimRemoved); }));
    EXPECT_EQ(firstOfKind(kSimRemoved)->objectId, created.objectId);
    EXPECT_NE(sim_->object(created.objectId)->removedMs, -1);
}

// The simulator announces and scans a helicopter as a type of its own (3); ours is tied to its request and
// its removal reported all the same, and an airliner beside it still is.
TEST_F(DoubleTest, AHelicopterOfOursIsTiedToItsRequestAndItsRemovalReported) {
    scenario_.titles = {"FSPXAI B738 Lufthansa", "FSPXAI EC135 Rega"};
    scenario_.helicopters = {"FSPXAI EC135 Rega"};
    start();
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));
    CreateRequest rega;
    rega.initPosition = {47.4600, 8.5500, 1416.0, 0.0, 0.0, 120.0, 1, 0};
    rega.tail = "RGA1";
    rega.title = "FSPXAI EC135 Rega";
    rega.hexid = 0x4B0001;
    CreateRequest airliner = rega;
    airliner.tail = "DLH4";
    airliner.title = "FSPXAI B738 Lufthansa";
    airliner.hexid = 0x3C0001;
    gf_queueCreate(rega);
    gf_queueCreate(airliner);
    ASSERT_TRUE(runMs(400));  // both objects exist
    gf_requestAircraftInRange();
    ASSERT_TRUE(runUntil([this] {
        eventOfKind(kSimLiveCreated);
        int created = 0;
        for (const SimEvent& e : events_) created += e.kind == kSimLiveCreated;
        return created == 2;
    })) << "both tied to their requests";
    uint32_t regaId = 0;
    for (const SimEvent& e : events_)
        if (e.kind == kSimLiveCreated && e.hexid == 0x4B0001u) regaId = e.objectId;
    ASSERT_NE(regaId, 0u);
    ASSERT_TRUE(runMs(100));  // the freeze goes out with the next frames
    EXPECT_EQ(sim_->object(regaId)->tail, "RGA1");
    EXPECT_TRUE(sim_->object(regaId)->freezeLatLon);
    gf_queueRemove(regaId);
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimRemoved); }));
    EXPECT_EQ(firstOfKind(kSimRemoved)->objectId, regaId);
}

}  // namespace
