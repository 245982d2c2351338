// airports/airport_table.cpp — reads input/airports_p3d.xml and finds airports by code and by position.
#include "airports/airport_table.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "airports/closest_stand.h"
#include "common/numtext.h"
#include "common/xmlattributes.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"

AirportTable airportTable;

void gf_clearAirportTable() { airportTable = AirportTable{}; }

namespace {

void lf_readRows(const std::string& path) {
    pugi::xml_document doc;
    // Codes and numbers only: entity escapes are kept, end-of-line and blank conversions are not needed.
    const pugi::xml_parse_result result =
        doc.load_file(folders::airportsXml.c_str(), pugi::parse_minimal | pugi::parse_escapes);
    if (!result) throw std::runtime_error(path + " not loaded " + result.description());
    const pugi::xml_node root = doc.child("airports");
    if (!root) throw std::runtime_error(path + " not found");
    auto& rows = airportTable.rows;
    rows.reserve(kAirportTableReserve);
    const XmlRowReader<5> reader({"code", "iata", "lat", "lon", "alt"});
    std::array<const char*, 5> v{};
    for (pugi::xml_node node = root.first_child(); node; node = node.next_sibling()) {
        if (!gf_isXmlName(node.name(), "airport")) continue;
        reader.read(node, v);
        Airport& a = rows.emplace_back();
        a.code = v[0];
        a.iata = v[1];
        a.lat = gf_stod(v[2]);
        a.lon = gf_stod(v[3]);
        a.alt = gf_stof(v[4]);
    }
    const auto byCode = [](const Airport& x, const Airport& y) { return x.code < y.code; };
    if (!std::is_sorted(rows.begin(), rows.end(), byCode)) std::sort(rows.begin(), rows.end(), byCode);
    gf_logf("{} airports read from \"{}\"", rows.size(), path);
}

}  // namespace

bool gf_readAirports() {
    if (airportTable.read) return !airportTable.rows.empty();
    const std::string path = folders::airportsXml.string();
    try {
        lf_readRows(path);
    } catch (const pugi::xpath_exception& e) {
        airportTable.rows.clear();
        throw zel::UserErrorException(87, e.what());
    } catch (const std::exception& e) {
        airportTable.rows.clear();
        throw zel::UserErrorException(88, e.what());
    }
    airportTable.read = true;
    return !airportTable.rows.empty();
}

std::optional<Airport> gf_findAirport(const std::string& code) {
    for (const Airport& a : airportTable.rows)
        if (a.code == code) return a;
    return std::nullopt;
}

// Where two airports lie within 5 nm, the one whose stand is nearer wins, so that an aircraft on a
// stand of a big field is not credited to a small field next door. `second` is the last airport that
// `best` displaced, not the second nearest of all.
std::optional<Airport> gf_closestAirport(LatLon position) {
    const Airport* best = nullptr;
    const Airport* second = nullptr;
    double bestNm = kNoStandNm;
    for (const Airport& a : airportTable.rows) {
        const double d = gf_distanceNm(position, {a.lat, a.lon});
        if (d <= kClosestAirportNm && d < bestNm) {
            bestNm = d;
            if (best) second = best;
            best = &a;
        }
    }
    if (!best) return std::nullopt;
    if (!second) return *best;
    gf_logf("Airport {} is closest, neighbour is {}", best->code, second->code);
    std::string bestStand, secondStand;
    const double d1 = gf_readDestApfForClosestStand(best->code, position, bestStand);
    const double d2 = gf_readDestApfForClosestStand(second->code, position, secondStand);
    if (d2 >= d1) return *best;
    gf_logf("Airport {} is closest, but stand {} at neighbouring airport {} is closest at {:.0F} meters ...",
            best->code, secondStand, second->code, d2 * 1852.0);
    return *second;
}
