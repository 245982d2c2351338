// Stands of live aircraft: where an aircraft that rolls to a halt parks and the last metres into its stand,
// its arrival, leaving forwards or pushed back with a turn to the side the real aircraft shows, and the
// limit on how many live aircraft may stand parked.
#include <algorithm>
#include <chrono>
#include <cmath>

#include "airports/state.h"
#include "common/clock.h"
#include "common/random.h"
#include "common/timeofweek.h"
#include "engine/commands.h"
#include "engine/ground.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "simlink/state.h"

namespace {
constexpr double kSlowNextKt = 5.0;        // a parking test needs next this slow
constexpr int32_t kShortestRollIn = 100;   // slices of the last metres at least
constexpr int32_t kSettleSlices = 50;      // the stop after the last metres
constexpr double kPullDistanceNm = 900.0;  // no distance seen yet after a push
constexpr double kHalfPi = kPi / 2.0;

int64_t lf_steadyNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(gf_steadyNow().time_since_epoch()).count();
}

int32_t lf_slicesAt(double nm, double knots) {
    return static_cast<int32_t>(std::lround(nm / std::max(knots, 0.1) * kSlicesPerHour));
}

// A sample on the ground at `at`, rolling at `knots`, due at `due`.
Sample lf_groundPoint(const Sample& like, LatLon at, double knots, int32_t due) {
    Sample s = like;
    s.latitude = at.lat;
    s.longitude = at.lon;
    s.groundSpeed = s.airspeed = knots;
    s.verticalSpeed = 0.0;
    s.altitude = 0.0;
    s.airborne = false;
    s.stopped = false;
    s.dueTick = due;
    return s;
}

// Lights, engines and cabin of an aircraft that stands parked.
void lf_parkedLook(Act& act) {
    gf_setThrottle(act, 0);
    gf_setFlaps(act, 0);
    gf_stopEngines(act.objectId);
    const bool cabin = !act.standCargo && gf_randomInt(1, 10) <= 9;
    gf_setLights(act, NAV_LIGHTS_WHILE_PARKED.current.load(), false, false, false, false, true, cabin);
}

// Lights of an aircraft leaving its stand.
void lf_leavingLook(Act& act) { gf_setLights(act, true, true, false, true, false, true, false); }

// Ordering of the time-of-week word for the parked limit: a week starts after Sunday, so Monday is newest.
int64_t lf_weekKey(uint64_t word) {
    const TimeOfWeek t = gf_unpackTimeOfWeek(word);
    const int64_t day = t.day == 1 ? 8 : t.day;
    return day * 48 + t.halfHour;
}
}  // namespace

void gf_takeStand(Act& act, const Stand& stand) {
    act.standLat = stand.latitude;
    act.standLon = stand.longitude;
    act.standHeading = stand.heading;
    act.sid = stand.sid;
    act.standCargo = stand.cargo;
    act.standTime = lf_steadyNs();
    act.firstStandDist = act.lastStandDist = 0.0;
    act.awayCount = 0;
    gf_markCargoStand(act);
}

void gf_parkingTest(Act& act) {
    const auto& stream = act.stream;
    if (airports.stands.empty() || !stream.back().stopped) return;
    const bool justLeft = act.prevPhase == ActPhase::AtStand || act.prevPhase == ActPhase::PushBack ||
                          act.prevPhase == ActPhase::HoldAfterPush;
    if (!act.towed && justLeft) return;
    bool wide = false;
    if (act.extrapolation > 0) {
        wide = act.landedHere;
    } else if (stream[1].groundSpeed > kSlowNextKt ||
               gf_distanceNm({act.latitude, act.longitude}, gf_at(stream.back())) > kSettledNm) {
        return;
    }
    gf_tryParkAt(act, wide);
}

