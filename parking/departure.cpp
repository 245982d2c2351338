// parking/departure.cpp — soft learning of an aircraft that departs without having been seen on a
// stand: a stand that suits it is picked, and books it.
#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "airports/state.h"
#include "common/random.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "parking/state.h"

namespace {
constexpr double kDepartureNm = 5.0;        // farther from the park airport nothing is learned
constexpr int kNoticeHalfHours = 3;         // an aircraft booked this recently is not booked again
constexpr size_t kSmallAirportStands = 10;  // up to this many stands, a full half hour tries the next
constexpr size_t kCandidateReserve = 256;
constexpr int kStartScore = 100;  // a stand scoring above this never enters
constexpr int kRampShare = 10;    // per cent of aircraft outside the US that park off the gates

struct PickCandidate {
    uint32_t sid = 0;
    int score = 0;  // lower is better
    int match = 0;  // 1: the stand's history knows this aircraft
};

bool lf_hasHalfHour(const ParkPos& o, uint32_t day, uint32_t halfHour) {
    return o.optId != 0 && o.day == day && (o.hh & (uint64_t{1} << halfHour)) != 0;
}

bool lf_freeAt(const Stand& s, TimeOfWeek t) {
    return std::none_of(s.options.begin(), s.options.end(),
                        [&](const ParkPos& o) { return lf_hasHalfHour(o, t.day, t.halfHour); });
}

// A real option of this flight or of this airline's type (the test of the stand search).
bool lf_optionMatches(const ParkPos& o, const Act& act) {
    if (o.optId == 0 || o.soft) return false;
    return o.cs1 == act.callsign || o.cs2 == act.callsign || (o.airl == act.airline && o.type == act.model);
}

// Is the aircraft already known here around t: a real option of its registration at t's half hour or
// the one before or after, on the same day?
bool lf_knownAround(const Act& act, TimeOfWeek t) {
    const uint32_t before = (t.halfHour + 47) % 48;
    const uint32_t after = (t.halfHour + 1) % 48;
    for (const Stand& s : airports.stands)
        for (const ParkPos& o : s.options)
            if (!o.soft && o.reg == act.reg &&
                (lf_hasHalfHour(o, t.day, t.halfHour) || lf_hasHalfHour(o, t.day, before) ||
                 lf_hasHalfHour(o, t.day, after)))
                return true;
    return false;
}

struct Pass {
    std::function<bool(const Stand&)> stands;
    bool fit = true;      // the aircraft must fit the stand
    bool free = true;     // the stand must be free at t
    bool bySize = false;  // score by the size difference instead of size steps
};

uint32_t lf_pickStandForDeparted(TimeOfWeek t, const Act& act, bool retry) {
    const double step = act.halfSpan <= kSmallSpanNm ? kSmallStepNm : kLargeStepNm;
    std::vector<PickCandidate> list;
    list.reserve(kCandidateReserve);
    int bestScore = kStartScore;
    int bestMatch = 0;
    const auto run = [&](const Pass& pass) {
        if (!list.empty()) return;
        for (const Stand& s : airports.stands) {
            if (!pass.stands(s)) continue;
            if (pass.fit && act.halfSpan - s.radius > kFitSlackNm) continue;
            if (pass.free && !lf_freeAt(s, t)) continue;
            const int score = static_cast<int>(pass.bySize ? std::lround(std::fabs(act.halfSpan - s.radius))
                                                           : std::lround((s.radius - act.halfSpan) / step));
            const bool knows =
                !act.callsign.empty() && std::any_of(s.options.begin(), s.options.end(),
                                                     [&](const ParkPos& o) { return lf_optionMatches(o, act); });
            const int match = knows ? 1 : 0;
            if (score > bestScore || match < bestMatch) continue;
            bestScore = score;
            bestMatch = match;
            list.push_back({s.sid, score, match});
        }
    };
    if (act.category == ModelCategory::Rotorcraft) {
        run({[](const Stand& s) { return s.heli; }});
        run({[](const Stand& s) { return s.ramp; }});
        run({[](const Stand& s) { return s.heli || s.ramp; }, true, false, true});
    } else if (!act.cargo && (act.category == ModelCategory::Light || act.category == ModelCategory::Buzjets ||
                              act.airline == kPrivateAirline)) {
        const auto ramp = [](const Stand& s) { return !s.cargo && !s.heli && s.ramp; };
        run({ramp});
        run({ramp, false, true, true});
    } else if (!act.cargo) {
        // Mostly gates; outside the US one in ten goes to a ramp first.
        const bool gate = parking.parkIcao.starts_with("K") || gf_randomInt(0, 99) >= kRampShare;
        for (const bool g : {gate, !gate}) {
            const auto stands = [g](const Stand& s) { return !s.cargo && !s.heli && s.ramp != g; };
            run({stands});
            run({stands, false, true, true});
        }
    } else {
        const auto cargo = [](const Stand& s) { return s.cargo && !s.heli; };
        const auto any = [](const Stand& s) { return !s.heli; };
        run({cargo});
        run({cargo, false, true, true});
        run({any});
        run({any, false, true, true});
    }
    if (list.empty()) {
        if (retry && airports.stands.size() <= kSmallAirportStands)
            return lf_pickStandForDeparted(gf_stepForward(t, 1), act, false);
        return 0;
    }
    if (list.size() > 1) {
        std::shuffle(list.begin(), list.end(), gf_rng());
        std::stable_sort(list.begin(), list.end(), [](const PickCandidate& a, const PickCandidate& b) {
            return a.match != b.match ? a.match > b.match : a.score < b.score;
        });
    }
    return list.front().sid;
}

// False when the aircraft was booked less than three half hours ago; otherwise its pair is brought up
// to date.
bool lf_pairAllows(TimeOfWeek t, uint32_t hexid) {
    for (LearnedPair& p : parking.learnedPairs) {
        if (p.hexid != hexid) continue;
        if ((t.halfHour + 48 - p.halfHour) % 48 < kNoticeHalfHours) return false;
        p.halfHour = t.halfHour;
        return true;
    }
    parking.learnedPairs.push_back({hexid, t.halfHour});
    return true;
}

void lf_dropPair(uint32_t hexid) {
    std::vector<LearnedPair>& pairs = parking.learnedPairs;
    const auto it =
        std::find_if(pairs.begin(), pairs.end(), [hexid](const LearnedPair& p) { return p.hexid == hexid; });
    if (it == pairs.end()) return;
    *it = pairs.back();
    pairs.pop_back();
}
}  // namespace

void gf_learnDeparture(const Act& act) {
    if (!LEARN_SOFT.current || !parking.learnAllowed || parking.parkIcao.empty() || act.sid != 0) return;
    if (gf_distanceNm(parking.parkPosition, {act.latitude, act.longitude}) > kDepartureNm) return;
    // The word the frame computes each tick, with the time shift in it.
    const TimeOfWeek t = gf_loadTimeOfWeek();
    for (const Stand& s : airports.stands) {
        const auto e = s.softByHexid.find(act.hexid);
        if (e == s.softByHexid.end()) continue;
        if (e->second.day != t.day || e->second.halfHour != t.halfHour) {
            if (gf_learnSoft(s.sid, act, true, t)) {
                gf_storeLearnedPair(act.hexid, t.halfHour);
                return;
            }
        }
        break;
    }
    if (!lf_pairAllows(t, act.hexid)) return;
    if (lf_knownAround(act, t)) return;
    const uint32_t sid = lf_pickStandForDeparted(t, act, true);
    if (sid == 0) return;
    if (!gf_learnSoft(sid, act, false, t)) lf_dropPair(act.hexid);
}
