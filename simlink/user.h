// simlink/user.h — the user aircraft as the simulator reports it: where it is, how large it is, whether it
// stands on the ground and on which stand.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/geo.h"
#include "liveries/dbase.h"

// One block of definition 403, twelve 8-byte fields in the simulator's order; copied whole.
struct UserSnapshot {
    double latitude = 0.0;  // degrees
    double longitude = 0.0;
    double pitch = 0.0;  // radians
    double bank = 0.0;
    double heading = 0.0;         // radians, true
    double altitude = 0.0;        // feet, never below 0
    double agl = 0.0;             // feet above ground
    double groundVelocity = 0.0;  // knots
    int64_t zuluTime = 0;         // seconds of the simulated UTC day
    int64_t zuluDay = 0;          // day of the year, from 1
    int64_t zuluYear = 0;
    int64_t lightStates = 0;  // mask
};
static_assert(sizeof(UserSnapshot) == 96, "the block of definition 403");

// A stand of the park airport as the user aircraft check sees it. Filled by the airport data.
struct UserStandSpot {
    std::string name;
    LatLon position;  // degrees
};

// Written by SimClient unless a field says otherwise.
struct UserAircraft {
    UserSnapshot simSnapshot;                    // the last block received; written and copied under the simulator lock
    UserSnapshot userSnapshot;                   // engine thread: its copy, taken by gf_requestUserSnapshot
    std::string userTitle;                       // at most 48 characters
    std::atomic<bool> userOnGround{false};       // from request 108
    std::atomic<bool> userOnGroundKnown{false};  // request 108 delivered with a real position
    double lastUserLatitude = 0.0;               // position of the previous snapshot; null box: none yet
    double lastUserLongitude = 0.0;
    std::string userStand;               // stand at the user's position, empty if none
    std::optional<double> userHalfSpan;  // nm; empty until the model is known
    ModelCategory userCategory = ModelCategory::Light;
    std::string userModel;             // the model as taken from "ATC MODEL"
    std::atomic<int64_t> simEpoch{0};  // simulated UTC, seconds since 1970

    // The stands of the park airport (empty until the airport data fill them), and the park list's head:
    // its airport and its stored stand. The park list keeps the real ones; these are what the check uses.
    // The engine thread sets them while SimClient reads them: parkLock guards them and the stand cache.
    std::mutex parkLock;
    std::vector<UserStandSpot> parkStands;
    std::string loadedParkAirport;  // ICAO of the park airport whose stands these are
    std::string parkListHeadIcao;   // first entry of the user's park list; empty: the list is empty
    std::string parkListHeadStand;  // its stored stand
    // Writes the park list's head after its stand changed; set by the park list, none in tests.
    void (*writeParkListHead)() = nullptr;

    // Cache of gf_standAtPosition.
    bool standCacheValid = false;
    LatLon standCachePosition;
    std::string standCacheResult;
};
extern UserAircraft user;  // defined in simlink/state.cpp

// The engine thread hands over the park airport's stands (empty: none loaded) and the park list's head.
void gf_setUserParkStands(std::vector<UserStandSpot> stands, const std::string& icao);
void gf_setUserParkListHead(const std::string& icao, const std::string& stand);
// The park list's head as the user stand check keeps it: its airport and stand.
std::pair<std::string, std::string> gf_userParkListHead();
// Name of the stand of the park airport within 55 m of `position`; empty when none, when the list is
// empty or the user is not on the ground. The last answer is cached for an identical position.
std::string gf_standAtPosition(LatLon position);
// The user stand check: a user standing still on a stand of the park list's head airport has that stand
// stored in the list. SimClient, at a new flight and when the thread ends.
void gf_checkUserStand();
// Seconds since 1970 of a simulated UTC given as year, day of the year (from 1) and seconds of the day.
int64_t gf_simEpochSeconds(int64_t year, int64_t dayOfYear, int64_t secondsOfDay);
