#include "engine/creation.h"

#include "engine/records.h"
#include "engine/state.h"
#include "simlink/state.h"

void gf_queueReadyForCreation() {
    auto& ready = engine.creationReady;
    if (ready.empty()) return;
    const uint32_t hexid = ready.back();
    ready.pop_back();
    const Act* act = gf_findActByHexid(hexid);
    if (act == nullptr) return;
    CreateRequest request;
    SIMCONNECT_DATA_INITPOSITION& p = request.initPosition;
    p.Latitude = act->latitude;
    p.Longitude = act->longitude;
    p.Altitude = act->altitude;
    p.Pitch = act->pitch * kRadToDeg;
    p.Bank = act->bank * kRadToDeg;
    p.Heading = act->heading * kRadToDeg;
    p.OnGround = act->stream.front().airborne ? 0 : 1;
    p.Airspeed = 0;
    request.tail = act->callsign;
    request.title = std::string(act->livery);
    request.hexid = act->hexid;
    engine.liveCreationQueue.push_back(std::move(request));
}

bool gf_createNextLive() {
    auto& queue = engine.liveCreationQueue;
    if (queue.empty()) return false;
    gf_queueCreate(queue.front());
    queue.pop_front();
    return true;
}

void gf_createNextStatic() {
    auto& queue = engine.staticCreationQueue;
    if (queue.empty()) return;
    gf_queueCreate(queue.front());
    queue.pop_front();
}

void gf_removeNextObject() {
    auto& queue = engine.removalQueue;
    if (queue.empty()) return;
    gf_queueRemove(queue.front());
    queue.pop_front();
}

void gf_removeAllQueuedObjects() {
    for (const uint32_t objectId : engine.removalQueue) gf_queueRemove(objectId);
    engine.removalQueue.clear();
}

AircraftCounts gf_countAircraft() {
    AircraftCounts counts;
    for (const Act& act : engine.active) {
        if (act.state != ActState::Live) continue;
        if (act.phase == ActPhase::AtStand)
            ++counts.liveAtStand;
        else
            ++counts.liveMoving;
    }
    for (const ParkedAc& parked : engine.parked)
        if (parked.state == ActState::Live) ++counts.parkedLive;
    return counts;
}
