#include "frame/core/download.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <system_error>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "platform/files.h"

namespace fs = std::filesystem;

DownloadState download;

void gf_resetDownload() {
    std::lock_guard lock(download.settingsLock);
    download.baseUrlOverride.clear();
    download.connectTimeoutS = 10;
    download.stallTimeS = 30;
    download.archiveLimits = ZipLimits{};
    download.archiveWeek = 0;
}

namespace {
std::string lf_withSlash(std::string url) {
    if (!url.empty() && url.back() != '/') url += '/';
    return url;
}

size_t lf_writeToFile(char* data, size_t size, size_t count, void* file) {
    return std::fwrite(data, size, count, static_cast<FILE*>(file));
}

// Closes the file of a transfer on every way out.
struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};

// A handle from curl_easy_init to curl_easy_cleanup.
struct EasyHandle {
    CURL* h = curl_easy_init();
    ~EasyHandle() {
        if (h) curl_easy_cleanup(h);
    }
    EasyHandle() = default;
    EasyHandle(const EasyHandle&) = delete;
    EasyHandle& operator=(const EasyHandle&) = delete;
};
}  // namespace

std::string gf_updateBaseUrl() {
    {
        std::lock_guard lock(download.settingsLock);
        if (!download.baseUrlOverride.empty()) return download.baseUrlOverride;
    }
    if (const char* env = std::getenv(kUpdateUrlVariable); env != nullptr && *env != '\0') return lf_withSlash(env);
    return kUpdateBaseUrl;
}

void gf_setUpdateBaseUrl(std::string url) {
    std::lock_guard lock(download.settingsLock);
    download.baseUrlOverride = lf_withSlash(std::move(url));
}

void gf_setUpdateTimeouts(long connectS, long stallS) {
    std::lock_guard lock(download.settingsLock);
    download.connectTimeoutS = connectS;
    download.stallTimeS = stallS;
}

bool gf_downloadFile(CURL* handle, const std::string& url, const fs::path& file, bool binary) {
    if (handle == nullptr) return false;
    std::unique_ptr<FILE, FileCloser> out(std::fopen(file.string().c_str(), binary ? "wb" : "w"));
    if (!out) {
        gf_logLine(fmt::format("could not open file: {}", file.string()));
        return false;
    }
    long connectS = 0, stallS = 0;
    {
        std::lock_guard lock(download.settingsLock);
        connectS = download.connectTimeoutS;
        stallS = download.stallTimeS;
    }
    curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
    curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, lf_writeToFile);
    curl_easy_setopt(handle, CURLOPT_WRITEDATA, out.get());
    // An error status (404 page, 500) must not land in place of dbase.xml; a stalled server must not hold
    // the start of a run for ever.
    curl_easy_setopt(handle, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, connectS);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, 1L);
    curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, stallS);
    curl_easy_setopt(handle, CURLOPT_NOSIGNAL, 1L);
    const CURLcode result = curl_easy_perform(handle);
    const bool flushed = std::fflush(out.get()) == 0;
    out.reset();
    if (result == CURLE_OK && flushed) return true;
    gf_logLine(fmt::format("\"{}\" => \"{}\" download error: {}", url, file.string(),
                           result == CURLE_OK ? "write failed" : curl_easy_strerror(result)));
    return false;
}

Version gf_fetchVersion(CURL* handle, const std::string& url) {
    std::lock_guard lock(download.versionFileLock);
    const bool loaded = gf_downloadFile(handle, url, folders::versionJson, false);
    if (!loaded) {
        gf_logMark(fmt::format("downloading \"{}\" failed", url));
        gf_removeIfExists(folders::versionJson);
        return {};
    }
    std::string first;
    {
        std::ifstream in(folders::versionJson);
        if (!in) return {};
        std::getline(in, first);
    }
    if (!first.empty() && first.back() == '\r') first.pop_back();
    fs::remove(folders::versionJson);
    return gf_parseVersion(first);
}

Version gf_versionOnServer(const std::string& path) {
    EasyHandle handle;
    return gf_fetchVersion(handle.h, gf_updateBaseUrl() + path);
}

bool gf_replaceFile(const fs::path& from, const fs::path& to) {
    fs::path temp = to;
    temp += ".part";
    std::error_code ec;
    gf_copyFileReplacing(from, temp, ec);
    if (!ec) fs::rename(temp, to, ec);
    if (!ec) return true;
    fs::remove(temp, ec);
    return false;
}

void gf_removeIfExists(const fs::path& file) {
    if (fs::exists(file)) fs::remove(file);
}
