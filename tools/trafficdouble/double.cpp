#include "tools/trafficdouble/double.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <fstream>
#include <limits>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>
#include <httplib.h>

#include "common/clock.h"

namespace tdbl {
namespace {
using json = nlohmann::json;
namespace fs = std::filesystem;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kStaleS = 30.0;  // a flight whose last row is older than this is not reported (recording gap)
constexpr size_t kLineLength = 29;

std::vector<std::string> lf_splitCsv(const std::string& line) {
    std::vector<std::string> out;
    std::string cell;
    bool quoted = false;
    for (char c : line) {
        if (c == '"') {
            quoted = !quoted;
        } else if (c == ',' && !quoted) {
            out.push_back(std::move(cell));
            cell.clear();
        } else if (c != '\r') {
            cell += c;
        }
    }
    out.push_back(std::move(cell));
    return out;
}

double lf_cell(const std::string& s) { return s.empty() ? kNaN : std::stod(s); }

std::vector<std::vector<std::string>> lf_readCsv(const fs::path& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("trafficdouble: cannot read " + file.string());
    std::vector<std::vector<std::string>> rows;
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line))
        if (!line.empty()) rows.push_back(lf_splitCsv(line));
    return rows;
}

std::string lf_urlDecode(std::string_view s) {
    std::string out;
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] == '+') {
            out += ' ';
        } else if (s[i] == '%' && i + 2 < s.size()) {
            out += static_cast<char>(std::stoi(std::string(s.substr(i + 1, 2)), nullptr, 16));
            i += 2;
        } else {
            out += s[i];
        }
    }
    return out;
}

std::map<std::string, std::string> lf_parseForm(const std::string& body) {
    std::map<std::string, std::string> form;
    std::string_view rest(body);
    while (!rest.empty()) {
        const size_t amp = rest.find('&');
        const std::string_view pair = rest.substr(0, amp);
        const size_t eq = pair.find('=');
        if (eq != std::string_view::npos)
            form[lf_urlDecode(pair.substr(0, eq))] = lf_urlDecode(pair.substr(eq + 1));
        else if (!pair.empty())
            form[lf_urlDecode(pair)] = "";
        if (amp == std::string_view::npos) break;
        rest.remove_prefix(amp + 1);
    }
    return form;
}

double lf_formNumber(const std::map<std::string, std::string>& form, const char* key, double fallback) {
    const auto it = form.find(key);
    if (it == form.end()) return fallback;
    try {
        return std::stod(it->second);
    } catch (const std::exception&) {
        return fallback;
    }
}

json lf_numberOrNull(double v) { return std::isnan(v) ? json(nullptr) : json(v); }
json lf_intOrNull(double v) { return std::isnan(v) ? json(nullptr) : json(static_cast<int64_t>(std::lround(v))); }

// The roll angle of a coordinated turn at row i, degrees, right wing down positive: from the rate of turn
// of the recorded track between the rows around it and the ground speed. NaN on the ground or unknown.
double lf_derivedBank(const Flight& f, size_t i) {
    const TrackPoint& p = f.points[i];
    if (p.onGround != 0 || i == 0 || i + 1 >= f.points.size()) return std::nan("");
    const TrackPoint& a = f.points[i - 1];
    const TrackPoint& b = f.points[i + 1];
    const double dt = b.t - a.t;
    if (dt <= 0.0 || std::isnan(a.trackDeg) || std::isnan(b.trackDeg) || std::isnan(p.groundSpeedKt))
        return std::nan("");
    const double turnDeg = std::remainder(b.trackDeg - a.trackDeg, 360.0);
    constexpr double kRadPerDeg = 3.14159265358979323846 / 180.0;
    const double omega = turnDeg / dt * kRadPerDeg;          // rad/s
    const double speed = p.groundSpeedKt * 1852.0 / 3600.0;  // m/s
    return std::atan(speed * omega / 9.80665) / kRadPerDeg;
}

