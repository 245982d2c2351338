// airports/addon_packages.cpp — scenery of the add-on packages: add-ons.cfg names the packages (in the
// roaming and in the machine's program data folder), and each active package's add-on.xml names its
// components; those of the category Scenery are folders for the airport scan. Packages installed this way
// need not appear in scenery.cfg.
#include <algorithm>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/textfiles.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

bool lf_hasNoCase(std::string line, std::string_view word) {
    std::transform(line.begin(), line.end(), line.begin(), [](unsigned char c) { return std::tolower(c); });
    return line.find(word) != std::string::npos;
}

std::string lf_valueOf(const std::string& line) {
    const size_t eq = line.find('=');
    if (eq == std::string::npos) return {};
    const size_t a = line.find_first_not_of(" \t", eq + 1);
    const size_t b = line.find_last_not_of(" \t");
    return a == std::string::npos ? std::string() : line.substr(a, b - a + 1);
}

void lf_addOnce(const std::string& folder, std::vector<std::string>& folders) {
    if (std::find(folders.begin(), folders.end(), folder) == folders.end()) folders.push_back(folder);
}

// The Scenery components of one package; a relative path is below the package's folder.
void lf_sceneryOfPackage(const std::string& package, std::vector<std::string>& folders) {
    const fs::path folder = gf_utf8Path(package);
    pugi::xml_document document;
    if (!document.load_file((folder / "add-on.xml").c_str())) {
        gf_logLine(fmt::format("   {} not found!", (folder / "add-on.xml").string()));
        return;
    }
    for (const pugi::xml_node component : document.document_element().children("AddOn.Component")) {
        if (!lf_hasNoCase(component.child_value("Category"), "scenery")) continue;
        const std::string path = component.child_value("Path");
        if (path.empty()) continue;
        const fs::path p = gf_utf8Path(path);
        const std::string full =
            p.is_absolute() || path.find(":\\") != std::string::npos ? path : (folder / p).string();
        gf_logLine(fmt::format("      scenery found:{}", full));
        lf_addOnce(full, folders);
    }
}

// The active packages of one add-ons.cfg: groups that begin with a [Package.n] head.
void lf_readAddOnsCfgScenery(const fs::path& cfg, std::vector<std::string>& folders) {
    gf_logLine(fmt::format("\nReading {} for scenery add-on packages ...", cfg.string()));
    std::vector<std::string> lines;
    std::error_code ec;
    if (!fs::exists(cfg, ec) || gf_readExtTextFileToStringVector(cfg, lines) == 0) {
        gf_logLine(cfg.string() + " not found!");
        return;
    }
    std::vector<std::string> packages;
    bool active = false;
    std::string path;
    const auto close = [&] {
        if (active && !path.empty()) packages.push_back(path);
        active = false;
        path.clear();
    };
    for (const std::string& line : lines) {
        if (lf_hasNoCase(line, "[package")) {
            close();
        } else if (lf_hasNoCase(line, "active")) {
            active = lf_hasNoCase(lf_valueOf(line), "true");
        } else if (lf_hasNoCase(line, "path")) {
            path = lf_valueOf(line);
        }
    }
    close();
    const size_t before = folders.size();
    for (const std::string& p : packages) lf_sceneryOfPackage(p, folders);
    gf_logLine(fmt::format("{} scenery add-on paths found\n", folders.size() - before));
}

}  // namespace

void lf_readAddOnPackages(std::vector<std::string>& folders) {
    // Packages installed for this user only, under the roaming folder; a test's or the demo's folder of the
    // simulator's files stands for both.
    if (addonScan.simDataOverride.empty())
        lf_readAddOnsCfgScenery(
            gf_appDataFolder() / "Lockheed Martin" / ("Prepar3D v" + gf_simVersion()) / "add-ons.cfg", folders);
    lf_readAddOnsCfgScenery(gf_simDataFolder() / "add-ons.cfg", folders);
}
