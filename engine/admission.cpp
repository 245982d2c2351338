// The first placement of an aircraft, until the rules of admission come: an aircraft with a first leg is
// placed shortly before its head falls due, airborne or taxiing, without a livery check.
#include "engine/admission.h"

#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"

bool gf_admitAct(Act& act) {
    if (act.stream.empty()) {
        act.drop = true;
        return false;
    }
    const Sample& head = act.stream.front();
    const int32_t lead = head.airborne || head.groundSpeed == 0.0 ? 100 : 300;
    if (engine.slice < head.dueTick - lead) return false;
    if (act.stream.size() < 2) {
        act.drop = true;
        return false;
    }
    act.phase = head.airborne ? ActPhase::Airborne : ActPhase::Taxi;
    act.latitude = head.latitude;
    act.longitude = head.longitude;
    act.altitude = head.altitude;
    act.verticalSpeedFps = head.verticalSpeed / 60.0;
    act.trueAirspeed = head.airspeed;
    act.bank = head.bank.value_or(0.0);
    const Sample& next = act.stream[1];
    act.heading = gf_bearing({head.latitude, head.longitude}, {next.latitude, next.longitude});
    act.state = ActState::Creating;
    act.held = false;
    engine.creationReady.push_back(act.hexid);
    return true;
}

void gf_removeGhostOf(const std::string& callsign) {
    const std::string ghost = callsign + "_";
    for (Act& act : engine.active) {
        if (act.callsign != ghost || act.state == ActState::Removing) continue;
        if (gf_logAircraft()) {
            if (act.phase == ActPhase::AtStand)
                gf_logf("{:8}: {:8} is a ghost and will be removed, continue with {}", "unknown", act.callsign,
                        callsign);
            else
                gf_logf("          {:8} is a ghost and will be removed, continue with {}", act.callsign, callsign);
        }
        engine.ghostList.push_back(act.callsign);
        if (act.state == ActState::New)
            act.drop = true;
        else
            gf_removeAct(act);
        return;
    }
}
