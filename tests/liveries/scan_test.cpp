// The aircraft.cfg rules one by one on small made-up files, and the bad input a scan must live with.
#include <gmock/gmock.h>
#ifdef __linux__
#include <linux/capability.h>
#include <sys/syscall.h>
#include <unistd.h>
#endif

#include <fstream>
#include <regex>

#include "frame/core/message.h"
#include "frame/core/runstate.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/liveries_file.h"
#include "liveries/scan.h"
#include "scan_support.h"

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

namespace {

// A section whose folders and flight model exist (see lf_aircraftFolder); `keys` adds or overrides.
std::string lf_section(int n, const std::string& keys, const std::string& codes = "atc_parking_codes=AAL\n") {
    return "[fltsim." + std::to_string(n) + "]\ntitle=T" + std::to_string(n) + "\nsim=X\n" + codes + keys + "\n";
}

struct RuleCase {
    const char* what;
    std::string sections;               // behind "[General]\natc_model=B738"
    std::vector<std::string> liveries;  // "airline model title regcode cargo"
    const char* reportLine;             // part of a line in any scan list; "" for none
};

std::vector<RuleCase> lf_ruleCases() {
    return {
        {"heads 0, 1, 3 lose the file",
         lf_section(0, "") + lf_section(1, "") + lf_section(3, ""),
         {},
         "contains non-consecutive [fltsim.x] numbers at .x=3"},
        {"a file must begin at 0", lf_section(1, ""), {}, "non-consecutive [fltsim.x] numbers at .x=1"},
        {"a head with a comment has no number",
         "[fltsim.0] // first\ntitle=A\n",
         {},
         "contains a [fltsim.] section without a number"},
        {"a maker code is the generic airline, without registration",
         lf_section(0, "atc_id=N123AB\n", "atc_parking_codes=BOE\n"),
         {"ZZZ B738 T0  0"},
         ""},
        {"two codes file one title twice",
         lf_section(0, "", "atc_parking_codes=AAL, DAL\n"),
         {"AAL B738 T0  0", "DAL B738 T0  0"},
         ""},
        {"X and C of a 4-letter code fall off, other letters do not",
         lf_section(0, "", "atc_parking_codes=AALX\n") + lf_section(1, "", "atc_parking_codes=AALY\n"),
         {"AAL B738 T0  0"},
         "AALY         in "},
        {"atc_id stops at a semicolon", lf_section(0, "atc_id=N123AB;old\n"), {"AAL B738 T0 N123AB 0"}, ""},
        {"two registrations give none", lf_section(0, "atc_id=N1,N2\n"), {"AAL B738 T0  0"}, ""},
        {"13 characters are no registration", lf_section(0, "atc_id=ABCDEFGHIJKLM\n"), {"AAL B738 T0  0"}, ""},
        {"a late bracket belongs to the title",
         "[fltsim.0]\nsim=X\natc_parking_codes=AAL\ntitle=Foo Airlines [new]\n",
         {"AAL B738 Foo Airlines [new]  0"},
         ""},
        {"a commented head still ends the section",
         lf_section(0, "") + "//[fltsim.1]\ntitle=B\n",
         {"AAL B738 T0  0"},
         ""},
        {"a title is taken once",
         lf_section(0, "") + "[fltsim.1]\ntitle=T0\nsim=X\natc_parking_codes=DAL\n",
         {"AAL B738 T0  0"},
         "[fltsim.1] title \"T0\" already exists"},
        {"freighters by their parking types", lf_section(0, "atc_parking_types=gate, cargo\n"), {"AAL B738 T0  1"}, ""},
        {"comments behind values",
         lf_section(0, "model= // the only one\n", "atc_parking_codes=AAL ;us\n"),
         {"AAL B738 T0  0"},
         ""},
        {"a CP1252 title becomes UTF-8",
         "[fltsim.0]\ntitle=Caf\xe9 Air\nsim=X\natc_parking_codes=AAL\n",
         {"AAL B738 Caf\xc3\xa9 Air  0"},
         ""},
        {"a UTF-8 title stays as it is (no overlong form, each character once)",
         "[fltsim.0]\ntitle=Z\xc3\xbcrich\xc2\xa0"
         "Air \xe2\x9c\x88\nsim=X\natc_parking_codes=AAL\n",
         {"AAL B738 Z\xc3\xbcrich\xc2\xa0"
          "Air \xe2\x9c\x88  0"},
         ""},
        {"no title", "[fltsim.0]\nsim=X\natc_parking_codes=AAL\n", {}, "[fltsim.0] misses title"},
        {"no parking codes", "[fltsim.0]\ntitle=A\nsim=X\n", {}, "[fltsim.0] empty atc_parking_codes="},
        {"two titles", lf_section(0, "title=Again\n"), {}, "[fltsim.0] has more than one title key"},
        {"a missing flight model",
         "[fltsim.0]\ntitle=A\nsim=Y\natc_parking_codes=AAL\n",
         {},
         "Y.air [fltsim.0] does not exist"},
    };
}

std::vector<std::string> lf_texts(const std::list<LiveryData>& list) {
    std::vector<std::string> out;
    for (const LiveryData& l : list)
        out.push_back(fmt::format("{} {} {} {} {}", l.airline, l.model, l.title, l.regcode, l.cargo ? 1 : 0));
    return out;
}

std::vector<std::string> lf_allReportLines() {
    std::vector<std::string> all;
    for (const ScanList* l : {&scanLists.invalidAirlines, &scanLists.invalidModels, &scanLists.fixes,
                              &scanLists.invalidCfgFiles, &scanLists.incompleteSections, &scanLists.noSectionFiles})
        all.insert(all.end(), l->lines.begin(), l->lines.end());
    return all;
}

class CfgRuleTest : public ScanTest {
protected:
    // An aircraft folder with "model", "texture" and X.air beside its aircraft.cfg.
    fs::path aircraftFolder(const std::string& name, const std::string& cfg) {
        const fs::path folder = root_ / "sim" / name;
        fs::create_directories(folder / "model");
        fs::create_directories(folder / "texture");
        writeFile(folder / "X.air", "air");
        writeFile(folder / "aircraft.cfg", cfg);
        return folder;
    }
};

}  // namespace

