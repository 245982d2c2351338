// Legs on the ground: corners turned as curves, long legs split where the speed changes, the parking test
// and the leaving of a stand, and a duration with the turn rate that fits it.
#include <algorithm>
#include <cmath>

#include "engine/ground.h"
#include "engine/motion.h"
#include "engine/state.h"

namespace {
constexpr double kTurnWorthDeg = 3.0;  // a smaller change of heading is no corner
constexpr double kSharpCornerDeg = 45.0;
constexpr double kCurveLimitDeg = 160.0;            // sharper than this: no curve, a stop and turn
constexpr double kLongLegNm = 0.02699784017278618;  // 50 m
constexpr double kSlowLegKt = 43.0;
constexpr int32_t kLongLegSlices = 600;                   // 6 s
constexpr double kSplitNm = 0.05399568034557236;          // 100 m: a leg this long may be split
constexpr double kSplitSpeedKt = 5.0;                     // ... when its speeds differ by more than this
constexpr double kCurveLengthNm = 0.0005399568034557236;  // 1 m, as the yardstick of the turn rate
constexpr int32_t kSharpCornerSlack = 2000;

double lf_headingDiffDeg(double a, double b) { return std::fabs(gf_angleDiff(a, b)) * kRadToDeg; }

void lf_splitLongLeg(Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    if ((head.groundSpeed > 0.0 || next.groundSpeed > 0.0) &&
        std::fabs(head.groundSpeed - next.groundSpeed) > kSplitSpeedKt &&
        gf_distanceNm(gf_at(head), gf_at(next)) >= kSplitNm)
        gf_insertMidpoint(act);
}

// Curves, midpoints and the turn of a moving leg.
void lf_shapeMovingLeg(Act& act) {
    auto& stream = act.stream;
    if (stream.size() >= 3 && stream[2].stopped) {
        lf_splitLongLeg(act);
    } else if (stream.size() >= 3) {
        const Sample& head = stream[0];
        const Sample& next = stream[1];
        const Sample& third = stream[2];
        const double t = lf_headingDiffDeg(act.heading, gf_bearing(gf_at(next), gf_at(third)));
        if (t > kTurnWorthDeg) {
            const int32_t planned = std::max(kSmallestLegSlices, next.dueTick - head.dueTick);
            if (t > kSharpCornerDeg && gf_distanceNm(gf_at(head), gf_at(next)) > kLongLegNm &&
                head.groundSpeed <= kSlowLegKt && planned >= kLongLegSlices) {
                gf_insertMidpoint(act);  // a slow, long leg before a sharp corner
            } else if (t <= kCurveLimitDeg) {
                if (head.latitude != third.latitude || head.longitude != third.longitude) {
                    gf_makeCurve(act);
                    act.turnAngle = t;
                } else {
                    lf_splitLongLeg(act);
                }
            }
        }
    } else if (!(stream.size() == 2 && act.extrapolation > 0)) {
        lf_splitLongLeg(act);
    }
    if (!std::isnan(act.curveCtrlX)) {
        act.turning = false;
    } else {
        act.turnLeft = lf_headingDiffDeg(act.targetHeading, act.heading);
        act.turning = act.turnLeft > kTurnWorthDeg;
    }
}
}  // namespace

void gf_clearCurve(Act& act) {
    act.curveStart = act.curveStop = act.curveCtrlX = act.curveCtrlY = std::nan("");
    act.curveIndex = 0.0;
}

void gf_insertMidpoint(Act& act) {
    auto& stream = act.stream;
    const Sample& head = stream[0];
    const Sample& next = stream[1];
    Sample mid = head;
    mid.latitude = (head.latitude + next.latitude) / 2.0;
    mid.longitude = (head.longitude + next.longitude) / 2.0;
    mid.dueTick = head.dueTick + (next.dueTick - head.dueTick) / 2;
    mid.groundSpeed = (head.groundSpeed + next.groundSpeed) / 2.0;
    mid.altitude = (head.altitude + next.altitude) / 2.0;
    mid.airborne = mid.altitude > 0.0;
    if (!mid.airborne) mid.altitude = 0.0;
    mid.stopped = false;
    stream.insert(stream.begin() + 1, mid);
}

