// frame/core/download.h — plain HTTP GET of the update server's files into local files, through libcurl's
// easy interface, and the version files that name what the server holds.
#pragma once

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <string>

#include <curl/curl.h>

#include "frame/core/folders.h"
#include "frame/core/zipreader.h"

// Where the update server keeps its files; every location is a path below it.
inline constexpr const char* kUpdateBaseUrl = "https://zark-p3d.example/downloads/";
// Environment variable that points the update check at another server (a test double, a mirror).
inline constexpr const char* kUpdateUrlVariable = "ZARK_UPDATE_URL";

// What the update check remembers in a process. Settings are written by tests and read by any thread.
struct DownloadState {
    std::mutex settingsLock;      // guards the three settings below
    std::string baseUrlOverride;  // a test's server; empty: ZARK_UPDATE_URL, else kUpdateBaseUrl
    long connectTimeoutS = 10;    // to set up a connection, seconds
    long stallTimeS = 30;         // a transfer below 1 byte/s for this long is abandoned, seconds
    // "Check version" on the window thread and the daily check on the engine thread share version.json.
    std::mutex versionFileLock;
    ZipLimits archiveLimits;  // what one downloaded zip may inflate to; tests lower it
    int32_t archiveWeek = 0;  // major number of ARCHIVE_VERSION, set by each daily check (engine thread)
};
extern DownloadState download;  // defined in frame/core/download.cpp
void gf_resetDownload();

// The base URL, always ending in "/".
std::string gf_updateBaseUrl();
void gf_setUpdateBaseUrl(std::string url);  // empty restores the environment / the constant
void gf_setUpdateTimeouts(long connectS, long stallS);

// GET `url` into `file`, made anew ("wb" or "w" by `binary`). True when the whole body arrived with a
// status below 400: an error page of the server never passes for the file. On failure a partly written
// file stays for the caller to remove; the log has the reason.
bool gf_downloadFile(CURL* handle, const std::string& url, const std::filesystem::path& file, bool binary);
// The version that the first line of a version file states; 0.0.0 on any failure.
Version gf_fetchVersion(CURL* handle, const std::string& url);
// gf_fetchVersion on a handle of its own, for a path below the base URL.
Version gf_versionOnServer(const std::string& path);

// Copies a downloaded file over its final place through a temporary beside it, so the old file stays
// whole until the new one is complete. False (target untouched) on any failure.
bool gf_replaceFile(const std::filesystem::path& from, const std::filesystem::path& to);
// Removes a file if it exists; throws filesystem_error ("exists", "remove").
void gf_removeIfExists(const std::filesystem::path& file);
