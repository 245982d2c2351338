// The update check against the update server double on loopback: which items are fetched for which
// stored versions, what a broken transfer or a hostile archive leaves behind, and the "Check version" text.
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "frame/core/download.h"
#include "frame/core/errors.h"
#include "frame/core/message.h"
#include "frame/core/params.h"
#include "frame/links.h"
#include "frame/update.h"
#include "support/fixture.h"
#include "support/throws.h"
#include "tools/updatedouble/double.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kOldDbase = "<dbase>old</dbase>\n";
constexpr const char* kOldRegcodes = "<regcodes>old</regcodes>\n";

class UpdateTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        // The server's tree, from a small install folder of its own: version 1.0.0 of the database and the
        // codes, archive 22.0.1 with one stock and one third party airport, the program's own version.
        const fs::path source = root_ / "server-source";
        writeFile(source / "input/dbase.xml", "<dbase>new</dbase>\n");
        writeFile(source / "input/AIG-regcodes.xml", "<regcodes>new</regcodes>\n");
        writeFile(source / "airports/archive/stock/EHAM.xml", "<airport icao=\"EHAM\"/>\n");
        writeFile(source / "airports/archive/thirdparty/x/LOWI.xml", "<airport icao=\"LOWI\"/>\n");
        udbl::TreeVersions versions;
        versions.program = gf_versionText(gf_programVersion());
        udbl::gf_makeDownloadsTree(source, root_ / "server", versions);
        server_ = std::make_unique<udbl::UpdateDouble>(root_ / "server");
        server_->start();
        freshUser();
    }
    void TearDown() override {
        server_->stop();
        ZarkTest::TearDown();
    }
    // What the user has: yesterday's check, old files, the archive folders, stored versions equal to the
    // server's; the server without faults.
    void freshUser() {
        gf_resetDownload();
        gf_setUpdateBaseUrl(server_->baseUrl());
        server_->clearFaults();
        fs::remove_all(folders::archive);
        writeFile(folders::dbaseXml, kOldDbase);
        writeFile(folders::aigRegcodesXml, kOldRegcodes);
        for (const char* f : {"stock", "ORBX", "thirdparty"}) fs::create_directories(folders::archive / f);
        DBASE_VERSION.current = AIG_VERSION.current = "1.0.0";
        ARCHIVE_VERSION.current = "22.0.1";
        DATA_CHECKED_AT_DATE.current.clear();
        SCAN_AIRPORTS.current = false;
        links::databaseRead = true;  // the database read is not under test here
        logMark_ = logText().size();
    }
    bool loggedSinceFresh(const std::string& needle) const {
        return logText().find(needle, logMark_) != std::string::npos;
    }
    bool archiveUpdated() const { return fs::exists(folders::archive / "stock/EHAM.xml"); }
    std::unique_ptr<udbl::UpdateDouble> server_;
    size_t logMark_ = 0;
};

TEST_F(UpdateTest, EachItemIsFetchedOnlyWhenTheServerHasANewerVersion) {
    struct Row {
        std::string item;
        const char* stored;
        const char* after;  // stored version after the check
    };
    const Row rows[] = {{"dbase", "0.9.9", "1.0.0"},     {"dbase", "1.0.0", "1.0.0"},
                        {"dbase", "1.0.1", "1.0.1"},     {"aig", "0.9.9", "1.0.0"},
                        {"aig", "1.0.0", "1.0.0"},       {"aig", "2.0.0", "2.0.0"},
                        {"archive", "22.0.0", "22.0.1"}, {"archive", "22.0.1", "22.0.1"},
                        {"archive", "23.0.0", "23.0.0"}, {"archive", "0.5.0", "22.0.1"}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.item + " stored " + row.stored);
        freshUser();
        ParString& par = row.item == "dbase" ? DBASE_VERSION : row.item == "aig" ? AIG_VERSION : ARCHIVE_VERSION;
        par.current = row.stored;
        gf_dailyDataCheck();
        const bool fetched = std::string(row.stored) != row.after;
        EXPECT_EQ(par.current, row.after);
        EXPECT_EQ(readFile(folders::dbaseXml) != kOldDbase, row.item == "dbase" && fetched);
        EXPECT_EQ(readFile(folders::aigRegcodesXml) != kOldRegcodes, row.item == "aig" && fetched);
        EXPECT_EQ(archiveUpdated(), row.item == "archive" && fetched);
        EXPECT_EQ(SCAN_AIRPORTS.current.load(), archiveUpdated());
        EXPECT_EQ(fs::exists("docs/P3D_archive.csv"), archiveUpdated());
        // Nothing is left behind in the install folder, and the check is done for today.
        for (const char* f : {"dbase.xml", "AIG-regcodes.xml", "archive.zip", "version.json"})
            EXPECT_FALSE(fs::exists(f)) << f;
        EXPECT_FALSE(DATA_CHECKED_AT_DATE.current.empty());
        fs::remove("docs/P3D_archive.csv");
    }
}

