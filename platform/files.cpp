#include "platform/files.h"

namespace fs = std::filesystem;

void gf_copyFileReplacing(const fs::path& from, const fs::path& to, std::error_code& ec) {
    ec.clear();
    if (!fs::is_regular_file(from, ec)) {
        if (!ec) ec = std::make_error_code(std::errc::no_such_file_or_directory);
        return;
    }
    fs::remove(to, ec);
    if (ec) return;
    fs::copy_file(from, to, ec);
}
