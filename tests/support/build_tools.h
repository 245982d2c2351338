// tests/support/build_tools.h — the data tools of the build (mkdata, mkliveries, mkairports), run as the
// build runs them to make the install fixture.
#pragma once

#include <gtest/gtest.h>

#include <string>

// Runs tools/<name>/<name> of the build tree with args (a command line) in the current folder, its output
// in <name>.out. The tool's exit code, or -1 when it did not end by itself.
int gf_runBuildTool(const std::string& name, const std::string& args);

// The data tools run on the build machine only: a cross build copies the install fixture from the host
// build, so its tests of the tools themselves have nothing to run.
#ifdef _WIN32
#define ZARK_SKIP_WITHOUT_BUILD_TOOLS() \
    GTEST_SKIP() << "the data tools run on the build machine (Linux); the Windows build copies their output"
#else
#define ZARK_SKIP_WITHOUT_BUILD_TOOLS() static_cast<void>(0)
#endif
