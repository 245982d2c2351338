// common/numtext.h — decimal text to numbers, failing with the same texts on every platform
// ("invalid stod argument", "stod argument out of range", and the same for stof), which the
// readers pass on to the user as they stand.
#pragma once

#include <charconv>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string>

namespace numtext_detail {

template <typename T>
struct ShortDecimal;
template <>
struct ShortDecimal<double> {
    static constexpr int kMaxDigits = 15;  // below 2^53: the digits are exact as a double
    static constexpr double kPow10[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                        1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
};
template <>
struct ShortDecimal<float> {
    static constexpr int kMaxDigits = 7;  // below 2^24
    static constexpr float kPow10[] = {1e0f, 1e1f, 1e2f, 1e3f, 1e4f, 1e5f, 1e6f, 1e7f, 1e8f, 1e9f, 1e10f};
};

// "-ddd.ddd" with few digits, the form of nearly every number in the data files. The digits as an
// integer and the power of ten are both exact in T, so their quotient is the correctly rounded value,
// the same that the full conversion gives (Clinger's fast path). False for anything else.
template <typename T>
bool tryShortDecimal(const char* p, T& out) {
    const bool negative = *p == '-';
    if (negative) ++p;
    if (*p < '0' || *p > '9') return false;
    uint64_t digits = 0;
    int count = 0;
    int fraction = -1;  // digits after the point; -1 without a point
    for (;; ++p) {
        if (*p >= '0' && *p <= '9') {
            if (++count > ShortDecimal<T>::kMaxDigits) return false;
            digits = digits * 10 + static_cast<uint64_t>(*p - '0');
            if (fraction >= 0) ++fraction;
        } else if (*p == '.' && fraction < 0) {
            fraction = 0;
        } else {
            break;
        }
    }
    if (*p != '\0' || fraction == 0) return false;
    if (fraction < 0) fraction = 0;
    if (fraction >= static_cast<int>(std::size(ShortDecimal<T>::kPow10))) return false;
    const T value = static_cast<T>(digits) / ShortDecimal<T>::kPow10[fraction];
    out = negative ? -value : value;
    return true;
}

// Plain decimal text converts without a copy; anything else (blanks, "+", trailing text, errors) takes
// the standard route, so the results and the failures are exactly those of std::stod / std::stof.
template <typename T>
bool tryPlain(const char* text, T& out) {
    if (tryShortDecimal(text, out)) return true;
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
