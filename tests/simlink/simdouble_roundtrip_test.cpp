// The simulator double answers every request the program makes, in process, step by step.
#include <cmath>
#include <cstring>

#include "common/geo.h"

#include "simlink/transport/session.h"
#include "support/fixture.h"
#include "tools/simdouble/simdouble.h"
#include "transport_support.h"

namespace {

using simdouble::Scenario;
using simdouble::SimDouble;

class SimDoubleRoundTrip : public TransportTest {
protected:
    void TearDown() override {
        if (h_) SimConnect_Close(h_);
        scope_.reset();
        server_.reset();
        sim_.reset();
        TransportTest::TearDown();
    }
    void start(Scenario s = {}) {
        scope_.reset();
        sim_ = std::make_unique<SimDouble>(s);
        server_ = std::make_unique<simdouble::InProcessSimulator>(*sim_);
        scope_ = std::make_unique<InProcessScope>(*server_);
        ASSERT_EQ(SimConnect_Open(&h_, "ZARK_P3D", nullptr, 0, nullptr, 0), S_OK);
    }
    void dispatch() {
        got_.messages.clear();
        EXPECT_EQ(SimConnect_CallDispatch(h_, Received::collect, &got_), S_OK);
    }
    // The program's vocabulary, as its session sets it up.
    void setUp() {
        const std::pair<uint32_t, const char*> events[] = {{201, "Sim"},           {202, "ObjectAdded"},
                                                           {203, "ObjectRemoved"}, {205, "PositionChanged"},
                                                           {206, "FlightLoaded"},  {204, "Frame"}};
        for (auto [id, name] : events) SimConnect_SubscribeToSystemEvent(h_, id, name);
        SimConnect_AddToDataDefinition(h_, 407, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV);
        SimConnect_AddToDataDefinition(h_, 408, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32);
        SimConnect_AddToDataDefinition(h_, 409, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
        for (const char* v : {"Plane Latitude", "Plane Longitude"})
            SimConnect_AddToDataDefinition(h_, 402, v, "degree");
        for (const char* v : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            SimConnect_AddToDataDefinition(h_, 402, v, "radians");
        SimConnect_AddToDataDefinition(h_, 402, "Plane Altitude", "feet");
        SimConnect_AddToDataDefinition(h_, 402, "Vertical Speed", "feet per second");
        SimConnect_AddToDataDefinition(h_, 402, "Airspeed True", "knots");
        for (const char* v : {"Plane Latitude", "Plane Longitude"})
            SimConnect_AddToDataDefinition(h_, 403, v, "degree");
        for (const char* v : {"Plane Pitch degrees", "Plane Bank degrees", "Plane Heading degrees true"})
            SimConnect_AddToDataDefinition(h_, 403, v, "radians");
        SimConnect_AddToDataDefinition(h_, 403, "Plane Altitude", "feet");
        SimConnect_AddToDataDefinition(h_, 403, "Plane Alt Above Ground", "feet");
        SimConnect_AddToDataDefinition(h_, 403, "Ground Velocity", "knots");
        SimConnect_AddToDataDefinition(h_, 403, "ZULU TIME", "Seconds", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 403, "ZULU DAY OF YEAR", "Number", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 403, "ZULU YEAR", "Number", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 403, "LIGHT STATES", "Mask", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 405, "Static CG to Ground", "feet");
        SimConnect_AddToDataDefinition(h_, 405, "Static Pitch", "radians");
        SimConnect_AddToDataDefinition(h_, 406, "Light On States", "Mask", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 404, "Plane Alt Above Ground", "feet");
        SimConnect_AddToDataDefinition(h_, 404, "Ground Altitude", "feet");
        SimConnect_AddToDataDefinition(h_, 404, "SIM ON GROUND", "Bool", SIMCONNECT_DATATYPE_INT64);
        SimConnect_AddToDataDefinition(h_, 404, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32);
        const std::pair<uint32_t, const char*> maps[] = {{220, "GEAR_SET"},
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
        for (auto [id, name] : maps) SimConnect_MapClientEventToSimEvent(h_, id, name);
        SimConnect_AddToDataDefinition(h_, 401, "SPOILERS HANDLE POSITION", "percent");
        SimConnect_AddToDataDefinition(h_, 401, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent");
        SimConnect_AddToDataDefinition(h_, 401, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent");
        for (uint32_t e : {208, 207, 211, 209, 210, 213, 212, 214, 218, 219, 220, 222, 223, 215, 216, 217})
            SimConnect_AddClientEventToNotificationGroup(h_, 301, e, 1);
        SimConnect_SetNotificationGroupPriority(h_, 301, SIMCONNECT_GROUP_PRIORITY_HIGHEST);
    }
    // Creates one aircraft and returns its object id once the double has made it.
    uint32_t createAircraft(const char* tail, double lat = 47.4650, double lon = 8.5495) {
        SIMCONNECT_DATA_INITPOSITION pos{lat, lon, 1416, 0, 0, 90, 1, 0};
        EXPECT_EQ(SimConnect_AICreateNonATCAircraft(h_, "Airbus A320 Swiss", tail, pos, 104), S_OK);
        sim_->advance(sim_->scenario().createDelayMs);
        dispatch();
        auto assigned = got_.ofId(SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID);
        EXPECT_EQ(assigned.size(), 1u);
        return assigned.empty() ? 0 : u32At(assigned[0], 16);
    }
    uint32_t exceptionCode(size_t i = 0) { return u32At(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).at(i), 12); }

    std::unique_ptr<SimDouble> sim_;
    std::unique_ptr<simdouble::InProcessSimulator> server_;
    std::unique_ptr<InProcessScope> scope_;
    HANDLE h_ = nullptr;
    Received got_;
};

TEST_F(SimDoubleRoundTrip, OpenIsAnsweredAndTheSetupRaisesNoException) {
    start();
    setUp();
    dispatch();
    auto open = got_.ofId(SIMCONNECT_RECV_ID_OPEN);
    ASSERT_EQ(open.size(), 1u);
    const auto* o = reinterpret_cast<const SIMCONNECT_RECV_OPEN*>(open[0].data());
    EXPECT_STREQ(o->szApplicationName, "Lockheed Martin\xC2\xAE Prepar3D\xC2\xAE v5");
    EXPECT_EQ(o->dwApplicationVersionMajor, 5u);
    EXPECT_EQ(o->dwApplicationVersionMinor, 4u);
    EXPECT_TRUE(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).empty());
    // "Sim" tells its state at once, in the Prepar3D form with dwFlags.
    auto events = got_.ofId(SIMCONNECT_RECV_ID_EVENT);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].size(), 28u);
    EXPECT_EQ(u32At(events[0], 16), 201u);
    EXPECT_EQ(u32At(events[0], 20), 1u);
}

TEST_F(SimDoubleRoundTrip, BothEventFormsAreEmitted) {
    for (bool flags : {true, false}) {
        Scenario s;
        s.eventFlags = flags;
        start(s);
        setUp();
        SIMCONNECT_DATA_INITPOSITION pos{47.465, 8.55, 1416, 0, 0, 0, 1, 0};
        SimConnect_AICreateNonATCAircraft(h_, "A", "T1", pos, 104);
        sim_->advance(1000);
        dispatch();
        EXPECT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EVENT).at(0).size(), flags ? 28u : 24u);
        EXPECT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE).at(0).size(), flags ? 32u : 28u);
        auto frames = got_.ofId(SIMCONNECT_RECV_ID_EVENT_FRAME);
        EXPECT_EQ(frames.size(), 30u);  // one second at 30 frames per second
        EXPECT_EQ(frames.at(0).size(), flags ? 36u : 32u);
        SimConnect_Close(h_);
        h_ = nullptr;
    }
}

