// fidelity — replays the recorded flights through the program and the simulator double in process and
// measures, per flight, how closely what the simulator showed follows the real aircraft 30 s earlier.
// Prints one table and writes it with a PNG plot per airport under --out (default <build>/fidelity).
//   fidelity [--seconds N] [--out DIR]
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <string>

#include <fmt/format.h>

#include "airports/state.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/frame.h"
#include "liveries/state.h"
#include "parking/state.h"
#include "service/state.h"
#include "simlink/state.h"
#include "tools/fidelity/measure.h"
#include "tools/fidelity/png.h"
#include "tools/harness/harness.h"

namespace {
namespace fs = std::filesystem;
using fidelity::FlightResult;

constexpr double kParkedWithinM = 2.0;
constexpr double kParkedWithinDeg = 3.0;
constexpr int kPlotPixels = 1400;
constexpr double kPlotMarginM = 800.0;  // around the stands
const fidelity::Rgb kBackground{255, 255, 255}, kStandColour{150, 150, 150}, kRealColour{30, 90, 220},
    kShownColour{220, 40, 30};

struct Args {
    // Four hours: every recording plays to its end at least once, the longest (3 h 45 min) too. About 4 s of
    // CPU and 200 MB.
    int64_t seconds = 14400;
    fs::path out = fs::path(ZARK_BINARY_DIR) / "fidelity";
};

bool lf_parseArgs(int argc, char** argv, Args& a) {
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (i + 1 >= argc) return false;
        if (arg == "--seconds") {
            char* end = nullptr;
            a.seconds = std::strtoll(argv[++i], &end, 10);
            if (*end != '\0' || a.seconds <= 0) return false;
        } else if (arg == "--out") {
            a.out = argv[++i];
        } else {
            return false;
        }
    }
    return true;
}

// The program's globals as a new process has them, with its files in `dir`.
void lf_freshProgram(const fs::path& dir) {
    fs::create_directories(dir / "docs");
    fs::current_path(dir);
    gf_closeLog();
    gf_resetProgram();
    gf_openLog("Log.txt");
}

std::string lf_num(double v, const char* form = "{:.0f}") { return fmt::format(fmt::runtime(form), v); }

std::string lf_row(const FlightResult& r) {
    std::string sink = "-";
    if (!r.touchdownSinkFpm.empty())
        sink = lf_num(*std::max_element(r.touchdownSinkFpm.begin(), r.touchdownSinkFpm.end()));
    std::string stand = "-";
    if (!r.endStand.empty())
        stand = r.standDistM ? fmt::format("{} {:.1f}m {:.0f}deg", r.endStand, *r.standDistM, *r.standHeadingErrDeg)
                             : r.endStand + " not reached";
    std::string push = "-";
    if (!r.startStand.empty())
        push = r.pushBackwards ? fmt::format("{} {}", r.startStand, *r.pushBackwards ? "backwards" : "FORWARDS")
                               : r.startStand + " not seen";
    const bool anyPoints = !r.groundErrM.empty() || !r.airErrM.empty();
    return fmt::format("{:<9} {:>4} {:>6} {:>8} {:>8} {:>8} {:>8} {:>9} {:>6}  {:<22} {}", r.callsign, r.objects,
                       r.points, r.groundErrM.empty() ? "-" : lf_num(fidelity::gf_median(r.groundErrM)),
                       r.groundErrM.empty() ? "-" : lf_num(fidelity::gf_percentile(r.groundErrM, 0.95)),
                       r.airErrM.empty() ? "-" : lf_num(fidelity::gf_median(r.airErrM)),
                       r.airErrM.empty() ? "-" : lf_num(fidelity::gf_percentile(r.airErrM, 0.95)),
                       anyPoints && r.objects > 0 ? lf_num(std::max(0.0, r.worstJumpExcessM), "{:.1f}") : "-", sink,
                       stand, push);
}

std::string lf_table(const std::vector<FlightResult>& results, int64_t seconds) {
    std::string t = fmt::format("Recorded flights against the simulator, 30 s late, {} s of replay\n", seconds);
    t += fmt::format("{:<9} {:>4} {:>6} {:>8} {:>8} {:>8} {:>8} {:>9} {:>6}  {:<22} {}\n", "flight", "objs", "frames",
                     "gnd med", "gnd p95", "air med", "air p95", "jump>v*dt", "sink", "end stand: dist hdg",
                     "start stand: push");
    std::vector<double> ground, air;
    double worstJump = 0.0, worstSink = 0.0;
    size_t touchdowns = 0;
    int parked = 0, parkedOf = 0, backwards = 0, pushes = 0;
    for (const FlightResult& r : results) {
        t += lf_row(r) + "\n";
        ground.insert(ground.end(), r.groundErrM.begin(), r.groundErrM.end());
        air.insert(air.end(), r.airErrM.begin(), r.airErrM.end());
        if (r.points > 0) worstJump = std::max(worstJump, r.worstJumpExcessM);
        for (double s : r.touchdownSinkFpm) worstSink = std::max(worstSink, s);
        touchdowns += r.touchdownSinkFpm.size();
        if (!r.endStand.empty()) {
            ++parkedOf;
            if (r.standDistM && *r.standDistM <= kParkedWithinM && *r.standHeadingErrDeg <= kParkedWithinDeg) ++parked;
        }
        if (!r.startStand.empty()) {
            ++pushes;
            if (r.pushBackwards.value_or(false)) ++backwards;
        }
    }
    t += fmt::format(
        "ALL: ground median {:.0f} m, air median {:.0f} m, worst jump excess {:.1f} m, worst sink {}, "
        "parked within {:.0f} m/{:.0f} deg {} of {}, push backs backwards {} of {}\n",
        fidelity::gf_median(ground), fidelity::gf_median(air), worstJump,
        touchdowns == 0 ? std::string("none (no touchdown)")
                        : fmt::format("{:.0f} ft/min of {} touchdowns", worstSink, touchdowns),
        kParkedWithinM, kParkedWithinDeg, parked, parkedOf, backwards, pushes);
    return t;
}

