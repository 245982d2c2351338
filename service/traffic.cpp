#include "service/traffic.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include <fmt/format.h>

#include "common/clock.h"
#include "common/geo.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "service/exchange.h"
#include "service/session.h"
#include "service/state.h"

namespace {
using json = nlohmann::json;

constexpr double kSameAreaDeg = 0.00015;  // a smaller move keeps the box
constexpr double kKmPerDegLat = 111.2;
constexpr int32_t kSlicesPerSecond = 100;

std::string lf_box(const TrafficReader& r) {
    return fmt::format("top={:.2F}&bottom={:.2F}&left={:.2F}&right={:.2F}", r.top.load(), r.bottom.load(),
                       r.left.load(), r.right.load());
}

void lf_pause(int32_t ms) { gf_sleepFor(std::chrono::milliseconds(ms)); }

// Slices of real time since the run began to hold its traffic for the loop.
int32_t lf_slicesHeld() {
    const auto held = std::chrono::duration_cast<std::chrono::milliseconds>(gf_steadyNow() - service.heldSince);
    return static_cast<int32_t>(held.count() / 10);
}

// The median time stamp of a snapshot's lines (field 10), before any is decoded; NaN when none has one.
double lf_medianStamp(const json& snapshot) {
    constexpr size_t kStampField = 10;
    std::vector<double> stamps;
    for (const json& line : snapshot)
        if (line.is_array() && line.size() > kStampField && line[kStampField].is_number_float())
            stamps.push_back(line[kStampField].get<double>());
    if (stamps.empty()) return std::numeric_limits<double>::quiet_NaN();
    std::nth_element(stamps.begin(), stamps.begin() + static_cast<long>(stamps.size() / 2), stamps.end());
    return stamps[stamps.size() / 2];
}

// Every non-empty entry of one buffered snapshot through the decoder.
void lf_decodeBuffered(TrafficReader& reader, json& snapshot) {
    for (auto it = snapshot.begin(); it != snapshot.end(); ++it) {
        if (it->is_null() || ((it->is_array() || it->is_object()) && it->empty())) continue;
        reader.line = std::move(*it);
        reader.processLiveLine();
    }
}
}  // namespace

void lf_updateArea() {
    TrafficReader& r = trafficReader;
    const double lat = service.queryLatitude.load();
    const double lon = service.queryLongitude.load();
    if (gf_isNullBox(lat, lon)) return;
    r.userLatitude = lat;
    r.userLongitude = lon;
    const double rangeNm = parDerived.rangeNm.load();
    if (std::fabs(lat - r.areaLatitude) < kSameAreaDeg && std::fabs(lon - r.areaLongitude) < kSameAreaDeg &&
        rangeNm == r.areaRangeNm)
        return;
    r.areaLatitude = lat;
    r.areaLongitude = lon;
    r.areaRangeNm = rangeNm;
    const double halfHeight = rangeNm * 1.852 / kKmPerDegLat;
    r.top = lat + halfHeight;
    r.bottom = lat - halfHeight;
    r.left = gf_destinationPoint({lat, lon}, -kPi / 2.0, rangeNm * kFeetPerNm).lon;
    r.right = gf_destinationPoint({lat, lon}, kPi / 2.0, rangeNm * kFeetPerNm).lon;
}