TEST_F(SimDoubleRoundTrip, UserAircraftRequestsAreAnsweredInTheLayoutOfTheirDefinitions) {
    for (uint32_t padding : {0u, 4u, 8u}) {
        Scenario s;
        s.stringvPadding = padding;
        s.user.title = "Lockheed Martin C-130J";  // 22 characters and the NUL
        start(s);
        setUp();
        SimConnect_RequestDataOnSimObject(h_, 106, 407, 0, SIMCONNECT_PERIOD_ONCE);
        SimConnect_RequestDataOnSimObject(h_, 107, 408, 0, SIMCONNECT_PERIOD_ONCE);
        SimConnect_RequestDataOnSimObject(h_, 109, 403, 0, SIMCONNECT_PERIOD_ONCE);
        dispatch();
        auto data = got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA);
        ASSERT_EQ(data.size(), 3u);
        const size_t titleBytes = padding == 0 ? 23 : (padding == 4 ? 24 : 24);
        EXPECT_EQ(data[0].size(), 40 + titleBytes) << padding;
        EXPECT_STREQ(reinterpret_cast<const char*>(data[0].data() + 40), "Lockheed Martin C-130J");
        EXPECT_EQ(u32At(data[0], 12), 106u);
        EXPECT_EQ(u32At(data[0], 16), 1u);  // the user's object id
        EXPECT_EQ(u32At(data[0], 28), 1u);
        EXPECT_EQ(u32At(data[0], 32), 1u);
        EXPECT_EQ(data[1].size(), 72u);
        EXPECT_STREQ(reinterpret_cast<const char*>(data[1].data() + 40), "C130");
        ASSERT_EQ(data[2].size(), 40u + 96u);
        double d[8];
        int64_t q[4];
        std::memcpy(d, data[2].data() + 40, 64);
        std::memcpy(q, data[2].data() + 104, 32);
        EXPECT_DOUBLE_EQ(d[0], 47.4647);
        EXPECT_DOUBLE_EQ(d[1], 8.5492);
        EXPECT_DOUBLE_EQ(d[5], 1416);
        EXPECT_DOUBLE_EQ(d[6], 0);  // standing on a flat field
        EXPECT_EQ(q[0], 43200);     // 12:00:00 UTC
        EXPECT_EQ(q[1], 1);
        EXPECT_EQ(q[2], 2026);
        SimConnect_Close(h_);
        h_ = nullptr;
    }
}

