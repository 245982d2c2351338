// The filters of a sample by the aircraft's phase, the thinning of stops, and the stand circle: what is
// left is a thin, clean list of legs.
#include <chrono>
#include <cmath>

#include <fmt/format.h>

#include "common/clock.h"
#include "common/geo.h"
#include "common/timeofweek.h"
#include "engine/commands.h"
#include "engine/ground.h"
#include "engine/intake.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "parking/learning.h"

namespace {
constexpr double kMetresPerNm = 1852.0;
constexpr int32_t kTowedHeavy = 360000;  // slices a Heavy must stand before it counts as turned around
constexpr int32_t kTowedLarge = 150000;
constexpr int32_t kTowedBuzjets = 90000;
constexpr double kSetOffSpeedKt = 5.0;  // the least speed a first leg after a stop is timed at

LatLon lf_pos(const Sample& s) { return {s.latitude, s.longitude}; }
double lf_headingOffDeg(double heading, double bearing) {
    return std::fabs(gf_angleDiff(heading, bearing)) * kRadToDeg;
}
bool lf_same(const Sample& a, const Sample& b) { return a.latitude == b.latitude && a.longitude == b.longitude; }

// Pass or refuse a move; may turn the sample into a stop.
bool lf_filterMove(const Act& act, Sample& sample) {
    const Sample& last = act.stream.back();
    const bool same = lf_same(sample, last);
    sample.stopped = same;
    if (act.category == ModelCategory::Rotorcraft) return true;
    const bool air = sample.airborne || (act.state == ActState::Live && !act.onGround);
    if (!same) {
        const bool tiny = std::fabs(sample.latitude - last.latitude) < kStillBoxDeg &&
                          std::fabs(sample.longitude - last.longitude) < kStillBoxDeg;
        if (tiny) {
            if (air) return false;
            if (act.departing && sample.groundSpeed > 0.0 && last.groundSpeed >= 50.0) return false;
            sample = last;
            sample.groundSpeed = 0.0;
            sample.stopped = true;
            return true;
        }
        if (sample.groundSpeed != 0.0) return true;
        if (!act.departing && !sample.airborne) return true;
        return last.groundSpeed < 50.0;
    }
    if (air) return false;
    if (act.departing && sample.groundSpeed > 0.0 && last.groundSpeed >= 30.0) return false;
    sample.groundSpeed = 0.0;
    return true;
}

// An approaching or rolling-out aircraft trusts its line more than the reported positions.
bool lf_filterApproach(Act& act, Sample& sample) {
    auto& stream = act.stream;
    if (lf_same(sample, stream.back())) return false;
    if (stream.size() == 1) {
        const double off = lf_headingOffDeg(act.heading, gf_bearing(lf_pos(stream.front()), lf_pos(sample)));
        if (act.onApproach) {
            if (off >= 90.0) return false;
        } else if (off >= 150.0) {
            if (act.extrapolation > 0) return false;
            Sample head = stream.front();
            head.latitude = act.latitude;
            head.longitude = act.longitude;
            head.dueTick = engine.slice + 1;
            stream.assign(1, head);
        }
    } else {
        if (lf_headingOffDeg(act.heading, gf_bearing(lf_pos(stream.back()), lf_pos(sample))) >= 90.0) {
            stream.pop_back();
            if (stream.size() >= 2 &&
                lf_headingOffDeg(act.heading, gf_bearing(lf_pos(stream.back()), lf_pos(sample))) >= 90.0)
                stream.pop_back();
        }
    }
    if (act.extrapolation > 0) gf_openSlack(act);
    const Sample& last = stream.back();
    if (lf_same(sample, last)) {
        sample.stopped = true;
        return true;
    }
    sample.stopped = false;
    if (sample.groundSpeed > last.groundSpeed && sample.groundSpeed > 40.0) sample.groundSpeed = last.groundSpeed;
    return true;
}

// The aircraft leaves its stand: a stand it had run out on, towing, learning, the stand's flag.
void lf_leaveStand(Act& act) {
    if (act.extrapolation > 0) {
        if (act.phase == ActPhase::AtStand && act.landedHere) {
            // Running out put the head a week ahead: what it stood is S - dueTick + a week.
            const int64_t stood = static_cast<int64_t>(engine.slice) - act.stream.front().dueTick + kWeekSlices;
            const bool towed = (act.category == ModelCategory::Heavy && stood < kTowedHeavy) ||
                               (act.category == ModelCategory::Large && stood < kTowedLarge) ||
                               (act.category == ModelCategory::Buzjets && stood < kTowedBuzjets);
            if (towed) act.towed = true;
            act.landedHere = false;
        }
        if (act.phase == ActPhase::AtStand) act.stream.front().dueTick = engine.slice + 1;
        gf_openSlack(act);
    }
    if (!act.airline.empty() && act.standCargo == act.cargo)
        gf_learnAtStand(act.sid, act, true, gf_loadTimeOfWeek(), true);
    if (Stand* stand = gf_standOfId(act.sid)) stand->occupiedLive = false;
}

// A sample of an aircraft at or rolling to its stand; true when it goes on into the stream.
bool lf_sampleAtStand(Act& act, Sample& sample) {
    act.standHeld = true;
    const double dNm = gf_distanceNm({act.standLat, act.standLon}, lf_pos(sample));
    const double d = dNm * kMetresPerNm;
    const double circle = act.prevPhase == ActPhase::ToStand ? 2.0 * kStandCircleNm : kStandCircleNm;
    if (dNm <= circle) {
        act.standTime = std::chrono::duration_cast<std::chrono::nanoseconds>(gf_steadyNow().time_since_epoch()).count();
        if (act.lastStandDist == 0.0) {
            act.firstStandDist = act.lastStandDist = d;
            act.awayCount = 0;
            act.leaving = false;
            return false;
        }
        const double step = kStandMovedNm * kMetresPerNm;
        if (d >= act.lastStandDist + step) {
            ++act.awayCount;
            act.lastStandDist = d;
            const double m = d - act.firstStandDist;
            const double span = act.halfSpan * kMetresPerNm;
            if ((act.awayCount < 3 || m < span / 2.0) && m <= span) {
                act.leaving = false;
                return false;
            }
        } else {
            if (d <= act.lastStandDist - step) act.awayCount = 0;
            act.leaving = false;
            return false;
        }
    } else {
        if (act.phase == ActPhase::ToStand) {
            act.prevPhase = ActPhase::ToStand;
            act.phase = ActPhase::Taxi;
            sample.stopped = false;
            return true;
        }
        if (dNm > kStandLostNm) {
            if (act.state != ActState::Live) return true;
            gf_removeAct(act);
            return false;
        }
    }
    // Leaving: beyond the circle (but not lost), or far enough out of it and often enough.
    sample.stopped = false;
    act.leaving = true;
    if (act.prevPhase == ActPhase::AtStand) return true;
    lf_leaveStand(act);
    if (act.phase != ActPhase::AtStand) {
        act.prevPhase = act.phase;
        act.phase = ActPhase::AtStand;
    }
    return true;
}

// A stop followed by a move: hesitations and repeated stops are thinned away.
void lf_thinStops(Act& act, const Sample& sample) {
    auto& stream = act.stream;
    if (sample.stopped) {
        bool allStopped = true;
        for (const Sample& s : stream) allStopped = allStopped && s.stopped;
        if (allStopped) stream.resize(1);
        return;
    }
    const int32_t lastDue = stream.back().dueTick;
    for (size_t back = 2; back <= 6 && back <= stream.size(); ++back) {
        const size_t k = stream.size() - back;
        if (stream[k].stopped) continue;
        if (lastDue - stream[k].dueTick < kStopThinningSlices ||
            gf_distanceNm(lf_pos(stream[k]), lf_pos(sample)) <= kStopThinningNm)
            stream.resize(k + 1);
        return;
    }
}

// A go-around from the roll-out: configuration and lights of a climb.
void lf_goAround(Act& act) {
    act.phase = ActPhase::Taxi;
    act.departing = true;
    gf_setThrottle(act, 3);
    gf_setSpoilers(act, true);
    gf_setFlaps(act, 1);
    act.onApproach = act.landedHere = act.climbOut = false;
    gf_setLights(act, true, true, true, true, true, true, false);
    gf_openSlack(act);
}
}  // namespace

