#include "engine_support.h"

#include "engine/creation.h"
#include "engine/events.h"
#include "engine/intake.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/state.h"
#include "liveries/dbase.h"
#include "liveries/liveries_file.h"

void EngineTest::SetUp() {
    ZarkTest::SetUp();
    dbase.aircraft.insert({"A320", "B77W", "C172"});
    dbase.large.insert("A320");
    dbase.heavy.insert("B77W");
    // The admission places only an aircraft that finds a livery: a generic one for each airliner.
    liveries.liveryList = {{kGenericAirline, "A320", "Generic A320", "", 0, false},
                           {kGenericAirline, "B77W", "Generic B77W", "", 0, false}};
    gf_processScannedLiveries();
    gf_reserveEngineTables();
}

TrafficRecord EngineTest::record(uint32_t hexid, double timestamp, int32_t dueTick) {
    TrafficRecord r;
    r.hexid = hexid;
    r.model = "A320";
    r.callsign = "SWR12";
    r.reg = "HB-JLT";
    r.latitude = 47.40;
    r.longitude = 8.60;
    r.altitude = 5000.0;
    r.airborne = true;
    r.groundSpeed = 200.0;
    r.airspeed = 210.0;
    r.track = 90.0;
    r.timestamp = timestamp;
    r.dueTick = dueTick;
    return r;
}

Act& EngineTest::liveAct(const TrafficRecord& r, ActPhase phase, uint32_t objectId) {
    Act& act = gf_newAct(r);
    act.state = ActState::Live;
    act.phase = phase;
    act.objectId = objectId;
    act.latitude = r.latitude;
    act.longitude = r.longitude;
    act.altitude = r.altitude;
    act.onGround = !r.airborne;
    return act;
}

void EngineTest::runSlice() {
    const int32_t s = engine.slice;
    gf_drainEngineEvents();
    gf_moveAircraft();
    if (s % 10 == 0) {
        gf_removeNextObject();
        if (s % 50 == 0) gf_createNextLive();
    }
    gf_workTrafficBuffer();
    gf_queueReadyForCreation();
    engine.slice = s + 1;
}
