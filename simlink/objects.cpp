// simlink/objects.cpp — creation and removal of AI objects, the frame handler that sends what the engine
// queued, and the bookkeeping that ties a new object to its request. The simulator answers a creation
// with an object id but no link to the request; the link is the tail number, which the scan of aircraft
// in range (request 101) reports as "ATC ID".
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <mutex>
#include <string>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/runstate.h"
#include "simlink/handlers.h"
#include "simlink/state.h"

static_assert(offsetof(PositionUpdate, objectId) == 64, "the eight doubles of definition 402 come first");

namespace {

constexpr const char* kClientName = "ZARK_P3D";

// The payload of definition 404, as the simulator packs it.
#pragma pack(push, 1)
struct InRangeData {
    double agl;             // feet above ground
    double groundAltitude;  // feet
    int64_t onGround;
    char atcId[32];  // the tail number given at creation
};
#pragma pack(pop)
static_assert(sizeof(InRangeData) == 56);

// Swap-erase: the last entry moves into the gap.
template <typename T>
void lf_eraseAt(std::vector<T>& list, size_t i) {
    if (i + 1 != list.size()) list[i] = std::move(list.back());
    list.pop_back();
}

void lf_sendClientEvents(HANDLE h) {
    for (const ClientEventRequest& ev : simQueues.eventQueue) {
        // Flaps move on an object the AI does not control only between two releases of the control.
        if (ev.eventId == kEvFlapsSet) SimConnect_AIReleaseControl(h, ev.objectId, kReqRelease);
        if (FAILED(SimConnect_TransmitClientEvent(h, ev.objectId, ev.eventId, ev.data, kGroupAi, 0))) {
            gf_showMessage(fmt::format("SimConnect TransmitClientEvent: {} fails", ev.eventId), true);
            continue;
        }
        if (ev.eventId == kEvFlapsSet) SimConnect_AIReleaseControl(h, ev.objectId, kReqRelease);
    }
    simQueues.eventQueue.clear();
}

}  // namespace

void lf_onFrame() {
    std::unique_lock lock(simQueues.simLock, std::try_to_lock);
    // A busy lock costs this frame and nothing else: what is queued goes with the next one.
    if (!lock.owns_lock()) return;
    auto& sending = simQueues.outboundPositions[1 - simQueues.filling];
    if (run.requestFailed || simlink.hSimConnect == nullptr) {
        // The session is failing: throw away what would be sent.
        sending.clear();
        simQueues.eventQueue.clear();
        simQueues.createQueue.clear();
        simQueues.removeQueue.clear();
        return;
    }
    HANDLE h = simlink.hSimConnect;
    const uint32_t userId = simlink.userObjectId;
    for (PositionUpdate& update : sending)
        if (update.objectId > userId)
            SimConnect_SetDataOnSimObject(h, kDefPosition, update.objectId, 0, 0, 64, &update.latitude);
    sending.clear();
    lf_sendClientEvents(h);
    for (const CreateRequest& request : simQueues.createQueue) lf_createObject(request);
    simQueues.createQueue.clear();
    for (const uint32_t objectId : simQueues.removeQueue) lf_removeObject(objectId);
    simQueues.removeQueue.clear();
}

void lf_createObject(const CreateRequest& request) {
    HANDLE h = simlink.hSimConnect;
    if (FAILED(SimConnect_AICreateNonATCAircraft(h, request.title.c_str(), request.tail.c_str(), request.initPosition,
                                                 kReqCreate))) {
        gf_logf("! Simcon call to create ac in sim failed, hexid:{}, liv: \"{}\", callsign: {}", request.hexid,
                request.title, request.tail);
        lf_countRequestFailure();
        return;
    }
    // A failed creation comes back later as an exception that names only this packet.
    DWORD packetId = 0;
    if (FAILED(SimConnect_GetLastSentPacketID(h, &packetId))) {
        gf_logLine("GetLastSentPacketID");
        packetId = 0;
    }
    simQueues.pendingCreates.push_back({packetId, request.hexid, request.tail});
}

void lf_removeObject(uint32_t objectId) {
    // The user's aircraft and everything the simulator made before it are never ours to remove.
    if (objectId <= simlink.userObjectId) {
        gf_logf("{}!Simconnect call to remove AI ac with objectId {}", gf_timeOfDay(), objectId);
        return;
    }
    if (FAILED(SimConnect_AIRemoveObject(simlink.hSimConnect, objectId, kReqRemove))) {
        gf_logf("{}!Simconnect call to remove AI ac from sim failed, id {}?", gf_timeOfDay(), objectId);
        lf_countRequestFailure();
    }
}

void lf_onObjectAdded(uint32_t objectId) {
    if (objectId > simlink.userObjectId) simQueues.addedObjects.push_back(objectId);
}

