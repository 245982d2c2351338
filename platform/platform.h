// platform/platform.h — every call that differs between Windows and Linux.
// Nothing else in the program includes a Windows header; posix/ and win32/ implement this file.
#pragma once

#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace win32 {
// Failure of a conversion between UTF-8 and UTF-16, with the system error code.
class Utf8ConversionException : public std::runtime_error {
public:
    Utf8ConversionException(const std::string& message, uint32_t errorCode)
        : std::runtime_error(message), errorCode_(errorCode) {}
    uint32_t ErrorCode() const { return errorCode_; }

private:
    uint32_t errorCode_;
};
}  // namespace win32

namespace winreg {
// Failure of a registry call, with the system error code.
class RegException : public std::runtime_error {
public:
    RegException(const std::string& message, long errorCode) : std::runtime_error(message), errorCode_(errorCode) {}
    long ErrorCode() const { return errorCode_; }

private:
    long errorCode_;
};
}  // namespace winreg

// The texts of the conversion failures, shared by both implementations.
inline constexpr const char* kInvalidUtf16Text = "Invalid UTF-16 sequence found in input string.";
inline constexpr const char* kUtf16LengthText =
    "Cannot get result string length when converting from UTF-16 to UTF-8 (WideCharToMultiByte failed).";
inline constexpr const char* kUtf16ConvertText = "Cannot convert from UTF-16 to UTF-8 (WideCharToMultiByte failed).";
inline constexpr const char* kInvalidUtf8Text = "Invalid UTF-8 sequence found in input string.";
inline constexpr const char* kUtf8LengthText =
    "Cannot get result string length when converting from UTF-8 to UTF-16 (MultiByteToWideChar failed).";
inline constexpr const char* kUtf8ConvertText = "Cannot convert from UTF-8 to UTF-16 (MultiByteToWideChar failed).";
// The code the system gives for an invalid sequence (ERROR_NO_UNICODE_TRANSLATION).
inline constexpr uint32_t kNoUnicodeTranslation = 1113;

// UTF-8 <-> UTF-16. Invalid input throws win32::Utf8ConversionException with code 1113.
std::u16string gf_utf8ToUtf16(std::string_view utf8);
std::string gf_utf16ToUtf8(std::u16string_view utf16);

// A path from the program's UTF-8 text. A plain std::string would be read in the ANSI code page on
// Windows, and a folder with letters outside it would be another, missing folder.
std::filesystem::path gf_utf8Path(std::string_view utf8);

// Single-instance lock: true if this process now holds it, false if another instance does.
// Windows: named mutex "Local\$ZARKTraffic_P3D$". Linux: flock on a lock file in the app-data folder.
bool gf_acquireInstanceLock();
void gf_releaseInstanceLock();  // tests; the process end releases it too

// The roaming application data folder (CSIDL_APPDATA; $XDG_CONFIG_HOME or ~/.config on Linux).
// A test may point it elsewhere with gf_setAppDataOverride.
std::filesystem::path gf_appDataFolder();
void gf_setAppDataOverride(const std::filesystem::path& folder);  // empty path restores the default
// The user's documents folder (CSIDL_PERSONAL; $HOME on Linux).
std::filesystem::path gf_documentsFolder();
void gf_setDocumentsOverride(const std::filesystem::path& folder);  // empty path restores the default
// The machine's application data folder, C:\ProgramData (CSIDL_COMMON_APPDATA; $XDG_DATA_HOME or
// ~/.local/share on Linux): where Prepar3D keeps simobjects.cfg and the add-ons.cfg of all users.
std::filesystem::path gf_programDataFolder();
void gf_setProgramDataOverride(const std::filesystem::path& folder);  // empty path restores the default

// A string value under HKEY_LOCAL_MACHINE\subKey or HKEY_CURRENT_USER\subKey (64-bit view). nullopt if
// the key does not open. An empty string if the key opens and the value is missing. Linux has no registry:
// always nullopt. A test may install a fake registry with gf_setRegistryOverride.
enum class RegistryHive { LocalMachine, CurrentUser };
std::optional<std::string> gf_readRegistryString(const std::string& subKey, const std::string& valueName,
                                                 RegistryHive hive = RegistryHive::LocalMachine);
using RegistryReader = std::optional<std::string> (*)(const std::string&, const std::string&);
void gf_setRegistryOverride(RegistryReader reader);  // nullptr restores the system's registry

// 1 ms timer resolution for the loops of the engine and SimClient (no-op on Linux).
void gf_timerResolutionBegin();
void gf_timerResolutionEnd();

// Breaks a time into UTC calendar fields.
void gf_gmtime(std::time_t t, std::tm& out);