TEST_F(SimDoubleRoundTrip, PerSecondRequestTicksOnceASimulatorSecond) {
    start();
    setUp();
    SimConnect_RequestDataOnSimObject(h_, 108, 409, 0, SIMCONNECT_PERIOD_SECOND);
    sim_->advance(999);
    dispatch();
    EXPECT_TRUE(got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA).empty());
    sim_->advance(2001);
    dispatch();
    auto data = got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA);
    ASSERT_EQ(data.size(), 3u);
    int64_t onGround = 0;
    std::memcpy(&onGround, data[0].data() + 40, 8);
    EXPECT_EQ(onGround, 1);
}

TEST_F(SimDoubleRoundTrip, AnAircraftIsCreatedFoundMovedControlledAndRemoved) {
    writeFile("plans/12.pln",
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
              "<FlightPlan.FlightPlan>\n<FPType>IFR</FPType>\n</FlightPlan.FlightPlan>\n</SimBase.Document>\n");
    start();
    setUp();
    dispatch();
    SIMCONNECT_DATA_INITPOSITION pos{47.4650, 8.5495, 1416, 0, 0, 90, 1, 0};
    SimConnect_AICreateNonATCAircraft(h_, "Airbus A320 Swiss", "SWR123", pos, 104);
    sim_->advance(299);
    dispatch();
    EXPECT_TRUE(got_.ofId(SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID).empty());  // not yet: the delay
    sim_->advance(1);
    dispatch();
    auto added = got_.ofId(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
    ASSERT_EQ(added.size(), 1u);
    EXPECT_EQ(u32At(added[0], 16), 202u);
    const uint32_t id = u32At(added[0], 20);
    EXPECT_GT(id, 1u);
    EXPECT_EQ(u32At(added[0], 24), 2u);  // an aircraft

    // The scan in range finds user and object, numbered 1 and 2 of 2, with the tail as ATC ID.
    SimConnect_RequestDataOnSimObjectType(h_, 101, 404, 20000, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    dispatch();
    auto scan = got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE);
    ASSERT_EQ(scan.size(), 2u);
    EXPECT_EQ(u32At(scan[1], 16), id);
    EXPECT_EQ(u32At(scan[1], 28), 2u);
    EXPECT_EQ(u32At(scan[1], 32), 2u);
    EXPECT_EQ(scan[1].size(), 40u + 56u);
    EXPECT_STREQ(reinterpret_cast<const char*>(scan[1].data() + 64), "SWR123");

    // Freeze, move, lights, controls, a plan: each lands on the object.
    SimConnect_AIReleaseControl(h_, id, 103);
    for (uint32_t e : {215u, 216u, 217u}) SimConnect_TransmitClientEvent(h_, id, e, 1, 301, 0);
    SimConnect_TransmitClientEvent(h_, id, 208, 1, 301, 0);
    SimConnect_TransmitClientEvent(h_, id, 211, 1, 301, 0);
    SimConnect_TransmitClientEvent(h_, id, 218, 3072, 301, 0);
    SimConnect_TransmitClientEvent(h_, id, 221, 0, 301, 0);
    sim_->advance(1000);
    double p[8] = {47.47, 8.56, 0.05, 0.0, 1.5, 3416, 10, 160};
    SimConnect_SetDataOnSimObject(h_, 402, id, 0, 0, 64, p);
    double controls[3] = {50, 80, 80};
    SimConnect_SetDataOnSimObject(h_, 401, id, 0, 0, 24, controls);
    const std::string plan = (root_ / "plans" / "12.pln").string();
    SimConnect_AISetAircraftFlightPlan(h_, id, plan.c_str(), 110);
    dispatch();
    EXPECT_TRUE(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).empty());
    const simdouble::SimObject* o = sim_->object(id);
    ASSERT_NE(o, nullptr);
    EXPECT_TRUE(o->released);
    EXPECT_TRUE(o->freezeLatLon && o->freezeAltitude && o->freezeAttitude);
    EXPECT_EQ(o->lights, 0x1 | 0x4);
    EXPECT_EQ(o->flaps, 3072);
    EXPECT_TRUE(o->enginesRunning);
    EXPECT_DOUBLE_EQ(o->latitude, 47.47);
    EXPECT_DOUBLE_EQ(o->altitude, 3416);
    EXPECT_FALSE(o->onGround);
    EXPECT_DOUBLE_EQ(o->throttle[1], 80);
    EXPECT_EQ(o->flightPlan, plan);
    EXPECT_GE(o->track.size(), 2u);

    // Height reports of the scan follow the flat field.
    SimConnect_RequestDataOnSimObjectType(h_, 101, 404, 20000, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    dispatch();
    scan = got_.ofId(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE);
    ASSERT_EQ(scan.size(), 2u);
    double agl = 0, ground = 0;
    std::memcpy(&agl, scan[1].data() + 40, 8);
    std::memcpy(&ground, scan[1].data() + 48, 8);
    EXPECT_DOUBLE_EQ(agl, 2000);
    EXPECT_DOUBLE_EQ(ground, 1416);

    SimConnect_AIRemoveObject(h_, id, 105);
    dispatch();
    auto removed = got_.ofId(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
    ASSERT_EQ(removed.size(), 1u);
    EXPECT_EQ(u32At(removed[0], 16), 203u);
    EXPECT_EQ(u32At(removed[0], 20), id);
    EXPECT_TRUE(sim_->aiObjects().empty());

    // The recording tells the whole story.
    nlohmann::json j = sim_->exportJson();
    ASSERT_EQ(j["objects"].size(), 2u);
    const auto& rec = j["objects"][1];
    EXPECT_EQ(rec["tail"], "SWR123");
    EXPECT_GE(rec["removedMs"].get<int64_t>(), 0);
    EXPECT_EQ(rec["events"].front()["what"], "created");
    EXPECT_EQ(rec["events"].back()["what"], "removed");
}

TEST_F(SimDoubleRoundTrip, RefusalsComeAsTheExceptionsTheProgramHandles) {
    Scenario s;
    s.titles = {"Airbus A320 Swiss"};
    s.objectLimit = 1;
    s.createDelayMs = 0;
    start(s);
    setUp();
    dispatch();
    SIMCONNECT_DATA_INITPOSITION pos{47.465, 8.55, 1416, 0, 0, 0, 1, 0};
    SimConnect_AICreateNonATCAircraft(h_, "Unknown livery", "ZZZ1", pos, 104);
    DWORD failedCreate = 0;
    SimConnect_GetLastSentPacketID(h_, &failedCreate);
    dispatch();
    ASSERT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).size(), 1u);
    EXPECT_EQ(exceptionCode(), SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED);
    EXPECT_EQ(u32At(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION)[0], 16), failedCreate);

    SimConnect_AICreateNonATCAircraft(h_, "Airbus A320 Swiss", "SWR1", pos, 104);
    SimConnect_AICreateNonATCAircraft(h_, "Airbus A320 Swiss", "SWR2", pos, 104);
    dispatch();
    ASSERT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).size(), 1u);
    EXPECT_EQ(exceptionCode(), SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS);
    const uint32_t id = u32At(got_.ofId(SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID).at(0), 16);

    SimConnect_AIRemoveObject(h_, 999, 105);
    SimConnect_TransmitClientEvent(h_, id, 999, 0, 301, 0);
    SimConnect_RequestDataOnSimObject(h_, 102, 777, id, SIMCONNECT_PERIOD_ONCE);
    SimConnect_AISetAircraftFlightPlan(h_, id, (root_ / "missing.pln").string().c_str(), 110);
    double two[2] = {1, 2};
    SimConnect_SetDataOnSimObject(h_, 401, id, 0, 0, 16, two);
    SimConnect_RequestDataOnSimObjectType(h_, 101, 404, 200001, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
    dispatch();
    ASSERT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).size(), 6u);
    EXPECT_EQ(exceptionCode(0), SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID);
    EXPECT_EQ(exceptionCode(1), SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID);
    EXPECT_EQ(exceptionCode(2), SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID);
    EXPECT_EQ(exceptionCode(3), SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED);
    EXPECT_EQ(exceptionCode(4), SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE);
    EXPECT_EQ(exceptionCode(5), SIMCONNECT_EXCEPTION_OUT_OF_BOUNDS);
}

