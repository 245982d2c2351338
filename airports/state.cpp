#include "airports/state.h"

AirportsState airports;

void gf_resetAirports() {
    airports.stands.clear();  // the capacity stays for the next airport
    airports.parkIcao.clear();
    airports.airportName.clear();
    airports.publisher.clear();
    airports.altitude = 0;
    airports.parkAirportElevation = 0.0;
    airports.trafficWeek = 0;
    airports.handmade = false;
    airports.learnedPath.clear();
    airports.parkAirports.clear();
    airports.lastTrackLat = 0.0;
    airports.lastTrackLon = 0.0;
}
