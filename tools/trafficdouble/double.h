// tools/trafficdouble/double.h — an HTTP stand-in for the RealTraffic service, for tests, benchmarks and the
// demo. It answers the five endpoints with the service's JSON shapes, replays recorded real flights shifted
// to the present, serves parked traffic and weather from a scenario, injects faults, and logs every request.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

namespace httplib {
class Server;
}

namespace tdbl {

// One recorded position; NaN where the recording has no value.
struct TrackPoint {
    double t = 0.0;  // seconds since the flight's first row
    double lat = 0.0, lon = 0.0;
    double baroAltFt = 0.0, geoAltFt = 0.0, groundSpeedKt = 0.0, trackDeg = 0.0, verticalRateFpm = 0.0;
    int onGround = -1;  // 1 ground, 0 airborne, -1 unknown
};

struct Flight {
    std::string icao24, callsign;
    std::string type, reg, from, to, category, squawk;  // what the recording lacks, from the scenario
    std::string source = "X";                           // field 7, the one-letter source code
    bool sendAirspeed = false;       // field 20, derived from the recorded ground speed (the recording has no wind)
    bool sendBank = false;           // field 23, derived from the recorded track's rate of turn
    std::vector<TrackPoint> points;  // time order, duplicates kept
    double durationS = 0.0;
};

struct ParkedAircraft {
    std::string hexid, stand, type, reg, callsign;
    double lat = 0.0, lon = 0.0;
    int32_t seenMinutesAgo = 0;
};

enum class FaultKind { Status, NoStatus, TextStatus, EmptyBody, BadJson, WrongTypes, Stall, Drop };

// A fault hits the matching requests after `skip` of them went through normally, `count` times (-1: always).
struct Fault {
    std::string path;       // "/v4/traffic", ... ; empty matches every path
    std::string querytype;  // "parkedtraffic", "locationtraffic"; empty matches every request of the path
    FaultKind kind = FaultKind::Status;
    int32_t status = 500;
    std::string message;
    int32_t skip = 0;
    int32_t count = 1;
    int32_t stallMs = 0;  // Stall: real milliseconds before answering; -1 until the double stops
};
// {"path","querytype","kind","status","message","skip","count","stall_ms"}
Fault gf_faultFromJson(const nlohmann::json& j);

struct Scenario {
    std::string airport = "LSZH";
    double airportLat = 0.0, airportLon = 0.0;
    std::vector<Flight> flights;
    std::vector<ParkedAircraft> parked;
    nlohmann::json weather = {{"ICAO", "LSZH"}, {"QNH", 1013}};  // the data object of /v4/weather
    int32_t rrl = 2000, wrrl = 2000;                             // ms, in every answer
    std::string server = "rtwa-double-1";
    std::map<std::string, int32_t> refusedLicenses;  // licence -> status of the refusal
    double replayGapS = 600.0;                       // pause before a flight plays again
    double replayStaggerS = 97.0;                    // start offset between one flight and the next
    int64_t replayOriginUnix = 1767225600;           // 2026-01-01 00:00 UTC: every replay cycle counts from here
    std::vector<Fault> faults;
};
// Reads a scenario file; its track, flight and stand files are relative to the scenario's folder.
Scenario gf_loadScenario(const std::filesystem::path& file);
// The Zurich scenario of the source tree (data/tracks/LSZH_scenario.json).
Scenario gf_zurichScenario(const std::filesystem::path& sourceDir);

// One request as the double saw it.
struct RequestRecord {
    std::string path;
    std::map<std::string, std::string> form;
    std::string body;
    int64_t steadyMs = 0;        // gf_steadyNow() at arrival, ms (a test's manual clock, else the real one)
    bool askedGzip = false;      // Accept-Encoding named gzip
    int32_t answeredStatus = 0;  // the JSON status answered, 0 for no JSON (faults)
    bool tooFast = false;        // came sooner than the rate limit after the previous one of its side
};

class TrafficDouble {
public:
    explicit TrafficDouble(Scenario scenario);
    ~TrafficDouble();
    TrafficDouble(const TrafficDouble&) = delete;
    TrafficDouble& operator=(const TrafficDouble&) = delete;

    int start(int port = 0, const std::string& host = "127.0.0.1");  // 0: any free port; returns the port
    void stop();
    std::string baseUrl() const;  // "http://127.0.0.1:<port>"

    void addFault(const Fault& f);
    void setRates(int32_t rrl, int32_t wrrl);
    void setWeather(nlohmann::json data);  // the data object of /v4/weather, e.g. {"ICAO":"LSZH","QNH":"1009"}
    std::vector<RequestRecord> requests() const;
    std::vector<RequestRecord> requests(const std::string& path) const;
    void clearRequests();

    // The snapshot the service would give for this moment and box: the `data` object of /v4/traffic.
    nlohmann::json snapshot(double unixTime, double top, double bottom, double left, double right) const;
    nlohmann::json parkedTraffic(double unixTime, double top, double bottom, double left, double right) const;
    const Scenario& scenario() const { return scenario_; }

private:
    struct Answer;
    Answer lf_answer(const std::string& path, const std::map<std::string, std::string>& form, RequestRecord& rec,
                     bool faultsAllowed);
    Answer lf_traffic(const std::map<std::string, std::string>& form, RequestRecord& rec);
    bool lf_takeFault(const std::string& path, const std::string& querytype, Fault& out);
    void lf_install();

    Scenario scenario_;
    std::unique_ptr<httplib::Server> server_;
    std::thread thread_;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex lock_;  // everything below
    std::vector<RequestRecord> log_;
    std::map<std::string, int64_t> lastTrafficMs_, lastWeatherMs_;  // per GUID, steady ms
    std::map<std::string, int32_t> guids_;                          // issued sessions
    int32_t nextGuid_ = 1;
};

}  // namespace tdbl
