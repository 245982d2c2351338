// frame/core/folders.h — the folder tree of the install folder (the current directory), the program version,
// the migration of parameters.xml from an older version, the detection of the simulator, the account key file.
#pragma once

#include <compare>
#include <cstdint>
#include <filesystem>
#include <string>

struct Version {
    int32_t major = 0, minor = 0, patch = 0;
    auto operator<=>(const Version&) const = default;
};
// The whole text must match (\d+).(\d+).(\d+), each dot any character; else 0.0.0.
Version gf_parseVersion(const std::string& text);
std::string gf_versionText(Version v);
Version gf_programVersion();  // 9.3.0

// Paths relative to the install folder.
namespace folders {
inline const std::filesystem::path docs = "docs";
inline const std::filesystem::path input = "input";
inline const std::filesystem::path dbaseXml = "input/dbase.xml";
inline const std::filesystem::path aigRegcodesXml = "input/AIG-regcodes.xml";
inline const std::filesystem::path airportsXml = "input/airports_p3d.xml";
inline const std::filesystem::path fixesXml = "input/fixes.xml";
inline const std::filesystem::path regcodesAig = "input/regcodesAIG";
inline const std::filesystem::path myRegcodes = "input/my_regcodes";
inline const std::filesystem::path airports = "airports";
inline const std::filesystem::path archive = "airports/archive";
inline const std::filesystem::path learned = "airports/learned";
inline const std::filesystem::path myOrbx = "airports/my_ORBX";
inline const std::filesystem::path myThirdparty = "airports/my_thirdparty";
inline const std::filesystem::path myParkAirports = "airports/my_park_airports.txt";
inline const std::filesystem::path output = "output";
inline const std::filesystem::path liveriesScanned = "output/LiveriesScanned.xml";
inline const std::filesystem::path info = "output/info";
inline const std::filesystem::path errors = "output/errors";
inline const std::filesystem::path toBeLearnedOffline = "TO_BE_LEARNED_OFFLINE";
inline const std::filesystem::path versionJson = "version.json";
inline const std::filesystem::path archiveZip = "archive.zip";
inline const std::filesystem::path installer = "install_new_version.exe";
}  // namespace folders

// What a run finds out at its start about the machine and the simulator.
struct RunPaths {
    std::filesystem::path stockAirports;  // Scenery under SIM_INSTALL_PATH: the simulator's own airports
    unsigned hardwareThreads = 1;         // for the scan workers
    int32_t detectedSimVersion = 0;       // 5 or 6: the Prepar3D that lf_detectSim found; 0 none yet
};
extern RunPaths runPaths;
// Stores the stock airports folder; shows "Stock airports path does not exist: {}" when it is missing.
void gf_storeStockAirportsPath();
void gf_storeHardwareThreads();
// Counts the files in my_thirdparty and my_ORBX into the status panel.
void gf_countAirportFiles();

// Makes output, output/info, output/errors, airports, airports/learned and its three folders,
// each only if missing. Throws std::filesystem::filesystem_error ("exists", "create_directory").
void gf_makeFolders();
// Makes one folder if it does not exist, with the same errors.
void gf_makeFolder(const std::filesystem::path& p);

// Behind gf_readParameters: first start, update or nothing.
void gf_migrateParameters();

// Finds the simulator in the registry when SIM_INSTALL_PATH is empty. Throws UserErrorException 151/153.
void lf_detectSim();
// "5" or "6": from the install path, else P3D_VERSION; UserErrorException 77 when neither tells.
std::string gf_simVersion();
// The simulator's major version for the connection (its default pipe and ports): 5 or 6 as lf_detectSim
// found it in this process, else as gf_simVersion tells; 5 when nothing tells.
int32_t gf_simMajorVersion();

// The account key of the traffic service: {"license": "..."} in the install folder.
// The traffic service's own application keeps the same file in its app-data folder.
inline constexpr const char* kAccountKeyFile = "RealTrafficKey.json";
inline constexpr const char* kAccountKeyMember = "license";
inline constexpr const char* kAccountKeyPlaceholder = "PUT-YOUR-REALTRAFFIC-LICENSE-KEY-HERE";
std::filesystem::path gf_serviceAppKeyPath();  // <roaming app data>/RealTraffic/RealTrafficKey.json
// The program's own folder in the roaming app data: parameters.xml and the flight plans in use.
std::filesystem::path gf_programAppDataFolder();
// Reads the key; empty (with a log mark, never the key itself) when missing, malformed or the placeholder.
std::string gf_readAccountKey();
