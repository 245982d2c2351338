// mkairports — builds the archived airport files of the stock folder (airports/archive/stock/<ICAO>.xml)
// for the airports whose real stands are in data/tracks/<ICAO>_stands.csv: Zurich LSZH, Paris LFPG and
// Toulouse LFBO. Usage: mkairports <data folder> <output folder>. The same data always give
// byte-identical files: rows are taken in file order and nothing depends on time or chance.
//
// The stand CSVs hold OpenStreetMap parking positions (a way: its end at the stop line, the bearing of
// its last segment; a node: a point without heading) and, at LSZH, the FlightGear ground network's
// parking positions (the aircraft's place, heading, radius and kind). The rules, in this order:
//   1. FlightGear rows are taken as they stand; kind "cargo" makes a cargo stand, "ga" a ramp.
//   2. OpenStreetMap rows named like a FlightGear row are the same stand and are left out.
//   3. A name with a blank and a lower-case letter describes something else ("Run up Position 28",
//      "Axe de repoussage E5"): left out.
//   4. A node named like a way whose end lies within 20 m is the same stand: the way stays.
//   5. An unnamed row is named "OSM1", "OSM2", ... in file order; a name met again at another place
//      gets "/2", "/3", ... behind it.
//   6. Heading: FlightGear's; a way's last segment; a node takes that of the nearest stand with one.
//   7. Radius (half the wingspan that fits): FlightGear's; otherwise from the distance s to the nearest
//      other stand further than 15 m away (nearer ones are alternative positions of the same place, as
//      the left and right lines of a stand that takes one wide-body or two narrow-bodies): the largest
//      half wingspan of an ICAO aerodrome code (F 40, E 32.5, D 26, C 18, B 12, A 7.5 m) not above
//      0.55 s, so that two such stands side by side just do not count as overlapping (the program takes
//      stands as overlapping when their radii add up to more than 1.1 times their distance).
//   8. Position: FlightGear's; a way end is moved back against the heading by the radius, as the
//      aircraft's reference point stands about half its length behind the stop line (where both exist
//      at LSZH, the FlightGear point lies a median 1.16 radii behind the way end); a node as it is.
// The files carry no options: the program learns them at the airport.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "airports/airport_file.h"
#include "common/geo.h"
#include "frame/core/textfiles.h"
#include "tools/common/csv.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kAirports[] = {"LFBO", "LFPG", "LSZH"};
// The meta block's date: the newest OpenStreetMap snapshot of the stand data, fixed so that a build
// today and one next year give the same bytes.
constexpr const char* kDataDate = "Mar 06, 2025";
constexpr double kSameStandM = 20.0;    // a node this near a way of its name is that way's stand
constexpr double kAlternativeM = 15.0;  // nearer neighbours are alternative positions of one place
constexpr double kSpacingShare = 0.55;  // of the spacing, the most a radius may be without an overlap
constexpr double kFeetPerMetre = 3.280839895013123;

// Half wingspans of the ICAO aerodrome reference codes F down to A, metres.
constexpr double kCodeHalfSpans[] = {40.0, 32.5, 26.0, 18.0, 12.0, 7.5};

struct Row {
    std::string name;
    LatLon at;                      // degrees
    std::optional<double> heading;  // degrees
    std::optional<double> radius;   // metres
    std::string kind;               // FlightGear: gate, ga, cargo
    bool flightGear = false;
    bool node = false;  // an OpenStreetMap node: no heading, a point on the stand
};

double lf_metres(LatLon a, LatLon b) { return gf_distanceNm(a, b) * 1852.0; }

bool lf_isDescription(const std::string& name) {
    return name.find(' ') != std::string::npos &&
           std::any_of(name.begin(), name.end(), [](char c) { return c >= 'a' && c <= 'z'; });
}

std::vector<Row> lf_readStands(const fs::path& file) {
    std::vector<Row> rows;
    for (const datacsv::Row& r : datacsv::readCsv(file)) {
        Row row;
        row.name = r.at("name");
        row.at = {std::stod(r.at("lat")), std::stod(r.at("lon"))};
        if (!r.at("heading_deg").empty()) row.heading = std::stod(r.at("heading_deg"));
        if (r.count("radius_m") && !r.at("radius_m").empty()) row.radius = std::stod(r.at("radius_m"));
        row.kind = r.at("kind");
        row.flightGear = r.at("source").rfind("FlightGear", 0) == 0;
        row.node = r.count("osm_geometry") && r.at("osm_geometry") == "node";
        rows.push_back(std::move(row));
    }
    return rows;
}

