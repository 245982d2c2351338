// The add-on airport scan over folder trees of real BGL files: links to the archive, generated files,
// the report, damaged files and folders, the simulator's scenery lists, and a close in the middle.
#include <fstream>
#include <sstream>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "liveries/dbase.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

class AddonScanTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        gf_makeFolders();  // as the start makes them
        runPaths.hardwareThreads = 3;
        dbase.publishers = {{"Aerosoft", "AEROSOFT"}};
    }
    void TearDown() override {
        dbase.publishers.clear();
        ZarkTest::TearDown();
    }
    // A real BGL of data/bgl, copied to `to` (cut to `bytes` when given).
    void bgl(const char* file, const fs::path& to, size_t bytes = 0) const {
        std::string content = readFile(gf_sourceDir() / "data/bgl" / file);
        if (bytes) content.resize(bytes);
        writeFile(to, content);
    }
    void archived(const fs::path& p, int stands, const char* quality = nullptr) const {
        std::string xml = "<parameters><parameter name=\"num_parkpos\" value=\"" + std::to_string(stands) + "\"/>";
        if (quality) xml += std::string("<parameter name=\"Qf_real\" value=\"") + quality + "\"/>";
        writeFile(p, xml + "</parameters>");
    }
    std::string report() const { return readFile(kAirportsScanLog); }
};

// One scan over three publishers and two damaged places.
TEST_F(AddonScanTest, LinksGeneratesAndReportsPerAirport) {
    bgl("LEAB_ADEP5_ARV187.bgl", "addons/Aerosoft/LEAB/scenery/LEAB_ADEP5_ARV187.bgl");
    archived("airports/archive/thirdparty/Aerosoft/LEAB.xml", 80);
    bgl("LEAR_ADEX_ARV187.bgl", "addons/ORBX/LEAR/scenery/LEAR_ADEX_ARV187.bgl");
    archived("airports/archive/ORBX/LEAR.xml", 20);
    archived("airports/archive/stock/LEAR.xml", 20, "40");  // has a history: to be learned offline
    bgl("KTST_TestAirport_v5.BGL", "addons/Test/KTST_TestAirport_v5.BGL");
    bgl("LEAB_ADEP5_ARV187.bgl", "addons/Test/statics/cut.bgl", 3000);  // never opened
    bgl("LEAB_ADEP5_ARV187.bgl", "broken/cut.bgl", 3000);
    writeFile("broken/notes.txt", "not a scenery file");

    EXPECT_TRUE(gf_scanAddonAirports(false, {"addons", "broken", "nowhere", "broken/notes.txt"}));

    // Aerosoft's LEAB: linked, the archive knows more stands, nothing generated.
    EXPECT_EQ(readFile("airports/my_thirdparty/LEAB.txt"), "airports/archive/thirdparty/Aerosoft/LEAB.xml\n");
    EXPECT_FALSE(fs::exists("airports/my_thirdparty/LEAB.xml"));
    // ORBX's LEAR: 21 stands over the archive's 20: pointer file and a generated file.
    EXPECT_EQ(readFile("airports/my_ORBX/LEAR.txt"), "airports/archive/ORBX/LEAR.xml\n");
    EXPECT_EQ(gf_apfStandCount("airports/my_ORBX/LEAR.xml"), 21);
    EXPECT_EQ(gf_apfPublisher("airports/my_ORBX/LEAR.xml"), "ORBX");
    EXPECT_EQ(gf_apfPath("LEAR"), "airports/archive/ORBX/LEAR.xml");
    // Unknown publisher: generated with its BGL path.
    EXPECT_EQ(gf_apfStandCount("airports/my_thirdparty/KTST.xml"), 3);
    EXPECT_NE(readFile("airports/my_thirdparty/KTST.xml").find("KTST_TestAirport_v5.BGL"), std::string::npos);

    const std::string r = report();
    for (const char* line : {"Scanning for addon airports in addons\n", "thirdparty LEAB linked to",
                             "ORBX airport LEAR linked to", "===> LEAR has 21 parkpos while archived one has 20\n",
                             "Generated LEAR.xml: 21 positions, of which 1 helipad\n",
                             "Generated KTST.xml: 3 positions, of which 1 helipad\n",
                             "===> !? Exception in lf_toParkingPositions: broken/cut.bgl",
                             "===>  airports search in broken aborted, futs outer error:"})
        EXPECT_NE(r.find(line), std::string::npos) << line;
    EXPECT_EQ(r.find("statics"), std::string::npos);
    EXPECT_TRUE(logHas("nowhere does not exist, skipped!"));
    EXPECT_TRUE(logHas("broken/notes.txt is not a folder name, skipped!"));
    EXPECT_TRUE(logHas("output/info/AirportsScanLog.txt written"));

    // Offline learning: only the generated LEAR has a history in the stock archive.
    EXPECT_TRUE(fs::exists(folders::toBeLearnedOffline / "LEAR.xml"));
    EXPECT_FALSE(fs::exists(folders::toBeLearnedOffline / "KTST.xml"));
    EXPECT_EQ(panel.tbloCount.load(), 1);
    EXPECT_TRUE(panel.addonScanComplete.load());
}

