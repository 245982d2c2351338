// What a call throws, for tests that look at the code and the text of an error rather than only its type.
#pragma once

#include <string>
#include <utility>

#include "frame/core/errors.h"

// The code and text of the user error `f` throws; {0, ""} when it throws none.
template <typename F>
std::pair<int, std::string> gf_userErrorOf(F&& f) {
    try {
        f();
    } catch (const zel::UserErrorException& e) {
        return {e.code(), e.what()};
    }
    return {0, ""};
}

// The text of the exception of type E that `f` throws; empty when it throws none.
template <typename E, typename F>
std::string gf_thrownText(F&& f) {
    try {
        f();
    } catch (const E& e) {
        return e.what();
    }
    return {};
}
