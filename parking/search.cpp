// The stand search of a parking calculation: one pass over the history per offset, and the walk back
// in time until enough stands are filled.
#include "parking/search.h"

#include <algorithm>
#include <exception>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/random.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/state.h"

namespace {

constexpr int32_t kCoupleWindow = 10;       // half hours either side of now for a coupled callsign
constexpr int32_t kCoupleWindowHeavy = 14;  // ... for a heavy, whose turn-round is longer

Stand* lf_stand(uint32_t sid) {
    if (sid == 0 || sid > airports.stands.size()) return nullptr;
    return &airports.stands[sid - 1];
}

bool lf_hasBit(uint64_t hh, uint32_t halfHour) { return halfHour < 48 && ((hh >> halfHour) & 1u) != 0; }

// A Live parked aircraft on a neighbour would touch an aircraft of this type here.
bool lf_neighbourCollides(const Stand& stand, const std::string& type) {
    for (const uint32_t id : stand.adjacent)
        for (const ParkedAc& p : engine.parked) {
            if (p.sid != id || p.state != ActState::Live) continue;
            if (gf_spansOverlap(id, p.model, stand.sid, type)) return true;
            break;  // the first Live one of that stand decides
        }
    return false;
}

bool lf_candidate(const Stand& stand, const ParkPos& o, bool soft, TimeOfWeek t) {
    if (o.optId == 0 || o.soft != soft) return false;
    if (!WEEK.current && o.day != t.day) return false;
    if (!lf_hasBit(o.hh, t.halfHour)) return false;
    if (stand.heli && !HELICOPTERS.current) return false;
    return !lf_neighbourCollides(stand, o.type);
}

bool lf_seen(const std::string& callsign) {
    if (callsign.empty()) return false;
    return parking.seenCallsigns.count(callsign) > 0 || parking.seenCallsigns.count(callsign + "_") > 0;
}

// The option's aircraft is somewhere else right now: live, chosen for another stand, or parked from PT.
bool lf_usedElsewhere(const ParkPos& o) {
    if (lf_seen(o.cs1) || lf_seen(o.cs2)) return true;
    const auto isOurs = [&o](const std::string& c) { return !c.empty() && (c == o.cs1 || c == o.cs2); };
    for (const ChosenPosition& c : parking.chosenPositions)
        if (isOurs(c.cs1) || (!o.reg.empty() && c.reg == o.reg)) return true;
    for (const Stayer& s : parking.stayers)
        if (isOurs(s.callsign)) return true;
    for (const ParkedAc& p : engine.parked) {
        if (!p.fromPt || p.state != ActState::Live) continue;
        if ((!o.cs1.empty() && p.callsign == o.cs1 + "*") || (!o.cs2.empty() && p.callsign == o.cs2 + "*") ||
            (!o.reg.empty() && p.reg == o.reg))
            return true;
    }
    return false;
}

}  // namespace

bool gf_optionStays(const Stand& stand, const ParkPos& o, TimeOfWeek time) {
    if (o.cs2.empty()) return true;
    if (time.halfHour < 47) return lf_hasBit(o.hh, time.halfHour + 1);
    const uint32_t nextDay = time.day % 7 + 1;
    for (const ParkPos& n : stand.options)
        if (n.optId >= 1 && n.day == nextDay && n.airl == o.airl && n.type == o.type && lf_hasBit(n.hh, 0)) return true;
    return false;
}