// One position in the service's line array, with what the recording lacks taken from the scenario.
json lf_line(const Flight& f, size_t i, double stamp) {
    const TrackPoint& p = f.points[i];
    json line = json::array();
    for (size_t i = 0; i < kLineLength; ++i) line.push_back(nullptr);
    line[0] = f.icao24;
    line[1] = p.lat;
    line[2] = p.lon;
    line[3] = lf_numberOrNull(p.trackDeg);
    line[4] = lf_intOrNull(p.baroAltFt);
    line[5] = lf_numberOrNull(p.groundSpeedKt);
    line[6] = f.squawk;
    line[7] = f.source;
    line[8] = f.type;
    line[9] = f.reg;
    line[10] = stamp;
    line[11] = f.from;
    line[12] = f.to;
    line[13] = f.callsign;
    line[14] = p.onGround < 0 ? json(nullptr) : json(p.onGround);
    line[15] = lf_intOrNull(p.verticalRateFpm);
    line[17] = std::isnan(p.trackDeg) ? "mlat" : "adsb_icao";  // without a track there is no heading to send
    line[18] = lf_intOrNull(p.geoAltFt);
    if (f.sendAirspeed) line[20] = lf_intOrNull(p.groundSpeedKt);
    if (f.sendBank) line[23] = lf_numberOrNull(std::round(lf_derivedBank(f, i) * 10.0) / 10.0);
    line[25] = lf_numberOrNull(p.trackDeg);
    line[28] = f.category;
    return line;
}

// The same line with the wrong JSON types in every field the client reads, except the position.
void lf_spoilTypes(json& line) {
    line[3] = "137.5";
    line[4] = "12000";
    line[5] = "140";
    line[10] = 1767225600;  // an integer time stamp
    line[13] = 1234;
    line[15] = "-500";
    line[20] = "250";
    line[23] = "5";
    line[28] = 7;
}

bool lf_inBox(double lat, double lon, double top, double bottom, double left, double right) {
    return lat <= top && lat >= bottom && lon >= left && lon <= right;
}

std::string lf_kindName(FaultKind k) {
    switch (k) {
        case FaultKind::Status: return "status";
        case FaultKind::NoStatus: return "nostatus";
        case FaultKind::TextStatus: return "textstatus";
        case FaultKind::EmptyBody: return "empty";
        case FaultKind::BadJson: return "badjson";
        case FaultKind::WrongTypes: return "wrongtypes";
        case FaultKind::Stall: return "stall";
        case FaultKind::Drop: return "drop";
    }
    return "?";
}
}  // namespace

Fault gf_faultFromJson(const json& j) {
    Fault f;
    f.path = j.value("path", "");
    f.querytype = j.value("querytype", "");
    const std::string kind = j.value("kind", "status");
    bool known = false;
    for (FaultKind k : {FaultKind::Status, FaultKind::NoStatus, FaultKind::TextStatus, FaultKind::EmptyBody,
                        FaultKind::BadJson, FaultKind::WrongTypes, FaultKind::Stall, FaultKind::Drop})
        if (lf_kindName(k) == kind) {
            f.kind = k;
            known = true;
        }
    if (!known) throw std::invalid_argument("trafficdouble: unknown fault kind \"" + kind + "\"");
    f.status = j.value("status", 500);
    f.message = j.value("message", "");
    f.skip = j.value("skip", 0);
    f.count = j.value("count", 1);
    f.stallMs = j.value("stall_ms", 0);
    return f;
}

namespace {
// The parked aircraft of one stand file: each stands at the position of the first row of its stand.
void lf_readParked(const fs::path& dir, const std::string& standsFile, const json& parked,
                   std::vector<ParkedAircraft>& out) {
    std::map<std::string, std::pair<double, double>> stands;
    for (const auto& row : lf_readCsv(dir / standsFile))
        stands.emplace(row.at(0), std::make_pair(std::stod(row.at(1)), std::stod(row.at(2))));  // first wins
    for (const json& p : parked) {
        ParkedAircraft a;
        a.hexid = p.value("hexid", "");
        a.stand = p.value("stand", "");
        a.type = p.value("type", "");
        a.reg = p.value("reg", "");
        a.callsign = p.value("callsign", "");
        a.seenMinutesAgo = p.value("seen_min_ago", 0);
        const auto it = stands.find(a.stand);
        if (it == stands.end())
            throw std::runtime_error("trafficdouble: scenario names unknown stand \"" + a.stand + "\" of " +
                                     standsFile);
        a.lat = it->second.first;
        a.lon = it->second.second;
        out.push_back(std::move(a));
    }
}
}  // namespace

