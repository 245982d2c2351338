// The user's folders as Windows gives them: a user name with letters outside the system's code page, an
// app-data path longer than the old 260-character limit. The parameters must be saved and read back, and
// the log must name the file in its real letters.
#include <filesystem>
#include <string>

#include "frame/core/params.h"
#include "platform/platform.h"
#include "support/fixture.h"

namespace fs = std::filesystem;

namespace {

class UserFolders : public ZarkTest {};

// "Wang Xiaoming Łukasz Ørsted" in letters no single code page holds.
const char* const kForeignName = "\xE7\x8E\x8B\xE5\xB0\x8F\xE6\x98\x8E \xC5\x81ukasz \xC3\x98rsted";

fs::path lf_utf8Path(const std::string& text) {
    const std::u16string wide = gf_utf8ToUtf16(text);
    return fs::path(wide);
}

TEST_F(UserFolders, ParametersSurviveHostileAppDataPaths) {
    fs::path longPath = root_;
    while (longPath.native().size() <= 300) longPath /= "a folder name of forty characters, or so";
    const std::pair<const char*, fs::path> cases[] = {
        {"letters outside the code page", root_ / lf_utf8Path(kForeignName) / "AppData" / "Roaming"},
        {"longer than 260 characters", longPath},
    };
    for (const auto& [name, folder] : cases) {
        fs::create_directories(folder / "ZARK_P3D");
        gf_setAppDataOverride(folder);
        gf_resetParameters();
        gf_readParameters();  // no file yet: the defaults are written
        ASSERT_TRUE(fs::exists(gf_parametersPath())) << name;
        MAIN_WINDOW_X.current = 345;
        gf_saveParameter(MAIN_WINDOW_X);
        gf_resetParameters();
        gf_readParameters();
        EXPECT_EQ(MAIN_WINDOW_X.current, 345) << name;
    }
    // The log names the file in its real letters, not in the code page's question marks.
    EXPECT_TRUE(logHas(kForeignName)) << logText();
}

}  // namespace
