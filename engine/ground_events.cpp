// The events of a runway: touchdown with the nose coming down, spoilers and reverse on the roll-out, the
// turn off the runway; the departure with its lights and the throttle of the take-off run, and the
// moment the take-off begins.
#include <algorithm>
#include <cmath>

#include "engine/commands.h"
#include "engine/ground.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "parking/learning.h"
#include "simlink/state.h"

namespace {
constexpr double kRollOutTurnOffDeg = 15.0;  // this far off the runway heading: vacated
constexpr double kSpoilersInKt = 90.0;
constexpr double kClimbingFpm = 256.0;  // a sample behind the head at most this: not climbing yet

// Throttle index of a departing aircraft by the speeds of head and next.
int32_t lf_departureThrottle(double h, double n) {
    if (h >= 25.0 || n >= 30.0) return 4;
    if (h >= 20.0 || n >= 25.0) return 2;
    if (h >= 15.0 || n >= 20.0) return 1;
    return 0;
}

int32_t lf_idle(const Act& act) { return act.category == ModelCategory::Rotorcraft ? 4 : 0; }

// Spoiler handle and both thrust levers, per cent; nothing for a light aircraft.
void lf_controls(const Act& act, double spoilers, double throttle) {
    if (act.category != ModelCategory::Light) gf_sendControls(act.objectId, spoilers, throttle, throttle);
}

// The take-off begins when the samples behind the head show a climb or flight.
void lf_takeOffTrigger(Act& act) {
    const auto& stream = act.stream;
    const double rotation = gf_categoryValues(act.category).rotationSpeed;
    bool slowClimb = false, allFast = true, allAirborne = true;
    for (size_t i = 1; i < stream.size(); ++i) {
        slowClimb = slowClimb || stream[i].verticalSpeed <= kClimbingFpm;
        allFast = allFast && stream[i].groundSpeed >= rotation;
        allAirborne = allAirborne && stream[i].airborne;
    }
    if (slowClimb) {
        if (!allFast || !allAirborne) return;
        act.stepAlt = act.maxAltRate;
    } else if (allAirborne) {
        const double slices = std::max<double>(kSmallestLegSlices, stream[1].dueTick - engine.slice);
        act.stepAlt = std::max(stream[1].altitude - act.altitude, 0.1) / slices;
    } else {
        act.stepAlt = act.maxAltRate;
    }
    gf_startTakeOff(act);
}

std::string lf_routeText(const Act& act, const char* word, const std::string& ours, const std::string& other) {
    if (act.from.empty() || act.to.empty() || engine.parkIata.empty() || ours != engine.parkIata) return "";
    return std::string(word) + other;
}
}  // namespace

void gf_touchdown(Act& act) {
    if (act.state == ActState::Removing || act.phase == ActPhase::TakeOff) return;
    if (act.flareStage == 0 && !act.onApproach) {
        act.onGround = true;
        act.stepAlt = 0.0;
        act.slots = 1;
        return;
    }
    act.noseDown = act.rollOut = true;
    engine.flareActive = false;
    act.touchdownHeading = act.heading;
    act.onApproach = false;
    act.landedHere = true;
    if (gf_logAircraft())
        gf_logf("          {:8} landed{} {}", act.callsign, lf_routeText(act, " from ", act.to, act.from),
                gf_timeOfDay());
    gf_setSpoilers(act, true);
    lf_controls(act, 100.0, act.fsltl ? -100.0 : 100.0);
    if (act.onGroundSlots <= 0) {
        gf_logf("{} ! onGround slots {:.1F}", act.callsign, static_cast<double>(act.onGroundSlots));
        act.stepBank = 0.0;
        act.stepPitch = act.staticPitch;
    } else {
        act.stepBank = -act.bank / act.onGroundSlots;
        act.stepPitch = (act.staticPitch - act.pitch) / act.onGroundSlots;
    }
    engine.checkQueue.push_back(act.hexid);
    act.onGround = true;
    act.stepAlt = 0.0;
    act.slots = 1;
}

