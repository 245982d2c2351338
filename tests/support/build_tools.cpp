#include "support/build_tools.h"

#include <cstdlib>

#ifndef _WIN32
#include <sys/wait.h>
#endif

#include <fmt/format.h>

#include "support/fixture.h"

int gf_runBuildTool(const std::string& name, const std::string& args) {
    const std::string tool = (gf_binaryDir() / "tools" / name / name).string();
    const int status = std::system(fmt::format("\"{}\" {} > {}.out 2>&1", tool, args, name).c_str());
#ifdef _WIN32
    return status;  // the exit code itself
#else
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
#endif
}
