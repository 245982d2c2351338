#include "support/png.h"

#include <zlib.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

namespace {
constexpr std::array<uint8_t, 8> kSignature{0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

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

// The predictor of filter 4: whichever neighbour is closest to left + up - upper left.
uint8_t lf_paeth(int a, int b, int c) {
    const int p = a + b - c, pa = std::abs(p - a), pb = std::abs(p - b), pc = std::abs(p - c);
    if (pa <= pb && pa <= pc) return static_cast<uint8_t>(a);
    return static_cast<uint8_t>(pb <= pc ? b : c);
}
}  // namespace

bool gf_writePng(const std::filesystem::path& path, const WindowPixels& image) {
    const size_t stride = static_cast<size_t>(image.width) * 3;
    std::string raw;
    raw.reserve((stride + 1) * image.height);
    for (int y = 0; y < image.height; ++y) {
        raw.push_back(0);  // no filter: the deflate of flat bands is small enough
        raw.append(reinterpret_cast<const char*>(image.rgb.data()) + y * stride, stride);
    }
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
    std::string out(kSignature.begin(), kSignature.end());
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
    if (s.size() < 8 || s.compare(0, 8, std::string(kSignature.begin(), kSignature.end())) != 0) return std::nullopt;
    WindowPixels image;
    int channels = 0;
    std::string packed;
    for (size_t at = 8; at + 12 <= s.size();) {
        const uint32_t length = lf_get32(s, at);
        if (at + 12 + length > s.size()) return std::nullopt;
        const std::string type = s.substr(at + 4, 4);
        const size_t data = at + 8;
        if (type == "IHDR" && length >= 13) {
            image.width = static_cast<int>(lf_get32(s, data));
            image.height = static_cast<int>(lf_get32(s, data + 4));
            const auto depth = static_cast<uint8_t>(s[data + 8]), colour = static_cast<uint8_t>(s[data + 9]);
            if (depth != 8 || (colour != 2 && colour != 6) || s[data + 12] != 0) return std::nullopt;
            channels = colour == 2 ? 3 : 4;
        } else if (type == "IDAT") {
            packed.append(s, data, length);
        }
        at += 12 + length;
    }
    if (channels == 0 || image.width <= 0 || image.height <= 0) return std::nullopt;
    const size_t stride = static_cast<size_t>(image.width) * channels;
    std::string raw((stride + 1) * image.height, '\0');
    uLongf rawSize = raw.size();
    if (uncompress(reinterpret_cast<Bytef*>(raw.data()), &rawSize, reinterpret_cast<const Bytef*>(packed.data()),
                   packed.size()) != Z_OK ||
        rawSize != raw.size())
        return std::nullopt;
    std::vector<uint8_t> rows(stride * image.height);
    for (int y = 0; y < image.height; ++y) {
        const auto filter = static_cast<uint8_t>(raw[y * (stride + 1)]);
        const auto* in = reinterpret_cast<const uint8_t*>(raw.data()) + y * (stride + 1) + 1;
        uint8_t* row = rows.data() + y * stride;
        const uint8_t* up = y > 0 ? row - stride : nullptr;
        for (size_t i = 0; i < stride; ++i) {
            const int a = i >= static_cast<size_t>(channels) ? row[i - channels] : 0;
            const int b = up ? up[i] : 0;
            const int c = up && i >= static_cast<size_t>(channels) ? up[i - channels] : 0;
            int predicted = 0;
            switch (filter) {
                case 0: break;
                case 1: predicted = a; break;
                case 2: predicted = b; break;
                case 3: predicted = (a + b) / 2; break;
                case 4: predicted = lf_paeth(a, b, c); break;
                default: return std::nullopt;
            }
            row[i] = static_cast<uint8_t>(in[i] + predicted);
        }
    }
    image.rgb.reserve(static_cast<size_t>(image.width) * image.height * 3);
    for (size_t i = 0; i < rows.size(); i += channels) image.rgb.insert(image.rgb.end(), &rows[i], &rows[i] + 3);
    return image;
}
