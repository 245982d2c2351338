// parking/tracking.h — which airport is the park airport as the user flies: the airport under him on the
// ground, in the air the nearest of his park airports within AIRPORT_RANGE nm while he is no higher than
// AIRPORT_HEIGHT ft above the ground. At a change the parked and standing aircraft go, what was learned
// is saved, the airport's own limits are lifted and the next airport's file is read. Engine thread.
#pragma once

#include <string>

#include "common/geo.h"

// Every 16 ticks, and once with firstCall at the end of the start of a run (a user on the ground at an
// airport with a file then gets its first calculation in the same call).
void gf_trackParkAirport(bool firstCall);
// The park list read again on the user's request; `text` is what to show (a changed reserved stand or
// "park airports and stands are okay"). False when the list has a fault the user must mend.
bool gf_reReadParkAirports(bool force, std::string& text);
// Distance in nm from the position to the nearest airport of the park list; 10000 when it is empty.
double gf_nearestListedAirportNm(LatLon position);
// "LSZH/ZRH", or the ICAO code alone for an airport without an IATA code.
std::string gf_airportLabel(const std::string& icao, const std::string& iata);
