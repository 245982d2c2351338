#include "frame/core/log.h"

#include <ctime>
#include <fstream>
#include <mutex>
#include <system_error>

#include "common/clock.h"
#include "frame/core/errors.h"
#include "platform/files.h"
#include "platform/platform.h"

namespace {
std::mutex g_logLock;  // innermost lock of the program: take no other lock while holding it
std::ofstream g_log;   // absent while not open or closed: every log operation then does nothing

std::string lf_asctime(std::chrono::system_clock::time_point t) {
    std::tm tm{};
    gf_gmtime(std::chrono::system_clock::to_time_t(t), tm);
    // asctime's fixed layout: "Www Mmm dd hh:mm:ss yyyy"
    static const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    static const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return fmt::format("{} {} {:2} {:02}:{:02}:{:02} {}", kDays[tm.tm_wday % 7], kMonths[tm.tm_mon % 12], tm.tm_mday,
                       tm.tm_hour, tm.tm_min, tm.tm_sec, tm.tm_year + 1900);
}
}  // namespace

void gf_openLog(const std::filesystem::path& path) {
    gf_backupFile(path);
    std::lock_guard lock(g_logLock);
    if (g_log.is_open()) g_log.close();
    g_log.clear();
    g_log.open(path, std::ios::out | std::ios::trunc | std::ios::binary);
    if (!g_log.is_open()) throw zel::SysErrorException(40, "Failed to write file " + path.string());
    g_log << fmt::format("{} (utc) {} version {} for {}", gf_timeStamp(gf_utcNow()), kProgramName, kProgramVersionText,
                         kSimName)
          << '\n';
}

void gf_closeLog() {
    std::lock_guard lock(g_logLock);
    if (g_log.is_open()) {
        g_log.flush();
        g_log.close();
    }
}

void gf_flushLog() {
    std::lock_guard lock(g_logLock);
    if (g_log.is_open()) g_log.flush();
}

bool gf_logIsOpen() {
    std::lock_guard lock(g_logLock);
    return g_log.is_open();
}

void gf_logLine(std::string_view text) {
    std::lock_guard lock(g_logLock);
    if (!g_log.is_open()) return;
    g_log.write(text.data(), static_cast<std::streamsize>(text.size()));
    g_log.put('\n');
}

void gf_logMark(std::string_view text) {
    std::lock_guard lock(g_logLock);
    if (!g_log.is_open()) return;
    g_log << kMark;
    g_log.write(text.data(), static_cast<std::streamsize>(text.size()));
    g_log.put('\n');
    g_log.flush();
}

std::string gf_banner(int width, int extra, bool lineBefore, bool lineAfter, std::string_view text) {
    int n = width + extra;
    if (n % 2 != 0) ++n;
    std::string out;
    if (lineBefore) out += '\n';
    if (text.empty()) {
        out.append(static_cast<size_t>(std::max(n, 0)), '*');
    } else if (static_cast<int>(text.size()) + 2 < n) {
        const std::string stars(static_cast<size_t>(n / 2 - 1), '*');
        out += stars;
        out += ' ';
        out += text;
        out += ' ';
        out += stars;
    } else {
        out += text;
    }
    if (lineAfter) out += '\n';
    return out;
}

std::string gf_timeStamp(std::chrono::system_clock::time_point t) { return lf_asctime(t); }

std::string gf_timeOfDay() { return lf_asctime(gf_utcNow()).substr(11, 8); }

std::string gf_dateOfToday() {
    std::tm tm{};
    gf_gmtime(std::chrono::system_clock::to_time_t(gf_utcNow()), tm);
    static const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    return fmt::format("{} {}, {}", kMonths[tm.tm_mon % 12], tm.tm_mday, tm.tm_year + 1900);
}

void gf_backupFile(const std::filesystem::path& path) {
    namespace fs = std::filesystem;
    const std::string name = path.filename().string();
    const auto dot = name.rfind('.');
    if (dot == std::string::npos) return;
    const fs::path first = path.parent_path() / (name.substr(0, dot) + "0" + name.substr(dot));
    const fs::path second = path.parent_path() / (name.substr(0, dot) + "00" + name.substr(dot));
    std::error_code ec;
    gf_copyFileReplacing(first, second, ec);
    if (ec && ec != std::errc::no_such_file_or_directory) throw fs::filesystem_error("copy_file", first, second, ec);
    ec.clear();
    gf_copyFileReplacing(path, first, ec);
    if (ec && ec != std::errc::no_such_file_or_directory) throw fs::filesystem_error("copy_file", path, first, ec);
}
