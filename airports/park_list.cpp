// airports/park_list.cpp — reading, sorting and updating the user's park airport list.
#include "airports/park_list.h"

#include <algorithm>
#include <string_view>
#include <system_error>
#include <vector>

#include <fmt/format.h>

#include "airports/airport_file.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/textfiles.h"
#include "simlink/user.h"

namespace fs = std::filesystem;

namespace {
constexpr const char* kFileName = "my_park_airports.txt";

// Runs of characters other than a comma: empty fields vanish, nothing is trimmed. A CR left by a
// Windows file read elsewhere is no part of a code.
std::vector<std::string> lf_tokens(std::string_view line) {
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    std::vector<std::string> tokens;
    size_t at = 0;
    while (at < line.size()) {
        const size_t end = std::min(line.find(',', at), line.size());
        if (end > at) tokens.emplace_back(line.substr(at, end - at));
        at = end + 1;
    }
    return tokens;
}

bool lf_listed(const std::string& icao) {
    return std::any_of(airports.parkAirports.begin(), airports.parkAirports.end(),
                       [&](const ParkAirportEntry& e) { return e.icao == icao; });
}

// One line of the file; `ok` goes false for what the user must mend.
void lf_parkAirportLine(const std::string& line, bool& ok) {
    const std::vector<std::string> tokens = lf_tokens(line);
    if (tokens.empty()) return;
    if (tokens.size() > 2) {
        gf_logMarkf("{}:{} wrong syntax, skipped", kFileName, line);
        return;
    }
    const std::optional<Airport> airport = gf_findAirport(tokens[0]);
    if (!airport) {
        gf_showMessagef(true, "airport {} is unknown", tokens[0]);
        ok = false;
        return;
    }
    if (lf_listed(airport->code)) {
        gf_logMarkf("{}:{} double, skipped", kFileName, airport->code);
        return;
    }
    const std::string stand = tokens.size() == 2 ? tokens[1] : std::string();
    if (!stand.empty() && !gf_readApfForGateCheck(airport->code, stand)) {
        gf_showMessagef(true, "{} stand {} is unknown", airport->code, stand);
        ok = false;
    }
    airports.parkAirports.push_back({airport->code, stand, {airport->lat, airport->lon}, 0.0});
}

void lf_addThirdpartyAirports() {
    std::error_code ec;
    if (!fs::is_directory(folders::myThirdparty, ec)) return;
    int added = 0;
    for (const fs::directory_entry& entry : fs::directory_iterator(folders::myThirdparty)) {
        if (!entry.is_regular_file()) continue;
        const std::string code = entry.path().stem().string();
        if (lf_listed(code)) continue;
        const std::optional<Airport> airport = gf_findAirport(code);
        if (!airport) continue;
        airports.parkAirports.push_back({airport->code, "", {airport->lat, airport->lon}, 0.0});
        ++added;
    }
    if (added > 0)
        gf_logf("{} park airport{} added from \"{}\"", added, gf_plural(added), folders::myThirdparty.string());
}

// The user aircraft check of the simulator link sees the head of the list through its own copy.
void lf_mirrorHead() {
    if (airports.parkAirports.empty())
        gf_setUserParkListHead("", "");
    else
        gf_setUserParkListHead(airports.parkAirports.front().icao, airports.parkAirports.front().stand);
}

std::string lf_entryLine(const ParkAirportEntry& e) { return e.stand.empty() ? e.icao : e.icao + "," + e.stand; }
}  // namespace

void gf_sortParkAirports(LatLon position) {
    airports.lastTrackLat = position.lat;
    airports.lastTrackLon = position.lon;
    for (ParkAirportEntry& e : airports.parkAirports) e.distance = gf_distanceNm(position, e.position);
    // std::list::sort is a stable merge sort.
    airports.parkAirports.sort(
        [](const ParkAirportEntry& a, const ParkAirportEntry& b) { return a.distance < b.distance; });
    lf_mirrorHead();
}

bool gf_readParkAirports(bool force) {
    airports.parkAirports.clear();
    bool ok = true;
    std::error_code ec;
    if (!fs::exists(folders::myParkAirports, ec)) {
        gf_logLine(folders::myParkAirports.string() + " not found");
    } else {
        std::vector<std::string> lines;
        gf_readExtTextFileToStringVector(folders::myParkAirports, lines);
        for (const std::string& line : lines) lf_parkAirportLine(line, ok);
    }
    const size_t count = airports.parkAirports.size();
    if (count > 0)
        gf_logf("{} park airport{} read from \"{}\"", count, gf_plural(static_cast<long long>(count)), kFileName);
    if (count > kParkListWarnAbove)
        gf_showMessagef(true,
                        "Warning: There are a lot of airports ({}) in {}, that will cost ZARK much cpu time, and may "
                        "give stutters",
                        count, kFileName);
    lf_addThirdpartyAirports();
    const LatLon position{user.userSnapshot.latitude, user.userSnapshot.longitude};
    if (force || position.lat != airports.lastTrackLat || position.lon != airports.lastTrackLon)
        gf_sortParkAirports(position);
    lf_mirrorHead();
    panel.parkListOk = ok;
    gf_invalidate(Band::Static);
    return ok;
}

namespace {
// The entry's line replaced or added, the lines sorted, the file saved atomically.
void lf_writeEntry(const ParkAirportEntry& entry) {
    std::lock_guard lock(airports.parkListFileLock);
    std::vector<std::string> lines;
    std::error_code ec;
    const bool opened = fs::exists(folders::myParkAirports, ec) &&
                        gf_readExtTextFileToStringVector(folders::myParkAirports, lines) != 0;
    const std::string newLine = lf_entryLine(entry);
    if (!opened) {
        lines.assign(1, newLine);
        gf_logf("{} created with {}", kFileName, newLine);
    } else {
        const auto same = std::find_if(lines.begin(), lines.end(), [&](const std::string& line) {
            const std::vector<std::string> tokens = lf_tokens(line);
            return !tokens.empty() && tokens[0] == entry.icao;
        });
        if (same != lines.end()) {
            *same = fmt::format("{},{}", entry.icao, entry.stand);
            gf_logf("{}:{},{} updated stand", kFileName, entry.icao, entry.stand);
        } else {
            lines.push_back(newLine);
            gf_logf("{}:{} new entry", kFileName, newLine);
        }
    }
    std::stable_sort(lines.begin(), lines.end());
    std::string text;
    for (const std::string& line : lines) text += line + "\n";
    gf_writeFileAtomically(folders::myParkAirports, text);
}
}  // namespace

void gf_writeParkAirportEntry() {
    if (airports.parkAirports.empty()) return;
    lf_writeEntry(airports.parkAirports.front());
    lf_mirrorHead();
}

void gf_writeUserParkListHead() {
    auto [icao, stand] = gf_userParkListHead();
    if (icao.empty()) return;
    lf_writeEntry({std::move(icao), std::move(stand), {}, 0.0});
}