TEST_F(CfgRuleTest, EachRuleOfASection) {
    for (const RuleCase& c : lf_ruleCases()) {
        SCOPED_TRACE(c.what);
        gf_clearScanLists();
        liveries.liveryList.clear();
        lf_scanFolder(1, aircraftFolder(c.what, "[General]\natc_model=B738\n" + c.sections));
        EXPECT_EQ(lf_texts(liveries.liveryList), c.liveries);
        if (c.reportLine[0] != '\0') {
            EXPECT_THAT(lf_allReportLines(), Contains(HasSubstr(c.reportLine)));
        }
    }
}

TEST_F(CfgRuleTest, FixesOfTypesAndOwners) {
    lf_scanFolder(
        1, aircraftFolder("fixed", "[General]\natc_model=B747\n" + lf_section(0, "", "atc_parking_codes=PRIVATE\n")));
    EXPECT_THAT(lf_texts(liveries.liveryList), ElementsAre("PVT B744 T0  0"));
    EXPECT_THAT(scanLists.fixes.lines,
                ElementsAre(HasSubstr("Fix: B747 found in "), HasSubstr("Fix: PRIVATE found in ")));
    EXPECT_THAT(scanLists.fixes.lines[1], HasSubstr("changed into PVT"));
}

TEST_F(CfgRuleTest, TheMtlTreeTakesTypeAndAirlineFromNames) {
    const fs::path folder = root_ / "sim" / "IVAO_MTL" / "IVAO_B738w";
    fs::create_directories(folder / "model");
    fs::create_directories(folder / "texture.AAL");
    writeFile(folder / "X.air", "air");
    writeFile(folder / "aircraft.cfg",
              "[fltsim.0]\ntitle=B738 AAL American\nsim=X\ntexture=AAL\natc_id=N1;x\n"
              "[fltsim.1]\ntitle=B738AALAmerican\nsim=X\ntexture=AAL\n[fltsim.2]\ntitle=Boeing\nsim=X\ntexture=AAL\n");
    // A folder without a suffix to cut gives its type whole.
    const fs::path plain = root_ / "sim" / "IVAO_MTL" / "IVAO_A320";
    fs::create_directories(plain / "model");
    fs::create_directories(plain / "texture.AAL");
    writeFile(plain / "X.air", "air");
    writeFile(plain / "aircraft.cfg", "[fltsim.0]\ntitle=A320 AAL American\nsim=X\ntexture=AAL\n");
    lf_scanFolder(1, root_ / "sim");
    // In the tree the text behind ";" stays: "N1;x" is one registration.
    EXPECT_THAT(lf_texts(liveries.liveryList),
                UnorderedElementsAre("AAL B738 B738 AAL American N1;x 0", "AAL B738 B738AALAmerican  0",
                                     "AAL A320 A320 AAL American  0"));
    EXPECT_THAT(scanLists.incompleteSections.lines, ElementsAre(HasSubstr("[fltsim.2] misses airlinecode in title")));
}

