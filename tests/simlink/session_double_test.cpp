// The session against the simulator double, in process: client, SimClient and simulator stepped together.
#include <gtest/gtest.h>

#include <functional>
#include <map>

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
    EXPECT_TRUE(sim_->exceptions().empty()) << "every definition, mapping and group entry was understood";
    EXPECT_TRUE(panel.simConnected);
    EXPECT_EQ(panel.simText.get(), "Lockheed Martin Prepar3D v5 (5.4.9.28482)");
}

// The simulator announces and scans a helicopter as a type of its own (3); ours is tied to its request and
// frozen all the same, beside an airliner; a title the simulator lacks fails its creation.
TEST_F(DoubleTest, ObjectsAreCreatedFrozenMovedAndRemoved) {
    scenario_.titles = {"FSPXAI B738 Lufthansa", "FSPXAI EC135 Rega"};
    scenario_.helicopters = {"FSPXAI EC135 Rega"};
    start();
    UserSnapshot snapshot;
    gf_requestUserSnapshot(snapshot);
    ASSERT_TRUE(runUntil([] { return simlink.userObjectId != 0; }));
    const auto request = [](const char* tail, const char* title, uint32_t hexid) {
        CreateRequest r;
        r.initPosition = {47.4600, 8.5500, 1416.0, 0.0, 0.0, 120.0, 1, 0};
        r.tail = tail;
        r.title = title;
        r.hexid = hexid;
        gf_queueCreate(r);
    };
    request("SWR12A", "FSPXAI B738 Lufthansa", 0x4B1815);
    request("RGA1", "FSPXAI EC135 Rega", 0x4B0001);
    request("EZS99", "No Such Livery", 0x4B1816);
    ASSERT_TRUE(runMs(400));  // both objects exist
    gf_requestAircraftInRange();
    std::map<uint32_t, uint32_t> created;  // hexid -> object id
    ASSERT_TRUE(runUntil([&] {
        eventOfKind(kSimLiveCreated);
        for (const SimEvent& e : events_)
            if (e.kind == kSimLiveCreated) created[e.hexid] = e.objectId;
        return created.size() == 2 && eventOfKind(kSimCreateFailed);
    }));
    EXPECT_EQ(firstOfKind(kSimCreateFailed)->hexid, 0x4B1816u);
    ASSERT_TRUE(runMs(100));  // the freeze goes out with the next frames
    for (const auto& [hexid, tail] : {std::pair{0x4B1815u, "SWR12A"}, std::pair{0x4B0001u, "RGA1"}}) {
        const simdouble::SimObject* object = sim_->object(created[hexid]);
        ASSERT_NE(object, nullptr) << tail;
        EXPECT_EQ(object->tail, tail);
        EXPECT_TRUE(object->released);
        EXPECT_TRUE(object->freezeLatLon && object->freezeAltitude && object->freezeAttitude) << tail;
    }

    const uint32_t airliner = created[0x4B1815];
    PositionUpdate p;
    p.objectId = airliner;
    p.latitude = 47.4610;
    p.longitude = 8.5510;
    p.altitude = 1416.0;
    p.heading = 2.0;
    gf_pushPosition(p);
    lf_swapOutboundPositions();
    ASSERT_TRUE(runMs(50));
    EXPECT_NEAR(sim_->object(airliner)->latitude, 47.4610, 1e-9);
    EXPECT_NEAR(sim_->object(airliner)->longitude, 8.5510, 1e-9);

    const uint32_t rega = created[0x4B0001];
    gf_queueRemove(rega);
    ASSERT_TRUE(runUntil([this] { return eventOfKind(kSimRemoved); }));
    EXPECT_EQ(firstOfKind(kSimRemoved)->objectId, rega);
    EXPECT_NE(sim_->object(rega)->removedMs, -1);
}

}  // namespace
