#include "frame/core/core.h"
#include "frame/core/download.h"
#include "frame/core/folders.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"

void gf_resetFrameCore() {
    gf_resetRunState();
    gf_resetMessageLine();
    gf_resetPanel();
    gf_resetControls();
    gf_resetParameters();
    runPaths = RunPaths{};
    gf_resetDownload();
}