void gf_rollOut(Act& act) {
    const double d = std::fabs(gf_angleDiff(act.touchdownHeading, act.heading)) * kRadToDeg;
    if (d >= kRollOutTurnOffDeg - 1e-9) {  // 15 degrees is off, whatever the last bit says
        gf_setFlaps(act, 0);
        act.rollOut = false;
        act.touchdownHeading = 0.0;
        gf_setThrottle(act, lf_idle(act));
        gf_setSpoilers(act, false);
        lf_controls(act, 0.0, 0.0);
        gf_setLights(act, true, true, false, true, false, true, true);
        return;
    }
    if (act.stream[0].groundSpeed <= kSpoilersInKt) {
        gf_setSpoilers(act, false);
        lf_controls(act, 0.0, 0.0);
        gf_setFlaps(act, 1);
    }
}

void gf_setGroundLeg(Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    if (act.phase == ActPhase::Airborne || act.phase == ActPhase::AtStand) {
        act.prevPhase = act.phase;
        act.phase = ActPhase::Taxi;
    } else if (!act.departing && act.rollOut) {
        gf_rollOut(act);
    } else if (!act.departing) {
        gf_setThrottle(act, lf_idle(act));
    } else if (act.category == ModelCategory::Rotorcraft) {
        gf_setThrottle(act, 4);
    } else {
        gf_setThrottle(act, lf_departureThrottle(head.groundSpeed, next.groundSpeed));
    }
    if (!act.rollOut && !act.departing) gf_shrinkSlack(act);
    if (act.flareStage == 0 && act.phase != ActPhase::TakeOff) {
        act.pitch = act.staticPitch;
        act.stepPitch = act.bank = act.stepBank = 0.0;
    }
    if (!std::isnan(act.curveCtrlX)) act.curveStep = 1.0 / std::max(kSmallestLegSlices, next.dueTick - engine.slice);
    act.legAirspeed = act.phase == ActPhase::PushBack ? -next.groundSpeed : next.groundSpeed;
    act.legVerticalSpeed = 0.0;
    if (act.departing && act.phase != ActPhase::TakeOff && head.groundSpeed >= kTakeOffTriggerKt)
        lf_takeOffTrigger(act);
}

void gf_startDeparture(Act& act) {
    if (act.towed) gf_logf("towed aircraft takes-off? {}", gf_acLabel(act));
    act.departing = true;
    gf_setThrottle(act, 0);
    gf_setSpoilers(act, false);
    gf_setFlaps(act, 1);
    act.onApproach = act.landedHere = act.climbOut = false;
    gf_setLights(act, true, true, true, true, true, true, false);
    act.lateSlack = kOpenLateSlackDeparting;
    act.earlySlack = kOpenSlack;
    if (!act.airline.empty()) gf_learnDeparture(act);
}

void gf_startTakeOff(Act& act) {
    act.slots = act.rotateSlots;
    act.stepPitch = (act.rotatePitch - act.pitch) / std::max(act.rotateSlots, 1);
    act.bank = act.stepBank = 0.0;
    if (!act.departing) gf_startDeparture(act);
    if (act.phase != ActPhase::TakeOff) {
        act.prevPhase = act.phase;
        act.phase = ActPhase::TakeOff;
    }
    if (gf_logAircraft())
        gf_logf("          {:8} took-off{} {}", act.callsign, lf_routeText(act, " to ", act.from, act.to),
                gf_timeOfDay());
    gf_clearCurve(act);
    act.stepHeading = 0.0;
    if (act.rollOut) {
        // A touch and go.
        act.rollOut = act.onApproach = act.landedHere = false;
        gf_setThrottle(act, 4);
        gf_setSpoilers(act, true);
        gf_setFlaps(act, 1);
    }
}
