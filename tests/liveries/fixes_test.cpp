// input/fixes.xml: corrections of type codes and the private and government owner codes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "frame/core/errors.h"
#include "liveries/dbase.h"
#include "liveries/dbase_builder.h"
#include "liveries/fixes.h"
#include "support/fixture.h"
#include "support/throws.h"

using ::testing::HasSubstr;

namespace {

class FixesTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_clearDbase();
        gf_clearFixes();
        writeFile("input/dbase.xml", DbaseBuilder{}.text());
        gf_readDbase();
    }
    void TearDown() override {
        gf_clearDbase();
        gf_clearFixes();
        ZarkTest::TearDown();
    }
};

}  // namespace

TEST_F(FixesTest, FixesToValidModelsAreKeptAndEveryDoubtIsLogged) {
    writeFile("input/fixes.xml", R"(<?xml version="1.0"?>
<fixes>
  <fix wrong="B737-800" correct="B738"/>
  <fix wrong="A320neo" correct="A20N"/>
  <fix wrong="B737-800" correct="A320"/>
  <fix wrong="Airbus" correct="A320"/>
</fixes>
<PVT_fixes><fix wrong="PVT"/><fix wrong="KLM"/><fix wrong="PVT"/><fix wrong=""/></PVT_fixes>
<GOV_fixes><fix wrong="GOV"/><fix wrong="DLH"/><fix wrong="GOV"/></GOV_fixes>
)");
    gf_readFixes();
    EXPECT_EQ(fixes.modelFixes.size(), 2u);
    EXPECT_EQ(fixes.modelFixes.at("B737-800"), "B738");  // the first stays
    EXPECT_EQ(fixes.modelFixes.at("Airbus"), "A320");
    EXPECT_EQ(fixes.pvtFixes, (std::set<std::string>{"", "PVT"}));  // an empty code enters like any other
    EXPECT_EQ(fixes.govFixes, std::set<std::string>{"GOV"});
    const std::string log = logText();
    EXPECT_THAT(log, HasSubstr("===> wrong fix A320neo->A20N, the latter is not a valid model"));
    EXPECT_THAT(log, HasSubstr("===> wrong part of fix: B737-800, already exists, skipped"));
    EXPECT_THAT(log, HasSubstr("===> PVT fix KLM is an ICAO airline code? "));
    EXPECT_THAT(log, HasSubstr("===> GOV fix DLH is an ICAO airline code? "));
    EXPECT_THAT(log, HasSubstr("===> wrong: PVT, already exists, skipped"));
    EXPECT_THAT(log, HasSubstr("===> wrong: GOV, already exists, skipped"));
    EXPECT_THAT(log, HasSubstr("\"input/fixes.xml\" read"));
}

TEST_F(FixesTest, AMissingSectionLeavesItsTableEmptyAndAMissingFileIsError3) {
    writeFile("input/fixes.xml", "<PVT_fixes><fix wrong=\"PVT\"/></PVT_fixes>");
    gf_readFixes();
    EXPECT_TRUE(fixes.modelFixes.empty());
    EXPECT_TRUE(fixes.govFixes.empty());
    EXPECT_EQ(fixes.pvtFixes.size(), 1u);

    std::filesystem::remove("input/fixes.xml");
    const auto [code, text] = gf_userErrorOf(gf_readFixes);
    EXPECT_EQ(code, 3);
    EXPECT_THAT(text, HasSubstr("input/fixes.xml (or sections of it) not found?"));
}
