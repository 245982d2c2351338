#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/message.h"
#include "frame/core/params.h"
#include "platform/platform.h"
#include "support/fixture.h"
#include "support/throws.h"

namespace fs = std::filesystem;

class FoldersTest : public ZarkTest {
protected:
    void startWith(const std::string& programVersion) {
        if (!programVersion.empty()) {
            writeFile(gf_parametersPath(),
                      "<?xml version=\"1.0\"?>\n<parameters>\n\t<parameter name=\"PROGRAM_VERSION\" value=\"" +
                          programVersion +
                          "\" />\n\t<parameter name=\"SECONDS_DELAY\" value=\"30\" />\n"
                          "\t<parameter name=\"LAST_EPOCH_TIME\" value=\"1700000000\" />\n"
                          "\t<parameter name=\"DATA_CHECKED_AT_DATE\" value=\"Nov 21, 2026\" />\n</parameters>\n");
        }
        gf_readParameters();
        gf_migrateParameters();
    }
    std::string params() const { return readFile(gf_parametersPath()); }
};

TEST(VersionText, ParseAndPrint) {
    EXPECT_EQ(gf_parseVersion("9.3.0"), (Version{9, 3, 0}));
    EXPECT_EQ(gf_parseVersion("9.10.12"), (Version{9, 10, 12}));
    EXPECT_EQ(gf_parseVersion("9-3-0"), (Version{9, 3, 0}));  // a dot is any character
    EXPECT_EQ(gf_parseVersion(""), (Version{}));
    EXPECT_EQ(gf_parseVersion("9.3"), (Version{}));
    EXPECT_EQ(gf_parseVersion("v9.3.0"), (Version{}));  // the whole text must match
    EXPECT_EQ(gf_versionText({9, 3, 0}), "9.3.0");
    EXPECT_LT(gf_parseVersion("9.2.12"), gf_parseVersion("9.3.0"));
    EXPECT_GT(gf_parseVersion("9.10.0"), gf_parseVersion("9.3.0"));
}

TEST_F(FoldersTest, MakeFoldersCreatesTheOutputTreeOnly) {
    gf_makeFolders();
    for (const char* p : {"output", "output/info", "output/errors", "airports", "airports/learned",
                          "airports/learned/stock", "airports/learned/ORBX", "airports/learned/thirdparty"})
        EXPECT_TRUE(fs::is_directory(p)) << p;
    EXPECT_FALSE(fs::exists("input"));
    EXPECT_FALSE(fs::exists("airports/archive"));
    fs::remove_all("output/errors");
    gf_makeFolders();  // made anew at each start
    EXPECT_TRUE(fs::is_directory("output/errors"));
}

TEST_F(FoldersTest, MakeFolderFailureNamesTheOperation) {
    writeFile("output", "a file in the way");
    writeFile("airports", "");
    EXPECT_NE(gf_thrownText<fs::filesystem_error>([] { gf_makeFolder("output/info"); }).find("create_directory"),
              std::string::npos);
}

TEST_F(FoldersTest, FirstStartStoresVersionAndWritesTheKeyTemplate) {
    startWith("");
    EXPECT_EQ(PROGRAM_VERSION.current, "9.3.0");
    EXPECT_NE(params().find("name=\"PROGRAM_VERSION\" value=\"9.3.0\""), std::string::npos);
    EXPECT_TRUE(fs::exists(kAccountKeyFile));
    EXPECT_EQ(gf_readAccountKey(), "");  // the template holds no key
    EXPECT_FALSE(logHas("version update"));
}

TEST_F(FoldersTest, FirstStartCopiesTheServiceApplicationsKey) {
    writeFile(gf_serviceAppKeyPath(), "{\"license\": \"ABC-secret-123\"}");
    startWith("");
    EXPECT_EQ(gf_readAccountKey(), "ABC-secret-123");
    EXPECT_TRUE(logHas("copied your \""));
    EXPECT_FALSE(logHas("ABC-secret-123"));  // the key never reaches the log
}

// The same version, or a newer one in the file (a step back), is no update: the elements and the key stay.
TEST_F(FoldersTest, TheSameOrANewerVersionChangesNothing) {
    writeFile(kAccountKeyFile, "{\"license\": \"K\"}");
    for (const char* version : {"9.3.0", "9.10.0"}) {
        SCOPED_TRACE(version);
        startWith(version);
        EXPECT_FALSE(logHas("This is a version update"));
        EXPECT_FALSE(logHas("removed"));
        EXPECT_EQ(PROGRAM_VERSION.current, "9.3.0");
        EXPECT_NE(params().find("name=\"PROGRAM_VERSION\" value=\"9.3.0\""), std::string::npos);
        EXPECT_NE(params().find("SECONDS_DELAY"), std::string::npos);
        EXPECT_EQ(LAST_EPOCH_TIME.current, 1700000000);
        EXPECT_EQ(gf_readAccountKey(), "K");
    }
}

