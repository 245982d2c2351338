#include <gtest/gtest.h>

#include <filesystem>

#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

class LogTest : public ZarkTest {};

TEST_F(LogTest, HeaderNamesProgramVersionAndSimulator) {
    const std::string log = logText();
    const auto firstLine = log.substr(0, log.find('\n'));
    EXPECT_NE(firstLine.find(" (utc) ZARK_P3D version 9.3.0 for Prepar3D v5/v6"), std::string::npos) << firstLine;
    // asctime's 24 characters come first.
    EXPECT_EQ(firstLine.find(" (utc)"), 24u);
}

TEST_F(LogTest, MarkedLinesAreFlushedAtOnce) {
    gf_logLine("plain line");
    gf_logMark("something to find");
    // The mark flushes the stream, the plain line before it with it.
    const std::string onDisk = readFile("Log.txt");
    EXPECT_NE(onDisk.find("plain line\n===> something to find\n"), std::string::npos);
}

TEST_F(LogTest, ThreeGenerationsAreKept) {
    gf_logLine("run one");
    gf_closeLog();
    gf_openLog("Log.txt");
    gf_logLine("run two");
    gf_closeLog();
    gf_openLog("Log.txt");
    gf_logLine("run three");
    gf_closeLog();
    gf_openLog("Log.txt");
    gf_logLine("run four");
    gf_flushLog();
    EXPECT_NE(readFile("Log.txt").find("run four"), std::string::npos);
    EXPECT_NE(readFile("Log0.txt").find("run three"), std::string::npos);
    EXPECT_NE(readFile("Log00.txt").find("run two"), std::string::npos);
    EXPECT_FALSE(fs::exists("Log000.txt"));  // the third generation is gone
}

TEST_F(LogTest, BackupLeavesNamesWithoutDotAlone) {
    writeFile("README", "x");
    gf_backupFile("README");
    EXPECT_FALSE(fs::exists("README0"));
    writeFile("a.b.txt", "x");
    gf_backupFile("a.b.txt");
    EXPECT_TRUE(fs::exists("a.b0.txt"));  // "0" goes in front of the last dot
}

TEST_F(LogTest, UnwritableLogIsSystemError40) {
    gf_closeLog();
    try {
        gf_openLog("no-such-folder/Log.txt");
        FAIL() << "no exception";
    } catch (const zel::SysErrorException& e) {
        EXPECT_EQ(e.code(), 40);
        EXPECT_EQ(std::string(e.what()), "sys error 40: Failed to write file no-such-folder/Log.txt");
    }
    // A closed log swallows writes without harm.
    gf_logLine("nowhere");
    gf_logMark("nowhere");
    EXPECT_FALSE(gf_logIsOpen());
}

TEST(Banner, WidthsAndLongTitles) {
    EXPECT_EQ(gf_banner(70, 0, false, false, ""), std::string(70, '*'));
    EXPECT_EQ(gf_banner(69, 0, false, false, "").size(), 70u);  // rounded up to even
    const std::string b = gf_banner(70, 0, false, false, "parameters");
    EXPECT_EQ(b, std::string(34, '*') + " parameters " + std::string(34, '*'));
    EXPECT_EQ(gf_banner(10, 0, false, false, "a long title"), "a long title");
    EXPECT_EQ(gf_banner(10, 0, true, true, ""), "\n**********\n");
}

TEST(TimeStamps, AsctimeLayoutInUtc) {
    using namespace std::chrono;
    const system_clock::time_point t{seconds(1'767'225'600 + 5 * 3600 + 7 * 60 + 9)};  // 2026-01-01 05:07:09
    EXPECT_EQ(gf_timeStamp(t), "Thu Jan  1 05:07:09 2026");
}

TEST(Exceptions, TextsCarryTheirNumbers) {
    EXPECT_EQ(std::string(zel::UserErrorException(41, "ZARK_P3D must be run from the ZARK_P3D folder!").what()),
              "41: ZARK_P3D must be run from the ZARK_P3D folder!");
    EXPECT_EQ(std::string(zel::UserErrorException(99, "New version available").what()), "New version available");
    EXPECT_EQ(std::string(zel::SysErrorException(744, "null box").what()), "sys error 744: null box");
    // Both are runtime errors, so a handler of the standard family catches them.
    EXPECT_THROW(throw zel::UserErrorException(1, "x"), std::runtime_error);
}
