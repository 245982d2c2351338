#include "engine/records.h"

#include <algorithm>

#include <fmt/format.h>

#include "common/geo.h"
#include "engine/intake.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"

namespace {
template <typename T, typename Pred>
T* lf_findIn(std::vector<T>& table, Pred pred) {
    const auto it = std::find_if(table.begin(), table.end(), pred);
    return it == table.end() ? nullptr : &*it;
}

// Rebuilds a creation queue without the entries of this callsign; erases their records from `table`.
template <typename T>
bool lf_cancelCreation(std::deque<CreateRequest>& queue, std::vector<T>& table, const std::string& callsign) {
    bool any = false;
    std::deque<CreateRequest> kept;
    for (CreateRequest& request : queue) {
        if (request.tail != callsign) {
            kept.push_back(std::move(request));
            continue;
        }
        any = true;
        const uint32_t hexid = request.hexid;
        const auto it = std::find_if(table.begin(), table.end(), [hexid](const T& r) { return r.hexid == hexid; });
        if (it != table.end()) {
            if (it + 1 != table.end()) *it = std::move(table.back());
            table.pop_back();
        }
    }
    queue.swap(kept);
    return any;
}
}  // namespace

void gf_applyCategory(AcBase& ac, ModelCategory category) {
    const CategoryValues& v = gf_categoryValues(category);
    ac.category = category;
    ac.flareSlots = v.flareSlots;
    ac.onGroundSlots = v.onGroundSlots;
    ac.rotateSlots = v.rotateSlots;
    ac.liftOffSlots = v.liftOffSlots;
    ac.rotatePitch = gf_jitter(v.rotatePitchDeg, 2.5) * kDegToRad;
    ac.climbPitch = gf_jitter(v.climbPitchDeg, 5.0) * kDegToRad;
    ac.taxiTurnRate = gf_perSecondToPerSlice(v.taxiTurnRateDps);
    ac.turnRate = ac.taxiTurnRate;
    ac.maxAltRate = v.maxAltRate;
    ac.slowSpeed = v.slowSpeed;
}

Act& gf_newAct(const TrafficRecord& record) {
    Act& act = engine.active.emplace_back();
    act.airline = record.airline;
    act.model = record.model;
    act.from = record.from;
    act.to = record.to;
    act.callsign = record.callsign;
    act.altCallsign1 = record.callsign;
    act.reg = record.reg;
    act.hexid = record.hexid;
    gf_applyCategory(act, gf_modelCategory(act.model));
    act.halfSpan = gf_halfWingspan(act.model);
    act.stream.push_back(Sample{record.latitude, record.longitude, record.bank, record.trueHeading, record.altitude,
                                record.groundSpeed, record.track, record.verticalSpeed, record.airspeed, record.dueTick,
                                record.airborne, false, record.hasHeading});
    gf_noteAcceptedRecord(act, record);
    ++engine.actsCreated;
    return act;
}

Act* gf_findActByHexid(uint32_t hexid) {
    return lf_findIn(engine.active, [hexid](const Act& a) { return a.hexid == hexid; });
}
Act* gf_findActByObject(uint32_t objectId) {
    return lf_findIn(engine.active, [objectId](const Act& a) { return a.objectId == objectId; });
}
Act* gf_findActByCallsign(const std::string& callsign) {
    return lf_findIn(engine.active, [&callsign](const Act& a) { return a.callsign == callsign; });
}
ParkedAc* gf_findParkedBySerial(uint32_t serial) {
    return lf_findIn(engine.parked, [serial](const ParkedAc& p) { return p.hexid == serial; });
}
ParkedAc* gf_findParkedByObject(uint32_t objectId) {
    return lf_findIn(engine.parked, [objectId](const ParkedAc& p) { return p.objectId == objectId; });
}

std::string gf_acLabel(const AcBase& ac) {
    const std::string route = ac.from.empty() && ac.to.empty() ? "" : fmt::format("{:3}->{}", ac.from, ac.to);
    return fmt::format("{:8} {:8} {} {:3} {:4}", ac.callsign, ac.reg, route, ac.airline, ac.model);
}

bool gf_logAircraft() { return LOG.current.load(); }

void gf_removeAct(ParkedAc& ac) {
    // A live aircraft frees its stand at once: a newcomer may take it while this one is being removed.
    if (ac.hexid > kParkedSerialLimit && ac.sid != 0)
        if (Stand* stand = gf_standOfId(ac.sid)) stand->occupiedLive = false;
    ac.state = ActState::Removing;
    if (ac.objectId != 0)
        engine.removalQueue.push_back(ac.objectId);
    else
        gf_logMarkf("removing act {} with objectId=0 ?", gf_acLabel(ac));
}

bool gf_cancelLiveCreation(const std::string& callsign) {
    return lf_cancelCreation(engine.liveCreationQueue, engine.active, callsign);
}
bool gf_cancelStaticCreation(const std::string& callsign) {
    return lf_cancelCreation(engine.staticCreationQueue, engine.parked, callsign);
}

void gf_eraseActAt(size_t index) {
    auto& table = engine.active;
    if (index + 1 != table.size()) table[index] = std::move(table.back());
    table.pop_back();
}

size_t gf_compactActive() {
    size_t gone = 0;
    for (size_t i = 0; i < engine.active.size();) {
        if (!engine.active[i].drop) {
            ++i;
            continue;
        }
        gf_eraseActAt(i);  // the last record moves into the gap and is looked at next
        ++gone;
    }
    return gone;
}

void gf_removeAllLive() {
    // Cancelling erases records, so the walk restarts after each; the tables hold a few hundred at most.
    for (size_t i = 0; i < engine.active.size();) {
        Act& act = engine.active[i];
        if (act.state == ActState::Live) {
            gf_removeAct(act);
        } else if (act.state == ActState::Creating) {
            if (gf_cancelLiveCreation(act.callsign)) continue;
            act.dropOnCreate = true;
        }
        ++i;
    }
}