TEST_F(UpdateTest, ABrokenTransferOrAnswerLeavesTheOldFileAndVersion) {
    struct Row {
        const char* fault;
        const char* logged;
    };
    const char* noVersion = "No dbase version info found at the ZARK server?";
    const Row rows[] = {
        {"dbase/dbase.xml:truncate", "download error"},
        {"dbase/dbase.xml:404", "download error"},
        {"dbase/dbase.xml:500", "download error"},
        {"dbase/version.json:version=dbase 1.1.0", noVersion},
        {"dbase/version.json:version={\"version\": \"1.1.0\"}", noVersion},
        {"dbase/version.json:version=", noVersion},
        {"dbase/version.json:404", noVersion},
        {"dbase/version.json:stall=3000", noVersion},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fault);
        freshUser();
        gf_setUpdateTimeouts(1, 1);
        DBASE_VERSION.current = "0.9.0";
        server_->addFault(udbl::gf_parseFault(row.fault));
        gf_dailyDataCheck();
        EXPECT_EQ(readFile(folders::dbaseXml), kOldDbase);
        EXPECT_EQ(DBASE_VERSION.current, "0.9.0");
        EXPECT_FALSE(fs::exists("dbase.xml"));
        EXPECT_TRUE(loggedSinceFresh(row.logged));
    }
}

TEST_F(UpdateTest, ACutOffArchiveChangesNothing) {
    ARCHIVE_VERSION.current = "21.0.0";
    server_->addFault(udbl::gf_parseFault("archive/p3d/archive.zip:truncate"));
    gf_dailyDataCheck();
    EXPECT_FALSE(archiveUpdated());
    EXPECT_EQ(ARCHIVE_VERSION.current, "21.0.0");
    EXPECT_FALSE(SCAN_AIRPORTS.current.load());
    EXPECT_FALSE(fs::exists(folders::archiveZip));
}

TEST_F(UpdateTest, AnArchiveEntryClimbingOutIsRefusedAndTheRestExtracted) {
    ARCHIVE_VERSION.current = "21.0.0";
    udbl::gf_writeZip(root_ / "server/downloads/archive/p3d/archive.zip", {{"archive/stock/EHAM.xml", "<a/>"},
                                                                           {"../evil.xml", "<x/>"},
                                                                           {"archive/../../../evil.xml", "<x/>"},
                                                                           {"/tmp/evil.xml", "<x/>"}});
    gf_dailyDataCheck();
    EXPECT_TRUE(archiveUpdated());
    EXPECT_FALSE(fs::exists("evil.xml"));
    EXPECT_FALSE(fs::exists(root_.parent_path() / "evil.xml"));
    EXPECT_TRUE(logHas("points outside"));
    EXPECT_TRUE(logHas("archive.zip extracted 1 files"));
}

TEST_F(UpdateTest, AZipBombIsRefused) {
    ARCHIVE_VERSION.current = "21.0.0";
    download.archiveLimits = ZipLimits{1 << 20, 2 << 20};
    // Each entry packs to some kB and stays below the entry limit; together they pass the total.
    const std::string big((1 << 20) - 1, '\0');
    udbl::gf_writeZip(root_ / "server/downloads/archive/p3d/archive.zip",
                      {{"archive/stock/A.xml", big}, {"archive/stock/B.xml", big}, {"archive/stock/C.xml", big}});
    gf_dailyDataCheck();
    EXPECT_EQ(ARCHIVE_VERSION.current, "21.0.0");
    EXPECT_FALSE(SCAN_AIRPORTS.current.load());
    EXPECT_TRUE(logHas("inflates beyond the limit"));
    // One entry alone past the limit.
    udbl::gf_writeZip(root_ / "server/downloads/archive/p3d/archive.zip", {{"archive/stock/D.xml", big + big}});
    DATA_CHECKED_AT_DATE.current.clear();
    gf_dailyDataCheck();
    EXPECT_FALSE(fs::exists(folders::archive / "stock/D.xml"));
    EXPECT_EQ(ARCHIVE_VERSION.current, "21.0.0");
}

