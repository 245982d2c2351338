// The parked traffic query and its decoder. The order of the checks and the limits are this query's
// own: the live decoder (service/decode.cpp) keeps ground traffic by other rules.
#include "service/parked.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>

#include <fmt/format.h>

#include "common/clock.h"
#include "common/geo.h"
#include "common/timeofweek.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/state.h"
#include "service/exchange.h"
#include "service/state.h"
#include "simlink/user.h"

namespace {
using json = nlohmann::json;

constexpr uint32_t kLowestHexid = 10001;  // below: the serials of parked aircraft
constexpr size_t kMaxRegLength = 12;
constexpr size_t kMaxCallsignLength = 8;
constexpr int64_t kSecondsPerDay = 86400;

const json kAbsent;
const json& lf_field(const json& line, size_t index) {
    if (!line.is_array() || index >= line.size()) return kAbsent;
    return line[index];
}
std::string lf_text(const json& v) { return v.is_string() ? v.get<std::string>() : std::string(); }

// The service names some families by their generic designator; the livery tables know the variants.
std::string lf_modelFromService(std::string model) {
    if (model == "0" || model == "ZZZZ") return {};
    if (model == "A380") return "A388";
    if (model == "B767") return "B763";
    if (model == "B747") return "B744";
    if (model == "B757") return "B752";
    return model;
}

bool lf_categoryWanted(const std::string& model) {
    switch (gf_modelCategory(model)) {
        case ModelCategory::Buzjets:
        case ModelCategory::Large:
        case ModelCategory::Heavy: return true;
        case ModelCategory::Light: return LIGHT_AIRCRAFT.current;
        case ModelCategory::HighPerf: return HIGH_PERF_AIRCRAFT.current;
        case ModelCategory::Rotorcraft: return HELICOPTERS.current;
    }
    return false;
}

// No static aircraft may appear under the user's wheels.
bool lf_userStand(const std::string& standName) {
    if (!parking.reservedStand.empty() && standName == parking.reservedStand) return true;
    const std::string at = gf_standAtPosition({user.userSnapshot.latitude, user.userSnapshot.longitude});
    return !at.empty() && standName == at;
}

void lf_decode(TrafficReader& reader, const std::string& key, const json& line) {
    PtRecord& r = reader.parkScratch;
    r = PtRecord{};
    uint32_t hexid = 0;
    const auto [end, ec] = std::from_chars(key.data(), key.data() + key.size(), hexid, 16);
    if (ec != std::errc() || end != key.data() + key.size() || hexid < kLowestHexid) return;
    r.hexid = hexid;
    const json& seen = lf_field(line, 5);
    int64_t seconds = 0;
    if (seen.is_number_float())
        seconds = static_cast<int64_t>(seen.get<double>());
    else if (seen.is_number_integer())
        seconds = seen.get<int64_t>();
    const int64_t ofDay = ((seconds % kSecondsPerDay) + kSecondsPerDay) % kSecondsPerDay;
    r.age = static_cast<int32_t>(ofDay / 3600 * 2 + (ofDay % 3600 >= 1800 ? 1 : 0));
    r.reg = lf_text(lf_field(line, 4));
    if (r.reg.size() > kMaxRegLength || r.reg == "null") r.reg.clear();
    r.model = lf_modelFromService(lf_text(lf_field(line, 3)));
    const json& la = lf_field(line, 0);
    const json& lo = lf_field(line, 1);
    r.latitude = la.is_number_float() ? la.get<double>() : 0.0;
    r.longitude = lo.is_number_float() ? lo.get<double>() : 0.0;
    if (std::fabs(r.latitude) > 90.0 || std::fabs(r.longitude) > 180.0 || gf_isNullBox(r.latitude, r.longitude))
        throw zel::SysErrorException(744, fmt::format("lalo:{:.6f} {:.6f}", r.latitude, r.longitude));
    r.callsign = lf_text(lf_field(line, 6));
    if (r.callsign == "null" || r.callsign.find('@') != std::string::npos ||
        r.callsign.find("00000") != std::string::npos || r.callsign.size() > kMaxCallsignLength)
        r.callsign.clear();
    if (!r.callsign.empty() && r.callsign.front() == '.') r.callsign.erase(0, 1);
    if (!r.reg.empty())
        for (const std::string& variant : lf_regcodeVariants(r.reg))
            if (const DbaseRecord* d = gf_dbaseFind(variant)) {
                r.airline = std::string(d->airl);
                r.model = std::string(d->type);
                if (!d->opr.empty()) r.airline = std::string(d->opr);
                if (r.callsign.empty()) r.callsign = r.reg;
                break;
            }
    if (!gf_isValidModel(r.model) || !lf_categoryWanted(r.model)) return;
    const json& stand = lf_field(line, 2);
    if (!stand.is_string()) return;
    r.standName = stand.get<std::string>();
    if (lf_userStand(r.standName)) return;
    reader.parkedTraffic.push_back(r);
}

void lf_setParkBox(TrafficReader& reader) {
    const LatLon park{service.parkLatitude.load(), service.parkLongitude.load()};
    reader.parkTop = park.lat + kParkBoxHalfHeightDeg;
    reader.parkBottom = park.lat - kParkBoxHalfHeightDeg;
    reader.parkLeft = gf_destinationPoint(park, -kPi / 2.0, kParkBoxHalfWidthFt).lon;
    reader.parkRight = gf_destinationPoint(park, kPi / 2.0, kParkBoxHalfWidthFt).lon;
}

// The half hour of the day now, in the time the traffic is shown (the time shift included).
int32_t lf_halfHourNow(const TrafficReader& reader) {
    const UtcTime shown = gf_utcNow() - std::chrono::minutes(reader.toffset.load());
    return static_cast<int32_t>(gf_timeOfWeekAt(shown).halfHour);
}
}  // namespace

