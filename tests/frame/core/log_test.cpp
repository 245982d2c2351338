#include <gtest/gtest.h>

#include <filesystem>

#include "common/clock.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "support/fixture.h"
#include "support/throws.h"

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
    for (const char* run : {"run one", "run two", "run three"}) {
        gf_logLine(run);
        gf_closeLog();
        gf_openLog("Log.txt");
    }
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
    EXPECT_EQ(gf_thrownText<zel::SysErrorException>([] { gf_openLog("no-such-folder/Log.txt"); }),
              "sys error 40: Failed to write file no-such-folder/Log.txt");
    // A closed log swallows writes without harm.
    gf_logLine("nowhere");
    gf_logMark("nowhere");
    EXPECT_FALSE(gf_logIsOpen());
}

TEST(Banner, ExactWidthsAroundTheTitle) {
    const std::string stars4(4, '*');
    const struct {
        int width, extra;
        bool before, after;
        const char* text;
        std::string banner;
    } cases[] = {
        {70, 0, false, false, "", std::string(70, '*')},
        {69, 0, false, false, "", std::string(70, '*')},  // rounded up to even
        {60, 9, false, false, "", std::string(70, '*')},  // the extra counts
        {70, 0, false, false, "parameters", std::string(34, '*') + " parameters " + std::string(34, '*')},
        {10, 0, false, false, "1234567", stars4 + " 1234567 " + stars4},
        {10, 0, false, false, "12345678", "12345678"},  // with its blanks as wide as the banner: alone
        {10, 0, true, false, "", "\n**********"},
        {10, 0, false, true, "", "**********\n"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(gf_banner(c.width, c.extra, c.before, c.after, c.text), c.banner) << c.width << " " << c.text;
}

TEST(TimeStamps, AsctimeLayoutInUtc) {
    using namespace std::chrono;
    const system_clock::time_point t{seconds(1'767'225'600 + 5 * 3600 + 7 * 60 + 9)};  // 2026-01-01 05:07:09
    EXPECT_EQ(gf_timeStamp(t), "Thu Jan  1 05:07:09 2026");
    // The date the data files' meta blocks carry, and the time of day, of the program's clock.
    ManualClock december;
    december.utc = UtcTime{seconds(1'796'475'899)};  // 2026-12-05 13:04:59
    gf_useManualClock(&december);
    EXPECT_EQ(gf_dateOfToday(), "Dec 5, 2026");
    EXPECT_EQ(gf_timeOfDay(), "13:04:59");
    gf_useManualClock(nullptr);
}
