// frame/links_seam.h — the test seam of frame/links.cpp, kept apart from the links themselves.
// The program never sets any of this: without a trace and with empty answers every link behaves as if the
// seam were not there. Tests (and a diagnosis by hand) include it to watch which steps the frame asks for,
// in order, and to answer the questions of subsystems that are not there yet.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/geo.h"

namespace links {

void setTrace(std::vector<std::string>* trace);  // nullptr: no trace

// An answer that is set replaces the subsystem's; an empty one leaves the link as it is.
struct Answers {
    std::optional<bool> parkedTableEmpty;
    std::optional<bool> userOnGround;
    std::optional<double> userAltitudeFt;
    std::optional<LatLon> userPosition;
    std::optional<double> nearestListedAirportNm;
    std::optional<double> simTimeSeconds;
    std::optional<bool> renewParking;
};
extern Answers answers;

}  // namespace links
