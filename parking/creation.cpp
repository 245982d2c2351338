// The paced creation of the chosen positions, the end of a calculation, and the clearing of parked
// aircraft (flush, the user's reserved stand).
#include <algorithm>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/geo.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "liveries/dbase.h"
#include "liveries/matching.h"
#include "parking/calculation.h"
#include "parking/search.h"
#include "parking/state.h"

namespace {

constexpr int32_t kSerialWrap = 10000;  // serials stay below the hexids of live aircraft

bool lf_onStand(const Act& a) {
    return a.state == ActState::Live && (a.phase == ActPhase::ToStand || a.phase == ActPhase::AtStand);
}

// A live aircraft on the stand or a neighbour blocks the creation; the position is dropped with a line.
bool lf_liveBlocks(const ChosenPosition& c, const Stand& stand) {
    const std::string tail = c.cs1.empty() ? c.airl : c.cs1;
    for (const Act& a : engine.active) {
        if (!lf_onStand(a)) continue;
        if (a.sid == c.sid) {
            gf_logf("{:8}: no static parking for {}, live aircraft {} standing here", stand.name, tail, a.callsign);
            return true;
        }
        if (std::find(stand.adjacent.begin(), stand.adjacent.end(), a.sid) != stand.adjacent.end()) {
            gf_logf("{:8}: no static parking for {}, live aircraft {} is adjacent at {}, possibly colliding",
                    stand.name, tail, a.callsign, airports.stands[a.sid - 1].name);
            return true;
        }
    }
    return false;
}

std::string lf_tail(const ChosenPosition& c, int32_t serial) {
    if (c.cs1.empty()) return fmt::format("{}{}{}", c.airl, serial, "*");
    std::string tail = c.stays || c.cs2.empty() ? c.cs1 : c.cs2;
    while (!tail.empty() && tail.back() == '_') tail.pop_back();
    if (tail.empty() || tail.back() != '*') tail += '*';
    return tail;
}

void lf_create(const ChosenPosition& c) {
    if (c.sid == 0 || c.sid > airports.stands.size()) {
        gf_logMarkf("stand with id {} not found", c.sid);
        return;
    }
    const Stand& stand = airports.stands[c.sid - 1];
    if (lf_liveBlocks(c, stand)) return;
    if (++parking.serial >= kSerialWrap) parking.serial = 0;
    ParkedAc p;
    p.airline = c.airl;
    p.model = c.type;
    p.callsign = lf_tail(c, parking.serial);
    p.altCallsign1 = c.cs1;
    p.altCallsign2 = c.cs2;
    p.reg = c.reg;
    p.hexid = static_cast<uint32_t>(parking.serial);
    p.category = gf_modelCategory(p.model);
    gf_applyCategory(p, p.category);
    p.halfSpan = gf_halfWingspan(p.model);
    if (const DbaseRecord* d = c.reg.empty() ? nullptr : gf_dbaseFind(c.reg)) p.cargo = d->cargo;
    p.standLat = stand.latitude;
    p.standLon = stand.longitude;
    p.standHeading = stand.heading;
    p.sid = stand.sid;
    p.standCargo = stand.cargo;
    if (!gf_matchParked(p, stand)) return;  // nothing else is tried for this stand
    p.fromPt = c.fromPt;
    p.parkedSince = gf_packTimeOfWeek(gf_stepBack(gf_loadTimeOfWeek(), c.offset));
    p.ptHexid = c.ptHexid;
    p.state = ActState::Creating;
    CreateRequest request;
    SIMCONNECT_DATA_INITPOSITION& ip = request.initPosition;
    ip.Latitude = stand.latitude;
    ip.Longitude = stand.longitude;
    ip.Altitude = 0;
    ip.Pitch = 0;
    ip.Bank = 0;
    ip.Heading = stand.heading * kRadToDeg;
    ip.OnGround = 1;
    ip.Airspeed = 0;
    request.tail = p.callsign;
    request.title = std::string(p.livery);
    request.hexid = p.hexid;
    engine.parked.push_back(std::move(p));
    engine.staticCreationQueue.push_back(std::move(request));
}

void lf_enable(uint16_t id, bool on) {
    if (id != 0) gf_setControlEnabled(id, on);
}

std::string lf_hoursText(double hours) {
    return hours == static_cast<int64_t>(hours) ? fmt::format("{:.0f}", hours) : fmt::format("{:.1F}", hours);
}

}  // namespace