void gf_makeCurve(Act& act) {
    auto& stream = act.stream;
    const Sample& next = stream[1];
    Sample& third = stream[2];
    if (third.groundSpeed == 0.0) third.groundSpeed = (stream[0].groundSpeed + next.groundSpeed) / 2.0;
    act.curveOriginLat = act.latitude;
    act.curveOriginLon = act.longitude;
    act.curveStart = 0.0;
    act.curveStop = 1.0;
    const double scaleX = std::cos(act.curveOriginLat * kDegToRad) * kMetresPerDegree;
    act.curveCtrlY = (next.latitude - act.curveOriginLat) * kMetresPerDegree;
    act.curveCtrlX = (next.longitude - act.curveOriginLon) * scaleX;
    act.curveEndY = (third.latitude - act.curveOriginLat) * kMetresPerDegree;
    act.curveEndX = (third.longitude - act.curveOriginLon) * scaleX;
    stream.erase(stream.begin() + 1);
}

bool gf_curvePoint(const Act& act, double t, LatLon& position, double& heading) {
    if (std::isnan(act.curveCtrlX) || std::isnan(act.curveCtrlY) || std::isnan(act.curveStart) ||
        std::isnan(act.curveStop) || t < act.curveStart || t > act.curveStop)
        return false;
    const double u = (t - act.curveStart) / (act.curveStop - act.curveStart);
    const double x = 2.0 * (1.0 - u) * u * act.curveCtrlX + u * u * act.curveEndX;
    const double y = 2.0 * (1.0 - u) * u * act.curveCtrlY + u * u * act.curveEndY;
    const double scaleX = std::cos(act.curveOriginLat * kDegToRad) * kMetresPerDegree;
    position = {y / kMetresPerDegree + act.curveOriginLat, x / scaleX + act.curveOriginLon};
    const double dx = 2.0 * u * (act.curveEndX - act.curveCtrlX) + 2.0 * (1.0 - u) * act.curveCtrlX;
    const double dy = 2.0 * u * (act.curveEndY - act.curveCtrlY) + 2.0 * (1.0 - u) * act.curveCtrlY;
    heading = gf_wrapAngle(std::atan2(dx, dy));
    return true;
}

void gf_scheduleGroundLeg(Act& act) {
    const Sample& head = act.stream[0];
    const Sample& next = act.stream[1];
    if (next.stopped) {
        // A stop keeps its place in time.
        const int32_t hold = std::max(kSmallestLegSlices, next.dueTick - head.dueTick);
        gf_clampSchedule(act, std::max(kSmallestLegSlices, head.dueTick + hold - engine.slice));
        return;
    }
    act.turnRate = act.taxiTurnRate;
    const double d = gf_distanceNm({act.latitude, act.longitude}, gf_at(next));
    const int32_t duration =
        std::max(kSmallestLegSlices, static_cast<int32_t>(std::lround(d * kSlicesPerHour / gf_legSpeed(act))));
    const bool curve = !std::isnan(act.curveCtrlX);
    if (curve || act.turning) {
        const double a = act.turning ? act.turnLeft : act.turnAngle;
        const double slots = std::round(a / act.turnRate / 100.0);
        if (a != 0.0 && d > 0.0) {
            const double r = duration / std::max(slots, 1.0);
            if (a <= kSharpCornerDeg) {
                const double k = r >= 1.2 ? std::min({r * 10.0 / a, r * 30.0 * kCurveLengthNm / d, r}) : r;
                if (k > 0.0) act.turnRate /= k;
            } else {
                act.turnRate *= std::min(r, std::min(a, 90.0) / 30.0);
                if (a >= 90.0) {
                    act.earlySlack = std::max(act.earlySlack, kSharpCornerSlack);
                    act.lateSlack = std::max(act.lateSlack, kSharpCornerSlack);
                }
            }
        }
    }
    gf_clampSchedule(act, duration);
}

void gf_planGroundLeg(Act& act) {
    switch (act.phase) {
        case ActPhase::PushBack: gf_pushLeg(act); break;
        case ActPhase::Taxi:
        case ActPhase::TakeOff:
        case ActPhase::Airborne:
        case ActPhase::ToStand:
            if (!act.stream[1].stopped) lf_shapeMovingLeg(act);
            if (act.phase == ActPhase::Taxi) gf_parkingTest(act);
            break;
        case ActPhase::AtStand:
            gf_widenSlack(act);
            if (act.leaving) {
                const Sample& last = act.stream.back();
                const double off = std::round(
                    std::fabs(gf_angleDiff(act.standHeading, gf_bearing({act.standLat, act.standLon}, gf_at(last)))) *
                    kRadToDeg);
                if (off < 90.0)
                    gf_pullOut(act);
                else
                    gf_pushBack(act);
            }
            break;
        default: break;
    }
    if (act.state == ActState::Live && act.stream.size() >= 2) gf_scheduleGroundLeg(act);
}
