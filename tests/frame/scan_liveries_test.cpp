// The start-up step that scans or reads the liveries: its texts, error 48, and the request of a scan
// cleared only by a scan that ran to its end.
#include <gmock/gmock.h>

#include "frame/core/errors.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/links.h"
#include "liveries/scan_support.h"
#include "support/throws.h"

using ::testing::HasSubstr;

namespace {

class ScanLiveriesStepTest : public ScanTest {
protected:
    void SetUp() override {
        ScanTest::SetUp();
        gf_makeFolders();
        const std::string folder = (root_ / "sim" / "A").string();
        std::filesystem::create_directories(folder + "/model");
        std::filesystem::create_directories(folder + "/texture");
        writeFile(folder + "/X.air", "air");
        writeFile(folder + "/aircraft.cfg",
                  "[General]\natc_model=B738\n[fltsim.0]\ntitle=One\nsim=X\natc_parking_codes=AAL\n");
        LIG_AUTOMATIC.current = false;
        SCAN_LIVERIES.current = true;
        lfolder[3].current = (root_ / "sim").string();
    }
};

}  // namespace

TEST_F(ScanLiveriesStepTest, AManualScanWithoutFoldersIsError48) {
    lfolder[3].current.clear();
    const auto [code, text] = gf_userErrorOf([] { links::scanLiveries(true); });
    EXPECT_EQ(code, 48);
    EXPECT_THAT(text, HasSubstr("Set lfolder parameter(-s) to your liveries first, see Manual 5.1"));
    EXPECT_TRUE(SCAN_LIVERIES.current);
}

TEST_F(ScanLiveriesStepTest, AScanToItsEndIsNotAskedForAgain) {
    LIG_PRIORITIZE.current = true;
    links::scanLiveries(true);
    EXPECT_TRUE(logHas("Scanning prioritized for liveries ..."));
    EXPECT_TRUE(logHas("++++++++++++++++++++++++ liveries scan manual starts ++++"));
    EXPECT_TRUE(logHas("1 liverie found in " + (root_ / "sim").string()));
    EXPECT_TRUE(logHas("-------------------------- liveries scan ends   ----"));
    EXPECT_FALSE(SCAN_LIVERIES.current);
    EXPECT_THAT(readFile(gf_parametersPath()), HasSubstr("name=\"SCAN_LIVERIES\" value=\"false\""));
    EXPECT_EQ(liveries.liveryCount, 1);
    // The next start reads what the scan saved.
    links::scanLiveries(false);
    EXPECT_TRUE(logHas("No scan done, 1 liveries read from "));
}

TEST_F(ScanLiveriesStepTest, AStoppedScanIsAskedForAgain) {
    run.userClosed = true;
    links::scanLiveries(true);
    run.userClosed = false;
    EXPECT_TRUE(SCAN_LIVERIES.current);
    EXPECT_FALSE(std::filesystem::exists(folders::liveriesScanned));
}
