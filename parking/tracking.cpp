// parking/tracking.cpp — the park airport follows the user: chosen, loaded, left and cleared.
#include "parking/tracking.h"

#include <algorithm>
#include <limits>

#include <fmt/format.h>

#include "airports/airport_file.h"
#include "airports/park_list.h"
#include "airports/state.h"
#include "engine/admission.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "parking/calculation.h"
#include "parking/learning.h"
#include "parking/state.h"
#include "service/client.h"
#include "service/state.h"
#include "simlink/user.h"

namespace {
constexpr int32_t kGoodRealQuality = 45;  // Qf_real from which an airport's history needs no soft learning
constexpr size_t kGoodStandCount = 20;    // ... if it has at least this many stands
constexpr double kNoListNm = 10000.0;

LatLon lf_userPosition() { return {user.userSnapshot.latitude, user.userSnapshot.longitude}; }

std::string lf_parkLabel() { return gf_airportLabel(parking.parkIcao, parking.parkIata); }

// The user aircraft check of the simulator link sees the stands through its own copy.
void lf_mirrorStands() {
    std::vector<UserStandSpot> spots;
    spots.reserve(airports.stands.size());
    for (const Stand& s : airports.stands) spots.push_back({s.name, {s.latitude, s.longitude}});
    gf_setUserParkStands(std::move(spots), parking.parkIcao);
}

void lf_destroyStands() {
    airports.stands.clear();
    lf_mirrorStands();
}

bool lf_setParkAirport(const std::string& icao) {
    const std::optional<Airport> a = gf_findAirport(icao);
    if (!a) return false;
    parking.parkIcao = a->code;
    parking.parkIata = a->iata;
    parking.parkPosition = {a->lat, a->lon};
    parking.parkElevation = a->alt;
    // The copies of the subsystems that read the park airport on their own.
    airports.parkIcao = a->code;
    engine.parkIata = a->iata;
    gf_setParkAirport(a->lat, a->lon, a->alt);
    panel.parkIcao.set(a->code);
    gf_invalidate(Band::Static);
    gf_logf("The park airport is {}", lf_parkLabel());
    return true;
}

void lf_clearParkAirport() {
    gf_saveIfChanged();
    gf_resetParkingForRun();
    airports.parkIcao.clear();
    engine.parkIata.clear();
    gf_clearParkAirport();
    panel.parkIcao.set("");
    panel.updateCount = 0;
    panel.reservedStand.set("");
    panel.reservedStandKnown = false;
    lf_destroyStands();
    panel.parkPublisher.set("");
    panel.qualityText.set("");
    panel.parkActive = false;
    gf_invalidate(Band::Static);
}

// Soft learning is for airports whose history is thin.
void lf_decideLearning(QualityPair quality) {
    const bool good = quality.first >= kGoodRealQuality && airports.stands.size() >= kGoodStandCount;
    parking.learnAllowed = !good;
    gf_setControlEnabled(LEARN_SOFT.controlId, !good);
    if (good && LEARN_SOFT.current) {
        LEARN_SOFT.current = false;
        gf_setControlChecked(LEARN_SOFT.controlId, false);
        panel.parkParametersChanged = true;
    }
}

// The user's stand goes to the head of the park list, and into the file when it is new there.
void lf_rememberUserStand() {
    const std::string s = gf_standAtPosition(lf_userPosition());
    std::list<ParkAirportEntry>& list = airports.parkAirports;
    if (!list.empty() && list.front().icao == parking.parkIcao) {
        if (s.empty() || s == list.front().stand) return;
        list.front().stand = s;
    } else {
        list.push_front({parking.parkIcao, s, parking.parkPosition, 0.0});
    }
    gf_writeParkAirportEntry();
}

void lf_reserveUserStand() {
    parking.reservedStand.clear();
    const std::list<ParkAirportEntry>& list = airports.parkAirports;
    if (!list.empty() && list.front().icao == parking.parkIcao && !list.front().stand.empty()) {
        const auto it = std::find_if(airports.stands.begin(), airports.stands.end(),
                                     [&](const Stand& s) { return s.name == list.front().stand; });
        panel.reservedStandKnown = it != airports.stands.end();
        if (it != airports.stands.end()) {
            it->reserved = true;
            parking.reservedStand = it->name;
        }
    }
    panel.reservedStand.set(parking.reservedStand);
}

// The error text, empty when the airport's stands are in memory.
std::string lf_loadParkAirport() {
    lf_destroyStands();
    const std::filesystem::path path = gf_apfPath(parking.parkIcao);
    if (path.empty()) return fmt::format("{} not found", parking.parkIcao);
    QualityPair quality{-1, -1};
    const std::string text = gf_readApf(quality, path);
    if (text.empty()) {
        lf_decideLearning(quality);
        lf_mirrorStands();
        if (user.userOnGroundKnown.load()) lf_rememberUserStand();
        airports.stands.shrink_to_fit();
        lf_reserveUserStand();
    }
    panel.parkActive = text.empty();
    panel.updateCount = 0;
    gf_invalidate(Band::Static);
    return text;
}

void lf_loadAndCalculate() {
    const std::string text = lf_loadParkAirport();
    if (!text.empty()) {
        gf_showMessage(text, true);
        lf_clearParkAirport();
        return;
    }
    gf_firstCalculation();
}

// The parked traffic of the new airport is collected while the next tracking interval runs.
void lf_askForParkedTraffic() {
    run.parkingBusy = true;
    gf_setControlEnabled(kFlushStaticButtonId, false);
    gf_setControlEnabled(parking_percentage.controlId, false);
    trafficReader.collectSeen.exchange(true);
}

void lf_startParking(bool firstCall) {
    if (!firstCall) {
        parking.airportLoadPending = true;
        lf_askForParkedTraffic();
        return;
    }
    parking.airportLoadPending = false;
    lf_loadAndCalculate();
}

void lf_leaveParkAirport() {
    gf_flushStatic();
    for (Act& act : engine.active) {
        if (act.phase != ActPhase::AtStand) continue;
        if (act.state == ActState::Live)
            gf_removeAct(act);
        else if (act.state == ActState::Creating && !gf_cancelLiveCreation(act.callsign))
            act.dropOnCreate = true;
    }
    // Stand ids mean nothing at the next airport.
    for (Act& act : engine.active) {
        if (act.state != ActState::Live) continue;
        act.standLat = act.standLon = act.standHeading = 0.0;
        act.sid = 0;
        act.standCargo = false;
    }
    lf_clearParkAirport();
    // A limit the airport's learned file brought goes with it.
    if (MAX_LIVE.current != parDerived.maxLiveWorking) {
        MAX_LIVE.current = parDerived.maxLiveWorking.load();
        gf_applyMaxLive();
    }
}

bool lf_inLimits(double distanceNm) {
    return distanceNm <= AIRPORT_RANGE.current && user.userSnapshot.agl <= AIRPORT_HEIGHT.current;
}

void lf_trackNone(bool firstCall) {
    if (user.userOnGround.load()) {
        const std::optional<Airport> a = gf_closestAirport(lf_userPosition());
        if (!a) {
            gf_showMessage("User aircraft on the ground, no airport in sight", true);
        } else if (gf_apfPath(a->code).empty()) {
            gf_showMessagef(true, "User aircraft on the ground at {}, no airport file found", a->code);
        } else {
            gf_logf("User aircraft on the ground at {}", a->code);
            if (lf_setParkAirport(a->code)) lf_startParking(firstCall);
        }
        return;
    }
    if (airports.parkAirports.empty()) return;
    const ParkAirportEntry& e = airports.parkAirports.front();
    if (lf_inLimits(e.distance) && lf_setParkAirport(e.icao)) {
        gf_showMessagef(true, "{} in sight at {:.1F} nm", e.icao, e.distance);
        parking.airportLoadPending = true;
        lf_askForParkedTraffic();
    }
}

void lf_trackInForce() {
    if (user.userOnGround.load()) return;
    const double d = gf_distanceNm(lf_userPosition(), parking.parkPosition);
    if (lf_inLimits(d)) {
        const std::list<ParkAirportEntry>& list = airports.parkAirports;
        if (list.empty() || list.front().icao == parking.parkIcao) return;
        const ParkAirportEntry& e = list.front();
        if (e.distance > AIRPORT_RANGE.current || e.distance > d) return;
        gf_logf("\n{} {} is in sight ({:.1F} nm), parked aircraft at {} will be removed first", gf_timeOfDay(), e.icao,
                e.distance, lf_parkLabel());
    } else {
        gf_logf("\n{} {} is out of sight ({:.1F} nm), parked aircraft will be removed", gf_timeOfDay(), lf_parkLabel(),
                d);
    }
    lf_leaveParkAirport();
}
}  // namespace