namespace {
// What stands here goes on standing: the option of a parked aircraft (not from PT) of this stand first.
void lf_orderCandidates(const Stand& stand, std::vector<size_t>& cands) {
    for (const ParkedAc& p : engine.parked) {
        if (p.sid != stand.sid || p.fromPt) continue;
        const auto mine = std::find_if(cands.begin(), cands.end(), [&](size_t i) {
            const ParkPos& o = stand.options[i];
            return o.airl == p.airline && o.type == p.model &&
                   ((!o.cs1.empty() && o.cs1 + "*" == p.callsign) || (!o.cs2.empty() && o.cs2 + "*" == p.callsign));
        });
        if (mine != cands.end()) {
            std::iter_swap(cands.begin(), mine);
            return;
        }
        break;
    }
    std::shuffle(cands.begin(), cands.end(), gf_rng());
}

void lf_searchStand(Stand& stand, TimeOfWeek time, TimeOfWeek t, bool soft, int32_t offset,
                    std::vector<FoundPosition>& found, const std::vector<FoundPosition>& accepted,
                    std::vector<size_t>& cands) {
    if (stand.reserved || stand.taken || stand.adjacentTaken) return;
    cands.clear();
    for (size_t i = 0; i < stand.options.size(); ++i)
        if (lf_candidate(stand, stand.options[i], soft, t)) cands.push_back(i);
    if (cands.empty()) return;
    if (cands.size() >= 2) lf_orderCandidates(stand, cands);
    ParkPos& o = stand.options[cands.front()];
    if (o.optId == 0) return;
    if (!o.reg.empty() &&
        std::any_of(accepted.begin(), accepted.end(), [&o](const FoundPosition& a) { return a.reg == o.reg; })) {
        o.optId = 0;  // one aircraft can't stand in two places
        return;
    }
    if (lf_usedElsewhere(o)) {
        o.optId = 0;
        return;
    }
    found.push_back({o.airl, o.type, stand.sid, offset, o.reg, o.cs1, o.cs2, gf_optionStays(stand, o, time)});
    gf_markTaken(stand.sid);
}

}  // namespace

int32_t gf_takenCount() {
    return static_cast<int32_t>(
        std::count_if(airports.stands.begin(), airports.stands.end(), [](const Stand& s) { return s.taken; }));
}

void gf_markTaken(uint32_t sid) {
    Stand* stand = lf_stand(sid);
    if (!stand) return;
    stand->taken = true;
    for (const uint32_t id : stand->adjacent)
        if (Stand* n = lf_stand(id)) n->adjacentTaken = true;
}

bool gf_spansOverlap(uint32_t sidA, const std::string& modelA, uint32_t sidB, const std::string& modelB) {
    const Stand* a = lf_stand(sidA);
    const Stand* b = lf_stand(sidB);
    if (!a || !b) return false;
    const double d = gf_distanceNm({a->latitude, a->longitude}, {b->latitude, b->longitude});
    return gf_halfWingspan(modelA) + gf_halfWingspan(modelB) > d;
}

void lf_searchStands(TimeOfWeek time, bool soft, int32_t offset, std::vector<FoundPosition>& found,
                     const std::vector<FoundPosition>& accepted) {
    const TimeOfWeek t = gf_stepBack(time, offset);
    static thread_local std::vector<size_t> cands;  // candidate option indices of one stand
    cands.reserve(64);
    try {
        for (Stand& stand : airports.stands) lf_searchStand(stand, time, t, soft, offset, found, accepted, cands);
    } catch (const std::exception& e) {
        gf_logf("exception in lf_searchStands, day: {}, offset {}: {}", t.day, offset, e.what());
    }
}

bool lf_searchFit(TimeOfWeek time, bool soft, int32_t wanted, std::vector<FoundPosition>& found,
                  std::vector<FoundPosition>& accepted) {
    const int32_t before = gf_takenCount();
    const int32_t maxFit = static_cast<int32_t>(MAX_FIT.current);
    int32_t offset = 0;
    bool enough = false;
    for (;;) {
        lf_searchStands(time, soft, offset, found, accepted);
        if (gf_takenCount() >= wanted) {
            enough = true;
            break;
        }
        std::move(found.begin(), found.end(), std::back_inserter(accepted));
        found.clear();
        if (offset >= maxFit) break;
        ++offset;
    }
    if (soft) {
        parking.fitSoft = offset;
    } else {
        parking.fitReal = offset;
        parking.fitSoft = -1;
    }
    const int32_t added = gf_takenCount() - before;
    if (added >= 1) {
        const std::string days = WEEK.current ? std::string(", week") : fmt::format(", day {}", time.day);
        gf_logf("{} {} position{} found, Max fit={} hours{}, hh:{} or {} hrs fit: {} hour", added,
                soft ? "soft" : "real", added > 1 ? "s" : "", gf_halfHoursToHours(maxFit), days, time.halfHour,
                gf_halfHoursToHours(static_cast<int32_t>(time.halfHour)), gf_halfHoursToHours(offset));
    }
    return enough;
}

