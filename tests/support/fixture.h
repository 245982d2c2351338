// tests/support/fixture.h — the base of every test: a fresh install folder as the current directory,
// its own app-data folder, a fresh log, and every subsystem's globals reset.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

class ZarkTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // The log written so far (flushed first).
    std::string logText() const;
    bool logHas(const std::string& needle) const { return logText().find(needle) != std::string::npos; }
    // Writes a file (folders made as needed) relative to the install folder.
    void writeFile(const std::filesystem::path& p, const std::string& content) const;
    std::string readFile(const std::filesystem::path& p) const;

    std::filesystem::path root_;                     // the install folder, also the current directory
    std::filesystem::path appData_;                  // stands in for the roaming app-data folder
    std::vector<std::pair<int, int>> exitRequests_;  // what gf_requestExit was asked
    std::filesystem::path previousDir_;
};

// The source tree and the build tree, for data files and generated fixtures.
std::filesystem::path gf_sourceDir();
std::filesystem::path gf_binaryDir();
