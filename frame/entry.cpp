#include <filesystem>
#include <iostream>

#include "common/clock.h"
#include "frame/errors.h"
#include "frame/folders.h"
#include "frame/frame.h"
#include "frame/lifecycle.h"
#include "frame/log.h"
#include "frame/message.h"
#include "frame/panel.h"
#include "frame/params.h"
#include "platform/platform.h"

void gf_resetFrame() {
    gf_resetRunState();
    gf_resetMessageLine();
    gf_resetPanel();
    gf_resetControls();
    gf_resetParameters();
}

namespace {

// The start of a run as far as the frame's own data go: folders, parameters and their migration,
// the account key, the install path. The traffic part of a run builds on this.
void lf_startRun() {
    ++run.activeThreads;
    try {
        if (!std::filesystem::exists(folders::docs))
            throw zel::UserErrorException(
                41, fmt::format("{} must be run from the {} folder!", kProgramName, kProgramName));
        gf_makeFolders();
        gf_readParameters();
        gf_migrateParameters();
        gf_applyLateralRange();
        parDerived.maxLiveWorking = MAX_LIVE.current.load();
        (void)gf_readAccountKey();
        PROGRAM_INSTALL_PATH.current = std::filesystem::current_path().string();
        gf_saveParameter(PROGRAM_INSTALL_PATH);
        gf_makeFolder(folders::myRegcodes);
        gf_flushLog();
    } catch (...) {
        gf_reportException("lf_startUpZARK");
    }
    --run.activeThreads;
}

}  // namespace

int gf_processEntry(int /*argc*/, char** /*argv*/) {
    if (!gf_acquireInstanceLock()) return -1;
    try {
        gf_openLog("Log.txt");
    } catch (const std::exception& e) {
        // No window exists yet: the console is the only place left to say it.
        std::cerr << kProgramName << ": " << e.what() << '\n';
        return 1;
    }
    gf_readWindowPosition();
    std::error_code ec;
    std::filesystem::create_directories(gf_appDataFolder() / "ZARK_P3D", ec);
    lf_startRun();
    const MessageLine line = gf_messageLine();
    if (!line.error.empty()) std::cerr << line.error << '\n';
    gf_logLine(fmt::format("{} ends at {} (utc)", kProgramName, gf_timeOfDay()));
    gf_closeLog();
    gf_releaseInstanceLock();
    return 0;
}
