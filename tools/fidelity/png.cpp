#include "tools/fidelity/png.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <string>

#include <zlib.h>

namespace fidelity {

Canvas::Canvas(int width, int height, Rgb background)
    : width_(width), height_(height), pixels_(static_cast<size_t>(width) * static_cast<size_t>(height) * 3) {
    for (size_t i = 0; i < pixels_.size(); i += 3) {
        pixels_[i] = background.r;
        pixels_[i + 1] = background.g;
        pixels_[i + 2] = background.b;
    }
}

void Canvas::set(int x, int y, Rgb colour) {
    if (x < 0 || y < 0 || x >= width_ || y >= height_) return;
    const size_t i = (static_cast<size_t>(y) * static_cast<size_t>(width_) + static_cast<size_t>(x)) * 3;
    pixels_[i] = colour.r;
    pixels_[i + 1] = colour.g;
    pixels_[i + 2] = colour.b;
}

void Canvas::dot(int x, int y, int radius, Rgb colour) {
    for (int dy = -radius; dy <= radius; ++dy)
        for (int dx = -radius; dx <= radius; ++dx)
            if (dx * dx + dy * dy <= radius * radius) set(x + dx, y + dy, colour);
}

void Canvas::line(double x0, double y0, double x1, double y1, Rgb colour) {
    // A segment far off the canvas (a flight leaving the area) would cost millions of steps for nothing.
    const double limit = 4.0 * std::max(width_, height_);
    if (std::fabs(x0) > limit || std::fabs(y0) > limit || std::fabs(x1) > limit || std::fabs(y1) > limit) return;
    const int steps = static_cast<int>(std::ceil(std::max(std::fabs(x1 - x0), std::fabs(y1 - y0)))) + 1;
    for (int i = 0; i <= steps; ++i) {
        const double k = static_cast<double>(i) / steps;
        set(static_cast<int>(std::lround(x0 + (x1 - x0) * k)), static_cast<int>(std::lround(y0 + (y1 - y0) * k)),
            colour);
    }
}

namespace {
void lf_u32(std::string& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>((v >> shift) & 0xff));
}

// Length, type, data, and the CRC over type and data, all big-endian.
void lf_chunk(std::string& out, const char* type, const std::string& data) {
    lf_u32(out, static_cast<uint32_t>(data.size()));
    std::string body(type, 4);
    body += data;
    out += body;
    lf_u32(out, static_cast<uint32_t>(
                    crc32(0L, reinterpret_cast<const Bytef*>(body.data()), static_cast<uInt>(body.size()))));
}
}  // namespace

bool gf_writePng(const std::filesystem::path& file, const Canvas& canvas) {
    const size_t rowBytes = static_cast<size_t>(canvas.width()) * 3;
    // Each row starts with its filter type: 0, none.
    std::string raw;
    raw.reserve((rowBytes + 1) * static_cast<size_t>(canvas.height()));
    for (int y = 0; y < canvas.height(); ++y) {
        raw.push_back('\0');
        raw.append(reinterpret_cast<const char*>(canvas.pixels().data()) + static_cast<size_t>(y) * rowBytes, rowBytes);
    }
    uLongf packedSize = compressBound(static_cast<uLong>(raw.size()));
    std::string packed(packedSize, '\0');
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize, reinterpret_cast<const Bytef*>(raw.data()),
                  static_cast<uLong>(raw.size()), Z_BEST_COMPRESSION) != Z_OK)
        return false;
    packed.resize(packedSize);

    std::string png("\x89PNG\r\n\x1a\n", 8);
    std::string header;
    lf_u32(header, static_cast<uint32_t>(canvas.width()));
    lf_u32(header, static_cast<uint32_t>(canvas.height()));
    header += std::string("\x08\x02\x00\x00\x00", 5);  // 8 bits, truecolour, deflate, adaptive filters, no interlace
    lf_chunk(png, "IHDR", header);
    lf_chunk(png, "IDAT", packed);
    lf_chunk(png, "IEND", {});

    const std::filesystem::path temp = file.string() + ".tmp";
    {
        std::ofstream out(temp, std::ios::binary);
        out.write(png.data(), static_cast<std::streamsize>(png.size()));
        if (!out) {
            std::error_code ec;
            std::filesystem::remove(temp, ec);
            return false;
        }
    }
    std::error_code ec;
    std::filesystem::rename(temp, file, ec);
    return !ec;
}

}  // namespace fidelity
