// The rules that let a new aircraft into the simulator, in their order, and its first placement.
#include "engine/admission.h"

#include <cmath>

#include <fmt/format.h>

#include "common/geo.h"
#include "engine/ground.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/matching.h"
#include "simlink/user.h"

namespace {

constexpr int32_t kLeadAirborneSlices = 100;           // an airborne or standing head is placed 1 s before it is due
constexpr int32_t kLeadRollingSlices = 300;            // a rolling one 3 s before
constexpr double kUserSlowKt = 8.0;                    // a held aircraft waits while the user rolls faster
constexpr double kHeldGroundNm = 500.0 / 1852.0;       // 500 m: a held aircraft waits while this close
constexpr double kUserGroundNm = 0.08099352051835854;  // 150 m around a user on the ground
constexpr double kLowPassNm = 1.5;                     // a user flying low sees the ground this far ahead
constexpr double kLowPassAglFt = 1000.0;               // ... below this height above ground
constexpr double kLowPassSideFt = 500.0;               // ... within this of his line of flight
constexpr double kPathConflictNm = 6.0;                // airborne head this close to the user ...
constexpr double kPathConflictAltFt = 3000.0;          // ... this close in height ...
constexpr double kPathConflictSideFt = 4000.0;         // ... and this close to its line of flight
constexpr size_t kBusyCreationQueue = 11;              // live creations waiting: newcomers hold back
constexpr size_t kMaxCallsignLength = 8;               // the simulator's tail number field
constexpr double kGroundPitch = 0.010471975511965976;  // 0.6 degrees, standing
constexpr double kApproachPitchDeg = -3.0;             // pitch at zero vertical speed, degrees
constexpr double kPitchPerFpmDeg = 2.2 / 600.0;        // degrees of pitch per foot per minute
constexpr double kMaxClimbFpm = 2400.0;                // vertical speeds beyond these add no pitch
constexpr double kMaxDescentFpm = -3000.0;             // ... and a descent counts half
constexpr const char* kNoCallsign = "@@@@@@@@";        // what the service sends for an unknown callsign

LatLon lf_userPosition() { return {user.userSnapshot.latitude, user.userSnapshot.longitude}; }
LatLon lf_at(const Sample& s) { return {s.latitude, s.longitude}; }

// Skip: the head goes; an aircraft with one sample left goes instead, since it would have no leg.
void lf_skip(Act& act) {
    if (act.stream.size() <= 1) {
        act.drop = true;
        return;
    }
    act.stream.pop_front();
}

// A flying aircraft whose first samples are already past (born from the history's older snapshots, or
// held through a slow start-up, then paced in): placed where it was when its first sample was due, it
// would run that many seconds late and work them off only a quarter leg at a time. Its passed samples go,
// and its head becomes the point of its track due `lead` from now, as for an aircraft admitted on time.
void lf_catchUpPassedHead(Act& act, int32_t lead) {
    auto& stream = act.stream;
    const int32_t due = engine.slice + lead;
    if (!stream.front().airborne || stream.front().dueTick >= due) return;
    while (stream.size() > 2 && stream[1].dueTick <= due) stream.pop_front();
    Sample& head = stream[0];
    const Sample& next = stream[1];
    if (next.dueTick <= due || head.dueTick >= due) return;  // two samples left, both past: it runs late
    const double k = static_cast<double>(due - head.dueTick) / (next.dueTick - head.dueTick);
    head.latitude += (next.latitude - head.latitude) * k;
    head.longitude += (next.longitude - head.longitude) * k;
    head.altitude += (next.altitude - head.altitude) * k;
    head.dueTick = due;
}

// The line of flight of the head. An aircraft that never flew has no target heading yet, so its own
// report counts: the true heading, else the track, else the way to the next sample.
double lf_lineOfFlight(const Act& act) {
    const Sample& head = act.stream.front();
    if (act.targetHeading != 0.0) return act.targetHeading;
    if (head.hasHeading && head.trueHeading) return *head.trueHeading;
    if (head.track != 0.0 || act.stream.size() < 2) return head.track * kDegToRad;
    return gf_bearing(lf_at(head), lf_at(act.stream[1]));
}

bool lf_flightPathConflict(const Act& act) {
    const Sample& head = act.stream.front();
    const LatLon userAt = lf_userPosition();
    const double d = gf_distanceNm(userAt, lf_at(head));
    if (d > kPathConflictNm) return false;
    if (std::fabs(head.altitude - user.userSnapshot.altitude) >= kPathConflictAltFt) return false;
    const double a = gf_angleDiff(lf_lineOfFlight(act), gf_bearing(userAt, lf_at(head)));
    return d * kFeetPerNm * std::fabs(std::sin(a)) <= kPathConflictSideFt;
}

enum class Verdict { Pass, Skip, Held };

// Rule 6: the user aircraft. `held` keeps an aircraft refused near the user under the stricter rules.
Verdict lf_userCollision(Act& act) {
    const Sample& head = act.stream.front();
    const LatLon userAt = lf_userPosition();
    if (user.userOnGround.load()) {
        if (act.held) {
            if (user.userSnapshot.groundVelocity > kUserSlowKt) return Verdict::Skip;
            if (!head.airborne &&
                (head.groundSpeed > kUserSlowKt || gf_distanceNm(userAt, lf_at(head)) < kHeldGroundNm))
                return Verdict::Skip;
        }
        if (!head.airborne && COLLISION_USER_GND.current && gf_distanceNm(userAt, lf_at(head)) < kUserGroundNm)
            return Verdict::Skip;
        return Verdict::Pass;
    }
    if (!COLLISION_USER_AIR.current) return Verdict::Pass;
    if (!head.airborne) {
        if (act.held) return Verdict::Skip;
        const double d = gf_distanceNm(userAt, lf_at(head));
        const double a = gf_angleDiff(user.userSnapshot.heading, gf_bearing(userAt, lf_at(head)));
        if (d <= kLowPassNm && user.userSnapshot.agl < kLowPassAglFt &&
            std::sin(std::fabs(a)) * d * kFeetPerNm <= kLowPassSideFt)
            return Verdict::Held;
        return Verdict::Pass;
    }
    return lf_flightPathConflict(act) ? Verdict::Held : Verdict::Pass;
}

size_t lf_liveCount() {
    size_t n = 0;
    for (const Act& a : engine.active)
        if (a.state == ActState::Live) ++n;
    return n;
}

bool lf_limitOff() { return MAX_LIVE.current.load() >= MAX_LIVE.max; }

bool lf_isGhost(const std::string& callsign) { return !callsign.empty() && callsign.back() == '_'; }

// Rule 10: the registration's record knows airline, operator, type and freight better than the service.
void lf_takeRegistration(Act& act) {
    if (act.reg.empty()) return;
    if (const DbaseRecord* r = gf_dbaseFind(act.reg)) {
        act.airline = std::string(r->airl.view());
        const std::string type(r->type.view());
        // A record without a valid type keeps the reported one: a wrong type is worse than a rough one.
        if (type != act.model && gf_isValidModel(type)) {
            act.model = type;
            gf_applyCategory(act, gf_modelCategory(type));
            act.halfSpan = gf_halfWingspan(type);
        }
        if (!r->opr.empty()) act.airline = std::string(r->opr.view());
        act.cargo = r->cargo;
    }
    if (act.callsign.empty() || act.callsign == kNoCallsign) act.callsign = act.reg;
}

// Rule 12.
void lf_airlineFromCallsign(Act& act) {
    if (act.airline.empty()) act.airline = gf_airlineFromCallsign(act.callsign);
}

// Pitch of a first airborne position from its vertical speed: a climb noses up to 2400 fpm, a descent
// counts half down to -3000 fpm.
double lf_airbornePitch(double verticalSpeedFpm) {
    double v = verticalSpeedFpm;
    if (v > 0.0) v = std::min(v, kMaxClimbFpm);
    if (v < 0.0) v = std::max(v, kMaxDescentFpm) * 0.5;
    return (kApproachPitchDeg - v * kPitchPerFpmDeg) * kDegToRad;
}

double lf_wrap(double radians) {
    double h = std::fmod(radians, kTwoPi);
    if (h < 0.0) h += kTwoPi;
    return h;
}

// A stationary start: when the next sample stands still, so does the head, and the third too if it
// stands; otherwise the head is taken to move.
void lf_stationaryStart(Act& act) {
    auto& s = act.stream;
    if (s.size() >= 2 && s[1].stopped) {
        s[0].stopped = true;
        s[0].groundSpeed = 0.0;
        s[1].groundSpeed = 0.0;
        if (s.size() >= 3 && s[2].stopped) s[2].groundSpeed = 0.0;
    } else {
        s[0].stopped = false;
    }
}

// A stream on the ground that begins at runway speed and slows down: a landing roll.
bool lf_rollingOut(const std::deque<Sample>& s) {
    return s.size() >= 2 && s.front().groundSpeed >= kTakeOffTriggerKt && s.back().groundSpeed < s.front().groundSpeed;
}

// The simulator state of the new object, from its head.
void lf_stateFromHead(Act& act) {
    const Sample& head = act.stream.front();
    act.latitude = head.latitude;
    act.longitude = head.longitude;
    act.altitude = head.altitude;
    act.verticalSpeedFps = head.verticalSpeed / 60.0;  // the sample's feet per minute
    act.trueAirspeed = head.airspeed;
    act.pitch = head.airborne ? lf_airbornePitch(head.verticalSpeed) : kGroundPitch;
    act.bank = head.bank.value_or(0.0);
    double heading;
    if (act.keepHeading)
        heading = *act.keepHeading;
    else if (act.phase == ActPhase::AtStand)
        heading = act.standHeading;
    else if (act.stream.size() >= 2 && !act.stream[1].stopped)
        heading = gf_bearing(lf_at(head), lf_at(act.stream[1]));
    else
        heading = head.track * kDegToRad;
    act.heading = lf_wrap(heading);
}

// Gives the aircraft its first phase, stand and simulator state. False when it was not placed (dropped,
// or its head taken off by the stand rules for this slice).
bool lf_placeAct(Act& act) {
    lf_stationaryStart(act);
    bool landing = false;
    if (act.phase == ActPhase::Unplaced) {
        if (!gf_matchLive(act)) {
            gf_bookNoMatch(act);
            act.drop = true;
            return false;
        }
        if (act.stream.front().airborne)
            act.phase = ActPhase::Airborne;
        else if (!gf_standRulesForLive(act))
            return false;
        landing = act.phase == ActPhase::Taxi && lf_rollingOut(act.stream);
    }
    if (act.drop) return false;
    engine.checkQueue.push_back(act.hexid);
    lf_stateFromHead(act);
    if (landing) {
        // Seen first on the runway, fast and slowing down: it has just landed (its last feet above the
        // field are never taken up). Placed as if it had touched down, so it rolls out and looks for a
        // stand; taxiing, two fast samples would have made it a departure.
        act.rollOut = act.landedHere = true;
        act.touchdownHeading = act.heading;
    }
    act.state = ActState::Creating;
    act.held = false;
    engine.creationReady.push_back(act.hexid);
    if (!lf_isGhost(act.callsign)) gf_removeGhostOf(act.callsign);
    return true;
}

}  // namespace

