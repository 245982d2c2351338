// The client against the traffic service double over loopback: login, history and polling, faults and their
// consequences, weather, logout, pacing. All pauses run on the manual clock; the double stamps requests by it.
#include <chrono>
#include <cstdlib>
#include <regex>
#include <set>
#include <thread>

#include <gmock/gmock.h>

#include "common/clock.h"
#include "frame/core/errors.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "service/exchange.h"
#include "service/session.h"
#include "service/state.h"
#include "service/traffic.h"
#include "service/weather.h"
#include "support/fixture.h"
#include "tools/trafficdouble/double.h"

using json = nlohmann::json;
using tdbl::Fault;
using tdbl::FaultKind;

namespace {

// Sets (or with an empty value removes) a variable of the test's own environment; Windows' C runtime has
// no setenv.
void lf_setEnvironment(const char* name, const std::string& value) {
#ifdef _WIN32
    _putenv_s(name, value.c_str());
#else
    if (value.empty())
        unsetenv(name);
    else
        setenv(name, value.c_str(), 1);
#endif
}
const tdbl::Scenario& lf_zurich() {
    static const tdbl::Scenario s = tdbl::gf_zurichScenario(gf_sourceDir());
    return s;
}

int64_t lf_nowMs() {
    return std::chrono::duration_cast<std::chrono::milliseconds>(gf_steadyNow().time_since_epoch()).count();
}

class ClientTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_useManualClock(&clock_);
        double_ = std::make_unique<tdbl::TrafficDouble>(lf_zurich());
        double_->start();
        gf_setServiceBaseUrl(double_->baseUrl());
        gf_setTransferLimits({});
        service.accountKey = "TEST-KEY";
        gf_setQueryPosition(47.458056, 8.548056, 1500);
        gf_setParkAirport(47.458056, 8.548056, 1417);
        lf_updateArea();
    }
    void TearDown() override {
        double_->stop();
        gf_setServiceBaseUrl("");
        gf_setTransferLimits({});
        ZarkTest::TearDown();
    }
    void login() {
        gf_rtLogin(weatherClient);
        ASSERT_FALSE(trafficReader.guid.empty());
        double_->clearRequests();
    }
    Fault fault(const char* path, FaultKind kind, int32_t status = 0, int32_t skip = 0, int32_t count = 1) {
        Fault f;
        f.path = path;
        f.kind = kind;
        f.status = status;
        f.skip = skip;
        f.count = count;
        f.message = "double says no";
        return f;
    }
    // `rounds` good traffic rounds, then a 400 ends the loop; its code.
    int32_t trafficRounds(int32_t rounds) {
        double_->addFault(fault("/v4/traffic", FaultKind::Status, 400, rounds));
        int32_t code = 0;
        lf_trafficLoop(trafficReader, code);
        return code;
    }
    // Intervals between the requests of one side never undercut the limit.
    static void expectPaced(const std::vector<tdbl::RequestRecord>& requests, int64_t limitMs) {
        for (size_t i = 1; i < requests.size(); ++i)
            EXPECT_GE(requests[i].steadyMs - requests[i - 1].steadyMs, limitMs) << "request " << i;
        for (const auto& r : requests) EXPECT_FALSE(r.tooFast);
    }

    ManualClock clock_;
    std::unique_ptr<tdbl::TrafficDouble> double_;
};

TEST_F(ClientTest, LoginOpensASessionAndWaitsTheWeatherPause) {
    const int64_t before = lf_nowMs();
    gf_rtLogin(weatherClient);
    const auto auth = double_->requests("/v4/auth");
    ASSERT_EQ(auth.size(), 1u);
    EXPECT_EQ(auth[0].body, "license=TEST-KEY&software=ZARK_P3D_9.3.0");
    EXPECT_TRUE(auth[0].askedGzip);
    EXPECT_FALSE(weatherClient.guid.empty());
    EXPECT_EQ(trafficReader.guid, weatherClient.guid);
    EXPECT_TRUE(panel.sessionUp);
    EXPECT_EQ(weatherClient.rrl, 2000);
    EXPECT_TRUE(logHas("Authenticated at RT server \"rtwa-double-1\""));
    EXPECT_EQ(lf_nowMs() - before, 2000);
}

