#include "service/state.h"

#include <cmath>

#include <curl/curl.h>

#include "service/client.h"

ServiceState service;
RtClient weatherClient;
TrafficReader trafficReader;

constexpr size_t kAnswerReserve = 16384;  // bytes; a snapshot answer of a busy region
constexpr size_t kBatchReserve = 384;     // records of one snapshot

RtClient::RtClient() { curl_global_init(CURL_GLOBAL_ALL); }
RtClient::~RtClient() { curl_global_cleanup(); }

void RtClient::clearSession() {
    guid.clear();
    answer.clear();
    authAnswer.clear();
    line = nullptr;
    handle = nullptr;
}

TrafficReader::TrafficReader() {
    answer.reserve(kAnswerReserve);
    batch.reserve(kBatchReserve);
}

void TrafficReader::resetDecoder() {
    scratch = TrafficRecord{};
    batch.clear();
    {
        std::lock_guard lock(seenLock);
        seenCallsigns.clear();
        seenHexids.clear();
    }
    collectSeen = false;
    lastTrafficTime = 0.0;
    liveCount = 0;
    top = 52.44;
    bottom = 52.17;
    left = 4.54;
    right = 4.98;
    areaLatitude = 0.0;
    areaLongitude = 0.0;
    areaRangeNm = -1.0;
    notBlocked = true;
}

void gf_setQueryPosition(double latitude, double longitude, double altitudeFt) {
    service.queryLatitude = latitude;
    service.queryLongitude = longitude;
    service.queryAltitudeFt = altitudeFt;
}

void gf_setParkAirport(double latitude, double longitude, double elevationFt) {
    service.parkLatitude = latitude;
    service.parkLongitude = longitude;
    service.parkAirportElevation = elevationFt;
    service.parkAirportSet = true;
}

void gf_clearParkAirport() {
    service.parkAirportSet = false;
    service.parkAirportElevation = std::nan("");
}

void gf_resetService() {
    {
        std::lock_guard lock(service.trafficLock);
        service.acceptTraffic = false;
        service.holdUntilLoop = true;
        service.heldSince = gf_steadyNow();
        service.initialLoad.clear();
        service.liveQueue.clear();
        service.liveDropped = 0;
    }
    service.accountKey.clear();
    service.qnh = 1013;
    service.engineQnh = 1013;
    service.lastQnh = 1013;
    service.metarStation.clear();
    service.weatherOk = false;
    service.weatherLampHeld = false;
    gf_setQueryPosition(0.0, 0.0, 0.0);
    gf_clearParkAirport();
    service.sliceNow = [] { return 0; };
    for (RtClient* c : {static_cast<RtClient*>(&weatherClient), static_cast<RtClient*>(&trafficReader)}) {
        c->clearSession();
        c->toffset = 0;
        c->rrl = kDefaultRateLimitMs;
        c->wrrl = kDefaultRateLimitMs;
        c->stopRequested = false;
    }
    trafficReader.resetDecoder();
    trafficReader.blockedCallsign.clear();
}
