// The service's parked traffic: the decoder and its cleaning, and its rank above the history in a
// calculation, with the traffic service double answering, failing, or knowing nobody.
#include <algorithm>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "airports/state.h"
#include "common/clock.h"
#include "frame/core/errors.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "parking/calculation.h"
#include "parking/state.h"
#include "parking_support.h"
#include "service/client.h"
#include "service/exchange.h"
#include "service/parked.h"
#include "service/session.h"
#include "service/state.h"
#include "tools/trafficdouble/double.h"

namespace {
using json = nlohmann::json;

constexpr double kMidnight = 1767225600.0;  // 2026-01-01 00:00 UTC
// Seconds since 1970 in half hour h of the day, a minute into it.
double lf_at(int h) { return kMidnight + h * 1800.0 + 60.0; }

TEST_F(ParkingTest, ParkedLinesAreDecodedAgedAndCleaned) {
    MAX_FIT.current = 4;
    const json data = {
        {"4b1801", {47.45, 8.56, "A10", "A320", "HB-JLP", lf_at(40), "SWR8"}},         // seen at 40, now 2: age 10
        {"4b1811", {47.45, 8.56, "A11", "A320", "HB-JLQ", lf_at(0), "SWR9"}},          // age 2
        {"2710", {47.45, 8.56, "A12", "A320", "", lf_at(1), "SWR1"}},                  // a parked serial: dropped
        {"4b1802", {47.45, 8.56, "A13", "A380", "null", lf_at(1), "@@@@@@@@"}},        // A388, no reg, no callsign
        {"4b1803", {47.45, 8.56, 12, "A320", "", lf_at(1), "SWR3"}},                   // stand not a text: dropped
        {"4b1804", {47.45, 8.56, "A14", "ZZZZ", "", lf_at(1), "SWR4"}},                // no type: dropped
        {"4b1805", {47.45, 8.56, "A11", "A320", "", lf_at(46), "SWR5"}},               // A11 again, older: dropped
        {"4b1806", {47.45, 8.56, "A15", "B738", "", 1767225600 + 2 * 1800, ".DLH6"}},  // integer time; "." cut
        {"4b1807", {47.45, 8.56, "A16", "B738", "", lf_at(47), "SWR9"}},               // SWR9 again, older: dropped
        {"4b1808", {47.45, 8.56, "A17", "B738", "", lf_at(45), "SWR10"}},              // age 5 > MAX_FIT: dropped
    };
    TrafficReader& reader = trafficReader;
    for (const auto& [key, line] : data.items()) processLine(reader, key, line);
    lf_cleanParkedTraffic(reader, 2);

    std::vector<std::string> got;
    for (const PtRecord& r : reader.parkedTraffic)
        got.push_back(fmt::format("{:x} {} {} {} '{}' '{}'", r.hexid, r.age, r.standName, r.model, r.callsign, r.reg));
    const std::vector<std::string> want = {"4b1806 0 A15 B738 'DLH6' ''", "4b1802 1 A13 A388 '' ''",
                                           "4b1811 2 A11 A320 'SWR9' 'HB-JLQ'", "4b1801 10 A10 A320 'SWR8' 'HB-JLP'"};
    // SWR8 is 10 half hours old: gone with MAX_FIT 4 unless parked traffic is all there is.
    EXPECT_EQ(got, std::vector<std::string>(want.begin(), want.end() - 1));

    reader.parkedTraffic.clear();
    RT_PARKTRAFFIC_ONLY.current = true;
    for (const auto& [key, line] : data.items()) processLine(reader, key, line);
    lf_cleanParkedTraffic(reader, 2);
    EXPECT_EQ(reader.parkedTraffic.size(), want.size() + 1) << "SWR10 stays too";

    EXPECT_THROW(processLine(reader, "4b1809", json{95.0, 8.56, "A10", "A320", "", lf_at(1), "X"}),
                 zel::SysErrorException);
}

enum class PtAnswer { Served, Fails, Empty };
// The double's one scenario holds parked aircraft at Zurich, Paris CDG and Toulouse; the query box around
// the park airport gets only that airport's.
struct RankCase {
    PtAnswer answer;
    const char* icao;
    LatLon at;  // the airport's reference point
    int32_t elevationFt;
    size_t fromPtAtLeast;  // of the scenario's aircraft there; a few at Zurich go to other stands
};

class ParkedTrafficRankTest : public ParkingTest, public ::testing::WithParamInterface<RankCase> {
protected:
    void SetUp() override {
        ParkingTest::SetUp();
        const RankCase& c = GetParam();
        if (std::string(c.icao) != "LSZH") {
            const std::string file = "airports/archive/stock/" + std::string(c.icao) + ".xml";
            std::filesystem::copy_file(gf_binaryDir() / "install" / file, file);
            airports.parkIcao = c.icao;
            airports.stands.clear();
            QualityPair q;
            ASSERT_EQ(gf_readApf(q, file), "");
        }
        gf_useManualClock(&clock_);
        tdbl::Scenario scenario = tdbl::gf_zurichScenario(gf_sourceDir());
        if (c.answer == PtAnswer::Empty) scenario.parked.clear();
        if (c.answer == PtAnswer::Fails) {
            tdbl::Fault f;
            f.path = "/v4/traffic";
            f.querytype = "parkedtraffic";
            f.status = 500;
            f.message = "double says no";
            scenario.faults.push_back(f);
        }
        double_ = std::make_unique<tdbl::TrafficDouble>(scenario);
        double_->start();
        gf_setServiceBaseUrl(double_->baseUrl());
        service.accountKey = "TEST-KEY";
        gf_setParkAirport(c.at.lat, c.at.lon, c.elevationFt);
        gf_rtLogin(weatherClient);
    }
    void TearDown() override {
        double_->stop();
        gf_setServiceBaseUrl("");
        gf_useManualClock(nullptr);
        ParkingTest::TearDown();
    }
    ManualClock clock_;
    std::unique_ptr<tdbl::TrafficDouble> double_;
};

// A parked-traffic aircraft gets the stand the live search finds around its position, out to 110 m: the
// nearest free one that fits, one it stands right on grown to its size, never a stand for another kind.
TEST_F(ParkingTest, ParkedTrafficFindsItsStandByTheLiveSearch) {
    parking_percentage.current = 30;
    struct Case {
        const char *what, *model;
        LatLon at;
        const char *liveOn, *want;  // a live aircraft holds `liveOn`; `want` "" for no stand
        double radiusM;             // of the stand found, afterwards
    };
    const LatLon a10{47.4536, 8.555867};
    const LatLon e26South{47.459722, 8.556817};  // 70 m from E26, 82 m from E34, 94 m from E32
    for (const Case c : {
             Case{"70 m off: beyond the live 55 m", "A320", e26South, "", "E26", 33.0},
             Case{"its stand held live: the next", "A320", e26South, "E26", "E34", 33.0},
             Case{"right on a small stand: grows", "B77W", a10, "", "A10", gf_halfWingspan("B77W") * 1852.0 - 1.0},
             Case{"25 m off a small stand: none fits", "B77W", {47.4536, 8.555535}, "", "", 0.0},
             Case{"a helicopter on an aircraft stand", "EC35", a10, "", "", 0.0},
             Case{"400 m from every stand", "A320", {47.458056, 8.548056}, "", "", 0.0},
         }) {
        const std::vector<Stand> before = airports.stands;
        const size_t logged = logText().size();
        if (*c.liveOn) stand(c.liveOn).occupiedLive = true;
        parking.chosenPositions.clear();
        trafficReader.parkedTraffic = {
            PtRecord{"SWR", c.model, "", "", "SWR8", "", "", "HB-JLP", c.at.lat, c.at.lon, 0x4b1801, 1, "?"}};
        lf_placeParkedTraffic();
        const std::string got =
            parking.chosenPositions.empty() ? "" : airports.stands[parking.chosenPositions[0].sid - 1].name;
        EXPECT_EQ(got, c.want) << c.what;
        EXPECT_NEAR(got.empty() ? 0.0 : stand(got).radius * 1852.0, c.radiusM, 0.01) << c.what;
        EXPECT_EQ(logText().find("could not find a stand for PT's", logged) != std::string::npos, got.empty());
        airports.stands = before;
    }
}

// Parked traffic takes its own stands before the history fills the rest up to the wanted count; without
// it (a failure, nobody parked) the history alone fills them.
TEST_P(ParkedTrafficRankTest, ParkedTrafficComesBeforeHistory) {
    setNow({4, 0});  // the manual clock's moment: Thursday, midnight
    MAX_FIT.current = 47;
    parking_percentage.current = 10;
    for (Stand& s : airports.stands)
        if (gf_halfWingspan("A320") <= s.radius) addOption(s, "AFR" + s.name, "", 4, {0});
    gf_firstCalculation();

    size_t fromPt = 0;
    std::set<uint32_t> sids;
    for (const ChosenPosition& c : parking.chosenPositions) {
        EXPECT_TRUE(sids.insert(c.sid).second) << "one position per stand";
        if (!c.fromPt) continue;
        ++fromPt;
        const auto r = std::find_if(trafficReader.parkedTraffic.begin(), trafficReader.parkedTraffic.end(),
                                    [&c](const PtRecord& p) { return p.hexid == c.ptHexid; });
        ASSERT_NE(r, trafficReader.parkedTraffic.end());
        EXPECT_EQ(airports.stands[c.sid - 1].name, r->standName) << "on the stand the service names";
    }
    EXPECT_EQ(static_cast<int32_t>(parking.chosenPositions.size()), gf_wantedPositions());
    switch (GetParam().answer) {
        case PtAnswer::Served: EXPECT_GE(fromPt, GetParam().fromPtAtLeast); break;
        case PtAnswer::Fails:
            EXPECT_EQ(fromPt, 0u);
            EXPECT_TRUE(logHas("RT parkedtraffic error status: 500"));
            break;
        case PtAnswer::Empty:
            EXPECT_EQ(fromPt, 0u);
            EXPECT_TRUE(logHas("0 parking positions from PT"));
            break;
    }
}

constexpr LatLon kZurich{47.458056, 8.548056};
INSTANTIATE_TEST_SUITE_P(Answers, ParkedTrafficRankTest,
                         ::testing::Values(RankCase{PtAnswer::Served, "LSZH", kZurich, 1417, 7},
                                           RankCase{PtAnswer::Fails, "LSZH", kZurich, 1417, 0},
                                           RankCase{PtAnswer::Empty, "LSZH", kZurich, 1417, 0},
                                           RankCase{PtAnswer::Served, "LFPG", {49.0128, 2.55}, 392, 13},
                                           RankCase{PtAnswer::Served, "LFBO", {43.6291, 1.36382}, 499, 8}));

}  // namespace