TEST_F(ClientTest, LoginRefusalsAndTheirConsequences) {
    service.accountKey = "EXPIRED-KEY";
    int64_t before = lf_nowMs();
    try {
        gf_rtLogin(weatherClient);
        FAIL() << "no exception";
    } catch (const zel::UserErrorException& e) {
        EXPECT_EQ(e.code(), 402);
    }
    EXPECT_EQ(lf_nowMs() - before, 2000 + 10000);  // the weather pause, then the ten seconds
    EXPECT_THAT(gf_messageLine().message, testing::HasSubstr("refused the login with status 402"));
    EXPECT_FALSE(panel.sessionUp);

    service.accountKey = "TEST-KEY";
    double_->addFault(fault("/v4/auth", FaultKind::Status, 500));
    before = lf_nowMs();
    try {
        gf_rtLogin(weatherClient);
        FAIL() << "no exception";
    } catch (const zel::SysErrorException& e) {
        EXPECT_EQ(e.code(), 500);
        EXPECT_THAT(e.what(), testing::HasSubstr("No RT database connection"));
    }
    EXPECT_EQ(lf_nowMs() - before, 2000);

    double_->addFault(fault("/v4/auth", FaultKind::Status, 400));
    EXPECT_NO_THROW(gf_rtLogin(weatherClient));
    EXPECT_TRUE(trafficReader.guid.empty());
    int32_t code = -1;
    EXPECT_FALSE(lf_trafficLoop(trafficReader, code));  // the readers end at once without a GUID
    EXPECT_TRUE(double_->requests("/v4/traffic").empty());

    gf_setServiceBaseUrl("http://127.0.0.1:1");  // nobody listens
    EXPECT_NO_THROW(gf_rtLogin(weatherClient));
    EXPECT_TRUE(trafficReader.guid.empty());
    EXPECT_TRUE(logHas("Authentication code: "));
}

TEST_F(ClientTest, HistoryThenPollingHandsOverTheRecordedFlights) {
    login();
    gf_setAcceptTraffic(true);
    double_->addFault(fault("/v4/traffic", FaultKind::Status, 400, /*skip*/ 4));
    int32_t code = 0;
    EXPECT_FALSE(lf_trafficLoop(trafficReader, code));
    EXPECT_EQ(code, 400);

    const auto traffic = double_->requests("/v4/traffic");
    ASSERT_EQ(traffic.size(), 5u);
    const std::string box = R"(top=48\.12&bottom=46\.79&left=7\.56&right=9\.53&querytype=locationtraffic&toffset=0)";
    EXPECT_TRUE(std::regex_match(traffic[0].body, std::regex("GUID=[^&]+&" + box + "&buffercount=5&buffertime=6")))
        << traffic[0].body;
    EXPECT_TRUE(std::regex_match(traffic[1].body, std::regex("GUID=[^&]+&" + box))) << traffic[1].body;
    expectPaced(traffic, 2000);

    std::lock_guard lock(service.trafficLock);
    EXPECT_FALSE(service.initialLoad.empty());
    EXPECT_GT(service.liveQueue.size(), 10u);  // four buffered and three live snapshots of Zurich
    for (const TrafficRecord& r : service.liveQueue) {
        EXPECT_GE(r.hexid, 0x83c3u);
        EXPECT_FALSE(r.reg.empty());
        EXPECT_LE(r.dueTick, 3000 + 10);
    }
    EXPECT_GT(trafficReader.lastTrafficTime.load(), 1.7e9);
}

TEST_F(ClientTest, PollingSurvivesTransientFaults) {
    login();
    const FaultKind transient[] = {FaultKind::EmptyBody, FaultKind::BadJson, FaultKind::Status, FaultKind::Drop,
                                   FaultKind::WrongTypes};
    int32_t skip = 1;  // the history goes through
    for (FaultKind k : transient) {
        double_->addFault(fault("/v4/traffic", k, 406, skip));
        skip = 0;
    }
    double_->addFault(fault("/v4/traffic", FaultKind::Status, 500));
    int32_t code = 0;
    lf_trafficLoop(trafficReader, code);
    EXPECT_EQ(code, 500);
    EXPECT_EQ(double_->requests("/v4/traffic").size(), 7u);
    EXPECT_TRUE(logHas("traffic receive: empty content"));
    EXPECT_TRUE(logHas("traffic exception: "));
    EXPECT_TRUE(logHas("curl traffic msg double says no"));
    EXPECT_TRUE(logHas("curl traffic code_t: "));
    expectPaced(double_->requests("/v4/traffic"), 2000);
}

