// airports/apf_read.cpp — reading an airport file into the stand table: its stands and options, then the
// learned file over it (settings, changed stands, manual stands, learned options), then numbering and
// the overlap pairs. Runs on the thread that handles the park airport.
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <system_error>
#include <unordered_set>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/geo.h"
#include "common/xmlattributes.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "platform/files.h"

namespace fs = std::filesystem;

namespace {

// "AB123" alone; "AB123:CD456" both; a second ":" leaves the second callsign empty.
void lf_splitCallsigns(const std::string& text, std::string& cs1, std::string& cs2) {
    const size_t colon = text.find(':');
    cs1 = text.substr(0, colon);
    cs2.clear();
    if (colon != std::string::npos && text.find(':', colon + 1) == std::string::npos) cs2 = text.substr(colon + 1);
}

// The attributes of an `opt`, read in one pass: a learned file of a big airport holds ~100k options.
enum OptAttribute { kReg, kAirl, kType, kSoft, kDay, kHh, kCs, kOptAttributes };
const XmlRowReader<kOptAttributes> kOptReader({"reg", "airl", "type", "soft", "day", "hh", "cs"});

// One `opt`; nothing for a towed aircraft's option when `skipTow`, and for an option without a real
// day or half hour (logged: it goes at the next save).
std::optional<ParkPos> lf_readOption(const pugi::xml_node opt, bool learned, bool skipTow, const Stand& stand,
                                     const fs::path& path) {
    std::array<const char*, kOptAttributes> v{};
    kOptReader.read(opt, v);
    ParkPos p;
    lf_splitCallsigns(v[kCs], p.cs1, p.cs2);
    if (skipTow && p.cs1.rfind("TOW ", 0) == 0) return std::nullopt;
    p.reg = v[kReg];
    // gf_dbaseFind tries the spellings of the registration ("DAIZA", "DA-IZA", "D-AIZA") in order.
    if (const DbaseRecord* record = gf_dbaseFind(p.reg)) {
        p.airl = record->opr.empty() ? std::string(record->airl) : std::string(record->opr);
        p.type = record->type;
    } else {
        p.airl = v[kAirl];
        p.type = v[kType];
    }
    const char s = v[kSoft][0];  // a boolean by its first character, as every value of these files
    p.soft = s == '1' || s == 't' || s == 'T' || s == 'y' || s == 'Y';
    p.day = static_cast<uint32_t>(std::strtoul(v[kDay], nullptr, 10));
    p.hh = lf_hours2bitset(v[kHh]);
    p.learned = learned;
    if (p.day < 1 || p.day > 7 || p.hh == 0) {
        gf_logMarkf("option {} {} at stand {} in {} has day \"{}\" and half hours \"{}\": dropped", p.reg, p.cs1,
                    stand.name, path.string(), v[kDay], v[kHh]);
        return std::nullopt;
    }
    return p;
}

// strtod as the files were always read: an absent attribute is 0.
double lf_number(const pugi::xml_node node, const char* name) {
    return std::strtod(node.attribute(name).value(), nullptr);
}

// Position and radius of a parkpos; false (logged) when the position cannot be on the earth. A missing
// or impossible radius is 0, which no aircraft fits but the one that stops right on the stand.
bool lf_readPlace(const pugi::xml_node node, Stand& stand, const fs::path& path) {
    stand.latitude = lf_number(node, "latitude");
    stand.longitude = lf_number(node, "longitude");
    if (!std::isfinite(stand.latitude) || !std::isfinite(stand.longitude) || std::fabs(stand.latitude) > 90.0 ||
        std::fabs(stand.longitude) > 180.0) {
        gf_logMarkf("parkpos {} in {} has no valid position ({}, {}): skipped", stand.name, path.string(),
                    node.attribute("latitude").value(), node.attribute("longitude").value());
        return false;
    }
    if (!node.attribute("latitude") || !node.attribute("longitude"))
        gf_logMarkf("parkpos {} in {} has no latitude or longitude: read as 0", stand.name, path.string());
    const double metres = lf_number(node, "radius");
    if (!node.attribute("radius") || !std::isfinite(metres) || metres < 0.0 || metres > 100.0) {
        gf_logMarkf("parkpos {} in {} has radius \"{}\": 0 taken", stand.name, path.string(),
                    node.attribute("radius").value());
        stand.radius = 0.0;
    } else {
        stand.radius = metres * kMetresToNm;
    }
    return true;
}

// A heading outside 0..360 (or no number) is logged and brought into that circle, 0 for no number: an
// aircraft parked with a heading of -90 or 450 would turn the long way round on the stand.
void lf_readKindAndHeading(const pugi::xml_node node, Stand& stand, const fs::path& path) {
    stand.heli = node.attribute("heli").as_bool(false);
    stand.ramp = node.attribute("ramp").as_bool(false);
    stand.cargo = node.attribute("cargo").as_bool(false);
    const char* text = node.attribute("heading").value();
    char* end = nullptr;
    double degrees = std::strtod(text, &end);
    while (end != nullptr && (*end == ' ' || *end == '\t')) ++end;
    const bool number = end != text && *end == '\0' && std::isfinite(degrees);
    if (!number) degrees = 0.0;
    if (!number || degrees < 0.0 || degrees > 360.0) {
        degrees = std::fmod(std::fmod(degrees, 360.0) + 360.0, 360.0);
        if (node.attribute("heading"))
            gf_logMarkf("parkpos {} in {} has heading \"{}\": {} taken", stand.name, path.string(), text, degrees);
    }
    stand.heading = degrees * kDegToRad;
}

uint32_t lf_nextOptId(const Stand& stand) { return stand.options.empty() ? 1 : stand.options.back().optId + 1; }

// Reads the options of a parkpos into the stand, numbering them on.
void lf_readOptions(const pugi::xml_node node, Stand& stand, bool learned, const fs::path& path) {
    for (const pugi::xml_node opt : node.children("opt")) {
        std::optional<ParkPos> p = lf_readOption(opt, learned, !learned, stand, path);
        if (!p) continue;
        p->optId = lf_nextOptId(stand);
        stand.options.push_back(std::move(*p));
    }
    stand.options.shrink_to_fit();
}

Stand* lf_findStand(std::vector<Stand>& stands, const std::string& name) {
    for (Stand& s : stands)
        if (s.name == name) return &s;
    return nullptr;
}

// An option of the learned file joins the stand unless one of the same day, kind, aircraft shares a half hour.
void lf_mergeOption(Stand& stand, ParkPos p) {
    for (const ParkPos& o : stand.options)
        if (o.day == p.day && o.soft == p.soft && o.reg == p.reg && o.airl == p.airl && o.type == p.type &&
            (o.hh & p.hh) != 0)
            return;
    p.optId = lf_nextOptId(stand);
    stand.options.push_back(std::move(p));
}

void lf_readManualStand(const pugi::xml_node node, std::vector<Stand>& stands, const fs::path& path) {
    const std::string id = node.attribute("id").value();
    if (lf_findStand(stands, id)) {
        gf_logMarkf("manually created standid {} already exists in {}", id, path.string());
        return;
    }
    Stand stand;
    stand.name = id;
    if (!lf_readPlace(node, stand, path) || gf_isNullBox(stand.latitude, stand.longitude) || stand.radius == 0.0) {
        gf_logMarkf("manually created standid {} misses correct attributes in {}", id, path.string());
        return;
    }
    lf_readOptions(node, stand, true, path);
    lf_readKindAndHeading(node, stand, path);
    stand.manual = true;
    stands.push_back(std::move(stand));
}

void lf_applyLearnedStand(const pugi::xml_node node, std::vector<Stand>& stands, const fs::path& path) {
    Stand* stand = lf_findStand(stands, node.attribute("id").value());
    if (!stand) {
        gf_logf("learned stand {} in {} not found?", node.attribute("id").value(), path.string());
        return;
    }
    if (node.attribute("radius_change").as_bool(false)) {
        const double metres = lf_number(node, "radius");
        if (std::isfinite(metres) && metres >= 0.0 && metres <= 100.0) {
            stand->radius = metres * kMetresToNm;
            stand->radiusChanged = true;
        } else {
            gf_logMarkf("learned stand {} in {} has radius \"{}\": ignored", stand->name, path.string(),
                        node.attribute("radius").value());
        }
    }
    if (node.attribute("cargo_change").as_bool(false)) {
        stand->cargo = node.attribute("cargo").as_bool(false);
        stand->cargoChanged = true;
    }
    for (const pugi::xml_node opt : node.children("opt"))
        if (std::optional<ParkPos> p = lf_readOption(opt, true, false, *stand, path)) lf_mergeOption(*stand, *p);
}

// Keeps a learned file that does not load beside it as "<name>.0.xml", so that the next save, which
// replaces it, loses nothing the user could still mend by hand.
void lf_keepAside(const fs::path& learnedPath, const std::string& why) {
    std::error_code ec;
    if (!fs::exists(learnedPath, ec)) return;
    fs::path aside = learnedPath;
    aside.replace_extension(".0" + learnedPath.extension().string());
    gf_copyFileReplacing(learnedPath, aside, ec);
    if (ec)
        gf_logMarkf("{} found, but could not be loaded, nor copied to {}: {}", learnedPath.string(), aside.string(),
                    ec.message());
    else
        gf_logMarkf("{} found, but could not be loaded, saved as *.0.xml: {}", learnedPath.string(), why);
}

}  // namespace

