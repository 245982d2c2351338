// Airport files as the park airport sees them: the file chosen, read with its learned overlay, bad
// input met with a log line and nothing lost, the learned file written back and read again.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/timeofweek.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "support/file_size_limit.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kArchived = "airports/archive/stock/EXMP.xml";
constexpr const char* kLearned = "airports/learned/stock/EXMP.xml";

std::string lf_parkpos(const std::string& id, double lat, double lon, const std::string& extra = "radius=\"20.0\"",
                       const std::string& opts = "") {
    return fmt::format("<parkpos id=\"{}\" latitude=\"{:.6f}\" longitude=\"{:.6f}\" heading=\"90.0\" {}>{}</parkpos>",
                       id, lat, lon, extra, opts);
}

// Two stands 35 m apart east-west, and a third far off.
const double kLon35m = 35.0 / (1852.0 * 60.0 * std::cos(47.0 * kDegToRad));
const std::string kStands =
    lf_parkpos("A1", 47.0, 8.0, "radius=\"20.0\" cargo=\"false\" ramp=\"false\"",
               "<opt reg=\"\" airl=\"SWR\" type=\"A320\" day=\"1\" hh=\"16,17\" cs=\"SWR12\"/>") +
    lf_parkpos("A2", 47.0, 8.0 + kLon35m) + lf_parkpos("Z9", 47.01, 8.0);

std::string lf_file(const std::string& parameters, const std::string& stands) {
    return "<?xml version=\"1.0\"?>\n<parameters>" + parameters + "</parameters><parkpositions>" + stands +
           "</parkpositions>";
}
std::string lf_par(const std::string& name, const std::string& value) {
    return fmt::format("<parameter name=\"{}\" value=\"{}\"/>", name, value);
}
const std::string kHead = lf_par("airport_name", "Example") + lf_par("publisher", "stock") + lf_par("altitude", "1417");

class AirportFileTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        airports.parkIcao = "EXMP";
    }
    // Reads the example airport; the error text, or "user error N" for a UserErrorException.
    std::string read() {
        try {
            return gf_readApf(quality_, kArchived);
        } catch (const zel::UserErrorException& e) {
            return fmt::format("user error {}", e.code());
        }
    }
    const Stand* stand(const std::string& name) const {
        for (const Stand& s : airports.stands)
            if (s.name == name) return &s;
        return nullptr;
    }
    QualityPair quality_{0, 0};
};

}  // namespace

TEST_F(AirportFileTest, ReadsStandsOptionsAndOverlapsOfAnArchivedFile) {
    writeFile(kArchived, lf_file(kHead + lf_par("Qf_real", "55"), kStands));
    EXPECT_EQ(read(), "");
    ASSERT_EQ(airports.stands.size(), 3u);
    const Stand& a1 = airports.stands[0];
    EXPECT_EQ(a1.sid, 1u);
    EXPECT_NEAR(a1.radius, 20.0 / 1852.0, 1e-12);
    EXPECT_NEAR(a1.heading, kPi / 2, 1e-12);
    ASSERT_EQ(a1.options.size(), 1u);
    EXPECT_EQ(a1.options[0].hh, (uint64_t{1} << 16) | (uint64_t{1} << 17));
    EXPECT_EQ(a1.options[0].optId, 1u);
    EXPECT_FALSE(a1.options[0].learned);
    // 20 m + 20 m against 1.1 x 35 m = 38.5 m: A1 and A2 overlap each other; Z9 overlaps none.
    EXPECT_EQ(a1.adjacent, std::vector<uint32_t>{2});
    EXPECT_EQ(airports.stands[1].adjacent, std::vector<uint32_t>{1});
    EXPECT_TRUE(airports.stands[2].adjacent.empty());
    EXPECT_EQ(quality_, QualityPair(55, -1));
    EXPECT_EQ(airports.altitude, 1417);
    EXPECT_TRUE(panel.atParkAirport);
    EXPECT_EQ(airports.learnedPath, fs::path(kLearned));
    EXPECT_EQ(parking_percentage.current, 30);
    EXPECT_FALSE(gf_controlState(parking_percentage.controlId).enabled);
    EXPECT_TRUE(logHas("Airport file read from \"airports/archive/stock/EXMP.xml\" for Example"));
    EXPECT_TRUE(logHas("altitude                : 1417 ft"));

    // At 37 m the same stands are apart.
    gf_resetAirports();
    airports.parkIcao = "EXMP";
    writeFile(kArchived, lf_file(kHead, lf_parkpos("A1", 47.0, 8.0) + lf_parkpos("A2", 47.0, 8.0 + kLon35m * 37 / 35)));
    EXPECT_EQ(read(), "");
    EXPECT_TRUE(airports.stands[0].adjacent.empty());
    EXPECT_EQ(quality_, QualityPair(-1, -1));
    EXPECT_EQ(gf_formatQuality(quality_), "  ");
}