TEST_F(ClientTest, ReaderThreadEndsByStatus) {
    struct Case {
        FaultKind kind;
        int32_t status;
        const char* logged;
        bool restart;
    };
    const Case cases[] = {{FaultKind::Status, 401, "re-authentication to RT API is needed, restart ZARK_P3D", true},
                          {FaultKind::Status, 400, "Traffic RT API: parameter fault", false},
                          {FaultKind::Status, 404, "Traffic RT API error: 404", false},
                          {FaultKind::NoStatus, 0, "Traffic RT API error: 100", false},
                          {FaultKind::TextStatus, 0, "Traffic RT API error: 100", false}};
    login();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.logged);
        exitRequests_.clear();
        run.readerStopped = false;
        weatherClient.stopRequested = false;
        double_->addFault(fault("/v4/traffic", c.kind, c.status, /*skip*/ 1));
        gf_trafficReaderThread();
        EXPECT_TRUE(logHas(c.logged));
        EXPECT_EQ(panel.trafficLamp, 3);
        EXPECT_TRUE(weatherClient.stopRequested);
        EXPECT_THAT(gf_messageLine().message, testing::HasSubstr("The WeatherReader has stopped with an error"));
        if (c.restart)
            EXPECT_THAT(exitRequests_, testing::ElementsAre(std::make_pair(2, 15)));
        else
            EXPECT_TRUE(run.readerStopped);
        EXPECT_EQ(run.activeThreads, 0);
    }
}

TEST_F(ClientTest, StopRequestEndsAStalledTransfer) {
    login();
    Fault stall = fault("/v4/traffic", FaultKind::Stall, 0, /*skip*/ 1);
    stall.stallMs = -1;  // until the double stops
    double_->addFault(stall);
    int32_t code = 0;
    std::thread reader([&] { lf_trafficLoop(trafficReader, code); });
    while (double_->requests("/v4/traffic").size() < 2) std::this_thread::yield();
    trafficReader.stopRequested = true;
    reader.join();
    EXPECT_EQ(code, 9999);
}

// Buffer 4 is the oldest snapshot: it is the initial load, due at once; buffer 0, the newest, is due last.
TEST_F(ClientTest, HistoryBuffersComeOldestFirstEachSixSecondsLater) {
    login();
    gf_setAcceptTraffic(true);
    trafficRounds(1);
    std::lock_guard lock(service.trafficLock);
    std::vector<TrafficRecord> all(service.initialLoad.begin(), service.initialLoad.end());
    all.insert(all.end(), service.liveQueue.begin(), service.liveQueue.end());
    std::set<int32_t> dueTicks;
    double lowest = 1e12, highest = -1e12;  // due time minus time stamp, s: the same for every record
    for (const TrafficRecord& r : all) {
        dueTicks.insert(r.dueTick);
        lowest = std::min(lowest, r.dueTick / 100.0 - r.timestamp);
        highest = std::max(highest, r.dueTick / 100.0 - r.timestamp);
    }
    for (int32_t due : {600, 1200, 1800, 2400, 3000}) EXPECT_EQ(dueTicks.count(due), 1u) << due;  // 30 s late
    EXPECT_TRUE(std::all_of(service.initialLoad.begin(), service.initialLoad.end(),
                            [](const TrafficRecord& r) { return r.dueTick < 900; }));
    EXPECT_LT(highest - lowest, 3.0);
    EXPECT_GT(trafficReader.liveCount.load(), 0) << "the panel counts the newest buffer";
}

TEST_F(ClientTest, RaisedRateLimitsOfTheServiceAreHonoured) {
    double_->setRates(5000, 3000);
    const int64_t before = lf_nowMs();
    login();
    EXPECT_EQ(lf_nowMs() - before, 3000);
    trafficRounds(3);
    const auto traffic = double_->requests("/v4/traffic");
    ASSERT_EQ(traffic.size(), 4u);
    for (size_t i = 1; i < traffic.size(); ++i) EXPECT_EQ(traffic[i].steadyMs - traffic[i - 1].steadyMs, 5000);
    double_->addFault(fault("/v4/weather", FaultKind::Status, 400, /*skip*/ 1));
    int32_t code = 0;
    lf_weatherLoop(weatherClient, code);
    std::vector<tdbl::RequestRecord> side;
    for (const auto& r : double_->requests())
        if (r.path != "/v4/traffic") side.push_back(r);
    ASSERT_GE(side.size(), 3u);
    for (size_t i = 1; i < side.size(); ++i) EXPECT_EQ(side[i].steadyMs - side[i - 1].steadyMs, 3000) << i;
}

