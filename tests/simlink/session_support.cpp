#include "session_support.h"

#include "frame/message.h"
#include "liveries/dbase.h"

void SessionTest::SetUp() {
    ZarkTest::SetUp();
    gf_setInProcessServer(&sim_);
}

void SessionTest::TearDown() {
    gf_resetSimlink();
    gf_setInProcessServer(nullptr);
    gf_clearDbase();
    ZarkTest::TearDown();
}

void SessionTest::open() {
    ASSERT_TRUE(gf_openSimConnect());
    sim_.takeLines();
}

void SessionTest::userAt(double lat, double lon, uint32_t userId, double groundSpeed) {
    sim_.sendData(kReqUserSnapshot, userId, kDefUserData, ScriptedSim::snapshot(lat, lon, 100.0, groundSpeed));
    ASSERT_TRUE(step());
}

void SessionTest::onGround(bool value) {
    sim_.sendData(kReqUserOnGround, simlink.userObjectId, kDefUserOnGround, ScriptedSim::int64(value ? 1 : 0));
    ASSERT_TRUE(step());
}

void SessionTest::frame(float fps) {
    sim_.sendFrame(fps);
    ASSERT_TRUE(step());
}

std::string SessionTest::errorLine() const { return gf_messageLine().error; }
std::string SessionTest::messageLine() const { return gf_messageLine().message; }

void gf_fillSmallDbase() {
    gf_clearDbase();
    auto half = [](double metres) { return metres * 0.5 / 1852.0; };
    dbase.aircraft = {"B738", "A320", "A319", "A321", "E190", "A388", "E35", "DH"};
    dbase.large = {"B738", "A320", "A319", "A321", "E190"};
    dbase.heavy = {"A388"};
    dbase.wingspans = {{"B738", half(35.8)}, {"A320", half(35.8)}, {"A319", half(35.8)}, {"A321", half(35.8)},
                       {"E190", half(28.7)}, {"A388", half(79.8)}, {"E35", half(14.3)},  {"DH", half(25.9)}};
    dbase.largestHalfWingspan = half(79.8);
    // No category means: an unknown code gives 0, so the shorter tries of a model reference are reached.
    dbase.averageHalfWingspan = {0, 0, 0, 0, 0, 0};
}
