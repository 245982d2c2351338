// airports/closest_stand.cpp — the nearest stand of an airport file.
#include "airports/closest_stand.h"

#include <cstdlib>
#include <fstream>
#include <system_error>

#include <pugixml.hpp>

#include "airports/airport_table.h"

namespace fs = std::filesystem;

namespace {

// A pointer file beside a generated file names the real file on its first line; the line is cut
// behind its last "l" so that it ends in ".xml" whatever trails it.
fs::path lf_followPointer(const fs::path& pointer) {
    std::error_code ec;
    if (!fs::exists(pointer, ec)) return {};
    std::ifstream in(pointer, std::ios::binary);
    std::string line;
    std::getline(in, line);
    const size_t l = line.rfind('l');
    if (l == std::string::npos) return {};
    const fs::path target = line.substr(0, l + 1);
    return fs::exists(target, ec) ? target : fs::path();
}

// The airport's file in the order the airport data searches them: the user's third-party and ORBX
// scans (pointer file first), then the stock archive.
fs::path lf_airportFile(const std::string& icao) {
    std::error_code ec;
    for (const char* folder : {"airports/my_thirdparty", "airports/my_ORBX"}) {
        if (fs::path p = lf_followPointer(fs::path(folder) / (icao + ".txt")); !p.empty()) return p;
        const fs::path xml = fs::path(folder) / (icao + ".xml");
        if (fs::exists(xml, ec)) return xml;
    }
    const fs::path stock = fs::path("airports/archive/stock") / (icao + ".xml");
    return fs::exists(stock, ec) ? stock : fs::path();
}

}  // namespace

double gf_readDestApfForClosestStand(const std::string& icao, LatLon position, std::string& nameOut) {
    double best = kNoStandNm;
    const fs::path path = lf_airportFile(icao);
    if (path.empty()) return best;
    pugi::xml_document doc;
    if (!doc.load_file(path.c_str())) return best;
    for (const pugi::xml_node stand : doc.child("parkpositions").children("parkpos")) {
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
