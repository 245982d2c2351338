#include "parking/state.h"

ParkingState parking;

void gf_clearParkingLists() {
    parking.chosenPositions.clear();
    parking.stayers.clear();
    parking.keepers.clear();
    parking.toRemove.clear();
}

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
    gf_clearParkingLists();
    parking.chosenPositions.reserve(kChosenReserve);
    parking.stayers.reserve(kStayerReserve);
    parking.keepers.reserve(kKeeperReserve);
    parking.toRemove.reserve(kRemoveReserve);
    parking.seenCallsigns.clear();
    parking.seenHexids.clear();
    parking.wanted = 0;
    parking.serial = 0;
    parking.fitReal = 0;
    parking.fitSoft = -1;
    parking.calcTime = 0;
    parking.learnedPairs.clear();
}
