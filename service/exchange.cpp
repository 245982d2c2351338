#include "service/exchange.h"

#include <cstdlib>
#include <mutex>

#include "common/clock.h"
#include "frame/core/log.h"

namespace {
std::mutex g_settingsLock;  // guards the two settings below; taken only around copies
std::string g_baseUrlOverride;
TransferLimits g_limits;

// Appends what the library hands over; 0 tells it to abort when there is nowhere to put it.
size_t lf_writeAnswer(char* data, size_t size, size_t count, void* userData) {
    auto* answer = static_cast<std::string*>(userData);
    if (answer == nullptr) return 0;
    answer->append(data, size * count);
    return size * count;
}

// Lets a stop request end a transfer that would otherwise sit out the low-speed limit.
int lf_progress(void* clientData, curl_off_t, curl_off_t, curl_off_t, curl_off_t) {
    const auto* client = static_cast<const RtClient*>(clientData);
    return client->stopRequested.load() ? 1 : 0;
}

// The paths begin with '/': a base ending in one would make "//v4/auth", which servers refuse.
std::string lf_withoutTrailingSlash(std::string url) {
    while (!url.empty() && url.back() == '/') url.pop_back();
    return url;
}
}  // namespace

std::string gf_serviceBaseUrl() {
    {
        std::lock_guard lock(g_settingsLock);
        if (!g_baseUrlOverride.empty()) return g_baseUrlOverride;
    }
    if (const char* env = std::getenv(kServiceUrlVariable); env != nullptr && *env != '\0')
        return lf_withoutTrailingSlash(env);
    return kServiceBaseUrl;
}

void gf_setServiceBaseUrl(std::string url) {
    std::lock_guard lock(g_settingsLock);
    g_baseUrlOverride = lf_withoutTrailingSlash(std::move(url));
}

TransferLimits gf_transferLimits() {
    std::lock_guard lock(g_settingsLock);
    return g_limits;
}

void gf_setTransferLimits(TransferLimits limits) {
    std::lock_guard lock(g_settingsLock);
    g_limits = limits;
}

CURLcode lf_postForm(RtClient& client, std::string_view path, const std::string& body, std::string& answer) {
    return lf_postForm(client, client.handle, path, body, answer);
}

CURLcode lf_postForm(RtClient& client, CURL*& handle, std::string_view path, const std::string& body,
                     std::string& answer) {
    answer.clear();
    handle = curl_easy_init();
    if (handle == nullptr) return CURLE_FAILED_INIT;
    const std::string url = gf_serviceBaseUrl() + std::string(path);
    const TransferLimits limits = gf_transferLimits();
    CURL* h = handle;
    curl_easy_setopt(h, CURLOPT_URL, url.c_str());
    curl_easy_setopt(h, CURLOPT_ACCEPT_ENCODING, "deflate,gzip");
    curl_easy_setopt(h, CURLOPT_POSTFIELDS, body.c_str());  // `body` outlives the transfer
    curl_easy_setopt(h, CURLOPT_WRITEDATA, &answer);
    curl_easy_setopt(h, CURLOPT_WRITEFUNCTION, lf_writeAnswer);
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT, limits.connectTimeoutS);
    curl_easy_setopt(h, CURLOPT_LOW_SPEED_LIMIT, limits.lowSpeedLimit);
    curl_easy_setopt(h, CURLOPT_LOW_SPEED_TIME, limits.lowSpeedTimeS);
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);  // time-outs in a worker thread must not raise signals
    // The logout is asked for after the readers were told to stop: a stop request must not cut it off.
    if (path != "/v4/deauth") {
        curl_easy_setopt(h, CURLOPT_XFERINFOFUNCTION, lf_progress);
        curl_easy_setopt(h, CURLOPT_XFERINFODATA, &client);
        curl_easy_setopt(h, CURLOPT_NOPROGRESS, 0L);
    }
    const CURLcode result = curl_easy_perform(h);
    curl_easy_cleanup(h);
    handle = nullptr;
    return result;
}

int32_t gf_answerStatus(const nlohmann::json& answer) { return gf_answerInt(answer, "status", 100); }

int32_t gf_answerInt(const nlohmann::json& answer, const char* key, int32_t fallback) {
    if (!answer.is_object()) return fallback;
    const auto it = answer.find(key);
    if (it == answer.end() || !it->is_number()) return fallback;
    if (it->is_number_float()) return static_cast<int32_t>(it->get<double>());
    return it->get<int32_t>();
}

std::string gf_answerText(const nlohmann::json& answer, const char* key, const char* fallback) {
    if (!answer.is_object()) return fallback;
    const auto it = answer.find(key);
    if (it == answer.end() || !it->is_string()) return fallback;
    return it->get<std::string>();
}

std::string gf_exchangeTime() { return gf_timeStamp(gf_utcNow()); }
