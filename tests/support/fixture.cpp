#include "support/fixture.h"

#include <fstream>
#include <sstream>

#include "common/clock.h"
#include "frame/core/download.h"
#include "frame/core/log.h"
#include "frame/frame.h"
#include "frame/lifecycle.h"
#include "platform/platform.h"
#include "support/resets.h"

namespace fs = std::filesystem;

fs::path gf_sourceDir() { return ZARK_SOURCE_DIR; }
fs::path gf_binaryDir() { return ZARK_BINARY_DIR; }

void ZarkTest::SetUp() {
    previousDir_ = fs::current_path();
    const auto* info = ::testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(info->test_suite_name()) + "." + info->name();
    for (char& c : name)
        if (c == '/') c = '_';
    root_ = fs::temp_directory_path() / "zark-tests" / std::to_string(::getpid()) / name;
    fs::remove_all(root_);
    fs::create_directories(root_ / "docs");
    appData_ = root_ / "appdata";
    fs::create_directories(appData_ / "ZARK_P3D");
    fs::current_path(root_);
    gf_setAppDataOverride(appData_);
    // Neither the documents nor the machine's data of the computer running the tests.
    gf_setDocumentsOverride(root_ / "documents");
    gf_setProgramDataOverride(root_ / "programdata");
    gf_setRegistryOverride(nullptr);
    gf_useManualClock(nullptr);
    gf_resetAllSubsystems();
    // No test reaches the real update server: nothing listens on this loopback port, so each check fails at
    // once. The update tests point it at their double.
    gf_setUpdateBaseUrl("http://127.0.0.1:9/downloads/");
    gf_setExitHandler([this](int reason, int seconds) { exitRequests_.emplace_back(reason, seconds); });
    gf_openLog("Log.txt");
}

void ZarkTest::TearDown() {
    gf_closeLog();
    gf_setExitHandler(nullptr);
    gf_useManualClock(nullptr);
    gf_setRegistryOverride(nullptr);
    gf_setAppDataOverride({});
    gf_setDocumentsOverride({});
    gf_setProgramDataOverride({});
    fs::current_path(previousDir_);
    std::error_code ec;
    if (!HasFailure()) fs::remove_all(root_, ec);
}

std::string ZarkTest::logText() const {
    gf_flushLog();
    return readFile(root_ / "Log.txt");
}

void ZarkTest::writeFile(const fs::path& p, const std::string& content) const {
    const fs::path full = p.is_absolute() ? p : root_ / p;
    if (full.has_parent_path()) fs::create_directories(full.parent_path());
    std::ofstream out(full, std::ios::binary);
    out << content;
}

std::string ZarkTest::readFile(const fs::path& p) const {
    std::ifstream in(p.is_absolute() ? p : root_ / p, std::ios::binary);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
}