// Tracks over the stands: the recordings in blue, what the simulator showed in red, stands grey.
bool lf_plot(const fs::path& file, const tdbl::Scenario& s, const std::vector<fidelity::Stand>& stands,
             const std::map<int, std::vector<const simdouble::SimObject*>>& byFlight) {
    if (stands.empty()) return false;
    double south = 90, north = -90, west = 180, east = -180;
    for (const fidelity::Stand& st : stands) {
        south = std::min(south, st.at.lat);
        north = std::max(north, st.at.lat);
        west = std::min(west, st.at.lon);
        east = std::max(east, st.at.lon);
    }
    const double midLat = (south + north) / 2.0;
    const double metresPerDegLat = 111320.0, metresPerDegLon = 111320.0 * std::cos(midLat * kDegToRad);
    const double widthM = (east - west) * metresPerDegLon + 2 * kPlotMarginM;
    const double heightM = (north - south) * metresPerDegLat + 2 * kPlotMarginM;
    const double pxPerM = kPlotPixels / std::max(widthM, heightM);
    fidelity::Canvas canvas(static_cast<int>(widthM * pxPerM) + 1, static_cast<int>(heightM * pxPerM) + 1, kBackground);
    const auto x = [&](double lon) { return ((lon - west) * metresPerDegLon + kPlotMarginM) * pxPerM; };
    const auto y = [&](double lat) { return ((north - lat) * metresPerDegLat + kPlotMarginM) * pxPerM; };
    for (const fidelity::Stand& st : stands)
        canvas.dot(static_cast<int>(x(st.at.lon)), static_cast<int>(y(st.at.lat)), 2, kStandColour);
    for (const auto& [flight, objects] : byFlight) {
        const auto& points = s.flights.at(static_cast<size_t>(flight)).points;
        for (size_t i = 1; i < points.size(); ++i)
            canvas.line(x(points[i - 1].lon), y(points[i - 1].lat), x(points[i].lon), y(points[i].lat), kRealColour);
    }
    for (const auto& [flight, objects] : byFlight)
        for (const simdouble::SimObject* o : objects)
            for (size_t i = 1; i < o->track.size(); ++i)
                canvas.line(x(o->track[i - 1].longitude), y(o->track[i - 1].latitude), x(o->track[i].longitude),
                            y(o->track[i].latitude), kShownColour);
    return fidelity::gf_writePng(file, canvas);
}
}  // namespace

int main(int argc, char** argv) {
    Args args;
    if (!lf_parseArgs(argc, argv, args)) {
        std::cerr << "usage: fidelity [--seconds N] [--out DIR]\n";
        return 2;
    }
    args.out = fs::absolute(args.out);
    fs::create_directories(args.out);
    lf_freshProgram(args.out / "run");

    harness::Options options = harness::gf_zurichOptions(ZARK_SOURCE_DIR, ZARK_BINARY_DIR);
    options.sim.trackIntervalMs = 0;  // every position the program sets: jumps show between two of them
    options.liveriesFile = false;     // a generic livery for every type: every recorded flight is shown
    const std::vector<fidelity::Stand> stands =
        fidelity::gf_readStands(fs::path(ZARK_SOURCE_DIR) / "data" / "tracks" / "LSZH_stands.csv");
    harness::Harness h(options);
    if (!h.start()) {
        std::cerr << "fidelity: the simulator double did not start\n";
        return 1;
    }
    h.runFor(args.seconds * 1000);

    std::map<int, std::vector<const simdouble::SimObject*>> byFlight;
    for (const simdouble::SimObject* o : h.aiObjects()) {
        const int flight = h.flightOfCallsign(o->tail);
        if (flight >= 0) byFlight[flight].push_back(o);
    }
    fidelity::CompareSetup setup;
    setup.simEpochUtc = h.utcAtSimMs(0);
    setup.runEndUtc = h.utcNow();
    std::vector<FlightResult> results;
    const tdbl::Scenario& traffic = h.options().traffic;
    for (size_t f = 0; f < traffic.flights.size(); ++f) {
        auto& objects = byFlight[static_cast<int>(f)];
        std::sort(objects.begin(), objects.end(), [](const simdouble::SimObject* a, const simdouble::SimObject* b) {
            return a->createdMs < b->createdMs;
        });
        results.push_back(fidelity::gf_compareFlight(traffic, f, objects, stands, setup));
    }

    const std::string table = lf_table(results, args.seconds);
    std::cout << table;
    std::ofstream(args.out / "fidelity.txt") << table;
    const fs::path plot = args.out / (traffic.airport + ".png");
    if (!lf_plot(plot, traffic, stands, byFlight)) {
        std::cerr << "fidelity: could not write " << plot << "\n";
        return 1;
    }
    std::cout << "plot: " << plot.string() << " (blue recorded, red shown, grey stands)\n";
    return 0;
}