// Each bad input gets its line in the log and the outcome the park airport can live with.
TEST_F(AirportFileTest, BadInputIsLoggedAndNeverCrashesNorLosesTheLearnedFile) {
    struct Case {
        const char* what;
        std::string archived;
        std::string learned;  // empty: no learned file
        std::string result;   // gf_readApf's text, or "user error N"
        size_t stands;
        std::string logLine;
        double headingDeg = -1.0;  // of the first stand, when 0 or more
    };
    const auto heading = [](const char* value) {
        return fmt::format("<parkpos id=\"B1\" latitude=\"47.0\" longitude=\"8.1\" radius=\"20\" heading=\"{}\"/>",
                           value);
    };
    const std::string opt = "<opt reg=\"HBJXA\" airl=\"SWR\" type=\"A320\" day=\"{}\" hh=\"{}\" cs=\"SWR1\"/>";
    const std::string learnedHead = lf_par("airport_name", "Example") + lf_par("publisher", "stock");
    const std::vector<Case> cases = {
        {"altitude missing", lf_file(lf_par("airport_name", "X"), kStands), "", "user error 65", 0, "read_apf: "},
        {"altitude no number", lf_file(lf_par("altitude", "high") + lf_par("publisher", "stock"), kStands), "", "", 3,
         "===> parameter altitude in airports/archive/stock/EXMP.xml: \"high\" is no number, ignored"},
        {"no parkpos", lf_file(kHead, ""), "", "no stands found", 0, "num_parkpos             : 0"},
        {"not XML", "<parameters><parameter", "", "airports/archive/stock/EXMP.xml found, but could not be loaded: ", 0,
         "read_apf: airports/archive/stock/EXMP.xml"},
        {"stand twice", lf_file(kHead, kStands + lf_parkpos("A2", 47.1, 8.1)), "", "user error 94", 0, "read_apf"},
        {"latitude off the earth", lf_file(kHead, kStands + lf_parkpos("B1", 95.0, 8.0)), "", "", 3,
         "===> parkpos B1 in airports/archive/stock/EXMP.xml has no valid position (95.000000, 8.000000): skipped"},
        {"latitude missing", lf_file(kHead, "<parkpos id=\"B1\" radius=\"20\"/>"), "", "", 1,
         "===> parkpos B1 in airports/archive/stock/EXMP.xml has no latitude or longitude: read as 0"},
        {"heading below 0", lf_file(kHead, heading("-90")), "", "", 1,
         "===> parkpos B1 in airports/archive/stock/EXMP.xml has heading \"-90\": 270 taken", 270.0},
        {"heading beyond a turn", lf_file(kHead, heading("450.5")), "", "", 1, "\"450.5\": 90.5 taken", 90.5},
        {"heading no number", lf_file(kHead, heading("east")), "", "", 1, "\"east\": 0 taken", 0.0},
        {"heading with a blank behind", lf_file(kHead, heading("123 ")), "", "", 1, "read_apf", 123.0},
        {"altitude out of range", lf_file(lf_par("altitude", "99999999999") + lf_par("publisher", "stock"), kStands),
         "", "", 3,
         "===> parameter altitude in airports/archive/stock/EXMP.xml: 99999999999 ft is outside -1500..15000 ft, 0 "
         "taken"},
        {"negative radius", lf_file(kHead, lf_parkpos("B1", 47.0, 8.1, "radius=\"-4\"")), "", "", 1,
         "===> parkpos B1 in airports/archive/stock/EXMP.xml has radius \"-4\": 0 taken"},
        {"half hour not a number",
         lf_file(kHead, lf_parkpos("B1", 47.0, 8.1, "radius=\"20\"", fmt::format(fmt::runtime(opt), 2, "3,x,5"))), "",
         "", 1, "===> exception \"x\" is no half hour in lf_hours2bitset"},
        {"learned half hour 48", lf_file(kHead, kStands),
         lf_file(learnedHead, lf_parkpos("A2", 0, 0, "", fmt::format(fmt::runtime(opt), 3, "48"))), "", 3,
         "===> exception half hour 48 out of 0..47 in lf_hours2bitset"},
        {"learned day 9", lf_file(kHead, kStands),
         lf_file(learnedHead, lf_parkpos("A2", 0, 0, "", fmt::format(fmt::runtime(opt), 9, "4"))), "", 3,
         "===> option HBJXA SWR1 at stand A2 in airports/learned/stock/EXMP.xml has day \"9\" and half hours \"4\": "
         "dropped"},
        {"learned stand gone", lf_file(kHead, kStands), lf_file(learnedHead, lf_parkpos("Q7", 0, 0)), "", 3,
         "learned stand Q7 in airports/learned/stock/EXMP.xml not found?"},
        {"manual stand without radius", lf_file(kHead, kStands),
         lf_file(learnedHead, lf_parkpos("M1", 47.0, 8.2, "manual=\"true\"")), "", 3,
         "===> manually created standid M1 misses correct attributes in airports/learned/stock/EXMP.xml"},
        {"manual stand named like a stand", lf_file(kHead, kStands),
         lf_file(learnedHead, lf_parkpos("A1", 47.0, 8.2, "manual=\"true\" radius=\"20\"")), "", 3,
         "===> manually created standid A1 already exists in airports/learned/stock/EXMP.xml"},
        {"learned setting no number", lf_file(kHead, kStands), lf_file(learnedHead + lf_par("MAX_FIT", "lots"), ""), "",
         3, "===> parameter MAX_FIT in airports/learned/stock/EXMP.xml: \"lots\" is no number, ignored"},
        {"learned setting out of limits", lf_file(kHead, kStands),
         lf_file(learnedHead + lf_par("LATERAL_RANGE", "500"), ""), "", 3, "LATERAL_RANGE           : 100"},
        {"learned handmade without stands", lf_file(kHead, kStands),
         lf_file(learnedHead + lf_par("handmade", "false"), ""), "no stands found", 0,
         "handmade                : false"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        gf_closeLog();
        fs::remove("Log.txt");
        gf_openLog("Log.txt");
        gf_resetAirports();
        gf_resetParameters();
        airports.parkIcao = "EXMP";
        fs::remove_all("airports");
        writeFile(kArchived, c.archived);
        if (!c.learned.empty()) writeFile(kLearned, c.learned);
        const std::string result = read();
        EXPECT_THAT(result, ::testing::StartsWith(c.result));
        if (c.result.empty()) {
            EXPECT_EQ(result, "");
        }
        EXPECT_EQ(airports.stands.size(), c.stands);
        EXPECT_TRUE(logHas(c.logLine)) << logText();
        if (c.headingDeg >= 0.0 && !airports.stands.empty()) {
            EXPECT_NEAR(airports.stands[0].heading * kRadToDeg, c.headingDeg, 1e-9);
        }
        if (!c.learned.empty()) {
            EXPECT_EQ(readFile(kLearned), c.learned);  // never changed by a read
        }
        gf_resetAirports();
    }
}

TEST_F(AirportFileTest, ACorruptLearnedFileIsKeptAsideAndTheArchivedFileStillServes) {
    writeFile(kArchived, lf_file(kHead, kStands));
    const std::string broken = lf_file(kHead, kStands).substr(0, 200);
    writeFile(kLearned, broken);
    EXPECT_EQ(read(), "");
    EXPECT_EQ(airports.stands.size(), 3u);
    EXPECT_EQ(readFile("airports/learned/stock/EXMP.0.xml"), broken);
    EXPECT_EQ(readFile(kLearned), broken);
    EXPECT_TRUE(logHas("===> airports/learned/stock/EXMP.xml found, but could not be loaded, saved as *.0.xml: "));
}

TEST_F(AirportFileTest, LearnedOptionsAddUpUnlessTheyOverlapAndHandmadeReplacesTheStands) {
    writeFile(kArchived, lf_file(kHead, kStands));
    // Same aircraft, day and kind sharing half hour 17: dropped. Other half hours, or soft: kept.
    writeFile(kLearned,
              lf_file(lf_par("airport_name", "Other name") + lf_par("WEEK", "yes"),
                      lf_parkpos("A1", 0, 0, "radius_change=\"true\" radius=\"30.0\" cargo_change=\"true\"",
                                 "<opt reg=\"\" airl=\"SWR\" type=\"A320\" day=\"1\" hh=\"17,18\" cs=\"SWR12\"/>"
                                 "<opt reg=\"\" airl=\"SWR\" type=\"A320\" day=\"1\" hh=\"20\" cs=\"SWR14:SWR15\"/>"
                                 "<opt reg=\"\" airl=\"SWR\" type=\"A320\" soft=\"true\" day=\"1\" hh=\"17\" "
                                 "cs=\"AB1:CD2:X\"/>") +
                          lf_parkpos("M1", 47.2, 8.2, "manual=\"true\" radius=\"12.0\" heli=\"true\"")));
    EXPECT_EQ(read(), "");
    ASSERT_EQ(airports.stands.size(), 4u);
    const Stand& a1 = *stand("A1");
    ASSERT_EQ(a1.options.size(), 3u);
    EXPECT_EQ(a1.options[1].cs2, "SWR15");
    EXPECT_EQ(a1.options[1].optId, 2u);
    EXPECT_TRUE(a1.options[2].learned);
    EXPECT_EQ(a1.options[2].cs1, "AB1");
    EXPECT_EQ(a1.options[2].cs2, "");
    EXPECT_TRUE(a1.radiusChanged && a1.cargoChanged && !a1.cargo);
    EXPECT_NEAR(a1.radius, 30.0 / 1852.0, 1e-12);
    EXPECT_TRUE(stand("M1")->manual && stand("M1")->heli);
    EXPECT_EQ(stand("M1")->sid, 4u);
    EXPECT_TRUE(WEEK.current);
    EXPECT_TRUE(
        logHas("Warning: learned file airport name: \"Other name\" differs from archived file airport name: "
               "\"Example\""));
    EXPECT_EQ(airports.airportName, "Example");
    // The pair now reflects the learned options: real 2 options on 1 day, soft 1; over 4 stands.
    EXPECT_EQ(quality_, QualityPair(std::lround((10000 + 40 + 100 + 2 * 3) / 4.0 * 0.00625),
                                    std::lround((10000 + 20 + 100 + 2) / 4.0 * 0.00625)));

    // A handmade file replaces the stands whatever its flag says.
    gf_resetAirports();
    airports.parkIcao = "EXMP";
    writeFile(kLearned, lf_file(lf_par("airport_name", "Example") + lf_par("handmade", "false"),
                                lf_parkpos("H1", 47.3, 8.3, "radius=\"18\"")));
    EXPECT_EQ(read(), "");
    ASSERT_EQ(airports.stands.size(), 1u);
    EXPECT_EQ(airports.stands[0].name, "H1");
    EXPECT_TRUE(airports.handmade && panel.parkHandmade);
    EXPECT_TRUE(logHas("A handmade airport file overruled the archived file!"));
    EXPECT_TRUE(logHas("Airport file read from \"airports/learned/stock/EXMP.xml\" for Example"));
}

TEST_F(AirportFileTest, ALearnedFileWithOptionsComesBackAsItWasWritten) {
    writeFile(kArchived, lf_file(kHead, kStands));
    ASSERT_EQ(read(), "");
    // What a stay at the airport leaves: options learned on two stands, a changed radius, a manual stand.
    AirportFileData data{"EXMP", "Example", "", "stock", 0, -1, -1, 1417, {}};
    Stand a1 = airports.stands[0];
    a1.options[0].optId = 0;  // deleted: never written
    a1.options.push_back({"SWR", "A320", "", "SWR12", "SWR13", (uint64_t{1} << 47) | 1, 2, 7, true, false});
    a1.options.push_back({"EZY", "A20N", "GEZAB", "EZY12", "", uint64_t{1} << 30, 3, 3, true, true});
    a1.radiusChanged = true;
    a1.radius = 26.0 / 1852.0;
    Stand m1;
    m1.name = "M1";
    m1.latitude = 47.123456;
    m1.longitude = 8.654321;
    m1.heading = 200.5 * kDegToRad;
    m1.radius = 14.0 / 1852.0;
    m1.manual = m1.ramp = true;
    m1.options.push_back({"PVT", "C172", "HBABC", "HBABC", "", 0xF0, 1, 6, true, false});
    data.stands = {a1, m1};
    MAX_FIT.current = 5;
    PARK_SOFT.current = false;
    parking_percentage.current = 70;
    fs::create_directories("airports/learned/stock");
    ASSERT_TRUE(gf_writeApf(data, kLearned, true));
    const std::string first = readFile(kLearned);
    EXPECT_THAT(first, ::testing::HasSubstr("hh=\"0,47\" cs=\"SWR12:SWR13\""));
    EXPECT_THAT(first, ::testing::Not(::testing::HasSubstr("altitude")));

    gf_resetAirports();
    gf_resetParameters();
    airports.parkIcao = "EXMP";
    ASSERT_EQ(read(), "");
    EXPECT_TRUE(gf_controlState(parking_percentage.controlId).enabled);  // a learned percentage may be changed
    const Stand& back = *stand("A1");
    ASSERT_EQ(back.options.size(), 3u);  // the archived option and the two learned ones
    EXPECT_TRUE(back.options[2].soft);
    const Stand& m = *stand("M1");
    EXPECT_TRUE(m.manual && m.ramp && !m.cargo);
    // Written again from what was read, the file is the same: every field written came back as it was.
    data.stands = {back, m};
    data.stands[0].options.erase(data.stands[0].options.begin());
    ASSERT_TRUE(gf_writeApf(data, kLearned, true));
    EXPECT_EQ(readFile(kLearned), first);
}

TEST_F(AirportFileTest, AFailedSaveLeavesThePreviousFileWhole) {
    if (!gf_fileSizeLimitAvailable()) GTEST_SKIP() << "no file size limit on this system";
    AirportFileData data{"EXMP", "Example", "", "stock", 0, -1, -1, 1417, {}};
    for (int i = 0; i < 400; ++i) {
        Stand s;
        s.name = fmt::format("S{}", i);
        s.manual = true;
        s.radius = 0.01;
        s.options.push_back({"SWR", "A320", "", "SWR1", "", 0xFFFF, 1, 1, true, false});
        data.stands.push_back(s);
    }
    fs::create_directories("airports/learned/stock");
    writeFile(kLearned, "previous");
#ifndef _WIN32  // Windows has no limit of a file's size to break a write off with
    // The file may not grow past 16 KiB: the temporary file breaks off half-way.
    const bool saved = gf_withFileSizeLimit(16384, [&] { return gf_writeApf(data, kLearned, true); });
    EXPECT_FALSE(saved);
    EXPECT_EQ(readFile(kLearned), "previous");
    EXPECT_EQ(std::distance(fs::directory_iterator("airports/learned/stock"), fs::directory_iterator()), 1);
#endif
    // A folder that is not there: nothing written, the log says so.
    EXPECT_FALSE(gf_writeApf(data, "airports/learned/nowhere/EXMP.xml", true));
    EXPECT_TRUE(logHas("could not save to \"airports/learned/nowhere/EXMP.xml\""));
}

TEST_F(AirportFileTest, FakeOptionsFillAnAirportWithoutHistoryForThisHalfHour) {
    gf_storeTimeOfWeek({4, 21});
    // Of the European list only the A321neo is known to fit a 20 m stand; the other types are unknown.
    dbase.wingspans["A21N"] = 35.8 / 2 / 1852.0;
    writeFile(kArchived, lf_file(kHead, kStands + lf_parkpos("H1", 47.05, 8.0, "radius=\"8\" heli=\"true\"")));
    PARK_FAKE.current = true;
    EXPECT_EQ(read(), "");
    EXPECT_EQ(stand("A2")->options.size(), 0u);  // no learned file: no fakes
    gf_resetAirports();
    airports.parkIcao = "EXMP";
    writeFile(kLearned, lf_file(lf_par("airport_name", "Example") + lf_par("PARK_FAKE", "true"), ""));
    EXPECT_EQ(read(), "");
    const ParkPos& fake = stand("A2")->options.at(0);
    EXPECT_EQ(fake.airl, "BAW");
    EXPECT_EQ(fake.type, "A21N");
    EXPECT_EQ(fake.reg, "REGFAKE2");
    EXPECT_EQ(fake.cs1, "FAKE2");
    EXPECT_EQ(fake.hh, uint64_t{1} << 21);
    EXPECT_EQ(fake.day, 4u);
    EXPECT_TRUE(fake.soft && !fake.learned);
    EXPECT_EQ(stand("A1")->options.at(1).optId, 2u);
    EXPECT_EQ(stand("H1")->options.at(0).type, "EC35");
    gf_clearDbase();
}

TEST_F(AirportFileTest, HourSetsRangesAndFit) {
    for (const auto& [text, bits] : std::vector<std::pair<std::string, uint64_t>>{
             {"16,17,18", 0x70000}, {"0", 1}, {"47", uint64_t{1} << 47}, {"", 0}, {"3,,5", 8}}) {
        SCOPED_TRACE(text);
        EXPECT_EQ(lf_hours2bitset(text), bits);
    }
    EXPECT_EQ(lf_bitset2hours(0x70000), "16,17,18");
    EXPECT_EQ(lf_bitset2hours(0), "");

    ParkPos o;
    o.hh = uint64_t{1} << 10;
    int rest = 0;
    EXPECT_TRUE(testRange(o, 12, 2, rest));
    EXPECT_EQ(rest, -1);
    EXPECT_FALSE(testRange(o, 12, 1, rest));
    EXPECT_FALSE(testRange(o, 3, 5, rest));
    EXPECT_EQ(rest, 2);
    EXPECT_FALSE(testRange(o, 48, 1, rest));
    EXPECT_TRUE(logHas("exception half hour out of range in testRange, start: 48, offset: 1"));

    Stand s;
    s.radius = 20.0 / 1852.0;
    for (const auto& [span, fits] :
         std::vector<std::pair<double, bool>>{{21.7, true}, {21.9, false}, {13.1, true}, {12.9, false}, {8.0, false}}) {
        SCOPED_TRACE(span);
        EXPECT_EQ(gf_sizeMatchesStand(s, span / 1852.0), fits);
    }
    EXPECT_EQ(gf_formatQuality({30, 12}), "30/12");
    EXPECT_EQ(gf_formatQuality({75, 12}), "75");
}

TEST_F(AirportFileTest, TheFileOfAnAirportAndItsLearnedFile) {
    writeFile("airports/my_thirdparty/EXTP.xml",
              lf_file(lf_par("publisher", "FlyTampa") + lf_par("num_parkpos", "7"), ""));
    EXPECT_EQ(gf_apfPath("EXTP"), fs::path("airports/my_thirdparty/EXTP.xml"));
    EXPECT_EQ(gf_apfPath("NONE"), fs::path());
    EXPECT_EQ(gf_apfStandCount("airports/my_thirdparty/EXTP.xml"), 7);
    EXPECT_EQ(gf_apfStandCount("airports/my_thirdparty/NONE.xml"), 0);
    for (const auto& [from, to] : std::vector<std::pair<std::string, std::string>>{
             {"airports/archive/stock/EXMP.xml", "airports/learned/stock/EXMP.xml"},
             {"airports/archive/ORBX/EXMP.xml", "airports/learned/ORBX/EXMP.xml"},
             {"airports/my_ORBX/EXMP.xml", "airports/learned/ORBX/EXMP.xml"},
             {"airports/my_thirdparty/EXTP.xml", "airports/learned/thirdparty/FlyTampa/EXTP.xml"},
             {"elsewhere/EXMP.xml", "elsewhere/EXMP.xml"}}) {
        EXPECT_EQ(gf_learnedPath(from).generic_string(), to);
    }
    writeFile(kArchived, lf_file(kHead + lf_par("Qf_soft", "0"), kStands));
    EXPECT_TRUE(gf_hasQuality("EXMP"));
    EXPECT_FALSE(gf_hasQuality("EXTP"));
    EXPECT_TRUE(gf_readApfForGateCheck("EXMP", "A2"));
    EXPECT_FALSE(gf_readApfForGateCheck("EXMP", "A3"));
    EXPECT_FALSE(gf_readApfForGateCheck("NONE", "A2"));
    EXPECT_EQ(read(), "");  // the checks above left the stand table alone
    EXPECT_TRUE(airports.stands.size() == 3u);
}
