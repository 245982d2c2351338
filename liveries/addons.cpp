// liveries/addons.cpp — the folders of installed aircraft add-ons from the simulator's own files.
#include "liveries/addons.h"

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <set>
#include <system_error>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "liveries/aircraft_cfg.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

// Folders of the simulator's own aircraft in simobjects.cfg: not add-ons.
constexpr const char* kStockCategories[] = {"Airplanes", "Avatars", "Misc",        "Rotorcraft", "GroundVehicles",
                                            "Boats",     "Animals", "Submersible", "Weapons",    "Countermeasures"};
// Packages that name a SimObjects folder without any aircraft for traffic.
constexpr const char* kIgnoredPackages[] = {"Lights Reborn", "Aerosoft Geneva Professional"};

bool lf_holdsAny(std::string_view line, std::initializer_list<std::string_view> words) {
    return std::any_of(words.begin(), words.end(), [&](std::string_view w) { return line.find(w) != line.npos; });
}

std::string lf_lowered(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// The configuration files write Windows paths; where "/" separates, their backslashes mean "/".
std::string lf_localPathText(std::string text) {
    if (fs::path::preferred_separator == '/') std::replace(text.begin(), text.end(), '\\', '/');
    return text;
}

std::string lf_afterEquals(const std::string& line) {
    const size_t eq = line.find('=');
    return eq == std::string::npos ? std::string{} : gf_trimmed(std::string_view(line).substr(eq + 1));
}

// A group is active when one of its lines says so.
bool lf_groupActive(const std::vector<std::string>& group) {
    return std::any_of(group.begin(), group.end(), [](const std::string& l) {
        return lf_holdsAny(l, {"Active", "ACTIVE", "active"}) && lf_holdsAny(l, {"True", "TRUE", "true"});
    });
}

bool lf_readConfigLines(const fs::path& path, std::vector<std::string>& lines) {
    // A missing file is an installation without it, not a fault: the scan goes on without its folders.
    std::error_code ec;
    if (!fs::is_regular_file(path, ec) || gf_readExtTextFileToStringVector(path, lines) == 0) {
        gf_logLine(gf_pathText(path) + " not found!");
        return false;
    }
    return true;
}

// The groups of a configuration file: a "[...]" head line opens one, its kind told by a word of the
// head; lines outside a group of a wanted kind are passed over.
struct Group {
    std::string head;
    std::vector<std::string> lines;
};
std::vector<Group> lf_groups(const std::vector<std::string>& lines, std::initializer_list<std::string_view> heads,
                             std::initializer_list<std::string_view> skipped) {
    std::vector<Group> out;
    bool inGroup = false;
    for (const std::string& line : lines) {
        if (gf_trimmed(line).starts_with('[')) {
            inGroup = lf_holdsAny(line, heads);
            if (inGroup) out.push_back(Group{line, {}});
        } else if (inGroup && !lf_holdsAny(line, skipped)) {
            out.back().lines.push_back(line);
        }
    }
    return out;
}

std::vector<std::string> lf_pathsOf(const Group& g) {
    std::vector<std::string> out;
    for (const std::string& l : g.lines)
        if (lf_holdsAny(l, {"Path", "PATH", "path"}) && l.find('=') != std::string::npos) out.push_back(l);
    return out;
}

struct Packages {
    std::vector<std::string> active;     // package folders in the order found
    std::set<std::string> known;         // lowered texts of every listed package, active or not
    std::vector<std::string> discovery;  // folders whose sub-folders are packages
};

void lf_readOneAddOnsCfg(const fs::path& path, Packages& p) {
    gf_logf("\nReading {} for AI add-on packages...", gf_pathText(path));
    std::vector<std::string> lines;
    if (!lf_readConfigLines(path, lines)) return;
    for (const Group& g : lf_groups(lines, {"Package", "PACKAGE", "package", "DiscoveryPath", "DISCOVERYPATH"},
                                    {"Required", "REQUIRED"})) {
        const bool discovery = lf_holdsAny(g.head, {"DiscoveryPath", "DISCOVERYPATH"});
        const bool active = lf_groupActive(g.lines);
        for (const std::string& line : lf_pathsOf(g)) {
            const std::string folder = lf_localPathText(lf_afterEquals(line));
            if (discovery) {
                if (active) p.discovery.push_back(folder);
                continue;
            }
            p.known.insert(lf_lowered(folder));
            if (!active) continue;
            gf_logf("path found:{}", line.substr(line.find('=') + 1));
            p.active.push_back(folder);
        }
    }
}

// Packages the simulator finds by itself: each sub-folder with an add-on.xml, unless add-ons.cfg lists
// it (then its active flag there holds).
void lf_discoverPackages(Packages& p) {
    for (const std::string& text : p.discovery) {
        std::error_code ec;
        std::vector<fs::path> found;
        for (const fs::directory_entry& e : fs::directory_iterator(gf_utf8Path(text), ec))
            if (e.is_directory(ec) && fs::exists(e.path() / "add-on.xml", ec)) found.push_back(e.path());
        std::sort(found.begin(), found.end());
        for (const fs::path& f : found) {
            const std::string folder = gf_pathText(f);
            if (p.known.insert(lf_lowered(folder)).second) p.active.push_back(folder);
        }
    }
}

void lf_addSimObjectsPath(std::string text, const fs::path& packageFolder, std::vector<std::string>& out) {
    text = gf_trimmed(text);
    if (text.empty()) return;
    if (std::any_of(std::begin(kIgnoredPackages), std::end(kIgnoredPackages),
                    [&](const char* n) { return text.find(n) != std::string::npos; }))
        return;
    gf_logf("      Simobjects found:{}", text);
    fs::path p = gf_utf8Path(lf_localPathText(text));
    if (p.is_relative()) p = packageFolder / p;
    out.push_back(gf_pathText(p.make_preferred()));
}

// The reading of a file that is no XML: the category on one line, its path on the next.
void lf_addOnLines(const std::vector<std::string>& lines, const fs::path& packageFolder,
                   std::vector<std::string>& out) {
    bool categorySeen = false;
    for (const std::string& line : lines) {
        if (!categorySeen) {
            categorySeen = lf_holdsAny(line, {"SimObjects", "SIMOBJECTS", "Simobjects", "simobjects"});
            continue;
        }
        categorySeen = false;
        const size_t open = line.find("<Path>"), close = line.find("</Path>");
        if (open != std::string::npos && close != std::string::npos && close > open)
            lf_addSimObjectsPath(line.substr(open + 6, close - open - 6), packageFolder, out);
    }
}

fs::path lf_simConfigFolder(const fs::path& base) {
    return base / "Lockheed Martin" / ("Prepar3D v" + gf_simVersion());
}

}  // namespace

