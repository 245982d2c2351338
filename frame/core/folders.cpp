#include "frame/core/folders.h"

#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "platform/files.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

RunPaths runPaths;

void gf_storeStockAirportsPath() {
    runPaths.stockAirports = gf_utf8Path(SIM_INSTALL_PATH.current) / "Scenery";
    std::error_code ec;
    if (!fs::exists(runPaths.stockAirports, ec))
        gf_showMessage(fmt::format("Stock airports path does not exist: {}", runPaths.stockAirports.string()), true);
}

void gf_storeHardwareThreads() {
    const unsigned n = std::thread::hardware_concurrency();
    runPaths.hardwareThreads = n == 0 ? 1 : n;
}

void gf_countAirportFiles() {
    auto count = [](const fs::path& folder) {
        std::error_code ec;
        int32_t n = 0;
        for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
            if (it->is_regular_file(ec)) ++n;
        return n;
    };
    panel.thirdpartyCount = count(folders::myThirdparty);
    panel.orbxCount = count(folders::myOrbx);
    gf_invalidate(Band::Status);
}

Version gf_parseVersion(const std::string& text) {
    static const std::regex re("(\\d+).(\\d+).(\\d+)");
    std::smatch m;
    if (text.empty() || !std::regex_match(text, m, re)) return {};
    try {
        return {std::stoi(m[1].str()), std::stoi(m[2].str()), std::stoi(m[3].str())};
    } catch (const std::out_of_range&) {
        return {};  // a number too large for 32 bits is no version
    }
}

std::string gf_versionText(Version v) { return fmt::format("{}.{}.{}", v.major, v.minor, v.patch); }

Version gf_programVersion() { return gf_parseVersion(kProgramVersionText); }

void gf_makeFolder(const fs::path& p) {
    std::error_code ec;
    const bool there = fs::exists(p, ec);
    if (ec) throw fs::filesystem_error("exists", p, ec);
    if (there) return;
    fs::create_directory(p, ec);
    if (ec) throw fs::filesystem_error("create_directory", p, ec);
}

void gf_makeFolders() {
    for (const fs::path& p : {folders::output, folders::info, folders::errors, folders::airports, folders::learned,
                              folders::learned / "stock", folders::learned / "ORBX", folders::learned / "thirdparty"})
        gf_makeFolder(p);
}

fs::path gf_programAppDataFolder() { return gf_appDataFolder() / kProgramName; }

fs::path gf_serviceAppKeyPath() { return gf_appDataFolder() / "RealTraffic" / kAccountKeyFile; }

namespace {

void lf_writeKeyTemplate() {
    const nlohmann::json j = {{kAccountKeyMember, kAccountKeyPlaceholder}};
    if (gf_saveText(j.dump(4), kAccountKeyFile, true))
        gf_logMark(fmt::format("wrote a template \"{}\": put your RealTraffic license key into it", kAccountKeyFile));
}

void lf_keyFileFirstStart() {
    if (fs::exists(kAccountKeyFile)) return;
    const fs::path app = gf_serviceAppKeyPath();
    std::error_code ec;
    if (fs::exists(app, ec)) {
        gf_copyFileReplacing(app, kAccountKeyFile, ec);
        if (!ec) {
            gf_logLine(fmt::format("copied your \"{}\" to here", app.string()));
            return;
        }
    }
    lf_writeKeyTemplate();
}

void lf_keyFileOrdinary() {
    if (!fs::exists(kAccountKeyFile)) lf_writeKeyTemplate();
}

}  // namespace

void gf_migrateParameters() {
    const Version program = gf_programVersion();
    const std::string programText = gf_versionText(program);
    if (PROGRAM_VERSION.current.empty()) {
        PROGRAM_VERSION.current = programText;
        gf_saveParameter(PROGRAM_VERSION);
        lf_keyFileFirstStart();
        return;
    }
    const Version file = gf_parseVersion(PROGRAM_VERSION.current);
    if (file != program) {
        PROGRAM_VERSION.current = programText;
        gf_saveParameter(PROGRAM_VERSION);
    }
    if (!(program > file)) {
        lf_keyFileOrdinary();
        return;
    }
    gf_logLine(fmt::format("This is a version update from {} -> {}", gf_versionText(file), programText));
    std::error_code ec;
    if (fs::exists(folders::installer, ec)) {
        fs::remove(folders::installer, ec);
        if (ec) throw fs::filesystem_error("remove", folders::installer, ec);
    }
    for (const char* old : {"TIME_COMPRESSION_CHECK", "SECONDS_DELAY", "FLIGHTPLANS_FOLDER", "CALLSIGN_OBJECTID",
                            "DESTINATION_AIRPORT", "DESTINATION_GATE", "MAX_FIT_WEEK"})
        gf_removeParameter(old);
    MAX_FIT.current = MAX_FIT.clamp(MAX_FIT.current);
    gf_saveParameter(MAX_FIT);
    DATA_CHECKED_AT_DATE.current.clear();  // the daily data check runs in this start
    LAST_EPOCH_TIME.current = 0;           // no holding time after an update
    gf_saveParameter(LAST_EPOCH_TIME);
}