TEST_F(FoldersTest, OlderVersionIsAnUpdate) {
    writeFile(folders::installer, "MZ");
    startWith("9.2.12");
    EXPECT_TRUE(logHas("This is a version update from 9.2.12 -> 9.3.0\n"));
    EXPECT_TRUE(logHas("Parameter SECONDS_DELAY removed\n"));
    EXPECT_EQ(params().find("SECONDS_DELAY"), std::string::npos);
    EXPECT_FALSE(fs::exists(folders::installer));
    EXPECT_EQ(LAST_EPOCH_TIME.current, 0);
    EXPECT_NE(params().find("name=\"LAST_EPOCH_TIME\" value=\"0\""), std::string::npos);
    EXPECT_EQ(DATA_CHECKED_AT_DATE.current, "");  // cleared without saving: the data check runs now
    EXPECT_NE(params().find("Nov 21, 2026"), std::string::npos);
    EXPECT_NE(params().find("name=\"PROGRAM_VERSION\" value=\"9.3.0\""), std::string::npos);
    EXPECT_FALSE(fs::exists(kAccountKeyFile));  // an update leaves the key file alone
}

TEST_F(FoldersTest, SimVersionBySubstringThenParameter) {
    SIM_INSTALL_PATH.current = "D:\\Sims\\v5test\\P3D v6";
    EXPECT_EQ(gf_simVersion(), "5");
    SIM_INSTALL_PATH.current = "C:\\Lockheed Martin\\Prepar3D V6";
    EXPECT_EQ(gf_simVersion(), "6");
    SIM_INSTALL_PATH.current = "C:\\Prepar3D";
    P3D_VERSION.current = 6;
    EXPECT_EQ(gf_simVersion(), "6");
    P3D_VERSION.current = 4;  // only reachable by a bug: the parameter's minimum is 5
    EXPECT_EQ(gf_userErrorOf(gf_simVersion).second,
              "77: P3D install path does not contain v5 or v6? Use hidden parameter P3D_VERSION, set it at 5 or 6");
}

// The machine's registry: the SetupPath of each installed Prepar3D, by its major version.
namespace {
const std::map<int, std::string>* g_installed = nullptr;
}  // namespace

TEST_F(FoldersTest, TheSimulatorIsDetectedInTheRegistry) {
    const struct {
        std::map<int, std::string> installed;
        bool scanFolder;  // the user scans by folders: no install path needed yet
        int code;         // 0, or the user error thrown
        const char* path;
        const char* logged;
    } cases[] = {
        {{{5, "C:\\Prepar3D v5\\"}}, false, 0, "C:\\Prepar3D v5\\", "P3Dv5 detected\n"},
        {{{4, "C:\\P3Dv4"}, {6, "C:\\P3Dv6"}}, false, 0, "C:\\P3Dv6", "P3Dv4 detected\n"},  // 4 named, 6 counts
        {{{5, "a"}, {6, "b"}}, false, 153, "", ""},
        {{{5, ""}}, false, 151, "", "P3Dv5 detected\n"},
        {{{4, "C:\\P3Dv4"}}, false, 151, "", "P3D not detected?\n"},
        {{{4, "C:\\P3Dv4"}}, true, 0, "", ""},
        {{}, false, 151, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        SIM_INSTALL_PATH.current = "left over";
        afolder[2].current = c.scanFolder ? "D:\\Addon Scenery" : "";
        g_installed = &c.installed;
        gf_setRegistryOverride([](const std::string& key, const std::string& value) -> std::optional<std::string> {
            for (const auto& [version, path] : *g_installed)
                if (value == "SetupPath" && key == "SOFTWARE\\Lockheed Martin\\Prepar3D v" + std::to_string(version))
                    return path;
            return std::nullopt;
        });
        const int code = gf_userErrorOf(lf_detectSim).first;
        EXPECT_EQ(code, c.code);
        if (code == 0 && !c.scanFolder) {
            EXPECT_EQ(SIM_INSTALL_PATH.current, c.path);
            EXPECT_NE(readFile(gf_parametersPath()).find(c.path), std::string::npos) << "saved";
        }
        if (code == 151) {
            EXPECT_EQ(SIM_INSTALL_PATH.current, "");
        }
        EXPECT_TRUE(logHas(c.logged));
    }
    gf_setRegistryOverride(nullptr);  // Linux has no registry
    EXPECT_FALSE(gf_readRegistryString("SOFTWARE\\Lockheed Martin\\Prepar3D v5", "SetupPath").has_value());
}