Scenario gf_loadScenario(const fs::path& file) {
    std::ifstream in(file);
    if (!in) throw std::runtime_error("trafficdouble: cannot read scenario " + file.string());
    json j;
    try {
        j = json::parse(in);
    } catch (const json::exception& e) {
        throw std::runtime_error("trafficdouble: scenario " + file.string() + " is no valid JSON: " + e.what());
    }
    const fs::path dir = file.parent_path();
    Scenario s;
    s.airport = j.value("airport", s.airport);
    if (j.contains("position")) {
        s.airportLat = j["position"].at(0).get<double>();
        s.airportLon = j["position"].at(1).get<double>();
    }
    s.rrl = j.value("rrl", s.rrl);
    s.wrrl = j.value("wrrl", s.wrrl);
    s.server = j.value("server", s.server);
    s.replayGapS = j.value("replay_gap_s", s.replayGapS);
    s.replayStaggerS = j.value("replay_stagger_s", s.replayStaggerS);
    if (j.contains("refused_licenses"))
        for (auto& [k, v] : j["refused_licenses"].items()) s.refusedLicenses[k] = v.get<int32_t>();
    if (j.contains("weather")) s.weather = j["weather"];

    if (j.contains("flights") && j.contains("tracks")) {
        std::map<int, size_t> byIndex;
        const json aircraft = j.value("aircraft", json::object());
        for (const auto& row : lf_readCsv(dir / j["flights"].get<std::string>())) {
            Flight f;
            f.icao24 = row.at(1);
            f.callsign = row.at(2);
            const json a = aircraft.value(f.icao24, json::object());
            f.type = a.value("type", "");
            f.reg = a.value("reg", "");
            f.from = a.value("from", "");
            f.to = a.value("to", "");
            f.category = a.value("category", "");
            f.squawk = a.value("squawk", "1000");
            f.source = a.value("source", "X");
            f.sendAirspeed = a.value("airspeed", false);
            f.sendBank = a.value("bank", false);
            byIndex[std::stoi(row.at(0))] = s.flights.size();
            s.flights.push_back(std::move(f));
        }
        for (const auto& row : lf_readCsv(dir / j["tracks"].get<std::string>())) {
            TrackPoint p;
            p.t = std::stod(row.at(1));
            p.lat = std::stod(row.at(2));
            p.lon = std::stod(row.at(3));
            p.baroAltFt = lf_cell(row.at(4));
            p.geoAltFt = lf_cell(row.at(5));
            p.groundSpeedKt = lf_cell(row.at(6));
            p.trackDeg = lf_cell(row.at(7));
            p.verticalRateFpm = lf_cell(row.at(8));
            p.onGround = row.at(9).empty() ? -1 : std::stoi(row.at(9));
            s.flights.at(byIndex.at(std::stoi(row.at(0)))).points.push_back(p);
        }
        for (Flight& f : s.flights) {
            std::stable_sort(f.points.begin(), f.points.end(),
                             [](const TrackPoint& a, const TrackPoint& b) { return a.t < b.t; });
            f.durationS = f.points.empty() ? 0.0 : f.points.back().t;
        }
    }
    if (j.contains("parked") && j.contains("stands"))
        lf_readParked(dir, j["stands"].get<std::string>(), j["parked"], s.parked);
    // Aircraft parked at the other airports whose stands we have, each list with its own stand file.
    if (j.contains("parked_elsewhere"))
        for (const json& airport : j["parked_elsewhere"])
            lf_readParked(dir, airport.at("stands").get<std::string>(), airport.at("parked"), s.parked);
    if (j.contains("faults"))
        for (const json& f : j["faults"]) s.faults.push_back(gf_faultFromJson(f));
    return s;
}

Scenario gf_zurichScenario(const fs::path& sourceDir) {
    return gf_loadScenario(sourceDir / "data" / "tracks" / "LSZH_scenario.json");
}

struct TrafficDouble::Answer {
    std::string body;
    bool drop = false;    // close the connection half-way through the body
    int32_t stallMs = 0;  // wait before answering
};

TrafficDouble::TrafficDouble(Scenario scenario) : scenario_(std::move(scenario)) {}

TrafficDouble::~TrafficDouble() { stop(); }

