// service/weather.h — the Weather Reader: the QNH at the user's position, for as long as the session lives.
#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json.hpp>

#include "service/client.h"

// Thread body of the Weather Reader.
void gf_weatherReaderThread();
// The loop: false on its end, `code` 9999 stopped on request, else the status that ended it.
bool lf_weatherLoop(RtClient& client, int32_t& code);
// One exchange with /v4/nearestmetar; true when a station came.
bool lf_nearestMetar(RtClient& client, int32_t& code);
// Takes data.QNH of a weather answer (hPa, or hundredths of inches above 1080); `text` is the answer's body.
void lf_takePressure(const nlohmann::json& answer, const std::string& text);
// Main loop, every 15 ticks while the session is up: the weather lamp from weatherOk.
void gf_weatherLamps();
