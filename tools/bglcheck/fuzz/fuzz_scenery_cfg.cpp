// libFuzzer: scenery.cfg as the simulator or a user's editor may leave it, in any encoding. The input is
// the file; every folder taken must come from an active area's Local line.
#include <unistd.h>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/params.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Absolute paths: libFuzzer keeps its corpus relative to the current directory, which stays.
    static const fs::path dir = [] {
        const fs::path d = fs::temp_directory_path() / ("zark-fuzz-scenery-" + std::to_string(::getpid()));
        fs::create_directories(d);
        return d;
    }();
    {
        std::ofstream out(dir / "scenery.cfg", std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    gf_resetAirports();
    addonScan.simDataOverride = dir;
    SIM_INSTALL_PATH.current = "C:\\P3D";
    runPaths.stockAirports = "C:\\P3D\\Scenery";
    std::vector<std::string> folders;
    try {
        lf_readSceneryCfg(folders);
    } catch (const std::runtime_error&) {
        return 0;  // UTF-16 that does not convert: the text reader's own error
    }
    for (const std::string& f : folders)
        if (f.empty() || lf_isStockLocal(f)) __builtin_trap();
    return 0;
}