void gf_addSample(Act& act, Sample sample) {
    auto& stream = act.stream;
    if (stream.size() > kStreamLimit) {
        // Fed for a long time without moving: given up.
        if (act.state == ActState::New)
            act.drop = true;
        else
            gf_removeAct(act);
        return;
    }
    switch (act.phase) {
        case ActPhase::Unplaced:
            if (!lf_filterMove(act, sample)) return;
            sample.dueTick = std::max(sample.dueTick, stream.back().dueTick + 1);
            stream.push_back(sample);
            return;
        case ActPhase::ToStand:
        case ActPhase::AtStand:
            if (act.state == ActState::New || act.state == ActState::Creating) return;
            if (!lf_sampleAtStand(act, sample)) return;
            break;
        case ActPhase::PushBack: {
            if (act.pushStage != 2) return;
            double h = sample.hasHeading ? sample.trueHeading.value_or(0.0) : sample.track * kDegToRad;
            if (!sample.hasHeading && sample.track == 0.0) return;
            act.pushTurnKnown = true;
            act.pushTurnRight = gf_angleDiff(act.heading, h) > 0.0;
            return;  // the sample itself is not stored
        }
        case ActPhase::HoldAfterPush: {
            const double d = gf_distanceNm({act.latitude, act.longitude}, {sample.latitude, sample.longitude});
            if (!(d > 2.75 * act.halfSpan && d > act.pullDistance) && !(d > 6.0 * act.halfSpan)) {
                act.pullDistance = d;
                return;
            }
            sample.stopped = false;
            if (act.extrapolation > 0) {
                stream.front().dueTick = engine.slice + 1;
                gf_openSlack(act);
            }
            act.pushTurnKnown = false;
            act.pushStage = 0;
            act.prevPhase = act.phase;
            act.phase = ActPhase::Taxi;
            break;
        }
        default:
            if (act.onApproach || act.rollOut) {
                if (!lf_filterApproach(act, sample)) return;
                break;
            }
            if (!lf_filterMove(act, sample)) return;
            if (act.extrapolation > 0) {
                const double bearing = gf_bearing(lf_pos(stream.back()), lf_pos(sample));
                if (!act.onGround && lf_headingOffDeg(act.heading, bearing) >= 100.0) return;
                gf_openSlack(act);
            }
            break;
    }
    if (!sample.airborne && stream.back().stopped) lf_thinStops(act, sample);
    const Sample& last = stream.back();
    if (sample.dueTick <= last.dueTick) sample.dueTick = last.dueTick + 1;
    if (!act.departing && act.onGround && act.state == ActState::Live) {
        // A go-around: airborne samples behind a roll-out. A departure: an airborne sample, or two fast
        // ones on the ground, while taxiing.
        if (act.rollOut && last.airborne && sample.airborne)
            lf_goAround(act);
        else if (!act.rollOut && act.phase == ActPhase::Taxi &&
                 (sample.airborne ||
                  (!last.airborne && last.groundSpeed >= kTakeOffTriggerKt && sample.groundSpeed >= kTakeOffTriggerKt)))
            gf_startDeparture(act);
    }
    stream.push_back(sample);
    if (stream.size() == 2 && stream.front().stopped && !sample.stopped) {
        // The stop ends. Setting off at once would put the aircraft up to its early slack (30 s) ahead of
        // the real one, which set off only about the time it needs for this first leg before the sample.
        // Leaving a stand is the exception: the push back or pull out is made up and starts at once, so
        // that later samples outside the stand circle find the aircraft already on its way.
        Sample& head = stream.front();
        const double kt = std::max(sample.groundSpeed, kSetOffSpeedKt);
        const auto lead = static_cast<int32_t>(gf_distanceNm(lf_pos(head), lf_pos(sample)) * kSlicesPerHour / kt);
        head.dueTick =
            act.phase == ActPhase::AtStand ? engine.slice + 1 : std::max(engine.slice + 1, sample.dueTick - lead);
        head.groundSpeed = sample.groundSpeed;
    }
}

void gf_recreateAct(Act& act) {
    auto& stream = act.stream;
    ++engine.recreations;
    if (act.phase != ActPhase::AtStand) {
        Sample copy = stream.front();
        const bool here = copy.latitude == act.latitude && copy.longitude == act.longitude;
        copy.latitude = act.latitude;
        copy.longitude = act.longitude;
        copy.altitude = act.altitude;
        copy.bank = act.bank;
        copy.stopped = here && copy.stopped;
        copy.dueTick = engine.slice + 1;
        stream.push_back(copy);
        act.state = ActState::Recreating;
        return;
    }
    if (stream.size() >= 2) {
        gf_logf("{:8}: {} {} livery change stream.size: {} !", "unknown", act.callsign, gf_timeOfDay(), stream.size());
        stream.resize(1);
    }
    Sample& head = stream.front();
    head.stopped = true;
    head.track = act.heading * kRadToDeg;
    Sample copy = head;
    copy.dueTick = engine.slice + 1;
    stream.push_back(copy);
    act.state = ActState::Recreating;
}
