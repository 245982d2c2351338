// tools/fidelity/measure.h — how closely the objects the simulator showed follow their recorded flights,
// shifted by the live delay: positional error on the ground and in the air, jumps between two frames,
// sink rate at touchdown, the end on a stand and the push back at the start.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/geo.h"
#include "tools/simdouble/simdouble.h"
#include "tools/trafficdouble/double.h"

namespace fidelity {

// Nearest-rank statistics of a list; 0 for an empty one. p in [0, 1].
double gf_percentile(std::vector<double> values, double p);
inline double gf_median(std::vector<double> values) { return gf_percentile(std::move(values), 0.5); }

// The recorded flight at this UTC as the traffic double replays it: position, altitudes, speed and vertical
// rate linear between the two rows around it, the ground flag of the row before. Empty when the flight is
// not being replayed then.
std::optional<tdbl::TrackPoint> gf_recordedAt(const tdbl::Scenario& s, size_t flight, double utc);

struct Stand {
    std::string name;
    LatLon at;
    double headingDeg = 0.0;
};
// name,lat,lon,heading_deg,... with a header line; empty when the file cannot be read.
std::vector<Stand> gf_readStands(const std::filesystem::path& csv);
// The nearest stand within `withinM` metres, or null.
const Stand* gf_nearestStand(const std::vector<Stand>& stands, LatLon at, double withinM);

// One recorded flight against everything the simulator showed of it.
struct FlightResult {
    std::string callsign;
    size_t objects = 0, points = 0;
    std::vector<double> groundErrM, airErrM;  // per frame, split by the recorded ground flag
    double worstJumpExcessM = -1e9;           // over recorded speed x frame time + 1 m; negative: none
    std::vector<double> touchdownSinkFpm;
    std::string endStand;  // the recording ends parked here ("" if it does not)
    std::optional<double> standDistM, standHeadingErrDeg;
    std::string startStand;             // the recording starts standing still here ("" if it does not)
    std::optional<bool> pushBackwards;  // the shown aircraft left its stand tail first
};

struct CompareSetup {
    double delayS = 30.0;      // the live delay
    double simEpochUtc = 0.0;  // UTC at the double's time 0
    double runEndUtc = 0.0;    // UTC when the run stopped
    // A recording that starts or ends this close to a stand is on it: the fixes lie tens of metres off.
    double standWithinM = 50.0;
    double pushMetres = 5.0;  // movement from the first position that tells the direction of leaving
    // A recording starts on its stand only if it stands still there for the live delay: its fixes stay
    // within the scatter of a standing aircraft's fixes. One that moves sooner is already rolling when the
    // program first sees it (30 s of its future at once) and is made taxiing, not on the stand.
    double startStillS = 30.0;
    double startStillM = 25.0;
};

// `objects` are the simulator's objects of flight `flight`, in creation order.
FlightResult gf_compareFlight(const tdbl::Scenario& s, size_t flight,
                              const std::vector<const simdouble::SimObject*>& objects, const std::vector<Stand>& stands,
                              const CompareSetup& setup);

}  // namespace fidelity
