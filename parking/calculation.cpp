// The first calculation at airport entry: parked traffic first, then the history, up to the wanted count.
#include "parking/calculation.h"

#include <algorithm>
#include <cmath>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/timeofweek.h"
#include "engine/admission.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/search.h"
#include "parking/state.h"
#include "parking/steps.h"
#include "service/client.h"
#include "service/parked.h"
#include "service/traffic.h"
#include "simlink/user.h"

namespace {

constexpr double kPtStandLimitNm = 0.05939524838012959;  // 110 m: a parked-traffic position this close to a stand

// The stand for a parked-traffic aircraft: the live stand search around its position, as for an aircraft
// that stops there (nearest free stand that fits, a stand it stands right on grows to it, helipads for
// rotorcraft only), but out to 110 m: the service's positions are rough. 0 for none.
uint32_t lf_standForPt(const PtRecord& r, const std::string& airline) {
    Act probe;  // the search reads only the head
    probe.callsign = r.callsign;
    probe.airline = airline;
    probe.model = r.model;
    probe.reg = r.reg;
    probe.category = gf_modelCategory(r.model);
    probe.halfSpan = gf_halfWingspan(r.model);
    if (const DbaseRecord* known = gf_dbaseFind(r.reg)) probe.cargo = known->cargo;
    const Stand* stand = gf_searchStandNear({r.latitude, r.longitude}, probe, kPtStandLimitNm, false);
    return stand == nullptr ? 0 : stand->sid;
}

bool lf_actStandsFor(const PtRecord& r) {
    for (const Act& a : engine.active)
        if (a.hexid == r.hexid ||
            (!r.callsign.empty() && (a.callsign == r.callsign || a.callsign == r.callsign + "_")) ||
            (!r.reg.empty() && a.reg == r.reg))
            return true;
    return false;
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
        const TimeOfWeek t = gf_stepBack(gf_calcNow(), r.age);
        const TimeOfWeek since = gf_unpackTimeOfWeek(p.parkedSince);
        if (!gf_laterInWeek(since, t)) {
            gf_queueRemoval(p);
            return true;
        }
        parking.chosenPositions.push_back({p.ptHexid, gf_halfHoursSince(gf_calcNow(), p.parkedSince), p.airline,
                                           p.model, sid, p.callsign.substr(0, p.callsign.size() - 1), "", p.reg, true,
                                           true});
        return false;
    }
    return true;
}

void lf_placeOne(const PtRecord& r, int32_t w) {
    if (!RT_PARKTRAFFIC_ONLY.current && gf_count(parking.chosenPositions) >= w) return;
    if (parking.seenHexids.count(r.hexid) > 0) return;
    if (r.callsign.empty() || gf_seenLive(r.callsign)) return;
    if (lf_actStandsFor(r)) return;
    const std::string airline = r.airline.empty() ? gf_airlineFromCallsign(r.callsign) : r.airline;
    const uint32_t sid = lf_standForPt(r, airline);
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
    gf_startCalculation();
    gf_showMessage("Making changes to airport parking parameters is disabled while static parking takes place ...",
                   false);
    gf_clearParkingLists();
    panel.liveAverageFit = -1.0f;
    panel.staticAverageFit = -1.0f;
    gf_clearStandFlags(false);
    gf_markReserved();
    gf_setParkingControls();
    if (gf_fetchParkedTraffic()) lf_placeParkedTraffic();
    const int32_t stands = gf_count(airports.stands);
    if (RT_PARKTRAFFIC_ONLY.current) {
        gf_sortPositions(true);
    } else {
        const int32_t pt = gf_count(parking.chosenPositions);
        gf_logf("{} parking position{} from PT", pt, gf_plural(pt));
        gf_publishWanted();
        if (parking.wanted > pt) lf_choosePositions(gf_calcNow(), parking.wanted, pt);
        gf_sortPositions(false);
        if (gf_count(parking.chosenPositions) > parking.wanted)
            parking.chosenPositions.resize(static_cast<size_t>(std::max(parking.wanted, 0)));
    }
    const int32_t c = gf_count(parking.chosenPositions);
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
    gf_sortPositions(true);
    gf_setParkingBusy(true);
}
