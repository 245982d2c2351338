#include "service/session.h"

#include <chrono>

#include <fmt/format.h>

#include "common/clock.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "service/exchange.h"
#include "service/state.h"

constexpr int32_t kLoginRefusalWaitMs = 10000;  // the user reads the refusal before the run stops

bool lf_authenticate(RtClient& client, int32_t& status) {
    client.authAnswer.clear();
    const std::string body =
        fmt::format("license={}&software={}_{}", service.accountKey, kProgramName, kProgramVersionText);
    bool result = false;
    const CURLcode code = lf_postForm(client, "/v4/auth", body, client.authAnswer);
    if (code == CURLE_FAILED_INIT) {
        // nothing logged: the readers end on the empty GUID
    } else if (code != CURLE_OK) {
        gf_logf("{} Authentication code: {}", gf_exchangeTime(), curl_easy_strerror(code));
    } else {
        try {
            const nlohmann::json answer = nlohmann::json::parse(client.authAnswer);
            const auto st = answer.is_object() ? answer.find("status") : answer.end();
            const bool numeric = answer.is_object() && st != answer.end() && st->is_number();
            const int32_t value = numeric ? gf_answerStatus(answer) : 0;
            if (numeric && (value == 400 || value == 402 || value == 404 || value == 405 || value == 500)) {
                status = value;
            } else {
                client.rrl = gf_answerInt(answer, "rrl", kDefaultRateLimitMs);
                client.wrrl = gf_answerInt(answer, "wrrl", kDefaultRateLimitMs);
                gf_logf("Authenticated at RT server \"{}\"", gf_answerText(answer, "server", "?"));
                client.guid = gf_answerText(answer, "GUID", "empty GUID?");
                panel.sessionUp = true;
                gf_invalidate(Band::Status);
                result = true;
            }
        } catch (const nlohmann::json::exception& e) {
            gf_logMarkf("Authentication answer unreadable: {}", e.what());
        }
    }
    gf_sleepFor(std::chrono::milliseconds(client.wrrl));
    return result;
}

void gf_rtLogin(RtClient& client) {
    int32_t status = 0;
    if (!lf_authenticate(client, status)) {
        if (status == 402 || status == 404 || status == 405) {
            const std::string text =
                fmt::format("The RealTraffic service refused the login with status {}: check the licence key in {}",
                            status, kAccountKeyFile);
            gf_showMessage(text, true);
            gf_sleepFor(std::chrono::milliseconds(kLoginRefusalWaitMs));
            throw zel::UserErrorException(status, text);
        }
        if (status == 500) throw zel::SysErrorException(500, "No RT database connection");
    }
    trafficReader.guid = client.guid;
}

void gf_rtLogout() {
    try {
        if (trafficReader.guid.empty()) return;
        RtClient& client = trafficReader;
        client.authAnswer.clear();
        const std::string body = fmt::format("GUID={}", client.guid);
        const CURLcode code = lf_postForm(client, "/v4/deauth", body, client.authAnswer);
        if (code != CURLE_OK) {
            gf_logf("{} Deauthentication code: {}", gf_exchangeTime(), curl_easy_strerror(code));
        }
        nlohmann::json answer;
        try {
            answer = nlohmann::json::parse(client.authAnswer);
        } catch (const nlohmann::json::exception&) {
            answer = nullptr;  // counts as status 100
        }
        const int32_t status = gf_answerStatus(answer);
        if (status == 200) {
            panel.sessionUp = false;
            gf_invalidate(Band::Status);
            trafficReader.guid.clear();
            gf_logf("{} RT server \"{}\"", gf_answerText(answer, "message"), gf_answerText(answer, "server"));
        } else {
            gf_logf("Deauthentication failed, status: {}", status);
        }
    } catch (const std::exception& e) {
        gf_logMarkf("Deauthentication: {}", e.what());
    }
}

void gf_resetReaders() {
    weatherClient.clearSession();
    trafficReader.clearSession();
    weatherClient.stopRequested = false;
    trafficReader.stopRequested = false;
    trafficReader.resetDecoder();
    trafficReader.parkedTraffic.clear();
    service.qnh = 1013;
    service.engineQnh = 1013;
    service.lastQnh = 1013;
    panel.qnhShown = 1013;
    gf_invalidate(Band::Status);
}

void gf_readerEnded(const char* side, std::atomic<int32_t>& lamp, RtClient& other, int32_t code, bool mark) {
    lamp = 3;
    gf_invalidate(Band::Status);
    const auto log = [mark](const std::string& text) { mark ? gf_logMark(text) : gf_logLine(text); };
    if (code == 401)
        log(fmt::format("re-authentication to RT API is needed, restart {}", kProgramName));
    else if (code == 400)
        log(fmt::format("{} RT API: parameter fault", side));
    else if (code != 9999)
        gf_logf("{} RT API error: {}", side, code);
    if (code == 9999) return;
    other.stopRequested = true;
    // One text stands for both readers.
    gf_showMessagef(true, "The {} has stopped with an error", "WeatherReader");
    if (code == 401)
        gf_requestExit(kExitRestart, 15);
    else
        run.readerStopped = true;
}
