// simlink/vocabulary.cpp — the session's vocabulary set up in the simulator (definitions, events, the
// notification group), and the small wrappers through which the rest of the program asks for data and
// commands an object. Every wrapper takes the simulator lock: that is what lets the engine thread call
// SimConnect beside SimClient's dispatch.
#include <mutex>
#include <string>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "simlink/handlers.h"
#include "simlink/state.h"

namespace {

struct DatumRow {
    uint32_t definition;
    const char* name;
    const char* units;  // nullptr: no units (strings)
    SIMCONNECT_DATATYPE type;
};

constexpr SIMCONNECT_DATATYPE kF64 = SIMCONNECT_DATATYPE_FLOAT64;
constexpr SIMCONNECT_DATATYPE kI64 = SIMCONNECT_DATATYPE_INT64;

// Every datum in the order the session adds them; a received block is these fields back to back.
constexpr DatumRow kDatums[] = {
    {kDefUserTitle, "TITLE", nullptr, SIMCONNECT_DATATYPE_STRINGV},
    {kDefUserModel, "ATC MODEL", nullptr, SIMCONNECT_DATATYPE_STRING32},
    {kDefUserOnGround, "SIM ON GROUND", "Bool", kI64},
    {kDefPosition, "Plane Latitude", "degree", kF64},
    {kDefPosition, "Plane Longitude", "degree", kF64},
    {kDefPosition, "Plane Pitch degrees", "radians", kF64},
    {kDefPosition, "Plane Bank degrees", "radians", kF64},
    {kDefPosition, "Plane Heading degrees true", "radians", kF64},
    {kDefPosition, "Plane Altitude", "feet", kF64},
    {kDefPosition, "Vertical Speed", "feet per second", kF64},
    {kDefPosition, "Airspeed True", "knots", kF64},
    {kDefUserData, "Plane Latitude", "degree", kF64},
    {kDefUserData, "Plane Longitude", "degree", kF64},
    {kDefUserData, "Plane Pitch degrees", "radians", kF64},
    {kDefUserData, "Plane Bank degrees", "radians", kF64},
    {kDefUserData, "Plane Heading degrees true", "radians", kF64},
    {kDefUserData, "Plane Altitude", "feet", kF64},
    {kDefUserData, "Plane Alt Above Ground", "feet", kF64},
    {kDefUserData, "Ground Velocity", "knots", kF64},
    {kDefUserData, "ZULU TIME", "Seconds", kI64},
    {kDefUserData, "ZULU DAY OF YEAR", "Number", kI64},
    {kDefUserData, "ZULU YEAR", "Number", kI64},
    {kDefUserData, "LIGHT STATES", "Mask", kI64},
    {kDefStatic, "Static CG to Ground", "feet", kF64},
    {kDefStatic, "Static Pitch", "radians", kF64},
    {kDefLightOn, "Light On States", "Mask", kI64},
    {kDefInRange, "Plane Alt Above Ground", "feet", kF64},
    {kDefInRange, "Ground Altitude", "feet", kF64},
    {kDefInRange, "SIM ON GROUND", "Bool", kI64},
    {kDefInRange, "ATC ID", nullptr, SIMCONNECT_DATATYPE_STRING32},
};

// Added after the client events.
constexpr DatumRow kControlDatums[] = {
    {kDefControls, "SPOILERS HANDLE POSITION", "percent", kF64},
    {kDefControls, "GENERAL ENG THROTTLE LEVER POSITION:1", "percent", kF64},
    {kDefControls, "GENERAL ENG THROTTLE LEVER POSITION:2", "percent", kF64},
};

struct NamedId {
    uint32_t id;
    const char* name;
};

constexpr NamedId kSystemEvents[] = {{kEvSim, "Sim"},
                                     {kEvObjectAdded, "ObjectAdded"},
                                     {kEvObjectRemoved, "ObjectRemoved"},
                                     {kEvPositionChanged, "PositionChanged"},
                                     {kEvFlightLoaded, "FlightLoaded"},
                                     {kEvFrame, "Frame"}};

constexpr NamedId kClientEvents[] = {{kEvGearSet, "GEAR_SET"},
                                     {kEvEngineAutoStart, "ENGINE_AUTO_START"},
                                     {kEvEngineAutoShutdown, "ENGINE_AUTO_SHUTDOWN"},
                                     {kEvThrottleSet, "THROTTLE_SET"},
                                     {kEvFlapsSet, "FLAPS_SET"},
                                     {kEvSpoilersSet, "SPOILERS_SET"},
                                     {kEvNavLights, "NAV_LIGHTS_SET"},
                                     {kEvBeaconLights, "BEACON_LIGHTS_SET"},
                                     {kEvLandingLights, "LANDING_LIGHTS_SET"},
                                     {kEvTaxiLights, "TAXI_LIGHTS_SET"},
                                     {kEvStrobes, "STROBES_SET"},
                                     {kEvLogoLights, "LOGO_LIGHTS_SET"},
                                     {kEvCabinLights, "CABIN_LIGHTS_SET"},
                                     {kEvAllLightsToggle, "ALL_LIGHTS_TOGGLE"},
                                     {kEvFreezeLatLon, "FREEZE_LATITUDE_LONGITUDE_SET"},
                                     {kEvFreezeAltitude, "FREEZE_ALTITUDE_SET"},
                                     {kEvFreezeAttitude, "FREEZE_ATTITUDE_SET"}};

// Group 301 in this order; ENGINE_AUTO_START stays outside it.
constexpr uint32_t kGroupEvents[] = {kEvNavLights,   kEvBeaconLights, kEvLandingLights,  kEvTaxiLights,
                                     kEvStrobes,     kEvLogoLights,   kEvCabinLights,    kEvAllLightsToggle,
                                     kEvFlapsSet,    kEvSpoilersSet,  kEvGearSet,        kEvEngineAutoShutdown,
                                     kEvThrottleSet, kEvFreezeLatLon, kEvFreezeAltitude, kEvFreezeAttitude};

void lf_addDatum(HANDLE h, const DatumRow& row) {
    SimConnect_AddToDataDefinition(h, row.definition, row.name, row.units, row.type, 0.0f, SIMCONNECT_UNUSED);
}

// One request under the simulator lock; false when it was refused (or no session is open).
template <typename Call>
bool lf_locked(Call call) {
    std::lock_guard lock(simQueues.simLock);
    if (simlink.hSimConnect == nullptr) return false;
    return SUCCEEDED(call(simlink.hSimConnect));
}

// A request that failed: its line, and one more count.
void lf_failed(const char* line) {
    gf_logLine(line);
    lf_countRequestFailure();
}

void lf_queueEvent(uint32_t objectId, uint32_t eventId, uint32_t data) {
    std::lock_guard lock(simQueues.simLock);
    simQueues.eventQueue.push_back({objectId, eventId, data});
}

}  // namespace

