// service/client.h — the two sides of the conversation with the traffic service.
// The weather side logs in and polls the weather; TrafficReader polls traffic and decodes it.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <string>
#include <unordered_set>
#include <vector>

#include <nlohmann/json.hpp>

#include "service/record.h"

typedef void CURL;

constexpr int32_t kDefaultRateLimitMs = 2000;  // rrl and wrrl when the service names none

struct RtClient {
    RtClient();   // curl_global_init
    ~RtClient();  // curl_global_cleanup
    RtClient(const RtClient&) = delete;
    RtClient& operator=(const RtClient&) = delete;

    std::string guid;                        // session token; written before the readers start
    nlohmann::json line;                     // the line in hand (decoder)
    CURL* handle = nullptr;                  // valid during one exchange only
    std::string answer;                      // body of the answer in hand
    std::atomic<int32_t> toffset{0};         // time shift, minutes, 0..40320; written by the main thread
    int32_t rrl = kDefaultRateLimitMs;       // pause between two traffic requests, ms
    int32_t wrrl = kDefaultRateLimitMs;      // pause between two weather requests, ms
    std::atomic<bool> stopRequested{false};  // the reader's loop ends at its next test
    // The reader thread of this side is started and has not ended. Its last act is to clear it, so the
    // exit, which logs out with this side's session, sees everything the reader did before.
    std::atomic<bool> readerRunning{false};
    std::string authAnswer;  // body of the login or logout answer

    void clearSession();  // guid, answers, line, handle
};

struct TrafficReader : RtClient {
    TrafficReader();

    // Query box in degrees: a fixed box that belongs to no aircraft until the first valid position.
    // Written by the main thread, read when a request is built; a half-updated box is fixed at the next poll.
    std::atomic<double> top{52.44}, bottom{52.17}, left{4.54}, right{4.98};
    double areaLatitude = 0.0;  // user position at the last change of the box (main thread)
    double areaLongitude = 0.0;
    double areaRangeNm = -1.0;          // range at the last change of the box
    std::atomic<int32_t> liveCount{0};  // records of the last snapshot, for the panel

    // Decoder state, Reader thread only unless said otherwise.
    TrafficRecord scratch;             // the record being built
    std::vector<TrafficRecord> batch;  // decoded records of the snapshot in hand, arrival order
    std::mutex seenLock;               // the seen sets: Reader adds, parking takes
    std::unordered_set<std::string> seenCallsigns;
    std::unordered_set<uint32_t> seenHexids;
    std::atomic<bool> collectSeen{false};      // add every decoded aircraft to the seen sets
    std::atomic<double> lastTrafficTime{0.0};  // time stamp of the line decoded last, s since 1970
    std::atomic<double> userLatitude{0.0};     // user position, degrees; main thread writes at each area update
    std::atomic<double> userLongitude{0.0};
    // The parked traffic query (service/parked.h): one exchange on the engine thread beside the loop, with
    // a handle, an answer and a box of its own.
    std::atomic<double> parkTop{0.0}, parkBottom{0.0}, parkLeft{0.0}, parkRight{0.0};  // degrees
    CURL* parkHandle = nullptr;                                                        // valid during the query only
    std::string parkAnswer;                                                            // body of the answer in hand
    nlohmann::json parkLine;                                                           // the parked line in hand
    PtRecord parkScratch;                                                              // the record being built
    std::vector<PtRecord> parkedTraffic;  // result of the last query, youngest first
    std::string blockedCallsign;          // the callsign blocked last
    bool notBlocked = true;               // no block has been carried out for BLOCK_CALLSIGN yet

    // Turns `line` into `scratch` and appends it to `batch`, or drops it.
    // Throws zel::SysErrorException 744 (corrupt position) and 746 (true heading above 360).
    void processLiveLine();
    void resetDecoder();  // scratch, batch, seen state, lastTrafficTime, area, notBlocked
};

extern RtClient weatherClient;       // the weather side: login, Weather Reader
extern TrafficReader trafficReader;  // Traffic Reader, logout
