#include "tools/fidelity/measure.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <list>
#include <map>
#include <sstream>

namespace fidelity {

namespace {
constexpr double kMetresPerNm = 1852.0;
constexpr double kMetresPerSecondPerKnot = kMetresPerNm / 3600.0;
constexpr double kJumpSlackM = 1.0;       // rounding of positions, a frame's turn
constexpr double kSinkWindowMs = 1000.0;  // sink rate over the last second before touchdown

double lf_metres(LatLon a, LatLon b) { return gf_distanceNm(a, b) * kMetresPerNm; }

// Seconds into the replay cycle of this flight at this UTC, in [0, duration + gap).
double lf_phase(const tdbl::Scenario& s, size_t flight, double utc) {
    const double period = s.flights.at(flight).durationS + s.replayGapS;
    double phase = std::fmod(
        utc - static_cast<double>(s.replayOriginUnix) - static_cast<double>(flight) * s.replayStaggerS, period);
    return phase < 0.0 ? phase + period : phase;
}

double lf_lerp(double a, double b, double k) { return a + (b - a) * k; }

// What the simulator showed at each distinct moment: of several positions set in one millisecond only the
// last was ever seen.
std::vector<simdouble::TrackPoint> lf_shown(const simdouble::SimObject& o) {
    std::vector<simdouble::TrackPoint> shown;
    for (const simdouble::TrackPoint& p : o.track) {
        if (!shown.empty() && shown.back().atMs == p.atMs)
            shown.back() = p;
        else
            shown.push_back(p);
    }
    return shown;
}

// Recorded speed in metres per second over [utcA, utcB]: the larger ground speed of the two moments, or
// the distance between them where the recording has no speed.
double lf_recordedSpeed(const tdbl::TrackPoint& a, const tdbl::TrackPoint& b, double dtS) {
    const double ga = std::isnan(a.groundSpeedKt) ? 0.0 : a.groundSpeedKt;
    const double gb = std::isnan(b.groundSpeedKt) ? 0.0 : b.groundSpeedKt;
    const double bySpeed = std::max(ga, gb) * kMetresPerSecondPerKnot;
    const double byDistance = dtS > 0.0 ? lf_metres({a.lat, a.lon}, {b.lat, b.lon}) / dtS : 0.0;
    return std::max(bySpeed, byDistance);
}

bool lf_startsStill(const tdbl::Flight& f, const CompareSetup& setup) {
    const tdbl::TrackPoint& first = f.points.front();
    for (const tdbl::TrackPoint& p : f.points) {
        if (p.t - first.t > setup.startStillS) break;
        if (lf_metres({first.lat, first.lon}, {p.lat, p.lon}) > setup.startStillM) return false;
    }
    return true;
}
}  // namespace

double gf_percentile(std::vector<double> values, double p) {
    if (values.empty()) return 0.0;
    // Nearest rank: the smallest value with at least p of the list at or below it.
    const double rank = std::ceil(p * static_cast<double>(values.size()));
    const size_t i = std::min(values.size() - 1, static_cast<size_t>(std::max(1.0, rank)) - 1);
    std::nth_element(values.begin(), values.begin() + static_cast<long>(i), values.end());
    return values[i];
}

std::optional<tdbl::TrackPoint> gf_recordedAt(const tdbl::Scenario& s, size_t flight, double utc) {
    const tdbl::Flight& f = s.flights.at(flight);
    if (f.points.empty()) return std::nullopt;
    const double phase = lf_phase(s, flight, utc);
    if (phase > f.durationS) return std::nullopt;
    const auto after = std::upper_bound(f.points.begin(), f.points.end(), phase,
                                        [](double t, const tdbl::TrackPoint& p) { return t < p.t; });
    if (after == f.points.begin()) return std::nullopt;
    const tdbl::TrackPoint& a = *std::prev(after);
    if (after == f.points.end() || after->t == a.t) return a;
    const tdbl::TrackPoint& b = *after;
    const double k = (phase - a.t) / (b.t - a.t);
    tdbl::TrackPoint p = a;
    p.t = phase;
    p.lat = lf_lerp(a.lat, b.lat, k);
    p.lon = lf_lerp(a.lon, b.lon, k);
    p.baroAltFt = lf_lerp(a.baroAltFt, b.baroAltFt, k);
    p.geoAltFt = lf_lerp(a.geoAltFt, b.geoAltFt, k);
    p.groundSpeedKt = lf_lerp(a.groundSpeedKt, b.groundSpeedKt, k);
    p.verticalRateFpm = lf_lerp(a.verticalRateFpm, b.verticalRateFpm, k);
    return p;
}

std::vector<Stand> gf_readStands(const std::filesystem::path& csv) {
    std::vector<Stand> stands;
    std::ifstream in(csv);
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
        std::istringstream fields(line);
        std::string name, lat, lon, heading;
        if (!std::getline(fields, name, ',') || !std::getline(fields, lat, ',') || !std::getline(fields, lon, ',') ||
            !std::getline(fields, heading, ','))
            continue;
        // A name met twice keeps its first row, as the harness's stand table does.
        if (std::any_of(stands.begin(), stands.end(), [&](const Stand& s) { return s.name == name; })) continue;
        try {
            stands.push_back({name, {std::stod(lat), std::stod(lon)}, std::stod(heading)});
        } catch (const std::exception&) {
            continue;  // a damaged line costs only its stand
        }
    }
    return stands;
}

