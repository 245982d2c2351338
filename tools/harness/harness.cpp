#include "tools/harness/harness.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <set>

#include <fmt/format.h>

#include "airports/state.h"
#include "engine/state.h"
#include "frame/core/folders.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/links.h"
#include "frame/mainloop.h"
#include "liveries/dbase.h"
#include "liveries/liveries_file.h"
#include "liveries/state.h"
#include "service/state.h"
#include "service/traffic.h"
#include "simlink/state.h"
#include "simlink/user.h"
#include "tools/common/csv.h"

namespace harness {
namespace fs = std::filesystem;

namespace {
constexpr int64_t kSliceMs = 10;
constexpr int64_t kClientTurnMs = 1;  // SimClient dispatches every millisecond
constexpr double kQueryBoxDeg = 1.0;  // the snapshot's box around the user: wider than any range
constexpr int64_t kStartLimitMs = 10000;

// The program reads its data relative to the install folder, which is the current directory.
void lf_provideData(const fs::path& install) {
    if (!fs::exists(folders::input) && fs::exists(install / "input"))
        fs::copy(install / "input", folders::input, fs::copy_options::recursive);  // Windows: no symlinks
    const fs::path scanned = install / folders::liveriesScanned;
    if (!fs::exists(folders::liveriesScanned) && fs::exists(scanned)) {
        fs::create_directories(folders::output);
        fs::copy_file(scanned, folders::liveriesScanned);
    }
}

// One generic livery per type that the traffic flies: every aircraft finds a title.
void lf_genericLiveries(const tdbl::Scenario& traffic, const std::vector<std::string>& leftOut) {
    std::set<std::string> types;
    for (const tdbl::Flight& f : traffic.flights)
        if (!f.type.empty()) types.insert(f.type);
    for (const std::string& t : leftOut) types.erase(t);
    for (const std::string& t : types) {
        LiveryData d;
        d.airline = kGenericAirline;
        d.model = t;
        d.title = "Generic " + t;
        liveries.liveryList.push_back(d);
    }
    gf_processScannedLiveries();
}
}  // namespace

size_t gf_mendFrozenVelocity(tdbl::Flight& flight, double windowS) {
    constexpr size_t kFrozenRun = 10;  // points with the very same speed and track: frozen
    auto& pts = flight.points;
    std::vector<bool> frozen(pts.size(), false);
    for (size_t i = 0; i < pts.size();) {
        size_t j = i + 1;
        while (j < pts.size() && pts[j].groundSpeedKt == pts[i].groundSpeedKt && pts[j].trackDeg == pts[i].trackDeg)
            ++j;
        if (j - i >= kFrozenRun)
            for (size_t k = i; k < j; ++k) frozen[k] = pts[k].onGround == 1;
        i = j;
    }
    // A recording without any velocity is mended the same way.
    for (size_t k = 0; k < pts.size(); ++k) frozen[k] = frozen[k] || std::isnan(pts[k].groundSpeedKt);
    size_t mended = 0;
    const std::vector<tdbl::TrackPoint> original = pts;
    for (size_t i = 0; i < pts.size(); ++i) {
        if (!frozen[i]) continue;
        size_t a = i, b = i;
        while (a > 0 && original[i].t - original[a - 1].t <= windowS / 2.0) --a;
        while (b + 1 < original.size() && original[b + 1].t - original[i].t <= windowS / 2.0) ++b;
        const double dt = original[b].t - original[a].t;
        if (dt <= 0.0) continue;
        const LatLon from{original[a].lat, original[a].lon}, to{original[b].lat, original[b].lon};
        const double nm = gf_distanceNm(from, to);
        pts[i].groundSpeedKt = nm / (dt / 3600.0);
        if (nm > 0.0) pts[i].trackDeg = gf_bearing(from, to) * kRadToDeg;
        ++mended;
    }
    return mended;
}

void gf_loadStandTable(const fs::path& csv) {
    constexpr double kDefaultRadiusM = 20.0;
    airports.stands.clear();
    std::set<std::string> seen;
    for (const datacsv::Row& row : datacsv::readCsv(csv)) {
        const auto field = [&](const char* name) {
            const auto it = row.find(name);
            return it == row.end() ? std::string() : it->second;
        };
        const std::string name = field("name");
        if (name.empty() || !seen.insert(name).second) continue;
        Stand stand;
        stand.name = name;
        try {
            stand.latitude = std::stod(field("lat"));
            stand.longitude = std::stod(field("lon"));
            stand.heading = std::stod(field("heading_deg")) * kDegToRad;
            const std::string radius = field("radius_m");
            stand.radius = (radius.empty() ? kDefaultRadiusM : std::stod(radius)) * kMetresToNm;
        } catch (const std::exception&) {
            continue;  // a stand without a position or heading is no stand
        }
        stand.cargo = field("kind") == "cargo";
        stand.heli = field("kind") == "heli";
        airports.stands.push_back(std::move(stand));
    }
    gf_numberStands(airports.stands);
}

Options gf_zurichOptions(const fs::path& sourceDir, const fs::path& binaryDir) {
    Options o;
    o.standsCsv = sourceDir / "data" / "tracks" / "LSZH_stands.csv";
    o.install = binaryDir / "install";
    // The double knows the titles of the install's liveries file, which the scenario names relative to the
    // install folder.
    std::ifstream in(sourceDir / "data" / "demo" / "simulator_lszh.json");
    nlohmann::json j = nlohmann::json::parse(in);
    if (j.contains("titlesFromLiveries"))
        j["titlesFromLiveries"] = (o.install / j["titlesFromLiveries"].get<std::string>()).string();
    o.sim = simdouble::gf_parseScenario(j);
    o.traffic = tdbl::gf_zurichScenario(sourceDir);
    for (tdbl::Flight& f : o.traffic.flights) gf_mendFrozenVelocity(f);
    return o;
}

Harness::Harness(Options options) : options_(std::move(options)) { gf_useManualClock(&clock_); }

Harness::~Harness() {
    gf_resetSimlink();  // closes the session while the double still stands
    gf_setInProcessServer(nullptr);
    gf_useManualClock(nullptr);
}

double Harness::utcNow() const {
    std::lock_guard guard(clock_.lock);
    return std::chrono::duration<double>(clock_.utc.time_since_epoch()).count();
}

bool Harness::start() {
    lf_provideData(options_.install);
    gf_readDbase();
    if (options_.liveriesFile && fs::exists(folders::liveriesScanned))
        gf_getLiveries(false, false, false, {});
    else
        lf_genericLiveries(options_.traffic, options_.typesWithoutLivery);
    // The simulator has the titles its scenario names (those of the install's liveries file), and with the
    // generic liveries exactly those.
    if (!options_.liveriesFile) options_.sim.titles.clear();
    if (options_.sim.titles.empty())
        for (const std::string& title : liveries.titleStore) options_.sim.titles.push_back(title);
    gf_setParkAirport(options_.parkAirport.lat, options_.parkAirport.lon, options_.parkElevationFt);
    if (!options_.standsCsv.empty()) {
        gf_loadStandTable(options_.standsCsv);
        airports.parkIcao = "LSZH";
        engine.parkIata = "ZRH";
    }

    sim_ = std::make_unique<simdouble::SimDouble>(options_.sim);
    simEpochUtc_ = utcNow();
    server_ = std::make_unique<simdouble::InProcessSimulator>(*sim_);
    traffic_ = std::make_unique<tdbl::TrafficDouble>(options_.traffic);
    reader_ = std::make_unique<TrafficReader>();
    gf_setInProcessServer(server_.get());

    links::reserveTables();
    run.requestFailed = false;
    simlink.expectedVersion = P3D_VERSION.current;  // what starting SimClient would copy
    if (!gf_openSimConnect()) return false;
    links::requestUserOnGroundData();
    // The simulator's first answers: running, the ground flag, the user's position.
    for (int64_t ms = 0; ms < kStartLimitMs; ms += kClientTurnMs) {
        sim_->advance(kClientTurnMs);
        gf_simClientStep();
        if (ms % 100 == 0) links::requestUserSnapshot();
        clock_.advance(std::chrono::milliseconds(kClientTurnMs));
        if (run.simRunning.load() && user.userOnGroundKnown.load() && !gf_isNullBox(links::userPosition())) break;
    }
    if (!run.simRunning.load() || gf_isNullBox(links::userPosition())) return false;
    const LatLon at = links::userPosition();
    reader_->userLatitude = at.lat;
    reader_->userLongitude = at.lon;
    nextPollMs_ = 0;
    if (options_.history) {
        // The Traffic Reader starts before the loop: its history and the snapshots of the start-up's
        // remaining seconds are held, the slice counter standing still, while the simulator runs on.
        gf_holdTrafficUntilLoop();
        handOverHistoryNow();
        for (int64_t ms = 0; ms < options_.startupMs; ms += kClientTurnMs) {
            sim_->advance(kClientTurnMs);
            gf_simClientStep();
            clock_.advance(std::chrono::milliseconds(kClientTurnMs));
            if ((ms + 1) % options_.pollEveryMs == 0) pollNow();
        }
        nextPollMs_ = options_.pollEveryMs - options_.startupMs % options_.pollEveryMs;
    }
    gf_setAcceptTraffic(true);
    return true;
}

void Harness::slice() {
    for (int64_t ms = 0; ms < kSliceMs; ms += kClientTurnMs) {
        sim_->advance(kClientTurnMs);
        gf_simClientStep();
    }
    if (trafficOn_ && slices_ * kSliceMs >= nextPollMs_) {
        pollNow();
        nextPollMs_ += options_.pollEveryMs;
    }
    // The manual clock stands still inside the slice: the real one measures it.
    const auto begin = std::chrono::steady_clock::now();
    lf_slice();
    lastSliceNs_ =
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now() - begin).count();
    clock_.advance(std::chrono::milliseconds(kSliceMs));
    ++slices_;
}

