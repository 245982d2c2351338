// The renewal: what stands at the park airport is reviewed aircraft by aircraft; some keep their stand,
// some go, new ones come. It changes as little as it can.
#include <algorithm>
#include <chrono>
#include <optional>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/clock.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/calculation.h"
#include "parking/search.h"
#include "parking/state.h"
#include "parking/steps.h"
#include "service/parked.h"

namespace {

constexpr int32_t kStaleHeavyMinutes = 180;  // a live aircraft silent on a stand this long goes
constexpr int32_t kStaleMinutes = 90;        // ... not a heavy

int32_t lf_minutesSince(int64_t steadyNs) {
    const int64_t now = std::chrono::duration_cast<std::chrono::nanoseconds>(gf_steadyNow().time_since_epoch()).count();
    return static_cast<int32_t>((now - steadyNs) / 60'000'000'000LL);
}

// Live aircraft on stands; one silent for too long goes (not with INITIAL_LOAD_ONLY).
void lf_collectStayers() {
    for (Act& a : engine.active) {
        if (a.phase != ActPhase::AtStand || a.state != ActState::Live) continue;
        if (a.standHeld) {
            parking.stayers.push_back({a.callsign, a.sid, 0});
            continue;
        }
        const int32_t minutes = lf_minutesSince(a.standTime);
        const int32_t limit = a.category == ModelCategory::Heavy ? kStaleHeavyMinutes : kStaleMinutes;
        if (!INITIAL_LOAD_ONLY.current && minutes > limit) {
            gf_removeAct(a);
            continue;
        }
        parking.stayers.push_back({a.callsign, a.sid, minutes});
    }
    std::stable_sort(parking.stayers.begin(), parking.stayers.end(),
                     [](const Stayer& a, const Stayer& b) { return a.minutes < b.minutes; });
}

// The stayer that stood longest goes first: the first Act Live on its stand.
void lf_removeStayer(const Stayer& s, bool logIt) {
    for (Act& a : engine.active)
        if (a.sid == s.sid && a.state == ActState::Live) {
            if (logIt) gf_logf("live parked {} at {} removed", a.callsign, gf_parkStandName(s.sid));
            gf_removeAct(a);
            return;
        }
}

void lf_addKeeper(const ParkedAc& p) {
    parking.keepers.push_back(
        {p.callsign, p.altCallsign1, p.altCallsign2, p.reg, p.airline, p.model, p.parkedSince, p.sid, false});
}

void lf_erasePosition(size_t i) {
    parking.chosenPositions.erase(parking.chosenPositions.begin() + static_cast<long>(i));
}

template <typename Pred>
std::optional<size_t> lf_findPosition(Pred pred) {
    for (size_t i = 0; i < parking.chosenPositions.size(); ++i)
        if (pred(parking.chosenPositions[i])) return i;
    return std::nullopt;
}

// The position stood there longer ago than the parked aircraft arrived: the parked one is the newer.
bool lf_positionNewer(const ChosenPosition& c, const ParkedAc& p) {
    return gf_laterInWeek(gf_stepBack(gf_calcNow(), c.offset), gf_unpackTimeOfWeek(p.parkedSince));
}

void lf_reviewParkedAgainstPt(ParkedAc& p, bool ptSwitched) {
    if (p.state != ActState::Live) return;
    if (!p.fromPt) {
        if (ptSwitched) return;
        const auto i =
            lf_findPosition([&p](const ChosenPosition& c) { return c.sid == p.sid || c.cs1 + "*" == p.callsign; });
        if (!i) return;
        const ChosenPosition& c = parking.chosenPositions[*i];
        const bool same = c.cs1 + "*" == p.callsign && c.airl == p.airline && c.type == p.model;
        if (!lf_positionNewer(c, p) || same)
            lf_erasePosition(*i);
        else
            gf_queueRemoval(p);
        return;
    }
    if (parking.seenHexids.count(p.ptHexid) > 0) {
        gf_queueRemoval(p);
        return;
    }
    const auto i = lf_findPosition([&p](const ChosenPosition& c) {
        return (!c.cs1.empty() && c.cs1 + "*" == p.callsign) || (!c.cs2.empty() && c.cs2 + "*" == p.callsign) ||
               (!p.reg.empty() && c.reg == p.reg);
    });
    if (i && parking.chosenPositions[*i].sid == p.sid) {
        lf_addKeeper(p);
        lf_erasePosition(*i);
    } else {
        gf_queueRemoval(p);
    }
}

// Is the aircraft still on its stand by the history, as far back as the last search looked?
bool lf_stillInHistory(TimeOfWeek time, const ParkedAc& p) {
    const Stand& stand = airports.stands[p.sid - 1];
    const int fit = std::min(std::max(parking.fitReal, parking.fitSoft), 47);
    int rest = -1;
    const auto look = [&](uint32_t day, int start, int back) {
        for (const ParkPos& o : stand.options) {
            if (o.optId == 0 || o.day != day || o.airl != p.airline || o.type != p.model) continue;
            int r = -1;
            if (testRange(o, start, back, r)) return true;
            rest = std::max(rest, r);
        }
        return false;
    };
    if (look(time.day, static_cast<int>(time.halfHour), fit)) return true;
    if (rest < 0) return false;
    const int back = rest;
    return look(time.day == 1 ? 7 : time.day - 1, 47, back);
}

void lf_reviewKeeper(ParkedAc& p) {
    if ((!p.altCallsign1.empty() && gf_seenLive(p.altCallsign1)) ||
        (!p.altCallsign2.empty() && gf_seenLive(p.altCallsign2))) {
        gf_queueRemoval(p);  // the real aircraft is live
        return;
    }
    if (const auto i = lf_findPosition([&p](const ChosenPosition& c) { return c.sid == p.sid; })) {
        const ChosenPosition& c = parking.chosenPositions[*i];
        const bool same = c.airl == p.airline && c.type == p.model &&
                          (c.cs1 + "*" == p.callsign || (!c.cs2.empty() && c.cs2 + "*" == p.callsign));
        if (!same && lf_positionNewer(c, p)) {
            gf_queueRemoval(p);
        } else {
            lf_addKeeper(p);
            lf_erasePosition(*i);
        }
        return;
    }
    for (const uint32_t id : airports.stands[p.sid - 1].adjacent)
        if (const auto i = lf_findPosition(
                [&](const ChosenPosition& c) { return c.sid == id && gf_spansOverlap(id, c.type, p.sid, p.model); })) {
            if (lf_positionNewer(parking.chosenPositions[*i], p)) {
                gf_queueRemoval(p);
            } else {
                lf_addKeeper(p);
                lf_erasePosition(*i);
            }
            return;
        }
    if (lf_stillInHistory(gf_calcNow(), p))
        lf_addKeeper(p);
    else
        gf_queueRemoval(p);
}

void lf_reviewKeepers() {
    for (ParkedAc& p : engine.parked)
        if (!p.fromPt && p.state == ActState::Live && p.sid != 0 && p.sid <= airports.stands.size()) lf_reviewKeeper(p);
    std::stable_sort(parking.keepers.begin(), parking.keepers.end(), [](const Keeper& a, const Keeper& b) {
        return gf_laterInWeek(gf_unpackTimeOfWeek(a.parkedSince), gf_unpackTimeOfWeek(b.parkedSince));
    });
    const TimeOfWeek now = gf_calcNow();
    for (Keeper& k : parking.keepers) {
        if (k.altCallsign2.empty() || k.callsign.find(k.altCallsign2) == std::string::npos) continue;
        if (k.sid < 1 || k.sid > airports.stands.size()) continue;
        const std::string plain = k.callsign.substr(0, k.callsign.size() - 1);
        const Stand& stand = airports.stands[k.sid - 1];
        for (const ParkPos& o : stand.options)
            if (o.optId != 0 && o.day == now.day && o.cs1 == plain && o.airl == k.airline && o.type == k.model) {
                k.ends = !gf_optionStays(stand, o, now);
                break;
            }
    }
}

void lf_applyChanges() {
    while (!parking.toRemove.empty()) {
        const RemoveEntry e = parking.toRemove.back();
        parking.toRemove.pop_back();
        for (ParkedAc& p : engine.parked)
            if (p.sid == e.sid && p.callsign == e.callsign &&
                (p.state == ActState::Live || p.state == ActState::Removing)) {
                gf_removeAct(p);
                break;
            }
    }
    if (!parking.chosenPositions.empty()) gf_setParkingBusy(true);
}

void lf_markStayersAndKeepers() {
    for (const Stayer& s : parking.stayers) gf_markTaken(s.sid);
    for (const Keeper& k : parking.keepers) gf_markTaken(k.sid);
}

void lf_renew(bool ptSwitched) {
    gf_startCalculation();
    gf_clearParkingLists();
    gf_clearStandFlags(true);
    gf_markReserved();
    if (ptSwitched)
        for (ParkedAc& p : engine.parked)
            if (p.state == ActState::Live && !p.fromPt) gf_queueRemoval(p);
    gf_publishWanted();
    const int32_t wanted = parking.wanted;
    lf_collectStayers();
    if (!RT_PARKTRAFFIC_ONLY.current && wanted >= 1 && gf_count(parking.stayers) > wanted) {
        const int32_t x = gf_count(parking.stayers) - wanted;
        gf_logf("Parking adjustments: {} more live ac than wanted", x);
        for (int32_t k = 0; k < x; ++k) lf_removeStayer(parking.stayers[parking.stayers.size() - 1 - k], true);
        parking.stayers.clear();
        lf_collectStayers();
    }
    lf_markStayersAndKeepers();
    if (!gf_fetchParkedTraffic()) {
        if (RT_PARKTRAFFIC_ONLY.current) {
            gf_sortPositions(true);
            return;
        }
    } else {
        lf_placeParkedTraffic();
        for (ParkedAc& p : engine.parked) lf_reviewParkedAgainstPt(p, ptSwitched);
        const int32_t pt = gf_count(parking.chosenPositions);
        gf_logf("{} parking position{} from PT", pt, gf_plural(pt));
        if (RT_PARKTRAFFIC_ONLY.current) {
            gf_showMessagef(false, "ParkTraffic changes: {} to be removed, {} to be added", parking.toRemove.size(),
                            parking.chosenPositions.size());
            gf_sortPositions(true);
            lf_applyChanges();
            return;
        }
    }
    int32_t n = gf_count(parking.stayers) + gf_count(parking.chosenPositions) + gf_count(parking.keepers);
    lf_markStayersAndKeepers();
    if (wanted - n > 0) lf_choosePositions(gf_calcNow(), wanted, n);
    lf_reviewKeepers();
    for (size_t i = 0; i < parking.keepers.size();) {
        const Keeper& k = parking.keepers[i];
        if (!k.ends) {
            ++i;
            continue;
        }
        // The aircraft changes from the flight it came in on to the one it leaves on.
        parking.chosenPositions.push_back({0, static_cast<int32_t>(gf_unpackTimeOfWeek(k.parkedSince).halfHour),
                                           k.airline, k.model, k.sid, k.altCallsign1, k.altCallsign2, k.reg, false,
                                           false});
        parking.toRemove.push_back({k.callsign, k.sid});
        parking.keepers.erase(parking.keepers.begin() + static_cast<long>(i));
    }
    const std::string stayersText = fmt::format("live stayers: {}, ", parking.stayers.size());
    gf_sortPositions(false);
    int32_t x = gf_count(parking.stayers) + gf_count(parking.chosenPositions) + gf_count(parking.keepers) - wanted;
    for (; x >= 1 && !parking.chosenPositions.empty(); --x) parking.chosenPositions.pop_back();
    for (; x >= 1 && !parking.keepers.empty(); --x) {
        parking.toRemove.push_back({parking.keepers.back().callsign, parking.keepers.back().sid});
        parking.keepers.pop_back();
    }
    for (; x >= 1 && !INITIAL_LOAD_ONLY.current && !parking.stayers.empty(); --x) {
        lf_removeStayer(parking.stayers.back(), false);
        parking.stayers.pop_back();
    }
    gf_sortPositions(true);
    gf_showMessage(fmt::format("{}Parking adjustments: {} to be removed, {} to be added\n", stayersText,
                               parking.toRemove.size(), parking.chosenPositions.size()),
                   LOG.current);
    lf_applyChanges();
}

}  // namespace

bool gf_renewParking(bool ptSwitched) {
    if (airports.parkIcao.empty() || airports.stands.empty()) return false;
    gf_clearErrorAndMessage();
    lf_renew(ptSwitched);
    return true;
}
