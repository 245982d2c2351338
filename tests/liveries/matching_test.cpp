// Livery matching: which title an aircraft gets, at which step of the cascade, and what the run remembers.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "common/random.h"
#include "frame/core/errors.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "liveries/dbase_builder.h"
#include "liveries/liveries_file.h"
#include "liveries/matching.h"
#include "support/fixture.h"
#include "support/throws.h"

using ::testing::HasSubstr;

namespace {

class MatchingTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        DbaseBuilder db;
        db.sets["aircrafts"] = {"A320", "A321", "B738", "B744", "B748", "C172", "C208", "C56X", "EC35", "AS50", "F16"};
        db.sets["large"] = {"A320", "A321", "B738"};
        db.sets["heavy"] = {"B744", "B748"};
        db.sets["rotorcraft"] = {"EC35", "AS50"};
        db.sets["ICAO_airlines"] = {"SWR", "DLH", "EDW", "SAZ"};
        db.similar = {{"A320", "A321"}, {"B744", "B748"}};
        db.rows = {{"HB-JOE", "SWR", "A320", "EDW", "0"}};
        writeFile("input/dbase.xml", db.text());
        gf_readDbase();
        writeFile("output/LiveriesScanned.xml", R"(<?xml version="1.0"?>
<liveries>
  <liv airl="SWR" type="A320" title="SWR A320 one" atcid=""/>
  <liv airl="SWR" type="A320" title="SWR A320 two" atcid=""/>
  <liv airl="SWR" type="A320" title="SWR A320 HB-IJK" atcid="HB-IJK"/>
  <liv airl="SWR" type="A320" title="FSLTL_A320_SWR special" atcid=""/>
  <liv airl="DLH" type="A321" title="DLH A321" atcid=""/>
  <liv airl="DLH" type="B744" cargo="true" title="DLH B744F" atcid=""/>
  <liv airl="DLH" type="B748" title="DLH B748" atcid=""/>
  <liv airl="ZZZ" type="A320" title="ZZZ A320" atcid=""/>
  <liv airl="ZZZ" type="C172" title="ZZZ C172" atcid=""/>
  <liv airl="PVT" type="C172" title="PVT C172" atcid=""/>
  <liv airl="SAZ" type="EC35" title="SAZ EC35" atcid=""/>
</liveries>)");
        // One registration on one line: the livery is special.
        writeFile("input/my_regcodes/mine.txt", "FSLTL_A320_SWR special;HB-JZZ\n");
        gf_getLiveries(false, true, false, {});
        gf_seedRandom(7);
        LOG.current = true;
    }
    void TearDown() override {
        gf_clearDbase();
        ZarkTest::TearDown();
    }
    static Act aircraft(const std::string& airline, const std::string& model, const std::string& reg, bool cargo,
                        uint32_t hexid = 0x4b1614) {
        Act a;
        a.airline = airline;
        a.model = model;
        a.reg = reg;
        a.cargo = cargo;
        a.category = gf_modelCategory(model);
        a.hexid = hexid;
        a.callsign = "TEST1";
        return a;
    }
};

struct CascadeCase {
    const char* what;
    const char* airline;
    const char* model;
    const char* reg;
    bool cargo;
    int depth;
    int step;  // 0: no match
    std::set<std::string> titles;
};

}  // namespace

TEST_F(MatchingTest, TheCascadeEndsAtTheFirstStepThatFindsATitle) {
    const CascadeCase cases[] = {
        {"registration without its hyphen", "SWR", "A320", "HBIJK", false, 4, 1, {"SWR A320 HB-IJK"}},
        {"a special livery only by its registration", "SWR", "A320", "HB-JZZ", false, 4, 1, {"FSLTL_A320_SWR special"}},
        {"airline and model, never the special one",
         "SWR",
         "A320",
         "HB-XYZ",
         false,
         4,
         2,
         {"SWR A320 one", "SWR A320 two", "SWR A320 HB-IJK"}},
        {"a cargo aircraft flies the passenger livery", "DLH", "B748", "", true, 4, 2, {"DLH B748"}},
        {"a passenger aircraft never the cargo livery", "DLH", "B744", "", false, 4, 0, {}},
        {"the owner when the airline is the operator",
         "EDW",
         "A320",
         "HBJOE",
         false,
         4,
         2,
         {"SWR A320 one", "SWR A320 two", "SWR A320 HB-IJK"}},
        {"a similar model of the airline", "DLH", "A320", "", false, 3, 3, {"DLH A321"}},
        {"a generic livery of the model", "EDW", "A320", "", false, 4, 4, {"ZZZ A320"}},
        {"no generic livery for an airliner at depth 3", "EDW", "A320", "", false, 3, 0, {}},
        {"a private aircraft prefers the generic livery", "PVT", "C172", "", false, 2, 4, {"ZZZ C172"}},
        {"a light type gets the generic livery at depth 3", "XYZ", "C172", "", false, 3, 4, {"ZZZ C172"}},
        {"any airline's livery of a helicopter", "XYZ", "EC35", "", false, 4, 5, {"SAZ EC35"}},
        {"a random helicopter type for one without any", "XYZ", "AS50", "", false, 4, 6, {"SAZ EC35"}},
        {"a random light type for one without any", "XYZ", "C208", "", false, 4, 6, {"ZZZ C172", "PVT C172"}},
        {"an airliner of an unknown airline", "XYZ", "B738", "", false, 4, 0, {}},
        {"only registrations at depth 1", "DLH", "A321", "", false, 1, 0, {}},
        {"no airline: steps 2 and 3 are skipped", "", "A321", "", false, 4, 0, {}},
    };
    uint32_t hexid = 0x400000;
    for (const CascadeCase& c : cases) {
        SCOPED_TRACE(c.what);
        MATCHING_DEPTH.current = c.depth;
        // Chance may pick among several titles: every pick must be one of them.
        for (int round = 0; round < 20; ++round) {
            Act act = aircraft(c.airline, c.model, c.reg, c.cargo, ++hexid);
            const MatchCounts before = gf_matchCounts();
            EXPECT_EQ(gf_matchLive(act), c.step != 0);
            const MatchCounts after = gf_matchCounts();
            if (c.step == 0) {
                EXPECT_TRUE(act.livery.empty()) << act.livery;
                EXPECT_EQ(after.noMatch, before.noMatch + 1);
                continue;
            }
            EXPECT_EQ(c.titles.count(std::string(act.livery)), 1u) << act.livery;
            EXPECT_EQ(after.atStep[c.step], before.atStep[c.step] + 1);
            EXPECT_EQ(after.matched(), before.matched() + 1);
            EXPECT_EQ(act.fsltl, act.livery.starts_with("FSLTL_"));
        }
    }
    EXPECT_THAT(logText(), HasSubstr("          TEST1    SWR A320 =1= SWR A320 HB-IJK\n"));
}

