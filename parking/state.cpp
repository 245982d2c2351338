#include "parking/state.h"

ParkingState parking;

void gf_resetParkingForRun() {
    parking.parkIcao.clear();
    parking.parkIata.clear();
    parking.parkPosition = {};
    parking.parkElevation = 0;
    parking.reservedStand.clear();
    parking.airportLoadPending = false;
    parking.learnAllowed = false;
}

void gf_resetParking() {
    gf_resetParkingForRun();
    parking.learnedPairs.clear();
}
