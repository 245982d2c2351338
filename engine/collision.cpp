// Keeping clear of the user and of each other: aircraft that would touch are removed, never moved aside,
// since the engine follows the real aircraft and has nowhere else to put them. No line is logged for the
// user checks: they fire every time the user taxis past a stand.
#include "engine/collision.h"

#include <cmath>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/geo.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "simlink/user.h"

namespace {
constexpr double kMetresPerNm = 1852.0;

LatLon lf_userAt() { return {user.userSnapshot.latitude, user.userSnapshot.longitude}; }
// An unknown user span counts as 0: the user aircraft is then a point.
double lf_userHalfSpan() { return user.userHalfSpan.value_or(0.0); }
LatLon lf_at(const Act& act) { return {act.latitude, act.longitude}; }
LatLon lf_standOf(const ParkedAc& ac) { return {ac.standLat, ac.standLon}; }
bool lf_clash(double distanceNm, double halfSpanA, double halfSpanB) {
    return distanceNm <= (halfSpanA + halfSpanB) * kClearanceFactor;
}

const Stand* lf_stand(uint32_t sid) {
    if (sid == 0 || sid > airports.stands.size()) return nullptr;
    return &airports.stands[sid - 1];
}

// What the adjacent rules compare: the two models' half spans added (no margin), against the distance
// of the two stand centres. Spans that add up exactly to the gap fit.
struct Overlap {
    double spanNm = 0.0;
    double gapNm = 0.0;
    bool overlaps() const { return spanNm > gapNm; }
};
Overlap lf_overlap(const AcBase& newcomer, const AcBase& other, const Stand& stand, const Stand& adjacent) {
    return {gf_halfWingspan(newcomer.model) + gf_halfWingspan(other.model),
            gf_distanceNm({stand.latitude, stand.longitude}, {adjacent.latitude, adjacent.longitude})};
}

// The Act on the adjacent stand that the rules concern: at its stand and in the simulator.
bool lf_actOnAdjacent(uint32_t adjacentId, const Act& act) {
    return act.sid == adjacentId && act.phase == ActPhase::AtStand && act.state == ActState::Live;
}

void lf_liveParkedChecks() {
    if (engine.parked.empty() || engine.active.empty()) return;
    for (Act& act : engine.active) {
        if (!act.onGround || (act.phase != ActPhase::Taxi && act.phase != ActPhase::ToStand)) continue;
        if (act.latitude == act.lastCheckLat && act.longitude == act.lastCheckLon) continue;
        act.lastCheckLat = act.latitude;
        act.lastCheckLon = act.longitude;
        if (act.state != ActState::Live) continue;
        for (ParkedAc& parked : engine.parked)
            if (lf_collisionLiveParked(act, parked)) break;
    }
}

}  // namespace

void lf_collisionUserGround() {
    const LatLon userAt = lf_userAt();
    const double userSpan = lf_userHalfSpan();
    for (Act& act : engine.active) {
        if (!act.onGround) continue;
        if (act.state == ActState::Live && lf_clash(gf_distanceNm(userAt, lf_at(act)), userSpan, act.halfSpan)) {
            gf_removeAct(act);
            return;
        }
    }
    // Parked aircraft only stand still: a user who hasn't moved can't have come closer to one.
    if (userAt.lat == engine.lastUserCheckLat && userAt.lon == engine.lastUserCheckLon) return;
    engine.lastUserCheckLat = userAt.lat;
    engine.lastUserCheckLon = userAt.lon;
    for (ParkedAc& parked : engine.parked) {
        if (parked.state == ActState::Live &&
            lf_clash(gf_distanceNm(userAt, lf_standOf(parked)), userSpan, parked.halfSpan)) {
            gf_removeAct(parked);
            return;
        }
    }
}

