// Which entry names of a downloaded archive may be unpacked: only those that stay inside the target folder.
#include <gtest/gtest.h>

#include "frame/core/zipreader.h"

namespace {

TEST(ZipEntryNames, OnlyPlainRelativePathsStayInside) {
    for (const char* good : {"archive/stock/EHAM.xml", "archive/thirdparty/x/LOWI.xml", "archive/stock/"})
        EXPECT_TRUE(gf_zipNameStaysInside(good)) << good;
    for (const char* bad :
         {"../x.xml", "archive/../../x.xml", "/etc/x.xml", "C:/x.xml", "archive\\..\\x.xml", "archive//x.xml", ""})
        EXPECT_FALSE(gf_zipNameStaysInside(bad)) << bad;
}

}  // namespace
