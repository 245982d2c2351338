// The aircraft in the air and the step of every slice: climb and descent rates that fit the samples, the
// pitch and bank of a real aircraft, flaps, gear, lights and throttle by height, the flare down to the
// runway, and the rotation and climb-out of a take-off.
#include <algorithm>
#include <cmath>

#include "engine/commands.h"
#include "engine/motion.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "service/state.h"
#include "simlink/state.h"

namespace {
constexpr double kSteadySinkFpm = -601.0;
constexpr double kLowSinkFpm = -600.0;
constexpr double kClimbAwayStep = 0.2;  // feet per slice: near the ground a climb-out climbs at least this
constexpr double kTenThousandFt = 10000.0;
constexpr double kConfigLowAglLarge = 2050.0;  // Buzjets, Large and Heavy configure below this
constexpr double kConfigLowAglSmall = 625.0;
constexpr double kNearAirportNm = 10.0;
constexpr double kLevelInDescentFpm = 100.0;
constexpr double kClimbOutAgl = 800.0;  // a take-off becomes a flight above this
constexpr double kHalfDegree = 0.008726646259971648;

bool lf_largeCategory(ModelCategory c) {
    return c == ModelCategory::Buzjets || c == ModelCategory::Large || c == ModelCategory::Heavy;
}
int32_t lf_climbThrottle(const Act& act) { return act.category == ModelCategory::Rotorcraft ? 4 : 3; }

double lf_fieldElevation() {
    if (!service.parkAirportSet.load()) return std::nan("");
    return service.parkAirportElevation.load();
}

// A sink rate that fits the samples and the air pressure, feet per minute.
double lf_steadySink(const Act& act) {
    if (act.agl <= 100.0) return kLowSinkFpm;
    const double mean = (act.stream[0].verticalSpeed + act.stream[1].verticalSpeed) / 2.0;
    return std::min(mean - (service.qnh.load() - 1013) * 6.0, kSteadySinkFpm);
}

// A vertical speed (feet per minute) for the leg: written to next and to the leg, the step follows.
void lf_holdVertical(Act& act, double fpm) {
    act.stream[1].verticalSpeed = fpm;
    act.legVerticalSpeed = fpm;
    act.stepAlt = fpm / 6000.0;
}

double lf_dueIn(const Act& act) { return std::max<double>(kSmallestLegSlices, act.stream[1].dueTick - engine.slice); }

// In the air with both samples on the ground: climbing out over late samples, or descending to them.
void lf_groundSamplesInAir(Act& act) {
    gf_setGear(act, true);
    auto& stream = act.stream;
    double sum = 0.0;
    for (const Sample& s : stream) sum += s.verticalSpeed;
    if (!act.onApproach && sum > kLevelInDescentFpm) {
        const size_t last = std::min<size_t>(stream.size() - 1, 10);
        for (size_t i = 3; i <= last; ++i) {
            if (!stream[i].airborne) continue;
            stream.erase(stream.begin() + 1, stream.begin() + static_cast<std::ptrdiff_t>(i));
            const double d = gf_distanceNm({act.latitude, act.longitude}, gf_at(stream[1]));
            const auto duration = static_cast<int32_t>(std::lround(d * kSlicesPerHour / gf_legSpeed(act)));
            gf_clampSchedule(act, std::max(kSmallestLegSlices, duration));
            const double rise = stream[1].altitude - act.altitude;
            act.stepAlt = rise > 0.0 ? std::min(rise / lf_dueIn(act), act.maxAltRate) : 0.0;
            return;
        }
        lf_holdVertical(act, std::max(stream[1].verticalSpeed, -kSteadySinkFpm));
        return;
    }
    lf_holdVertical(act, lf_steadySink(act));
}

void lf_configHigh(Act& act) {
    gf_shrinkSlack(act);
    gf_setCabinLight(act.objectId, 1);
    act.departing = act.onApproach = false;
    const double vs = act.stream[0].verticalSpeed;
    if (vs <= -250.0 && act.throttle == 3)
        gf_setThrottle(act, act.category == ModelCategory::Rotorcraft ? 4 : 2);
    else if (vs > 400.0 && act.throttle == 4)
        gf_setThrottle(act, lf_climbThrottle(act));
    if (act.agl >= 2400.0) {
        gf_setGear(act, false);
        gf_setFlaps(act, 0);
    } else if (act.agl >= 2000.0) {
        if (vs <= 100.0 && act.flaps == 0) gf_setFlaps(act, 1);
    } else if (vs <= 100.0) {
        if (act.flaps == 0)
            gf_setFlaps(act, 1);
        else if (act.flaps == 1)
            gf_setFlaps(act, 2);
    }
}

void lf_configLow(Act& act) {
    gf_setCabinLight(act.objectId, 0);
    const bool near =
        service.parkAirportSet.load() && gf_distanceNm({service.parkLatitude.load(), service.parkLongitude.load()},
                                                       {act.latitude, act.longitude}) <= kNearAirportNm;
    const double vs = act.stream[0].verticalSpeed;
    if (vs <= -250.0) {
        if (act.onApproach || !near) return;
        // The approach begins.
        gf_setThrottle(act, act.category == ModelCategory::Rotorcraft ? 4 : 1);
        gf_setFlaps(act, 3);
        gf_setGear(act, true);
        engine.checkQueue.push_back(act.hexid);
        act.onApproach = true;
        act.climbOut = false;
        act.standLat = act.standLon = act.standHeading = 0.0;
        act.sid = 0;
        act.standCargo = false;
        act.slots = 1;
        gf_openSlack(act);
        return;
    }
    if (vs <= 600.0 && (!act.onApproach || near)) return;
    if (act.climbOut) return;
    gf_shrinkSlack(act);
    gf_setThrottle(act, 4);
    gf_setGear(act, false);
    act.climbOut = true;
    act.onApproach = false;
    gf_setFlaps(act, 0);
    act.flareStage = 0;
}

void lf_configure(Act& act) {
    if (act.altitude < kTenThousandFt) {
        if (!act.belowTen) {
            act.belowTen = true;
            act.aboveTen = false;
            gf_setLights(act, true, true, true, true, true, true, true);
        }
        const double low = lf_largeCategory(act.category) ? kConfigLowAglLarge : kConfigLowAglSmall;
        if (act.agl > low)
            lf_configHigh(act);
        else
            lf_configLow(act);
        return;
    }
    if (act.aboveTen) return;
    act.aboveTen = true;
    act.belowTen = false;
    gf_setLights(act, true, true, false, false, false, false, true);
    gf_setThrottle(act, lf_climbThrottle(act));
    gf_setGear(act, false);
    gf_setFlaps(act, 0);
}

// The altitude step of a leg, by the kind of its two samples.
void lf_airLegAltitude(Act& act) {
    const Sample& head = act.stream[0];
    Sample& next = act.stream[1];
    const double dt = lf_dueIn(act);
    if (!head.airborne && next.airborne) {
        act.stepAlt =
            next.altitude > act.altitude ? std::min((next.altitude - act.altitude) / dt, act.maxAltRate) : 0.0;
    } else if (!head.airborne) {
        lf_groundSamplesInAir(act);
    } else if (next.airborne && act.onApproach) {
        if (head.altitude == next.altitude && act.agl <= 1000.0 &&
            head.verticalSpeed + next.verticalSpeed <= kLevelInDescentFpm)
            lf_holdVertical(act, lf_steadySink(act));  // a level sample in a descent is no level flight
        else
            act.stepAlt = (next.altitude - act.altitude) / dt;
    } else if (next.airborne) {
        const double r = (next.altitude - act.altitude) / dt;
        act.stepAlt =
            act.agl <= 1000.0 ? std::min(act.maxAltRate, std::max(r, kClimbAwayStep)) : std::min(r, act.maxAltRate);
    } else {
        const double field = lf_fieldElevation();
        if (service.qnh.load() > 1013 || std::isnan(field))
            lf_holdVertical(act, service.qnh.load() > 1013 ? lf_steadySink(act) : kSteadySinkFpm);
        else
            act.stepAlt = (field - act.altitude) / dt;
        gf_setGear(act, true);
    }
}

// The heading towards next's reported heading, or along the turn after next; bank to match.
void lf_airLegTurn(Act& act, double dt) {
    const auto& stream = act.stream;
    const Sample& next = stream[1];
    const CategoryValues& cv = gf_categoryValues(act.category);
    double diff = 0.0;
    if (next.hasHeading && next.bank && next.trueHeading && (act.agl < 1000.0 || (act.onApproach && act.agl < 2000.0)))
        diff = gf_angleDiff(act.heading, *next.trueHeading);
    else if (stream.size() >= 3)
        diff = gf_angleDiff(act.heading, gf_bearing(gf_at(next), gf_at(stream[2])));
    act.stepHeading = diff / dt;
    if (next.bank) {
        act.stepBank = (*next.bank - act.bank) / dt;
        return;
    }
    const double maxBank = cv.maxBankDeg * kDegToRad;
    const double maxRate = gf_perSecondToPerSlice(cv.maxBankRateDps);
    const double target = std::clamp(-diff, -maxBank, maxBank);
    act.stepBank = std::clamp((target - act.bank) / dt, -maxRate, maxRate);
}

// Heading by turnRate towards h, the shorter way, without passing it.
void lf_turnTowards(Act& act, double h) {
    const double diff = gf_angleDiff(act.heading, h);
    const double step = std::min(std::fabs(diff), act.turnRate);
    act.heading = gf_wrapAngle(act.heading + std::copysign(step, diff));
}

// The flare stages as the height above the runway falls.
void lf_flare(Act& act) {
    Sample& head = act.stream.front();
    const double cg = act.staticCg;
    switch (act.flareStage) {
        case 0: {
            if (!act.fieldElevation) {
                const double field = lf_fieldElevation();
                if (!std::isnan(field)) act.fieldElevation = field;
            }
            act.fieldHeight = act.fieldElevation ? act.altitude - *act.fieldElevation : act.agl;
            if (std::min(act.agl, act.fieldHeight) > cg + 30.0) return;
            act.stepPitch = (kFlarePitch - act.pitch) / std::max(act.flareSlots, 1);
            act.stepAlt = -0.1;
            head.verticalSpeed = -601.0;
            engine.flareActive = true;
            break;
        }
        case 1:
            if (act.agl > cg + 20.0) return;
            act.fieldElevation.reset();
            act.stepAlt = -0.075;
            head.verticalSpeed = -450.0;
            break;
        case 2:
            if (act.agl > cg + 10.0) return;
            act.fieldElevation.reset();
            gf_setThrottle(act, 0);
            act.stepAlt = -0.05;
            head.verticalSpeed = -300.0;
            break;
        case 3:
            if (act.agl > cg + 3.0) return;
            act.fieldElevation.reset();
            act.stepAlt = -0.025;
            head.verticalSpeed = -150.0;
            break;
        default: return;
    }
    act.legVerticalSpeed = head.verticalSpeed;
    ++act.flareStage;
}

// Vertical motion and attitude outside the take-off.
void lf_stepVertical(Act& act) {
    if (act.agl <= 400.0 && act.onApproach && !act.onGround) lf_flare(act);
    if (act.noseDown) {
        act.pitch += act.stepPitch;
        if (act.stepPitch == 0.0 || (act.stepPitch > 0.0) == (act.pitch >= act.staticPitch)) {
            act.pitch = act.staticPitch;
            act.stepPitch = act.bank = act.stepBank = 0.0;
            act.noseDown = false;
            act.flareStage = 0;
        }
        act.bank += act.stepBank;
        return;
    }
    if (act.flareStage == 0) {
        if (act.onGround) {
            act.pitch = act.staticPitch;
            act.bank = 0.0;
            return;
        }
        act.pitch += act.stepPitch;
    } else {
        act.pitch = std::max(act.pitch + act.stepPitch, kFlarePitch);
    }
    act.bank += act.stepBank;
    act.altitude += act.stepAlt;
}

// Rotation on the runway, then the climb eased in over 300 slices.
void lf_stepTakeOff(Act& act) {
    const int32_t c = --act.slots;
    if (c >= 1) {
        act.onGround = false;
        if (act.pitch > act.rotatePitch) act.pitch += act.stepPitch;
        return;
    }
    act.bank += act.stepBank;
    const double liftStep = (act.climbPitch - act.rotatePitch) / std::max(act.liftOffSlots, 1);
    if (act.pitch > act.climbPitch) act.pitch += liftStep;
    if (c == 0) return;
    if (c > -100)
        act.altitude += act.stepAlt / 10.0;
    else if (c > -200)
        act.altitude += act.stepAlt / 5.0;
    else if (c > -300)
        act.altitude += act.stepAlt / 2.0;
    else
        act.altitude += act.stepAlt;
    if (c == -300) gf_setGear(act, false);
    if (c >= -300 || act.pitch > act.climbPitch) return;
    act.stepPitch = 0.0;
    if (act.agl < kClimbOutAgl) return;
    gf_setThrottle(act, lf_climbThrottle(act));
    act.prevPhase = act.phase;
    act.phase = ActPhase::Airborne;
    act.slots = 1;
}
}  // namespace

