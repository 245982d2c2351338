// The aircraft and airline database: scramblers, sections and their errors, lookups.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

#include "frame/core/errors.h"
#include "liveries/dbase.h"
#include "liveries/dbase_builder.h"
#include "liveries/scramble.h"
#include "liveries/state.h"
#include "support/fixture.h"
#include "support/throws.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

constexpr double kMetresToHalfNm = 0.5 / 1852.0;

class DbaseTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_clearDbase();
    }
    void TearDown() override {
        gf_clearDbase();
        ZarkTest::TearDown();
    }
    void read(const DbaseBuilder& b) {
        writeFile("input/dbase.xml", b.text());
        gf_readDbase();
    }
    std::pair<int, std::string> userError(const DbaseBuilder& b) {
        writeFile("input/dbase.xml", b.text());
        return gf_userErrorOf(gf_readDbase);
    }
};

std::string allWindowCharacters() {
    std::string s;
    for (int c = 45; c <= 90; ++c) s += static_cast<char>(c);
    return s;
}

}  // namespace

TEST(Scramblers, RegcodeRoundTripsOverTheWholeWindowAndKeepsPlus) {
    const std::string window = allWindowCharacters();
    // Every character at every position of a long text, so each key entry and the wrap are exercised.
    for (size_t shift = 0; shift < window.size(); ++shift) {
        const std::string text = window.substr(shift) + window.substr(0, shift);
        const std::string enc = gf_encodeRegcode(text);
        ASSERT_EQ(enc.size(), text.size());
        for (char c : enc) ASSERT_TRUE(c >= 45 && c <= 90) << "outside the window: " << int(c);
        EXPECT_EQ(gf_decodeRegcode(enc), text);
    }
    // Known answers: the database files are scrambled with exactly these keys.
    EXPECT_EQ(gf_encodeRegcode(window), ">E4OV.S<O?:KKE17SCM>0/JQV/L9@F=T9WR55/IO=-7VHG");
    EXPECT_EQ(gf_encodeAirline("KLM"), "VS0XD7");
    EXPECT_EQ(gf_encodeModel("F1") + gf_encodeModel("B73") + gf_encodeModel("A320"), "SYVI;6FNL");
    EXPECT_EQ(gf_encodeRegcode("A+B")[1], '+');
    EXPECT_EQ(gf_decodeRegcode(gf_encodeRegcode("A+B")), "A+B");
    EXPECT_EQ(gf_encodeRegcode(""), "");
    EXPECT_EQ(gf_decodeRegcode(""), "");
}

TEST_F(DbaseTest, RegcodeEncoderRefusesLowerCaseAndLogsOddLengths) {
    EXPECT_EQ(gf_thrownText<std::runtime_error>([] { gf_encodeRegcode("PH-bxa"); }), "regcode encrypt error");
    EXPECT_TRUE(logHas("lower case in regcode encryp PH-bxa"));
    gf_encodeRegcode("A");
    gf_encodeRegcode(std::string(25, 'X'));
    const std::string log = logText();
    EXPECT_THAT(log, HasSubstr("regcode of unusual length 1"));
    EXPECT_THAT(log, HasSubstr("regcode of unusual length 25"));
}

TEST_F(DbaseTest, AirlineAndModelScramblersRoundTripAndCheckLengths) {
    const std::string w = allWindowCharacters();
    for (size_t i = 0; i + 3 <= w.size(); ++i) {
        const std::string code = w.substr(i, 3);
        const std::string stored = gf_encodeAirline(code);
        ASSERT_EQ(stored.size(), 6u);
        EXPECT_EQ(gf_decodeAirline(stored), code);
    }
    for (size_t len : {2u, 3u, 4u})
        for (size_t i = 0; i + len <= w.size(); ++i) {
            const std::string code = w.substr(i, len);
            const std::string stored = gf_encodeModel(code);
            ASSERT_EQ(stored.size(), len);
            EXPECT_EQ(gf_decodeModel(stored), code);
        }
    // A stored model of another length is read as two characters from its start.
    EXPECT_EQ(gf_decodeModel(gf_encodeModel("F1") + "XYZ"), "F1");
    EXPECT_EQ(gf_decodeModel(""), "");
    EXPECT_THROW(gf_decodeModel("A"), std::runtime_error);

    EXPECT_EQ(gf_decodeAirline(""), "");
    EXPECT_EQ(gf_decodeAirline("KLM"), "KLM");
    EXPECT_TRUE(logHas("Unencrypted airline KLM in decrypt airl?"));
    for (const char* bad : {"KL", "KLMX", "KLMXYZW"})
        EXPECT_EQ(gf_thrownText<std::runtime_error>([&] { gf_decodeAirline(bad); }),
                  fmt::format("decrypt airl \"{}\" error", bad));
}

