// The scan on the real aircraft.cfg files of data/aircraftcfg, laid out with the folders their packages
// had. The expected figures were counted by hand in each file.
#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>

#include "liveries/liveries_file.h"
#include "liveries/scan.h"
#include "scan_support.h"
#include "tools/mkscantree/layout.h"

namespace fs = std::filesystem;
using ::testing::HasSubstr;

namespace {

struct RealCase {
    const char* sample;  // index into scantree::gf_samples() by its folder's last name
    size_t liveries;
    const char* firstTitle;
    const char* firstAirline;
    const char* firstModel;
    const char* firstRegcode;
    size_t withRegcode, cargo;
    size_t invalidAirlines, invalidModels, incomplete;
    const char* aReportLine;  // a part of one report line, "" for none
};

const RealCase kRealCases[] = {
    // 10 BA A320neo, no atc_id; atc_model A320 for the A20N model.
    {"A20N", 10, "BAvMM_A20N_BAW_G-TTNA", "BAW", "A320", "", 0, 0, 0, 0, 0, ""},
    // "atc_id=" without a value counts as absent; texture sub-paths "Landor\G-BIKD" are folders.
    {"B752", 37, "BAvMM_B752_BAW_LA_BIKD", "BAW", "B752", "", 0, 0, 0, 0, 0, ""},
    {"B461", 0, "", "", "", "", 0, 0, 0, 1, 0, "BA46             in "},
    // Its texture folders exist as "texture.BAW\STBA" below a "Texture."/"texture." spelling.
    {"B77W", 14, "BAvMM_B77W_BAW_STBA", "BAW", "B77W", "", 0, 0, 0, 0, 0, ""},
    {"DC10", 8, "BAvMM_DC10_BAW_BEBL", "BAW", "DC10", "G-BEBL", 8, 0, 0, 0, 0, ""},
    {"A320_LRA", 1, "FAIB_Airbus_A320_LionRock", "LRA", "A320", "VR-LRA", 1, 0, 0, 0, 0, ""},
    // 133 sections: ZZZZ and UKV are no airlines, one texture folder is missing from the package.
    {"FLAi_A321", 130, "FLAi_FAIB_A321IAE_AAL-AmericanAW", "AAL", "A321", "", 1, 0, 2, 0, 1,
     "texture.LRA-Lion Rock_SL [fltsim.132] does not exist"},
    // 206 sections: UKV, QMC and JHI are no airlines; four freighters (DHL, Amazon, West Atlantic, Southern).
    {"FLAi_B738", 203, "FLAi_B738_ZZZZ", "VIP", "B738", "", 2, 4, 3, 0, 0, "QMC          in "},
    {"woajaja__P3D-PMDG-777-300ER", 0, "", "", "", "", 0, 0, 0, 1, 0, "777-300ER        in "},
    // A repaint-only package: no model folder, so none of its 7 sections is complete.
    {"woajaja__FSX-CARENADO-GC208_SUR-AIR_LV-MEC", 0, "", "", "", "", 0, 0, 0, 0, 7,
     "model. [fltsim.6] does not exist"},
    {"TQL_NBAI_Eurofighter_EF2000T_Spain_Ala_14", 0, "", "", "", "", 0, 0, 0, 1, 0, "Typhoon          in "},
    {"dcheva__bonanza_A36", 0, "", "", "", "", 0, 0, 0, 1, 0, "A36              in "},
};

class RealScanTest : public ScanTest, public ::testing::WithParamInterface<RealCase> {
protected:
    static void SetUpTestSuite() {
        tree_ = fs::temp_directory_path() / "zark-tests" / std::to_string(::getpid()) / "real-aircraft";
        fs::remove_all(tree_);
        scantree::gf_layoutSamples(gf_sourceDir() / "data" / "aircraftcfg", tree_);
    }
    static void TearDownTestSuite() { fs::remove_all(tree_); }
    static fs::path folderOf(const std::string& name) {
        for (const scantree::Sample& s : scantree::gf_samples())
            if (fs::path(s.path).parent_path().filename() == name) return tree_ / fs::path(s.path).parent_path();
        return {};
    }
    static inline fs::path tree_;
};

size_t lf_count(const std::list<LiveryData>& l, bool (*pred)(const LiveryData&)) {
    return static_cast<size_t>(std::count_if(l.begin(), l.end(), pred));
}

}  // namespace

