// LiveriesScanned.xml, the tables built from it, the regcode files and the reports of a scan.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/dbase_builder.h"
#include "liveries/liveries_file.h"
#include "liveries/scramble.h"
#include "support/fixture.h"
#include "support/throws.h"

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

namespace {

class LiveriesFileTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        DbaseBuilder db;
        db.sets["aircrafts"] = {"A320", "A321", "B744", "C172", "C56X"};
        db.sets["large"] = {"A320", "A321"};
        db.sets["ICAO_airlines"] = {"SWR", "DLH", "EDW"};
        db.similar = {{"A320", "A321"}};
        db.rows = {{"HB-JOE", "SWR", "A321", "EDW", "0"}, {"D-ABYA", "DLH", "B744", "", "1"}};
        writeFile("input/dbase.xml", db.text());
        gf_readDbase();
        gf_readParameters();
        gf_makeFolders();  // as every start does
    }
    void TearDown() override {
        gf_clearDbase();
        ZarkTest::TearDown();
    }
    static std::vector<std::string> titles(const TitleViews& views) { return {views.begin(), views.end()}; }
};

const char* kList = R"(<?xml version="1.0"?>
<meta><info name="author" value="ZARK_P3D"/><info name="version" value="9.3.0"/><info name="date" value="x"/></meta>
<liveries>
  <liv airl="DLH" type="B744" cargo="true" title="DLH 744F" atcid="D-ABYA"/>
  <liv airl="SWR" type="A320" title="Swiss 320 a" atcid="HB-IJE"/>
  <liv airl="SWR" type="A320" title="Swiss 320 b" atcid="HB-IJE"/>
  <liv airl="SWR" type="A320" cargo="yes" title="Swiss 320 freight" atcid=""/>
  <liv airl="ZZZ" type="A320" title="Generic 320" atcid=""/>
  <liv airl="ZZZ" type="C172" title="Generic 172" atcid=""/>
  <liv title="No attributes but the title"/>
  <liv airl="SWR" type="A321" atcid="HB-IOF"/>
</liveries>)";

}  // namespace

