// The world airport table: reading, errors, lookups, and the closest airport with its neighbour rule.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <fmt/format.h>

#include "airports/airport_table.h"
#include "airports/closest_stand.h"
#include "frame/core/errors.h"
#include "support/fixture.h"
#include "support/throws.h"

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

// Two fields 2 nm apart on one meridian, and a third far away. Written out of order on purpose.
constexpr LatLon kBig{50.0, 8.0};
constexpr LatLon kSmall{50.0 + 2.0 / 60.0, 8.0};

class AirportTableTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_clearAirportTable();
    }
    void TearDown() override {
        gf_clearAirportTable();
        ZarkTest::TearDown();
    }
    static std::string row(const std::string& code, LatLon p, const std::string& iata = "",
                           const std::string& alt = "364") {
        return fmt::format("<airport code=\"{}\" iata=\"{}\" lat=\"{:.6f}\" lon=\"{:.6f}\" alt=\"{}\"/>", code, iata,
                           p.lat, p.lon, alt);
    }
    void writeTable(const std::string& rows) {
        writeFile("input/airports_p3d.xml", "<?xml version=\"1.0\"?>\n<airports>" + rows + "</airports>");
    }
    // An airport file with stands at the given positions.
    void writeStands(const fs::path& path, const std::vector<std::pair<std::string, LatLon>>& stands) {
        std::string text = "<?xml version=\"1.0\"?>\n<parameters/><parkpositions>";
        for (const auto& [id, p] : stands)
            text += fmt::format("<parkpos id=\"{}\" latitude=\"{:.6f}\" longitude=\"{:.6f}\" radius=\"20.0\"/>", id,
                                p.lat, p.lon);
        writeFile(path, text + "</parkpositions>");
    }
    static std::pair<int, std::string> userError() {
        return gf_userErrorOf([] { gf_readAirports(); });
    }
};

}  // namespace

TEST_F(AirportTableTest, ReadsOnceSortedByCodeWithAllFiveFields) {
    writeTable(row("ZZZB", kSmall) + row("EDDF", kBig, "FRA", "364.5") + row("AAAA", {-10, -20}));
    EXPECT_TRUE(gf_readAirports());
    ASSERT_EQ(airportTable.rows.size(), 3u);
    EXPECT_EQ(airportTable.rows[0].code, "AAAA");
    EXPECT_EQ(airportTable.rows[1].code, "EDDF");
    EXPECT_EQ(airportTable.rows[2].code, "ZZZB");
    const auto fra = gf_findAirport("EDDF");
    ASSERT_TRUE(fra.has_value());
    EXPECT_EQ(fra->iata, "FRA");
    EXPECT_DOUBLE_EQ(fra->lat, 50.0);
    EXPECT_DOUBLE_EQ(fra->alt, 364.5);
    EXPECT_FALSE(gf_findAirport("eddf").has_value());
    EXPECT_TRUE(logHas("3 airports read from \"input/airports_p3d.xml\""));

    // Read once: a changed file is not read again until the table is cleared.
    writeTable(row("EGLL", {51.47, -0.45}));
    EXPECT_TRUE(gf_readAirports());
    EXPECT_FALSE(gf_findAirport("EGLL").has_value());
    gf_clearAirportTable();
    EXPECT_TRUE(gf_readAirports());
    EXPECT_TRUE(gf_findAirport("EGLL").has_value());
}

TEST_F(AirportTableTest, BadFilesAndValuesAreError88WithTheirCause) {
    EXPECT_EQ(userError().first, 88);  // no file
    writeFile("input/airports_p3d.xml", "<places/>");
    EXPECT_EQ(userError(), std::make_pair(88, std::string("88: input/airports_p3d.xml not found")));
    writeFile("input/airports_p3d.xml", "<airports><airport code=\"X\" ");
    const auto [code, text] = userError();
    EXPECT_EQ(code, 88);
    EXPECT_THAT(text, HasSubstr("input/airports_p3d.xml not loaded "));

    writeTable(row("EDDF", kBig) + "<airport code=\"EDDX\" iata=\"\" lat=\"\" lon=\"8\" alt=\"0\"/>");
    EXPECT_EQ(userError(), std::make_pair(88, std::string("88: invalid stod argument")));
    writeTable("<airport code=\"EDDX\" iata=\"\" lat=\"1\" lon=\"8\"/>");  // missing alt
    EXPECT_EQ(userError(), std::make_pair(88, std::string("88: invalid stof argument")));
    writeTable("<airport code=\"EDDX\" iata=\"\" lat=\"1e999\" lon=\"8\" alt=\"0\"/>");
    EXPECT_EQ(userError(), std::make_pair(88, std::string("88: stod argument out of range")));
    // Nothing half-read stays behind, and an empty table says so.
    EXPECT_TRUE(airportTable.rows.empty());
    writeTable("");
    EXPECT_FALSE(gf_readAirports());
}

TEST_F(AirportTableTest, ClosestAirportWithinFiveNmAndNoFileNeededForASingleOne) {
    writeTable(row("EBIG", kBig) + row("FAR1", {51.0, 8.0}));
    gf_readAirports();
    EXPECT_FALSE(gf_closestAirport({50.0, 8.0 + 8.0 / 60.0}).has_value());  // about 5.1 nm east
    const auto a = gf_closestAirport({50.0, 8.0 + 7.0 / 60.0});             // about 4.5 nm east
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->code, "EBIG");
    EXPECT_FALSE(logHas("is closest"));
}

