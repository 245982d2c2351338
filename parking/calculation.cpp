// The first calculation and the renewal: who keeps a stand, who goes, what comes.
#include "parking/calculation.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <optional>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/clock.h"
#include "common/timeofweek.h"
#include "engine/admission.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/search.h"
#include "parking/state.h"
#include "service/client.h"
#include "service/parked.h"
#include "service/traffic.h"
#include "simlink/user.h"

namespace {

constexpr double kPtStandLimitNm = 0.05939524838012959;  // 110 m: a parked-traffic position this close to a stand
constexpr double kOnStandNm = 0.010799136069114472;      // 20 m: right on a stand, whatever its size
constexpr int32_t kStaleHeavyMinutes = 180;              // a live aircraft silent on a stand this long goes
constexpr int32_t kStaleMinutes = 90;                    // ... not a heavy
constexpr const char* kDayNames[] = {"", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};

TimeOfWeek lf_now() { return gf_unpackTimeOfWeek(parking.calcTime); }

// `a` is later than `b` in the week; Monday counts as later than Sunday.
bool lf_later(TimeOfWeek a, TimeOfWeek b) {
    if (a.day == 1 && b.day == 7) return true;
    if (a.day == 7 && b.day == 1) return false;
    return a.day != b.day ? a.day > b.day : a.halfHour > b.halfHour;
}

void lf_logTime(TimeOfWeek t) {
    gf_logf("\n{} (utc) It is day {} ({}), {} hours", gf_timeOfDay(), t.day, kDayNames[t.day % 8], t.halfHour * 0.5);
}

void lf_startCalculation() {
    parking.calcTime = gf_packTimeOfWeek(gf_loadTimeOfWeek());
    lf_logTime(lf_now());
    gf_takeSeenAircraft(parking.seenCallsigns, parking.seenHexids);
    panel.softUsed = false;
    gf_invalidate(Band::Status);
}

// The user's stands stay free: the one the tracking reserved, and the one under the user aircraft.
void lf_markReserved() {
    const std::string at = gf_standAtPosition({user.userSnapshot.latitude, user.userSnapshot.longitude});
    for (Stand& s : airports.stands)
        if ((!parking.reservedStand.empty() && s.name == parking.reservedStand) || (!at.empty() && s.name == at))
            s.reserved = true;
}

void lf_clearStandFlags(bool renumber) {
    for (Stand& s : airports.stands) {
        s.taken = s.reserved = s.adjacentTaken = false;
        if (!renumber) continue;
        uint32_t id = 1;
        for (ParkPos& o : s.options) o.optId = id++;
    }
}

void lf_sortByOffset(bool largestFirst) {
    std::stable_sort(parking.chosenPositions.begin(), parking.chosenPositions.end(),
                     [largestFirst](const ChosenPosition& a, const ChosenPosition& b) {
                         return largestFirst ? a.offset > b.offset : a.offset < b.offset;
                     });
}

int32_t lf_size(const auto& v) { return static_cast<int32_t>(v.size()); }

void lf_toRemove(ParkedAc& p) {
    p.state = ActState::Removing;
    parking.toRemove.push_back({p.callsign, p.sid});
}

// The stand for a parked-traffic position: the nearest within 110 m that is not live-occupied and that
// the type fits (or that it stands right on); helipads for rotorcraft only.
uint32_t lf_standForPt(LatLon at, const std::string& model) {
    const double halfSpan = gf_halfWingspan(model);
    const bool rotor = gf_modelCategory(model) == ModelCategory::Rotorcraft;
    const Stand* best = nullptr;
    double bestNm = kPtStandLimitNm;
    for (const Stand& s : airports.stands) {
        if (s.occupiedLive) continue;
        const double d = gf_distanceNm(at, {s.latitude, s.longitude});
        if (d > bestNm) continue;
        if (halfSpan - s.radius > kFitSlackNm && d > kOnStandNm) continue;
        best = &s;
        bestNm = d;
    }
    if (!best || best->heli != rotor) return 0;
    return best->sid;
}

bool lf_actStandsFor(const PtRecord& r) {
    for (const Act& a : engine.active)
        if (a.hexid == r.hexid ||
            (!r.callsign.empty() && (a.callsign == r.callsign || a.callsign == r.callsign + "_")) ||
            (!r.reg.empty() && a.reg == r.reg))
            return true;
    return false;
}

bool lf_seenCallsign(const std::string& c) {
    return parking.seenCallsigns.count(c) > 0 || parking.seenCallsigns.count(c + "_") > 0;
}

bool lf_overlapsChosenNeighbour(const Stand& stand, const std::string& model) {
    for (const uint32_t id : stand.adjacent)
        for (const ChosenPosition& c : parking.chosenPositions)
            if (c.sid == id && gf_spansOverlap(id, c.type, stand.sid, model)) return true;
    return false;
}

// An older parked-traffic aircraft on the stand makes way (true); a newer one stays as a position (false).
bool lf_ptNewerThanParked(const PtRecord& r, uint32_t sid) {
    for (ParkedAc& p : engine.parked) {
        if (!p.fromPt || p.sid != sid || p.state != ActState::Live || p.callsign == r.callsign + "*") continue;
        const TimeOfWeek t = gf_stepBack(lf_now(), r.age);
        const TimeOfWeek since = gf_unpackTimeOfWeek(p.parkedSince);
        if (!lf_later(since, t)) {
            lf_toRemove(p);
            return true;
        }
        parking.chosenPositions.push_back({p.ptHexid, gf_halfHoursSince(lf_now(), p.parkedSince), p.airline, p.model,
                                           sid, p.callsign.substr(0, p.callsign.size() - 1), "", p.reg, true, true});
        return false;
    }
    return true;
}

void lf_placeOne(const PtRecord& r, int32_t w) {
    if (!RT_PARKTRAFFIC_ONLY.current && lf_size(parking.chosenPositions) >= w) return;
    if (parking.seenHexids.count(r.hexid) > 0) return;
    if (r.callsign.empty() || lf_seenCallsign(r.callsign)) return;
    if (lf_actStandsFor(r)) return;
    const std::string airline = r.airline.empty() ? gf_airlineFromCallsign(r.callsign) : r.airline;
    const uint32_t sid = lf_standForPt({r.latitude, r.longitude}, r.model);
    if (sid == 0) {
        gf_logf("          [{:10}: {:8x} {:8} {:12} ===> could not find a stand for PT's {:.6f} {:.6f}]", r.standName,
                r.hexid, r.callsign, r.reg, r.latitude, r.longitude);
        return;
    }
    const Stand& stand = airports.stands[sid - 1];
    if (stand.reserved || stand.taken) return;
    if (stand.adjacentTaken && lf_overlapsChosenNeighbour(stand, r.model)) return;
    if (!lf_ptNewerThanParked(r, sid)) return;
    parking.chosenPositions.push_back({r.hexid, r.age, airline, r.model, sid, r.callsign, "", r.reg, true, true});
    gf_markTaken(sid);
}

void lf_publishWanted() {
    parking.wanted = gf_wantedPositions();
    panel.wanted = parking.wanted;
}

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
            if (logIt) gf_logf("live parked {} at {} removed", a.callsign, airports.stands[s.sid - 1].name);
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
    return lf_later(gf_stepBack(lf_now(), c.offset), gf_unpackTimeOfWeek(p.parkedSince));
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
            lf_toRemove(p);
        return;
    }
    if (parking.seenHexids.count(p.ptHexid) > 0) {
        lf_toRemove(p);
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
        lf_toRemove(p);
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
    if ((!p.altCallsign1.empty() && lf_seenCallsign(p.altCallsign1)) ||
        (!p.altCallsign2.empty() && lf_seenCallsign(p.altCallsign2))) {
        lf_toRemove(p);  // the real aircraft is live
        return;
    }
    if (const auto i = lf_findPosition([&p](const ChosenPosition& c) { return c.sid == p.sid; })) {
        const ChosenPosition& c = parking.chosenPositions[*i];
        const bool same = c.airl == p.airline && c.type == p.model &&
                          (c.cs1 + "*" == p.callsign || (!c.cs2.empty() && c.cs2 + "*" == p.callsign));
        if (!same && lf_positionNewer(c, p)) {
            lf_toRemove(p);
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
                lf_toRemove(p);
            } else {
                lf_addKeeper(p);
                lf_erasePosition(*i);
            }
            return;
        }
    if (lf_stillInHistory(lf_now(), p))
        lf_addKeeper(p);
    else
        lf_toRemove(p);
}

