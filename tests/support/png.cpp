#include "support/png.h"

#include <zlib.h>

#include <fstream>
#include <iterator>
#include <string>

namespace {
const std::string kSignature{"\x89PNG\r\n\x1A\n", 8};

void lf_put32(std::string& out, uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) out.push_back(static_cast<char>((v >> shift) & 0xFF));
}
uint32_t lf_get32(const std::string& s, size_t at) {
    uint32_t v = 0;
    for (size_t i = 0; i < 4; ++i) v = (v << 8) | static_cast<uint8_t>(s[at + i]);
    return v;
}
void lf_chunk(std::string& out, const char* type, const std::string& data) {
    lf_put32(out, static_cast<uint32_t>(data.size()));
    const std::string body = std::string(type, 4) + data;
    out += body;
    lf_put32(out, static_cast<uint32_t>(crc32(0, reinterpret_cast<const Bytef*>(body.data()), body.size())));
}
// Each row behind its filter byte 0 (none): the flat bands deflate well enough without.
size_t lf_rawSize(const WindowPixels& image) { return (static_cast<size_t>(image.width) * 3 + 1) * image.height; }
}  // namespace

bool gf_writePng(const std::filesystem::path& path, const WindowPixels& image) {
    const size_t stride = static_cast<size_t>(image.width) * 3;
    std::string raw;
    for (int y = 0; y < image.height; ++y)
        raw.append(1, '\0').append(reinterpret_cast<const char*>(image.rgb.data()) + y * stride, stride);
    uLongf packedSize = compressBound(raw.size());
    std::string packed(packedSize, '\0');
    if (compress2(reinterpret_cast<Bytef*>(packed.data()), &packedSize, reinterpret_cast<const Bytef*>(raw.data()),
                  raw.size(), 9) != Z_OK)
        return false;
    packed.resize(packedSize);
    std::string header;
    lf_put32(header, static_cast<uint32_t>(image.width));
    lf_put32(header, static_cast<uint32_t>(image.height));
    header += std::string{8, 2, 0, 0, 0};  // 8 bits, RGB, deflate, adaptive filters, not interlaced
    std::string out = kSignature;
    lf_chunk(out, "IHDR", header);
    lf_chunk(out, "IDAT", packed);
    lf_chunk(out, "IEND", {});
    std::ofstream f(path, std::ios::binary);
    f.write(out.data(), static_cast<std::streamsize>(out.size()));
    return static_cast<bool>(f);
}

std::optional<WindowPixels> gf_readPng(const std::filesystem::path& path) {
    std::ifstream f(path, std::ios::binary);
    const std::string s((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    if (s.compare(0, 8, kSignature) != 0) return std::nullopt;
    WindowPixels image;
    std::string packed;
    for (size_t at = 8; at + 12 <= s.size();) {
        const uint32_t length = lf_get32(s, at);
        if (at + 12 + length > s.size()) return std::nullopt;
        if (s.compare(at + 4, 4, "IHDR") == 0 && length >= 13) {
            image.width = static_cast<int>(lf_get32(s, at + 8));
            image.height = static_cast<int>(lf_get32(s, at + 12));
            if (s.compare(at + 16, 5, std::string{8, 2, 0, 0, 0}) != 0) return std::nullopt;
        } else if (s.compare(at + 4, 4, "IDAT") == 0) {
            packed.append(s, at + 8, length);
        }
        at += 12 + length;
    }
    if (image.width <= 0 || image.height <= 0) return std::nullopt;
    std::string raw(lf_rawSize(image), '\0');
    uLongf rawSize = raw.size();
    if (uncompress(reinterpret_cast<Bytef*>(raw.data()), &rawSize, reinterpret_cast<const Bytef*>(packed.data()),
                   packed.size()) != Z_OK ||
        rawSize != raw.size())
        return std::nullopt;
    const size_t stride = static_cast<size_t>(image.width) * 3;
    for (size_t row = 0; row < raw.size(); row += stride + 1) {
        if (raw[row] != 0) return std::nullopt;
        image.rgb.insert(image.rgb.end(), raw.begin() + row + 1, raw.begin() + row + 1 + stride);
    }
    return image;
}