void lf_setupSimConnect() {
    HANDLE h = simlink.hSimConnect;
    // Nothing is checked here: a refusal comes back as an exception message.
    for (const NamedId& ev : kSystemEvents) SimConnect_SubscribeToSystemEvent(h, ev.id, ev.name);
    for (const DatumRow& row : kDatums) lf_addDatum(h, row);
    for (const NamedId& ev : kClientEvents) SimConnect_MapClientEventToSimEvent(h, ev.id, ev.name);
    for (const DatumRow& row : kControlDatums) lf_addDatum(h, row);
    for (const uint32_t ev : kGroupEvents) SimConnect_AddClientEventToNotificationGroup(h, kGroupAi, ev, 1);
    SimConnect_SetNotificationGroupPriority(h, kGroupAi, SIMCONNECT_GROUP_PRIORITY_HIGHEST);
}

void lf_countRequestFailure() {
    const int32_t count = ++simlink.requestFailures;
    if (count < kRequestFailureLimit) return;
    gf_showMessage(fmt::format("SimConnect request error {}, see Log.txt", count), true);
    run.requestFailed = true;
    gf_requestExit(kExitRestart, 10);
}

void gf_requestUserSnapshot(UserSnapshot& out) {
    bool refused = false;
    {
        std::lock_guard lock(simQueues.simLock);
        if (!run.requestFailed && simlink.hSimConnect != nullptr)
            refused = FAILED(SimConnect_RequestDataOnSimObject(simlink.hSimConnect, kReqUserSnapshot, kDefUserData,
                                                               SIMCONNECT_OBJECT_ID_USER, SIMCONNECT_PERIOD_ONCE));
        out = user.simSnapshot;
        user.userSnapshot = out;
    }
    if (refused) lf_failed("SimConnect request user ac position fails");
}