void lf_handOverSnapshot(TrafficReader& reader, int32_t delaySeconds, double reference) {
    auto& batch = reader.batch;
    if (batch.empty()) {
        reader.lastTrafficTime = 0.0;
        return;
    }
    // The median time stamp is the snapshot's reference: an older position is due earlier, to a tenth.
    if (std::isnan(reference)) {
        static thread_local std::vector<double> stamps;
        stamps.clear();
        for (const TrafficRecord& r : batch) stamps.push_back(r.timestamp);
        std::sort(stamps.begin(), stamps.end());
        reference = stamps[stamps.size() / 2];
    }
    size_t dropped = 0;
    {
        std::lock_guard lock(service.trafficLock);
        // Before the loop the slice counter stands still: the records count their due slices from the
        // start of the hold, and the loop's start takes off what has passed by then.
        const int32_t held = service.holdUntilLoop && !service.acceptTraffic ? lf_slicesHeld() : 0;
        const int32_t base = delaySeconds * kSlicesPerSecond + service.sliceNow() + held;
        for (TrafficRecord& r : batch) {
            const auto tenths = static_cast<int32_t>((r.timestamp - reference) * 10.0);
            r.dueTick = base + tenths * 10;
        }
        if (service.acceptTraffic || service.holdUntilLoop) {
            if (delaySeconds > 0) {
                auto& queue = service.liveQueue;
                for (TrafficRecord& r : batch) {
                    if (queue.size() >= kLiveQueueLimit) {
                        ++dropped;
                        continue;
                    }
                    queue.push_back(std::move(r));
                }
                service.liveDropped += static_cast<int64_t>(dropped);
            } else if (service.initialLoad.empty()) {
                service.initialLoad = batch;
            }
        }
    }
    if (dropped > 0) gf_logMarkf("{} traffic records dropped: the engine takes none", dropped);
    batch.clear();
}

void gf_handOverHistory(TrafficReader& reader, json& data) {
    if (!data.is_object()) return;
    // "buffer_0" is the present. Timed each by its own median, the oldest snapshot would be due at once
    // and the whole history shown 24 s late, not 30 like the snapshots that follow: the aircraft started
    // from it would run ahead of their real flights. All five are timed from the present instead, each
    // position 30 s after its own time stamp.
    const auto newest = data.find("buffer_0");
    const double present = newest == data.end() ? std::nan("") : lf_medianStamp(*newest);
    for (int32_t i = 0; i < kHistoryCount; ++i) {
        const int32_t delay = i * kHistorySpacingSeconds;
        auto snapshot = data.find(fmt::format("buffer_{}", kHistoryCount - 1 - i));
        if (snapshot != data.end() && !snapshot->empty()) lf_decodeBuffered(reader, *snapshot);
        reader.liveCount = static_cast<int32_t>(reader.batch.size());
        lf_handOverSnapshot(reader, delay, present - (kLiveDelaySeconds - delay));
    }
}

bool lf_fetchTrafficBuffer(TrafficReader& reader, int32_t& code) {
    if (reader.guid.empty()) return false;
    bool result = false;
    const std::string body =
        fmt::format("GUID={}&{}&querytype=locationtraffic&toffset={}&buffercount={}&buffertime={}", reader.guid,
                    lf_box(reader), reader.toffset.load(), kHistoryCount, kHistorySpacingSeconds);
    const CURLcode transfer = lf_postForm(reader, "/v4/traffic", body, reader.answer);
    if (transfer != CURLE_OK) {
        gf_logf("{} buffer traffic code_t: {}", gf_exchangeTime(), curl_easy_strerror(transfer));
    } else if (reader.answer.empty()) {
        gf_logLine("buffer traffic: empty content");
    } else {
        try {
            json answer = json::parse(reader.answer);
            const int32_t status = gf_answerStatus(answer);
            if (status != 200) {
                code = status;
                if (status == 406) gf_logf(" buffer traffic msg {}", gf_answerText(answer, "message"));
            } else {
                reader.rrl = gf_answerInt(answer, "rrl", kDefaultRateLimitMs);
                reader.collectSeen = true;
                auto data = answer.find("data");
                if (data != answer.end() && !data->empty()) {
                    gf_handOverHistory(reader, *data);
                    result = true;
                }
            }
        } catch (const std::exception& e) {
            gf_logf("buffer traffic exception: {}", e.what());
        }
    }
    lf_pause(reader.rrl);
    if (reader.stopRequested) {
        code = 9999;
        return false;
    }
    return result;
}