// The hand-written key matcher says what the regular expression of each key says.
TEST(CfgKeyLines, MatchLikeTheirRegularExpressions) {
    const std::regex title(R"(\s*(title)\s*=\s*(.*\S)\s*)", std::regex::icase | std::regex::ECMAScript);
    const std::regex head(R"(\s*(\[fltsim\.)(\d+)\]\s*)", std::regex::icase | std::regex::ECMAScript);
    for (const std::string line : {"title=A", " TITLE = A b ", "title =", "title= \t", "titles=A", "title=A\rB",
                                   "title=\rA", "x title=A", "\ttitle\t=\tA\t", "title==A", "title=A ", "Title=\xe9"}) {
        std::string v;
        std::smatch m;
        const bool expected = std::regex_match(line, m, title);
        EXPECT_EQ(gf_cfgKeyValue(line, CfgKey::Title, v), expected) << line;
        if (expected) {
            EXPECT_EQ(v, m[2].str()) << line;
        }
    }
    for (const std::string line :
         {"[fltsim.0]", " [FLTSIM.12] ", "[fltsim.]", "[fltsim.1] //", "[fltsim.1x]", "[fltsim.01]\r"}) {
        std::string v;
        std::smatch m;
        const bool expected = std::regex_match(line, m, head);
        EXPECT_EQ(gf_cfgSectionHead(line, v), expected) << line;
        if (expected) {
            EXPECT_EQ(v, m[2].str()) << line;
        }
    }
}

// ---------------------------------------------------------------- bad input

#ifdef __linux__
// Root reads every folder whatever its rights: without these two capabilities of the calling thread (and
// of the threads it starts, the scan's workers) a folder's rights count as for the user's account.
// Capabilities are per thread: the rest of the process keeps them.
bool lf_folderRightsCount(bool count) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2]{};
    if (::syscall(SYS_capget, &header, data) != 0) return false;
    const uint32_t bits = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH);
    data[0].effective = count ? data[0].effective & ~bits : data[0].permitted;
    return ::syscall(SYS_capset, &header, data) == 0;
}
#endif

