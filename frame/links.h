// frame/links.h — what the program frame asks of the other subsystems during a run.
// The lifecycle and the schedule call only these; frame/links.cpp forwards each to its subsystem.
// A step whose subsystem has not come yet does nothing there: it never fakes an effect. What a test may
// watch or answer of these steps is in frame/links_seam.h, apart from the program's own interface.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <string>

#include "common/geo.h"

namespace links {

// Traffic records offered to the engine in this run (a restart counts again from 0).
extern std::atomic<int64_t> offeredRecords;
// The database and the fixes are read once per process; a test clears this to read them again.
extern bool databaseRead;

// --- simulator link ---
void startSimClient();  // stops and joins a previous SimClient first
void stopSimClient();   // request the stop; SimClient closes the connection itself
bool simClientRunning();
void requestUserOnGroundData();  // request 108 on definition 409: drives the tick
bool userOnGroundDelivered();    // the ground flag has come at least once
void requestUserSnapshot();      // new user snapshot, copied whole
void requestUserNames();         // title and model of the user aircraft
LatLon userPosition();           // from the last snapshot copy
bool userOnGround();
double userAltitudeFt();
double simTimeSeconds();  // the simulator's clock (zulu), epoch seconds; 0 unknown
void clearUserSnapshot();
void requestAircraftInRange(int32_t radiusMetres);  // request 101 on definition 404
void clearPendingUpdates();                         // the two lists of pending object updates, under the simulator lock
void resetSimlinkForRestart();

// --- traffic service ---
void computeQueryBox();  // from the readers' query position and the range
void setQueryPosition(LatLon p);
bool rtLogin();  // false: refused (the reason is on the message line); throws on errors
void rtLogout();
bool sessionExists();
void stopReaders();
void startWeatherReader();
void startTrafficReader();
// Waits until both reader threads have ended, at most `atMost`; true when they have.
bool waitForReaders(std::chrono::milliseconds atMost);
int32_t shownQnh();
int64_t lastSnapshotTime();  // epoch seconds of the last traffic snapshot; 0 none yet
void setTimeShiftMinutes(int32_t minutes);
void updateWeatherLamps();
void setAcceptTraffic(bool accept);  // under the traffic lock; a refusal empties what waits for the engine
void holdTrafficUntilLoop();         // start of a run: the history is kept until the loop accepts traffic
void fetchParkedTraffic();
void resetReaders();
void setAccountKey(const std::string& key);

// --- live traffic engine ---
void reserveTables();
void drainSimEvents();
void moveAircraft();
void removeNextObject();        // one entry of the removal queue
void removeAllQueuedObjects();  // the whole removal queue, at once
bool createNextLive();          // false when the live creation queue was empty
void createNextStatic();
void placeNextStatic();
void workTrafficBuffer();  // the batch of buffered records, paced
void queueReadyForCreation();
bool anyAircraftLanding();
void recountAircraft();  // for the status panel
void reviewCheckQueue();
void collisionChecks();
void removeBlockedCallsign(const std::string& callsign);
void applyMaxLive();            // MAX_LIVE changed: the farthest live aircraft go until the count fits
void removeParkedDuplicates();  // live aircraft on the ground replace parked ones of the same name
void removeAllLive();           // state 2 removed, state 1 dropped or marked to go
void clearEngineTables();
bool parkedTableEmpty();
void makeFlightPlanFolder();
void removeFlightPlanFolder();

// --- static parking and airports ---
void trackParkAirport(bool firstCall);
bool renewParking(bool ptSwitched);
void flushStatic();
void clearReservedStand();
std::string reReadParkAirports();  // the text to show
void readParkAirports();
bool atParkAirport();
double nearestListedAirportNm(LatLon user);  // 10000 when the list is empty
void leaveParkAirport();                     // save learned data if anything changed
void resetParkingForRestart();
void setParkingControls(bool enabled);

// --- liveries ---
void scanLiveries(bool scan);  // read or scan
void scanAirports();
void forgetNoMatchAircraft();
void logNoMatch();
void logMatchingSummary();
void clearHexidLiveries();
void clearNotCreatedNames();

// --- data at start ---
void readDatabaseOnce();  // database and fixes, once per process
void readAirportTable();
std::string publisherOf(const std::string& fileName);   // of an archive entry; "unknown" when none fits
std::string scrambleDateText(const std::string& text);  // the stored form of the date of the daily check
void dailyDataCheck();

}  // namespace links