void lf_readParkPositions(const pugi::xml_node document, std::vector<Stand>& stands, const fs::path& path) {
    std::unordered_set<std::string> names;
    for (const Stand& s : stands) names.insert(s.name);
    for (const pugi::xml_node node : document.child("parkpositions").children("parkpos")) {
        Stand stand;
        stand.name = node.attribute("id").value();
        if (!names.insert(stand.name).second)
            throw zel::UserErrorException(94, "Parking position " + stand.name + " appears more than once?");
        if (!lf_readPlace(node, stand, path)) continue;
        lf_readOptions(node, stand, false, path);
        lf_readKindAndHeading(node, stand, path);
        stands.push_back(std::move(stand));
    }
}

void lf_readLearned(const fs::path& learnedPath, const std::string& archivedName, std::vector<Stand>& stands,
                    bool& handmade) {
    try {
        pugi::xml_document doc;
        if (const pugi::xml_parse_result r = doc.load_file(learnedPath.c_str()); !r) {
            lf_keepAside(learnedPath, r.description());
            return;
        }
        gf_logf("Read from learned airport file: \"{}\"", learnedPath.string());
        const std::string name = gf_apfParameter(doc, "airport_name").attribute("value").value();
        if (name != archivedName)
            gf_showMessagef(
                true, "Warning: learned file airport name: \"{}\" differs from archived file airport name: \"{}\"",
                name, archivedName);
        gf_applyLearnedSettings(doc, learnedPath);
        if (const pugi::xml_node h = gf_apfParameter(doc, "handmade")) {
            // Its presence counts, not its value: "false" replaces the stands too.
            handmade = true;
            stands.clear();
            lf_readParkPositions(doc, stands, learnedPath);
            gf_logf("{:24}: {}", "handmade", h.attribute("value").value());
            return;
        }
        handmade = false;
        for (const pugi::xml_node node : doc.child("parkpositions").children("parkpos")) {
            if (node.attribute("manual").as_bool(false))
                lf_readManualStand(node, stands, learnedPath);
            else
                lf_applyLearnedStand(node, stands, learnedPath);
        }
    } catch (const std::exception& e) {
        gf_logf("exception in lf_readLearned: {}", e.what());
    }
}

void gf_numberStands(std::vector<Stand>& stands) {
    for (size_t i = 0; i < stands.size(); ++i) {
        stands[i].sid = static_cast<uint32_t>(i + 1);
        stands[i].adjacent.clear();
    }
    // The latitude difference alone is a lower bound of the distance: most pairs end at that test, and
    // the pass over all pairs of a 550-stand airport stays well below a millisecond.
    constexpr double kNmPerDegreeLat = kHaversineNm / 2 * kDegToRad;
    for (Stand& a : stands) {
        for (const Stand& b : stands) {
            if (&a == &b) continue;
            const double apart = std::fabs(a.latitude - b.latitude) * kNmPerDegreeLat * (1.0 - 1e-9);
            if (a.radius + b.radius <= kAdjacentFactor * apart) continue;
            const double d = gf_distanceNm({a.latitude, a.longitude}, {b.latitude, b.longitude});
            if (a.radius + b.radius > kAdjacentFactor * d) a.adjacent.push_back(b.sid);
        }
        a.adjacent.shrink_to_fit();
    }
}
