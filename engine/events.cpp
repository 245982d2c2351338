#include "engine/events.h"

#include <fmt/format.h>

#include "common/random.h"
#include "common/timeofweek.h"
#include "engine/commands.h"
#include "engine/flightplans.h"
#include "engine/ground.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "liveries/matching.h"
#include "simlink/state.h"

namespace {
constexpr int32_t kFirstToggle = 50;    // slices after creation: ALL_LIGHTS_TOGGLE
constexpr int32_t kSecondToggle = 100;  // and again
constexpr double kCabinLightAgl = 2000.0;
constexpr double kLandingLightsBelowFt = 10000.0;

std::string lf_halfHourText(uint64_t word) {
    const TimeOfWeek t = gf_unpackTimeOfWeek(word);
    return fmt::format("{:02}:{:02}", t.halfHour / 2, (t.halfHour % 2) * 30);
}

// The stand's name for the log; the stand table of the park airport names it once it is loaded.
std::string lf_standName(const ParkedAc& ac) { return gf_standName(ac.sid); }

void lf_liveBecameLive(Act& act) {
    act.state = ActState::Live;
    const Sample& head = act.stream.front();
    const uint32_t id = act.objectId;
    if (head.airborne) {
        gf_startEngines(id);
        gf_setSpoilers(act, false);
        const bool low = act.altitude <= kLandingLightsBelowFt;
        gf_setLights(act, true, true, low, false, true, low, act.agl >= kCabinLightAgl);
        return;
    }
    gf_setSpoilers(act, false);
    const bool atStand = act.phase == ActPhase::AtStand;
    if (!atStand) {
        gf_startEngines(id);
    } else {
        gf_stopEngines(id);
    }
    const bool nav = atStand ? NAV_LIGHTS_WHILE_PARKED.current.load() : true;
    gf_setLights(act, nav, !atStand, false, act.phase == ActPhase::Taxi, false, true, true);
    gf_setThrottle(act, act.category == ModelCategory::Rotorcraft ? 4 : 0);
    gf_setFlaps(act, act.phase == ActPhase::Taxi ? 1 : 0);
}

void lf_parkedBecameLive(ParkedAc& parked, uint32_t objectId) {
    parked.state = ActState::Live;
    parked.objectId = objectId;
    gf_setThrottle(parked, 0);
    gf_setFlaps(parked, 0);
    gf_stopEngines(objectId);
    const bool cabin = !parked.standCargo && gf_randomInt(1, 10) <= 9;
    gf_setLights(parked, NAV_LIGHTS_WHILE_PARKED.current.load(), false, false, false, false, true, cabin);
    if (gf_logAircraft()) gf_logf("{:8}: {:8} parked {}", lf_standName(parked), parked.callsign, gf_timeOfDay());
    if (parked.dropOnCreate) gf_removeAct(parked);
}

// One slice of one entry; true when the entry has ended.
bool lf_serveDelayEntry(SimEvent& entry) {
    if (entry.counter < kSettleSlices) {
        ++entry.counter;
        if (entry.kind == kSimLiveCreated && (entry.counter == kFirstToggle || entry.counter == kSecondToggle))
            gf_allLightsToggle(entry.objectId);
        if (entry.counter < kSettleSlices) return false;
    }
    if (entry.kind == kSimParkedCreated) {
        ParkedAc* parked = gf_findParkedBySerial(entry.hexid);
        // A record that vanished meanwhile (erased by a cancel or a removal) ends its entry too.
        if (parked != nullptr) lf_parkedBecameLive(*parked, entry.objectId);
        return true;
    }
    Act* act = gf_findActByHexid(entry.hexid);
    if (act == nullptr) return true;
    lf_liveBecameLive(*act);
    if (act->dropOnCreate) gf_removeAct(*act);
    return true;
}

void lf_objectRemoved(uint32_t objectId) {
    if (Act* act = gf_findActByObject(objectId)) {
        if (act->state == ActState::Recreating) {
            act->state = ActState::New;
            act->recreated = true;
            act->throttle = 5;
            act->flaps = 4;
            act->objectId = 0;
            return;
        }
        gf_deleteFlightPlan(*act);
        gf_eraseActAt(static_cast<size_t>(act - engine.active.data()));
        return;
    }
    if (ParkedAc* parked = gf_findParkedByObject(objectId)) {
        auto& table = engine.parked;
        const auto i = static_cast<size_t>(parked - table.data());
        if (i + 1 != table.size()) table[i] = std::move(table.back());
        table.pop_back();
    }
}

void lf_heightReport(const SimEvent& event) {
    Act* act = gf_findActByObject(event.objectId);
    if (act == nullptr) return;
    if (event.hexid != 0 && !act->onGround && act->slots <= 1) gf_touchdown(*act);
    act->agl = event.b;
    if (act->onGround || act->slots >= 2) act->altitude = act->staticCg + event.a;
}

void lf_staticValues(const SimEvent& event) {
    Act* act = gf_findActByObject(event.objectId);
    if (act == nullptr) return;
    if (event.a < kStaticCgLowFt || event.a > kStaticCgHighFt)
        gf_logMarkf("{}: static CG {:.1F}ft wrong?", gf_acLabel(*act), event.a);
    else
        act->staticCg = event.a;
    const double pitch = event.b <= kStaticPitchLow || event.b > kStaticPitchHigh ? kStaticPitchStand : event.b;
    act->staticPitch = pitch;
}

void lf_blocked(uint32_t hexid) {
    Act* act = gf_findActByHexid(hexid);
    if (act == nullptr) return;
    if (act->state == ActState::New) {
        gf_logf("{} will be removed from buffer while blocked", act->callsign);
        act->drop = true;
    } else if (act->state == ActState::Live) {
        gf_logf("{} removed from simulator immediately while blocked", act->callsign);
        gf_removeAct(*act);
    }
}

void lf_createFailed(uint32_t hexid) {
    if (hexid > kParkedSerialLimit) {
        Act* act = gf_findActByHexid(hexid);
        if (act == nullptr) return;
        gf_liveryNotCreated(*act);
        gf_eraseActAt(static_cast<size_t>(act - engine.active.data()));
        return;
    }
    ParkedAc* parked = gf_findParkedBySerial(hexid);
    if (parked == nullptr) return;
    gf_liveryNotCreated(*parked);
    auto& table = engine.parked;
    const auto i = static_cast<size_t>(parked - table.data());
    if (i + 1 != table.size()) table[i] = std::move(table.back());
    table.pop_back();
}
}  // namespace