TEST_F(MatchingTest, AHexidKeepsItsTitleUntilTheSimulatorRefusesIt) {
    Act first = aircraft("SWR", "A320", "", false);
    ASSERT_TRUE(gf_matchLive(first));
    const std::string title(first.livery);
    // The same aircraft back again, even at depth 1 where its airline alone would find nothing.
    MATCHING_DEPTH.current = 1;
    for (int i = 0; i < 10; ++i) {
        Act again = aircraft("SWR", "A320", "", false);
        ASSERT_TRUE(gf_matchLive(again));
        EXPECT_EQ(again.livery, title);
    }
    EXPECT_EQ(gf_matchCounts().remembered, 10u);
    EXPECT_THAT(logText(), HasSubstr("=c= " + title));

    first.callsign = "SWR137H";
    gf_liveryNotCreated(first);
    EXPECT_THAT(logText(), HasSubstr("SWR137H \"" + title + "\" could not be created by your Sim!"));
    // The memory forgets the refused title, and the cascade never hands it out again: a draw that hits
    // it is a miss, the others are the remaining titles.
    MATCHING_DEPTH.current = 4;
    int matched = 0;
    for (int i = 0; i < 30; ++i) {
        Act back = aircraft("SWR", "A320", "", false, 0x4b1614 + static_cast<uint32_t>(i % 2));
        if (!gf_matchLive(back)) continue;
        ++matched;
        EXPECT_NE(back.livery, title);
    }
    EXPECT_GT(matched, 0);
    gf_clearHexidLiveries();
    EXPECT_TRUE(matching.hexidLiveries.empty());
}

TEST_F(MatchingTest, TheTwentiethRefusedTitleEndsTheRunWithError81) {
    std::vector<std::string> titles;
    for (int i = 0; i < 20; ++i) titles.push_back("Refused title " + std::to_string(i));
    for (int i = 0; i < 19; ++i) {
        Act a = aircraft(i % 2 ? "DLH" : "SWR", "A320", "", false);
        a.livery = titles[static_cast<size_t>(i)];
        EXPECT_NO_THROW(gf_liveryNotCreated(a));
    }
    Act last = aircraft("SWR", "A320", "", false);
    last.livery = titles.back();
    const auto [code, text] = gf_userErrorOf([&] { gf_liveryNotCreated(last); });
    EXPECT_EQ(code, 81);
    EXPECT_THAT(text, HasSubstr("there are too many liveries that could not be created by P3D!, see Log.txt"));
    EXPECT_THAT(logText(),
                HasSubstr("\n===> Error 81, there are too many liveries that could not be created by P3D!\n"));
    EXPECT_EQ(gf_matchCounts().refused, 20u);

    gf_matchingSummary();
    const std::string log = logText();
    EXPECT_THAT(log, HasSubstr("\n" + std::string(31, '*') + " live traffic livery matching summary " +
                               std::string(31, '*') + "\n"));
    EXPECT_THAT(log, HasSubstr("Matches at step: \n  1: 0\n  2: 0\n"));
    // Sorted and without repeats.
    EXPECT_THAT(log, HasSubstr("\nCould not be created by P3D:\n  A320 DLH\n  A320 SWR\n" + std::string(100, '*')));
}

TEST_F(MatchingTest, AircraftWithoutALiveryAreBookedLoggedAndForgottenOnRequest) {
    Act a = aircraft("XYZ", "B738", "SP-ENX", false);
    ASSERT_FALSE(gf_matchLive(a));
    gf_bookNoMatch(a);
    // Another hexid with the same airline, type and registration is known at once.
    Act b = aircraft("XYZ", "B738", "SP-ENX", false, 0x123456);
    EXPECT_TRUE(gf_isBookedNoMatch(b));
    gf_bookNoMatch(aircraft("ACA", "B789", "C-FGFZ", false));
    gf_logNoMatch();
    EXPECT_THAT(logText(), HasSubstr("\nNo match found for: \nACA B789 C-FGFZ\nXYZ B738 SP-ENX\n\n"));
    gf_clearNoMatch();
    EXPECT_FALSE(gf_isBookedNoMatch(b));
}
