// The start of a run soon after the last one holds until the service may be visited again.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <thread>

#include "common/clock.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "frame/links_seam.h"
#include "support/fixture.h"

namespace {

class StartHoldTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_useManualClock(&clock_);
        links::setTrace(&trace_);
        gf_readParameters();
        std::filesystem::copy(gf_binaryDir() / "install" / "input", "input", std::filesystem::copy_options::recursive);
        std::filesystem::create_directories("output");
        std::filesystem::copy_file(gf_binaryDir() / "install" / "output" / "LiveriesScanned.xml",
                                   "output/LiveriesScanned.xml");
        links::databaseRead = false;
        SIM_INSTALL_PATH.current = "C:\\Lockheed Martin\\Prepar3D v5";
        PROGRAM_VERSION.current = "9.3.0";
        SCAN_LIVERIES.current = false;  // the liveries come from the saved file: no simulator to scan here
    }
    void TearDown() override {
        links::stopSimClient();  // joined before the clock it sleeps on goes
        links::setTrace(nullptr);
        ZarkTest::TearDown();
    }
    ManualClock clock_;
    std::vector<std::string> trace_;
};

struct HoldCase {
    int64_t secondsAgo;
    const char* logged;  // nullptr: no hold
    const char* elapsed;
};

class StartHoldCases : public StartHoldTest, public ::testing::WithParamInterface<HoldCase> {};

// The hold counts from the last visit; a last visit in the future (a clock set back) holds the full time.
// The time since the last run is logged in seconds below a minute.
TEST_P(StartHoldCases, ARecentRunHoldsTheRestOfTwoSeconds) {
    const HoldCase& c = GetParam();
    LAST_EPOCH_TIME.current = static_cast<int32_t>(gf_epochSeconds() - c.secondsAgo);
    gf_saveParameter(SIM_INSTALL_PATH);  // the start reads them from the file
    gf_saveParameter(LAST_EPOCH_TIME);
    gf_saveParameter(PROGRAM_VERSION);
    gf_saveParameter(SCAN_LIVERIES);
    const SteadyTime started = gf_steadyNow();
    // The wait for the simulator after the hold sleeps on the manual clock: end it there.
    std::atomic<bool> ended{false};
    std::thread closer([started, &ended] {
        while (!ended && gf_steadyNow() < started + std::chrono::seconds(30)) std::this_thread::yield();
        run.userClosed = true;
    });
    lf_startUpZARK();
    ended = true;
    closer.join();
    const std::string log = logText();
    if (c.logged)
        EXPECT_NE(log.find(std::string(c.logged) + " (RT API cannnot be revisited within 2 seconds)"),
                  std::string::npos)
            << log;
    else
        EXPECT_EQ(log.find("Holding"), std::string::npos) << log;
    EXPECT_NE(log.find(std::string("\n") + c.elapsed + " since last run\n"), std::string::npos) << log;
    EXPECT_TRUE(std::find(trace_.begin(), trace_.end(), "startSimClient") != trace_.end())
        << "the run goes on after the hold";
}

void PrintTo(const HoldCase& c, std::ostream* os) { *os << c.secondsAgo << " s ago"; }

INSTANTIATE_TEST_SUITE_P(SinceLastRun, StartHoldCases,
                         ::testing::Values(HoldCase{-30, "Holding for 2 seconds...", "-30 seconds"},
                                           HoldCase{0, "Holding for 2 seconds...", "0 seconds"},
                                           HoldCase{1, "Holding for 1 seconds...", "1 second"},
                                           HoldCase{2, nullptr, "2 seconds"}, HoldCase{59, nullptr, "59 seconds"},
                                           HoldCase{60, nullptr, "1 minute and 0 seconds"}),
                         [](const ::testing::TestParamInfo<HoldCase>& info) {
                             const int64_t s = info.param.secondsAgo;
                             return s < 0 ? "In" + std::to_string(-s) + "Seconds" : std::to_string(s) + "SecondsAgo";
                         });

}  // namespace
