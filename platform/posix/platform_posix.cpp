// Linux implementation of the platform layer.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

#include "platform/platform.h"

std::filesystem::path gf_platformAppDataDefault() {
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg && *xdg) return std::filesystem::path(xdg);
    if (const char* home = std::getenv("HOME"); home && *home) return std::filesystem::path(home) / ".config";
    return std::filesystem::current_path();
}

std::filesystem::path gf_platformDocumentsDefault() {
    if (const char* home = std::getenv("HOME"); home && *home) return std::filesystem::path(home);
    return std::filesystem::current_path();
}

std::filesystem::path gf_platformProgramDataDefault() {
    if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg) return std::filesystem::path(xdg);
    if (const char* home = std::getenv("HOME"); home && *home) return std::filesystem::path(home) / ".local/share";
    return std::filesystem::current_path();
}

// Linux has no registry: every key counts as absent.
std::optional<std::string> gf_platformReadRegistry(const std::string&, const std::string&, RegistryHive) {
    return std::nullopt;
}

void gf_timerResolutionBegin() {}
void gf_timerResolutionEnd() {}

void gf_gmtime(std::time_t t, std::tm& out) { gmtime_r(&t, &out); }

namespace {
int g_lockFd = -1;
}

bool gf_acquireInstanceLock() {
    if (g_lockFd >= 0) return true;
    std::error_code ec;
    const auto folder = gf_appDataFolder() / "ZARK_P3D";
    std::filesystem::create_directories(folder, ec);
    const auto path = folder / "ZARKTraffic_P3D.lock";
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) return true;  // no lock possible: behave as the only instance rather than refuse to start
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        ::close(fd);
        return false;
    }
    g_lockFd = fd;
    return true;
}

void gf_releaseInstanceLock() {
    if (g_lockFd >= 0) {
        ::flock(g_lockFd, LOCK_UN);
        ::close(g_lockFd);
        g_lockFd = -1;
    }
}

std::u16string gf_utf8ToUtf16(std::string_view s) {
    std::u16string out;
    out.reserve(s.size());
    size_t i = 0;
    auto bad = [] { throw win32::Utf8ConversionException(kInvalidUtf8Text, kNoUnicodeTranslation); };
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        uint32_t cp = 0;
        size_t len = 1;
        if (c < 0x80) {
            cp = c;
            len = 1;
        } else if ((c & 0xE0) == 0xC0) {
            cp = c & 0x1F;
            len = 2;
        } else if ((c & 0xF0) == 0xE0) {
            cp = c & 0x0F;
            len = 3;
        } else if ((c & 0xF8) == 0xF0) {
            cp = c & 0x07;
            len = 4;
        } else {
            bad();
        }
        if (i + len > s.size()) bad();
        for (size_t k = 1; k < len; ++k) {
            const auto cc = static_cast<unsigned char>(s[i + k]);
            if ((cc & 0xC0) != 0x80) bad();
            cp = (cp << 6) | (cc & 0x3F);
        }
        // Overlong forms, surrogate code points and values past U+10FFFF are not UTF-8.
        if ((len == 2 && cp < 0x80) || (len == 3 && cp < 0x800) || (len == 4 && cp < 0x10000) || cp > 0x10FFFF ||
            (cp >= 0xD800 && cp <= 0xDFFF))
            bad();
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
        } else {
            out.push_back(static_cast<char16_t>(cp));
        }
        i += len;
    }
    return out;
}

std::string gf_utf16ToUtf8(std::u16string_view s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        uint32_t cp = s[i];
        if (cp >= 0xD800 && cp <= 0xDBFF) {
            if (i + 1 >= s.size() || s[i + 1] < 0xDC00 || s[i + 1] > 0xDFFF)
                throw win32::Utf8ConversionException(kInvalidUtf16Text, kNoUnicodeTranslation);
            cp = 0x10000 + ((cp - 0xD800) << 10) + (s[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xDC00 && cp <= 0xDFFF) {
            throw win32::Utf8ConversionException(kInvalidUtf16Text, kNoUnicodeTranslation);
        }
        if (cp < 0x80) {
            out.push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
            out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
            out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
            out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
            out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
    }
    return out;
}
