// airports/closest_stand.h — the nearest stand of an airport's file, for telling close neighbours apart.
#pragma once

#include <filesystem>
#include <string>

#include "common/geo.h"

// Distance in nm from position to the nearest parkpos of the airport's file, its id in nameOut. Reads
// only id, latitude and longitude. No file, a file that does not load, or no parkpositions: 100.0
// and nameOut untouched. Touches no global state: safe on any thread.
double gf_readDestApfForClosestStand(const std::string& icao, LatLon position, std::string& nameOut);