TEST_F(DbaseTest, EveryMandatorySectionMissingOrEmptyStopsTheReadWithItsNames) {
    const std::vector<std::pair<std::string, std::string>> expected = {
        {"aircrafts", "aircrafts aircraft types"},
        {"high_performance", "high_performance hpf types"},
        {"heavy", "heavy hvy types"},
        {"large", "large lar types"},
        {"buzjet", "buzjet bzj types"},
        {"rotorcraft", "rotorcraft rot types"},
        {"cargo_types", "cargo_types cargo_type types"},
        {"ICAO_airlines", "ICAO_airlines ICAO codes"},
        {"cargo_operators", "cargo_operators ICAO codes"}};
    for (const auto& [section, names] : expected) {
        SCOPED_TRACE(section);
        DbaseBuilder empty;
        empty.sets[section] = {};  // present, but its list holds only blanks
        const auto [code, text] = userError(empty);
        EXPECT_EQ(code, 61);
        EXPECT_EQ(text, "61: In an xml file section " + names + " is empty ");

        DbaseBuilder missing;
        missing.sets.erase(section);
        EXPECT_EQ(userError(missing).first, 61);
    }
}

TEST_F(DbaseTest, AFileThatIsMissingOrNotXmlIsError60AndABadAirlineStopsTheRead) {
    EXPECT_THAT(gf_userErrorOf(gf_readDbase).second,
                HasSubstr("60: \"input/dbase.xml\" not read because of File was not found"));
    writeFile("input/dbase.xml", "<aircrafts><aircraft types=\"x\"></aircrafts>");
    EXPECT_THAT(gf_userErrorOf(gf_readDbase).second,
                testing::MatchesRegex("60: .*not read because of Start-end tags mismatch.*"));
    DbaseBuilder b;
    b.rows = {{"PH-BXA", "KLMX", "B738", "", ""}};
    writeFile("input/dbase.xml", b.text());
    EXPECT_EQ(gf_thrownText<std::runtime_error>(gf_readDbase), "decrypt airl \"KLMX\" error");
}

TEST_F(DbaseTest, SetsIgnoreBlanksAndKeepEveryChildsEntries) {
    DbaseBuilder b;
    std::string text = b.text();
    // A second child with blanks around its entries and an empty entry.
    const std::string more = fmt::format("<aircraft types=\" {} , ,{}  \"/>", DbaseBuilder::esc(gf_encodeModel("DH8D")),
                                         DbaseBuilder::esc(gf_encodeModel("B77W")));
    text.insert(text.find("</aircrafts>"), more);
    writeFile("input/dbase.xml", text);
    gf_readDbase();
    EXPECT_TRUE(gf_isValidModel("DH8D"));
    EXPECT_TRUE(gf_isValidModel("B77W"));
    EXPECT_TRUE(gf_isValidModel("A320"));
    EXPECT_FALSE(gf_isValidModel(""));
    EXPECT_FALSE(gf_isValidModel("ZZZZ"));
    EXPECT_TRUE(gf_isIcaoAirline("KLM"));
    EXPECT_FALSE(gf_isIcaoAirline("XXX"));
    EXPECT_FALSE(gf_isIcaoAirline(""));
    EXPECT_EQ(dbase.cargoOperators, std::set<std::string>{"DLH"});
    EXPECT_THAT(dbase.similarGroups, ElementsAre(ElementsAre("A320", "B738")));
}

TEST_F(DbaseTest, CategoriesAreTestedLargeHeavyBuzjetRotorcraftHighPerf) {
    read(DbaseBuilder{});
    using enum ModelCategory;
    // XLH is in large and heavy: large is asked first.
    for (const auto& [type, category] : std::vector<std::pair<const char*, ModelCategory>>{{"XLH", Large},
                                                                                           {"B744", Heavy},
                                                                                           {"C56X", Buzjets},
                                                                                           {"EC35", Rotorcraft},
                                                                                           {"F16", HighPerf},
                                                                                           {"C172", Light},
                                                                                           {"NONE", Light}})
        EXPECT_EQ(gf_modelCategory(type), category) << type;
    EXPECT_STREQ(gf_modelCategoryName(gf_modelCategory("C56X")), "Buzjets");
}

