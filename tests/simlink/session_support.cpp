#include "session_support.h"

#include "frame/core/message.h"
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

std::vector<std::string> gf_expectedSetupLines() {
    return {
        "Open ZARK_P3D",
        "Subscribe 201 Sim",
        "Subscribe 202 ObjectAdded",
        "Subscribe 203 ObjectRemoved",
        "Subscribe 205 PositionChanged",
        "Subscribe 206 FlightLoaded",
        "Subscribe 204 Frame",
        "Define 407 \"TITLE\" \"\" 11 0 4294967295",
        "Define 408 \"ATC MODEL\" \"\" 6 0 4294967295",
        "Define 409 \"SIM ON GROUND\" \"Bool\" 2 0 4294967295",
        "Define 402 \"Plane Latitude\" \"degree\" 4 0 4294967295",
        "Define 402 \"Plane Longitude\" \"degree\" 4 0 4294967295",
        "Define 402 \"Plane Pitch degrees\" \"radians\" 4 0 4294967295",
        "Define 402 \"Plane Bank degrees\" \"radians\" 4 0 4294967295",
        "Define 402 \"Plane Heading degrees true\" \"radians\" 4 0 4294967295",
        "Define 402 \"Plane Altitude\" \"feet\" 4 0 4294967295",
        "Define 402 \"Vertical Speed\" \"feet per second\" 4 0 4294967295",
        "Define 402 \"Airspeed True\" \"knots\" 4 0 4294967295",
        "Define 403 \"Plane Latitude\" \"degree\" 4 0 4294967295",
        "Define 403 \"Plane Longitude\" \"degree\" 4 0 4294967295",
        "Define 403 \"Plane Pitch degrees\" \"radians\" 4 0 4294967295",
        "Define 403 \"Plane Bank degrees\" \"radians\" 4 0 4294967295",
        "Define 403 \"Plane Heading degrees true\" \"radians\" 4 0 4294967295",
        "Define 403 \"Plane Altitude\" \"feet\" 4 0 4294967295",
        "Define 403 \"Plane Alt Above Ground\" \"feet\" 4 0 4294967295",
        "Define 403 \"Ground Velocity\" \"knots\" 4 0 4294967295",
        "Define 403 \"ZULU TIME\" \"Seconds\" 2 0 4294967295",
        "Define 403 \"ZULU DAY OF YEAR\" \"Number\" 2 0 4294967295",
        "Define 403 \"ZULU YEAR\" \"Number\" 2 0 4294967295",
        "Define 403 \"LIGHT STATES\" \"Mask\" 2 0 4294967295",
        "Define 405 \"Static CG to Ground\" \"feet\" 4 0 4294967295",
        "Define 405 \"Static Pitch\" \"radians\" 4 0 4294967295",
        "Define 406 \"Light On States\" \"Mask\" 2 0 4294967295",
        "Define 404 \"Plane Alt Above Ground\" \"feet\" 4 0 4294967295",
        "Define 404 \"Ground Altitude\" \"feet\" 4 0 4294967295",
        "Define 404 \"SIM ON GROUND\" \"Bool\" 2 0 4294967295",
        "Define 404 \"ATC ID\" \"\" 6 0 4294967295",
        "Map 220 GEAR_SET",
        "Map 221 ENGINE_AUTO_START",
        "Map 222 ENGINE_AUTO_SHUTDOWN",
        "Map 223 THROTTLE_SET",
        "Map 218 FLAPS_SET",
        "Map 219 SPOILERS_SET",
        "Map 208 NAV_LIGHTS_SET",
        "Map 207 BEACON_LIGHTS_SET",
        "Map 211 LANDING_LIGHTS_SET",
        "Map 209 TAXI_LIGHTS_SET",
        "Map 210 STROBES_SET",
        "Map 213 LOGO_LIGHTS_SET",
        "Map 212 CABIN_LIGHTS_SET",
        "Map 214 ALL_LIGHTS_TOGGLE",
        "Map 215 FREEZE_LATITUDE_LONGITUDE_SET",
        "Map 216 FREEZE_ALTITUDE_SET",
        "Map 217 FREEZE_ATTITUDE_SET",
        "Define 401 \"SPOILERS HANDLE POSITION\" \"percent\" 4 0 4294967295",
        "Define 401 \"GENERAL ENG THROTTLE LEVER POSITION:1\" \"percent\" 4 0 4294967295",
        "Define 401 \"GENERAL ENG THROTTLE LEVER POSITION:2\" \"percent\" 4 0 4294967295",
        "Group 301 208 1",
        "Group 301 207 1",
        "Group 301 211 1",
        "Group 301 209 1",
        "Group 301 210 1",
        "Group 301 213 1",
        "Group 301 212 1",
        "Group 301 214 1",
        "Group 301 218 1",
        "Group 301 219 1",
        "Group 301 220 1",
        "Group 301 222 1",
        "Group 301 223 1",
        "Group 301 215 1",
        "Group 301 216 1",
        "Group 301 217 1",
        "Priority 301 1",
    };
}
