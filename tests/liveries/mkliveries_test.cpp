// The liveries of the install fixture: the same bytes at every build, and what the recorded Zurich flights
// get from them on the generated real database.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <fmt/format.h>

#include "common/random.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/liveries_file.h"
#include "liveries/matching.h"
#include "support/build_tools.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

class MkliveriesTest : public ZarkTest {
protected:
    static int run(const std::string& args) { return gf_runBuildTool("mkliveries", args); }
};

}  // namespace

TEST_F(MkliveriesTest, TheSameBuildGivesByteIdenticalFilesAndBadCallsAreRefused) {
    ZARK_SKIP_WITHOUT_BUILD_TOOLS();
    fs::create_directories("fresh");
    ASSERT_EQ(run("fresh"), 0) << readFile("mkliveries.out");
    for (const char* f : {"output/LiveriesScanned.xml", "input/AIG-regcodes.xml"}) {
        SCOPED_TRACE(f);
        const std::string made = readFile(fs::path("fresh") / f);
        EXPECT_GT(made.size(), 300u);
        EXPECT_TRUE(made == readFile(gf_binaryDir() / "install" / f));
    }
    EXPECT_EQ(run(""), 2);
    EXPECT_NE(readFile("mkliveries.out").find("usage: mkliveries <install folder>"), std::string::npos);
    EXPECT_EQ(run("no-such-folder"), 1);
    EXPECT_NE(readFile("mkliveries.out").find("mkliveries: no install folder no-such-folder"), std::string::npos);
}

TEST_F(MkliveriesTest, EveryRecordedFlightButTwoFindsItsLivery) {
    for (const char* f :
         {"input/dbase.xml", "input/fixes.xml", "input/AIG-regcodes.xml", "output/LiveriesScanned.xml"}) {
        fs::create_directories(fs::path(f).parent_path());
        fs::copy_file(gf_binaryDir() / "install" / f, f);
    }
    gf_readDbase();
    gf_readParameters();
    ASSERT_TRUE(gf_getLiveries(false, true, false, {}));
    EXPECT_TRUE(HELICOPTERS.current);  // the fixture has helicopters, light and fast aircraft
    EXPECT_TRUE(LIGHT_AIRCRAFT.current);
    EXPECT_TRUE(HIGH_PERF_AIRCRAFT.current);
    gf_seedRandom(11);
    struct Flight {
        const char* callsign;
        const char* model;
        const char* reg;
        int step;           // 0: no livery, on purpose
        const char* title;  // the one title when it can only be one
    };
    // Types and registrations as data/tracks/LSZH_scenario.json gives them.
    const Flight flights[] = {
        {"CAI3208", "A320", "ZS-GAZ", 4, "FLAi_A320_ZZZZ"},
        {"AFR181L", "A319", "F-GRXE", 2, "AIG_A319_AFR_Air France"},
        {"DLH4TR", "A321", "D-AIRN", 2, "FLAi_FAIB_A321IAE_DLH-Lufthansa OC"},  // the retro one is reserved
        {"AUA570", "A320", "OE-LBV", 2, "FLAi_FAIB_A320CFM_AUA-Austrian_NC"},
        {"AEE5ZH", "A320", "SX-DGB", 3, "FLAi_FAIB_A321CFM_AEE-Aegean"},
        {"ENT57BW", "B738", "SP-ENX", 0, ""},
        {"SWR5220", "A320", "HB-IJE", 1, "FLAi_FAIB_A320CFM_SWR-Swiss HB-IJE"},
        {"SWR137H", "A320", "HB-IJK", 1, "FSLTL_A320_SWR-Swiss Star Alliance"},
        {"SWISS", "BCS1", "HB-JBH", 1, "AIG_BCS1_SWR_Swiss HB-JBH"},
        {"SWR75C", "BCS3", "HB-JCF", 1, "AIG_BCS3_SWR_Swiss"},
        {"EDW229", "A320", "HB-JJK", 1, "AIG_A320_EDW_Edelweiss HB-JJK"},
        {"VJT796", "GLEX", "9H-VJG", 2, "AIG_GLEX_VJT_VistaJet"},
        {"ACA879", "B789", "C-FGFZ", 0, ""},
    };
    uint32_t hexid = 0x4b0000;
    for (const Flight& f : flights) {
        SCOPED_TRACE(f.callsign);
        Act act;
        act.callsign = f.callsign;
        act.model = f.model;
        act.reg = f.reg;
        // The admission puts the operator of a known registration in place of the airline.
        act.airline = gf_dbaseOperator(f.reg).empty() ? gf_dbaseAirline(f.reg) : gf_dbaseOperator(f.reg);
        act.category = gf_modelCategory(f.model);
        act.hexid = ++hexid;
        const MatchCounts before = gf_matchCounts();
        ASSERT_EQ(gf_matchLive(act), f.step != 0);
        if (f.step == 0) continue;
        EXPECT_EQ(gf_matchCounts().atStep[f.step], before.atStep[f.step] + 1);
        EXPECT_EQ(act.livery, f.title);
    }
}