TEST_F(UpdateTest, NoNetworkLogsEachStepAndTheRunGoesOn) {
    gf_setUpdateBaseUrl("http://127.0.0.1:9/downloads/");
    DBASE_VERSION.current = "0.1.0";
    gf_dailyDataCheck();
    for (const char* line : {"No dbase version info found at the ZARK server?", "Program Version file not found?",
                             "No AIG regcodes version info found at the ZARK server?",
                             "No archive version info found at the ZARK server?"})
        EXPECT_TRUE(logHas(line)) << line;
    EXPECT_EQ(readFile(folders::dbaseXml), kOldDbase);
    EXPECT_FALSE(DATA_CHECKED_AT_DATE.current.empty());  // tomorrow's start checks again
}

TEST_F(UpdateTest, TheSameDayFetchesOnlyWhatIsMissing) {
    gf_dailyDataCheck();
    server_->addFault(udbl::gf_parseFault("dbase/version.json:version=9.0.0"));
    const size_t first = server_->requests().size();
    gf_dailyDataCheck();
    EXPECT_EQ(server_->requests().size(), first);
    fs::remove_all(folders::archive / "ORBX");
    fs::remove(folders::aigRegcodesXml);
    gf_dailyDataCheck();
    EXPECT_TRUE(archiveUpdated());
    EXPECT_EQ(readFile(folders::aigRegcodesXml), "<regcodes>new</regcodes>\n");
    EXPECT_EQ(readFile(folders::dbaseXml), kOldDbase);  // the database waits for tomorrow
}

TEST_F(UpdateTest, ANewProgramArrivesAsInstallerAndStopsTheRun) {
    server_->addFault(udbl::gf_parseFault("release/version_P3D.json:version=9.4.0"));
    udbl::gf_writeZip(root_ / "server/downloads/release/setup_ZARK_P3D_v9.4.0.zip",
                      {{"ZARK_P3D_setup.exe", "MZ installer"}});
    ARCHIVE_VERSION.current = "21.0.0";
    const auto [code, text] = gf_userErrorOf(gf_dailyDataCheck);
    EXPECT_EQ(code, 99);
    EXPECT_NE(text.find("New version 9.4.0 available"), std::string::npos);
    EXPECT_NE(text.find("install_new_version.exe"), std::string::npos);
    EXPECT_EQ(readFile(folders::installer), "MZ installer");
    EXPECT_FALSE(fs::exists("setup_ZARK_P3D_v9.4.0.zip"));
    EXPECT_FALSE(archiveUpdated());  // the steps behind the program wait for the next start
    EXPECT_TRUE(DATA_CHECKED_AT_DATE.current.empty());
}

TEST_F(UpdateTest, CheckVersionNamesWhatIsNewerAndLetsTheNextStartFetchIt) {
    DATA_CHECKED_AT_DATE.current = "checked";
    gf_checkVersionPressed();
    EXPECT_EQ(gf_messageLine().message, "ZARK_P3D is up to date");
    EXPECT_EQ(DATA_CHECKED_AT_DATE.current, "checked");
    DBASE_VERSION.current = "0.9.0";
    EXPECT_EQ(gf_newVersionsText(), "New version for: dbase (1.0.0)");
    ARCHIVE_VERSION.current = "21.3.0";
    gf_checkVersionPressed();
    EXPECT_EQ(gf_messageLine().message,
              "New versions for: dbase (1.0.0), archive (22.0.1) ==> exit ZARK_P3D and restart ...");
    EXPECT_TRUE(DATA_CHECKED_AT_DATE.current.empty());
}

TEST(UpdateText, TheDateOfTheCheckIsWrittenAsAsctimeShowsIt) {
    EXPECT_EQ(gf_dateText(1705276800), "JAN152024");  // 2024-01-15
    EXPECT_EQ(gf_dateText(1764892800), "DEC 52025");  // 2025-12-05: asctime's blank before the day
}

}  // namespace