void lf_reviewKeepers() {
    for (ParkedAc& p : engine.parked)
        if (!p.fromPt && p.state == ActState::Live && p.sid != 0 && p.sid <= airports.stands.size()) lf_reviewKeeper(p);
    std::stable_sort(parking.keepers.begin(), parking.keepers.end(), [](const Keeper& a, const Keeper& b) {
        return lf_later(gf_unpackTimeOfWeek(a.parkedSince), gf_unpackTimeOfWeek(b.parkedSince));
    });
    const TimeOfWeek now = lf_now();
    for (Keeper& k : parking.keepers) {
        if (k.altCallsign2.empty() || k.callsign.find(k.altCallsign2) == std::string::npos) continue;
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
    lf_startCalculation();
    gf_clearParkingLists();
    lf_clearStandFlags(true);
    lf_markReserved();
    if (ptSwitched)
        for (ParkedAc& p : engine.parked)
            if (p.state == ActState::Live && !p.fromPt) lf_toRemove(p);
    lf_publishWanted();
    const int32_t wanted = parking.wanted;
    lf_collectStayers();
    if (!RT_PARKTRAFFIC_ONLY.current && wanted >= 1 && lf_size(parking.stayers) > wanted) {
        const int32_t x = lf_size(parking.stayers) - wanted;
        gf_logf("Parking adjustments: {} more live ac than wanted", x);
        for (int32_t k = 0; k < x; ++k) lf_removeStayer(parking.stayers[parking.stayers.size() - 1 - k], true);
        parking.stayers.clear();
        lf_collectStayers();
    }
    lf_markStayersAndKeepers();
    if (!gf_fetchParkedTraffic()) {
        if (RT_PARKTRAFFIC_ONLY.current) {
            lf_sortByOffset(true);
            return;
        }
    } else {
        lf_placeParkedTraffic();
        for (ParkedAc& p : engine.parked) lf_reviewParkedAgainstPt(p, ptSwitched);
        const int32_t pt = lf_size(parking.chosenPositions);
        gf_logf("{} parking position{} from PT", pt, gf_plural(pt));
        if (RT_PARKTRAFFIC_ONLY.current) {
            gf_showMessagef(true, "ParkTraffic changes: {} to be removed, {} to be added", parking.toRemove.size(),
                            parking.chosenPositions.size());
            lf_sortByOffset(true);
            lf_applyChanges();
            return;
        }
    }
    int32_t n = lf_size(parking.stayers) + lf_size(parking.chosenPositions) + lf_size(parking.keepers);
    lf_markStayersAndKeepers();
    if (wanted - n > 0) lf_choosePositions(lf_now(), wanted, n);
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
    lf_sortByOffset(false);
    int32_t x = lf_size(parking.stayers) + lf_size(parking.chosenPositions) + lf_size(parking.keepers) - wanted;
    for (; x >= 1 && !parking.chosenPositions.empty(); --x) parking.chosenPositions.pop_back();
    for (; x >= 1 && !parking.keepers.empty(); --x) {
        parking.toRemove.push_back({parking.keepers.back().callsign, parking.keepers.back().sid});
        parking.keepers.pop_back();
    }
    for (; x >= 1 && !INITIAL_LOAD_ONLY.current && !parking.stayers.empty(); --x) {
        lf_removeStayer(parking.stayers.back(), false);
        parking.stayers.pop_back();
    }
    lf_sortByOffset(true);
    gf_showMessage(fmt::format("{}Parking adjustments: {} to be removed, {} to be added\n", stayersText,
                               parking.toRemove.size(), parking.chosenPositions.size()),
                   LOG.current);
    lf_applyChanges();
}

}  // namespace

