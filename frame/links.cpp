// How the frame reaches the other subsystems. Each call forwards to the subsystem that owns the work.
#include "frame/links.h"
#include "airports/state.h"
#include "frame/frame.h"
#include "frame/links_seam.h"
#include "liveries/state.h"
#include "parking/learning.h"
#include "parking/state.h"
#include "parking/tracking.h"

#include <chrono>
#include <mutex>
#include <thread>

#include "airports/addon_scan.h"
#include "airports/airport_table.h"
#include "airports/park_list.h"
#include "common/clock.h"
#include "engine/admission.h"
#include "engine/collision.h"
#include "engine/creation.h"
#include "engine/events.h"
#include "engine/flightplans.h"
#include "engine/intake.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/mainloop.h"
#include "frame/update.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "liveries/liveries_file.h"
#include "liveries/matching.h"
#include "liveries/scramble.h"
#include "parking/calculation.h"
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
    // The user stand check on SimClient writes the park list's head itself; set before its thread starts.
    user.writeParkListHead = &gf_writeUserParkListHead;
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
    gf_setAcceptTraffic(accept);
}
void holdTrafficUntilLoop() {
    lf_trace("holdTrafficUntilLoop");
    gf_holdTrafficUntilLoop();
}
// Phase one of the parking update only arms it: the calculation of phase two asks the service itself,
// so that what it places is what the service says at that moment.
void fetchParkedTraffic() { lf_trace("fetchParkedTraffic"); }
void resetReaders() {
    lf_trace("resetReaders");
    gf_resetReaders();
}
void setAccountKey(const std::string& key) {
    lf_trace("setAccountKey");
    service.accountKey = key;
}

// --- live traffic engine ---
void reserveTables() {
    lf_trace("reserveTables");
    gf_reserveEngineTables();
    // Traffic records are due in slices of the engine.
    service.sliceNow = [] { return static_cast<int32_t>(loop.slice.load()); };
}
void drainSimEvents() {
    lf_trace("drainSimEvents");
    // The first step of each slice: every engine step of this slice sees the same S.
    engine.slice = static_cast<int32_t>(loop.slice.load());
    gf_drainEngineEvents();
}
void moveAircraft() {
    lf_trace("moveAircraft");
    gf_moveAircraft();
}
void removeNextObject() {
    lf_trace("removeNextObject");
    gf_removeNextObject();
}
void removeAllQueuedObjects() {
    lf_trace("removeAllQueuedObjects");
    gf_removeAllQueuedObjects();
}
bool createNextLive() {
    lf_trace("createNextLive");
    return gf_createNextLive();
}
void createNextStatic() {
    lf_trace("createNextStatic");
    gf_createNextStatic();
}
void placeNextStatic() {
    lf_trace("placeNextStatic");
    // A parked aircraft waits for every queued creation, live or static.
    if (engine.liveCreationQueue.empty() && engine.staticCreationQueue.empty()) gf_placeNextStatic();
}
void workTrafficBuffer() {
    lf_trace("workTrafficBuffer");
    offeredRecords += static_cast<int64_t>(gf_workTrafficBuffer());
}
void queueReadyForCreation() {
    lf_trace("queueReadyForCreation");
    gf_queueReadyForCreation();
}
bool anyAircraftLanding() {
    lf_trace("anyAircraftLanding");
    return gf_anyAircraftLanding();
}
void recountAircraft() {
    lf_trace("recountAircraft");
    const AircraftCounts counts = gf_countAircraft();
    const bool changed = panel.liveShown.exchange(counts.liveMoving) != counts.liveMoving ||
                         panel.parkedLiveCount.exchange(counts.liveAtStand) != counts.liveAtStand ||
                         panel.parkedStaticCount.exchange(counts.parkedLive) != counts.parkedLive;
    if (changed) gf_invalidate(Band::Status);
}
void reviewCheckQueue() {
    lf_trace("reviewCheckQueue");
    if (engine.checkQueue.empty() || engine.active.empty()) return;
    // An aircraft not in the table yet keeps its entry for the next tick.
    Act* act = gf_findActByHexid(engine.checkQueue.front());
    if (!act) return;
    gf_reviewAgainstParked(*act);
    engine.checkQueue.pop_front();
}
void collisionChecks() {
    lf_trace("collisionChecks");
    gf_collisionChecks();
}
void applyMaxLive() {
    lf_trace("applyMaxLive");
    gf_applyMaxLive();
}

