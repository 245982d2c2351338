// The fixture of the scan tests: the real database and fixes of the install fixture, and helpers that lay
// out aircraft folders.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "frame/core/folders.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "liveries/state.h"
#include "support/fixture.h"

class ScanTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        std::filesystem::create_directories("input");
        for (const char* f : {"dbase.xml", "fixes.xml"})
            std::filesystem::copy_file(gf_binaryDir() / "install" / "input" / f, std::filesystem::path("input") / f);
        gf_clearDbase();
        gf_readDbase();
        gf_readFixes();
        runPaths.hardwareThreads = 2;
    }
    void TearDown() override {
        gf_clearDbase();
        gf_clearFixes();
        ZarkTest::TearDown();
    }
    static std::vector<std::string> lines(const ScanList& l) { return l.lines; }
};