int TrafficDouble::start(int port, const std::string& host) {
    server_ = std::make_unique<httplib::Server>();
    stopping_ = false;
    lf_install();
    port_ = port == 0 ? server_->bind_to_any_port(host) : (server_->bind_to_port(host, port) ? port : -1);
    if (port_ <= 0) throw std::runtime_error(fmt::format("trafficdouble: cannot listen on {}:{}", host, port));
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // the socket already listens; wait for the accept loop so that an early stop() reaches it
    while (!server_->is_running()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return port_;
}

void TrafficDouble::stop() {
    stopping_ = true;
    if (server_) server_->stop();
    if (thread_.joinable()) thread_.join();
    server_.reset();
}

std::string TrafficDouble::baseUrl() const { return fmt::format("http://127.0.0.1:{}", port_); }

void TrafficDouble::addFault(const Fault& f) {
    std::lock_guard lock(lock_);
    scenario_.faults.push_back(f);
}

void TrafficDouble::setRates(int32_t rrl, int32_t wrrl) {
    std::lock_guard lock(lock_);
    scenario_.rrl = rrl;
    scenario_.wrrl = wrrl;
}

void TrafficDouble::setWeather(json data) {
    std::lock_guard lock(lock_);
    scenario_.weather = std::move(data);
}

std::vector<RequestRecord> TrafficDouble::requests() const {
    std::lock_guard lock(lock_);
    return log_;
}

std::vector<RequestRecord> TrafficDouble::requests(const std::string& path) const {
    std::lock_guard lock(lock_);
    std::vector<RequestRecord> out;
    for (const RequestRecord& r : log_)
        if (r.path == path) out.push_back(r);
    return out;
}

void TrafficDouble::clearRequests() {
    std::lock_guard lock(lock_);
    log_.clear();
}

json TrafficDouble::snapshot(double unixTime, double top, double bottom, double left, double right) const {
    json data = json::object();
    const double sinceOrigin = unixTime - static_cast<double>(scenario_.replayOriginUnix);
    for (size_t i = 0; i < scenario_.flights.size(); ++i) {
        const Flight& f = scenario_.flights[i];
        if (f.points.empty()) continue;
        const double period = f.durationS + scenario_.replayGapS;
        double phase = std::fmod(sinceOrigin - static_cast<double>(i) * scenario_.replayStaggerS, period);
        if (phase < 0.0) phase += period;
        if (phase > f.durationS) continue;
        // The last recorded row at or before the phase; rows recorded twice are reported twice.
        auto after = std::upper_bound(f.points.begin(), f.points.end(), phase,
                                      [](double t, const TrackPoint& p) { return t < p.t; });
        if (after == f.points.begin()) continue;
        const double rowTime = std::prev(after)->t;
        if (phase - rowTime > kStaleS) continue;
        int copy = 0;
        for (auto it = std::prev(after);; --it) {
            if (it->t != rowTime) break;
            if (lf_inBox(it->lat, it->lon, top, bottom, left, right)) {
                const std::string key = copy == 0 ? f.icao24 : fmt::format("{}_{}", f.icao24, copy);
                data[key] = lf_line(f, static_cast<size_t>(it - f.points.begin()), unixTime - (phase - rowTime));
                ++copy;
            }
            if (it == f.points.begin()) break;
        }
    }
    return data;
}

json TrafficDouble::parkedTraffic(double unixTime, double top, double bottom, double left, double right) const {
    json data = json::object();
    for (const ParkedAircraft& a : scenario_.parked) {
        if (!lf_inBox(a.lat, a.lon, top, bottom, left, right)) continue;
        data[a.hexid] = json::array(
            {a.lat, a.lon, a.stand, a.type, a.reg, std::floor(unixTime) - a.seenMinutesAgo * 60.0, a.callsign});
    }
    return data;
}

bool TrafficDouble::lf_takeFault(const std::string& path, const std::string& querytype, Fault& out) {
    for (auto it = scenario_.faults.begin(); it != scenario_.faults.end(); ++it) {
        if (!it->path.empty() && it->path != path) continue;
        if (!it->querytype.empty() && it->querytype != querytype) continue;
        if (it->skip > 0) {
            --it->skip;
            return false;
        }
        out = *it;
        if (it->count > 0 && --it->count == 0) scenario_.faults.erase(it);
        return true;
    }
    return false;
}

TrafficDouble::Answer TrafficDouble::lf_traffic(const std::map<std::string, std::string>& form, RequestRecord& rec) {
    const std::string guid = form.count("GUID") ? form.at("GUID") : "";
    const std::string type = form.count("querytype") ? form.at("querytype") : "";
    const double top = lf_formNumber(form, "top", 0), bottom = lf_formNumber(form, "bottom", 0);
    const double left = lf_formNumber(form, "left", 0), right = lf_formNumber(form, "right", 0);
    const double toffsetMin = lf_formNumber(form, "toffset", 0);
    const double now = std::chrono::duration<double>(gf_utcNow().time_since_epoch()).count() - toffsetMin * 60.0;
    if (type == "parkedtraffic") {
        rec.answeredStatus = 200;
        return {json{{"status", 200}, {"data", parkedTraffic(now, top, bottom, left, right)}}.dump()};
    }
    if (type != "locationtraffic") {
        rec.answeredStatus = 400;
        return {json{{"status", 400}, {"message", "unknown querytype"}}.dump()};
    }
    if (rec.tooFast) {
        rec.answeredStatus = 406;
        return {json{{"status", 406}, {"message", "Request rate limit exceeded, slow down"}}.dump()};
    }
    json answer{{"status", 200}, {"rrl", scenario_.rrl}};
    if (form.count("buffercount")) {
        const int count = static_cast<int>(lf_formNumber(form, "buffercount", 0));
        const double spacing = lf_formNumber(form, "buffertime", 0);
        json data = json::object();
        for (int k = 0; k < count; ++k)
            data[fmt::format("buffer_{}", k)] = snapshot(now - k * spacing, top, bottom, left, right);
        answer["data"] = std::move(data);
    } else {
        answer["data"] = snapshot(now, top, bottom, left, right);
    }
    (void)guid;
    rec.answeredStatus = 200;
    return {answer.dump()};
}

TrafficDouble::Answer TrafficDouble::lf_answer(const std::string& path, const std::map<std::string, std::string>& form,
                                               RequestRecord& rec, bool faultsAllowed) {
    Fault fault;
    const auto type = form.find("querytype");
    if (faultsAllowed && lf_takeFault(path, type == form.end() ? std::string() : type->second, fault)) {
        switch (fault.kind) {
            case FaultKind::Status:
                rec.answeredStatus = fault.status;
                return {json{{"status", fault.status}, {"message", fault.message}}.dump()};
            case FaultKind::NoStatus: return {json{{"message", fault.message}, {"data", json::object()}}.dump()};
            case FaultKind::TextStatus:
                return {json{{"status", "OK"}, {"message", fault.message}, {"data", json::object()}}.dump()};
            case FaultKind::EmptyBody: return {""};
            case FaultKind::BadJson: return {R"({"status":200,"rrl":2000,"data":{"4b1614":[)"};
            case FaultKind::Stall: {
                Answer a = lf_answer(path, form, rec, false);
                a.stallMs = fault.stallMs;
                return a;
            }
            case FaultKind::Drop: {
                Answer a = lf_answer(path, form, rec, false);
                a.drop = true;
                return a;
            }
            case FaultKind::WrongTypes: {
                Answer a = lf_answer(path, form, rec, false);
                json j = json::parse(a.body);
                if (j.contains("data") && j["data"].is_object()) {
                    for (auto& [key, line] : j["data"].items())
                        if (line.is_array()) lf_spoilTypes(line);
                    if (j["data"].contains("QNH")) j["data"]["QNH"] = json::object();
                }
                a.body = j.dump();
                return a;
            }
        }
    }
    const std::string guid = form.count("GUID") ? form.at("GUID") : "";
    if (path == "/v4/auth") {
        const std::string license = form.count("license") ? form.at("license") : "";
        const auto refused = scenario_.refusedLicenses.find(license);
        if (license.empty() || refused != scenario_.refusedLicenses.end()) {
            const int32_t status = license.empty() ? 400 : refused->second;
            rec.answeredStatus = status;
            return {json{{"status", status}, {"message", "licence refused"}}.dump()};
        }
        const std::string newGuid = fmt::format("{:08x}-double-{:04d}", 0x5eed0000u + nextGuid_, nextGuid_);
        guids_[newGuid] = nextGuid_++;
        rec.answeredStatus = 200;
        return {json{{"status", 200},
                     {"GUID", newGuid},
                     {"rrl", scenario_.rrl},
                     {"wrrl", scenario_.wrrl},
                     {"server", scenario_.server},
                     {"message", "Authenticated"}}
                    .dump()};
    }
    if (!guids_.count(guid)) {
        rec.answeredStatus = 401;
        return {json{{"status", 401}, {"message", "GUID not found, please authenticate"}}.dump()};
    }
    if (path == "/v4/deauth") {
        guids_.erase(guid);
        rec.answeredStatus = 200;
        return {json{{"status", 200}, {"message", "Session closed"}, {"server", scenario_.server}}.dump()};
    }
    if (path == "/v4/traffic") return lf_traffic(form, rec);
    if (rec.tooFast) {
        rec.answeredStatus = 406;
        return {json{{"status", 406}, {"message", "Request rate limit exceeded, slow down"}}.dump()};
    }
    if (path == "/v4/nearestmetar") {
        rec.answeredStatus = 200;
        const std::string icao = scenario_.weather.value("ICAO", scenario_.airport);
        return {json{{"status", 200}, {"data", {{"ICAO", icao}, {"dist", 2.1}}}}.dump()};
    }
    if (path == "/v4/weather") {
        rec.answeredStatus = 200;
        return {json{{"status", 200}, {"wrrl", scenario_.wrrl}, {"data", scenario_.weather}}.dump()};
    }
    rec.answeredStatus = 404;
    return {json{{"status", 404}, {"message", "no such endpoint"}}.dump()};
}

void TrafficDouble::lf_install() {
    auto serviceHandler = [this](const httplib::Request& req, httplib::Response& res) {
        RequestRecord rec;
        rec.path = req.path;
        rec.body = req.body;
        rec.form = lf_parseForm(req.body);
        rec.steadyMs = std::chrono::duration_cast<std::chrono::milliseconds>(gf_steadyNow().time_since_epoch()).count();
        rec.askedGzip = req.get_header_value("Accept-Encoding").find("gzip") != std::string::npos;
        Answer answer;
        {
            std::lock_guard lock(lock_);
            const std::string guid = rec.form.count("GUID") ? rec.form.at("GUID") : "";
            const bool trafficSide = rec.path == "/v4/traffic" && rec.form.count("querytype") &&
                                     rec.form.at("querytype") == "locationtraffic";
            const bool weatherSide = rec.path == "/v4/nearestmetar" || rec.path == "/v4/weather";
            if ((trafficSide || weatherSide) && guids_.count(guid)) {
                auto& last = trafficSide ? lastTrafficMs_ : lastWeatherMs_;
                const int32_t limit = trafficSide ? scenario_.rrl : scenario_.wrrl;
                const auto it = last.find(guid);
                rec.tooFast = it != last.end() && rec.steadyMs - it->second < limit;
                last[guid] = rec.steadyMs;
            }
            answer = lf_answer(rec.path, rec.form, rec, true);
            log_.push_back(rec);
        }
        for (int32_t waited = 0; (answer.stallMs < 0 || waited < answer.stallMs) && !stopping_; waited += 10)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        if (answer.drop) {
            auto body = std::make_shared<std::string>(std::move(answer.body));
            res.set_content_provider(body->size(), "application/json",
                                     [body](size_t offset, size_t, httplib::DataSink& sink) {
                                         if (offset == 0) sink.write(body->data(), body->size() / 2);
                                         return false;  // the connection goes down half-way
                                     });
            return;
        }
        res.set_content(answer.body, "application/json");
    };
    for (const char* path : {"/v4/auth", "/v4/deauth", "/v4/traffic", "/v4/nearestmetar", "/v4/weather"})
        server_->Post(path, serviceHandler);

    // Control endpoints, for the demo and for scripts: faults, rates, weather, the request log.
    server_->Post("/control/fault", [this](const httplib::Request& req, httplib::Response& res) {
        try {
            addFault(gf_faultFromJson(json::parse(req.body)));
            res.set_content(R"({"status":200})", "application/json");
        } catch (const std::exception& e) {
            res.status = 400;
            res.set_content(json{{"status", 400}, {"message", e.what()}}.dump(), "application/json");
        }
    });
    server_->Post("/control/weather", [this](const httplib::Request& req, httplib::Response& res) {
        try {
            setWeather(json::parse(req.body));
            res.set_content(R"({"status":200})", "application/json");
        } catch (const std::exception& e) {
            res.status = 400;
            res.set_content(json{{"status", 400}, {"message", e.what()}}.dump(), "application/json");
        }
    });
    server_->Get("/control/requests", [this](const httplib::Request&, httplib::Response& res) {
        json out = json::array();
        for (const RequestRecord& r : requests())
            out.push_back({{"path", r.path},
                           {"body", r.body},
                           {"steady_ms", r.steadyMs},
                           {"gzip", r.askedGzip},
                           {"status", r.answeredStatus},
                           {"too_fast", r.tooFast}});
        res.set_content(out.dump(1), "application/json");
    });
}

}  // namespace tdbl
