// The folders an automatic scan takes from the simulator's add-on configuration.
#include <gmock/gmock.h>

#include "frame/core/params.h"
#include "liveries/addons.h"
#include "support/fixture.h"

namespace fs = std::filesystem;
using ::testing::ElementsAre;

namespace {

class AddOnsTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        SIM_INSTALL_PATH.current = (root_ / "Prepar3D v5").string();
    }
    // A path below the test's folder, in the system's form, as the reader gives it.
    std::string at(const std::string& rel) const { return (root_ / rel).make_preferred().string(); }
    // An add-on.xml naming one component of each category.
    void addOnXml(const std::string& folder, const std::string& simObjectsPath) {
        writeFile(folder + "/add-on.xml",
                  "<?xml version=\"1.0\"?>\n<SimBase.Document Type=\"AddOnXml\" version=\"4,5\">\n"
                  "  <AddOn.Component>\n    <Category>Scenery</Category>\n    <Path>scenery</Path>\n"
                  "  </AddOn.Component>\n  <AddOn.Component>\n    <Name>Traffic</Name>\n"
                  "    <Category>SimObjects</Category>\n    <Path>" +
                      simObjectsPath + "</Path>\n  </AddOn.Component>\n</SimBase.Document>\n");
    }
};

}  // namespace

TEST_F(AddOnsTest, ActivePackagesOfBothFilesAndOfTheDiscoveryFolder) {
    addOnXml("pkg/A", "SimObjects\\Airplanes");  // relative: below the package
    addOnXml("pkg/Off", "Airplanes");
    addOnXml("pkg/Last", at("elsewhere/Aircraft"));
    addOnXml("pkg/Lights", "Lights Reborn\\SimObjects");
    addOnXml("documents/Prepar3D v5 Add-ons/Found", "Aircraft");
    addOnXml("documents/Prepar3D v5 Add-ons/Disabled", "Aircraft");
    // A package path holding "Package" is no head; REQUIRED lines are not looked at.
    writeFile("appdata/Lockheed Martin/Prepar3D v5/add-ons.cfg",
              "[Package.0]\r\nPATH=" + at("pkg/A") +
                  "\r\nACTIVE=true\r\nREQUIRED=false\r\n\r\n[Package.1]\r\nPATH=" + at("pkg/Off") +
                  "\r\nACTIVE=false\r\n[Package.2]\r\nPATH=" + at("documents/Prepar3D v5 Add-ons/Disabled") +
                  "\r\nACTIVE=false\r\n[Package.3]\r\nPATH=" + at("pkg/Lights") + "\r\nACTIVE=true\r\n");
    writeFile("programdata/Lockheed Martin/Prepar3D v5/add-ons.cfg",
              "[Package.0]\nPATH=" + at("pkg/Last") + "\nACTIVE=true\n");
    std::vector<std::string> folders;
    lf_readAddOnsCfg(folders);
    EXPECT_THAT(folders, ElementsAre(at("pkg/A/SimObjects/Airplanes"), at("elsewhere/Aircraft"),
                                     at("documents/Prepar3D v5 Add-ons/Found/Aircraft")));
    EXPECT_TRUE(logHas("3 AI add-on packages found"));
}

TEST_F(AddOnsTest, AnAddOnXmlThatIsNoXmlIsReadLineByLine) {
    writeFile("pkg/Broken/add-on.xml", "<AddOn.Component>\n<Category>SimObjects</Category>\n<Path>" + at("one") +
                                           "</Path>\n<Category>SimObjects</Category>\n<Name>x</Name>\n<Path>" +
                                           at("two") + "</Path>\n<oops");
    std::vector<std::string> folders;
    lf_exploreAddOn(at("pkg/Broken"), folders);
    // Only a path on the line right behind its category counts there.
    EXPECT_THAT(folders, ElementsAre(at("one")));
    lf_exploreAddOn(at("pkg/Missing"), folders);
    EXPECT_TRUE(logHas("add-on.xml not found!"));
}

TEST_F(AddOnsTest, SimObjectsCfgGivesItsActiveNonStockFolders) {
    writeFile("programdata/Lockheed Martin/Prepar3D v5/simobjects.cfg",
              "[Main]\nTitle=x\n[Entry.0]\nTitle=Airplanes\nPath=SimObjects\\Airplanes\nActive=True\nRequired=True\n"
              "[Entry.1]\nPath=SimObjects\\MyFleet\nActive=True\n[Entry.2]\nPath=" +
                  at("fleet") + "\nActive=true\n[Entry.3]\nPath=" + at("off") + "\nActive=False\n");
    std::vector<std::string> folders;
    lf_readSimObjectsCfg(folders);
    EXPECT_THAT(folders, ElementsAre(at("Prepar3D v5/SimObjects/MyFleet"), at("fleet")));
    // Without the file an automatic scan goes on with what it has.
    fs::remove(root_ / "programdata/Lockheed Martin/Prepar3D v5/simobjects.cfg");
    lf_readSimObjectsCfg(folders);
    EXPECT_EQ(folders.size(), 2u);
    EXPECT_TRUE(logHas("simobjects.cfg not found!"));
}
