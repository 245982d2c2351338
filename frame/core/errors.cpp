#include "frame/core/errors.h"

#include <fmt/format.h>

namespace zel {

UserErrorException::UserErrorException(int32_t code, const std::string& text)
    : std::runtime_error(code == 99 ? text : fmt::format("{}: {}", code, text)), code_(code) {}

SysErrorException::SysErrorException(int32_t code, const std::string& text)
    : std::runtime_error(fmt::format("sys error {}: {}", code, text)), code_(code) {}

}  // namespace zel
