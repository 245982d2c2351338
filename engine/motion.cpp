// The legs of a live aircraft. A leg runs from the present position to the next sample and is stepped in
// equal parts per slice; its duration fits its length at its speed, and may move off the sample's due
// slice by no more than the slacks. When the samples run out, made-up legs carry the aircraft on for a
// while before it ends.
#include "engine/motion.h"

#include <algorithm>
#include <cmath>

#include "engine/admission.h"
#include "engine/ground.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "simlink/state.h"
#include "simlink/user.h"

namespace {
constexpr int32_t kAirExtrapolations = 8;      // made-up legs of an aircraft whose data stop in the air
constexpr int32_t kGroundExtrapolations = 10;  // ... on the ground
constexpr double kAirLegSeconds = 8.0;
constexpr double kGroundLegSeconds = 3.0;
constexpr int32_t kHoldAfterPushSlices = 30000;  // five minutes: then the held aircraft ends
constexpr double kApproachSinkFpm = -667.0;      // made-up descent on the approach
constexpr double kApproachSinkFtPerS = 10.005;
constexpr double kTakeOffClimbFpm = 1500.0;  // made-up climb of a take-off
constexpr double kTakeOffClimbFtPerS = 25.0;
constexpr double kApproachSpeedKt = 100.0;  // a head without speed on its way to the runway
// A leg works off the aircraft's lead or lag on its sample's due slice: it may take up to twice its length
// in time (a slow-down no eye notices on the ground), but no less than half of it (at most double speed,
// no surge across the apron).
constexpr int32_t kCatchUpLongerShare = 1;
constexpr int32_t kCatchUpShorterShare = 2;

bool lf_categoryWanted(ModelCategory c) {
    switch (c) {
        case ModelCategory::Light: return LIGHT_AIRCRAFT.current.load();
        case ModelCategory::HighPerf: return HIGH_PERF_AIRCRAFT.current.load();
        case ModelCategory::Rotorcraft: return HELICOPTERS.current.load();
        default: return true;
    }
}

// The speed a take-off run reaches on the next made-up leg, and its climb.
void lf_takeOffRun(double s, Sample& e) {
    struct Step {
        double upTo, speed, climb;
    };
    static constexpr Step kSteps[] = {{30, 40, 0}, {60, 80, 0}, {100, 110, 0}, {140, 150, 600}, {160, 170, 1200}};
    for (const Step& st : kSteps)
        if (s <= st.upTo) {
            e.groundSpeed = st.speed;
            if (st.climb > 0.0) e.verticalSpeed = st.climb;
            return;
        }
    e.groundSpeed = 180.0;
    e.verticalSpeed = 2400.0;
}

// The speed a roll-out falls to on the next made-up leg.
double lf_rollOutSpeed(double s) {
    if (s >= 140.0) return 100.0;
    if (s >= 100.0) return 80.0;
    if (s >= 80.0) return 60.0;
    if (s >= 60.0) return 30.0;
    return 20.0;
}

// A made-up sample after the head, when the data have run out; n legs are left after it.
void lf_appendExtrapolated(Act& act, int32_t n) {
    act.extrapolation = n;
    const Sample& head = act.stream.front();
    Sample e = head;
    const double leg = act.onGround ? kGroundLegSeconds : kAirLegSeconds;
    if (head.stopped || act.phase == ActPhase::AtStand) {
        e.stopped = true;
        e.groundSpeed = 0.0;
    } else if (act.onGround) {
        if (act.rollOut) {
            e.groundSpeed = lf_rollOutSpeed(head.groundSpeed);
            e.verticalSpeed = 0.0;
        } else if (act.departing) {
            lf_takeOffRun(head.groundSpeed, e);
        } else {
            e.stopped = true;
            e.groundSpeed = 0.0;
        }
    } else if (!act.onApproach || n >= 4) {
        e.groundSpeed = std::max(1.0, head.groundSpeed * (act.onApproach ? 0.90 : 0.95));
    }
    if (e.groundSpeed > 0.0) {
        const double feet = leg * 100.0 * e.groundSpeed * kFeetPerNm / kSlicesPerHour;
        const LatLon p = gf_destinationPoint(gf_at(head), act.heading, feet);
        e.latitude = p.lat;
        e.longitude = p.lon;
        e.stopped = p.lat == head.latitude && p.lon == head.longitude;
        if (act.onApproach && act.flareStage == 0) {
            e.verticalSpeed = kApproachSinkFpm;
            e.altitude = std::max(0.0, head.altitude - leg * kApproachSinkFtPerS);
            e.airborne = e.altitude > 0.0;
        } else if (act.phase == ActPhase::TakeOff) {
            e.verticalSpeed = kTakeOffClimbFpm;
            e.altitude = head.altitude + leg * kTakeOffClimbFtPerS;
            e.airborne = e.altitude > 0.0;
        }
    }
    if (act.phase == ActPhase::AtStand)
        e.dueTick = static_cast<int32_t>(head.dueTick + kWeekSlices);
    else if (act.phase == ActPhase::HoldAfterPush)
        e.dueTick = head.dueTick + kHoldAfterPushSlices;
    else
        e.dueTick = head.dueTick + static_cast<int32_t>(leg * 100.0);
    if (act.phase == ActPhase::AtStand || act.phase == ActPhase::HoldAfterPush) {
        // The aircraft stays, but a newcomer may take its stand now.
        act.standHeld = false;
        if (Stand* stand = gf_standOfId(act.sid)) stand->occupiedLive = false;
    }
    act.stream.push_back(e);
}

// Whether a made-up leg follows the last sample.
bool lf_extrapolate(Act& act) {
    if (act.phase == ActPhase::ToStand) gf_arriveAtStand(act);
    if (act.extrapolation < 0) return false;
    int32_t n = 0;
    if (act.extrapolation == 1) {
        act.extrapolation = -1;
        return false;
    }
    if (act.extrapolation > 1) {
        n = act.extrapolation - 1;
    } else {
        if (!lf_categoryWanted(act.category)) return false;
        if (act.onGround) {
            n = act.phase == ActPhase::AtStand || act.phase == ActPhase::HoldAfterPush ? 1 : kGroundExtrapolations;
        } else {
            const LatLon userPos{user.userSnapshot.latitude, user.userSnapshot.longitude};
            if (!gf_isNullBox(userPos) &&
                gf_distanceNm(userPos, {act.latitude, act.longitude}) >= parDerived.rangeNm.load() - 0.5)
                return false;
            n = kAirExtrapolations;
        }
    }
    lf_appendExtrapolated(act, n);
    return true;
}

// The duration of a leg in the air: its length at its speed.
void lf_scheduleAirLeg(Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    if (next.stopped) {
        if (act.category == ModelCategory::Rotorcraft) gf_scheduleGroundLeg(act);
        return;
    }
    const double d = gf_distanceNm(gf_at(head), gf_at(next));
    double speed = gf_legSpeed(act);
    if (act.onApproach && !next.airborne) speed = head.groundSpeed > 0.0 ? head.groundSpeed : kApproachSpeedKt;
    const auto duration = static_cast<int32_t>(std::lround(d * kSlicesPerHour / speed));
    gf_clampSchedule(act, std::max(kSmallestLegSlices, duration));
}

// The leg from the present position to next begins; the head is taken off.
void lf_startLeg(Act& act) {
    auto& stream = act.stream;
    gf_clearCurve(act);
    {
        Sample& next = stream[1];
        if (!next.stopped && next.latitude == stream[0].latitude && next.longitude == stream[0].longitude)
            next.stopped = true;
        if (!next.stopped) act.targetHeading = gf_bearing(gf_at(stream[0]), gf_at(next));
    }
    if (act.onGround)
        gf_planGroundLeg(act);
    else
        lf_scheduleAirLeg(act);
    if (act.state != ActState::Live || stream.size() < 2) return;
    const Sample& next = stream[1];
    if (next.stopped) {
        act.stepLat = act.stepLon = 0.0;
        if (!act.rollOut && !act.departing) gf_shrinkSlack(act);
    } else {
        const int32_t n = std::max(kSmallestLegSlices, next.dueTick - engine.slice);
        act.stepLat = (next.latitude - act.latitude) / n;
        act.stepLon = (next.longitude - act.longitude) / n;
        if (act.onGround)
            gf_setGroundLeg(act);
        else
            gf_setAirLeg(act, n);
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
}  // namespace

double gf_wrapAngle(double radians) {
    double a = std::fmod(radians, kTwoPi);
    if (a < 0.0) a += kTwoPi;
    return a;
}

double gf_legSpeed(const Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    const double mean = (head.groundSpeed + next.groundSpeed) / 2.0;
    if (mean > 0.0) return mean;
    const double d = gf_distanceNm(gf_at(head), gf_at(next));
    const double slices = std::max<double>(next.dueTick - head.dueTick, kSmallestLegSlices);
    return std::max(1.0, d * kSlicesPerHour / slices);
}

void gf_clampSchedule(Act& act, int32_t duration) {
    Sample& next = act.stream[1];
    int32_t t = engine.slice + duration;
    if (act.extrapolation <= 0 && !next.stopped) {
        // Timed by length alone, a leg keeps whatever lead or lag the aircraft has (the seconds its
        // creation took, a taxi slower than the real one, reported speeds that do not fit the distances
        // between the positions) for the rest of its flight. On the ground, at 10 kt, one second off is
        // already 5 m off the real aircraft: each leg works all of it off that the bounds allow.
        t += std::clamp(next.dueTick - t, -duration / kCatchUpShorterShare, duration / kCatchUpLongerShare);
    }
    if (act.extrapolation <= 0) {
        if (t > next.dueTick + act.lateSlack)
            t = next.dueTick + act.lateSlack;
        else
            t = std::max(t, next.dueTick - act.earlySlack);
    }
    next.dueTick = std::max(t, engine.slice);
}

void gf_widenSlack(Act& act) {
    act.earlySlack = kOpenSlack;
    act.lateSlack = act.departing ? kOpenLateSlackDeparting : kOpenSlack;
}

void gf_openSlack(Act& act) {
    act.extrapolation = 0;
    gf_widenSlack(act);
}

void gf_shrinkSlack(Act& act) {
    if (act.earlySlack > kNarrowSlack) act.earlySlack = std::max(kNarrowSlack, act.earlySlack - 100);
    if (act.lateSlack > kNarrowSlack) act.lateSlack = std::max(kNarrowSlack, act.lateSlack - 100);
}

double gf_airPitch(double verticalSpeedFpm) {
    double v = verticalSpeedFpm;
    if (v > 0.0)
        v = std::min(v, 2400.0);
    else
        v = std::max(v, -3000.0) / 2.0;
    return kAirPitchBase - v / 600.0 * 2.2 * kDegToRad;
}

bool gf_anyAircraftLanding() { return engine.flareActive; }

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
        if (!act.stream.front().stopped) gf_stepAct(act);
        gf_pushPosition({act.latitude, act.longitude, act.pitch, act.bank, act.heading, act.altitude,
                         act.verticalSpeedFps, act.trueAirspeed, act.objectId});
        ++engine.positionsSent;
    }
    gf_compactActive();
    lf_swapOutboundPositions();
}
