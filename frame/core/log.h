// frame/core/log.h — Log.txt: one UTF-8 text file in the install folder, UTC stamps, two earlier generations kept.
// Every write takes the log lock, the innermost lock of the program.
#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

#include <fmt/format.h>

inline constexpr const char* kProgramName = "ZARK_P3D";
inline constexpr const char* kProgramVersionText = ZARK_VERSION_TEXT;  // "9.3.0"
inline constexpr const char* kSimName = "Prepar3D v5/v6";
inline constexpr const char* kMark = "===> ";  // what a user should find when he searches the log

// Opens Log.txt in the current directory after keeping the two earlier generations, writes the header.
// Throws zel::SysErrorException(40) when the file cannot be opened.
void gf_openLog(const std::filesystem::path& path = "Log.txt");
void gf_closeLog();
void gf_flushLog();
bool gf_logIsOpen();

// One line; not flushed (the engine logs from its 10 ms slice).
void gf_logLine(std::string_view text);
// "===> " + text, flushed at once: warnings and problems.
void gf_logMark(std::string_view text);

template <typename... Args>
void gf_logf(fmt::format_string<Args...> f, Args&&... args) {
    gf_logLine(fmt::format(f, std::forward<Args>(args)...));
}
template <typename... Args>
void gf_logMarkf(fmt::format_string<Args...> f, Args&&... args) {
    gf_logMark(fmt::format(f, std::forward<Args>(args)...));
}

// A banner of asterisks around a title; see the parameter banner.
std::string gf_banner(int width, int extra, bool lineBefore, bool lineAfter, std::string_view text);

// Stamps, all UTC.
std::string gf_timeStamp(std::chrono::system_clock::time_point t);  // asctime's 24 characters
std::string gf_timeOfDay();                                         // "hh:mm:ss" now
std::string gf_dateOfToday();                                       // "Nov 22, 2026"

// Keeps two generations of a file: name.ext -> name0.ext -> name00.ext. A name without a dot is left alone.
void gf_backupFile(const std::filesystem::path& path);

// The plural placeholder: "s" unless the count is exactly 1.
inline const char* gf_plural(long long n) { return n == 1 ? "" : "s"; }
