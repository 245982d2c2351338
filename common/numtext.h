// common/numtext.h — decimal text to numbers, failing with the same texts on every platform
// ("invalid stod argument", "stod argument out of range", and the same for stof), which the
// readers pass on to the user as they stand.
#pragma once

#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string>

namespace numtext_detail {
// Plain decimal text converts without a copy; anything else (blanks, "+", trailing text, errors) takes
// the standard route, so the results and the failures are exactly those of std::stod / std::stof.
template <typename T>
bool tryPlain(const char* text, T& out) {
    const char* end = text + std::strlen(text);
    const auto [ptr, ec] = std::from_chars(text, end, out);
    return ec == std::errc() && ptr == end && ptr != text;
}
}  // namespace numtext_detail

inline double gf_stod(const char* text) {
    double v = 0;
    if (numtext_detail::tryPlain(text, v)) return v;
    try {
        return std::stod(text);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stod argument out of range");
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stod argument");
    }
}
inline double gf_stod(const std::string& text) { return gf_stod(text.c_str()); }

inline float gf_stof(const char* text) {
    float v = 0;
    if (numtext_detail::tryPlain(text, v)) return v;
    try {
        return std::stof(text);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stof argument out of range");
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stof argument");
    }
}
inline float gf_stof(const std::string& text) { return gf_stof(text.c_str()); }
