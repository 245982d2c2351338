// airports/scenery_cfg.cpp — the automatic mode of the airport scan: the simulator's own lists of scenery.
// scenery.cfg holds one [Area.nnn] section per scenery with Active= and Local=; scenery_add-ons.xml holds
// the paths of the add-on packages' scenery components. Both are read as lines and searched for words.
#include <array>
#include <string_view>

#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

bool lf_has(std::string_view line, std::initializer_list<std::string_view> words) {
    for (std::string_view w : words)
        if (line.find(w) != std::string_view::npos) return true;
    return false;
}

std::string lf_trim(std::string_view s) {
    const size_t a = s.find_first_not_of(" \t");
    if (a == std::string_view::npos) return {};
    const size_t b = s.find_last_not_of(" \t");
    return std::string(s.substr(a, b - a + 1));
}

// The stock airports folder is never an add-on, whatever list names it.
bool lf_inStockAirports(const std::string& path) {
    const std::string stock = runPaths.stockAirports.string();
    return !stock.empty() && path.find(stock) != std::string::npos;
}

// One `Local` line of an active area.
void lf_takeLocal(const std::string& line, std::vector<std::string>& folders) {
    if (lf_isStockLocal(line)) return;
    const size_t eq = line.find('=');
    if (eq == std::string::npos) return;
    std::string path = lf_trim(std::string_view(line).substr(eq + 1));
    if (path.empty()) return;
    // Without a drive the path is below the simulator's folder ("Addon Scenery\X").
    if (path.find(":\\") == std::string::npos)
        path = (gf_utf8Path(SIM_INSTALL_PATH.current) / gf_utf8Path(path)).string();
    if (lf_inStockAirports(path)) return;
    gf_logLine(fmt::format("      found:{}", path));
    folders.push_back(path);
}

void lf_closeArea(const std::vector<std::string>& area, std::vector<std::string>& folders) {
    bool active = false;
    for (const std::string& l : area)
        active = active || (lf_has(l, {"Active", "ACTIVE", "active"}) && lf_has(l, {"True", "TRUE", "true"}));
    if (!active) return;
    for (const std::string& l : area)
        if (lf_has(l, {"Local", "LOCAL", "local"})) lf_takeLocal(l, folders);
}

}  // namespace

fs::path gf_simDataFolder() {
    if (!addonScan.simDataOverride.empty()) return addonScan.simDataOverride;
    return gf_programDataFolder() / "Lockheed Martin" / ("Prepar3D v" + gf_simVersion());
}

bool lf_isStockLocal(const std::string& line) {
    static constexpr std::array<std::string_view, 45> kStock = {
        "\\Cities", "\\CITIES", "\\cities", "\\World", "\\BASE", "\\Global", "\\Bathymetry", "\\AFRI", "\\ASIA",
        "\\AUST",   "\\EURE",   "\\EURW",   "\\NAMC",  "\\NAME", "\\NAMW",   "\\OCEN",       "\\SAME", "\\0006",
        "\\0007",   "\\0103",   "\\0106",   "\\0107",  "\\0206", "\\0207",   "\\0307",       "\\0407", "\\0505",
        "\\0506",   "\\0507",   "\\0606",   "\\0607",  "\\0706", "\\0707",   "\\0805",       "\\0806", "\\0807",
        "\\0900",   "\\0906",   "\\0907",   "\\1000",  "\\1006", "\\1007",   "\\1100",       "\\1102", "\\1107"};
    for (std::string_view s : kStock)
        if (line.find(s) != std::string::npos) return true;
    return false;
}

void lf_sceneryCfgFolders(const std::vector<std::string>& lines, std::vector<std::string>& folders) {
    std::vector<std::string> area;
    bool inArea = false;
    for (const std::string& line : lines) {
        if (lf_has(line, {"Area", "AREA", "area"})) {
            if (!area.empty()) lf_closeArea(area, folders);
            area.clear();
            inArea = true;
        } else if (inArea && !lf_has(line, {"Required", "REQUIRED", "Title", "TITLE", "Layer", "LAYER"})) {
            area.push_back(lf_trim(line));
        }
    }
    if (!area.empty()) lf_closeArea(area, folders);
}

void lf_readSceneryCfg(std::vector<std::string>& folders) {
    const fs::path path = gf_simDataFolder() / "scenery.cfg";
    gf_logLine(fmt::format("\nReading: {} for airport add-ons ...", path.string()));
    std::error_code ec;
    if (!fs::exists(path, ec)) {
        gf_logLine(path.string() + " not found!");
        return;
    }
    std::vector<std::string> lines;
    gf_readExtTextFileToStringVector(path, lines);
    const size_t before = folders.size();
    lf_sceneryCfgFolders(lines, folders);
    gf_logLine(fmt::format("{} scenery add-on paths found\n", folders.size() - before));
}

void lf_readSceneryAddons(std::vector<std::string>& folders) {
    const fs::path path = gf_simDataFolder() / "scenery_add-ons.xml";
    gf_logLine(fmt::format("\nReading {} for add-on airport ...", path.string()));
    std::error_code ec;
    const size_t before = folders.size();
    if (!fs::exists(path, ec)) {
        gf_logLine(path.string() + " not found!");
    } else {
        std::vector<std::string> lines;
        gf_readExtTextFileToStringVector(path, lines);
        for (const std::string& line : lines) {
            const size_t open = line.find("<Path>");
            const size_t close = line.find("</Path>");
            if (open == std::string::npos || close == std::string::npos || close < open + 6) continue;
            const std::string p = line.substr(open + 6, close - open - 6);
            gf_logLine(fmt::format("found path:{}", p));
            folders.push_back(p);
        }
    }
    gf_logLine(fmt::format("{} scenery add-on paths found\n", folders.size() - before));
}