bool lf_trafficLoop(TrafficReader& reader, int32_t& code) {
    if (reader.guid.empty()) return false;
    if (!lf_fetchTrafficBuffer(reader, code) && !reader.stopRequested) gf_logf("buffer failed {}", code);
    for (;;) {
        if (reader.stopRequested) {
            code = 9999;
            return false;
        }
        const std::string body = fmt::format("GUID={}&{}&querytype=locationtraffic&toffset={}", reader.guid,
                                             lf_box(reader), reader.toffset.load());
        try {
            const CURLcode transfer = lf_postForm(reader, "/v4/traffic", body, reader.answer);
            if (transfer == CURLE_FAILED_INIT) {
                gf_logLine("curl init error ?");
            } else if (transfer == CURLE_ABORTED_BY_CALLBACK) {
                // the reader was told to stop: nothing went wrong
            } else if (transfer != CURLE_OK) {
                gf_logf("{} curl traffic code_t: {}", gf_exchangeTime(), curl_easy_strerror(transfer));
            } else if (reader.answer.empty()) {
                gf_logLine("traffic receive: empty content");
            } else {
                json answer = json::parse(reader.answer);
                const int32_t status = gf_answerStatus(answer);
                if (status == 406) {
                    gf_logf("curl traffic msg {}", gf_answerText(answer, "message"));
                } else if (status != 200) {
                    code = status;
                    return false;
                } else {
                    reader.rrl = gf_answerInt(answer, "rrl", kDefaultRateLimitMs);
                    auto data = answer.find("data");
                    if (data != answer.end() && !data->empty()) {
                        for (auto it = data->begin(); it != data->end(); ++it) {
                            reader.line = std::move(*it);
                            reader.processLiveLine();
                        }
                    }
                    reader.liveCount = static_cast<int32_t>(reader.batch.size());
                    lf_handOverSnapshot(reader, kLiveDelaySeconds);
                }
            }
        } catch (const std::exception& e) {
            gf_logf("traffic exception: {}", e.what());
        }
        if (reader.stopRequested) {
            code = 9999;
            return false;
        }
        lf_pause(reader.rrl);
    }
}

void gf_trafficReaderThread() {
    run.activeThreads++;
    try {
        gf_logf("{} connected", "Traffic Reader");
        panel.trafficLamp = 1;
        gf_invalidate(Band::Status);
        int32_t code = 0;
        lf_trafficLoop(trafficReader, code);
        gf_readerEnded("Traffic", panel.trafficLamp, weatherClient, code, false);
    } catch (...) {
        panel.trafficLamp = 3;
        gf_reportException("Traffic Reader");
    }
    run.activeThreads--;
    trafficReader.readerRunning = false;
}

void gf_setAcceptTraffic(bool accept) {
    std::lock_guard lock(service.trafficLock);
    if (accept && service.holdUntilLoop && !service.acceptTraffic) {
        // The seconds of the start-up after each record came are gone: its due slice comes that much sooner.
        const int32_t held = lf_slicesHeld();
        for (TrafficRecord& r : service.initialLoad) r.dueTick -= held;
        for (TrafficRecord& r : service.liveQueue) r.dueTick -= held;
    }
    service.acceptTraffic = accept;
    service.holdUntilLoop = false;
    if (accept) return;
    service.liveQueue.clear();
    service.initialLoad.clear();
}

void gf_holdTrafficUntilLoop() {
    std::lock_guard lock(service.trafficLock);
    service.acceptTraffic = false;
    service.holdUntilLoop = true;
    service.heldSince = gf_steadyNow();
    service.liveQueue.clear();
    service.initialLoad.clear();
}

void gf_takeSeenAircraft(std::unordered_set<std::string>& callsigns, std::unordered_set<uint32_t>& hexids) {
    TrafficReader& r = trafficReader;
    std::lock_guard lock(r.seenLock);
    callsigns = std::move(r.seenCallsigns);
    hexids = std::move(r.seenHexids);
    r.seenCallsigns.clear();
    r.seenHexids.clear();
    r.collectSeen = false;
}

void gf_trafficLamps() {
    if (!panel.sessionUp.load() || panel.trafficLamp.load() == 3) return;
    const int32_t lamp = trafficReader.liveCount.load() < 1 ? 2 : 1;
    if (panel.trafficLamp.exchange(lamp) != lamp) gf_invalidate(Band::Status);
}
