// service/parked.h — the service's list of aircraft parked around the park airport now: one query on the
// caller's thread (the engine's) with the Traffic Reader's session but a handle, an answer and a box of
// its own, decoded, cleaned and sorted into trafficReader.parkedTraffic, youngest first.
#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

#include "service/client.h"

constexpr double kParkBoxHalfHeightDeg = 0.04996402877697842;  // 3 nm of latitude
constexpr double kParkBoxHalfWidthFt = 18228.34647;            // 3 nm east and west

// True when parkedTraffic holds the current list (it may be empty); false after a failure, logged.
// Expects a park airport (service.parkLatitude, parkLongitude). Throws zel::SysErrorException 400 for a
// parameter fault and 744 for a position out of range.
bool gf_fetchParkedTraffic();
// The exchange; false with `code` set from the answer's status on failure (100 without a numeric one).
bool lf_queryParkedTraffic(TrafficReader& reader, int32_t& code);
// One parked line under its hexid key into parkedTraffic, or dropped in silence.
void processLine(TrafficReader& reader, const std::string& key, const nlohmann::json& value);
// The ages turned from half hours of the day into half hours ago at half hour `now`, the stale ones
// dropped (unless RT_PARKTRAFFIC_ONLY), the youngest first, one record per stand and per callsign.
void lf_cleanParkedTraffic(TrafficReader& reader, int32_t now);
