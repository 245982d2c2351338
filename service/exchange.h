// service/exchange.h — the one way the client talks HTTP: a form POST to the traffic service.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <curl/curl.h>
#include <nlohmann/json.hpp>

#include "service/client.h"

inline constexpr const char* kServiceBaseUrl = "https://rtwa.flyrealtraffic.com";
// Environment variable that points the client at another server (a test double, a proxy).
inline constexpr const char* kServiceUrlVariable = "ZARK_RT_URL";

// A stalled transfer must not hold a reader and the exit forever.
struct TransferLimits {
    long connectTimeoutS = 10;  // to set up the connection
    long lowSpeedLimit = 1;     // bytes per second ...
    long lowSpeedTimeS = 30;    // ... below which for this long the transfer is abandoned
};

std::string gf_serviceBaseUrl();             // override, else ZARK_RT_URL, else kServiceBaseUrl
void gf_setServiceBaseUrl(std::string url);  // empty restores the default
TransferLimits gf_transferLimits();
void gf_setTransferLimits(TransferLimits limits);

// One exchange with a fresh handle held in client.handle: the answer lands in `answer` (emptied first).
// CURLE_FAILED_INIT when no handle could be made. A stop request of the client aborts the transfer.
CURLcode lf_postForm(RtClient& client, std::string_view path, const std::string& body, std::string& answer);
// The same with a handle of the caller's own (a query beside the client's loop); the client's stop
// request still aborts it.
CURLcode lf_postForm(RtClient& client, CURL*& handle, std::string_view path, const std::string& body,
                     std::string& answer);

// `status` of an answer; 100 when it is missing or no number.
int32_t gf_answerStatus(const nlohmann::json& answer);
// A numeric member as an integer, else `fallback`.
int32_t gf_answerInt(const nlohmann::json& answer, const char* key, int32_t fallback);
// A string member, else `fallback`.
std::string gf_answerText(const nlohmann::json& answer, const char* key, const char* fallback = "");
// The UTC time as the 24 characters of asctime, for transport failures.
std::string gf_exchangeTime();