bool gf_liveAIAdded(Act& act, uint32_t objectId, double reportedAgl) {
    if (objectId < 3) {
        gf_logMarkf("{} objectId in liveAIAdded {}", act.callsign, objectId);
        return false;
    }
    act.objectId = objectId;
    act.agl = reportedAgl;
    const Sample& head = act.stream.front();
    if (!head.airborne) {
        act.onGround = true;
        act.stepAlt = 0.0;
        if (act.phase == ActPhase::AtStand) {
            act.parkedSince = timeOfWeekWord.load();
            if (!act.recreated && gf_logAircraft())
                gf_logf("{:8}: {:8} parks {}", lf_standName(act), act.callsign, lf_halfHourText(act.parkedSince));
        }
        act.recreated = false;
        act.slots = 1;
    }
    lf_giveFlightPlan(act);
    gf_requestStaticValues(objectId);
    return true;
}

void gf_processSimEvent(const SimEvent& event) {
    switch (event.kind) {
        case kSimLiveCreated: {
            Act* act = gf_findActByHexid(event.hexid);
            if (act == nullptr || !gf_liveAIAdded(*act, event.objectId, event.b)) return;
            SimEvent entry = event;
            entry.counter = 0;
            simQueues.delayList.push_back(entry);
            return;
        }
        case kSimParkedCreated: {
            SimEvent entry = event;
            entry.counter = 0;
            simQueues.delayList.push_back(entry);
            return;
        }
        case kSimRemoved: lf_objectRemoved(event.objectId); return;
        case kSimHeight: lf_heightReport(event); return;
        case kSimStatic: lf_staticValues(event); return;
        case kSimBlocked: lf_blocked(event.hexid); return;
        case kSimCreateFailed: lf_createFailed(event.hexid); return;
        default: return;
    }
}

void gf_drainEngineEvents() {
    gf_drainSimEvents([](const SimEvent& event) { gf_processSimEvent(event); });
    std::lock_guard lock(simQueues.eventLock);
    auto& list = simQueues.delayList;
    for (size_t i = 0; i < list.size();) {
        if (!lf_serveDelayEntry(list[i])) {
            ++i;
            continue;
        }
        if (i + 1 != list.size()) list[i] = list.back();
        list.pop_back();
    }
}