TEST_F(DbaseTest, WingspansGiveHalfSpansInNmAndUnknownTypesTheirCategoryMean) {
    DbaseBuilder b;
    b.wingspans = {{"A320", "35.8"}, {"B738", "34.2"}, {"B744", "64.4"}, {"C172", "11.0"}, {"ZZZZ", "99"}};
    read(b);
    EXPECT_NEAR(gf_halfWingspan("A320"), 35.8 * kMetresToHalfNm, 1e-12);
    EXPECT_NEAR(dbase.largestHalfWingspan, 64.4 * kMetresToHalfNm, 1e-12);
    // XLH is Large without a row: the mean of A320 and B738.
    EXPECT_NEAR(gf_halfWingspan("XLH"), (35.8 + 34.2) / 2 * kMetresToHalfNm, 1e-12);
    // A valid type in no category set, and an unknown one: the mean of the Light rows.
    EXPECT_NEAR(gf_halfWingspan("NONE"), 11.0 * kMetresToHalfNm, 1e-12);
    // A category without rows keeps its typical default.
    EXPECT_DOUBLE_EQ(gf_halfWingspan("EC35"), kDefaultHalfWingspanNm[5]);
    EXPECT_TRUE(logHas("wingspan model ZZZZ is no valid model, skipped"));
    EXPECT_EQ(dbase.wingspans.count("ZZZZ"), 0u);
}

TEST_F(DbaseTest, AnUnreadableWingspanOrPublisherSectionIsASystemError) {
    DbaseBuilder b;
    b.wingspans = {{"A320", "wide"}};
    writeFile("input/dbase.xml", b.text());
    EXPECT_THAT(gf_thrownText<zel::SysErrorException>(gf_readDbase),
                HasSubstr("288: exception invalid stod argument in reading wingspans from \"input/dbase.xml\""));
    DbaseBuilder shortType;
    std::string text = shortType.text();
    text.insert(text.find("</wingspans>"), "<wingspan type=\"A\" meters=\"3\"/>");
    writeFile("input/dbase.xml", text);
    EXPECT_THROW(gf_readDbase(), zel::SysErrorException);
}

TEST_F(DbaseTest, RecordsDecodeTheirFieldsAndADuplicateKeepsTheFirst) {
    DbaseBuilder b;
    b.rows = {{"PH-BXA", "KLM", "B738", "", "0"},  {"D-AIBA", "DLH", "A320", "SWR", "yes"},
              {"N12345", "", "", "", ""},          {"PH-BXA", "DLH", "A320", "", "1"},
              {"G-PLAIN", "BAW", "B744", "", "T"}, {"HBJX", "SWR", "A320", "", ""}};
    b.rows[4].plainAirl = true;  // given as three plain characters
    read(b);
    const DbaseRecord* klm = gf_dbaseFind("PH-BXA");
    ASSERT_NE(klm, nullptr);
    EXPECT_EQ(klm->airl, "KLM");
    EXPECT_EQ(klm->type, "B738");
    EXPECT_FALSE(klm->cargo);
    EXPECT_TRUE(logHas("regcode PH-BXA already exists"));
    EXPECT_EQ(gf_dbaseOperator("D-AIBA"), "SWR");
    EXPECT_TRUE(gf_dbaseFind("D-AIBA")->cargo);
    EXPECT_EQ(gf_dbaseType("N12345"), "");
    EXPECT_NE(gf_dbaseFind("N12345"), nullptr);
    EXPECT_EQ(gf_dbaseAirline("G-PLAIN"), "BAW");
    EXPECT_TRUE(logHas("Unencrypted airline BAW in decrypt airl?"));
    EXPECT_EQ(gf_dbaseFind(""), nullptr);
    EXPECT_EQ(gf_dbaseAirline("XX-NONE"), "");
    EXPECT_TRUE(logHas("5 dbase records from \"input/dbase.xml\" read"));
    // Asked without its hyphen, a registration finds the stored hyphenated one; asked with one, only that.
    EXPECT_EQ(gf_dbaseType("DAIBA"), "A320");
    EXPECT_EQ(gf_dbaseType("PHBXA"), "B738");
    EXPECT_EQ(gf_dbaseType("HBJX"), "A320");
    EXPECT_EQ(gf_dbaseFind("DA-IBA"), nullptr);
    EXPECT_EQ(gf_dbaseFind("H-BJX"), nullptr);
}

