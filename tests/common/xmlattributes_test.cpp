// Reading the attributes of a row in one pass: the same answers as asking pugixml by name.
#include <gtest/gtest.h>

#include <array>
#include <string>

#include <pugixml.hpp>

#include "common/xmlattributes.h"

namespace {

pugi::xml_node firstRow(pugi::xml_document& doc, const char* xml) {
    EXPECT_TRUE(doc.load_string(xml, pugi::parse_minimal | pugi::parse_escapes));
    return doc.first_child().first_child();
}

}  // namespace

TEST(XmlRowReader, FindsEachNameInAnyOrderAndEmptyForAbsentOnes) {
    const XmlRowReader<5> reader({"code", "iata", "lat", "lon", "alt"});
    pugi::xml_document doc;
    std::array<const char*, 5> v{};
    reader.read(firstRow(doc, R"(<a><airport alt="1416" lon="8.5492" code="LSZH" lat="47.4647"/></a>)"), v);
    EXPECT_STREQ(v[0], "LSZH");
    EXPECT_STREQ(v[1], "");  // no iata attribute: the empty text pugixml gives
    EXPECT_STREQ(v[2], "47.4647");
    EXPECT_STREQ(v[3], "8.5492");  // "lat" and "lon" share their first letter
    EXPECT_STREQ(v[4], "1416");
}

TEST(XmlRowReader, OnlyWholeNamesMatchAndTheFirstOfTwoWins) {
    const XmlRowReader<3> reader({"reg", "type", "t"});
    pugi::xml_document doc;
    std::array<const char*, 3> v{};
    reader.read(firstRow(doc, R"(<d><db re="x" regs="y" typ="z" type="B738" type="A320" t="1"/></d>)"), v);
    EXPECT_STREQ(v[0], "");
    EXPECT_STREQ(v[1], "B738");
    EXPECT_STREQ(v[2], "1");
    // A row without attributes, and the values of one row do not leak into the next.
    reader.read(firstRow(doc, R"(<d><db/><db reg="A"/></d>)"), v);
    EXPECT_STREQ(v[0], "");
    EXPECT_STREQ(v[1], "");
    EXPECT_STREQ(v[2], "");
}

TEST(XmlRowReader, AgreesWithLookupByName) {
    const XmlRowReader<4> reader({"reg", "airl", "type", "opr"});
    pugi::xml_document doc;
    ASSERT_TRUE(doc.load_string(
        R"(<d><db reg="A" airl="B"/><db type="C" opr="D" cargo="1"/><db opr="" reg="E&lt;"/><db x="1"/></d>)",
        pugi::parse_minimal | pugi::parse_escapes));
    std::array<const char*, 4> v{};
    for (const pugi::xml_node row : doc.first_child().children()) {
        reader.read(row, v);
        EXPECT_STREQ(v[0], row.attribute("reg").value());
        EXPECT_STREQ(v[1], row.attribute("airl").value());
        EXPECT_STREQ(v[2], row.attribute("type").value());
        EXPECT_STREQ(v[3], row.attribute("opr").value());
    }
}
