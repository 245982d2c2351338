// liveries/addons.h — the aircraft folders of the installed add-on packages, as Prepar3D itself knows
// them: add-ons.cfg (the user's and the machine's), the auto-discovery folder "Prepar3D vN Add-ons" in
// the documents, the add-on.xml of each active package, and simobjects.cfg. Used by an automatic scan.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

// Each appends to `folders` and logs what it found; a file that is missing or unreadable adds nothing.
void lf_readAddOnsCfg(std::vector<std::string>& folders);
void lf_readSimObjectsCfg(std::vector<std::string>& folders);
void lf_exploreAddOn(const std::string& packageFolder, std::vector<std::string>& folders);

// The SimObjects paths of an add-on.xml given as text, relative ones joined to the package folder.
// False when the text is no XML document (the caller then reads it line by line).
bool gf_addOnXmlSimObjects(std::string_view text, const std::filesystem::path& packageFolder,
                           std::vector<std::string>& out);

// Where the simulator keeps its configuration files, for the version of gf_simVersion.
std::filesystem::path gf_userAddOnsCfgPath();     // <roaming app data>/Lockheed Martin/Prepar3D vN/add-ons.cfg
std::filesystem::path gf_machineAddOnsCfgPath();  // <program data>/Lockheed Martin/Prepar3D vN/add-ons.cfg
std::filesystem::path gf_simObjectsCfgPath();     // <program data>/Lockheed Martin/Prepar3D vN/simobjects.cfg
std::filesystem::path gf_discoveryFolder();       // <documents>/Prepar3D vN Add-ons
