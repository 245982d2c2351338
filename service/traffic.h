// service/traffic.h — the Traffic Reader: history, polling, hand-over of each snapshot to the engine.
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <unordered_set>

#include "service/client.h"
#include "service/record.h"

constexpr int32_t kLiveDelaySeconds = 30;      // a live snapshot is shown this far behind its reference time
constexpr int32_t kHistoryCount = 5;           // buffered snapshots of the history request
constexpr int32_t kHistorySpacingSeconds = 6;  // seconds between two of them
constexpr size_t kLiveQueueLimit = 8192;       // records; the engine takes them every 10 ms while it runs

// Thread body of the Traffic Reader.
void gf_trafficReaderThread();
// The polling loop: false always; `code` 9999 stopped on request, 100 no numeric status, else the status.
bool lf_trafficLoop(TrafficReader& reader, int32_t& code);
// The one history request; true when a history was delivered and handed over.
bool lf_fetchTrafficBuffer(TrafficReader& reader, int32_t& code);
// The `data` of a history answer: its snapshots from the oldest ("buffer_4", the initial load) to the
// newest, each decoded and handed over 6 seconds after the one before.
void gf_handOverHistory(TrafficReader& reader, nlohmann::json& data);
// Recomputes the query box from the query position and the range; main thread.
void lf_updateArea();
// Gives `batch` to the engine with due ticks `delaySeconds` ahead and empties it: a record stamped
// `reference` is due then, older and younger ones as much earlier or later (NaN: the batch's median stamp).
// 0 is the initial load, above 0 goes to the live queue; both only while traffic is accepted or held.
void lf_handOverSnapshot(TrafficReader& reader, int32_t delaySeconds,
                         double reference = std::numeric_limits<double>::quiet_NaN());
// Traffic accepted (the flight runs in the loop) or refused (the flight stopped, the run ends): a refusal
// empties the live queue and the initial load. Takes the traffic lock.
void gf_setAcceptTraffic(bool accept);
// Start of a run: what the Traffic Reader hands over is kept until the loop accepts it.
void gf_holdTrafficUntilLoop();
// Static parking: takes the seen sets and stops collecting.
void gf_takeSeenAircraft(std::unordered_set<std::string>& callsigns, std::unordered_set<uint32_t>& hexids);
// Main loop, every 15 ticks while the session is up: traffic lamp 1 or 2 from liveCount.
void gf_trafficLamps();
