// The legs of a live aircraft. A leg runs from the present position to the next sample and is stepped
// in equal parts per slice, so that the aircraft reaches the sample at its due slice (within the slacks).
// Turns are spread over the start of the leg at the category's rate; on the ground the height comes from
// the simulator's height reports.
#include "engine/motion.h"

#include <algorithm>
#include <cmath>

#include "common/geo.h"
#include "engine/admission.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "simlink/state.h"

namespace {
constexpr double kFeetPerNm = 6076.11549;
constexpr int32_t kAirExtrapolations = 8;      // made-up legs of an aircraft whose data stop in the air
constexpr int32_t kGroundExtrapolations = 10;  // ... on the ground
constexpr double kAirLegSeconds = 8.0;
constexpr double kGroundLegSeconds = 3.0;
constexpr double kAirTurnRate = 3.0 * kPi / 18000.0;  // radians per slice: a standard rate turn, 3 deg/s

LatLon lf_pos(const Sample& s) { return {s.latitude, s.longitude}; }

// The mean ground speed of head and next; from the schedule when both stand.
double lf_legSpeed(const Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    const double mean = (head.groundSpeed + next.groundSpeed) / 2.0;
    if (mean > 0.0) return mean;
    const double d = gf_distanceNm(lf_pos(head), lf_pos(next));
    const double slices = std::max<double>(next.dueTick - head.dueTick, kSmallestLegSlices);
    return std::max(1.0, d * kSlicesPerHour / slices);
}

// The leg ends at S + duration, as far as the slacks let it move off next's due slice.
void lf_clampSchedule(Act& act, int32_t duration) {
    Sample& next = act.stream[1];
    int32_t t = engine.slice + duration;
    if (act.extrapolation <= 0) {
        if (t > next.dueTick + act.lateSlack)
            t = next.dueTick + act.lateSlack;
        else
            t = std::max(t, next.dueTick - act.earlySlack);
    }
    next.dueTick = std::max(t, engine.slice);
}

// The duration of a moving leg: its length at its speed.
void lf_scheduleLeg(Act& act) {
    const Sample& next = act.stream[1];
    if (next.stopped) {
        // A stop keeps its place in time.
        const Sample& head = act.stream[0];
        const int32_t hold = std::max(kSmallestLegSlices, next.dueTick - head.dueTick);
        lf_clampSchedule(act, std::max(kSmallestLegSlices, head.dueTick + hold - engine.slice));
        return;
    }
    const double d = gf_distanceNm({act.latitude, act.longitude}, lf_pos(next));
    const auto duration = static_cast<int32_t>(std::lround(d * kSlicesPerHour / lf_legSpeed(act)));
    lf_clampSchedule(act, std::max(kSmallestLegSlices, duration));
}

// A made-up sample after the head, when the data have run out.
void lf_appendExtrapolated(Act& act, int32_t n) {
    act.extrapolation = n;
    const Sample& head = act.stream.front();
    Sample e = head;
    const double leg = act.onGround ? kGroundLegSeconds : kAirLegSeconds;
    if (head.stopped || act.phase == ActPhase::AtStand || (act.onGround && !act.departing)) {
        e.stopped = true;
        e.groundSpeed = 0.0;
    } else if (!act.onGround) {
        e.groundSpeed = std::max(1.0, head.groundSpeed * (act.onApproach ? 0.90 : 0.95));
    }
    if (e.groundSpeed > 0.0) {
        const double feet = leg * 100.0 * e.groundSpeed * kFeetPerNm / kSlicesPerHour;
        const LatLon p = gf_destinationPoint(lf_pos(head), act.heading, feet);
        e.latitude = p.lat;
        e.longitude = p.lon;
        e.stopped = p.lat == head.latitude && p.lon == head.longitude;
    }
    if (act.phase == ActPhase::AtStand)
        e.dueTick = static_cast<int32_t>(head.dueTick + kWeekSlices);
    else if (act.phase == ActPhase::HoldAfterPush)
        e.dueTick = head.dueTick + 30000;
    else
        e.dueTick = head.dueTick + static_cast<int32_t>(leg * 100.0);
    if (act.phase == ActPhase::AtStand || act.phase == ActPhase::HoldAfterPush) act.standHeld = false;
    act.stream.push_back(e);
}

// Whether a made-up leg follows the last sample.
bool lf_extrapolate(Act& act) {
    if (act.extrapolation < 0) return false;
    int32_t n = 0;
    if (act.extrapolation == 1) {
        act.extrapolation = -1;
        return false;
    }
    if (act.extrapolation > 1) {
        n = act.extrapolation - 1;
    } else if (act.onGround) {
        n = act.phase == ActPhase::AtStand || act.phase == ActPhase::HoldAfterPush ? 1 : kGroundExtrapolations;
    } else {
        const LatLon userPos{user.userSnapshot.latitude, user.userSnapshot.longitude};
        if (!gf_isNullBox(userPos) &&
            gf_distanceNm(userPos, {act.latitude, act.longitude}) >= parDerived.rangeNm.load() - 0.5)
            return false;
        n = kAirExtrapolations;
    }
    lf_appendExtrapolated(act, n);
    return true;
}

// The increments of a moving leg of n slices towards next.
void lf_setLeg(Act& act, const Sample& next, int32_t n) {
    act.stepLat = (next.latitude - act.latitude) / n;
    act.stepLon = (next.longitude - act.longitude) / n;
    const double turn = gf_angleDiff(act.heading, act.targetHeading);
    const double rate = act.onGround ? act.turnRate : kAirTurnRate;
    const double turnSlices = std::clamp(std::ceil(std::fabs(turn) / rate), 1.0, static_cast<double>(n));
    act.stepHeading = turn / turnSlices;
    act.turnLeft = std::fabs(turn) * kRadToDeg;
    act.turning = act.turnLeft > 0.0;
    if (act.onGround) {
        act.stepAlt = 0.0;
        act.stepPitch = ((act.staticPitch != 0.0 ? act.staticPitch : kGroundPitch) - act.pitch) / n;
        act.stepBank = -act.bank / n;
        act.legVerticalSpeed = 0.0;
        act.legAirspeed = lf_legSpeed(act);
        return;
    }
    act.stepAlt = (next.altitude - act.altitude) / n;
    act.legVerticalSpeed = act.stepAlt * 6000.0;  // feet per slice to feet per minute
    act.legAirspeed = (act.stream[0].airspeed + next.airspeed) / 2.0;
    act.stepPitch = (gf_airPitch(act.legVerticalSpeed) - act.pitch) / n;
    act.stepBank = (next.bank.value_or(0.0) - act.bank) / n;
}

// The leg from the present position to next begins; the head is taken off.
void lf_startLeg(Act& act) {
    auto& stream = act.stream;
    act.curveStart = act.curveStop = act.curveCtrlX = act.curveCtrlY = std::nan("");
    act.curveIndex = 0.0;
    Sample& next = stream[1];
    if (!next.stopped && next.latitude == stream[0].latitude && next.longitude == stream[0].longitude)
        next.stopped = true;
    if (!next.stopped) act.targetHeading = gf_bearing(lf_pos(stream[0]), lf_pos(next));
    // Where a leg leaves or reaches the ground; touchdown and rotation in their full form belong to the
    // landing and the take-off.
    const bool groundLeg = !stream[0].airborne && !next.airborne;
    if (groundLeg && !act.onGround) {
        act.onGround = true;
        if (act.phase == ActPhase::Airborne) act.phase = ActPhase::Taxi;
    } else if (next.airborne && act.onGround) {
        act.onGround = false;
        act.phase = ActPhase::Airborne;
    }
    if (act.onGround || !next.stopped || act.category == ModelCategory::Rotorcraft) lf_scheduleLeg(act);
    if (next.stopped) {
        act.stepLat = act.stepLon = act.stepAlt = 0.0;
        if (!act.rollOut && !act.departing) gf_shrinkSlack(act);
    } else {
        lf_setLeg(act, next, std::max(kSmallestLegSlices, next.dueTick - engine.slice));
    }
    stream.pop_front();
}

// The head has been reached: the next leg, or a made-up one, or the end.
void lf_nextLeg(Act& act) {
    auto& stream = act.stream;
    for (;;) {
        if (stream.size() >= 2) {
            if (act.onGround || !stream[1].stopped || act.category == ModelCategory::Rotorcraft) break;
            stream.erase(stream.begin() + 1);  // a flying aeroplane does not stop
            continue;
        }
        if (!lf_extrapolate(act)) {
            if (act.phase != ActPhase::AtStand) gf_learnDeparture(act);
            gf_removeAct(act);
            return;
        }
    }
    lf_startLeg(act);
}

void lf_stepAct(Act& act) {
    act.latitude += act.stepLat;
    act.longitude += act.stepLon;
    act.altitude = std::max(0.0, act.altitude + act.stepAlt);
    if (act.turning) {
        act.heading = std::fmod(act.heading + act.stepHeading + kTwoPi, kTwoPi);
        act.turnLeft -= std::fabs(act.stepHeading) * kRadToDeg;
        if (act.turnLeft <= 1e-9) {
            act.heading = act.targetHeading;
            act.turning = false;
            act.turnLeft = 0.0;
        }
    }
    act.pitch += act.stepPitch;
    act.bank += act.stepBank;
}
}  // namespace

