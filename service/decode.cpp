// The live line decoder: one JSON array of the service becomes one TrafficRecord, or nothing.
// Cheap tests on strings and range come first; an ordinary drop allocates nothing and logs nothing.
#include <charconv>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

#include "common/geo.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "service/client.h"
#include "service/state.h"
#include "simlink/queues.h"

namespace {
using json = nlohmann::json;

constexpr uint32_t kLowestLiveHexid = 10000;  // hexids up to 0x2710 are the serials of parked aircraft
constexpr size_t kMaxRegLength = 12;
constexpr double kGroundFilterNm = 5.0;           // a ground line farther from the park airport is dropped
constexpr double kGroundTestCeilingFt = 14000.0;  // above it nobody is taken for standing on the ground
constexpr double kNoElevationAglFt = 1000.0;      // agl offset when the park airport's elevation is unknown
constexpr double kSlowIsGroundKt = 35.0;          // at or below this ground speed every altitude is the ground
constexpr double kFeetPerHpa = 30.0;

const json kAbsent;  // what an index beyond the end of a line reads

// A short line reads as if padded with nulls.
const json& lf_field(const json& line, size_t index) {
    if (!line.is_array() || index >= line.size()) return kAbsent;
    return line[index];
}
double lf_floatOnly(const json& v) { return v.is_number_float() ? v.get<double>() : 0.0; }
double lf_number(const json& v, double fallback = 0.0) { return v.is_number() ? v.get<double>() : fallback; }
std::string_view lf_text(const json& v) {
    return v.is_string() ? std::string_view(v.get_ref<const std::string&>()) : std::string_view();
}
void lf_assignUnlessNull(std::string& out, std::string_view text) {
    if (text == "null") text = {};
    out.assign(text);
}

bool lf_unwantedKind(std::string_view category, const std::string& model) {
    if (category.empty()) return false;
    if (category == "B1" || category == "B2" || category == "B4" || category == "C1" || category == "C2") return true;
    if (model.empty() || model.size() > 4) return false;
    return model == "GRND" || model == "GLID" || model == "SERV" || model == "BALL" || model == "PARA" ||
           model == "SHIP";
}

// Default airspeed by altitude when the service sends none, knots.
double lf_defaultAirspeed(double altitudeFt) {
    if (altitudeFt <= 2000.0) return 180.0;
    if (altitudeFt <= 5000.0) return 220.0;
    if (altitudeFt <= 10000.0) return 250.0;
    if (altitudeFt <= 20000.0) return 350.0;
    return 430.0;
}

// Pressure altitude to altitude at the current QNH; 0 when the aircraft is taken to be on the ground.
double lf_altitude(const json& line, double groundSpeed) {
    const json& baro = lf_field(line, 4);
    double alt = baro.is_number() ? baro.get<double>() : lf_number(lf_field(line, 18));
    if (alt <= 0.0) return 0.0;
    alt = std::max(0.0, alt + (service.qnh.load() - 1013) * kFeetPerHpa);
    if (alt > 0.0 && alt < kGroundTestCeilingFt) {
        const double elevation = service.parkAirportElevation.load();
        const double agl = std::isnan(elevation) ? alt + kNoElevationAglFt : alt - elevation;
        if (agl <= 0.0 || (agl <= 45.0 && groundSpeed <= 120.0) || (agl <= 90.0 && groundSpeed <= 80.0) ||
            (agl <= 120.0 && groundSpeed <= 43.0))
            alt = 0.0;
    }
    if (groundSpeed <= kSlowIsGroundKt) alt = 0.0;
    return alt;
}
}  // namespace

