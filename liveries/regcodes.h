// liveries/regcodes.h — input/AIG-regcodes.xml and the user's files in input/my_regcodes: they tie liveries
// to exact registrations and reserve special liveries for them. Applied at every start once the
// registrations of the aircraft files are in regcodeLiveries, so AIG-regcodes.xml overrides the aircraft
// files and the user's files override both. The results go to output/info/OfflineRegcodes.txt.
#pragma once

#include <string>
#include <vector>

// Changes liveries.regcodeLiveries, fills liveries.specialLiveries, writes OfflineRegcodes.txt.
void lf_readRegcodeFiles();
void lf_readAigRegcodes(std::vector<std::string>& results);
void lf_readMyRegcodes(std::vector<std::string>& results);
