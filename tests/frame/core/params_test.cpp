#include <gtest/gtest.h>

#include <pugixml.hpp>

#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "support/fixture.h"

class ParametersTest : public ZarkTest {
protected:
    std::string paramsFile() const { return readFile(gf_parametersPath()); }
    void writeParams(const std::string& body) const {
        writeFile(gf_parametersPath(), "<?xml version=\"1.0\"?>\n<parameters>\n" + body + "</parameters>\n");
    }
    static std::string p(const char* name, const char* value) {
        return std::string("\t<parameter name=\"") + name + "\" value=\"" + value + "\" />\n";
    }
    int countElements() const {
        pugi::xml_document doc;
        doc.load_file(gf_parametersPath().c_str());
        return static_cast<int>(doc.select_nodes("/parameters/parameter").size());
    }
    bool hasElement(const char* name) const {
        pugi::xml_document doc;
        doc.load_file(gf_parametersPath().c_str());
        return static_cast<bool>(doc.select_node((std::string("/parameters/parameter[@name='") + name + "']").c_str()));
    }
};

TEST_F(ParametersTest, MissingFileHealsToTheFullTableWithoutTheFolders) {
    MAX_LIVE.current = 17;  // something a previous run left in memory
    gf_readParameters();
    EXPECT_EQ(MAX_LIVE.current, 300);
    // 40 rows before the folders + 7 after them.
    EXPECT_EQ(countElements(), 47);
    EXPECT_FALSE(hasElement("lfolder0"));
    EXPECT_FALSE(hasElement("afolder9"));
    EXPECT_TRUE(hasElement("SIM_INSTALL_PATH"));
    EXPECT_FALSE(hasElement("parking_percentage"));
    EXPECT_FALSE(hasElement("MAX_FIT_FL"));
    const std::string f = paramsFile();
    EXPECT_EQ(f.rfind("<?xml version=\"1.0\"?>\n<parameters>\n\t<parameter name=\"COLLISION_LIVE_PARKED_GND\"", 0), 0u)
        << f;
    const std::string log = logText();
    EXPECT_NE(log.find(" not found, default values taken:"), std::string::npos);
    EXPECT_NE(log.find(std::string(29, '*') + " parameters " + std::string(29, '*')), std::string::npos);
    EXPECT_NE(log.find("LOG=true\n"), std::string::npos);
    EXPECT_NE(log.find("MAX_LIVE=300\n"), std::string::npos);
    EXPECT_NE(f.find("name=\"MAIN_WINDOW_Y\" value=\"20\""), std::string::npos) << "the window's first place";
    EXPECT_TRUE(gf_controlState(LOG.controlId).checked);
    EXPECT_EQ(gf_controlState(MAX_LIVE.controlId).text, "300");
}

TEST_F(ParametersTest, ValuesConvertClampAndSaturate) {
    writeParams(p("LOG", "no") + p("SIM_TIME", "yes") + p("ALWAYS_ON_TOP", "0") + p("AUTO_RANGE", "T") +
                p("MATCHING_DEPTH", "9") + p("P3D_VERSION", "4") + p("LATERAL_RANGE", "0x20") +
                p("LAST_EPOCH_TIME", "99999999999999") + p("MAX_FIT", " -3") + p("BLOCK_CALLSIGN", "SWR12 ") +
                "\t<parameter name=\"WEEK\" />\n");
    gf_readParameters();
    EXPECT_FALSE(LOG.current);
    EXPECT_TRUE(SIM_TIME.current);
    EXPECT_FALSE(ALWAYS_ON_TOP.current);
    EXPECT_TRUE(AUTO_RANGE.current);
    EXPECT_EQ(MATCHING_DEPTH.current, 4);
    EXPECT_EQ(P3D_VERSION.current, 5);
    EXPECT_EQ(LATERAL_RANGE.current, 32);
    EXPECT_EQ(LAST_EPOCH_TIME.current, 2147483647);  // saturates at the 32-bit limit
    EXPECT_EQ(MAX_FIT.current, 0);
    EXPECT_EQ(BLOCK_CALLSIGN.current, "SWR12 ");
    EXPECT_FALSE(WEEK.current);  // found without value: false
    EXPECT_TRUE(logHas("MATCHING_DEPTH=4\n"));
    // The file keeps the old text of a clamped value until that parameter is saved.
    EXPECT_NE(paramsFile().find("name=\"MATCHING_DEPTH\" value=\"9\""), std::string::npos);
}