TEST_F(SimDoubleRoundTrip, VersionMismatchAnswersOpenWithTheException) {
    Scenario s;
    s.versionMismatch = true;
    start(s);
    dispatch();
    ASSERT_EQ(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION).size(), 1u);
    EXPECT_EQ(exceptionCode(), SIMCONNECT_EXCEPTION_VERSION_MISMATCH);
    EXPECT_EQ(u32At(got_.ofId(SIMCONNECT_RECV_ID_EXCEPTION)[0], 16), 1u);  // the Open packet
    EXPECT_TRUE(got_.ofId(SIMCONNECT_RECV_ID_OPEN).empty());
}

TEST_F(SimDoubleRoundTrip, ScriptedHappeningsReachTheClient) {
    Scenario s;
    s.applicationName = "KittyHawk";
    auto at = [](int64_t ms, const char* action, const char* text = "") {
        simdouble::ScriptAction a;
        a.atMs = ms;
        a.action = action;
        a.text = text;
        return a;
    };
    s.script = {at(1000, "pause"),
                at(1500, "unpause"),
                at(2000, "positionChanged"),
                at(2500, "flightLoaded", "C:\\flights\\other.fxml"),
                at(3000, "simStop"),
                at(4000, "quit"),
                at(5000, "drop")};
    start(s);
    setUp();
    SimConnect_SubscribeToSystemEvent(h_, 230, "Pause");
    sim_->advance(4500);
    dispatch();
    EXPECT_STREQ(reinterpret_cast<const SIMCONNECT_RECV_OPEN*>(got_.ofId(2).at(0).data())->szApplicationName,
                 "KittyHawk");
    auto files = got_.ofId(SIMCONNECT_RECV_ID_EVENT_FILENAME);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].size(), 288u);
    EXPECT_STREQ(reinterpret_cast<const char*>(files[0].data() + 24), "C:\\flights\\other.fxml");
    std::vector<std::pair<uint32_t, uint32_t>> events;
    for (const Bytes& e : got_.ofId(SIMCONNECT_RECV_ID_EVENT)) events.push_back({u32At(e, 16), u32At(e, 20)});
    const std::vector<std::pair<uint32_t, uint32_t>> want = {{201, 1}, {230, 0}, {230, 1},
                                                             {230, 0}, {205, 0}, {201, 0}};
    EXPECT_EQ(events, want);
    EXPECT_EQ(got_.ofId(SIMCONNECT_RECV_ID_QUIT).size(), 1u);
    sim_->advance(1000);
    got_.messages.clear();
    EXPECT_EQ(SimConnect_CallDispatch(h_, Received::collect, &got_), E_FAIL);
}

