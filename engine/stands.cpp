// The stands of the park airport for live aircraft: the search for the stand an aircraft stands on or
// stops at, and the rules that give a stand to an aircraft first placed on the ground.
#include "engine/stands.h"

#include <chrono>
#include <cmath>

#include "airports/state.h"
#include "common/clock.h"
#include "common/timeofweek.h"
#include "engine/admission.h"
#include "engine/collision.h"
#include "engine/ground.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "parking/learning.h"
#include "service/state.h"
#include "simlink/user.h"

namespace {
constexpr double kRollingNextKt = 5.0;  // a next sample faster than this: it taxis

LatLon lf_pos(const Sample& s) { return {s.latitude, s.longitude}; }

// The half span exceeds the stand's radius by no more than 1.8 m.
bool lf_fits(const Stand& stand, const Act& act) { return act.halfSpan - stand.radius <= kFitSlackNm; }

// The stand's history has a real option of this flight or of this airline's type.
bool lf_knowsAircraft(const Stand& stand, const Act& act) {
    for (const ParkPos& o : stand.options) {
        if (o.optId == 0 || o.soft) continue;
        if (o.cs1 == act.callsign || o.cs2 == act.callsign) return true;
        if (o.airl == act.airline && o.type == act.model) return true;
    }
    return false;
}

void lf_taxi(Act& act) { act.phase = ActPhase::Taxi; }

// Another live aircraft holds the stand: the claim rules decide. False when the newcomer must go.
bool lf_claimsAllow(const Act& act, const Stand& stand) {
    for (Act& other : engine.active) {
        if (&other == &act) continue;
        bool refused = false;
        if (lf_claimStand(act, other, stand.name, refused)) return !refused;
    }
    return true;
}
}  // namespace

Stand* gf_standOfId(uint32_t sid) {
    if (sid == 0 || sid > airports.stands.size()) return nullptr;
    return &airports.stands[sid - 1];
}

std::string gf_standName(uint32_t sid) {
    if (sid == 0) return "sid==0?";
    const Stand* stand = gf_standOfId(sid);
    return stand == nullptr ? "unknown" : stand->name;
}

Stand* gf_searchStandNear(LatLon position, const Act& act, double limitNm, bool wide) {
    Stand* best = nullptr;
    Stand* second = nullptr;
    Stand* oversize = nullptr;
    double bestNm = 1e9;
    double secondNm = 1e9;
    for (Stand& stand : airports.stands) {
        if (stand.occupiedLive) continue;
        const double d = gf_distanceNm(position, {stand.latitude, stand.longitude});
        if (d <= limitNm && d < bestNm) {
            if (lf_fits(stand, act)) {
                best = &stand;
                bestNm = d;
                oversize = nullptr;
                wide = false;
            } else if (d <= kStandOnItNm) {
                best = oversize = &stand;
                bestNm = d;
                wide = false;
            }
        } else if (wide && d <= kSecondChoiceNm && d < secondNm && lf_fits(stand, act) && !act.callsign.empty() &&
                   lf_knowsAircraft(stand, act)) {
            second = &stand;
            secondNm = d;
        }
    }
    Stand* result = best != nullptr ? best : second;
    if (result == nullptr) return nullptr;
    if (result->heli != (act.category == ModelCategory::Rotorcraft)) return nullptr;
    if (result == oversize) {
        // The file's stand is too small for what really parks there: it grows to this aircraft.
        result->radius = act.halfSpan - kOversizeShrinkNm;
        result->radiusChanged = true;
        panel.updateCount.fetch_add(1);
        gf_invalidate(Band::Static);
    }
    return result;
}

bool gf_standKeptFree(const Stand& stand) {
    if (stand.reserved) return true;
    const LatLon userPos{user.userSnapshot.latitude, user.userSnapshot.longitude};
    return !gf_isNullBox(userPos) && gf_standAtPosition(userPos) == stand.name;
}

void gf_clearStandForLive(const Act& act, const Stand& stand) {
    // The first record on the stand ends the walk; on each stand next to it, the first parked aircraft
    // whose span overlaps goes.
    for (size_t i = 0; i < engine.parked.size(); ++i)
        if (lf_parkedMakesPlace(stand.name, stand.sid, act, engine.parked[i])) break;
    for (const uint32_t adjacentId : stand.adjacent)
        for (size_t i = 0; i < engine.parked.size(); ++i)
            if (lf_parkedAdjacentMakesPlace(adjacentId, act, stand, engine.parked[i])) break;
}

namespace {
// A live aircraft on a stand next to `stand` whose span overlaps the newcomer's refuses it.
bool lf_adjacentRefuses(const Act& newcomer, const Stand& stand) {
    for (const uint32_t adjacentId : stand.adjacent)
        for (const Act& other : engine.active)
            if (&other != &newcomer && lf_adjacentRefusesNewcomer(adjacentId, newcomer, stand, other)) return true;
    return false;
}
}  // namespace

void gf_adjacentMakePlace(const Act& newcomer, const Stand& stand) {
    for (const uint32_t adjacentId : stand.adjacent)
        for (size_t i = 0; i < engine.active.size(); ++i)
            if (&engine.active[i] != &newcomer && lf_adjacentMakesPlace(adjacentId, newcomer, stand, engine.active[i]))
                break;
}

void gf_markCargoStand(const Act& act) {
    Stand* stand = gf_standOfId(act.sid);
    if (stand == nullptr || !act.cargo || stand->cargo) return;
    stand->cargo = true;
    stand->cargoChanged = true;
    panel.updateCount.fetch_add(1);
    gf_invalidate(Band::Static);
    gf_logMarkf("{} stand: {}, cargo attribute set to true, {} parked here", airports.parkIcao, stand->name,
                gf_acLabel(act));
}

bool gf_standRulesForLive(Act& act) {
    if (airports.stands.empty() || !service.parkAirportSet.load()) {
        lf_taxi(act);
        return true;
    }
    Sample& head = act.stream.front();
    const LatLon park{service.parkLatitude.load(), service.parkLongitude.load()};
    if (gf_distanceNm(park, lf_pos(head)) > kParkAirportNm) {
        lf_taxi(act);
        return true;
    }
    LatLon searchAt = lf_pos(head);
    if (!head.stopped) {
        if (act.stream[1].groundSpeed > kRollingNextKt ||
            gf_distanceNm(lf_pos(head), lf_pos(act.stream.back())) > kSettledNm) {
            lf_taxi(act);
            return true;
        }
        searchAt = lf_pos(act.stream.back());
    }
    Stand* stand = gf_searchStandNear(searchAt, act, kStandSearchNm, head.stopped);
    if (stand == nullptr) {
        if (act.stream[1].stopped) {
            act.stream.pop_front();
            return false;
        }
        lf_taxi(act);
        return true;
    }
    if (gf_standKeptFree(*stand) || !lf_claimsAllow(act, *stand) || lf_adjacentRefuses(act, *stand)) {
        act.drop = true;
        return false;
    }
    gf_clearStandForLive(act, *stand);
    gf_takeStand(act, *stand);
    act.stream.resize(1);
    Sample& at = act.stream.front();
    at.stopped = true;
    at.groundSpeed = 0.0;
    at.latitude = stand->latitude;
    at.longitude = stand->longitude;
    at.track = stand->heading * kRadToDeg;
    act.prevPhase = act.phase;
    act.phase = ActPhase::AtStand;
    stand->occupiedLive = true;
    gf_learnAtStand(stand->sid, act, false, gf_loadTimeOfWeek(), false);
    gf_limitParked(1);
    return true;
}