void gf_requestUserNames() {
    if (run.requestFailed) return;
    if (!lf_locked([](HANDLE h) {
            return SimConnect_RequestDataOnSimObject(h, kReqUserTitle, kDefUserTitle, SIMCONNECT_OBJECT_ID_USER,
                                                     SIMCONNECT_PERIOD_ONCE);
        }))
        lf_failed("SimConnect request user ac title fails");
    if (!lf_locked([](HANDLE h) {
            return SimConnect_RequestDataOnSimObject(h, kReqUserModel, kDefUserModel, SIMCONNECT_OBJECT_ID_USER,
                                                     SIMCONNECT_PERIOD_ONCE);
        }))
        lf_failed("SimConnect reques user ac model fails");
}

void gf_requestOnGroundEachSecond() {
    if (run.requestFailed) return;
    if (!lf_locked([](HANDLE h) {
            return SimConnect_RequestDataOnSimObject(h, kReqUserOnGround, kDefUserOnGround, SIMCONNECT_OBJECT_ID_USER,
                                                     SIMCONNECT_PERIOD_SECOND);
        }))
        lf_failed("SimConnect request ac gnd/air fails");
}

void gf_requestAircraftInRange() { gf_requestAircraftInRange(parDerived.radiusMetres.load()); }

void gf_requestAircraftInRange(int32_t radiusMetres) {
    if (run.requestFailed) return;
    const auto radius = static_cast<DWORD>(radiusMetres < 0 ? 0 : radiusMetres);
    // A scan by type finds one type only, and our helicopters are of their own: both are asked for, under
    // the same request id, and a refusal counts once.
    if (!lf_locked([radius](HANDLE h) {
            const HRESULT hr = SimConnect_RequestDataOnSimObjectType(h, kReqInRange, kDefInRange, radius,
                                                                     SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT);
            if (FAILED(hr)) return hr;
            return SimConnect_RequestDataOnSimObjectType(h, kReqInRange, kDefInRange, radius,
                                                         SIMCONNECT_SIMOBJECT_TYPE_HELICOPTER);
        }))
        lf_failed("SimConnect request ac within range fails");
}

void gf_requestStaticValues(uint32_t objectId) {
    if (run.requestFailed) return;
    if (!lf_locked([objectId](HANDLE h) {
            return SimConnect_RequestDataOnSimObject(h, kReqStatic, kDefStatic, objectId, SIMCONNECT_PERIOD_ONCE);
        }))
        lf_failed("SimConnect request StaticCG fails");
}

void gf_sendControls(uint32_t objectId, double spoilers, double throttle1, double throttle2) {
    if (run.requestFailed || objectId <= simlink.userObjectId) return;
    double values[3] = {spoilers, throttle1, throttle2};
    if (!lf_locked([objectId, &values](HANDLE h) {
            return SimConnect_SetDataOnSimObject(h, kDefControls, objectId, 0, 0, sizeof values, values);
        }))
        gf_logf("! SimConnect set controls of object {} fails", objectId);
}