namespace {
// The last round may overshoot: among the positions of equal offset chance decides which go.
void lf_trim(std::vector<FoundPosition>& found, std::vector<FoundPosition>& accepted, int32_t wanted, int32_t have) {
    const int64_t x = static_cast<int64_t>(accepted.size()) - wanted + have;
    if (x >= 1 && !found.empty()) {
        std::shuffle(found.begin(), found.end(), gf_rng());
        found.resize(found.size() - std::min<size_t>(found.size(), static_cast<size_t>(x)));
    }
    std::move(found.begin(), found.end(), std::back_inserter(accepted));
    found.clear();
    while (!accepted.empty() && static_cast<int64_t>(accepted.size()) + have > wanted) accepted.pop_back();
}
}  // namespace

void lf_choosePositions(TimeOfWeek time, int32_t wanted, int32_t have) {
    std::vector<FoundPosition> accepted, found;
    accepted.reserve(kSearchReserve);
    found.reserve(kSearchReserve);
    if (lf_searchFit(time, false, wanted, found, accepted)) lf_trim(found, accepted, wanted, have);
    if (static_cast<int64_t>(accepted.size()) + have < wanted && (PARK_SOFT.current || PARK_FAKE.current))
        if (lf_searchFit(time, true, wanted, found, accepted)) lf_trim(found, accepted, wanted, have);
    for (FoundPosition& a : accepted)
        parking.chosenPositions.push_back({0, a.offset, std::move(a.airl), std::move(a.type), a.sid, std::move(a.cs1),
                                           std::move(a.cs2), std::move(a.reg), false, a.stays});
}

void gf_searchForCoupledCsAroundThisTime(TimeOfWeek time, AcBase& ac) {
    try {
        const int32_t window = ac.category == ModelCategory::Heavy ? kCoupleWindowHeavy : kCoupleWindow;
        const int32_t h = static_cast<int32_t>(time.halfHour);
        const int32_t lo = std::max(h - window, 0), hi = std::min(h + window, 47);
        const uint64_t mask = ((uint64_t{1} << (hi - lo + 1)) - 1) << lo;
        std::string name = ac.callsign;
        if (!name.empty() && name.back() == '_') name.pop_back();
        for (const Stand& stand : airports.stands)
            for (const ParkPos& o : stand.options) {
                if (o.optId == 0 || o.day != time.day || (o.hh & mask) == 0 || o.airl != ac.airline || o.cs2.empty())
                    continue;
                if (name != o.cs1 && name != o.cs2) continue;
                ac.altCallsign1 = o.cs1;
                ac.altCallsign2 = o.cs2;
                gf_logf("          [{} from couple \"{}:{}\" at stand {}]", ac.callsign, o.cs1, o.cs2, stand.name);
                return;
            }
    } catch (const std::exception& e) {
        gf_logf("lf_searchForCoupledCsAroundThisTime {}", e.what());
    }
}

bool gf_optionMatchesAircraft(const ParkPos& option, const std::string& callsign, const std::string& airline,
                              const std::string& model) {
    if (option.optId == 0 || option.soft) return false;
    if (!callsign.empty() && (option.cs1 == callsign || option.cs2 == callsign)) return true;
    return option.airl == airline && option.type == model;
}