TEST_F(AddonScanTest, NothingLinkedAndAClosedProgramStartsNoWorker) {
    bgl("KTST_TestAirport_v6.bgl", "addons/KTST.bgl");
    writeFile(folders::toBeLearnedOffline / "OLD.xml", "left from an earlier scan");
    run.userClosed = true;
    EXPECT_FALSE(gf_scanAddonAirports(false, {"addons"}));
    EXPECT_EQ(addonScan.filesRead.load(), 0);
    EXPECT_TRUE(fs::exists(kAirportsScanLog));  // what the scan has is written all the same
    EXPECT_FALSE(fs::exists(folders::toBeLearnedOffline / "OLD.xml"));
    run.userClosed = false;
    EXPECT_FALSE(gf_scanAddonAirports(false, {"addons"}));  // generated, but linked to nothing
    EXPECT_TRUE(fs::exists("airports/my_thirdparty/KTST.xml"));
    EXPECT_TRUE(logHas("All your third party airports are done, no off line learning needed."));
}

TEST_F(AddonScanTest, SceneryListsOfTheSimulator) {
    SIM_INSTALL_PATH.current = (root_ / "P3D").string();
    runPaths.stockAirports = root_ / "P3D" / "Scenery";
    addonScan.simDataOverride = root_ / "programdata";
    const std::string stock = runPaths.stockAirports.string();
    writeFile("programdata/scenery.cfg",
              "[General]\nLocal=C:\\before\\any\\area\n"
              "[Area.001]\nTitle=Default Terrain\nLocal=Scenery\\World\nActive=TRUE\n"
              "[Area.002]\nLocal=C:\\Addons\\Off\nActive=FALSE\n"
              "[Area.003]\nTitle=My airport\nLocal= Addon Scenery\\LEAB \nActive=True\n"
              "[Area.004]\nLocal=" +
                  stock +
                  "\nActive=true\n"
                  "[Area.005]\nACTIVE=true\nLOCAL=D:\\Sceneries\\ORBX\\EGLL");
    writeFile("programdata/scenery_add-ons.xml",
              "<SceneryAddons>\n  <Path>D:\\Packs\\LEAR\\scenery</Path>\n  <Layer>1</Layer>\n</SceneryAddons>\n");
    // Packages: an active one with a scenery and an aircraft component, one switched off.
    const std::string pack = (root_ / "packs" / "EDDM").string(), off = (root_ / "packs" / "Off").string();
    writeFile("programdata/add-ons.cfg", "[Package.0]\nPATH=" + pack +
                                             "\nTITLE=EDDM\nACTIVE=true\nREQUIRED=false\n\n"
                                             "[Package.1]\nPATH=" +
                                             off + "\nACTIVE=false\n");
    writeFile("packs/EDDM/add-on.xml",
              "<?xml version=\"1.0\"?><SimBase.Document Type=\"AddOnXml\" version=\"4,5\"><AddOn.Name>EDDM</AddOn.Name>"
              "<AddOn.Component><Category>Scenery</Category><Path>Scenery\\EDDM</Path></AddOn.Component>"
              "<AddOn.Component><Category>SimObjects</Category><Path>SimObjects</Path></AddOn.Component>"
              "<AddOn.Component><Category>Scenery</Category><Path>D:\\Packs\\LEAR\\scenery</Path></AddOn.Component>"
              "</SimBase.Document>");
    writeFile("packs/Off/add-on.xml",
              "<SimBase.Document><AddOn.Component><Category>Scenery</Category><Path>X</Path>"
              "</AddOn.Component></SimBase.Document>");
    std::vector<std::string> folders;
    lf_readSceneryCfg(folders);
    lf_readSceneryAddons(folders);
    lf_readAddOnPackages(folders);
    const std::vector<std::string> expected = {(fs::path(SIM_INSTALL_PATH.current) / "Addon Scenery\\LEAB").string(),
                                               "D:\\Sceneries\\ORBX\\EGLL", "D:\\Packs\\LEAR\\scenery",
                                               (fs::path(pack) / "Scenery\\EDDM").string()};
    EXPECT_EQ(folders, expected);
    EXPECT_TRUE(logHas("2 scenery add-on paths found"));
    EXPECT_TRUE(logHas("1 scenery add-on paths found"));

    fs::remove_all(root_ / "programdata");
    folders.clear();
    lf_readSceneryCfg(folders);
    EXPECT_TRUE(folders.empty());
    EXPECT_TRUE(logHas("scenery.cfg not found!"));
}

}  // namespace
