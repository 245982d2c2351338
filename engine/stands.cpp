#include "engine/stands.h"

#include "common/geo.h"
#include "service/state.h"

namespace {
constexpr double kParkAirportNm = 5.0;                   // a head farther out taxis
constexpr double kRollingNextKt = 5.0;                   // a next sample faster than this: it taxis
constexpr double kSettledNm = 0.018898488120950324;      // 35 m: the stream ends this close to its head
constexpr double kStandSearchNm = 0.029697624190064796;  // 55 m around the search position

bool lf_standsLoaded() { return false; }  // STUB: the stand table comes with the airport files

void lf_taxi(Act& act) { act.phase = ActPhase::Taxi; }
}  // namespace

std::optional<uint32_t> gf_searchStandNear(LatLon, double, bool) { return std::nullopt; }  // STUB

std::string gf_standName(uint32_t sid) { return sid == 0 ? "sid==0?" : "unknown"; }

bool gf_standRulesForLive(Act& act) {
    if (!lf_standsLoaded() || !service.parkAirportSet.load()) {
        lf_taxi(act);
        return true;
    }
    const Sample& head = act.stream.front();
    const LatLon park{service.parkLatitude.load(), service.parkLongitude.load()};
    if (gf_distanceNm(park, {head.latitude, head.longitude}) > kParkAirportNm) {
        lf_taxi(act);
        return true;
    }
    LatLon searchAt{head.latitude, head.longitude};
    if (!head.stopped) {
        const Sample& last = act.stream.back();
        if (act.stream[1].groundSpeed > kRollingNextKt ||
            gf_distanceNm({head.latitude, head.longitude}, {last.latitude, last.longitude}) > kSettledNm) {
            lf_taxi(act);
            return true;
        }
        searchAt = {last.latitude, last.longitude};
    }
    const std::optional<uint32_t> sid = gf_searchStandNear(searchAt, kStandSearchNm, head.stopped);
    if (!sid) {
        if (act.stream[1].stopped) {
            act.stream.pop_front();
            return false;
        }
        lf_taxi(act);
        return true;
    }
    // Reserved and user stands, claims, adjacency, clearing and taking the stand: with the stand table.
    lf_taxi(act);
    return true;
}