void Harness::runFor(int64_t ms) {
    for (int64_t t = 0; t < ms; t += kSliceMs) slice();
}

bool Harness::runUntil(const std::function<bool()>& done, int64_t ms) {
    for (int64_t t = 0; t < ms && !done(); t += kSliceMs) slice();
    return done();
}

void Harness::pollNow() {
    const double lat = reader_->userLatitude, lon = reader_->userLongitude;
    const nlohmann::json data =
        traffic_->snapshot(utcNow(), lat + kQueryBoxDeg, lat - kQueryBoxDeg, lon - kQueryBoxDeg, lon + kQueryBoxDeg);
    reader_->batch.clear();
    for (const auto& line : data) {
        reader_->line = line;
        reader_->processLiveLine();
    }
    lf_handOverSnapshot(*reader_, kLiveDelaySeconds);
}

void Harness::handOverHistoryNow() {
    const double lat = reader_->userLatitude, lon = reader_->userLongitude, now = utcNow();
    nlohmann::json data = nlohmann::json::object();
    for (int32_t k = 0; k < kHistoryCount; ++k)
        data[fmt::format("buffer_{}", k)] =
            traffic_->snapshot(now - k * kHistorySpacingSeconds, lat + kQueryBoxDeg, lat - kQueryBoxDeg,
                               lon - kQueryBoxDeg, lon + kQueryBoxDeg);
    reader_->batch.clear();
    gf_handOverHistory(*reader_, data);
}

