// liveries/regcodes.h — input/AIG-regcodes.xml and the user's files in input/my_regcodes: they tie liveries
// to exact registrations and reserve special liveries for them. Applied at every start once the
// registrations of the aircraft files are in regcodeLiveries, so AIG-regcodes.xml overrides the aircraft
// files and the user's files override both. The results go to output/info/OfflineRegcodes.txt.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

// Changes liveries.regcodeLiveries, fills liveries.specialLiveries, writes OfflineRegcodes.txt.
void lf_readRegcodeFiles();
void lf_readAigRegcodes(std::vector<std::string>& results);
void lf_readMyRegcodes(std::vector<std::string>& results);

// Before a scan: the titles it must not use, into liveryScan.dontUseTitles. From AIG-regcodes.xml the
// liveries without registrations, from the user's files the one-field lines of 9 characters or more.
void lf_readDontUseAig();
void lf_readDontUseMine();

// True when the folder holds at least one regular file.
bool gf_folderHasFiles(const std::filesystem::path& folder);