// Rules 1 to 5.
std::vector<Row> lf_select(const std::vector<Row>& all) {
    std::set<std::string> flightGearNames;
    for (const Row& r : all)
        if (r.flightGear) flightGearNames.insert(r.name);
    std::vector<Row> kept;
    for (const Row& r : all) {
        if (!r.flightGear && flightGearNames.count(r.name)) continue;
        if (lf_isDescription(r.name)) continue;
        if (r.node && !r.name.empty() && std::any_of(all.begin(), all.end(), [&](const Row& w) {
                return !w.node && w.name == r.name && lf_metres(w.at, r.at) <= kSameStandM;
            }))
            continue;
        kept.push_back(r);
    }
    std::map<std::string, int> seen;
    int unnamed = 0;
    for (Row& r : kept) {
        if (r.name.empty()) r.name = fmt::format("OSM{}", ++unnamed);
        if (const int n = ++seen[r.name]; n > 1) r.name += fmt::format("/{}", n);
    }
    std::set<std::string> names;
    for (const Row& r : kept)
        if (!names.insert(r.name).second) throw std::runtime_error("stand name " + r.name + " twice after renaming");
    return kept;
}

// Rule 7 for a stand without a radius of its own.
double lf_radiusFromSpacing(const std::vector<Row>& rows, size_t i) {
    double nearest = 1e9;
    for (size_t j = 0; j < rows.size(); ++j) {
        if (j == i) continue;
        const double d = lf_metres(rows[i].at, rows[j].at);
        if (d > kAlternativeM) nearest = std::min(nearest, d);
    }
    for (const double half : kCodeHalfSpans)
        if (half <= kSpacingShare * nearest) return half;
    return kCodeHalfSpans[std::size(kCodeHalfSpans) - 1];
}

// Rule 6 for a node: the heading of the nearest stand that has one.
double lf_borrowedHeading(const std::vector<Row>& rows, size_t i) {
    double best = 1e9, heading = 0.0;
    for (const Row& r : rows) {
        if (!r.heading) continue;
        if (const double d = lf_metres(rows[i].at, r.at); d < best) best = d, heading = *r.heading;
    }
    return heading;
}

std::vector<Stand> lf_stands(const std::vector<Row>& rows) {
    std::vector<Stand> stands;
    for (size_t i = 0; i < rows.size(); ++i) {
        const Row& r = rows[i];
        Stand s;
        s.name = r.name;
        const double headingDeg = r.heading ? *r.heading : lf_borrowedHeading(rows, i);
        const double radiusM = r.radius ? *r.radius : lf_radiusFromSpacing(rows, i);
        LatLon at = r.at;
        if (!r.flightGear && !r.node)
            at = gf_destinationPoint(at, std::fmod(headingDeg + 180.0, 360.0) * kDegToRad, radiusM * kFeetPerMetre);
        // Through the file's own text forms, so that what the program reads is what was computed.
        s.latitude = std::stod(fmt::format("{:.6f}", at.lat));
        s.longitude = std::stod(fmt::format("{:.6f}", at.lon));
        s.heading = headingDeg * kDegToRad;
        s.radius = radiusM * kMetresToNm;
        s.cargo = r.kind == "cargo";
        s.ramp = r.kind == "ga";
        stands.push_back(std::move(s));
    }
    return stands;
}

void lf_build(const fs::path& data, const fs::path& out, const std::string& icao,
              const std::map<std::string, datacsv::Row>& airportRows) {
    const auto it = airportRows.find(icao);
    if (it == airportRows.end()) throw std::runtime_error(icao + " is not in airports.csv");
    const std::vector<Row> all = lf_readStands(data / "tracks" / (icao + "_stands.csv"));
    AirportFileData file;
    file.icao = icao;
    file.name = it->second.at("name");
    file.publisher = "stock";
    file.altitude = static_cast<int32_t>(std::lround(std::stod(it->second.at("elevation_ft"))));
    file.stands = lf_stands(lf_select(all));

    pugi::xml_document doc;
    gf_buildApf(doc, file, false);
    doc.child("meta").find_child_by_attribute("info", "name", "date").attribute("value") = kDataDate;
    std::ostringstream text;
    doc.save(text, "\t", pugi::format_default, pugi::encoding_utf8);
    const fs::path path = out / (icao + ".xml");
    if (!gf_writeFileAtomically(path, text.str())) throw std::runtime_error("cannot write " + path.string());
    std::printf("%s written: %zu stands of %zu rows\n", path.string().c_str(), file.stands.size(), all.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: mkairports <data folder> <output folder>\n");
        return 2;
    }
    try {
        const fs::path data = argv[1], out = argv[2];
        std::map<std::string, datacsv::Row> airportRows;
        for (datacsv::Row& r : datacsv::readCsv(data / "airports.csv"))
            for (const char* icao : kAirports)
                if (r.at("icao") == icao) {
                    airportRows[icao] = std::move(r);
                    break;
                }
        fs::create_directories(out);
        for (const char* icao : kAirports) lf_build(data, out, icao, airportRows);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mkairports: %s\n", e.what());
        return 1;
    }
    return 0;
}
