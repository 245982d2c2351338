// The readers on the input files that tools/mkdata builds from the public data in data/.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "support/fixture.h"

namespace fs = std::filesystem;
using ::testing::Contains;

namespace {

class RealDbaseTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_clearDbase();
        gf_clearFixes();
        fs::create_directories("input");
        for (const char* f : {"dbase.xml", "fixes.xml"})
            fs::copy_file(gf_binaryDir() / "install" / "input" / f, fs::path("input") / f);
        gf_readDbase();
        gf_readFixes();
    }
    void TearDown() override {
        gf_clearDbase();
        gf_clearFixes();
        ZarkTest::TearDown();
    }
};

}  // namespace

TEST_F(RealDbaseTest, TypesHaveTheirRealCategoriesAndSpans) {
    EXPECT_GT(dbase.aircraft.size(), 2500u);
    using enum ModelCategory;
    for (const auto& [type, category] : std::vector<std::pair<const char*, ModelCategory>>{{"B738", Large},
                                                                                           {"A320", Large},
                                                                                           {"E190", Large},
                                                                                           {"CRJ9", Large},
                                                                                           {"DH8D", Large},
                                                                                           {"B744", Heavy},
                                                                                           {"A388", Heavy},
                                                                                           {"C56X", Buzjets},
                                                                                           {"CL60", Buzjets},
                                                                                           {"GLEX", Buzjets},
                                                                                           {"F16", HighPerf},
                                                                                           {"EC35", Rotorcraft},
                                                                                           {"C172", Light}})
        EXPECT_EQ(gf_modelCategory(type), category) << type;
    EXPECT_NEAR(gf_halfWingspan("B738"), 0.0097, 0.0002);  // 35.78 m with winglets
    // The largest span is the Stratolaunch carrier's 117 m; the An-225 has 88.4 m.
    EXPECT_NEAR(dbase.largestHalfWingspan * 2 * 1852.0, 117.0, 0.5);
    EXPECT_NEAR(gf_halfWingspan("A225") * 2 * 1852.0, 88.4, 0.01);
    for (size_t c = 0; c < kModelCategoryCount; ++c) EXPECT_GT(dbase.averageHalfWingspan[c], 0.0);
    EXPECT_GT(dbase.averageHalfWingspan[3], dbase.averageHalfWingspan[2]);
}

TEST_F(RealDbaseTest, KnownRegistrationsAirlinesAndFamiliesResolve) {
    // PH-BFA, KLM's first Boeing 747-400, with and without its hyphen.
    const DbaseRecord* r = gf_dbaseFind("PHBFA");
    ASSERT_NE(r, nullptr);
    EXPECT_EQ(r->type, "B744");
    EXPECT_EQ(r->airl, "KLM");
    EXPECT_EQ(gf_dbaseType("PH-BFA"), "B744");
    EXPECT_GT(dbase.records.size(), 140000u);
    EXPECT_TRUE(gf_isIcaoAirline("KLM"));
    EXPECT_TRUE(gf_isIcaoAirline("DLH"));
    EXPECT_TRUE(dbase.cargoOperators.count("FDX"));
    EXPECT_THAT(dbase.similarGroups,
                Contains(std::vector<std::string>{"A318", "A319", "A320", "A321", "A19N", "A20N", "A21N"}));
    EXPECT_EQ(gf_publisherFromFileName("FSDT_KCLT.bgl"), "FSDreamTeam");
    EXPECT_EQ(fixes.modelFixes.at("B737-800"), "B738");
    // "PVT" is the program's own code, an airline code of the database; the other spellings are fixed to it.
    EXPECT_TRUE(gf_isIcaoAirline("PVT"));
    EXPECT_TRUE(fixes.pvtFixes.count("PRIVATE"));
    EXPECT_FALSE(logHas("===> "));  // the generated files raise no warning
}