TEST_F(ClientTest, TheQueryBoxFollowsOnlyARealMoveOrANewRange) {
    const auto box = [] {
        return std::array<double, 4>{trafficReader.top, trafficReader.bottom, trafficReader.left, trafficReader.right};
    };
    const auto first = box();  // Zurich, set up by the fixture
    EXPECT_NEAR(first[0] - first[1], 2 * parDerived.rangeNm * 1.852 / 111.2, 1e-9);
    gf_setQueryPosition(47.458056 + 0.00014, 8.548056 - 0.00014);
    lf_updateArea();
    EXPECT_EQ(box(), first) << "a move under 0.00015 degrees keeps the box";
    gf_setQueryPosition(47.458056, 8.548056 + 0.00016);
    lf_updateArea();
    EXPECT_NE(box()[2], first[2]);
    const auto moved = box();
    parDerived.rangeNm = parDerived.rangeNm + 10.0;
    lf_updateArea();
    EXPECT_GT(box()[0], moved[0]) << "a longer range widens the box in place";
    const auto wide = box();
    gf_setQueryPosition(0.0009, 0.05);  // no position yet: nothing changes, not even the user position
    lf_updateArea();
    EXPECT_EQ(box(), wide);
    EXPECT_EQ(trafficReader.userLatitude.load(), 47.458056);
}

TEST_F(ClientTest, ResetsForgetTheSessionTheDecoderTheWeatherAndTheRemovals) {
    login();
    for (RtClient* c : std::initializer_list<RtClient*>{&weatherClient, &trafficReader}) {
        c->answer = "x";
        c->authAnswer = "y";
        c->stopRequested = true;
    }
    trafficReader.batch.resize(2);
    trafficReader.collectSeen = true;
    trafficReader.lastTrafficTime = 5.0;
    service.qnh = 990;
    service.engineQnh = 990;
    service.lastQnh = 990;
    panel.qnhShown = 990;
    gf_resetReaders();
    for (RtClient* c : std::initializer_list<RtClient*>{&weatherClient, &trafficReader}) {
        EXPECT_TRUE(c->guid.empty() && c->answer.empty() && c->authAnswer.empty());
        EXPECT_FALSE(c->stopRequested);
    }
    EXPECT_TRUE(trafficReader.batch.empty());
    EXPECT_FALSE(trafficReader.collectSeen);
    EXPECT_EQ(trafficReader.lastTrafficTime.load(), 0.0);
    EXPECT_EQ(trafficReader.areaRangeNm, -1.0);
    EXPECT_EQ(service.qnh + service.engineQnh + service.lastQnh + panel.qnhShown, 4 * 1013);
    service.liveQueue.emplace_back();
    service.initialLoad.emplace_back();
    gf_resetService();
    EXPECT_TRUE(service.liveQueue.empty() && service.initialLoad.empty())
        << "a new run plays nothing of the last one's";
}

TEST_F(ClientTest, ABaseUrlWithATrailingSlashIsUsedWithout) {
    for (bool fromEnvironment : {false, true}) {
        SCOPED_TRACE(fromEnvironment);
        gf_setServiceBaseUrl(fromEnvironment ? "" : double_->baseUrl() + "//");
        if (fromEnvironment) lf_setEnvironment("ZARK_RT_URL", double_->baseUrl() + "/");
        EXPECT_EQ(gf_serviceBaseUrl(), double_->baseUrl());
        trafficReader.guid.clear();
        gf_rtLogin(weatherClient);
        EXPECT_FALSE(trafficReader.guid.empty());
        lf_setEnvironment("ZARK_RT_URL", "");
    }
}

// --- weather ---

class WeatherTest : public ClientTest {
protected:
    // One good round with this QNH, then the weather answer 404 ends the loop.
    int32_t qnhAfterOneRound(json qnh) {
        double_->setWeather({{"ICAO", "LSZH"}, {"QNH", qnh}});
        double_->addFault(fault("/v4/weather", FaultKind::Status, 404, /*skip*/ 1));
        weatherClient.stopRequested = false;
        int32_t code = 0;
        lf_weatherLoop(weatherClient, code);
        EXPECT_EQ(code, 404);
        return service.qnh;
    }
};