void removeBlockedCallsign(const std::string& callsign) {
    lf_trace("removeBlockedCallsign");
    for (Act& act : engine.active) {
        if (act.callsign == callsign && act.state == ActState::Live) {
            gf_removeAct(act);
            return;
        }
    }
}
void removeParkedDuplicates() {
    lf_trace("removeParkedDuplicates");
    for (const Act& act : engine.active)
        if (act.onGround && act.state == ActState::Live) gf_parkedWithSameCallsign(act);
}
void removeAllLive() {
    lf_trace("removeAllLive");
    // A time shift asks from the window thread while the engine walks its tables: the engine does it
    // at its next slice. After the loop (the end of a run) it is done here.
    if (loop.inMainLoop.load())
        engine.removeAllRequested = true;
    else
        gf_removeAllLive();
}
void clearEngineTables() {
    lf_trace("clearEngineTables");
    gf_clearEngineTables();
    gf_setAcceptTraffic(false);
}
bool parkedTableEmpty() {
    lf_trace("parkedTableEmpty");
    if (answers.parkedTableEmpty) return *answers.parkedTableEmpty;
    return engine.parked.empty();
}
void makeFlightPlanFolder() {
    lf_trace("makeFlightPlanFolder");
    gf_makeFlightPlanFolder();
}
void removeFlightPlanFolder() {
    lf_trace("removeFlightPlanFolder");
    gf_removeFlightPlanFolder();
}

// --- static parking and airports ---
void trackParkAirport(bool firstCall) {
    lf_trace("trackParkAirport");
    gf_trackParkAirport(firstCall);
}
bool renewParking(bool ptSwitched) {
    lf_trace("renewParking");
    if (answers.renewParking) return *answers.renewParking;
    return gf_renewParking(ptSwitched);
}
void flushStatic() {
    lf_trace("flushStatic");
    gf_flushStatic();
}
void clearReservedStand() {
    lf_trace("clearReservedStand");
    gf_clearReservedStand();
}
std::string reReadParkAirports() {
    lf_trace("reReadParkAirports");
    std::string text;
    gf_reReadParkAirports(true, text);
    return text;
}
void readParkAirports() {
    lf_trace("readParkAirports");
    gf_readParkAirports(false);
}
bool atParkAirport() {
    lf_trace("atParkAirport");
    return panel.atParkAirport.load();
}
double nearestListedAirportNm(LatLon user) {
    lf_trace("nearestListedAirportNm");
    if (answers.nearestListedAirportNm) return *answers.nearestListedAirportNm;
    return gf_nearestListedAirportNm(user);
}
void leaveParkAirport() {
    lf_trace("leaveParkAirport");
    gf_saveIfChanged();
}
void resetParkingForRestart() {
    lf_trace("resetParkingForRestart");
    // The save ran at the end of the last run; the next run finds its park airport afresh.
    gf_resetParkingForRun();
    gf_clearParkingLists();
    gf_resetAirports();
    gf_clearParkAirport();
}
void setParkingControls(bool enabled) {
    lf_trace("setParkingControls");
    gf_setParkingBusy(!enabled);
}

