// libFuzzer: any bytes as the lines of an aircraft.cfg, through the section walk of an ordinary file and
// of a file of the IVAO_MTL tree. Whatever the text, the walk ends, every livery it gives has a title, a
// known type and an airline, and no exception leaves it. Works in a folder of its own under the system's
// temporary folder, with the model and texture folders and the flight model file "X" its sections name.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "liveries/aircraft_cfg.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"

namespace fs = std::filesystem;

namespace {
std::string g_path, g_mtlPath;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    const fs::path dir = fs::temp_directory_path() / ("zark-fuzz-cfg-" + std::to_string(::getpid()));
    for (const char* f : {"model", "model.a", "texture", "texture.a"}) fs::create_directories(dir / f);
    std::ofstream(dir / "X.air") << "air";
    g_path = (dir / "aircraft.cfg").string();
    g_mtlPath = (dir / "IVAO_MTL" / "IVAO_B738w" / "aircraft.cfg").string();
    // A few codes of each table, so that the walk goes past the checks.
    for (const char* m : {"B738", "A320", "B744"}) dbase.aircraft.insert(m);
    for (const char* a : {"AAL", "DAL", "ZZZ", "PVT", "BAW"}) dbase.icaoAirlines.insert(a);
    fixes.modelFixes["B747"] = "B744";
    fixes.pvtFixes.insert("PRIVATE");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::vector<std::string> lines(1);
    for (size_t i = 0; i < size; ++i) {
        if (data[i] == '\n') {
            if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
            lines.emplace_back();
        } else {
            lines.back().push_back(static_cast<char>(data[i]));
        }
    }
    for (std::string& l : lines) gf_cp1252LineToUtf8(l);
    for (const bool mtl : {false, true}) {
        gf_clearScanLists();
        for (const LiveryData& l : lf_liveriesOfLines(1, lines, mtl ? g_mtlPath : g_path, mtl ? "B738" : "")) {
            if (l.title.empty() || !gf_isValidModel(l.model) || !gf_isIcaoAirline(l.airline)) __builtin_trap();
            if (l.airline == "ZZZ" && !l.regcode.empty()) __builtin_trap();
        }
    }
    return 0;
}