TEST_F(WeatherTest, PressureInEveryFormTheServiceSends) {
    login();
    EXPECT_EQ(qnhAfterOneRound(2992), 1013);
    EXPECT_EQ(qnhAfterOneRound("1009"), 1009);
    EXPECT_EQ(service.engineQnh, 1009);
    EXPECT_EQ(panel.qnhShown, 1009);
    EXPECT_EQ(qnhAfterOneRound(1008.6), 1009);
    EXPECT_EQ(qnhAfterOneRound(29.92), 1009);
    EXPECT_TRUE(logHas("Strange QNH 30 found in "));
    EXPECT_EQ(qnhAfterOneRound(1081), 1009);
    EXPECT_TRUE(logHas("Strange QNH 366 found in "));
    EXPECT_EQ(qnhAfterOneRound(1080), 1080);
    EXPECT_EQ(qnhAfterOneRound(930), 930);     // both ends of 930..1080 are believed
    EXPECT_EQ(qnhAfterOneRound("abc"), 1013);  // the reading counts as 1013
    EXPECT_TRUE(logHas("QNH string invalid arg: "));
    EXPECT_EQ(qnhAfterOneRound("99999999999"), 1013);
    EXPECT_TRUE(logHas("QNH string out of range: "));
    EXPECT_EQ(qnhAfterOneRound(nullptr), 1013);
    EXPECT_TRUE(logHas("No QNH found in "));

    const auto weather = double_->requests("/v4/weather");
    ASSERT_FALSE(weather.empty());
    EXPECT_TRUE(std::regex_match(weather[0].body,
                                 std::regex("GUID=[^&]+&querytype=locwx&toffset=0&lat=47\\.4581&lon=8\\.5481&alt=1500&"
                                            "airports=LSZH")))
        << weather[0].body;
    EXPECT_TRUE(std::regex_match(double_->requests("/v4/nearestmetar")[0].body,
                                 std::regex("GUID=[^&]+&toffset=0&lat=47\\.4581&lon=8\\.5481")));
}

// The panel's lamps follow what the readers last got: green for a good answer or traffic, yellow for a
// failed weather round or an empty snapshot; a stopped reader's red lamp stays.
TEST_F(WeatherTest, TheLampsShowWhatTheReadersLastGot) {
    login();
    int32_t code = 0;
    double_->addFault(fault("/v4/weather", FaultKind::EmptyBody));
    double_->addFault(fault("/v4/nearestmetar", FaultKind::Status, 401, /*skip*/ 1));
    lf_weatherLoop(weatherClient, code);
    gf_weatherLamps();
    EXPECT_EQ(panel.weatherLamp, 3) << "no good answer yet: the lamp stays as it was";
    qnhAfterOneRound(1013);
    gf_weatherLamps();
    EXPECT_EQ(panel.weatherLamp, 1);
    gf_sleepFor(std::chrono::milliseconds(2000));  // the pause the ended round skipped
    double_->addFault(fault("/v4/weather", FaultKind::EmptyBody));
    double_->addFault(fault("/v4/nearestmetar", FaultKind::Status, 401, /*skip*/ 1));
    weatherClient.stopRequested = false;
    lf_weatherLoop(weatherClient, code);
    gf_weatherLamps();
    EXPECT_EQ(panel.weatherLamp, 2);

    panel.trafficLamp = 2;  // as the start of the traffic shows it
    trafficRounds(2);
    gf_trafficLamps();
    EXPECT_EQ(panel.trafficLamp, 1);
    gf_setQueryPosition(10.0, 10.0);  // no flights there
    lf_updateArea();
    trafficRounds(2);
    gf_trafficLamps();
    EXPECT_EQ(panel.trafficLamp, 2);
    gf_readerEnded("Traffic", panel.trafficLamp, weatherClient, 400, false);
    gf_trafficLamps();
    EXPECT_EQ(panel.trafficLamp, 3);
}

TEST_F(WeatherTest, RoundsArePacedAndFailuresCostOnlyTheirRound) {
    login();
    double_->addFault(fault("/v4/nearestmetar", FaultKind::Status, 500));
    double_->addFault(fault("/v4/nearestmetar", FaultKind::Status, 404));
    double_->addFault(fault("/v4/weather", FaultKind::EmptyBody));
    double_->addFault(fault("/v4/weather", FaultKind::Status, 406));
    double_->addFault(fault("/v4/weather", FaultKind::Status, 400, /*skip*/ 1));
    int32_t code = 0;
    lf_weatherLoop(weatherClient, code);
    EXPECT_EQ(code, 400);
    EXPECT_TRUE(logHas("500 json nearestmetar double says no"));
    EXPECT_TRUE(logHas("Empty content?, no QNH to be found"));
    EXPECT_TRUE(logHas("406 json weather double says no"));
    EXPECT_EQ(double_->requests("/v4/nearestmetar").size(), 6u);  // two rounds lost, one good, two failed
    EXPECT_EQ(double_->requests("/v4/weather").size(), 4u);
    std::vector<tdbl::RequestRecord> side;
    for (const auto& r : double_->requests())
        if (r.path != "/v4/traffic") side.push_back(r);
    expectPaced(side, 2000);
}

