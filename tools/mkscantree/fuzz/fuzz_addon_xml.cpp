// libFuzzer: any bytes as an add-on.xml, read as XML and, when that fails, line by line, as the add-on
// discovery does. No exception leaves the reader, and every folder it gives is a non-empty path that does
// not name a package the discovery leaves out.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>

#include "frame/core/log.h"
#include "liveries/addons.h"

namespace fs = std::filesystem;

namespace {
fs::path g_package;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    g_package = fs::temp_directory_path() / ("zark-fuzz-addon-" + std::to_string(::getpid()));
    fs::create_directories(g_package);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    {
        std::ofstream out(g_package / "add-on.xml", std::ios::binary | std::ios::trunc);
        out.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    }
    std::vector<std::string> folders;
    lf_exploreAddOn(g_package.string(), folders);
    for (const std::string& f : folders)
        if (f.empty() || f.find("Lights Reborn") != std::string::npos) __builtin_trap();
    return 0;
}