TEST_F(AirportTableTest, TwoNeighboursWithoutFilesGiveTheNearer) {
    writeTable(row("EBIG", kBig) + row("ESML", kSmall));
    gf_readAirports();
    const LatLon nearSmall{50.0 + 1.5 / 60.0, 8.0};
    EXPECT_EQ(gf_closestAirport(nearSmall)->code, "ESML");
    EXPECT_TRUE(logHas("Airport ESML is closest, neighbour is EBIG"));
    EXPECT_EQ(gf_closestAirport({50.0 + 0.5 / 60.0, 8.0})->code, "EBIG");
}

TEST_F(AirportTableTest, ANeighboursNearerStandWinsOverTheNearerAirport) {
    writeTable(row("EBIG", kBig) + row("ESML", kSmall));
    gf_readAirports();
    // The position is nearer to ESML's reference point, but on a stand of EBIG's northern apron.
    const LatLon onStand{50.0 + 1.2 / 60.0, 8.0};
    writeStands("airports/archive/stock/EBIG.xml", {{"A1", {onStand.lat, onStand.lon + 0.0001}}, {"B9", kBig}});
    writeStands("airports/archive/stock/ESML.xml", {{"GA1", kSmall}});
    const auto a = gf_closestAirport(onStand);
    ASSERT_TRUE(a.has_value());
    EXPECT_EQ(a->code, "EBIG");
    EXPECT_TRUE(
        logHas("Airport ESML is closest, but stand A1 at neighbouring airport EBIG is closest at 7 meters ..."));

    // `second` is the last airport displaced: a nearer airport later in the table than best is not heard.
    gf_clearAirportTable();
    writeTable(row("EAAA", {50.0 - 3.0 / 60.0, 8.0}) + row("EBIG", kBig) + row("ESML", kSmall));
    gf_readAirports();
    writeStands("airports/archive/stock/EAAA.xml", {{"Z1", onStand}});
    EXPECT_EQ(gf_closestAirport(onStand)->code, "EBIG");
}

TEST_F(AirportTableTest, NearestStandFollowsTheSearchOrderOfAirportFiles) {
    std::string name = "untouched";
    EXPECT_DOUBLE_EQ(gf_readDestApfForClosestStand("EXXX", kBig, name), 100.0);
    EXPECT_EQ(name, "untouched");
    writeFile("airports/archive/stock/EXXX.xml", "<parkpositions><parkpos id=\"1\"");  // does not load
    EXPECT_DOUBLE_EQ(gf_readDestApfForClosestStand("EXXX", kBig, name), 100.0);
    writeFile("airports/archive/stock/EXXX.xml", "<parameters/>");  // no parkpositions
    EXPECT_DOUBLE_EQ(gf_readDestApfForClosestStand("EXXX", kBig, name), 100.0);
    EXPECT_EQ(name, "untouched");

    writeStands("airports/archive/stock/EXXX.xml", {{"STOCK", kBig}});
    EXPECT_NEAR(gf_readDestApfForClosestStand("EXXX", kBig, name), 0.0, 1e-9);
    EXPECT_EQ(name, "STOCK");
    writeStands("airports/my_ORBX/EXXX.xml", {{"ORBX", kBig}});
    gf_readDestApfForClosestStand("EXXX", kBig, name);
    EXPECT_EQ(name, "ORBX");
    // A pointer file leads elsewhere; its line is cut behind the last "l", so a Windows line end goes.
    writeStands("elsewhere/EXXX.xml", {{"POINTED", kBig}, {"FAR", kSmall}});
    writeFile("airports/my_thirdparty/EXXX.txt", "elsewhere/EXXX.xml \r\nignored\n");
    EXPECT_NEAR(gf_readDestApfForClosestStand("EXXX", kSmall, name), 0.0, 1e-3);
    EXPECT_EQ(name, "FAR");
    // A pointer to nothing falls through to the next place.
    writeFile("airports/my_thirdparty/EXXX.txt", "gone/EXXX.xml\n");
    gf_readDestApfForClosestStand("EXXX", kBig, name);
    EXPECT_EQ(name, "ORBX");
}

TEST_F(AirportTableTest, TheGeneratedTableHoldsTheRealWorldsAirports) {
    fs::create_directories("input");
    fs::copy_file(gf_binaryDir() / "install" / "input" / "airports_p3d.xml", "input/airports_p3d.xml");
    ASSERT_TRUE(gf_readAirports());
    EXPECT_GT(airportTable.rows.size(), 28000u);
    EXPECT_TRUE(std::is_sorted(airportTable.rows.begin(), airportTable.rows.end(),
                               [](const Airport& a, const Airport& b) { return a.code < b.code; }));
    const auto eham = gf_findAirport("EHAM");
    ASSERT_TRUE(eham.has_value());
    EXPECT_NEAR(eham->lat, 52.31, 0.01);
    EXPECT_NEAR(eham->lon, 4.76, 0.01);
    EXPECT_EQ(eham->iata, "AMS");
    EXPECT_NEAR(eham->alt, -11.0, 0.5);
    // Standing at Schiphol's terminal finds Schiphol; the middle of the North Sea finds nothing.
    EXPECT_EQ(gf_closestAirport({52.3100, 4.7680})->code, "EHAM");
    EXPECT_FALSE(gf_closestAirport({54.5, 3.0}).has_value());
    EXPECT_EQ(gf_closestAirport({47.4582, 8.5555})->code, "LSZH");
}
