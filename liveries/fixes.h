// liveries/fixes.h — input/fixes.xml: corrections of type codes and the airline codes that mean a
// private or a government owner, applied by the aircraft.cfg scan. Read once per process, right after
// the database; a restart keeps them.
#pragma once

#include <set>
#include <string>
#include <unordered_map>

struct FixTables {
    std::unordered_map<std::string, std::string> modelFixes;  // wrong type code -> right type code
    std::set<std::string> pvtFixes;                           // airline codes meaning a private owner
    std::set<std::string> govFixes;                           // airline codes meaning a government owner
};
extern FixTables fixes;  // defined in liveries/fixes.cpp; written on the start-up thread only

// Fills the tables (emptied first). Needs the database: corrections must name valid types, and real
// airline codes are refused as PVT/GOV codes. A missing or broken file throws UserErrorException 3.
void gf_readFixes();
// Empties the tables; tests call it, a restart does not.
void gf_clearFixes();
