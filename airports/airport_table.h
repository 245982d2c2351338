// airports/airport_table.h — the world airport table (input/airports_p3d.xml): what is known of an
// airport by its ICAO code, and which airport lies under a position. Read once per process on the
// start-up thread; read-only afterwards, so it needs no lock. A restart keeps it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/geo.h"

// One row of the table.
struct Airport {
    std::string code;  // ICAO code
    std::string iata;  // IATA code, may be empty
    double lat = 0.0;  // degrees
    double lon = 0.0;  // degrees
    double alt = 0.0;  // feet; holds the float read from the file
};

inline constexpr size_t kAirportTableReserve = 44000;  // rows reserved before the read
inline constexpr double kClosestAirportNm = 5.0;       // an airport further away is not under the position
inline constexpr double kNoStandNm = 100.0;            // distance of an airport without a file or stands

struct AirportTable {
    std::vector<Airport> rows;  // sorted by code in byte order
    bool read = false;          // the read-once flag
};
extern AirportTable airportTable;  // defined in airports/airport_table.cpp
// Empties the table and clears the read-once flag; tests call it, a restart does not.
void gf_clearAirportTable();

// Reads the table at its first call; later calls read nothing. True when the table has rows.
// Failures raise UserErrorException 87 (XPath) or 88 (anything else, e.g. "invalid stod argument").
bool gf_readAirports();
std::optional<Airport> gf_findAirport(const std::string& code);
// The airport within 5 nm of the position; of two close neighbours the one with the nearer stand.
std::optional<Airport> gf_closestAirport(LatLon position);