bool gf_admitAct(Act& act) {
    // 1, 2: the timing test comes first: it holds a waiting aircraft back with one comparison.
    if (act.stream.empty()) {
        act.drop = true;
        return false;
    }
    const Sample& head = act.stream.front();
    const int32_t lead = head.airborne || head.groundSpeed == 0.0 ? kLeadAirborneSlices : kLeadRollingSlices;
    if (engine.slice < head.dueTick - lead) return false;
    // 3: an aircraft needs a first leg.
    if (act.stream.size() == 1) {
        act.drop = true;
        return false;
    }
    // 4: a ghost that a main aircraft has replaced never comes back.
    if (lf_isGhost(act.callsign)) {
        for (const std::string& g : engine.ghostList)
            if (g == act.callsign) {
                act.drop = true;
                return false;
            }
    }
    // 5: landing or lifting off just now: it starts when the stream is of one kind.
    bool airborne = false, ground = false;
    for (const Sample& s : act.stream) (s.airborne ? airborne : ground) = true;
    if (airborne && ground) {
        lf_skip(act);
        return false;
    }
    lf_catchUpPassedHead(act, lead);
    // 6: the user aircraft.
    switch (lf_userCollision(act)) {
        case Verdict::Pass: break;
        case Verdict::Held: act.held = true; [[fallthrough]];
        case Verdict::Skip: lf_skip(act); return false;
    }
    // 7: the creation queue is long: newcomers give way to those already waiting.
    if (engine.liveCreationQueue.size() >= kBusyCreationQueue && act.phase == ActPhase::Unplaced) {
        lf_skip(act);
        return false;
    }
    // 8: MAX_LIVE, counting creations under way so that a burst can't overshoot the limit.
    if (!lf_limitOff()) {
        const size_t count = lf_liveCount() + engine.creationReady.size() + engine.liveCreationQueue.size();
        if (count >= static_cast<size_t>(MAX_LIVE.current.load()) &&
            lf_makeRoomForLive(gf_distanceNm(lf_userPosition(), lf_at(act.stream.front())))) {
            act.drop = true;
            return false;
        }
    }
    // 9: the user blocked this callsign.
    if (!BLOCK_CALLSIGN.current.empty() && BLOCK_CALLSIGN.current == act.callsign) {
        act.drop = true;
        return false;
    }
    // 10 to 12: registration data, a callsign the simulator can take, an airline.
    lf_takeRegistration(act);
    if (act.callsign.empty() || act.callsign == kNoCallsign || act.callsign.size() > kMaxCallsignLength) {
        act.drop = true;
        return false;
    }
    lf_airlineFromCallsign(act);
    // 13: found no livery before: not matched again.
    if (gf_isBookedNoMatch(act)) {
        act.drop = true;
        return false;
    }
    // 14: the main aircraft of this ghost flies already.
    if (lf_isGhost(act.callsign) && lf_mainExistsForGhost(act.callsign)) {
        act.drop = true;
        return false;
    }
    return lf_placeAct(act);
}

