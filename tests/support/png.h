// tests/support/png.h — PNG files of 8-bit RGB pixels for the window's screenshot test, through zlib alone.
// The reader takes what the writer makes (RGB, rows unfiltered): a reference saved by an image tool is
// refused, and refreshed by the test instead.
#pragma once

#include <filesystem>
#include <optional>

#include "platform/window.h"

bool gf_writePng(const std::filesystem::path& path, const WindowPixels& image);
std::optional<WindowPixels> gf_readPng(const std::filesystem::path& path);