const Stand* gf_nearestStand(const std::vector<Stand>& stands, LatLon at, double withinM) {
    const Stand* best = nullptr;
    double bestM = withinM;
    for (const Stand& s : stands) {
        const double m = lf_metres(at, s.at);
        if (m <= bestM) {
            bestM = m;
            best = &s;
        }
    }
    return best;
}

FlightResult gf_compareFlight(const tdbl::Scenario& s, size_t flight,
                              const std::vector<const simdouble::SimObject*>& objects, const std::vector<Stand>& stands,
                              const CompareSetup& setup) {
    const tdbl::Flight& f = s.flights.at(flight);
    FlightResult r;
    r.callsign = f.callsign;
    r.objects = objects.size();
    if (f.points.empty()) return r;
    const tdbl::TrackPoint& first = f.points.front();
    const tdbl::TrackPoint& last = f.points.back();
    const Stand* startStand = first.onGround == 1 && lf_startsStill(f, setup)
                                  ? gf_nearestStand(stands, {first.lat, first.lon}, setup.standWithinM)
                                  : nullptr;
    const Stand* endStand =
        last.onGround == 1 ? gf_nearestStand(stands, {last.lat, last.lon}, setup.standWithinM) : nullptr;
    if (startStand) r.startStand = startStand->name;
    if (endStand) r.endStand = endStand->name;

    std::map<long, const simdouble::TrackPoint*> restByReplay;  // by the replay's end, whole seconds
    std::list<std::vector<simdouble::TrackPoint>> shownOf;      // keeps what restByReplay points into
    for (const simdouble::SimObject* o : objects) {
        std::vector<simdouble::TrackPoint> shown = lf_shown(*o);
        if (shown.empty()) continue;
        const auto utcOf = [&](const simdouble::TrackPoint& p) {
            return setup.simEpochUtc + static_cast<double>(p.atMs) / 1000.0 - setup.delayS;
        };
        // The replay this object shows: the one running when it was made, or the next one when it was made in
        // the pause between two. An object still parked from one replay while the next starts far away under
        // the same address is the old flight, not a miss of the new one: it is measured up to its replay's end.
        const double phase = lf_phase(s, flight, utcOf(shown.front()));
        const double period = f.durationS + s.replayGapS;
        const double cycleEndUtc = utcOf(shown.front()) - phase + f.durationS + (phase > f.durationS ? period : 0.0);
        std::optional<tdbl::TrackPoint> prevRec;
        const simdouble::TrackPoint* prev = nullptr;
        for (size_t i = 0; i < shown.size(); ++i) {
            const simdouble::TrackPoint& p = shown[i];
            const LatLon at{p.latitude, p.longitude};
            const std::optional<tdbl::TrackPoint> rec =
                utcOf(p) <= cycleEndUtc ? gf_recordedAt(s, flight, utcOf(p)) : std::nullopt;
            if (rec) {
                ++r.points;
                const bool ground = rec->onGround == 1 || (rec->onGround == -1 && p.onGround);
                (ground ? r.groundErrM : r.airErrM).push_back(lf_metres(at, {rec->lat, rec->lon}));
            }
            // Jumps only while the recording runs: past its end the program makes its own way.
            if (prev && rec && prevRec) {
                const double dtS = static_cast<double>(p.atMs - prev->atMs) / 1000.0;
                const double allowed = lf_recordedSpeed(*prevRec, *rec, dtS) * dtS + kJumpSlackM;
                r.worstJumpExcessM =
                    std::max(r.worstJumpExcessM, lf_metres({prev->latitude, prev->longitude}, at) - allowed);
            }
            if (prev && !prev->onGround && p.onGround) {
                // Sink rate over the last second in the air.
                for (size_t j = i; j-- > 0;) {
                    if (static_cast<double>(p.atMs - shown[j].atMs) < kSinkWindowMs) continue;
                    const double minutes = static_cast<double>(p.atMs - shown[j].atMs) / 60000.0;
                    r.touchdownSinkFpm.push_back((shown[j].altitude - p.altitude) / minutes);
                    break;
                }
            }
            prev = &p;
            prevRec = rec;
        }

        // The start: an object made on the stand shows the leaving of it (one made later, once the aircraft
        // was rolling, does not). Every cycle seen must leave tail first.
        const LatLon from{shown.front().latitude, shown.front().longitude};
        if (startStand && lf_metres(from, startStand->at) <= setup.standWithinM) {
            for (const simdouble::TrackPoint& p : shown) {
                const LatLon at{p.latitude, p.longitude};
                if (lf_metres(from, at) < setup.pushMetres) continue;
                const bool backwards = std::fabs(gf_angleDiff(p.heading, gf_bearing(from, at))) > kPi / 2.0;
                r.pushBackwards = r.pushBackwards.value_or(true) && backwards;
                break;
            }
        }
        // The end: where the last object made during a replay came to rest, once the run went past the end
        // of that replay. An object made in the pause between two replays shows the next one's start.
        if (endStand && phase <= f.durationS && setup.runEndUtc - setup.delayS >= cycleEndUtc)
            restByReplay[std::lround(cycleEndUtc)] = &shown.back();
        shownOf.push_back(std::move(shown));
    }
    // The worst of the replays seen counts.
    for (const auto& [end, rest] : restByReplay) {
        const double metres = lf_metres({rest->latitude, rest->longitude}, endStand->at);
        if (!r.standDistM || metres > *r.standDistM) {
            r.standDistM = metres;
            r.standHeadingErrDeg = std::fabs(gf_angleDiff(endStand->headingDeg * kDegToRad, rest->heading)) * kRadToDeg;
        }
    }
    return r;
}

}  // namespace fidelity