void processLine(TrafficReader& reader, const std::string& key, const json& value) {
    try {
        lf_decode(reader, key, value);
    } catch (const zel::SysErrorException&) {
        throw;
    } catch (const std::exception& e) {
        gf_logf("exception in processLine: {}", e.what());
    }
}

bool lf_queryParkedTraffic(TrafficReader& reader, int32_t& code) {
    if (reader.guid.empty()) return false;
    reader.parkAnswer.clear();
    reader.parkedTraffic.clear();
    const std::string body =
        fmt::format("GUID={}&top={:.2F}&bottom={:.2F}&left={:.2F}&right={:.2F}&querytype=parkedtraffic&toffset={}",
                    reader.guid, reader.parkTop.load(), reader.parkBottom.load(), reader.parkLeft.load(),
                    reader.parkRight.load(), reader.toffset.load());
    const CURLcode transfer = lf_postForm(reader, reader.parkHandle, "/v4/traffic", body, reader.parkAnswer);
    if (transfer == CURLE_FAILED_INIT) {
        gf_logMark("curl init error ?");
        return false;
    }
    if (transfer != CURLE_OK)
        gf_logMarkf("{} curl parkedtraffic code_pt: {}", gf_exchangeTime(), curl_easy_strerror(transfer));
    try {
        const json answer = json::parse(reader.parkAnswer);
        const int32_t status = gf_answerStatus(answer);
        if (status != 200) {
            code = status;
            return false;
        }
        const auto data = answer.find("data");
        if (data != answer.end() && data->is_object())
            for (const auto& [key, value] : data->items()) {
                reader.parkLine = value;
                processLine(reader, key, reader.parkLine);
            }
    } catch (const zel::SysErrorException&) {
        throw;
    } catch (const std::exception& e) {
        gf_logMarkf("parkedtraffic answer: {}", e.what());
        if (reader.parkedTraffic.empty()) {
            code = 100;
            return false;
        }
    }
    return true;
}

void lf_cleanParkedTraffic(TrafficReader& reader, int32_t now) {
    std::vector<PtRecord>& list = reader.parkedTraffic;
    for (PtRecord& r : list) {
        r.age = now - r.age;
        if (r.age < 0) r.age += 48;  // seen later in the day than now: yesterday
    }
    if (!RT_PARKTRAFFIC_ONLY.current) {
        const int64_t maxFit = MAX_FIT.current;
        std::erase_if(list, [maxFit](const PtRecord& r) { return r.age > maxFit; });
    }
    std::stable_sort(list.begin(), list.end(), [](const PtRecord& a, const PtRecord& b) { return a.age < b.age; });
    std::vector<PtRecord> unique;
    unique.reserve(list.size());
    for (PtRecord& r : list) {
        const bool twice = std::any_of(unique.begin(), unique.end(), [&r](const PtRecord& u) {
            return u.standName == r.standName || (!r.callsign.empty() && u.callsign == r.callsign);
        });
        if (!twice) unique.push_back(std::move(r));
    }
    list = std::move(unique);
}

bool gf_fetchParkedTraffic() {
    TrafficReader& reader = trafficReader;
    lf_setParkBox(reader);
    int32_t code = 0;
    if (!lf_queryParkedTraffic(reader, code)) {
        if (code == 400) throw zel::SysErrorException(400, "RT API parameter fault");
        if (code == 401)
            gf_logMarkf("RT Parked traffic: re-authentication to RT API is needed {}", kProgramName);
        else
            gf_logMarkf("RT parkedtraffic error status: {}", code);
        return false;
    }
    lf_cleanParkedTraffic(reader, lf_halfHourNow(reader));
    return true;
}
