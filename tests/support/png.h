// tests/support/png.h — PNG files of 8-bit RGB pixels, for the window's screenshot test: written and read
// with zlib alone. The reader takes 8-bit RGB or RGBA, not interlaced (what image tools keep of ours).
#pragma once

#include <filesystem>
#include <optional>

#include "platform/window.h"

bool gf_writePng(const std::filesystem::path& path, const WindowPixels& image);
std::optional<WindowPixels> gf_readPng(const std::filesystem::path& path);