TEST(RegcodeVariants, HyphenSpellingsOnlyForLongCodesWithoutHyphenOrLeadingN) {
    EXPECT_THAT(lf_regcodeVariants("DABCD"), ElementsAre("DABCD", "DA-BCD", "D-ABCD"));
    EXPECT_THAT(lf_regcodeVariants("PHBXA"), ElementsAre("PHBXA", "PH-BXA", "P-HBXA"));
    EXPECT_THAT(lf_regcodeVariants("N12345"), ElementsAre("N12345"));
    EXPECT_THAT(lf_regcodeVariants("ABCD"), ElementsAre("ABCD"));
    EXPECT_THAT(lf_regcodeVariants("D-ABCD"), ElementsAre("D-ABCD"));
    EXPECT_THAT(lf_regcodeVariants("JA8089"), ElementsAre("JA8089", "JA-8089", "J-A8089"));
}

TEST_F(DbaseTest, PublisherFromFileNameOrbxFirstThenGroupsInOrder) {
    DbaseBuilder b;
    b.publishers = {"FlyTampa,FT", "Aerosoft,AS", "Aerosoft,AS", "29Palms+"};
    std::vector<std::string> scanLog;
    static std::vector<std::string>* sink;
    sink = &scanLog;
    publisherScanLog = [](const std::string& line) { sink->push_back(line); };
    read(b);
    EXPECT_EQ(dbase.publishers.size(), 3u);  // exact duplicates dropped
    EXPECT_EQ(gf_publisherFromFileName("scenery/orbx_EGLL_airport.bgl"), "ORBX");
    EXPECT_THAT(scanLog, ElementsAre("from filename => publisher  ORBX"));
    EXPECT_EQ(gf_publisherFromFileName("FlyTampa_Aerosoft_mix.bgl"), "Aerosoft");  // sorted: "Aerosoft,AS" first
    EXPECT_EQ(gf_publisherFromFileName("ft_KBOS.bgl"), "FlyTampa");                // by its second name, any case
    EXPECT_EQ(gf_publisherFromFileName("29PALMS+_LFPG.bgl"), "29Palms+");          // "+" is no regex operator
    EXPECT_EQ(gf_publisherFromFileName("EHAM_stock.bgl"), "unknown");
    publisherScanLog = nullptr;
}

TEST_F(DbaseTest, SimilarTablesLeadFromMissingTypesToPresentRelatives) {
    DbaseBuilder b;
    b.similar = {{"AA", "BB", "CC"}, {"CC", "DD"}};
    read(b);
    SimilarInputs in;
    in.modelsWithLivery = {"AA", "CC"};
    in.airlineModels = {{"KLM", {"AA"}}, {"KLMX", {"DD"}}, {"DLH", {"AA", "CC"}}, {"SWR", {"XX"}}};
    lf_buildSimilarTables(in);
    EXPECT_EQ(dbase.similarPresent.size(), 4u);
    EXPECT_THAT(dbase.similarPresent.at("AA"), ElementsAre("CC"));
    EXPECT_THAT(dbase.similarPresent.at("BB"), ElementsAre("AA", "CC"));  // no livery, still leads to relatives
    EXPECT_THAT(dbase.similarPresent.at("CC"), ElementsAre("AA"));
    EXPECT_THAT(dbase.similarPresent.at("DD"), ElementsAre("CC"));
    EXPECT_TRUE(logHas("4 similar model definitions"));
    // KLM and KLMX are one airline with AA and DD: what it lacks leads to AA; nothing under AA or DD.
    const auto& klm = dbase.similarByAirline.at("KLM");
    EXPECT_EQ(klm.size(), 2u);
    EXPECT_THAT(klm.at("BB"), ElementsAre("AA"));
    EXPECT_THAT(klm.at("CC"), ElementsAre("AA"));
    const auto& dlh = dbase.similarByAirline.at("DLH");
    EXPECT_EQ(dlh.size(), 2u);
    EXPECT_THAT(dlh.at("BB"), ElementsAre("AA", "CC"));
    EXPECT_THAT(dlh.at("DD"), ElementsAre("CC"));
    EXPECT_EQ(dbase.similarByAirline.count("SWR"), 0u);
    EXPECT_EQ(dbase.similarByAirline.count("KLMX"), 0u);

    // A code in two groups keeps the list that sorts first; a restart of the run forgets both tables.
    in.modelsWithLivery = {"AA", "CC", "DD"};
    lf_buildSimilarTables(in);
    EXPECT_THAT(dbase.similarPresent.at("CC"), ElementsAre("AA"));
    gf_resetLiveries();
    EXPECT_TRUE(dbase.similarPresent.empty());
    EXPECT_TRUE(dbase.similarByAirline.empty());
    EXPECT_TRUE(gf_isValidModel("A320"));  // the database itself stays
}
