// airports/bgl_stands.cpp — the sub-records of an airport that become stands: helipads and the parking
// list, and the naming of stands that share an id.
#include <algorithm>
#include <cmath>
#include <numbers>

#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/bgl.h"

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;
constexpr double kMinRadiusM = 1.0;    // metres; a stand this small or smaller is a marker, not a stand
constexpr double kMaxRadiusM = 200.0;  // metres; this large or larger is a damaged entry
constexpr const char* kSuffixes[] = {"a", "b", "c", "d", "e", "f"};

// The heading of a stand in radians; 0 is kept as 2 pi, since 0 means "no heading" to the readers.
double lf_heading(float degrees) {
    const double r = static_cast<double>(degrees) * std::numbers::pi / 180.0;
    return r == 0.0 ? kTwoPi : r;
}

double lf_latitude(uint32_t raw) { return 90.0 - raw * kBglLatitudeUnit; }
double lf_longitude(uint32_t raw) { return raw * kBglLongitudeUnit - 180.0; }

// Outside the globe, or in the null box at 0/0 where an unset position lands.
bool lf_badPosition(double lat, double lon) {
    if (lat < -90.0 || lat > 90.0 || lon < -180.0 || lon > 180.0) return true;
    return lat >= 0.0 && lat <= 0.0009 && lon >= 0.0 && lon <= 0.05;
}

std::string lf_position(double lat, double lon) { return fmt::format("{:.6f}, {:.6f}", lat, lon); }

// The text of a stand's name index: the letters of the simulator's parking names.
std::string lf_nameText(uint32_t index) {
    static constexpr const char* kNames[] = {"", "r", "p", "np", "ep", "sep", "sp", "swp", "wp", "nwp", "g", ""};
    if (index < 12) return kNames[index];
    return std::string(1, static_cast<char>(index + 53));
}

}  // namespace

void lf_readHelipad(size_t index, const BglWords& words, BglAirport& airport, BglAirportWork& work) {
    const double lon = lf_longitude(gf_bglWord(words, index + 3));
    const double lat = lf_latitude(gf_bglWord(words, index + 4));
    const float width = gf_bglFloat(words, index + 7);
    const float heading = gf_bglFloat(words, index + 8);
    if (lf_badPosition(lat, lon)) {
        gf_reportLine("lat/lon helipad incorrect (skipped): " + lf_position(lat, lon));
        return;
    }
    const std::pair<double, double> position{lat, lon};
    if (std::find(work.helipadPositions.begin(), work.helipadPositions.end(), position) !=
        work.helipadPositions.end()) {
        gf_reportLine("double helipad " + airport.data.icao + " (skipped) " + lf_position(lat, lon));
        return;
    }
    work.helipadPositions.push_back(position);
    Stand& s = airport.data.stands.emplace_back();
    s.name = fmt::format("helipad{}", work.helipadSerial++);
    s.latitude = lat;
    s.longitude = lon;
    s.heading = lf_heading(heading);
    s.radius = width / 2.0 * kMetresToNm;
    s.heli = true;
    ++airport.helipads;
}

void lf_readParkings(size_t index, const BglWords& words, BglAirport& airport, BglAirportWork& work, bool newForm,
                     const std::string& path) {
    const uint16_t count = gf_bglU16(words, index * 4 + 6);
    size_t e = index + 2;  // the first entry at byte 8
    airport.data.stands.reserve(airport.data.stands.size() + count);
    for (uint16_t n = 0; n < count; ++n) {
        const uint32_t flags = gf_bglWord(words, e);
        const size_t length = (newForm ? 10 : 9) + (flags >> 24);  // and one word per airline code
        const size_t entry = e;
        e += length;
        const double radiusM = gf_bglFloat(words, entry + 1);
        if (!(radiusM > kMinRadiusM && radiusM < kMaxRadiusM)) {
            gf_reportLine(fmt::format("skipped position with radius {:.1F} meters, in {}", radiusM, path));
            continue;
        }
        const std::string candidate = lf_nameText(flags & 0x3F) + std::to_string((flags >> 12) & 0xFFF);
        const uint32_t type = (flags >> 8) & 0xF;
        if (type < 1 || type > 11) continue;  // fuel, vehicles and the like: not for aircraft to stand on
        const double lon = lf_longitude(gf_bglWord(words, entry + 7));
        const double lat = lf_latitude(gf_bglWord(words, entry + 8));
        if (lf_badPosition(lat, lon)) {
            gf_reportLine(fmt::format("lat/lon: {}, incorrect (skipped) ", lf_position(lat, lon)));
            continue;
        }
        // A taken id gets the first free suffix; the sizes decide the final names afterwards.
        std::string id = candidate;
        const bool suffixed = work.ids.contains(candidate);
        if (suffixed) {
            id.clear();
            for (const char* suffix : kSuffixes)
                if (!work.ids.contains(candidate + suffix)) {
                    id = candidate + suffix;
                    break;
                }
            if (id.empty()) {
                gf_reportLine(
                    fmt::format("{}{}Warning more then 6 the same ids {}, in {}", "===> ", "===> ", candidate, path));
                continue;
            }
            work.doubles = true;
        }
        work.ids.insert(id);
        Stand& s = airport.data.stands.emplace_back();
        s.name = id;
        s.scanMark = suffixed;
        s.latitude = lat;
        s.longitude = lon;
        s.heading = lf_heading(gf_bglFloat(words, entry + 2));
        s.radius = radiusM * kMetresToNm;
        s.cargo = type == 5;
        s.ramp = type < 8;
    }
}

void lf_resolveDoubleStands(std::vector<Stand>& stands) {
    for (;;) {
        const auto marked = std::find_if(stands.begin(), stands.end(), [](const Stand& s) { return s.scanMark; });
        if (marked == stands.end()) return;
        marked->scanMark = false;
        const std::string base = marked->name.substr(0, marked->name.size() - 1);
        std::vector<Stand*> same;
        for (Stand& s : stands) {
            bool match = s.name == base;
            for (const char* suffix : kSuffixes) match = match || s.name == base + suffix;
            if (!match) continue;
            s.scanMark = false;
            same.push_back(&s);
        }
        // The widest keeps the plain id: a file's order says nothing about which is the main stand.
        std::stable_sort(same.begin(), same.end(),
                         [](const Stand* a, const Stand* b) { return a->radius > b->radius; });
        for (size_t k = 0; k < same.size(); ++k) same[k]->name = k == 0 ? base : base + kSuffixes[k - 1];
    }
}