void gf_setAirLeg(Act& act, int32_t n) {
    if (act.phase != ActPhase::TakeOff && act.phase != ActPhase::Airborne) {
        act.prevPhase = act.phase;
        act.phase = ActPhase::Airborne;
    }
    const Sample& next = act.stream[1];
    act.legAirspeed = next.airspeed;
    act.legVerticalSpeed = next.verticalSpeed;
    const double dt = std::max(n, kSmallestLegSlices);
    if (act.flareStage == 0) lf_airLegAltitude(act);
    if (act.flareStage == 0 && act.phase != ActPhase::TakeOff) {
        const double maxRate = gf_perSecondToPerSlice(gf_categoryValues(act.category).maxPitchRateDps);
        act.stepPitch = std::clamp((gf_airPitch(act.stream[1].verticalSpeed) - act.pitch) / dt, -maxRate, maxRate);
    }
    lf_airLegTurn(act, dt);
    lf_configure(act);
}

void gf_stepAct(Act& act) {
    bool moved = false;
    if (!std::isnan(act.curveCtrlX) && !std::isnan(act.curveCtrlY)) {
        act.curveIndex = std::min(act.curveIndex + act.curveStep, 0.999999);
        LatLon p;
        double h = 0.0;
        if (gf_curvePoint(act, act.curveIndex, p, h)) {
            act.latitude = p.lat;
            act.longitude = p.lon;
            if (act.phase == ActPhase::PushBack) h = gf_wrapAngle(h + kPi);  // tail first
            if (std::fabs(gf_angleDiff(act.heading, h)) > kHalfDegree) lf_turnTowards(act, h);
        } else {
            gf_logf("{} error in curve at index: {:.2F}", act.callsign, act.curveIndex);
        }
        moved = true;
    }
    if (!moved) {
        switch (act.phase) {
            case ActPhase::Taxi:
            case ActPhase::PushBack:
            case ActPhase::HoldAfterPush:
                if (act.turning) lf_turnTowards(act, act.targetHeading);
                break;
            case ActPhase::ToStand: lf_turnTowards(act, act.targetHeading); break;
            case ActPhase::TakeOff:
            case ActPhase::Airborne:
            case ActPhase::AtStand: act.heading = gf_wrapAngle(act.heading + act.stepHeading); break;
            default: break;
        }
        if (act.phase != ActPhase::HoldAfterPush) {
            act.latitude += act.stepLat;
            act.longitude += act.stepLon;
        }
    }
    if (act.phase == ActPhase::TakeOff)
        lf_stepTakeOff(act);
    else
        lf_stepVertical(act);
    if (act.longitude > 180.0) act.longitude -= 360.0;
    if (act.longitude < -180.0) act.longitude += 360.0;
}
