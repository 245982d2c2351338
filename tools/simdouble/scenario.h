// tools/simdouble/scenario.h — what the simulator double plays: its name and version, the user aircraft
// and its motion, the AI rules, the forms of the messages where real simulators differ, and a script of
// timed happenings. Read from a JSON file; every key is optional.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace simdouble {

struct Waypoint {
    double latitude = 0;  // degrees
    double longitude = 0;
    double altitude = 0;  // feet
};

struct UserAircraftSetup {
    std::string title = "Lockheed Martin C-130";
    std::string atcModel = "C130";
    std::string atcId = "N130LM";
    double latitude = 47.4647;  // degrees; default: a stand at Zurich
    double longitude = 8.5492;
    double altitude = 1416;                   // feet
    double pitch = 0, bank = 0, heading = 0;  // degrees in the file, radians in memory
    bool onGround = true;
    int64_t lightStates = 0;
    std::string motion = "stand";  // "stand", "taxi" (straight on, heading), "path" (flies the waypoints)
    double speed = 0;              // knots, for "taxi" and "path"
    std::vector<Waypoint> path;
};

struct ScriptAction {
    int64_t atMs = 0;  // simulator time since start
    // "pause", "unpause", "simStop", "simStart", "quit", "flightLoaded", "positionChanged", "teleport",
    // "freeze", "unfreeze", "close", "drop", "motion"
    std::string action;
    std::string text;                                  // flightLoaded: the file name; motion: the new motion
    double latitude = 0, longitude = 0, altitude = 0;  // teleport
    double speed = 0;                                  // motion
};

struct Scenario {
    std::string applicationName = "Lockheed Martin\xC2\xAE Prepar3D\xC2\xAE v5";
    uint32_t applicationVersion[4] = {5, 4, 9, 28482};
    uint32_t simConnectVersion[4] = {5, 4, 0, 0};
    uint32_t messageVersion = 5;      // dwVersion of every message
    bool versionMismatch = false;     // answer Open with EXCEPTION VERSION_MISMATCH
    bool eventFlags = true;           // EVENT, OBJECT_ADDREMOVE, FRAME with the trailing dwFlags (Prepar3D form)
    uint32_t stringvPadding = 0;      // a STRINGV datum is padded to a multiple of this (0: none)
    bool byTypeEmptyMessage = false;  // a by-type answer without objects: one message "0 of 0" instead of none
    bool byTypeIncludesUser = true;
    double frameRate = 30;        // frames per simulator second
    int64_t createDelayMs = 300;  // from AICreateNonATCAircraft to the object
    uint32_t objectLimit = 1000;  // AI objects alive at once
    uint32_t userObjectId = 1;
    // Titles the simulator knows (empty: every title). "titlesFromLiveries" in the file adds the titles of
    // a LiveriesScanned.xml, so that the double knows what the program's install folder lists.
    std::vector<std::string> titles;
    std::vector<std::string> helicopters;  // titles it knows as helicopters (gf_objectTypeOfTitle)
    double fieldElevation = 1416;          // feet: the terrain is flat at this height
    double staticCgHeight = 8.5;           // feet, "STATIC CG TO GROUND" of every AI object
    double staticPitch = 0;                // radians, "STATIC PITCH"
    bool simRunning = true;
    bool paused = false;
    int64_t zuluStart = 1767268800;  // seconds since 1970 at time 0 (2026-01-01 12:00 UTC)
    std::string flightFile = "C:\\Users\\pilot\\Documents\\Prepar3D v5 Files\\default.fxml";
    int64_t trackIntervalMs = 1000;  // one track point per object at most this often (0: every change)
    UserAircraftSetup user;
    std::vector<ScriptAction> script;
};

// The SimConnect object type the simulator gives an object of this title, in its object-added events and
// its scans by type: 3 (helicopter) for a title of the scenario's helicopters, else 2 (aircraft).
uint32_t gf_objectTypeOfTitle(const Scenario& scenario, const std::string& title);

// Throws std::runtime_error naming the file or key at fault.
Scenario gf_parseScenario(const nlohmann::json& j);
Scenario gf_loadScenario(const std::filesystem::path& file);

}  // namespace simdouble
