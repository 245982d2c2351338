// Windows implementation of the platform layer. The only file of the program with Windows headers
// (together with the window and the named pipe transport of the simulator link).
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <shlobj.h>
#include <timeapi.h>
#include <windows.h>

#include "platform/platform.h"

namespace {
HANDLE g_instanceMutex = nullptr;

std::wstring lf_wide(const std::string& s) {
    const std::u16string u = gf_utf8ToUtf16(s);
    return std::wstring(u.begin(), u.end());
}
std::string lf_narrow(const std::wstring& w) {
    return gf_utf16ToUtf8(std::u16string_view(reinterpret_cast<const char16_t*>(w.data()), w.size()));
}
std::filesystem::path lf_knownFolder(int csidl) {
    wchar_t buf[MAX_PATH] = {};
    if (SUCCEEDED(SHGetFolderPathW(nullptr, csidl, nullptr, 0, buf))) return std::filesystem::path(buf);
    return std::filesystem::current_path();
}
}  // namespace

std::filesystem::path gf_platformAppDataDefault() { return lf_knownFolder(CSIDL_APPDATA); }
std::filesystem::path gf_platformDocumentsDefault() { return lf_knownFolder(CSIDL_PERSONAL); }
std::filesystem::path gf_platformProgramDataDefault() { return lf_knownFolder(CSIDL_COMMON_APPDATA); }

std::optional<std::string> gf_platformReadRegistry(const std::string& subKey, const std::string& valueName,
                                                   RegistryHive hive) {
    HKEY key = nullptr;
    // 0x20119: KEY_READ | KEY_WOW64_64KEY
    const HKEY root = hive == RegistryHive::CurrentUser ? HKEY_CURRENT_USER : HKEY_LOCAL_MACHINE;
    if (RegOpenKeyExW(root, lf_wide(subKey).c_str(), 0, 0x20119, &key) != ERROR_SUCCESS) return std::nullopt;
    const std::wstring name = lf_wide(valueName);
    DWORD bytes = 0;
    LONG rc = RegGetValueW(key, nullptr, name.c_str(), RRF_RT_REG_SZ, nullptr, nullptr, &bytes);
    if (rc == ERROR_FILE_NOT_FOUND) {
        RegCloseKey(key);
        return std::string();
    }
    if (rc != ERROR_SUCCESS) {
        RegCloseKey(key);
        throw winreg::RegException("Cannot get size of string value: RegGetValueW failed.", rc);
    }
    std::wstring value(bytes / sizeof(wchar_t), L'\0');
    rc = RegGetValueW(key, nullptr, name.c_str(), RRF_RT_REG_SZ, nullptr, value.data(), &bytes);
    RegCloseKey(key);
    if (rc != ERROR_SUCCESS) throw winreg::RegException("Cannot get string value: RegGetValueW failed.", rc);
    value.resize(bytes / sizeof(wchar_t));
    while (!value.empty() && value.back() == L'\0') value.pop_back();
    return lf_narrow(value);
}

void gf_timerResolutionBegin() { timeBeginPeriod(1); }
void gf_timerResolutionEnd() { timeEndPeriod(1); }

void gf_gmtime(std::time_t t, std::tm& out) { gmtime_s(&out, &t); }

bool gf_acquireInstanceLock() {
    HANDLE mutex = CreateMutexA(nullptr, FALSE, "Local\\$ZARKTraffic_P3D$");
    if (GetLastError() == ERROR_ALREADY_EXISTS) {
        // Another instance owns the name; this handle would only keep it alive after that one ends.
        CloseHandle(mutex);
        return false;
    }
    g_instanceMutex = mutex;  // nullptr when the system refused: run as the only instance
    return true;
}

void gf_releaseInstanceLock() {
    if (g_instanceMutex) {
        CloseHandle(g_instanceMutex);
        g_instanceMutex = nullptr;
    }
}

std::u16string gf_utf8ToUtf16(std::string_view utf8) {
    if (utf8.empty()) return {};
    const int len =
        MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()), nullptr, 0);
    if (len == 0) {
        const DWORD err = GetLastError();
        throw win32::Utf8ConversionException(err == ERROR_NO_UNICODE_TRANSLATION ? kInvalidUtf8Text : kUtf8LengthText,
                                             err);
    }
    std::u16string out(static_cast<size_t>(len), u'\0');
    if (MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, utf8.data(), static_cast<int>(utf8.size()),
                            reinterpret_cast<wchar_t*>(out.data()), len) == 0) {
        const DWORD err = GetLastError();
        throw win32::Utf8ConversionException(err == ERROR_NO_UNICODE_TRANSLATION ? kInvalidUtf8Text : kUtf8ConvertText,
                                             err);
    }
    return out;
}

std::string gf_utf16ToUtf8(std::u16string_view utf16) {
    if (utf16.empty()) return {};
    const auto* w = reinterpret_cast<const wchar_t*>(utf16.data());
    const int len = WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, w, static_cast<int>(utf16.size()), nullptr, 0,
                                        nullptr, nullptr);
    if (len == 0) {
        const DWORD err = GetLastError();
        throw win32::Utf8ConversionException(err == ERROR_NO_UNICODE_TRANSLATION ? kInvalidUtf16Text : kUtf16LengthText,
                                             err);
    }
    std::string out(static_cast<size_t>(len), '\0');
    if (WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, w, static_cast<int>(utf16.size()), out.data(), len, nullptr,
                            nullptr) == 0) {
        const DWORD err = GetLastError();
        throw win32::Utf8ConversionException(
            err == ERROR_NO_UNICODE_TRANSLATION ? kInvalidUtf16Text : kUtf16ConvertText, err);
    }
    return out;
}
