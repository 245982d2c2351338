// The data tool gives the same bytes for the same data, and refuses bad calls with a clear message.
#include <gtest/gtest.h>

#include <filesystem>

#include <fmt/format.h>

#include "support/build_tools.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

class MkdataTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        ZARK_SKIP_WITHOUT_BUILD_TOOLS();
    }
    static int run(const std::string& args) { return gf_runBuildTool("mkdata", args); }
};

}  // namespace

TEST_F(MkdataTest, TheSameDataGiveByteIdenticalFilesAndBadCallsAreRefused) {
    ASSERT_EQ(run(fmt::format("\"{}\" fresh", (gf_sourceDir() / "data").string())), 0) << readFile("mkdata.out");
    for (const char* f : {"dbase.xml", "airports_p3d.xml", "fixes.xml"}) {
        SCOPED_TRACE(f);
        const std::string made = readFile(fs::path("fresh") / f);
        EXPECT_GT(made.size(), 500u);
        EXPECT_TRUE(made == readFile(gf_binaryDir() / "install" / "input" / f));
    }
    EXPECT_EQ(run(""), 2);
    EXPECT_NE(readFile("mkdata.out").find("usage: mkdata <data folder> <output folder>"), std::string::npos);
    EXPECT_EQ(run("no-such-folder out"), 1);
    EXPECT_NE(readFile("mkdata.out").find("mkdata: cannot open no-such-folder/aircraft_types.csv"), std::string::npos);
    EXPECT_FALSE(fs::exists("out/dbase.xml"));
}
