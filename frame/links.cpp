// How the frame reaches the other subsystems. Each call forwards to the subsystem that owns the work.
#include "frame/links.h"
#include "frame/links_seam.h"

#include <chrono>
#include <mutex>
#include <thread>
#include "frame/core/panel.h"

#include "airports/airport_table.h"
#include "common/clock.h"
#include "frame/mainloop.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "service/client.h"
#include "service/session.h"
#include "service/state.h"
#include "service/traffic.h"
#include "service/weather.h"
#include "simlink/queues.h"
#include "simlink/state.h"
#include "simlink/user.h"

namespace links {

Answers answers;
std::atomic<int64_t> offeredRecords{0};
bool databaseRead = false;

namespace {
std::vector<std::string>* g_trace = nullptr;
void lf_trace(const char* step) {
    if (g_trace) g_trace->emplace_back(step);
}
}  // namespace

void setTrace(std::vector<std::string>* trace) { g_trace = trace; }

// --- simulator link ---
void startSimClient() {
    lf_trace("startSimClient");
    gf_startSimClient();
}
void stopSimClient() {
    lf_trace("stopSimClient");
    gf_stopSimClient();
}
bool simClientRunning() {
    lf_trace("simClientRunning");
    return gf_simClientRunning();
}
void requestUserOnGroundData() {
    lf_trace("requestUserOnGroundData");
    gf_requestOnGroundEachSecond();
}
bool userOnGroundDelivered() {
    lf_trace("userOnGroundDelivered");
    return user.userOnGroundKnown.load();
}
void requestUserSnapshot() {
    lf_trace("requestUserSnapshot");
    UserSnapshot copy;
    gf_requestUserSnapshot(copy);
}
void requestUserNames() {
    lf_trace("requestUserNames");
    gf_requestUserNames();
}
LatLon userPosition() {
    lf_trace("userPosition");
    if (answers.userPosition) return *answers.userPosition;
    return {user.userSnapshot.latitude, user.userSnapshot.longitude};
}
bool userOnGround() {
    lf_trace("userOnGround");
    if (answers.userOnGround) return *answers.userOnGround;
    return user.userOnGround.load();
}
double userAltitudeFt() {
    lf_trace("userAltitudeFt");
    if (answers.userAltitudeFt) return *answers.userAltitudeFt;
    return user.userSnapshot.altitude;
}
double simTimeSeconds() {
    lf_trace("simTimeSeconds");
    if (answers.simTimeSeconds) return *answers.simTimeSeconds;
    return static_cast<double>(user.simEpoch.load());
}
void clearUserSnapshot() {
    lf_trace("clearUserSnapshot");
    user.userSnapshot = UserSnapshot{};
}
void requestAircraftInRange(int32_t radiusMetres) {
    lf_trace("requestAircraftInRange");
    gf_requestAircraftInRange(radiusMetres);
}
void clearPendingUpdates() {
    lf_trace("clearPendingUpdates");
    gf_clearOutboundPositions();
}
void resetSimlinkForRestart() {
    lf_trace("resetSimlinkForRestart");
    gf_resetSimlink();
}

// --- traffic service ---
void computeQueryBox() {
    lf_trace("computeQueryBox");
    lf_updateArea();
}
void setQueryPosition(LatLon p) {
    lf_trace("setQueryPosition");
    gf_setQueryPosition(p.lat, p.lon, user.userSnapshot.altitude);
}
bool rtLogin() {
    lf_trace("rtLogin");
    gf_rtLogin(weatherClient);  // a refusal throws: the run ends with "SYSTEM ERROR"
    return true;
}
void rtLogout() {
    lf_trace("rtLogout");
    gf_rtLogout();
}
bool sessionExists() {
    lf_trace("sessionExists");
    return panel.sessionUp.load() || !trafficReader.guid.empty();
}
void stopReaders() {
    lf_trace("stopReaders");
    weatherClient.stopRequested = true;
    trafficReader.stopRequested = true;
}
void startWeatherReader() {
    lf_trace("startWeatherReader");
    weatherClient.readerRunning = true;
    std::thread(gf_weatherReaderThread).detach();
}
void startTrafficReader() {
    lf_trace("startTrafficReader");
    trafficReader.readerRunning = true;
    std::thread(gf_trafficReaderThread).detach();
}
bool waitForReaders(std::chrono::milliseconds atMost) {
    using namespace std::chrono_literals;
    lf_trace("waitForReaders");
    const auto ended = [] { return !weatherClient.readerRunning.load() && !trafficReader.readerRunning.load(); };
    for (auto waited = 0ms; waited < atMost && !ended(); waited += 10ms) gf_sleepFor(10ms);
    return ended();
}
int32_t shownQnh() {
    lf_trace("shownQnh");
    return panel.qnhShown.load();
}
int64_t lastSnapshotTime() {
    lf_trace("lastSnapshotTime");
    return static_cast<int64_t>(trafficReader.lastTrafficTime.load());
}
void setTimeShiftMinutes(int32_t minutes) {
    lf_trace("setTimeShiftMinutes");
    trafficReader.toffset = minutes;
    weatherClient.toffset = minutes;
}
void updateWeatherLamps() {
    lf_trace("updateWeatherLamps");
    gf_weatherLamps();
    gf_trafficLamps();
}
void setAcceptTraffic(bool accept) {
    lf_trace("setAcceptTraffic");
    std::lock_guard lock(service.trafficLock);
    service.acceptTraffic = accept;
}
void fetchParkedTraffic() { lf_trace("fetchParkedTraffic"); }
void resetReaders() {
    lf_trace("resetReaders");
    gf_resetReaders();
}
void setAccountKey(const std::string& key) {
    lf_trace("setAccountKey");
    service.accountKey = key;
}

// --- live traffic engine: the tables are empty until the engine comes ---
void reserveTables() {
    lf_trace("reserveTables");
    // Traffic records are due in slices of the engine.
    service.sliceNow = [] { return static_cast<int32_t>(loop.slice.load()); };
}
void drainSimEvents() {
    lf_trace("drainSimEvents");
    // No aircraft of ours is in the simulator yet: the reports have no one to go to.
    gf_drainSimEvents([](const SimEvent&) {});
}
void moveAircraft() { lf_trace("moveAircraft"); }
void removeNextObject() { lf_trace("removeNextObject"); }
void removeAllQueuedObjects() { lf_trace("removeAllQueuedObjects"); }
bool createNextLive() {
    lf_trace("createNextLive");
    return false;
}
void createNextStatic() { lf_trace("createNextStatic"); }
void placeNextStatic() { lf_trace("placeNextStatic"); }
void workTrafficBuffer() {
    lf_trace("workTrafficBuffer");
    // The records of each snapshot are offered at the start of the next slice. Until the engine admits
    // aircraft they are counted and let go, so that a long run does not hoard them.
    offeredRecords += static_cast<int64_t>(gf_drainLiveQueue());
    service.offered.clear();
    std::lock_guard lock(service.trafficLock);
    offeredRecords += static_cast<int64_t>(service.initialLoad.size());
    service.initialLoad.clear();
}
void queueReadyForCreation() { lf_trace("queueReadyForCreation"); }
bool anyAircraftLanding() {
    lf_trace("anyAircraftLanding");
    return false;
}
void recountAircraft() { lf_trace("recountAircraft"); }
void reviewCheckQueue() { lf_trace("reviewCheckQueue"); }
void collisionChecks() { lf_trace("collisionChecks"); }
void removeBlockedCallsign(const std::string&) { lf_trace("removeBlockedCallsign"); }
void removeParkedDuplicates() { lf_trace("removeParkedDuplicates"); }
void removeAllLive() { lf_trace("removeAllLive"); }
void clearEngineTables() { lf_trace("clearEngineTables"); }
bool parkedTableEmpty() {
    lf_trace("parkedTableEmpty");
    return answers.parkedTableEmpty.value_or(true);
}
void makeFlightPlanFolder() { lf_trace("makeFlightPlanFolder"); }
void removeFlightPlanFolder() { lf_trace("removeFlightPlanFolder"); }

// --- static parking and airports ---
void trackParkAirport(bool) { lf_trace("trackParkAirport"); }
bool renewParking(bool) {
    lf_trace("renewParking");
    return answers.renewParking.value_or(false);
}
void flushStatic() { lf_trace("flushStatic"); }
void clearReservedStand() { lf_trace("clearReservedStand"); }
std::string reReadParkAirports() {
    lf_trace("reReadParkAirports");
    return {};
}
void readParkAirports() { lf_trace("readParkAirports"); }
bool atParkAirport() {
    lf_trace("atParkAirport");
    return panel.atParkAirport.load();
}
double nearestListedAirportNm(LatLon) {
    lf_trace("nearestListedAirportNm");
    return answers.nearestListedAirportNm.value_or(10000.0);
}
void leaveParkAirport() { lf_trace("leaveParkAirport"); }
void resetParkingForRestart() { lf_trace("resetParkingForRestart"); }
void setParkingControls(bool) { lf_trace("setParkingControls"); }

// --- liveries ---
void scanLiveries(bool) { lf_trace("scanLiveries"); }
void scanAirports() { lf_trace("scanAirports"); }
void forgetNoMatchAircraft() { lf_trace("forgetNoMatchAircraft"); }
void logNoMatch() { lf_trace("logNoMatch"); }
void logMatchingSummary() { lf_trace("logMatchingSummary"); }
void clearHexidLiveries() { lf_trace("clearHexidLiveries"); }
void clearNotCreatedNames() { lf_trace("clearNotCreatedNames"); }

// --- data at start ---
void readDatabaseOnce() {
    lf_trace("readDatabaseOnce");
    // A restart keeps the database and the fixes of the first run of the process.
    if (databaseRead) return;
    gf_readDbase();
    gf_readFixes();
    databaseRead = true;
}
void readAirportTable() {
    lf_trace("readAirportTable");
    gf_readAirports();
}
void dailyDataCheck() {
    lf_trace("dailyDataCheck");
    readDatabaseOnce();
}

}  // namespace links