void gf_openSlack(Act& act) {
    act.extrapolation = 0;
    act.earlySlack = kOpenSlack;
    act.lateSlack = act.departing ? kOpenLateSlackDeparting : kOpenSlack;
}

void gf_shrinkSlack(Act& act) {
    act.earlySlack = std::max(kNarrowSlack, act.earlySlack > kNarrowSlack ? act.earlySlack - 100 : act.earlySlack);
    act.lateSlack = std::max(kNarrowSlack, act.lateSlack > kNarrowSlack ? act.lateSlack - 100 : act.lateSlack);
}

double gf_airPitch(double verticalSpeedFpm) {
    double v = verticalSpeedFpm;
    if (v > 0.0)
        v = std::min(v, 2400.0);
    else
        v = std::max(v, -3000.0) / 2.0;
    return kAirPitchBase - v / 600.0 * 2.2 * kDegToRad;
}

bool gf_anyAircraftLanding() { return false; }

void gf_moveAircraft() {
    if (engine.removeAllRequested.exchange(false)) gf_removeAllLive();
    // Admission may take off heads and mark records, never append or erase: indexes stay valid.
    for (size_t i = 0; i < engine.active.size(); ++i) {
        Act& act = engine.active[i];
        if (act.state == ActState::New) {
            gf_admitAct(act);
            continue;
        }
        if (act.state != ActState::Live) continue;
        if (engine.slice >= act.stream.front().dueTick) {
            lf_nextLeg(act);
            act.verticalSpeedFps = act.legVerticalSpeed / 60.0;
            act.trueAirspeed = act.stream.front().stopped ? 0.0 : act.legAirspeed;
        }
        if (act.state != ActState::Live) continue;
        if (!act.stream.front().stopped) lf_stepAct(act);
        gf_pushPosition({act.latitude, act.longitude, act.pitch, act.bank, act.heading, act.altitude,
                         act.verticalSpeedFps, act.trueAirspeed, act.objectId});
        ++engine.positionsSent;
    }
    gf_compactActive();
    lf_swapOutboundPositions();
}
