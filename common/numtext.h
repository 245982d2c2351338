// common/numtext.h — decimal text to numbers, failing with the same texts on every platform
// ("invalid stod argument", "stod argument out of range", and the same for stof), which the
// readers pass on to the user as they stand.
#pragma once

#include <stdexcept>
#include <string>

inline double gf_stod(const std::string& text) {
    try {
        return std::stod(text);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stod argument out of range");
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stod argument");
    }
}

inline float gf_stof(const std::string& text) {
    try {
        return std::stof(text);
    } catch (const std::out_of_range&) {
        throw std::out_of_range("stof argument out of range");
    } catch (const std::invalid_argument&) {
        throw std::invalid_argument("invalid stof argument");
    }
}