TEST_F(SimDoubleRoundTrip, ScenarioFilesAreCheckedWithClearMessages) {
    writeFile("good.json", R"({"applicationName": "Lockheed Martin Prepar3D v5", "applicationVersion": [5,3,17,28160],
        "user": {"title": "C172", "motion": "taxi", "speed": 10, "heading": 90},
        "script": [{"at": 500, "action": "teleport", "latitude": 50, "longitude": 9, "altitude": 5000}]})");
    Scenario s = simdouble::gf_loadScenario(root_ / "good.json");
    EXPECT_EQ(s.applicationVersion[1], 3u);
    EXPECT_EQ(s.user.motion, "taxi");
    auto fails = [&](const std::string& text, const std::string& needle) {
        writeFile("bad.json", text);
        try {
            simdouble::gf_loadScenario(root_ / "bad.json");
            ADD_FAILURE() << "accepted: " << text;
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find(needle), std::string::npos) << e.what();
        }
    };
    fails("{", "not valid JSON");
    fails(R"({"frameRat": 30})", "unknown key \"frameRat\"");
    fails(R"({"frameRate": "fast"})", "\"frameRate\"");
    fails(R"({"user": {"motion": "hover"}})", "\"hover\"");
    fails(R"({"script": [{"at": 1, "action": "explode"}]})", "script[0]: unknown action \"explode\"");
    fails(R"({"stringvPadding": 3})", "stringvPadding");
    fails(R"({"titlesFromLiveries": "no-such.xml"})", "\"titlesFromLiveries\": \"no-such.xml\" cannot be read");

    // The installed titles may come from the program's list of liveries, beside those named.
    writeFile("output/LiveriesScanned.xml",
              "<meta/><liveries><liv airl=\"SWR\" type=\"A320\" title=\"FLAi Swiss\" atcid=\"\"/>"
              "<liv airl=\"ZZZ\" type=\"C172\" title=\"C172 Paint1\"/></liveries>");
    writeFile("titles.json", R"({"titles": ["Named"], "titlesFromLiveries": "output/LiveriesScanned.xml"})");
    EXPECT_EQ(simdouble::gf_loadScenario(root_ / "titles.json").titles,
              (std::vector<std::string>{"Named", "FLAi Swiss", "C172 Paint1"}));

    // The taxiing user moves at its speed along its heading; the teleport moves it at once.
    SimDouble sim(s);
    sim.advance(400);
    EXPECT_NEAR(sim.user().longitude, 8.5492 + 0.4 * 10 / 3600.0 / 60.0 / std::cos(47.4647 * kDegToRad), 2e-6);
    sim.advance(200);
    EXPECT_NEAR(sim.user().latitude, 50, 1e-6);
}

}  // namespace
