// libFuzzer: any bytes as output/LiveriesScanned.xml either end in the reader's user error (51, 52, 53) or
// give tables on which the whole matching cascade runs. Works in a folder of its own under the system's
// temporary folder, app data included, so that switched-off categories are saved there.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "common/random.h"
#include "frame/core/errors.h"
#include "frame/core/params.h"
#include "liveries/liveries_file.h"
#include "liveries/matching.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const fs::path dir = fs::temp_directory_path() / ("zark-fuzz-liveries-" + std::to_string(::getpid()));
    fs::create_directories(dir / "output");
    fs::create_directories(dir / "appdata" / "ZARK_P3D");
    fs::current_path(dir);
    gf_setAppDataOverride(dir / "appdata");
    gf_seedRandom(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    {
        std::ofstream out("output/LiveriesScanned.xml", std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    gf_resetLiveries();
    try {
        gf_getLiveries(false, true, false, {});
    } catch (const zel::UserErrorException& e) {
        if (e.code() != 51 && e.code() != 52 && e.code() != 53) __builtin_trap();
        return 0;
    }
    if (liveries.airlineLiveries.empty()) __builtin_trap();  // a read without error has liveries
    // Every airline and model that has a titled livery finds one by step 2 (a cargo aircraft takes a
    // passenger livery too), unless only special liveries would do.
    for (int depth = 1; depth <= 4; ++depth) {
        MATCHING_DEPTH.current = depth;
        uint32_t hexid = 0x100000;
        for (const auto& [airline, models] : liveries.airlineLiveries)
            for (const auto& [model, titles] : models) {
                Act act;
                act.airline = airline;
                act.model = model;
                act.reg = model;
                act.cargo = true;
                act.hexid = ++hexid;
                act.category = gf_modelCategory(model);
                if (gf_matchLive(act) && act.livery.empty()) __builtin_trap();
                // An absent title reads as empty: such a livery cannot be created and is never given.
                bool titled = false;
                for (const LiveryTitle& t : titles) titled = titled || !t.title.empty();
                if (depth >= 2 && airline != "" && titled && act.livery.empty() && liveries.specialLiveries.empty())
                    __builtin_trap();
            }
        gf_clearHexidLiveries();
    }
    return 0;
}
