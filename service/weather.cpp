#include "service/weather.h"

#include <chrono>
#include <cmath>
#include <stdexcept>

#include <fmt/format.h>

#include "common/clock.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "service/exchange.h"
#include "service/session.h"
#include "service/state.h"

namespace {
using json = nlohmann::json;

constexpr int32_t kQnhMin = 930;  // hPa; outside 930..1080 the value is not believed
constexpr int32_t kQnhMax = 1080;
constexpr double kHpaPerHundredthInch = 0.33865307;  // 2992 hundredths of inHg are 1013 hPa

void lf_pause(const RtClient& client) {
    if (!client.stopRequested) gf_sleepFor(std::chrono::milliseconds(client.wrrl));
}

double lf_userLatitude() { return service.queryLatitude.load(); }
double lf_userLongitude() { return service.queryLongitude.load(); }
}  // namespace

bool lf_nearestMetar(RtClient& client, int32_t& code) {
    bool result = false;
    const std::string body = fmt::format("GUID={}&toffset={}&lat={:.4F}&lon={:.4F}", client.guid, client.toffset.load(),
                                         lf_userLatitude(), lf_userLongitude());
    const CURLcode transfer = lf_postForm(client, "/v4/nearestmetar", body, client.answer);
    if (transfer == CURLE_FAILED_INIT) {
        gf_logMark("curl init error ?");
    } else if (transfer != CURLE_OK) {
        gf_logMarkf("{} nearestmetar code_w: {}", gf_exchangeTime(), curl_easy_strerror(transfer));
    } else if (client.answer.empty()) {
        gf_logMark("nearest metar: empty content");
    } else {
        try {
            const json answer = json::parse(client.answer);
            const int32_t status = gf_answerStatus(answer);
            if (status == 200) {
                const auto data = answer.find("data");
                const bool hasIcao =
                    data != answer.end() && data->is_object() && data->contains("ICAO") && (*data)["ICAO"].is_string();
                if (hasIcao) {
                    service.metarStation = (*data)["ICAO"].get<std::string>();
                    service.weatherOk = true;
                    result = true;
                } else {
                    service.metarStation.clear();
                }
            } else {
                code = status;
                if (status == 406 || status == 500)
                    gf_logMarkf("{} json nearestmetar {}", status, gf_answerText(answer, "message"));
            }
        } catch (const std::exception& e) {
            gf_logf("weather exception: {}", e.what());
        }
    }
    lf_pause(client);
    return result;
}

void lf_takePressure(const json& answer, const std::string& text) {
    const auto data = answer.find("data");
    if (data == answer.end() || !data->is_object() || !data->contains("QNH") || (*data)["QNH"].is_null()) {
        gf_logMarkf("No QNH found in {}", text);
        return;
    }
    const json& qnhField = (*data)["QNH"];
    int32_t value = 1013;
    if (qnhField.is_number()) {
        value = static_cast<int32_t>(std::lround(qnhField.get<double>()));
    } else if (qnhField.is_string()) {
        try {
            value = std::stoi(qnhField.get<std::string>());
        } catch (const std::invalid_argument& e) {
            gf_logMarkf("QNH string invalid arg: {}", e.what());
        } catch (const std::out_of_range& e) {
            gf_logMarkf("QNH string out of range: {}", e.what());
        }
    } else {
        gf_logMarkf("No QNH found in {}", text);
        return;
    }
    if (value > kQnhMax) value = static_cast<int32_t>(std::lround(value * kHpaPerHundredthInch));
    if (value < kQnhMin || value > kQnhMax) {
        gf_logMarkf("Strange QNH {} found in {}", value, text);
        return;
    }
    if (value != service.lastQnh || value == 1013) {
        service.lastQnh = value;
        service.qnh.exchange(value);
        service.engineQnh.exchange(value);
        panel.qnhShown = value;
        int32_t stale = 2;
        panel.weatherLamp.compare_exchange_strong(stale, 1);
        gf_invalidate(Band::Status);
    }
}

bool lf_weatherLoop(RtClient& client, int32_t& code) {
    if (client.guid.empty()) return false;
    while (!client.stopRequested) {
        try {
            if (!lf_nearestMetar(client, code)) {
                if (code == 400 || code == 401) break;
            } else {
                const auto altitude = static_cast<int64_t>(service.queryAltitudeFt.load());
                const std::string body =
                    fmt::format("GUID={}&querytype=locwx&toffset={}&lat={:.4F}&lon={:.4F}&alt={}&airports={}",
                                client.guid, client.toffset.load(), lf_userLatitude(), lf_userLongitude(),
                                altitude > 0 ? altitude : 0, service.metarStation);
                const CURLcode transfer = lf_postForm(client, "/v4/weather", body, client.answer);
                if (transfer == CURLE_FAILED_INIT) {
                    gf_logMark("curl init error ?");
                    service.weatherOk = false;
                } else if (transfer == CURLE_ABORTED_BY_CALLBACK) {
                    service.weatherOk = false;  // the reader was told to stop: nothing went wrong
                } else if (transfer != CURLE_OK || client.answer.empty()) {
                    if (transfer != CURLE_OK)
                        gf_logMarkf("{} weather code_w: {}", gf_exchangeTime(), curl_easy_strerror(transfer));
                    else
                        gf_logMark("Empty content?, no QNH to be found");
                    service.weatherOk = false;
                } else {
                    const json answer = json::parse(client.answer);
                    const int32_t status = gf_answerStatus(answer);
                    if (status == 406 || status == 500) {
                        code = status;
                        gf_logMarkf("{} json weather {}", status, gf_answerText(answer, "message"));
                    } else if (status != 200) {
                        code = status;
                        break;
                    } else {
                        client.wrrl = gf_answerInt(answer, "wrrl", kDefaultRateLimitMs);
                        lf_takePressure(answer, client.answer);
                    }
                    service.weatherOk = status == 200;
                }
            }
        } catch (const std::exception& e) {
            gf_logf("weather exception: {}", e.what());
        }
        lf_pause(client);
    }
    if (client.stopRequested) code = 9999;
    return false;
}

void gf_weatherReaderThread() {
    run.activeThreads++;
    try {
        gf_logf("{} connected", "Weather Reader");
        panel.weatherLamp = 1;
        gf_invalidate(Band::Status);
        int32_t code = 0;
        lf_weatherLoop(weatherClient, code);
        gf_readerEnded("Weather", panel.weatherLamp, trafficReader, code, true);
    } catch (...) {
        panel.weatherLamp = 3;
        gf_reportException("Weather Reader");
    }
    run.activeThreads--;
    weatherClient.readerRunning = false;
}

void gf_weatherLamps() {
    if (!service.weatherOk && service.weatherLampHeld) {
        panel.weatherLamp = 2;
        gf_invalidate(Band::Status);
        service.weatherLampHeld = false;
    } else if (service.weatherOk && !service.weatherLampHeld) {
        service.weatherLampHeld = true;
        panel.weatherLamp = 1;
        gf_invalidate(Band::Status);
    }
}
