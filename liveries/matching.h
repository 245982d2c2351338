// liveries/matching.h — PLACEHOLDER until the livery matching arrives from its branch: every aircraft
// gets the title "generic" (a simulator double that knows no titles accepts it).
#pragma once

#include <set>
#include <string>

#include "engine/act.h"

bool gf_matchLive(Act& act);
std::set<std::string>& gf_noMatchAircraft();
std::string gf_keyOf(const AcBase& ac);