bool lf_collisionUserAir(Act& act) {
    if (act.state != ActState::Live) return false;
    const UserSnapshot& u = user.userSnapshot;
    const LatLon userAt = lf_userAt();
    const double d = gf_distanceNm(userAt, lf_at(act));
    const double bearing = gf_bearing(userAt, lf_at(act));
    bool inTheWay = false;
    if (act.onGround) {
        // On a low approach: the aircraft lies on the ground close to the user's line of flight.
        const double off = std::sin(std::fabs(gf_angleDiff(u.heading, bearing))) * d * kFeetPerNm;
        inTheWay = u.agl < kLowApproachAglFt && d <= kLowApproachAheadNm && off <= kLowApproachLineFt;
    } else {
        // The user is close to the line on which the aircraft flies, at about its level.
        const double off = d * kFeetPerNm * std::fabs(std::sin(gf_angleDiff(act.heading, bearing)));
        inTheWay =
            d <= kAirborneNearNm && std::fabs(act.altitude - u.altitude) < kAirborneLayerFt && off <= kAirborneLineFt;
    }
    if (!inTheWay) return false;
    gf_removeAct(act);
    return true;
}

bool lf_collisionLiveParked(const Act& act, ParkedAc& parked) {
    if (parked.state != ActState::Live) return false;
    if (!lf_clash(gf_distanceNm(lf_at(act), lf_standOf(parked)), parked.halfSpan, act.halfSpan)) return false;
    if (gf_logAircraft())
        gf_logf("{:8}: {:8} removed for collision avoidance with live {}", gf_standName(parked.sid), parked.callsign,
                act.callsign);
    gf_removeAct(parked);
    return true;
}

bool lf_adjacentRefusesNewcomer(uint32_t adjacentId, const Act& newcomer, const Stand& stand, const Act& act) {
    const Stand* adjacent = lf_stand(adjacentId);
    if (adjacent == nullptr || !lf_actOnAdjacent(adjacentId, act)) return false;
    if (act.callsign == newcomer.callsign) return false;  // the same flight under two addresses
    const Overlap o = lf_overlap(newcomer, act, stand, *adjacent);
    if (o.overlaps()) {
        if (gf_logAircraft())
            gf_logf("{:8}: {:8} at adjacent and colliding, {} blocks live {} parking", stand.name, act.callsign,
                    adjacent->name, newcomer.callsign);
        return true;
    }
    if (gf_logAircraft())
        gf_logf(
            "{:8}: {:8} stays, while live {} at adjacent, and possibly colliding {}, is parking, but wingspans fit {}",
            stand.name, act.callsign, newcomer.callsign, adjacent->name,
            fmt::format("({:.0f} m <= {:.0f} m)", o.spanNm * kMetresPerNm, o.gapNm * kMetresPerNm));
    return false;
}

bool lf_adjacentMakesPlace(uint32_t adjacentId, const Act& newcomer, const Stand& stand, Act& act) {
    const Stand* adjacent = lf_stand(adjacentId);
    if (adjacent == nullptr || !lf_actOnAdjacent(adjacentId, act)) return false;
    if (!lf_overlap(newcomer, act, stand, *adjacent).overlaps()) {
        if (gf_logAircraft())
            gf_logf(
                "{:8}: {:8} stays, while live {} at adjacent, and possibly colliding {}, is parking, but wingspans fit",
                stand.name, act.callsign, newcomer.callsign, adjacent->name);
        return false;
    }
    if (gf_logAircraft())
        gf_logf("{:8}: {:8} removed by adjacent parking {} {}", stand.name, act.callsign, newcomer.callsign,
                adjacent->name);
    gf_removeAct(act);
    return true;
}

bool lf_parkedAdjacentMakesPlace(uint32_t adjacentId, const Act& newcomer, const Stand& stand, ParkedAc& parked) {
    const Stand* adjacent = lf_stand(adjacentId);
    if (adjacent == nullptr || parked.sid != adjacentId || parked.state != ActState::Live) return false;
    if (!lf_overlap(newcomer, parked, stand, *adjacent).overlaps()) return false;
    if (gf_logAircraft())
        gf_logf("{:8}: {:8} removed by adjacent parking {} at {}", stand.name, parked.callsign, newcomer.callsign,
                adjacentId);
    gf_removeAct(parked);
    return true;
}

void gf_collisionChecks() {
    if (user.userOnGround.load()) {
        if (COLLISION_USER_GND.current.load()) lf_collisionUserGround();
    } else if (COLLISION_USER_AIR.current.load()) {
        for (Act& act : engine.active)
            if (lf_collisionUserAir(act)) break;
    }
    if (COLLISION_LIVE_PARKED_GND.current.load()) lf_liveParkedChecks();
}