int32_t gf_halfHoursSince(TimeOfWeek now, uint64_t since) {
    const TimeOfWeek s = gf_unpackTimeOfWeek(since);
    const int32_t week = 7 * 48;
    const int32_t a = static_cast<int32_t>((now.day - 1) * 48 + now.halfHour);
    const int32_t b = static_cast<int32_t>((s.day - 1) * 48 + s.halfHour);
    return ((a - b) % week + week) % week;
}

int32_t gf_wantedPositions() {
    const int64_t n = static_cast<int64_t>(airports.stands.size());
    const int64_t p = parking_percentage.current;
    if (n == 1) return 1;
    if (n <= 3 && p < 50) return 1;
    return static_cast<int32_t>(std::lround(static_cast<double>(p * n) / 100.0));
}

void lf_placeParkedTraffic() {
    const int32_t w = gf_wantedPositions();
    if (w < 1 && !RT_PARKTRAFFIC_ONLY.current) return;
    for (const PtRecord& r : trafficReader.parkedTraffic) lf_placeOne(r, w);
}

void gf_firstCalculation() {
    lf_startCalculation();
    gf_showMessage("Making changes to airport parking parameters is disabled while static parking takes place ...",
                   false);
    gf_clearParkingLists();
    panel.liveAverageFit = -1.0f;
    panel.staticAverageFit = -1.0f;
    lf_clearStandFlags(false);
    lf_markReserved();
    gf_setParkingControls();
    if (gf_fetchParkedTraffic()) lf_placeParkedTraffic();
    const int32_t stands = lf_size(airports.stands);
    if (RT_PARKTRAFFIC_ONLY.current) {
        lf_sortByOffset(true);
    } else {
        const int32_t pt = lf_size(parking.chosenPositions);
        gf_logf("{} parking position{} from PT", pt, gf_plural(pt));
        lf_publishWanted();
        if (parking.wanted > pt) lf_choosePositions(lf_now(), parking.wanted, pt);
        lf_sortByOffset(false);
        if (lf_size(parking.chosenPositions) > parking.wanted)
            parking.chosenPositions.resize(static_cast<size_t>(std::max(parking.wanted, 0)));
    }
    const int32_t c = lf_size(parking.chosenPositions);
    if (c < 1) {
        gf_logLine("no parking positions found");
        gf_setParkingBusy(false);
        return;
    }
    if (RT_PARKTRAFFIC_ONLY.current)
        gf_logf("{} positions from RT parktraffic only\n", c);
    else
        gf_logf("{} positions ({}% vs wanted {}%, with Max fit={} hours)\n", c,
                stands > 0 ? std::lround(c * 100.0 / stands) : 0L, parking_percentage.current.load(),
                gf_halfHoursToHours(static_cast<int32_t>(MAX_FIT.current)));
    lf_sortByOffset(true);
    gf_setParkingBusy(true);
}

bool gf_renewParking(bool ptSwitched) {
    if (airports.parkIcao.empty() || airports.stands.empty()) return false;
    gf_clearErrorAndMessage();
    lf_renew(ptSwitched);
    return true;
}