TEST_P(RealScanTest, EachRealFileGivesTheLiveriesItHolds) {
    const RealCase& c = GetParam();
    const fs::path folder = folderOf(c.sample);
    ASSERT_FALSE(folder.empty()) << c.sample;
    lf_scanFolder(1, folder);
    const auto& list = liveries.liveryList;
    ASSERT_EQ(list.size(), c.liveries);
    if (c.liveries > 0) {
        const LiveryData& first = list.front();
        EXPECT_EQ(first.title, c.firstTitle);
        EXPECT_EQ(first.airline, c.firstAirline);
        EXPECT_EQ(first.model, c.firstModel);
        EXPECT_EQ(first.regcode, c.firstRegcode);
        EXPECT_EQ(first.level, 1);
    }
    EXPECT_EQ(lf_count(list, [](const LiveryData& l) { return !l.regcode.empty(); }), c.withRegcode);
    EXPECT_EQ(lf_count(list, [](const LiveryData& l) { return l.cargo; }), c.cargo);
    EXPECT_EQ(scanLists.invalidAirlines.lines.size(), c.invalidAirlines);
    EXPECT_EQ(scanLists.invalidModels.lines.size(), c.invalidModels);
    EXPECT_EQ(scanLists.incompleteSections.lines.size(), c.incomplete);
    EXPECT_TRUE(scanLists.invalidCfgFiles.lines.empty());
    EXPECT_TRUE(scanLists.fixes.lines.empty());
    if (c.aReportLine[0] != '\0') {
        std::vector<std::string> all = lines(scanLists.invalidAirlines);
        for (const ScanList* l : {&scanLists.invalidModels, &scanLists.incompleteSections})
            all.insert(all.end(), l->lines.begin(), l->lines.end());
        EXPECT_THAT(all, ::testing::Contains(HasSubstr(c.aReportLine)));
    }
}

namespace {
// Named by their sample folder; gtest names take only letters, digits and underscores.
std::string lf_caseName(const ::testing::TestParamInfo<RealCase>& info) {
    std::string name = info.param.sample;
    for (char& c : name)
        if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
    return name;
}
void PrintTo(const RealCase& c, std::ostream* os) { *os << c.sample; }
}  // namespace

INSTANTIATE_TEST_SUITE_P(Samples, RealScanTest, ::testing::ValuesIn(kRealCases), lf_caseName);

// The whole way of a scan: every sample in one folder, the saved file, the reports and the tables.
TEST_F(RealScanTest, AFullScanSavesTheListAndTheReports) {
    gf_makeFolders();
    ASSERT_TRUE(gf_getLiveries(true, false, false, {gf_pathText(tree_)}));
    EXPECT_EQ(liveries.liveryCount, 403);
    EXPECT_THAT(readFile("output/LiveriesScanned.xml"), HasSubstr("title=\"FAIB_Airbus_A320_LionRock\""));
    const auto lineCount = [&](const char* file) {
        const std::string text = readFile(file);
        return std::count(text.begin(), text.end(), '\n');
    };
    EXPECT_EQ(lineCount("output/errors/InvalidAirlineCodes.txt"), 5);
    EXPECT_EQ(lineCount("output/errors/InvalidAircraftCodes.txt"), 4);
    EXPECT_EQ(lineCount("output/errors/IncompleFltsimSections.txt"), 8);
    EXPECT_TRUE(logHas("403 liveries found in "));
    // The tables of the run stand: the DC-10s keep their registrations.
    EXPECT_EQ(liveries.regcodeLiveries.at("G-BEBL"), "BAvMM_DC10_BAW_BEBL");
}