void lf_detectSim() {
    const char* keys[] = {"SOFTWARE\\Lockheed Martin\\Prepar3D v4", "SOFTWARE\\Lockheed Martin\\Prepar3D v5",
                          "SOFTWARE\\Lockheed Martin\\Prepar3D v6"};
    bool present[3] = {false, false, false};
    for (int i = 0; i < 3; ++i) present[i] = gf_readRegistryString(keys[i], "SetupPath").has_value();
    const bool v4 = present[0], v5 = present[1], v6 = present[2];
    if (v5 && v6)
        throw zel::UserErrorException(
            153, "More than one P3D version detected, type full Install Path to wanted version above and press Enter");
    if (v5 || v6) {
        // The name tests v5 and v4 first, so a v4 beside a v6 names "P3Dv4"; the path is the one of v5 or v6.
        const char* name = v5 ? "P3Dv5" : (v4 ? "P3Dv4" : "P3Dv6");
        gf_logLine(fmt::format("{} detected", name));
        const std::string path = gf_readRegistryString(v5 ? keys[1] : keys[2], "SetupPath").value_or("");
        if (path.empty()) {
            SIM_INSTALL_PATH.current.clear();
            throw zel::UserErrorException(
                151, "No P3D install path detected, type full Install Path above, and press Enter");
        }
        SIM_INSTALL_PATH.current = path;
        gf_saveParameter(SIM_INSTALL_PATH);
        runPaths.detectedSimVersion = v5 ? 5 : 6;
        gf_setControlText(SIM_INSTALL_PATH.controlId, path);
        return;
    }
    gf_showMessage("P3D not detected?", true);
    for (int i = 0; i < 10; ++i)
        if (!lfolder[i].current.empty() || !afolder[i].current.empty()) return;
    SIM_INSTALL_PATH.current.clear();
    throw zel::UserErrorException(151, "No P3D install path detected, type full Install Path above, and press Enter");
}

std::string gf_simVersion() {
    const std::string& p = SIM_INSTALL_PATH.current;
    if (p.find("v5") != std::string::npos || p.find("V5") != std::string::npos) return "5";
    if (p.find("v6") != std::string::npos || p.find("V6") != std::string::npos) return "6";
    if (P3D_VERSION.current >= 5) return std::to_string(P3D_VERSION.current.load());
    throw zel::UserErrorException(
        77, fmt::format("P3D install path does not contain v5 or v6? Use hidden parameter {}, set it at 5 or 6",
                        P3D_VERSION.name));
}

int32_t gf_simMajorVersion() {
    if (runPaths.detectedSimVersion != 0) return runPaths.detectedSimVersion;
    try {
        return gf_simVersion() == "6" ? 6 : 5;
    } catch (const zel::UserErrorException&) {
        return 5;  // the path does not tell and P3D_VERSION is out of its limits: the older of the two
    }
}

std::string gf_readAccountKey() {
    std::ifstream in(kAccountKeyFile, std::ios::binary);
    if (!in.is_open()) {
        gf_logMark(fmt::format("no account key file \"{}\" in the install folder", kAccountKeyFile));
        return {};
    }
    std::stringstream ss;
    ss << in.rdbuf();
    try {
        const nlohmann::json j = nlohmann::json::parse(ss.str());
        const std::string key = j.value(kAccountKeyMember, std::string());
        if (key.empty() || key == kAccountKeyPlaceholder) {
            gf_logMark(fmt::format("\"{}\" holds no account key yet: put your RealTraffic license key into it",
                                   kAccountKeyFile));
            return {};
        }
        return key;
    } catch (const nlohmann::json::exception&) {
        gf_logMark(fmt::format("\"{}\" is not a JSON file of the form {{\"{}\": \"your key\"}}", kAccountKeyFile,
                               kAccountKeyMember));
        return {};
    }
}
