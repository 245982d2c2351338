#include "parking/state.h"

ParkingState parking;

void gf_clearParkingLists() {
    parking.chosenPositions.clear();
    parking.stayers.clear();
    parking.keepers.clear();
    parking.toRemove.clear();
}

void gf_resetParking() {
    gf_clearParkingLists();
    parking.chosenPositions.reserve(kChosenReserve);
    parking.stayers.reserve(kStayerReserve);
    parking.keepers.reserve(kKeeperReserve);
    parking.toRemove.reserve(kRemoveReserve);
    parking.reservedStand.clear();
    parking.parkPosition = {};
    parking.parkElevation = 0.0;
    parking.seenCallsigns.clear();
    parking.seenHexids.clear();
    parking.wanted = 0;
    parking.serial = 0;
    parking.fitReal = 0;
    parking.fitSoft = -1;
    parking.calcTime = 0;
}