bool gf_tryParkAt(Act& act, bool wide) {
    auto& stream = act.stream;
    const Sample& last = stream.back();
    if (last.latitude == act.lastSearchLat && last.longitude == act.lastSearchLon) return false;
    act.lastSearchLat = last.latitude;
    act.lastSearchLon = last.longitude;
    Stand* stand = gf_searchStandNear(gf_at(last), act, wide ? kSpanTooWideSearchNm : kParkTestNm, wide);
    if (stand == nullptr || gf_standKeptFree(*stand)) return false;
    for (Act& other : engine.active) {
        if (&other == &act || other.sid != stand->sid || other.phase != ActPhase::AtStand ||
            other.state != ActState::Live)
            continue;
        if (gf_logAircraft()) gf_logf("{:8}: {:8} removed {}", stand->name, other.callsign, gf_timeOfDay());
        gf_removeAct(other);
        break;
    }
    gf_adjacentMakePlace(act, *stand);
    gf_clearStandForLive(act, *stand);
    gf_takeStand(act, *stand);
    stream.resize(1);
    if (act.phase != ActPhase::ToStand) {
        act.prevPhase = act.phase;
        act.phase = ActPhase::ToStand;
    }
    // The last metres at the speed of a stand, then a short stop on it.
    Sample& head = stream.front();
    const double d = gf_distanceNm(gf_at(head), {stand->latitude, stand->longitude});
    const int32_t duration = std::max(kShortestRollIn, lf_slicesAt(d, act.slowSpeed));
    head.groundSpeed = act.slowSpeed;
    Sample at = lf_groundPoint(head, {stand->latitude, stand->longitude}, act.slowSpeed, head.dueTick + duration);
    at.track = stand->heading * kRadToDeg;
    Sample rest = at;
    rest.groundSpeed = rest.airspeed = 0.0;
    rest.stopped = true;
    rest.dueTick = at.dueTick + kSettleSlices;
    stream.push_back(at);
    stream.push_back(rest);
    act.targetHeading = stand->heading;
    if (act.extrapolation > 0) gf_openSlack(act);
    return true;
}

void gf_arriveAtStand(Act& act) {
    if (gf_distanceNm({act.latitude, act.longitude}, {act.standLat, act.standLon}) > kAtStandNm) {
        act.phase = ActPhase::Taxi;
        return;
    }
    act.prevPhase = act.phase;
    act.phase = ActPhase::AtStand;
    Stand* stand = gf_standOfId(act.sid);
    if (stand != nullptr) stand->occupiedLive = true;
    act.parkedSince = timeOfWeekWord.load();
    if (act.towed && gf_logAircraft()) gf_logf("          towed aircraft {} parks", gf_acLabel(act));
    act.stream.front().stopped = true;
    act.standTime = lf_steadyNs();
    act.lastStandDist = 0.0;
    act.awayCount = 0;
    gf_markCargoStand(act);
    lf_parkedLook(act);
    if (gf_logAircraft())
        gf_logf("{:8}: {:8} arrived at stand {}", gf_standName(act.sid), act.callsign, gf_timeOfDay());
    engine.checkQueue.push_back(act.hexid);
    if (!act.airline.empty() && act.standCargo == act.cargo &&
        gf_learnAtStand(act.sid, act, false, gf_loadTimeOfWeek(), false))
        gf_limitParked(0);
}

void gf_pullOut(Act& act) {
    auto& stream = act.stream;
    act.leaving = false;
    act.extrapolation = 0;
    const LatLon ahead =
        gf_destinationPoint({act.standLat, act.standLon}, act.standHeading, 2.0 * act.halfSpan * kFeetPerNm);
    Sample& head = stream.front();
    head.groundSpeed = act.slowSpeed;
    const int32_t due = engine.slice + lf_slicesAt(gf_distanceNm({act.latitude, act.longitude}, ahead), act.slowSpeed);
    const Sample point = lf_groundPoint(head, ahead, act.slowSpeed, due);
    stream.resize(1);
    stream.push_back(point);
    act.prevPhase = act.phase;
    act.phase = ActPhase::Taxi;
    act.targetHeading = act.heading;
    lf_leavingLook(act);
    gf_startEngines(act.objectId);
    gf_setThrottle(act, 0);
    gf_setFlaps(act, 1);
    if (gf_logAircraft()) gf_logf("{:8}: {:8} pull out {}", gf_standName(act.sid), act.callsign, gf_timeOfDay());
}

