// How the frame reaches the other subsystems. Each call forwards to the subsystem that owns the work.
#include "frame/links.h"

#include "liveries/dbase.h"

namespace links {

// --- simulator link ---
void startSimClient() {}
void stopSimClient() {}
bool simClientRunning() { return false; }
void requestUserOnGroundData() {}
bool userOnGroundDelivered() { return false; }
void requestUserSnapshot() {}
void requestUserNames() {}
LatLon userPosition() { return {}; }
bool userOnGround() { return true; }
double userAltitudeFt() { return 0.0; }
double simTimeSeconds() { return 0.0; }
void clearUserSnapshot() {}
void requestAircraftInRange(int32_t) {}
void clearPendingUpdates() {}
void resetSimlinkForRestart() {}

// --- traffic service ---
void computeQueryBox() {}
void setQueryPosition(LatLon) {}
bool rtLogin() { return false; }
void rtLogout() {}
bool sessionExists() { return false; }
void stopReaders() {}
void startWeatherReader() {}
void startTrafficReader() {}
int32_t shownQnh() { return 0; }
int64_t lastSnapshotTime() { return 0; }
void setTimeShiftMinutes(int32_t) {}
void updateWeatherLamps() {}
void setAcceptTraffic(bool) {}
void fetchParkedTraffic() {}
void resetReaders() {}
void setAccountKey(const std::string&) {}

// --- live traffic engine: the tables are empty until the engine comes ---
void reserveTables() {}
void drainSimEvents() {}
void moveAircraft() {}
void removeNextObject() {}
void removeAllQueuedObjects() {}
bool createNextLive() { return false; }
void createNextStatic() {}
void placeNextStatic() {}
void workTrafficBuffer() {}
void queueReadyForCreation() {}
bool anyAircraftLanding() { return false; }
void recountAircraft() {}
void reviewCheckQueue() {}
void collisionChecks() {}
void removeBlockedCallsign(const std::string&) {}
void removeParkedDuplicates() {}
void removeAllLive() {}
void clearEngineTables() {}
bool parkedTableEmpty() { return true; }
void makeFlightPlanFolder() {}
void removeFlightPlanFolder() {}

// --- static parking and airports ---
void trackParkAirport(bool) {}
bool renewParking(bool) { return false; }
void flushStatic() {}
void clearReservedStand() {}
std::string reReadParkAirports() { return {}; }
void readParkAirports() {}
bool atParkAirport() { return false; }
double nearestListedAirportNm(LatLon) { return 10000.0; }
void leaveParkAirport() {}
void resetParkingForRestart() {}
void setParkingControls(bool) {}

// --- liveries ---
void scanLiveries(bool) {}
void scanAirports() {}
void forgetNoMatchAircraft() {}
void logNoMatch() {}
void logMatchingSummary() {}
void clearHexidLiveries() {}
void clearNotCreatedNames() {}

// --- data at start ---
void readDatabaseOnce() {}
void readAirportTable() {}
void dailyDataCheck() { readDatabaseOnce(); }

}  // namespace links