TEST_F(ParametersTest, UnknownElementsStayAndEmptyFoldersGo) {
    writeParams(p("SOMETHING_OLD", "1") + p("lfolder3", "") + p("lfolder4", "D:\\AI") + p("afolder0", ""));
    gf_readParameters();
    EXPECT_TRUE(hasElement("SOMETHING_OLD"));
    EXPECT_FALSE(hasElement("lfolder3"));
    EXPECT_FALSE(hasElement("afolder0"));
    EXPECT_TRUE(hasElement("lfolder4"));
    EXPECT_FALSE(hasElement("lfolder5"));  // folders are never added
    EXPECT_EQ(lfolder[4].current, "D:\\AI");
    EXPECT_TRUE(logHas("Parameter lfolder3 removed\n"));
    EXPECT_TRUE(logHas("lfolder4=D:\\AI\n"));
    EXPECT_FALSE(logHas("lfolder5="));
    // Missing rows were added with their defaults: the file healed itself.
    EXPECT_EQ(countElements(), 47 + 1 + 1);
}

// A file that is no XML: a read replaces it by the defaults, a save by that one parameter.
TEST_F(ParametersTest, MalformedFileIsReplacedByDefaultsOrTheSavedParameter) {
    writeFile(gf_parametersPath(), "<parameters><parameter name=\"LOG\" value=\"false\"");
    gf_readParameters();
    EXPECT_TRUE(LOG.current);
    EXPECT_EQ(countElements(), 47);
    writeFile(gf_parametersPath(), "garbage");
    LOG.current = false;
    gf_saveParameter(LOG);
    EXPECT_EQ(countElements(), 1);
    EXPECT_TRUE(hasElement("LOG"));
}

TEST_F(ParametersTest, SaveWritesOneParameterAndKeepsTheRest) {
    gf_readParameters();
    MAX_LIVE.current = 120;
    gf_saveParameter(MAX_LIVE);
    SIM_INSTALL_PATH.current = "C:\\P3D v5";
    gf_saveParameter(SIM_INSTALL_PATH);
    EXPECT_EQ(countElements(), 47);
    gf_resetParameters();
    gf_readParameters();
    EXPECT_EQ(MAX_LIVE.current, 120);
    EXPECT_EQ(SIM_INSTALL_PATH.current, "C:\\P3D v5");
    EXPECT_TRUE(logHas("MAX_LIVE=120\n"));
}

TEST_F(ParametersTest, RemoveParameter) {
    writeParams(p("SECONDS_DELAY", "30") + p("LOG", "true"));
    gf_removeParameter("SECONDS_DELAY");
    gf_removeParameter("NOT_THERE");
    EXPECT_FALSE(hasElement("SECONDS_DELAY"));
    EXPECT_TRUE(hasElement("LOG"));
    EXPECT_TRUE(logHas("Parameter SECONDS_DELAY removed\n"));
    EXPECT_FALSE(logHas("NOT_THERE"));
}

TEST_F(ParametersTest, WindowPositionAtALimitFallsBackToDefault) {
    writeParams(p("MAIN_WINDOW_X", "-30000") + p("MAIN_WINDOW_Y", "250"));
    gf_readWindowPosition();
    EXPECT_EQ(MAIN_WINDOW_X.current, 400);
    EXPECT_EQ(MAIN_WINDOW_Y.current, 250);
    EXPECT_NE(paramsFile().find("name=\"MAIN_WINDOW_X\" value=\"400\""), std::string::npos);
    writeParams(p("MAIN_WINDOW_X", "99999"));  // clamps to 30000, a limit
    gf_readWindowPosition();
    EXPECT_EQ(MAIN_WINDOW_X.current, 400);
}

TEST_F(ParametersTest, MetaBlockWrittenAndChecked) {
    pugi::xml_document doc;
    gf_writeMeta(doc);
    EXPECT_TRUE(gf_checkMeta(doc));
    EXPECT_EQ(lastMeta.author, "ZARK_P3D");
    EXPECT_EQ(lastMeta.version, "9.3.0");
    pugi::xml_document broken;
    broken.load_string("<meta><info name=\"author\" value=\"x\"/><info name=\"date\"/></meta>");
    EXPECT_FALSE(gf_checkMeta(broken));
    EXPECT_TRUE(logHas("===> meta data incorrect?\n"));
    EXPECT_EQ(lastMeta.date, "");  // a missing value attribute reads as empty
}