std::string gf_airportLabel(const std::string& icao, const std::string& iata) {
    return iata.empty() ? icao : icao + "/" + iata;
}

void gf_trackParkAirport(bool firstCall) {
    // The last chosen position is made: the parking controls come back.
    if (run.parkingBusy.load() && parking.chosenPositions.empty()) gf_finishCalculation();
    if (parking.airportLoadPending) {
        gf_clearMessage();
        parking.airportLoadPending = false;
        lf_loadAndCalculate();
        return;
    }
    const LatLon position = lf_userPosition();
    if (!user.userOnGroundKnown.load() || gf_isNullBox(position)) return;
    if (position.lat != airports.lastTrackLat || position.lon != airports.lastTrackLon) gf_sortParkAirports(position);
    if (!parking.parkIcao.empty())
        lf_trackInForce();
    else
        lf_trackNone(firstCall);
}

bool gf_reReadParkAirports(bool force, std::string& text) {
    if (!gf_readParkAirports(force)) return false;
    const std::list<ParkAirportEntry>& list = airports.parkAirports;
    if (force && user.userOnGroundKnown.load() && !run.parkingBusy.load() && !list.empty() &&
        list.front().icao == parking.parkIcao && panel.userStandText.get().empty() && !list.front().stand.empty() &&
        list.front().stand != parking.reservedStand) {
        // The user has chosen another stand in the file.
        text = fmt::format("reserved stand changed from \"{}\" to \"{}\"", parking.reservedStand, list.front().stand);
        for (Stand& s : airports.stands) s.reserved = false;
        lf_reserveUserStand();
        gf_invalidate(Band::Static);
    }
    if (text.empty()) text = "park airports and stands are okay";
    return true;
}

double gf_nearestListedAirportNm(LatLon position) {
    double nearest = kNoListNm;
    for (const ParkAirportEntry& e : airports.parkAirports)
        nearest = std::min(nearest, gf_distanceNm(position, e.position));
    return nearest;
}