void gf_pushBack(Act& act) {
    auto& stream = act.stream;
    act.extrapolation = 0;
    const double back = gf_wrapAngle(act.standHeading + kPi);
    const Stand* stand = gf_standOfId(act.sid);
    if (stand == nullptr) return;
    const LatLon here{act.latitude, act.longitude};
    const LatLon p = gf_destinationPoint(here, back, 2.5 * stand->radius * kFeetPerNm);
    const int32_t d = lf_slicesAt(gf_distanceNm(here, p), act.slowSpeed);
    Sample& head = stream.front();
    head.groundSpeed = act.slowSpeed;
    const Sample end = lf_groundPoint(head, p, act.slowSpeed, engine.slice + d);
    act.targetHeading = act.heading;
    act.turning = false;
    stream.resize(1);
    stream.push_back(end);
    gf_insertMidpoint(act);
    // The two ends of a turn at the end of the push, one on either side.
    const LatLon mid = gf_at(stream[1]);
    const double spanFeet = act.halfSpan * kFeetPerNm;
    const LatLon q = gf_destinationPoint(p, gf_wrapAngle(back + kHalfPi), spanFeet);
    const LatLon r = gf_destinationPoint(p, gf_wrapAngle(back - kHalfPi), spanFeet);
    const int32_t dueSide = engine.slice + d / 2 + lf_slicesAt(gf_distanceNm(mid, q), act.slowSpeed);
    act.pushSample = lf_groundPoint(head, q, act.slowSpeed, dueSide);
    stream.push_back(lf_groundPoint(head, r, act.slowSpeed, dueSide));
    lf_leavingLook(act);
    act.prevPhase = act.phase;
    act.phase = ActPhase::PushBack;
    act.pushStage = 2;
    if (gf_logAircraft()) gf_logf("{:8}: {:8} push back {}", gf_standName(act.sid), act.callsign, gf_timeOfDay());
}

void gf_pushLeg(Act& act) {
    auto& stream = act.stream;
    --act.pushStage;
    if (act.pushStage == 1) {
        if (stream.size() < 3) return;
        if (!act.pushTurnKnown) {
            stream.pop_back();  // no turn seen: the push ends straight
            return;
        }
        if (act.pushTurnRight) stream.back() = act.pushSample;
        gf_makeCurve(act);
        act.curveStep = 1.0 / std::max(1.0, std::round(90.0 / act.taxiTurnRate / 100.0));
        act.turnAngle = 90.0;
        return;
    }
    if (act.pushStage >= 1) return;
    act.targetHeading = act.heading;
    gf_startEngines(act.objectId);
    gf_setThrottle(act, 0);
    gf_setFlaps(act, 1);
    act.prevPhase = act.phase;
    act.phase = ActPhase::HoldAfterPush;
    act.pushStage = 1;
    act.pullDistance = kPullDistanceNm;
    act.extrapolation = 0;
    act.leaving = false;
}

void gf_limitParked(int32_t newcomers) {
    if (RT_PARKTRAFFIC_ONLY.current.load()) return;
    const int32_t wanted = panel.wanted.load();
    int32_t c = newcomers;
    Act* longest = nullptr;
    for (Act& a : engine.active) {
        if (a.state != ActState::Live || a.phase != ActPhase::AtStand) continue;
        ++c;
        if (longest == nullptr || a.standTime < longest->standTime) longest = &a;
    }
    if (!INITIAL_LOAD_ONLY.current.load() && wanted >= 1 && c > wanted && longest != nullptr) {
        if (gf_logAircraft())
            gf_logf("{:}: {:8} max park exceeded, removed", gf_standName(longest->sid), longest->callsign);
        gf_removeAct(*longest);
    }
    int32_t p = 0;
    ParkedAc* oldest = nullptr;
    for (ParkedAc& a : engine.parked) {
        if (a.state != ActState::Live && a.state != ActState::Removing) continue;
        ++p;
        if (a.state == ActState::Live &&
            (oldest == nullptr || lf_weekKey(a.parkedSince) < lf_weekKey(oldest->parkedSince)))
            oldest = &a;
    }
    if (p + c > wanted && oldest != nullptr) gf_removeAct(*oldest);
}
