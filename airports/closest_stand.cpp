// airports/closest_stand.cpp — the nearest stand of an airport file.
#include "airports/closest_stand.h"

#include <cstdlib>

#include <pugixml.hpp>

#include "airports/airport_file.h"
#include "airports/airport_table.h"

double gf_readDestApfForClosestStand(const std::string& icao, LatLon position, std::string& nameOut) {
    double best = kNoStandNm;
    const std::filesystem::path path = gf_apfPath(icao);
    if (path.empty()) return best;
    pugi::xml_document doc;
    if (!doc.load_file(path.c_str())) return best;
    for (const pugi::xml_node stand : doc.child("parkpositions").children("parkpos")) {
        // strtod as the stand reader: an absent attribute is 0.
        const LatLon at{std::strtod(stand.attribute("latitude").value(), nullptr),
                        std::strtod(stand.attribute("longitude").value(), nullptr)};
        const double d = gf_distanceNm(position, at);
        if (d < best) {
            best = d;
            nameOut = stand.attribute("id").value();
        }
    }
    return best;
}