bool Harness::removeAllAndSettle(int64_t ms) {
    // As the exit does it: no more traffic and no more engine slices; what is in the simulator is removed
    // at once, and what was still being created goes as soon as the simulator names it.
    stopTraffic();
    links::removeAllLive();
    for (int64_t t = 0; t < ms; t += kSliceMs) {
        links::removeAllQueuedObjects();
        if (t > 0 && sim_->aiObjects(true).empty()) return true;
        for (int64_t turn = 0; turn < kSliceMs; turn += kClientTurnMs) {
            sim_->advance(kClientTurnMs);
            gf_simClientStep();
        }
        if (t % 100 == 0) links::requestAircraftInRange(parDerived.radiusMetres.load());
        links::drainSimEvents();
        clock_.advance(std::chrono::milliseconds(kSliceMs));
    }
    return sim_->aiObjects(true).empty();
}

const simdouble::SimObject* Harness::objectWithTail(const std::string& tail) const {
    const simdouble::SimObject* found = nullptr;
    for (const simdouble::SimObject* o : sim_->aiObjects(false))
        if (o->tail == tail && (!found || o->createdMs >= found->createdMs)) found = o;
    return found;
}

int Harness::flightOfCallsign(const std::string& callsign) const {
    const auto& flights = options_.traffic.flights;
    for (size_t i = 0; i < flights.size(); ++i)
        if (flights[i].callsign == callsign) return static_cast<int>(i);
    return -1;
}

std::optional<LatLon> Harness::recordedPosition(size_t flight, double utc) const {
    const tdbl::Scenario& s = options_.traffic;
    const tdbl::Flight& f = s.flights.at(flight);
    if (f.points.empty()) return std::nullopt;
    const double period = f.durationS + s.replayGapS;
    double phase = std::fmod(
        utc - static_cast<double>(s.replayOriginUnix) - static_cast<double>(flight) * s.replayStaggerS, period);
    if (phase < 0.0) phase += period;
    if (phase > f.durationS) return std::nullopt;
    const auto after = std::upper_bound(f.points.begin(), f.points.end(), phase,
                                        [](double t, const tdbl::TrackPoint& p) { return t < p.t; });
    if (after == f.points.begin()) return std::nullopt;
    const tdbl::TrackPoint& a = *std::prev(after);
    if (after == f.points.end() || after->t == a.t) return LatLon{a.lat, a.lon};
    const double k = (phase - a.t) / (after->t - a.t);
    return LatLon{a.lat + (after->lat - a.lat) * k, a.lon + (after->lon - a.lon) * k};
}

}  // namespace harness
