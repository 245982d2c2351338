// Decimal text to numbers: the short path must give the very bits of the full conversion, and the
// failures keep their texts.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <cstdlib>
#include <random>
#include <stdexcept>
#include <string>

#include "common/numtext.h"

namespace {

// Decimal texts of the kinds the data files hold, and longer ones that must leave the short path.
std::string randomDecimal(std::mt19937& rng) {
    std::uniform_int_distribution<int> digit(0, 9), intDigits(1, 9), fracDigits(0, 25), coin(0, 3);
    std::string s;
    if (coin(rng) == 0) s += '-';
    const int ni = intDigits(rng);
    for (int i = 0; i < ni; ++i) s += static_cast<char>('0' + digit(rng));
    const int nf = fracDigits(rng);
    if (nf > 0) {
        s += '.';
        for (int i = 0; i < nf; ++i) s += static_cast<char>('0' + digit(rng));
    }
    return s;
}

template <typename T>
void expectFailure(T (*convert)(const char*), const char* text, const char* what) {
    try {
        convert(text);
        ADD_FAILURE() << "no failure for \"" << text << "\"";
    } catch (const std::exception& e) {
        EXPECT_STREQ(e.what(), what) << "for \"" << text << "\"";
    }
}

}  // namespace

TEST(NumText, ShortDecimalsGiveTheCorrectlyRoundedValueBitForBit) {
    std::mt19937 rng(20261123);
    for (int n = 0; n < 200000; ++n) {
        const std::string text = randomDecimal(rng);
        const double d = gf_stod(text.c_str());
        ASSERT_EQ(std::bit_cast<uint64_t>(d), std::bit_cast<uint64_t>(std::strtod(text.c_str(), nullptr))) << text;
        const float f = gf_stof(text.c_str());
        ASSERT_EQ(std::bit_cast<uint32_t>(f), std::bit_cast<uint32_t>(std::strtof(text.c_str(), nullptr))) << text;
    }
}

TEST(NumText, EdgeFormsOfTheShortPath) {
    EXPECT_TRUE(std::signbit(gf_stod("-0")));
    EXPECT_TRUE(std::signbit(gf_stod("-0.000")));
    EXPECT_EQ(gf_stod("007.50"), 7.5);
    EXPECT_EQ(gf_stod("-101.473911"), -101.473911);
    EXPECT_EQ(gf_stod("999999999999999"), 999999999999999.0);    // 15 digits: still exact
    EXPECT_EQ(gf_stod("9007199254740993"), 9007199254740992.0);  // 16 digits: rounded like strtod
    EXPECT_EQ(gf_stod("0.1234567890123456789012"), 0.1234567890123456789012);
    EXPECT_EQ(gf_stof("3435"), 3435.0f);
    EXPECT_EQ(gf_stof("16777217"), 16777216.0f);  // past 2^24: rounded like strtof
}

TEST(NumText, OtherFormsTakeTheStandardRoute) {
    EXPECT_EQ(gf_stod("+1.5"), 1.5);
    EXPECT_EQ(gf_stod(" 2.25"), 2.25);
    EXPECT_EQ(gf_stod(".5"), 0.5);
    EXPECT_EQ(gf_stod("5."), 5.0);
    EXPECT_EQ(gf_stod("1e3"), 1000.0);
    EXPECT_EQ(gf_stod("12.5 ft"), 12.5);  // as std::stod: trailing text is ignored
    EXPECT_EQ(gf_stof("-2.5E1"), -25.0f);
}

TEST(NumText, FailuresKeepTheirTextsOnEveryPlatform) {
    expectFailure<double>(gf_stod, "", "invalid stod argument");
    expectFailure<double>(gf_stod, "-", "invalid stod argument");
    expectFailure<double>(gf_stod, "abc", "invalid stod argument");
    expectFailure<double>(gf_stod, "1e999", "stod argument out of range");
    expectFailure<float>(gf_stof, "", "invalid stof argument");
    expectFailure<float>(gf_stof, "1e99", "stof argument out of range");
}
