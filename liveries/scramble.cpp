// liveries/scramble.cpp — the four scramblers of dbase.xml and their encoders.
#include "liveries/scramble.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>

#include <fmt/format.h>

#include "frame/core/log.h"

namespace {

constexpr int kWindowLow = 45;   // "-"
constexpr int kWindowHigh = 90;  // "Z"
constexpr int kWindowSize = 46;  // a shift of up to +/-45 wraps back into the window exactly once

// Shift of registration character i (i modulo the table size). Values stay within +/-45 so that one
// wrap always lands back in the window; decoding subtracts the same entry.
constexpr std::array<int32_t, 24> kRegcodeKey = {17,  -23, 5,  31, -9, 42,  -14, 8,  26, -37, 3, 19,
                                                 -28, 11,  36, -5, 22, -41, 14,  -2, 29, -19, 7, -33};

// Airline code: output character j comes from stored position kAirlinePos[j] shifted by kAirlineShift[j].
// Stored positions 0, 2 and 4 are filler.
constexpr std::array<int, 3> kAirlinePos = {3, 5, 1};
constexpr std::array<int32_t, 3> kAirlineShift = {-13, 21, -6};
constexpr std::array<int, 3> kAirlineFillerFrom = {2, 0, 1};  // filler at 0, 2, 4 echoes these code characters
constexpr std::array<int32_t, 3> kAirlineFillerShift = {9, -27, 38};

// Type code by stored length: output character j comes from stored position kModelPosN[j] shifted by
// kModelShiftN[j]. Each position table is a permutation, so the stored text has the code's length.
constexpr std::array<int, 2> kModelPos2 = {1, 0};
constexpr std::array<int32_t, 2> kModelShift2 = {-19, 12};
constexpr std::array<int, 3> kModelPos3 = {2, 0, 1};
constexpr std::array<int32_t, 3> kModelShift3 = {7, -31, 24};
constexpr std::array<int, 4> kModelPos4 = {3, 1, 0, 2};
constexpr std::array<int32_t, 4> kModelShift4 = {-11, 27, -4, 16};

constexpr char lf_wrap(int value) {
    if (value < kWindowLow) value += kWindowSize;
    if (value > kWindowHigh) value -= kWindowSize;
    return static_cast<char>(value);
}

constexpr char lf_shift(char c, int32_t by) { return lf_wrap(static_cast<unsigned char>(c) + by); }

template <size_t N>
size_t lf_decodePicked(std::string_view text, const std::array<int, N>& pos, const std::array<int32_t, N>& shift,
                       char* out) {
    for (size_t j = 0; j < N; ++j) out[j] = lf_shift(text[pos[j]], shift[j]);
    return N;
}

template <size_t N>
std::string lf_encodePicked(std::string_view code, const std::array<int, N>& pos, const std::array<int32_t, N>& shift) {
    std::string out(N, ' ');
    for (size_t j = 0; j < N; ++j) out[pos[j]] = lf_shift(code[j], -shift[j]);
    return out;
}

}  // namespace

std::string gf_encodeRegcode(std::string_view text) {
    if (text.size() == 1 || text.size() >= 25)
        gf_logf("regcode of unusual length {} to encrypt: {}", text.size(), text);
    std::string out(text);
    for (size_t i = 0; i < out.size(); ++i) {
        const char c = out[i];
        if (c >= 'a' && c <= 'z') {
            gf_logf("lower case in regcode encryp {}", text);
            throw std::runtime_error("regcode encrypt error");
        }
        if (c != '+') out[i] = lf_shift(c, kRegcodeKey[i % kRegcodeKey.size()]);
    }
    return out;
}

namespace {

// Decoding of a registration character at key position i, for every byte value: one load per character
// instead of a shift and two wrap tests.
struct RegcodeDecodeTable {
    std::array<std::array<char, 256>, kRegcodeKey.size()> out{};
    constexpr RegcodeDecodeTable() {
        for (size_t i = 0; i < kRegcodeKey.size(); ++i)
            for (int c = 0; c < 256; ++c) {
                const char ch = static_cast<char>(c);
                out[i][static_cast<size_t>(c)] = ch == '+' ? ch : lf_shift(ch, -kRegcodeKey[i]);
            }
    }
};
constexpr RegcodeDecodeTable kRegcodeDecode;

}  // namespace

void gf_decodeRegcodeTo(std::string_view text, char* out) {
    for (size_t from = 0; from < text.size(); from += kRegcodeKey.size()) {
        const size_t n = std::min(text.size() - from, kRegcodeKey.size());
        for (size_t k = 0; k < n; ++k)
            out[from + k] = kRegcodeDecode.out[k][static_cast<unsigned char>(text[from + k])];
    }
}

std::string gf_decodeRegcode(std::string_view text) {
    std::string out(text.size(), ' ');
    gf_decodeRegcodeTo(text, out.data());
    return out;
}

size_t gf_decodeAirlineTo(std::string_view text, char* out) {
    if (text.empty()) return 0;
    if (text.size() == 6) return lf_decodePicked(text, kAirlinePos, kAirlineShift, out);
    if (text.size() == 3) {
        gf_logMarkf("Unencrypted airline {} in decrypt airl?", text);
        for (size_t j = 0; j < 3; ++j) out[j] = text[j];
        return 3;
    }
    throw std::runtime_error(fmt::format("decrypt airl \"{}\" error", text));
}

std::string gf_decodeAirline(std::string_view text) {
    char out[3];
    return std::string(out, gf_decodeAirlineTo(text, out));
}

std::string gf_encodeAirline(std::string_view code) {
    if (code.size() != 3) throw std::runtime_error(fmt::format("encrypt airl \"{}\" error", code));
    std::string out(6, ' ');
    for (size_t j = 0; j < 3; ++j) {
        out[kAirlinePos[j]] = lf_shift(code[j], -kAirlineShift[j]);
        out[j * 2] = lf_shift(code[kAirlineFillerFrom[j]], kAirlineFillerShift[j]);
    }
    return out;
}

size_t gf_decodeModelTo(std::string_view text, char* out) {
    if (text.empty()) return 0;
    if (text.size() == 4) return lf_decodePicked(text, kModelPos4, kModelShift4, out);
    if (text.size() == 3) return lf_decodePicked(text, kModelPos3, kModelShift3, out);
    if (text.size() < 2) throw std::runtime_error(fmt::format("decrypt model \"{}\" error", text));
    return lf_decodePicked(text, kModelPos2, kModelShift2, out);
}

std::string gf_decodeModel(std::string_view text) {
    char out[4];
    return std::string(out, gf_decodeModelTo(text, out));
}

std::string gf_encodeModel(std::string_view code) {
    if (code.size() == 4) return lf_encodePicked(code, kModelPos4, kModelShift4);
    if (code.size() == 3) return lf_encodePicked(code, kModelPos3, kModelShift3);
    if (code.size() == 2) return lf_encodePicked(code, kModelPos2, kModelShift2);
    throw std::runtime_error(fmt::format("encrypt model \"{}\" error", code));
}
