// frame/core/errors.h — the program's two exception classes. Both carry a number and a text to the message line.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace zel {

// What the user can put right: a wrong folder, a missing setting, a refused login.
// what() is "{code}: {text}"; code 99 shows the text alone.
class UserErrorException : public std::runtime_error {
public:
    UserErrorException(int32_t code, const std::string& text);
    int32_t code() const { return code_; }

private:
    int32_t code_;
};

// What the user cannot put right: a file that cannot be written, a record that makes no sense.
// what() is "sys error {code}: {text}".
class SysErrorException : public std::runtime_error {
public:
    SysErrorException(int32_t code, const std::string& text);
    int32_t code() const { return code_; }

private:
    int32_t code_;
};

}  // namespace zel