void gf_placeNextStatic() {
    if (parking.chosenPositions.empty()) return;
    const ChosenPosition c = std::move(parking.chosenPositions.back());
    parking.chosenPositions.pop_back();
    lf_create(c);
}

void gf_flushStatic() {
    parking.chosenPositions.clear();
    auto& table = engine.parked;
    for (size_t i = 0; i < table.size();) {
        ParkedAc& p = table[i];
        if (p.state == ActState::Live) {
            gf_removeAct(p);
        } else if (p.state == ActState::Creating) {
            if (gf_cancelStaticCreation(p.callsign)) continue;  // erased: the last record is in its place now
            p.dropOnCreate = true;
        }
        ++i;
    }
}

void gf_clearReservedStand() {
    uint32_t sid = 0;
    for (const Stand& s : airports.stands)
        if (!parking.reservedStand.empty() && s.name == parking.reservedStand) {
            sid = s.sid;
            break;
        }
    if (sid == 0) return;
    for (ParkedAc& p : engine.parked)
        if (p.sid == sid && p.state == ActState::Live) {
            gf_removeAct(p);
            return;
        }
    for (Act& a : engine.active)
        if (a.sid == sid && a.state == ActState::Live && a.phase == ActPhase::AtStand) {
            gf_removeAct(a);
            return;
        }
}

float gf_meanStayHours(TimeOfWeek now, bool parkedAircraft) {
    int64_t sum = 0, n = 0;
    const auto add = [&](const ParkedAc& p) {
        sum += gf_halfHoursSince(now, p.parkedSince);
        ++n;
    };
    if (parkedAircraft) {
        for (const ParkedAc& p : engine.parked)
            if (p.state == ActState::Live) add(p);
    } else {
        for (const Act& a : engine.active)
            if (a.state == ActState::Live && a.phase == ActPhase::AtStand) add(a);
    }
    if (n == 0) return -1.0f;
    return static_cast<float>(static_cast<double>(sum) / (2.0 * static_cast<double>(n)) + 0.5);
}

void gf_finishCalculation() {
    gf_setParkingBusy(false);
    gf_clearMessage();
    const TimeOfWeek now = gf_loadTimeOfWeek();
    panel.staticAverageFit = WEEK.current ? -1.0f : gf_meanStayHours(now, true);
    panel.liveAverageFit = gf_meanStayHours(now, false);
    gf_invalidate(Band::Status);
}

void gf_setParkingBusy(bool busy) {
    run.parkingBusy = busy;
    if (busy) {
        for (const Par* par : std::initializer_list<const Par*>{&parking_percentage, &INITIAL_LOAD_ONLY, &PARK_FAKE,
                                                                &PARK_SOFT, &RT_PARKTRAFFIC_ONLY, &MAX_FIT_FL, &WEEK})
            lf_enable(par->controlId, false);
        lf_enable(kFlushStaticButtonId, false);
        lf_enable(kReReadButtonId, false);
        return;
    }
    lf_enable(RT_PARKTRAFFIC_ONLY.controlId, true);
    lf_enable(kFlushStaticButtonId, true);
    lf_enable(kReReadButtonId, true);
    gf_setParkingControls();
}

void gf_setParkingControls() {
    const bool on = !RT_PARKTRAFFIC_ONLY.current;
    for (const Par* par : std::initializer_list<const Par*>{&parking_percentage, &MAX_FIT_FL, &INITIAL_LOAD_ONLY,
                                                            &PARK_SOFT, &PARK_FAKE, &WEEK})
        lf_enable(par->controlId, on);
    if (parking_percentage.controlId != 0)
        gf_setControlText(parking_percentage.controlId, on ? std::to_string(parking_percentage.current.load()) : "");
    if (MAX_FIT_FL.controlId != 0)
        gf_setControlText(MAX_FIT_FL.controlId, on ? lf_hoursText(MAX_FIT_FL.current.load()) : "");
    gf_invalidate(Band::Parameters);
}
