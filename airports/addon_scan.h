// airports/addon_scan.h — the add-on airport scan: which scenery folders to read (scenery.cfg,
// scenery_add-ons.xml or the user's afolder parameters), the BGL files in them read by workers, and per
// airport a link to the archived file or a generated airport file in airports/my_ORBX or my_thirdparty.
// Its lines go into the report output/info/AirportsScanLog.txt, not the log.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "airports/bgl.h"

inline const std::filesystem::path kAirportsScanLog = "output/info/AirportsScanLog.txt";

// The whole scan; true when at least one airport was linked to an archived file.
bool gf_scanAddonAirports(bool automatic, std::vector<std::string> folders);
// One line of the scan report, from any thread.
void gf_reportLine(const std::string& text);

// Where the simulator keeps scenery.cfg: <program data>\Lockheed Martin\Prepar3D v<5|6>, or the override.
std::filesystem::path gf_simDataFolder();
// Automatic mode: the active scenery areas of scenery.cfg, then the paths of scenery_add-ons.xml.
void lf_readSceneryCfg(std::vector<std::string>& folders);
void lf_readSceneryAddons(std::vector<std::string>& folders);
// The Scenery components of the active add-on packages of both add-ons.cfg files (roaming, program data).
void lf_readAddOnPackages(std::vector<std::string>& folders);
// The folders of scenery.cfg's lines (the file's text, any encoding already turned to UTF-8).
void lf_sceneryCfgFolders(const std::vector<std::string>& lines, std::vector<std::string>& folders);
// A scenery path of the simulator's own (regions, tiles, world, cities, ...).
bool lf_isStockLocal(const std::string& line);
// One entry of the list: every BGL file with airports below it, read by workers.
void lf_scanFolder(const std::string& path);
// The worker of one file: reads it whole and handles every airport in it.
void lf_toParkingPositions(const std::filesystem::path& path);
// One decoded airport: linked to its archived file, and/or given a generated airport file.
void lf_processAirport(BglAirport& airport, const std::string& path);
// Refills TO_BE_LEARNED_OFFLINE with the generated files whose stock airport has a history.
void gf_prepareOfflineLearning();
