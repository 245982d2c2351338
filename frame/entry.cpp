#include <filesystem>
#include <iostream>
#include <thread>

#include "common/clock.h"
#include "frame/control_input.h"
#include "frame/core/core.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/frame.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "frame/links_seam.h"
#include "frame/mainloop.h"
#include "frame/window_layout.h"
#include "platform/platform.h"
#include "platform/window.h"

void gf_resetFrame() {
    gf_resetFrameCore();
    gf_resetLoop();
    links::answers = {};
    links::offeredRecords = 0;
    links::databaseRead = false;
}

namespace {

// WM_APP + 2: keep the window's position, close the log, end the pump.
void lf_endProcess() {
    const auto [x, y] = gf_windowPosition();
    const std::pair<ParInt*, int> positions[] = {{&MAIN_WINDOW_X, x}, {&MAIN_WINDOW_Y, y}};
    for (const auto& [par, value] : positions) {
        const int32_t clamped = par->clamp(value);
        // A position at a limit is unusable: keep what was read at the start instead.
        if (clamped != par->min && clamped != par->max) par->current = clamped;
        gf_saveParameter(*par);
    }
    gf_logLine(fmt::format("{} ends at {} (utc)", kProgramName, gf_timeOfDay()));
    gf_flushLog();
    gf_closeLog();
    gf_postQuit(0);
}

}  // namespace

void gf_windowProcedure(uint32_t message) {
    switch (message) {
        case kMsgStartRun: std::thread(lf_startUpZARK).detach(); break;
        case kMsgClose:
            gf_showMessage(fmt::format("Close window button clicked, closing {} ...", kProgramName), true);
            gf_requestExit(kExitUserClosed, 0);
            break;
        case kMsgEndProcess: lf_endProcess(); break;
        default: break;
    }
}

int initInstance() {
    gf_readWindowPosition();
    gf_setWindowContent({gf_layoutWindow, gf_takeDirtyBands, gf_bandRect, gf_onControlClicked, gf_onEditEnter});
    if (!gf_createWindow(MAIN_WINDOW_X.current, MAIN_WINDOW_Y.current, gf_windowProcedure)) {
        gf_logLine("initInstance failed");
        return 0;
    }
    std::error_code ec;
    std::filesystem::create_directories(gf_appDataFolder() / "ZARK_P3D", ec);
    gf_installCloseSignals();
    gf_postWindowMessage(kMsgStartRun);
    const int code = gf_runMessagePump();
    gf_destroyWindow();
    return code;
}

int gf_processEntry(int /*argc*/, char** /*argv*/) {
    if (!gf_acquireInstanceLock()) return -1;
    gf_installExitSequence();
    try {
        gf_openLog("Log.txt");
    } catch (const std::exception& e) {
        // No window exists yet, and nothing above the entry would catch it: the console is the only
        // place left to say why the program cannot start.
        std::cerr << kProgramName << ": " << e.what() << '\n';
        gf_releaseInstanceLock();
        return 1;
    }
    const int code = initInstance();
    gf_releaseInstanceLock();
    return code;
}
