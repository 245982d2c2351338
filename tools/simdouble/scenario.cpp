#include "tools/simdouble/scenario.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <numbers>
#include <set>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>
#include <pugixml.hpp>

namespace simdouble {

namespace {

constexpr double kDegToRad = std::numbers::pi / 180.0;

using json = nlohmann::json;

// Reads an optional key, naming it when its type is wrong.
template <typename T>
void lf_get(const json& j, const char* key, T& out, const std::string& where) {
    auto it = j.find(key);
    if (it == j.end()) return;
    try {
        out = it->get<T>();
    } catch (const json::exception& e) {
        throw std::runtime_error(fmt::format("{}\"{}\": {}", where, key, e.what()));
    }
}

void lf_checkKeys(const json& j, const std::set<std::string>& known, const std::string& where) {
    if (!j.is_object())
        throw std::runtime_error(fmt::format("{}: an object is expected", where.empty() ? "top level" : where));
    for (const auto& [key, value] : j.items()) {
        if (!known.count(key)) throw std::runtime_error(fmt::format("{}unknown key \"{}\"", where, key));
    }
}

void lf_version(const json& j, const char* key, uint32_t (&out)[4], const std::string& where) {
    auto it = j.find(key);
    if (it == j.end()) return;
    if (!it->is_array() || it->size() != 4)
        throw std::runtime_error(fmt::format("{}\"{}\": four numbers are expected", where, key));
    for (size_t i = 0; i < 4; ++i) out[i] = (*it)[i].get<uint32_t>();
}

Waypoint lf_waypoint(const json& j, const std::string& where) {
    lf_checkKeys(j, {"latitude", "longitude", "altitude"}, where);
    Waypoint w;
    lf_get(j, "latitude", w.latitude, where);
    lf_get(j, "longitude", w.longitude, where);
    lf_get(j, "altitude", w.altitude, where);
    return w;
}

// The titles of a LiveriesScanned.xml, as the simulator knows the aircraft the program scanned. A relative
// path is taken from the current directory: the double runs beside the program's install folder.
void lf_addInstalledTitles(const std::string& file, std::vector<std::string>& titles) {
    pugi::xml_document doc;
    if (!doc.load_file(file.c_str()))
        throw std::runtime_error(fmt::format("\"titlesFromLiveries\": \"{}\" cannot be read", file));
    const size_t before = titles.size();
    for (const pugi::xml_node liv : doc.child("liveries").children("liv"))
        if (!liv.attribute("title").empty()) titles.emplace_back(liv.attribute("title").value());
    if (titles.size() == before)
        throw std::runtime_error(fmt::format("\"titlesFromLiveries\": \"{}\" holds no livery", file));
}

}  // namespace

Scenario gf_parseScenario(const json& j) {
    Scenario s;
    lf_checkKeys(j,
                 {"applicationName",
                  "applicationVersion",
                  "simConnectVersion",
                  "messageVersion",
                  "versionMismatch",
                  "eventFlags",
                  "stringvPadding",
                  "byTypeEmptyMessage",
                  "byTypeIncludesUser",
                  "frameRate",
                  "createDelayMs",
                  "objectLimit",
                  "userObjectId",
                  "titles",
                  "titlesFromLiveries",
                  "helicopters",
                  "fieldElevation",
                  "staticCgHeight",
                  "staticPitch",
                  "simRunning",
                  "paused",
                  "zuluStart",
                  "flightFile",
                  "trackIntervalMs",
                  "user",
                  "script"},
                 "");
    const std::string top;
    lf_get(j, "applicationName", s.applicationName, top);
    lf_version(j, "applicationVersion", s.applicationVersion, top);
    lf_version(j, "simConnectVersion", s.simConnectVersion, top);
    lf_get(j, "messageVersion", s.messageVersion, top);
    lf_get(j, "versionMismatch", s.versionMismatch, top);
    lf_get(j, "eventFlags", s.eventFlags, top);
    lf_get(j, "stringvPadding", s.stringvPadding, top);
    lf_get(j, "byTypeEmptyMessage", s.byTypeEmptyMessage, top);
    lf_get(j, "byTypeIncludesUser", s.byTypeIncludesUser, top);
    lf_get(j, "frameRate", s.frameRate, top);
    lf_get(j, "createDelayMs", s.createDelayMs, top);
    lf_get(j, "objectLimit", s.objectLimit, top);
    lf_get(j, "userObjectId", s.userObjectId, top);
    lf_get(j, "titles", s.titles, top);
    std::string liveriesFile;
    lf_get(j, "titlesFromLiveries", liveriesFile, top);
    if (!liveriesFile.empty()) lf_addInstalledTitles(liveriesFile, s.titles);
    lf_get(j, "helicopters", s.helicopters, top);
    lf_get(j, "fieldElevation", s.fieldElevation, top);
    lf_get(j, "staticCgHeight", s.staticCgHeight, top);
    lf_get(j, "staticPitch", s.staticPitch, top);
    lf_get(j, "simRunning", s.simRunning, top);
    lf_get(j, "paused", s.paused, top);
    lf_get(j, "zuluStart", s.zuluStart, top);
    lf_get(j, "flightFile", s.flightFile, top);
    lf_get(j, "trackIntervalMs", s.trackIntervalMs, top);
    if (s.stringvPadding != 0 && s.stringvPadding != 4 && s.stringvPadding != 8)
        throw std::runtime_error("\"stringvPadding\": 0, 4 or 8 is expected");
    if (!(s.frameRate > 0 && s.frameRate <= 1000)) throw std::runtime_error("\"frameRate\": 0 < rate <= 1000 expected");
    if (s.createDelayMs < 0) throw std::runtime_error("\"createDelayMs\": must not be negative");
    if (auto it = j.find("user"); it != j.end()) {
        const std::string w = "user: ";
        lf_checkKeys(*it,
                     {"title", "atcModel", "atcId", "latitude", "longitude", "altitude", "pitch", "bank", "heading",
                      "onGround", "lightStates", "motion", "speed", "path"},
                     w);
        UserAircraftSetup& u = s.user;
        lf_get(*it, "title", u.title, w);
        lf_get(*it, "atcModel", u.atcModel, w);
        lf_get(*it, "atcId", u.atcId, w);
        lf_get(*it, "latitude", u.latitude, w);
        lf_get(*it, "longitude", u.longitude, w);
        lf_get(*it, "altitude", u.altitude, w);
        lf_get(*it, "pitch", u.pitch, w);
        lf_get(*it, "bank", u.bank, w);
        lf_get(*it, "heading", u.heading, w);
        lf_get(*it, "onGround", u.onGround, w);
        lf_get(*it, "lightStates", u.lightStates, w);
        lf_get(*it, "motion", u.motion, w);
        lf_get(*it, "speed", u.speed, w);
        if (auto p = it->find("path"); p != it->end()) {
            if (!p->is_array()) throw std::runtime_error("user: \"path\": an array is expected");
            for (size_t i = 0; i < p->size(); ++i)
                u.path.push_back(lf_waypoint((*p)[i], fmt::format("user: path[{}]: ", i)));
        }
        if (u.motion != "stand" && u.motion != "taxi" && u.motion != "path")
            throw std::runtime_error(fmt::format("user: \"motion\": \"{}\" is none of stand, taxi, path", u.motion));
        if (u.motion == "path" && u.path.empty()) throw std::runtime_error("user: motion \"path\" needs a \"path\"");
    }
    s.user.pitch *= kDegToRad;
    s.user.bank *= kDegToRad;
    s.user.heading *= kDegToRad;
    if (auto it = j.find("script"); it != j.end()) {
        if (!it->is_array()) throw std::runtime_error("\"script\": an array is expected");
        static const std::set<std::string> actions = {
            "pause",    "unpause", "simStop",  "simStart", "quit", "flightLoaded", "positionChanged",
            "teleport", "freeze",  "unfreeze", "close",    "drop", "motion"};
        for (size_t i = 0; i < it->size(); ++i) {
            const json& a = (*it)[i];
            const std::string w = fmt::format("script[{}]: ", i);
            lf_checkKeys(a, {"at", "action", "text", "latitude", "longitude", "altitude", "speed"}, w);
            ScriptAction act;
            lf_get(a, "at", act.atMs, w);
            lf_get(a, "action", act.action, w);
            lf_get(a, "text", act.text, w);
            lf_get(a, "latitude", act.latitude, w);
            lf_get(a, "longitude", act.longitude, w);
            lf_get(a, "altitude", act.altitude, w);
            lf_get(a, "speed", act.speed, w);
            if (!actions.count(act.action))
                throw std::runtime_error(fmt::format("{}unknown action \"{}\"", w, act.action));
            s.script.push_back(act);
        }
    }
    return s;
}

uint32_t gf_objectTypeOfTitle(const Scenario& scenario, const std::string& title) {
    const auto& h = scenario.helicopters;
    return std::find(h.begin(), h.end(), title) != h.end() ? 3u : 2u;  // SIMCONNECT_SIMOBJECT_TYPE
}

Scenario gf_loadScenario(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) throw std::runtime_error(fmt::format("scenario \"{}\": cannot be opened", file.string()));
    std::stringstream ss;
    ss << in.rdbuf();
    json j = json::parse(ss.str(), nullptr, false);
    if (j.is_discarded()) throw std::runtime_error(fmt::format("scenario \"{}\": not valid JSON", file.string()));
    try {
        return gf_parseScenario(j);
    } catch (const std::exception& e) {
        throw std::runtime_error(fmt::format("scenario \"{}\": {}", file.string(), e.what()));
    }
}

}  // namespace simdouble