// A UTF-16 file is read; a broken one, a 50 MB file that is no aircraft.cfg, a folder the program may not
// read and a link that never opens are each reported, and the scan goes on with the next.
TEST_F(CfgRuleTest, BadInputIsReportedAndTheScanGoesOn) {
    const std::string cfg = "[General]\r\natc_model=B738\r\n" + lf_section(0, "");
    std::string utf16 = "\xFF\xFE";
    for (const char c : cfg) utf16 += std::string{c, '\0'};
    aircraftFolder("utf16", utf16);
    aircraftFolder("broken", utf16 + std::string("\x00\xD8\x41\x00", 4));  // a lone high surrogate
    const fs::path huge = root_ / "sim" / "huge" / "aircraft.cfg";
    fs::create_directories(huge.parent_path());
    {
        std::ofstream out(huge, std::ios::binary);
        std::string block(1 << 20, '\0');
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>((i * 2654435761u) >> 13);
        for (int mb = 0; mb < 50; ++mb) out.write(block.data(), static_cast<std::streamsize>(block.size()));
    }
#ifdef __linux__
    fs::create_directory_symlink(root_ / "sim" / "loop", root_ / "sim" / "loop");  // opens never
    const fs::path locked =
        aircraftFolder("locked", "[General]\natc_model=B738\n[fltsim.0]\ntitle=L0\nsim=X\natc_parking_codes=DAL\n");
    fs::permissions(locked, fs::perms::none);
    ASSERT_TRUE(lf_folderRightsCount(true));
    lf_scanFolder(1, root_ / "sim");
    EXPECT_TRUE(lf_folderRightsCount(false));
    fs::permissions(locked, fs::perms::owner_all);
    EXPECT_TRUE(logHas("liveries search in " + locked.string() + " aborted, cause: Permission denied"));
    EXPECT_TRUE(logHas("liveries search in " + (root_ / "sim" / "loop").string() + " aborted, cause: "));
#else
    lf_scanFolder(1, root_ / "sim");
#endif
    EXPECT_THAT(lf_texts(liveries.liveryList), ElementsAre("AAL B738 T0  0"));
    EXPECT_THAT(scanLists.invalidCfgFiles.lines,
                UnorderedElementsAre(HasSubstr("is a UTF-16 file with invalid characters"),
                                     HasSubstr("is no aircraft.cfg: 52428800 bytes long")));
    EXPECT_EQ(gf_messageLine().message, "Scanning for liveries ... 3 of 3 files");
}

TEST_F(CfgRuleTest, TitlesTheUserOrAigForbidAreNotUsed) {
    writeFile("input/AIG-regcodes.xml",
              "<AIG-regcodes><livery title=\"T0\" reg=\"\"/><livery title=\"T1\" reg=\"x\"/></AIG-regcodes>");
    writeFile("input/my_regcodes/mine.txt", "T2 of nine\nT3 short\nT4;N4\n");
    std::string cfg = "[General]\natc_model=B738\n";
    int n = 0;
    for (const std::string title : {"T0", "T1", "T2 of nine", "T3 short"})
        cfg += "[fltsim." + std::to_string(n++) + "]\ntitle=" + title + "\nsim=X\natc_parking_codes=AAL\n";
    aircraftFolder("a", cfg);
    gf_makeFolders();
    gf_getLiveries(true, false, false, {(root_ / "sim").string()});
    std::vector<std::string> titles;
    for (const auto& [airline, models] : liveries.airlineLiveries)
        for (const auto& [model, list] : models)
            for (const LiveryTitle& t : list) titles.emplace_back(t.title);
    std::sort(titles.begin(), titles.end());
    EXPECT_THAT(titles, ElementsAre("T1", "T3 short"));
    EXPECT_TRUE(logHas("1 don't use title read from files in input/AIG-regcodes.xml"));
}

TEST_F(CfgRuleTest, AStoppedScanLeavesTheFilesOfTheLastScan) {
    gf_makeFolders();
    writeFile("output/LiveriesScanned.xml", "previous");
    writeFile("output/errors/Fixes.txt", "previous fixes\n");
    aircraftFolder("good", "[General]\natc_model=B738\n" + lf_section(0, ""));
    run.userClosed = true;
    EXPECT_TRUE(gf_getLiveries(true, false, false, {(root_ / "sim").string()}));
    run.userClosed = false;
    EXPECT_EQ(readFile("output/LiveriesScanned.xml"), "previous");
    EXPECT_EQ(readFile("output/errors/Fixes.txt"), "previous fixes\n");
    EXPECT_THAT(liveries.liveryList, IsEmpty());
    // The same scan run to its end replaces them.
    EXPECT_TRUE(gf_getLiveries(true, false, false, {(root_ / "sim").string()}));
    EXPECT_THAT(readFile("output/LiveriesScanned.xml"), HasSubstr("title=\"T0\""));
    EXPECT_FALSE(fs::exists("output/errors/Fixes.txt"));
}