// --- liveries ---
// A scan that ran to its end is not asked for again; one the user stopped stays ticked for the next start.
void scanLiveries(bool scan) {
    lf_trace("scanLiveries");
    std::vector<std::string> folders;
    if (scan) {
        const bool manual = !LIG_AUTOMATIC.current;
        gf_showMessage(
            LIG_PRIORITIZE.current && manual ? "Scanning prioritized for liveries ..." : "Scanning for liveries ...",
            true);
        gf_logLine(fmt::format("\n++++++++++++++++++++++++ liveries scan {} starts ++++++++++++++++++++++++++++++++",
                               manual ? "manual" : "automatic"));
        if (manual) {
            for (const ParString& f : lfolder)
                if (!f.current.empty()) folders.push_back(f.current);
            if (folders.empty())
                throw zel::UserErrorException(
                    48,
                    "Set lfolder parameter(-s) to your liveries first, see Manual 5.1 (or check Liveries automatic)");
        }
    } else {
        gf_logLine("\n++++++++++++++++++++++++ liveries scan starts ++++++++++++++++++++++++++++++++");
    }
    gf_getLiveries(scan, LIG_AUTOMATIC.current, LIG_PRIORITIZE.current, folders);
    if (scan && !gf_exitFlagSet()) {
        SCAN_LIVERIES.current = false;
        gf_saveParameter(SCAN_LIVERIES);
        gf_setControlChecked(SCAN_LIVERIES.controlId, false);
    }
    gf_logLine("-------------------------- liveries scan ends   --------------------------------\n");
}
// The add-on airport scan at the start of a run: its banners, the folders of a manual scan, and the request
// switched off behind a scan that found something.
void scanAirports() {
    lf_trace("scanAirports");
    const bool automatic = AFG_AUTOMATIC.current;
    gf_showMessage("Scanning for addon airports ...", false);
    gf_logLine(fmt::format("\n++++++++++++++++++++++++ airports scan {} starts +++++++++++++++++++++++++++++",
                           automatic ? "automatic" : "manual"));
    std::vector<std::string> folders;
    if (!automatic) {
        const std::string stock = runPaths.stockAirports.string();
        for (const ParString& f : afolder) {
            if (f.current.empty()) continue;
            if (!stock.empty() && f.current.find(stock) != std::string::npos)
                throw zel::UserErrorException(
                    42, fmt::format("parameter {} points to stock airports instead of add-on airports!", f.name));
            folders.push_back(f.current);
        }
        if (folders.empty())
            throw zel::UserErrorException(49,
                                          "Set afolder parameter(-s) to your add-on airports first, see Manual 6.1");
    }
    // The results of an earlier scan go: an add-on removed since must not keep its file.
    for (const std::filesystem::path& folder : {folders::myOrbx, folders::myThirdparty}) {
        gf_makeFolder(folder);
        for (const std::filesystem::directory_entry& e : std::filesystem::directory_iterator(folder))
            if (e.is_regular_file()) std::filesystem::remove(e.path());
    }
    if (gf_scanAddonAirports(automatic, folders)) {
        SCAN_AIRPORTS.current = false;
        gf_saveParameter(SCAN_AIRPORTS);
        gf_setControlChecked(SCAN_AIRPORTS.controlId, false);
    } else {
        gf_showMessage("Warning: Scan has not found any add-on airports", true);
    }
    gf_logLine("-------------------------- airports scan ends    ----------------------------\n");
}
void forgetNoMatchAircraft() {
    lf_trace("forgetNoMatchAircraft");
    gf_clearNoMatch();
}
void logNoMatch() {
    lf_trace("logNoMatch");
    gf_logNoMatch();
}
void logMatchingSummary() {
    lf_trace("logMatchingSummary");
    gf_matchingSummary();
}
void clearHexidLiveries() {
    lf_trace("clearHexidLiveries");
    gf_clearHexidLiveries();
}
void clearNotCreatedNames() {
    lf_trace("clearNotCreatedNames");
    gf_clearUnmakeableAircraft();
}

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
    gf_dailyDataCheck();
}
std::string publisherOf(const std::string& fileName) { return gf_publisherFromFileName(fileName); }
std::string scrambleDateText(const std::string& text) { return gf_encodeRegcode(text); }

}  // namespace links

void gf_resetProgram() {
    gf_resetFrame();
    gf_resetService();
    gf_resetSimlink();
    gf_resetEngine();
    gf_resetParking();
    gf_resetAirports();
    gf_resetLiveries();
}
