#include "session_support.h"

#include <fmt/format.h>

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
    std::vector<std::string> lines = {"Open ZARK_P3D",
                                      "Subscribe 201 Sim",
                                      "Subscribe 202 ObjectAdded",
                                      "Subscribe 203 ObjectRemoved",
                                      "Subscribe 205 PositionChanged",
                                      "Subscribe 206 FlightLoaded",
                                      "Subscribe 204 Frame"};
    const auto define = [&lines](int def, const char* name, const char* unit, int type) {
        lines.push_back(fmt::format("Define {} \"{}\" \"{}\" {} 0 4294967295", def, name, unit, type));
    };
    define(407, "TITLE", "", 11);
    define(408, "ATC MODEL", "", 6);
    define(409, "SIM ON GROUND", "Bool", 2);
    // The moved aircraft (402) and the user's snapshot (403) begin with the same six.
    const auto place = [&define](int def) {
        define(def, "Plane Latitude", "degree", 4);
        define(def, "Plane Longitude", "degree", 4);
        for (const char* name : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            define(def, name, "radians", 4);
        define(def, "Plane Altitude", "feet", 4);
    };
    place(402);
    define(402, "Vertical Speed", "feet per second", 4);
    define(402, "Airspeed True", "knots", 4);
    place(403);
    define(403, "Plane Alt Above Ground", "feet", 4);
    define(403, "Ground Velocity", "knots", 4);
    define(403, "ZULU TIME", "Seconds", 2);
    define(403, "ZULU DAY OF YEAR", "Number", 2);
    define(403, "ZULU YEAR", "Number", 2);
    define(403, "LIGHT STATES", "Mask", 2);
    define(405, "Static CG to Ground", "feet", 4);
    define(405, "Static Pitch", "radians", 4);
    define(406, "Light On States", "Mask", 2);
    define(404, "Plane Alt Above Ground", "feet", 4);
    define(404, "Ground Altitude", "feet", 4);
    define(404, "SIM ON GROUND", "Bool", 2);
    define(404, "ATC ID", "", 6);
    const std::pair<int, const char*> events[] = {{220, "GEAR_SET"},
                                                  {221, "ENGINE_AUTO_START"},
                                                  {222, "ENGINE_AUTO_SHUTDOWN"},
                                                  {223, "THROTTLE_SET"},
                                                  {218, "FLAPS_SET"},
                                                  {219, "SPOILERS_SET"},
                                                  {208, "NAV_LIGHTS_SET"},
                                                  {207, "BEACON_LIGHTS_SET"},
                                                  {211, "LANDING_LIGHTS_SET"},
                                                  {209, "TAXI_LIGHTS_SET"},
                                                  {210, "STROBES_SET"},
                                                  {213, "LOGO_LIGHTS_SET"},
                                                  {212, "CABIN_LIGHTS_SET"},
                                                  {214, "ALL_LIGHTS_TOGGLE"},
                                                  {215, "FREEZE_LATITUDE_LONGITUDE_SET"},
                                                  {216, "FREEZE_ALTITUDE_SET"},
                                                  {217, "FREEZE_ATTITUDE_SET"}};
    for (const auto& [id, name] : events) lines.push_back(fmt::format("Map {} {}", id, name));
    define(401, "SPOILERS HANDLE POSITION", "percent", 4);
    define(401, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent", 4);
    define(401, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", 4);
    for (int id : {208, 207, 211, 209, 210, 213, 212, 214, 218, 219, 220, 222, 223, 215, 216, 217})
        lines.push_back(fmt::format("Group 301 {} 1", id));
    lines.push_back("Priority 301 1");
    return lines;
}
