// parking/learning.cpp — booking real and soft options into the stand history of the park airport.
#include "parking/learning.h"

#include <algorithm>

#include "airports/state.h"
#include "frame/core/panel.h"
#include "liveries/dbase.h"
#include "parking/state.h"

namespace {
constexpr uint32_t kHalfHours = 48;
constexpr int kLongestGap = 5;  // half hours between two bookings that are filled in; a longer stay keeps its ends

uint64_t lf_bit(TimeOfWeek t) { return uint64_t{1} << t.halfHour; }

std::string lf_withoutGhostMark(const std::string& callsign) {
    return !callsign.empty() && callsign.back() == '_' ? callsign.substr(0, callsign.size() - 1) : callsign;
}

// Every change counts the same, and the panel shows the count.
void lf_countUpdate() {
    ++panel.updateCount;
    gf_invalidate(Band::Static);
}

ParkPos* lf_findOption(Stand& stand, const std::string& reg, uint32_t day, bool soft) {
    for (ParkPos& o : stand.options)
        if (o.optId != 0 && o.day == day && o.reg == reg && o.soft == soft) return &o;
    return nullptr;
}

// The stand that learns; nullptr when nothing can be learned: no stands, an aircraft without
// registration or callsign, a stand that is gone.
Stand* lf_learningStand(uint32_t sid, const Act& act) {
    if (airports.stands.empty() || act.reg.empty() || act.callsign.empty()) return nullptr;
    return gf_standBySid(sid);
}

uint32_t lf_nextDay(uint32_t day) { return day == 7 ? 1 : day + 1; }

// How many half hours ago the last booking was, when it was 1 to 5 ago: same day or just before
// midnight. 0 when it fits neither.
int lf_halfHoursSince(const LearnedSlot& last, TimeOfWeek now, bool& overMidnight) {
    for (int n = 1; n <= kLongestGap; ++n) {
        if (last.day == now.day && (last.halfHour + static_cast<uint32_t>(n)) % kHalfHours == now.halfHour) {
            overMidnight = false;
            return n;
        }
        if (lf_nextDay(last.day) == now.day &&
            static_cast<int>(now.halfHour) - static_cast<int>(last.halfHour) + static_cast<int>(kHalfHours) == n) {
            overMidnight = true;
            return n;
        }
    }
    return 0;
}

// The half hours between the last booking and now go into the option; over midnight a new option of
// today takes those after it. Result: the option that now holds `time`.
uint32_t lf_bridge(Stand& stand, const Act& act, const LearnedSlot& last, TimeOfWeek time, uint32_t optId, bool soft) {
    bool overMidnight = false;
    const int n = lf_halfHoursSince(last, time, overMidnight);
    if (n == 0) return optId;
    if (!overMidnight) {
        gf_fillGap(time, act, n, stand.sid, optId);
        return optId;
    }
    const uint32_t today = gf_newOption(stand, act, soft, time, act.callsign, act.reg);
    gf_fillGapOverMidnight(time, act, n, stand.sid, today, optId);
    return today;
}

LearnedSlot lf_slot(TimeOfWeek t, uint32_t optId) { return {t.day, t.halfHour, optId}; }
bool lf_sameTime(const LearnedSlot& slot, TimeOfWeek t) { return slot.day == t.day && slot.halfHour == t.halfHour; }
}  // namespace

Stand* gf_standBySid(uint32_t sid) {
    std::vector<Stand>& stands = airports.stands;
    if (sid == 0) return nullptr;
    // Stands are numbered 1..n in table order; the walk covers a table that was changed since.
    if (sid <= stands.size() && stands[sid - 1].sid == sid) return &stands[sid - 1];
    const auto it = std::find_if(stands.begin(), stands.end(), [sid](const Stand& s) { return s.sid == sid; });
    return it == stands.end() ? nullptr : &*it;
}

void gf_storeLearnedPair(uint32_t hexid, uint32_t halfHour) {
    for (LearnedPair& p : parking.learnedPairs) {
        if (p.hexid == hexid) {
            p.halfHour = halfHour;
            return;
        }
    }
    parking.learnedPairs.push_back({hexid, halfHour});
}

uint32_t gf_newOption(Stand& stand, const Act& act, bool soft, TimeOfWeek time, const std::string& callsign,
                      const std::string& reg) {
    while (!stand.options.empty() && stand.options.back().optId == 0) stand.options.pop_back();
    const uint32_t id = stand.options.empty() ? 1 : stand.options.back().optId + 1;
    ParkPos o;
    if (const DbaseRecord* known = reg.empty() ? nullptr : gf_dbaseFind(reg)) {
        o.airl = std::string(known->airl);
        o.type = std::string(known->type);
    } else {
        o.airl = act.airline;
        o.type = act.model;
    }
    o.reg = reg;
    o.cs1 = lf_withoutGhostMark(callsign);
    o.hh = lf_bit(time);
    o.optId = id;
    o.day = time.day;
    o.learned = true;
    o.soft = soft;
    stand.options.push_back(std::move(o));
    return id;
}