bool gf_sendFlightPlan(uint32_t objectId, const std::string& path) {
    if (run.requestFailed || objectId <= simlink.userObjectId) return false;
    return lf_locked([objectId, &path](HANDLE h) {
        return SimConnect_AISetAircraftFlightPlan(h, objectId, path.c_str(), kReqFlightPlan);
    });
}

void gf_queueCreate(const CreateRequest& request) {
    std::lock_guard lock(simQueues.simLock);
    simQueues.createQueue.push_back(request);
}

void gf_queueRemove(uint32_t objectId) {
    std::lock_guard lock(simQueues.simLock);
    simQueues.removeQueue.push_back(objectId);
}

void gf_freezeObject(uint32_t objectId) {
    std::lock_guard lock(simQueues.simLock);
    if (simlink.hSimConnect != nullptr &&
        FAILED(SimConnect_AIReleaseControl(simlink.hSimConnect, objectId, kReqRelease)))
        gf_logf("! SimConnect AIReleaseControl of object {} fails", objectId);
    for (const uint32_t ev : {kEvFreezeLatLon, kEvFreezeAltitude, kEvFreezeAttitude})
        simQueues.eventQueue.push_back({objectId, ev, 1});
}

void gf_startEngines(uint32_t objectId) { lf_queueEvent(objectId, kEvEngineAutoStart, 0); }
void gf_stopEngines(uint32_t objectId) { lf_queueEvent(objectId, kEvEngineAutoShutdown, 0); }

void gf_setLights(uint32_t objectId, uint32_t nav, uint32_t beacon, uint32_t landing, uint32_t taxi, uint32_t strobes,
                  uint32_t logo, uint32_t cabin) {
    std::lock_guard lock(simQueues.simLock);
    const ClientEventRequest events[] = {{objectId, kEvNavLights, nav},         {objectId, kEvBeaconLights, beacon},
                                         {objectId, kEvLandingLights, landing}, {objectId, kEvTaxiLights, taxi},
                                         {objectId, kEvStrobes, strobes},       {objectId, kEvLogoLights, logo},
                                         {objectId, kEvCabinLights, cabin}};
    simQueues.eventQueue.insert(simQueues.eventQueue.end(), std::begin(events), std::end(events));
}

void gf_setNavLights(uint32_t objectId, uint32_t value) { lf_queueEvent(objectId, kEvNavLights, value); }
void gf_setCabinLight(uint32_t objectId, uint32_t value) { lf_queueEvent(objectId, kEvCabinLights, value); }

void gf_setSpoilers(uint32_t objectId, ModelCategory category, bool out) {
    if (category == ModelCategory::Rotorcraft) return;
    lf_queueEvent(objectId, kEvSpoilersSet, out ? kSpoilersOut : 0);
}

void gf_setFlaps(uint32_t objectId, ModelCategory category, int32_t& flaps, int32_t index) {
    if (index == flaps || category == ModelCategory::Rotorcraft || index < 0 || index > 4) return;
    lf_queueEvent(objectId, kEvFlapsSet, kFlapsTable[index]);
    flaps = index;
}

void gf_setGear(uint32_t objectId, ModelCategory category, bool down) {
    if (category == ModelCategory::Rotorcraft) return;
    lf_queueEvent(objectId, kEvGearSet, down ? 1 : 0);
}

void gf_setThrottle(uint32_t objectId, int32_t& throttle, int32_t index) {
    if (index == throttle || index < 0 || index > 5) return;
    if (index != 5) lf_queueEvent(objectId, kEvThrottleSet, kThrottleTable[index]);
    throttle = index;
}

void gf_allLightsToggle(uint32_t objectId) {
    if (!lf_locked([objectId](HANDLE h) {
            return SimConnect_TransmitClientEvent(h, objectId, kEvAllLightsToggle, 0, kGroupAi, 0);
        }))
        gf_logLine("SimConnect gf_allLightsToggle fails");
}
