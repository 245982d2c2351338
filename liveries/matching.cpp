#include "liveries/matching.h"

#include <fmt/format.h>

bool gf_matchLive(Act& act) {
    static const std::string kTitle = "generic";
    act.livery = kTitle;
    return true;
}
std::set<std::string>& gf_noMatchAircraft() {
    static std::set<std::string> set;
    return set;
}
std::string gf_keyOf(const AcBase& ac) { return fmt::format("{:3} {:4} {}", ac.airline, ac.model, ac.reg); }