bool gf_addHalfHour(Stand& stand, TimeOfWeek time, uint32_t optId, const std::string& callsign) {
    if (optId == 0) return false;
    const auto it = std::find_if(stand.options.begin(), stand.options.end(),
                                 [optId](const ParkPos& o) { return o.optId == optId; });
    if (it == stand.options.end()) return false;
    it->hh |= lf_bit(time);
    const std::string cs = lf_withoutGhostMark(callsign);
    if (cs.empty()) return true;
    if (it->cs1.empty()) it->cs1 = cs;
    // The second callsign is the last different one seen.
    if (cs != it->cs1 && cs != it->cs2) it->cs2 = cs;
    return true;
}

void gf_fillGap(TimeOfWeek time, const Act& act, int n, uint32_t sid, uint32_t optId) {
    Stand* stand = gf_standBySid(sid);
    if (!stand) return;
    for (int back = n - 1; back >= 1; --back)
        if (!gf_addHalfHour(*stand, gf_stepBack(time, back), optId, act.callsign)) return;
    gf_addHalfHour(*stand, time, optId, act.callsign);
}

void gf_fillGapOverMidnight(TimeOfWeek time, const Act& act, int n, uint32_t sid, uint32_t newOptId, uint32_t optId) {
    Stand* stand = gf_standBySid(sid);
    if (!stand) return;
    uint32_t id = optId;
    std::string callsign;
    for (int back = n - 1; back >= 1; --back) {
        const TimeOfWeek t = gf_stepBack(time, back);
        if (!gf_addHalfHour(*stand, t, id, callsign)) return;
        if (t.halfHour == kHalfHours - 1) {
            id = newOptId;
            callsign = act.callsign;
        }
    }
}

bool gf_learnAtStand(uint32_t sid, const Act& act, bool departing, TimeOfWeek time, bool leaving) {
    Stand* stand = lf_learningStand(sid, act);
    if (!stand) return false;
    ParkPos* o = lf_findOption(*stand, act.reg, time.day, false);
    if (!o) {
        const uint32_t id = gf_newOption(*stand, act, false, time, act.callsign, act.reg);
        stand->realByHexid[act.hexid] = lf_slot(time, id);
    } else if ((o->hh & lf_bit(time)) != 0) {
        if (leaving) stand->realByHexid.erase(act.hexid);
        return false;
    } else if (!o->learned) {
        return false;  // an option of the archived file is never changed
    } else {
        o->hh |= lf_bit(time);
        const uint32_t optId = o->optId;  // o may move when the bridge adds an option
        if (departing) {
            const auto e = stand->realByHexid.find(act.hexid);
            if (e != stand->realByHexid.end()) {
                if (!lf_sameTime(e->second, time)) lf_bridge(*stand, act, e->second, time, optId, false);
                stand->realByHexid.erase(act.hexid);
            }
        }
    }
    lf_countUpdate();
    gf_storeLearnedPair(act.hexid, time.halfHour);
    return true;
}

bool gf_learnSoft(uint32_t sid, const Act& act, bool continuing, TimeOfWeek time) {
    Stand* stand = lf_learningStand(sid, act);
    if (!stand) return false;
    ParkPos* o = lf_findOption(*stand, act.reg, time.day, true);
    if (!o) {
        const uint32_t id = gf_newOption(*stand, act, true, time, act.callsign, act.reg);
        stand->softByHexid[act.hexid] = lf_slot(time, id);
        lf_countUpdate();
        return true;
    }
    if ((o->hh & lf_bit(time)) != 0 || !o->learned) return false;
    o->hh |= lf_bit(time);
    const uint32_t optId = o->optId;
    if (continuing) {
        const auto e = stand->softByHexid.find(act.hexid);
        if (e == stand->softByHexid.end()) {
            stand->softByHexid[act.hexid] = lf_slot(time, optId);
        } else if (!lf_sameTime(e->second, time)) {
            // The entry stays: a departing aircraft is seen again and again while it rolls away.
            const uint32_t now = lf_bridge(*stand, act, e->second, time, optId, true);
            stand->softByHexid[act.hexid] = lf_slot(time, now);
        }
    }
    lf_countUpdate();
    return true;
}