void TrafficReader::processLiveLine() {
    TrafficRecord& r = scratch;
    r.timestamp = lf_floatOnly(lf_field(line, 10));
    lastTrafficTime = r.timestamp;  // also a dropped line tells that traffic flows
    if (!line.is_array()) return;   // names no aircraft

    const std::string_view reg = lf_text(lf_field(line, 9));
    if (reg.size() > kMaxRegLength || reg == "null")
        r.reg.clear();
    else
        r.reg.assign(reg);
    if (r.reg.empty() && lf_text(lf_field(line, 7)) == "F") return;

    r.airline.clear();
    r.model.clear();
    const std::string_view model = lf_text(lf_field(line, 8));
    if (model != "0" && model != "ZZZZ") r.model.assign(model);
    if (lf_unwantedKind(lf_text(lf_field(line, 28)), r.model)) return;

    r.latitude = lf_floatOnly(lf_field(line, 1));
    r.longitude = lf_floatOnly(lf_field(line, 2));
    if (r.latitude < -90.0 || r.latitude > 90.0 || r.longitude < -180.0 || r.longitude > 180.0 ||
        gf_isNullBox(r.latitude, r.longitude))
        throw zel::SysErrorException(744, fmt::format("lalo:{:.6f} {:.6f}", r.latitude, r.longitude));
    const LatLon position{r.latitude, r.longitude};
    if (gf_distanceNm({userLatitude.load(), userLongitude.load()}, position) > parDerived.rangeNm.load()) return;

    r.trueHeading.reset();
    r.hasHeading = false;
    if (lf_text(lf_field(line, 17)) == "adsb_icao") {
        const double heading = lf_number(lf_field(line, 25));
        if (heading == 0.0) {
            r.trueHeading = kTwoPi;
        } else if (heading > 360.0) {
            throw zel::SysErrorException(746, fmt::format("true heading:{:.2F}", heading));
        } else if (heading > 0.0) {
            r.trueHeading = heading * kDegToRad;
        }
        r.hasHeading = r.trueHeading.has_value();
    }

    const std::string_view hexText = lf_text(lf_field(line, 0));
    uint32_t hexid = 0;
    std::from_chars(hexText.data(), hexText.data() + hexText.size(), hexid, 16);  // digits up to the first other
    if (hexid <= kLowestLiveHexid) return;
    r.hexid = hexid;

    r.groundSpeed = lf_number(lf_field(line, 5));

    const std::string_view callsign = lf_text(lf_field(line, 13));
    if (callsign == "null" || callsign.find('@') != std::string_view::npos) {
        r.callsign.clear();
    } else {
        if (callsign.starts_with("TOW ") || callsign == "ERARMTR0") return;
        const std::string& blocked = BLOCK_CALLSIGN.current;
        if (!blocked.empty() && callsign == blocked) {
            if (notBlocked) {
                notBlocked = false;
                blockedCallsign = blocked;
                gf_pushSimEvent({0, r.hexid, 0, kSimBlocked, 0.0, 0.0});
                gf_logf("Reader: Live aircraft {} blocked", callsign);
            } else if (blockedCallsign != blocked) {
                gf_logf("Reader: Live aircraft {} no longer blocked", blockedCallsign);
                notBlocked = true;
                blockedCallsign.clear();
            }
            return;
        }
        r.callsign.assign(callsign);
    }
    if (r.reg.empty() && r.callsign.empty()) return;

    r.altitude = lf_altitude(line, r.groundSpeed);
    r.airborne = r.altitude > 0.0;

    if (collectSeen.load()) {
        std::lock_guard lock(seenLock);
        if (!r.callsign.empty()) seenCallsigns.insert(r.callsign);
        seenHexids.insert(r.hexid);
    }

    if (!r.airborne) {
        if (!service.parkAirportSet.load()) return;
        const LatLon park{service.parkLatitude.load(), service.parkLongitude.load()};
        if (gf_distanceNm(park, position) > kGroundFilterNm) return;
    }

    r.track = lf_number(lf_field(line, 3));
    if (r.track == 0.0 && r.hasHeading) r.track = *r.trueHeading * kRadToDeg;
    r.verticalSpeed = lf_number(lf_field(line, 15));
    lf_assignUnlessNull(r.from, lf_text(lf_field(line, 11)));
    lf_assignUnlessNull(r.to, lf_text(lf_field(line, 12)));

    r.bank.reset();
    if (r.airborne) {
        const double roll = lf_number(lf_field(line, 23));
        if (roll != 0.0 && roll != -1.0) r.bank = -roll * kDegToRad;
    }
    r.airspeed = lf_number(lf_field(line, 20), -1.0);
    if (r.airspeed == -1.0) r.airspeed = lf_defaultAirspeed(r.altitude);

    r.stopped = false;
    batch.push_back(r);
}
