// libFuzzer: the airport file reader must survive any archived file and any learned file over it, and
// what it read must write back. The input is the archived file, then optionally "\n@@\n" and the learned one.
#include <unistd.h>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

#include "airports/state.h"
#include "frame/core/errors.h"
#include "frame/core/params.h"

namespace fs = std::filesystem;

namespace {
void lf_write(const fs::path& p, const std::string& text) {
    std::ofstream out(p, std::ios::binary | std::ios::trunc);
    out << text;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    // Absolute paths: libFuzzer keeps its corpus relative to the current directory, which stays.
    static const fs::path dir = [] {
        const fs::path d = fs::temp_directory_path() / ("zark-fuzz-apf-" + std::to_string(::getpid()));
        fs::create_directories(d / "airports/archive/stock");
        fs::create_directories(d / "airports/learned/stock");
        return d;
    }();
    const fs::path archived = dir / "airports/archive/stock/EFUZ.xml";
    const fs::path learned = dir / "airports/learned/stock/EFUZ.xml";
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find("\n@@\n");
    lf_write(archived, input.substr(0, split));
    std::error_code ec;
    fs::remove(learned, ec);
    if (split != std::string::npos) lf_write(learned, input.substr(split + 4));

    gf_resetAirports();
    gf_resetParameters();
    PARK_FAKE.current = size % 2 == 1;
    airports.parkIcao = "EFUZ";
    QualityPair quality;
    try {
        if (gf_readApf(quality, archived).empty()) {
            AirportFileData file{"EFUZ", airports.airportName, "", airports.publisher, 0, -1, -1, 0, airports.stands};
            gf_writeApf(file, dir / "written.xml", true);
        }
    } catch (const zel::UserErrorException&) {
        // a stand named twice, or no altitude: the run would stop with the message
    }
    gf_resetAirports();
    return 0;
}
