#include <gtest/gtest.h>

#include <filesystem>

#include "frame/core/textfiles.h"
#include "platform/platform.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

class TextFilesTest : public ZarkTest {
protected:
    std::vector<std::string> read(const std::string& bytes, TextEncoding expected) {
        writeFile("f.txt", bytes);
        EXPECT_EQ(gf_detectEncoding("f.txt"), expected);
        std::vector<std::string> out;
        EXPECT_EQ(gf_readExtTextFileToStringVector("f.txt", out), 1);
        return out;
    }
    // UTF-16 with its byte order mark, little or big endian.
    static std::string utf16(const std::u16string& s, bool little = true) {
        std::string b = little ? "\xFF\xFE" : "\xFE\xFF";
        for (char16_t c : s) {
            const char low = static_cast<char>(c & 0xFF), high = static_cast<char>(c >> 8);
            b += little ? std::string{low, high} : std::string{high, low};
        }
        return b;
    }
    using Lines = std::vector<std::string>;
};

TEST_F(TextFilesTest, Utf16WithBothByteOrdersBecomesUtf8Lines) {
    const std::u16string text = u"[fltsim.0]\r\ntitle=Z\u00fcrich \u00c9t\u00e9\r\nlast";
    EXPECT_EQ(read(utf16(text), TextEncoding::Unicode),
              (Lines{"[fltsim.0]", "title=Z\u00fcrich \u00c9t\u00e9", "last"}));
    EXPECT_EQ(read(utf16(text, false), TextEncoding::UnicodeBigEndian),
              (Lines{"[fltsim.0]", "title=Z\u00fcrich \u00c9t\u00e9", "last"}));
}

TEST_F(TextFilesTest, Utf16SurrogatePairsSurviveAndBrokenOnesFail) {
    EXPECT_EQ(read(utf16(u"a\U0001F600b"), TextEncoding::Unicode), (Lines{"a\U0001F600b"}));
    writeFile("bad.txt", utf16(std::u16string(1, char16_t(0xD800)) + u"x"));
    std::vector<std::string> out;
    // The conversion failure is caught, logged, and the result is 0.
    EXPECT_EQ(gf_readExtTextFileToStringVector("bad.txt", out), 0);
    EXPECT_TRUE(logHas("gf_readExtTextFileToStringVector Invalid UTF-16 sequence found in input string."));
}

TEST_F(TextFilesTest, Utf8WithAndWithoutMark) {
    EXPECT_EQ(read("\xEF\xBB\xBFtitle=A\r\nx=1\n", TextEncoding::Utf8WithBom), (Lines{"title=A", "x=1"}));
    EXPECT_EQ(read("title=A\r\nx=1", TextEncoding::Utf8WithoutBom), (Lines{"title=A", "x=1"}));
    // EF BB without BF still counts as a mark and still loses three bytes.
    EXPECT_EQ(read("\xEF\xBBXYtitle\n", TextEncoding::Utf8WithBom), (Lines{"Ytitle"}));
}

TEST_F(TextFilesTest, EmptyAndUnreadableFiles) {
    EXPECT_EQ(read("", TextEncoding::Utf8WithoutBom), Lines{});
    EXPECT_EQ(read("x", TextEncoding::Utf8WithoutBom), Lines{"x"});  // a one-byte file
    std::vector<std::string> out;
    EXPECT_EQ(gf_detectEncoding("missing.txt"), TextEncoding::NoneFound);
    EXPECT_EQ(gf_readExtTextFileToStringVector("missing.txt", out), 0);
    EXPECT_TRUE(out.empty());
    const std::string log = logText();
    EXPECT_NE(log.find("cannot open file missing.txt for character encoding, err: "), std::string::npos);
}

TEST_F(TextFilesTest, AtomicSaveReplacesWholeFileAndLeavesNoTemporary) {
    writeFile("data.txt", "old content that is longer");
    EXPECT_TRUE(gf_saveText("new", "data.txt", true));
    EXPECT_EQ(readFile("data.txt"), "new\n");
    for (const auto& e : fs::directory_iterator(root_))
        EXPECT_EQ(e.path().filename().string().find(".tmp"), std::string::npos) << e.path();
    // A target in a folder that does not exist fails and creates nothing.
    EXPECT_FALSE(gf_saveText("x", "no/such/folder/file.txt", false));
    EXPECT_FALSE(fs::exists("no"));
}

TEST(Utf8Conversion, RoundTripAndInvalidInput) {
    const std::string s = "Z\u00fcrich \u2708 \U0001F6EB";
    EXPECT_EQ(gf_utf16ToUtf8(gf_utf8ToUtf16(s)), s);
    for (const std::string& bad : {std::string("\xC0\xAF"), std::string("\xED\xA0\x80"), std::string("\xE2\x82"),
                                   std::string("\xFF"), std::string("\xF4\x90\x80\x80")}) {
        try {
            gf_utf8ToUtf16(bad);
            FAIL() << "accepted invalid UTF-8";
        } catch (const win32::Utf8ConversionException& e) {
            EXPECT_STREQ(e.what(), "Invalid UTF-8 sequence found in input string.");
            EXPECT_EQ(e.ErrorCode(), 1113u);
        }
    }
}