TEST_F(WeatherTest, ThreadEndsByStatus) {
    login();
    double_->addFault(fault("/v4/nearestmetar", FaultKind::Status, 401, /*skip*/ 1));
    gf_weatherReaderThread();
    EXPECT_EQ(service.qnh, 1013);
    EXPECT_TRUE(logHas("re-authentication to RT API is needed, restart ZARK_P3D"));
    EXPECT_THAT(exitRequests_, testing::ElementsAre(std::make_pair(2, 15)));
    EXPECT_TRUE(trafficReader.stopRequested);
    EXPECT_EQ(panel.weatherLamp, 3);

    trafficReader.stopRequested = false;
    weatherClient.stopRequested = false;
    double_->addFault(fault("/v4/weather", FaultKind::Status, 400));
    gf_weatherReaderThread();
    EXPECT_TRUE(logHas("Weather RT API: parameter fault"));
    EXPECT_TRUE(run.readerStopped);
}

// --- logout ---

TEST_F(ClientTest, LogoutEndsTheSessionOnce) {
    gf_rtLogout();
    EXPECT_TRUE(double_->requests("/v4/deauth").empty());  // no session, nothing sent
    login();
    const std::string guid = trafficReader.guid;
    gf_takeDirtyBands();
    gf_rtLogout();
    EXPECT_TRUE(gf_takeDirtyBands() & (1u << static_cast<int>(Band::Status))) << "the panel shows the session gone";
    const auto deauth = double_->requests("/v4/deauth");
    ASSERT_EQ(deauth.size(), 1u);
    EXPECT_EQ(deauth[0].body, "GUID=" + guid);
    EXPECT_FALSE(panel.sessionUp);
    EXPECT_TRUE(trafficReader.guid.empty());
    EXPECT_TRUE(logHas("Session closed RT server \"rtwa-double-1\""));

    trafficReader.guid = guid;  // the service forgot it: refused
    gf_rtLogout();
    EXPECT_TRUE(logHas("Deauthentication failed, status: 401"));
}

TEST_F(ClientTest, TimeShiftReachesTheRequests) {
    login();
    trafficReader.toffset = 90;
    trafficRounds(1);
    const auto traffic = double_->requests("/v4/traffic");
    ASSERT_EQ(traffic.size(), 2u);
    EXPECT_EQ(traffic[1].form.at("toffset"), "90");
    std::lock_guard lock(service.trafficLock);
    ASSERT_FALSE(service.liveQueue.empty());
    const double now = std::chrono::duration<double>(gf_utcNow().time_since_epoch()).count();
    EXPECT_NEAR(service.liveQueue.back().timestamp, now - 90 * 60, 40.0);
}
}  // namespace

namespace {
// The scenario gives some aircraft an airspeed, a roll angle and the source letter "F" with a registration:
// those paths of the decoder run end to end.
TEST_F(ClientTest, AirspeedBankAndSourceOfTheScenarioReachTheRecords) {
    login();
    gf_setAcceptTraffic(true);
    trafficRounds(150);
    std::lock_guard lock(service.trafficLock);
    int airspeeds = 0, banks = 0, sourceF = 0, tableSpeeds = 0;
    for (const TrafficRecord& r : service.liveQueue) {
        if (r.hexid == 0x83c3 && r.airborne && r.airspeed == std::round(r.groundSpeed)) ++airspeeds;
        if (r.hexid == 0x83c3 && r.bank) ++banks;
        if (r.hexid == 0x4b1614) ++sourceF;  // "F" with a registration goes on
        // Without an airspeed the decoder takes the value of its altitude band.
        if (r.hexid != 0x83c3 && r.hexid != 0x3c664e && r.airborne) {
            EXPECT_THAT(r.airspeed, testing::AnyOf(180.0, 220.0, 250.0, 350.0, 430.0));
            if (r.hexid != 0x4b1614) {
                EXPECT_FALSE(r.bank.has_value());
            }
            ++tableSpeeds;
        }
    }
    EXPECT_GT(airspeeds, 0);
    EXPECT_GT(banks, 0);
    EXPECT_GT(sourceF, 0);
    EXPECT_GT(tableSpeeds, 0);
}
}  // namespace
