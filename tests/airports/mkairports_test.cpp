// The stock airport files built from the real stands: the same bytes for the same data, a clear refusal
// of bad calls, and files the program reads whole, whose stands are where real aircraft stopped.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <tuple>

#include <fmt/format.h>

#include "airports/closest_stand.h"
#include "airports/state.h"
#include "support/build_tools.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

class MkairportsTest : public ZarkTest {
protected:
    static int run(const std::string& args) { return gf_runBuildTool("mkairports", args); }
    static fs::path installed(const std::string& icao) {
        return gf_binaryDir() / "install/airports/archive/stock" / (icao + ".xml");
    }
};

}  // namespace

TEST_F(MkairportsTest, TheSameDataGiveByteIdenticalFilesAndBadCallsAreRefused) {
    ZARK_SKIP_WITHOUT_BUILD_TOOLS();
    ASSERT_EQ(run(fmt::format("\"{}\" fresh", (gf_sourceDir() / "data").string())), 0) << readFile("mkairports.out");
    for (const char* icao : {"LSZH", "LFPG", "LFBO"}) {
        SCOPED_TRACE(icao);
        const std::string made = readFile(fs::path("fresh") / (std::string(icao) + ".xml"));
        EXPECT_GT(made.size(), 5000u);
        EXPECT_TRUE(made == readFile(installed(icao)));
    }
    EXPECT_EQ(run(""), 2);
    EXPECT_NE(readFile("mkairports.out").find("usage: mkairports <data folder> <output folder>"), std::string::npos);
    EXPECT_EQ(run("no-such-folder out"), 1);
    EXPECT_NE(readFile("mkairports.out").find("mkairports: cannot open no-such-folder/airports.csv"),
              std::string::npos);
    EXPECT_FALSE(fs::exists("out/LSZH.xml"));
}

TEST_F(MkairportsTest, TheProgramReadsEachFileWholeWithUniqueSizedStands) {
    for (const auto& [icao, count, name] : std::vector<std::tuple<std::string, size_t, std::string>>{
             {"LSZH", 293, "Zurich Airport"},
             {"LFPG", 552, "Charles de Gaulle International Airport"},
             {"LFBO", 125, "Toulouse-Blagnac Airport"}}) {
        SCOPED_TRACE(icao);
        gf_resetAirports();
        fs::create_directories("airports/archive/stock");
        fs::copy_file(installed(icao), fs::path("airports/archive/stock") / (icao + ".xml"),
                      fs::copy_options::overwrite_existing);
        airports.parkIcao = icao;
        QualityPair q;
        ASSERT_EQ(gf_readApf(q, gf_apfPath(icao)), "");
        EXPECT_EQ(airports.stands.size(), count);
        EXPECT_EQ(airports.airportName, name);
        EXPECT_EQ(airports.publisher, "stock");
        EXPECT_EQ(q, QualityPair(-1, -1));
        size_t lonely = 0, most = 0;
        for (const Stand& s : airports.stands) {
            EXPECT_GE(s.radius, 7.5 / 1852.0 - 1e-12) << s.name;
            EXPECT_LE(s.radius, 40.0 / 1852.0 + 1e-12) << s.name;
            EXPECT_TRUE(s.options.empty());
            lonely += s.adjacent.empty();
            most = std::max(most, s.adjacent.size());
        }
        // Stands side by side do not overlap; only the alternative positions of one place do, a few each.
        EXPECT_GT(lonely, count * 2 / 5);
        EXPECT_LE(most, 4u);
    }
}

// Where recorded aircraft stopped on or started from a stand at Zurich (OpenSky, data/tracks), a stand
// of the file lies within the 20 m in which a stopped aircraft takes a stand.
TEST_F(MkairportsTest, RecordedAircraftAtZurichStopWithinReachOfAStand) {
    fs::create_directories("airports/archive/stock");
    fs::copy_file(installed("LSZH"), "airports/archive/stock/LSZH.xml");
    for (const auto& [callsign, at] :
         std::vector<std::pair<std::string, LatLon>>{{"CAI3208 in", {47.4504203796, 8.5595340729}},
                                                     {"VJT796 in", {47.4553070068, 8.5675849915}},
                                                     {"AEE5ZH out", {47.4536132812, 8.5564956665}},
                                                     {"ENT57BW out", {47.4540710449, 8.5465049744}}}) {
        SCOPED_TRACE(callsign);
        std::string stand;
        EXPECT_LT(gf_readDestApfForClosestStand("LSZH", at, stand) * 1852.0, 20.0) << stand;
    }
}