void lf_onObjectRemoved(uint32_t objectId) {
    // An object gone before the scan named it, or one of another program, is nobody's business.
    auto& added = simQueues.addedObjects;
    if (auto it = std::find(added.begin(), added.end(), objectId); it != added.end())
        lf_eraseAt(added, static_cast<size_t>(it - added.begin()));
    auto& foreign = simQueues.foreignObjects;
    if (auto it = std::find(foreign.begin(), foreign.end(), objectId); it != foreign.end()) {
        lf_eraseAt(foreign, static_cast<size_t>(it - foreign.begin()));
        return;
    }
    gf_pushSimEvent({objectId, 0, 0, kSimRemoved, 0, 0});
}

bool lf_takePendingByPacket(uint32_t packetId, uint32_t& hexid) {
    auto& pending = simQueues.pendingCreates;
    const auto it = std::find_if(pending.begin(), pending.end(),
                                 [packetId](const PendingCreate& p) { return p.packetId == packetId; });
    if (it == pending.end()) return false;
    hexid = it->hexid;
    pending.erase(it);
    return true;
}

void lf_onObjectDataByType(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    if (message.dwRequestID != kReqInRange) return;
    const uint32_t id = message.dwObjectID;
    if (id <= simlink.userObjectId) return;
    if (size < kDataPayloadOffset + sizeof(InRangeData)) {
        gf_logMarkf("Aircraft in range data of {} bytes, {} expected", size - kDataPayloadOffset, sizeof(InRangeData));
        return;
    }
    InRangeData data;
    std::memcpy(&data, reinterpret_cast<const char*>(&message) + kDataPayloadOffset, sizeof data);
    const std::string atcId(data.atcId, strnlen(data.atcId, sizeof data.atcId));

    auto& added = simQueues.addedObjects;
    if (auto it = std::find(added.begin(), added.end(), id); it != added.end()) {
        lf_eraseAt(added, static_cast<size_t>(it - added.begin()));
        // Two creations with one tail are told apart by order: the first sent takes the first object seen,
        // so pending entries keep their order when one leaves.
        auto& pending = simQueues.pendingCreates;
        const auto match =
            std::find_if(pending.begin(), pending.end(), [&atcId](const PendingCreate& p) { return p.tail == atcId; });
        if (match == pending.end()) {
            gf_logf("just created, but not by {}, oid: {}, callsign \"{}\" unknown", kClientName, id, atcId);
            simQueues.foreignObjects.push_back(id);
            return;
        }
        const uint32_t hexid = match->hexid;
        pending.erase(match);
        gf_freezeObject(id);
        const bool live = hexid > kFirstLiveHexid;
        gf_pushSimEvent({id, hexid, 0, live ? kSimLiveCreated : kSimParkedCreated, 0.0, live ? data.agl : 0.0});
        return;
    }
    if (std::find(simQueues.foreignObjects.begin(), simQueues.foreignObjects.end(), id) !=
        simQueues.foreignObjects.end())
        return;
    // Live aircraft near the ground get height reports; parked ones never do.
    if (data.agl <= kHeightReportFeet && !atcId.ends_with('*'))
        gf_pushSimEvent({id, static_cast<uint32_t>(data.onGround != 0), 0, kSimHeight, data.groundAltitude, data.agl});
}

void gf_pushSimEvent(const SimEvent& event) {
    std::lock_guard lock(simQueues.eventLock);
    simQueues.events.push_back(event);
}

void gf_drainSimEvents(const std::function<void(const SimEvent&)>& handle) {
    std::lock_guard lock(simQueues.eventLock);
    for (const SimEvent& event : simQueues.events) handle(event);
    simQueues.events.clear();
}

std::vector<SimEvent> gf_takeSimEvents() {
    std::lock_guard lock(simQueues.eventLock);
    std::vector<SimEvent> out = simQueues.events;
    simQueues.events.clear();
    return out;
}

void gf_pushPosition(const PositionUpdate& update) { simQueues.outboundPositions[simQueues.filling].push_back(update); }

void lf_swapOutboundPositions() {
    std::unique_lock lock(simQueues.simLock, std::try_to_lock);
    if (!lock.owns_lock()) {
        // At a low frame rate the next slice's positions are newer anyway; at a high one a frame is short
        // and waiting for it costs little.
        if (simlink.frameRate <= kWaitAboveFps) {
            simQueues.outboundPositions[simQueues.filling].clear();
            return;
        }
        lock.lock();
    }
    simQueues.filling = 1 - simQueues.filling;
    simQueues.outboundPositions[simQueues.filling].clear();
}

void gf_clearOutboundPositions() {
    std::lock_guard lock(simQueues.simLock);
    simQueues.outboundPositions[0].clear();
    simQueues.outboundPositions[1].clear();
}