bool lf_makeRoomForLive(double distanceNm) {
    const LatLon userAt = lf_userPosition();
    double best = distanceNm;
    Act* victim = nullptr;
    for (Act& a : engine.active) {
        if (a.state != ActState::Live) continue;
        const double d = gf_distanceNm(userAt, {a.latitude, a.longitude});
        if (d > best + kMarginNm) {
            best = d;
            victim = &a;
        }
    }
    if (!victim) return true;
    gf_removeAct(*victim);
    return false;
}

void gf_applyMaxLive() {
    if (lf_limitOff()) {
        gf_setControlText(MAX_LIVE.controlId, std::to_string(MAX_LIVE.current.load()));
        return;
    }
    const size_t limit = static_cast<size_t>(MAX_LIVE.current.load());
    // Removal is only ordered here: the count falls when the simulator confirms.
    for (size_t live = lf_liveCount(); live > limit; --live) lf_makeRoomForLive(-1.0);
}

bool lf_mainExistsForGhost(const std::string& callsign) {
    if (callsign.empty()) return false;
    const std::string_view main(callsign.data(), callsign.size() - 1);
    for (const Act& a : engine.active)
        if (a.state != ActState::Removing && a.callsign == main) return true;
    return false;
}

void gf_removeGhostOf(const std::string& callsign) {
    const std::string ghostCallsign = callsign + "_";
    for (Act& a : engine.active) {
        if (a.callsign != ghostCallsign || a.state == ActState::Removing) continue;
        if (gf_logAircraft()) {
            if (a.phase == ActPhase::AtStand)
                gf_logf("{:8}: {:8} is a ghost and will be removed, continue with {}", gf_standName(a.sid), a.callsign,
                        callsign);
            else
                gf_logf("          {:8} is a ghost and will be removed, continue with {}", a.callsign, callsign);
        }
        engine.ghostList.push_back(a.callsign);
        if (a.state == ActState::New)
            a.drop = true;
        else
            gf_removeAct(a);
        return;
    }
}

std::string gf_airlineFromCallsign(const std::string& c) {
    const auto upper = [](char ch) { return ch >= 'A' && ch <= 'Z'; };
    if (c.size() >= 4 && upper(c[0]) && upper(c[1]) && upper(c[2]) && c[3] >= '0' && c[3] <= '9') return c.substr(0, 3);
    return kPrivateAirline;
}
