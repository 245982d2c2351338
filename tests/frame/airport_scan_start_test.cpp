// The airport scan at the start of a run: the folders of a manual scan, the errors that stop the run,
// and the request switched off behind a scan that found an add-on airport.
#include <fstream>
#include <sstream>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/params.h"
#include "frame/links.h"
#include "support/fixture.h"
#include "support/throws.h"

namespace fs = std::filesystem;

namespace {

class AirportScanStartTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_makeFolders();
        runPaths.stockAirports = root_ / "P3D" / "Scenery";
        SCAN_AIRPORTS.current = true;
    }
};

TEST_F(AirportScanStartTest, ManualFoldersAreCheckedBeforeAnythingIsTouched) {
    AFG_AUTOMATIC.current = false;
    writeFile("airports/my_ORBX/OLD.xml", "from the last scan");
    EXPECT_EQ(gf_userErrorOf(links::scanAirports).first, 49);
    afolder[2].current = "D:\\Addons";
    afolder[3].current = (runPaths.stockAirports / "0601").string();
    const auto [code, text] = gf_userErrorOf(links::scanAirports);
    EXPECT_EQ(code, 42);
    EXPECT_NE(text.find("parameter afolder3 points to stock airports instead of add-on airports!"), std::string::npos);
    EXPECT_TRUE(fs::exists("airports/my_ORBX/OLD.xml"));
    EXPECT_TRUE(SCAN_AIRPORTS.current);
}

TEST_F(AirportScanStartTest, AutomaticScanEmptiesOldResultsAndSwitchesItselfOff) {
    AFG_AUTOMATIC.current = true;
    addonScan.simDataOverride = root_ / "programdata";
    writeFile("airports/my_ORBX/OLD.xml", "from the last scan");
    writeFile("programdata/scenery.cfg", "[Area.001]\nLocal=" + (root_ / "ORBX" / "LEAR").string() + "\nActive=TRUE\n");
    writeFile("ORBX/LEAR/scenery/LEAR.bgl", readFile(gf_sourceDir() / "data/bgl/LEAR_ADEX_ARV187.bgl"));
    writeFile("airports/archive/ORBX/LEAR.xml",
              "<parameters><parameter name=\"num_parkpos\" value=\"30\"/></parameters>");

    links::scanAirports();
    EXPECT_FALSE(fs::exists("airports/my_ORBX/OLD.xml"));
    EXPECT_TRUE(fs::exists("airports/my_ORBX/LEAR.txt"));
    EXPECT_FALSE(SCAN_AIRPORTS.current);
    EXPECT_TRUE(logHas("++++++++++++++++++++++++ airports scan automatic starts"));
    EXPECT_TRUE(logHas("Airports scan successful"));
    EXPECT_TRUE(logHas("-------------------------- airports scan ends"));

    // Nothing found: the request stays for the next start.
    SCAN_AIRPORTS.current = true;
    fs::remove_all("ORBX");
    links::scanAirports();
    EXPECT_TRUE(SCAN_AIRPORTS.current);
    EXPECT_TRUE(logHas("Warning: Scan has not found any add-on airports"));
}

}  // namespace