fs::path gf_userAddOnsCfgPath() { return lf_simConfigFolder(gf_appDataFolder()) / "add-ons.cfg"; }
fs::path gf_machineAddOnsCfgPath() { return lf_simConfigFolder(gf_programDataFolder()) / "add-ons.cfg"; }
fs::path gf_simObjectsCfgPath() { return lf_simConfigFolder(gf_programDataFolder()) / "simobjects.cfg"; }
fs::path gf_discoveryFolder() { return gf_documentsFolder() / ("Prepar3D v" + gf_simVersion() + " Add-ons"); }

bool gf_addOnXmlSimObjects(std::string_view text, const fs::path& packageFolder, std::vector<std::string>& out) {
    pugi::xml_document doc;
    if (!doc.load_buffer(text.data(), text.size())) return false;
    for (const pugi::xml_node c : doc.document_element().children("AddOn.Component")) {
        if (lf_lowered(gf_trimmed(c.child_value("Category"))) != "simobjects") continue;
        lf_addSimObjectsPath(c.child_value("Path"), packageFolder, out);
    }
    return true;
}

void lf_exploreAddOn(const std::string& packageFolder, std::vector<std::string>& folders) {
    const fs::path folder = gf_utf8Path(packageFolder);
    const fs::path path = folder / "add-on.xml";
    gf_logf("   exploring {}", gf_pathText(path));
    std::ifstream in(path, std::ios::binary);
    std::error_code ec;
    if (!in.is_open() || fs::is_directory(path, ec)) {
        gf_logLine(gf_pathText(path) + " not found!");
        return;
    }
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (gf_addOnXmlSimObjects(text, folder, folders)) return;
    std::vector<std::string> lines;
    if (gf_readExtTextFileToStringVector(path, lines) != 0) lf_addOnLines(lines, folder, folders);
}

void lf_readAddOnsCfg(std::vector<std::string>& folders) {
    const size_t before = folders.size();
    Packages p;
    p.discovery.push_back(gf_pathText(gf_discoveryFolder()));
    lf_readOneAddOnsCfg(gf_userAddOnsCfgPath(), p);
    lf_readOneAddOnsCfg(gf_machineAddOnsCfgPath(), p);
    lf_discoverPackages(p);
    for (const std::string& package : p.active) lf_exploreAddOn(package, folders);
    gf_logf("{} AI add-on packages found", folders.size() - before);
}

void lf_readSimObjectsCfg(std::vector<std::string>& folders) {
    const fs::path path = gf_simObjectsCfgPath();
    gf_logf("\nReading {} for AI add-on packages...", gf_pathText(path));
    const size_t before = folders.size();
    std::vector<std::string> lines;
    if (lf_readConfigLines(path, lines)) {
        for (const Group& g : lf_groups(lines, {"Entry", "ENTRY"}, {"Title", "Required"})) {
            if (!lf_groupActive(g.lines)) continue;
            for (const std::string& line : lf_pathsOf(g)) {
                const std::string text = lf_localPathText(lf_afterEquals(line));
                if (line.find("SimObjects") == std::string::npos) {
                    folders.push_back(text);
                } else if (!std::any_of(std::begin(kStockCategories), std::end(kStockCategories),
                                        [&](const char* c) { return line.find(c) != std::string::npos; })) {
                    folders.push_back(
                        gf_pathText((gf_utf8Path(SIM_INSTALL_PATH.current) / gf_utf8Path(text)).make_preferred()));
                }
            }
        }
    }
    gf_logf("{} AI add-on packages found", folders.size() - before);
}