TEST_F(LiveriesFileTest, BadFilesStopTheStartWithTheirErrorAndNothingElse) {
    struct Case {
        const char* what;
        const char* content;  // nullptr: no file at all
        int code;
        const char* text;
    };
    const Case cases[] = {
        {"missing", nullptr, 51, "File output/LiveriesScanned.xml not found"},
        {"empty", "", 51, "File output/LiveriesScanned.xml not found"},
        {"damaged", "<liveries><liv airl=\"SWR\" type=", 51, "File output/LiveriesScanned.xml not found"},
        {"no liveries section", "<meta/><other/>", 52,
         "output/LiveriesScanned.xml does not contain a <liveries> section"},
        {"no livery", "<liveries><other/></liveries>", 53, "output/LiveriesScanned.xml does not contain liveries"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        fs::remove("output/LiveriesScanned.xml");
        if (c.content) writeFile("output/LiveriesScanned.xml", c.content);
        const auto [code, text] = gf_userErrorOf([] { gf_getLiveries(false, true, false, {}); });
        EXPECT_EQ(code, c.code);
        EXPECT_THAT(text, HasSubstr(c.text));
        EXPECT_TRUE(liveries.airlineLiveries.empty());
    }
    EXPECT_THAT(logText(), HasSubstr("===> meta data incorrect?"));
}

TEST_F(LiveriesFileTest, TheFileBecomesTheTablesTheMatchingReads) {
    writeFile("output/LiveriesScanned.xml", kList);
    ASSERT_TRUE(gf_getLiveries(false, true, false, {}));
    // Grouped by airline and model in list order, split by the cargo flag.
    EXPECT_EQ(liveries.airlineLiveries.size(), 4u);  // "" is the airline of the bare record
    EXPECT_THAT(titles(liveries.paxLiveries.at("SWR").at("A320")), ElementsAre("Swiss 320 a", "Swiss 320 b"));
    EXPECT_THAT(titles(liveries.cargoLiveries.at("SWR").at("A320")), ElementsAre("Swiss 320 freight"));
    EXPECT_EQ(liveries.paxLiveries.count("DLH"), 0u);  // no passenger livery: no entry at all
    EXPECT_THAT(titles(liveries.paxModelLiveries.at("A320")), ElementsAre("Swiss 320 a", "Swiss 320 b", "Generic 320"));
    EXPECT_THAT(titles(liveries.cargoModelLiveries.at("B744")), ElementsAre("DLH 744F"));
    // The first claim of a registration keeps it; the loser stays usable and is reported.
    EXPECT_EQ(liveries.regcodeLiveries.at("HB-IJE"), "Swiss 320 a");
    EXPECT_EQ(liveries.regcodeLiveries.size(), 2u);
    EXPECT_EQ(readFile("output/errors/InlineRegcodes.txt"),
              "[SWR A320] HB-IJE \"Swiss 320 b\" => in use by \"Swiss 320 a\"\n");
    EXPECT_THAT(liveries.lightModels, ElementsAre("", "C172"));
    EXPECT_EQ(dbase.similarByAirline.at("SWR").at("A321"), std::vector<std::string>{"A320"});
    EXPECT_EQ(panel.liveryCount, 7);
    EXPECT_TRUE(liveries.liveryList.empty());  // freed once the tables stand
    const std::string log = logText();
    EXPECT_THAT(log, HasSubstr("===> livery without a title skipped: airl \"SWR\" type \"A321\" atcid \"HB-IOF\"\n"));
    EXPECT_THAT(log, HasSubstr("No scan done, 7 liveries read from output/LiveriesScanned.xml\n"));
    EXPECT_THAT(log, HasSubstr("1 in-line regcode clashes, see \"output/errors/InlineRegcodes.txt\""));
    EXPECT_THAT(log, HasSubstr("2 registration codes\n"));
    EXPECT_THAT(log, HasSubstr("4 airlines, 3 pax aircraft models and 2 cargo aircraft models\n"));
    EXPECT_THAT(log, HasSubstr("2 models have a generic livery\n  A320,C172\n"));
    EXPECT_THAT(log, HasSubstr("Category Large: 3 pax liveries and 1 cargo liverie\n  A320\n"));
    EXPECT_THAT(log, HasSubstr("Category Heavy: 0 pax liveries and 1 cargo liverie\n  B744\n"));
    // No helicopter installed: the switch goes off, in the file too, and its box is disabled.
    EXPECT_THAT(log, HasSubstr("Category Rotorcraft: No livery found\n"));
    EXPECT_THAT(log, HasSubstr("HELICOPTERS temporary switched off because you do not have Helicopters installed\n"));
    EXPECT_FALSE(HELICOPTERS.current);
    EXPECT_THAT(readFile(gf_parametersPath()), HasSubstr("name=\"HELICOPTERS\" value=\"false\""));
    EXPECT_FALSE(gf_controlState(HELICOPTERS.controlId).enabled);
}

TEST_F(LiveriesFileTest, RegcodeFilesAddReplaceAndReserveRegistrations) {
    writeFile("output/LiveriesScanned.xml", kList);
    writeFile("input/AIG-regcodes.xml", "<AIG-regcodes><livery title=\"Swiss 320 b\" reg=\"" +
                                            gf_encodeRegcode("HB-IJE") + "," + gf_encodeRegcode("HB-IJF") +
                                            "\" special=\"1\"/><livery title=\"Not installed\" reg=\"" +
                                            gf_encodeRegcode("HB-XXX") + "\"/></AIG-regcodes>");
    writeFile("input/my_regcodes/mine.TXT",
              "Swiss 320 a;HB-IJF\n"         // one registration: special, replaces the AIG title
              "Generic 320;HB-AAA,HB-AAB\n"  // two: not special
              "Generic 172;HB-CCC;x\n"       // a third field other than # : ignored
              "Generic 172;HB-CCD;#\n"       // special
              "Generic 172;ABCDEFGHIJKLM\n"  // too long
              "a;b;c;d\n");                  // wrong form
    ASSERT_TRUE(gf_getLiveries(false, true, false, {}));
    EXPECT_EQ(liveries.regcodeLiveries.at("HB-IJE"), "Swiss 320 b");  // AIG overrides the aircraft files
    EXPECT_EQ(liveries.regcodeLiveries.at("HB-IJF"), "Swiss 320 a");  // the user's files override both
    EXPECT_EQ(liveries.regcodeLiveries.at("HB-AAB"), "Generic 320");
    EXPECT_EQ(liveries.regcodeLiveries.count("HB-CCC"), 0u);
    EXPECT_THAT(titles(liveries.specialLiveries),
                UnorderedElementsAre("Swiss 320 b", "Swiss 320 b", "Swiss 320 a", "Generic 172"));
    const std::string report = readFile("output/info/OfflineRegcodes.txt");
    EXPECT_THAT(report, HasSubstr("input/AIG-regcodes.xml: 1 new regcode added, 1 regcode replaced, 2 regcodes "
                                  "defined as special\n"));
    EXPECT_THAT(report, HasSubstr("   regcode HB-IJF for \"Swiss 320 a\", instead of for \"Swiss 320 b\"\n"));
    EXPECT_THAT(report, HasSubstr("===> wrong regcode length \"ABCDEFGHIJKLM\" in input/my_regcodes/mine.TXT"));
    EXPECT_THAT(report, HasSubstr("===> input/my_regcodes/mine.TXT wrong format: a;b;c;d"));
    EXPECT_THAT(report, HasSubstr("mine.TXT: 3 new regcodes added, 1 regcode replaced, 2 regcodes defined as special"));
    EXPECT_THAT(logText(), HasSubstr("4 special liveries\n"));
}

TEST_F(LiveriesFileTest, AScanCorrectsPrioritisesReportsAndSavesTheList) {
    const auto add = [](const char* airline, const char* model, const char* title, const char* reg, int level,
                        bool cargo) {
        liveries.liveryList.push_back({airline, model, title, reg, level, cargo});
    };
    add("SWR", "A320", "Swiss A", "", 2, false);
    add("SWR", "A320", "Swiss B", "", 1, false);
    add("SWR", "A320", "Swiss B", "", 3, false);               // a lower folder beats it
    add("SWR", "A320", "Swiss C lower folder", "", 2, false);  // the same
    add("KLM", "A320", "Swiss owned", "HBJOE", 1, true);       // the database knows better
    add("ZZZ", "C172", "Generic 172", "", 4, false);
    add("ZZZ", "C172", "Generic 172", "", 4, false);  // a duplicate: one record
    scanLists.invalidModels.add("XXXX in some aircraft.cfg");
    gf_finishScan(true, 4);

    const std::string saved = readFile("output/LiveriesScanned.xml");
    EXPECT_THAT(saved, HasSubstr("<liv airl=\"EDW\" type=\"A321\" title=\"Swiss owned\" atcid=\"HBJOE\" />\n"
                                 "\t<liv airl=\"SWR\" type=\"A320\" title=\"Swiss B\" atcid=\"\" />\n"
                                 "\t<liv airl=\"ZZZ\""));
    EXPECT_THAT(saved, HasSubstr("<info name=\"author\" value=\"ZARK_P3D\" />"));
    EXPECT_EQ(readFile("output/info/LiveriesSkippedOnPriority.txt"),
              "SWR A320 \"Swiss A\"\nSWR A320 \"Swiss B\"\nSWR A320 \"Swiss C lower folder\"\n");
    EXPECT_EQ(readFile("output/info/AirlineModelConversions.txt"),
              fmt::format("{:80} HBJOE cargo true => false\n{:80} HBJOE airl KLM => EDW\n"
                          "{:80} HBJOE model A320 => A321\n",
                          "Swiss owned", "Swiss owned", "Swiss owned"));
    EXPECT_EQ(readFile("output/errors/InvalidAircraftCodes.txt"), "XXXX in some aircraft.cfg\n");
    const std::string log = logText();
    EXPECT_THAT(log, HasSubstr("7 in total\n"));
    EXPECT_THAT(log, HasSubstr("\nErrors:\n1 invalid model code, see output/errors/InvalidAircraftCodes.txt\n"));
    EXPECT_THAT(log, HasSubstr("3 liveries skipped on priority, see output/info/LiveriesSkippedOnPriority.txt"));
    EXPECT_THAT(log, HasSubstr("3 liveries in output/LiveriesScanned.xml\n"));
    EXPECT_EQ(panel.liveryCount, 3);
    EXPECT_TRUE(scanLists.invalidModels.lines.empty());

    // The next start reads the same list back; its reports stay untouched.
    lf_removeScanReports();
    EXPECT_FALSE(fs::exists("output/errors"));
    EXPECT_TRUE(fs::exists("output/info/AirlineModelConversions.txt"));
    EXPECT_FALSE(fs::exists("output/LiveriesScanned.xml"));

    EXPECT_THROW(gf_finishScan(false, 1), zel::UserErrorException);  // nothing found: 53
}
