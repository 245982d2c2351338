// The intake of traffic records: which records become an aircraft, which samples an aircraft keeps, and
// what a record tells about the identity of an aircraft already in the simulator.
#include "engine/intake.h"

#include <cmath>
#include <mutex>
#include <utility>

#include <fmt/format.h>

#include "common/geo.h"
#include "engine/admission.h"
#include "engine/motion.h"
#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"
#include "service/state.h"

namespace {
constexpr size_t kDoublePaceAbove = 150;  // a batch larger than this is offered two records a slice
constexpr int32_t kBatchRipe = 201;       // slices since the last batch began before a new one may start
constexpr int32_t kBatchStartEvery = 10;  // and only on a multiple of this
constexpr double kMetresPerNauticalMile = 1852.0;

bool lf_passesCategory(ModelCategory c) {
    switch (c) {
        case ModelCategory::Light: return LIGHT_AIRCRAFT.current.load();
        case ModelCategory::HighPerf: return HIGH_PERF_AIRCRAFT.current.load();
        case ModelCategory::Rotorcraft: return HELICOPTERS.current.load();
        default: return true;
    }
}

// A record with no Act: an aircraft in New if its model and category pass. The database lookup of a
// model runs once per hexid: one that gave no model is remembered and refused from then on.
void lf_offerNewAircraft(TrafficRecord& record) {
    if (engine.unknownModels.contains(record.hexid)) return;
    if (record.model.empty()) record.model = gf_dbaseType(record.reg);
    if (!gf_isValidModel(record.model)) {
        record.model = gf_dbaseType(record.reg);
        if (record.model.empty()) {
            engine.unknownModels.insert(record.hexid);
            return;
        }
    }
    if (!lf_passesCategory(gf_modelCategory(record.model))) return;
    if (!gf_outsideFieldBand(record)) return;
    gf_newAct(record);
}

bool lf_endsWithGhostMark(const std::string& callsign) { return !callsign.empty() && callsign.back() == '_'; }

// True when the sample may go on.
bool lf_updateIdentity(Act& act, const TrafficRecord& record) {
    if (act.departing || act.onApproach) return true;
    if (act.state == ActState::New) {
        if (!record.to.empty()) act.to = record.to;
        if (!record.from.empty()) act.from = record.from;
        if (act.reg.empty()) act.reg = record.reg;
        if (act.callsign.empty()) act.callsign = record.callsign;
        return true;
    }
    if (act.state != ActState::Live || act.phase < ActPhase::Taxi) return true;
    bool changed = false;
    if (!record.to.empty() && act.to.empty()) {
        act.to = record.to;
        changed = true;
    }
    if (!record.from.empty() && act.from.empty()) {
        act.from = record.from;
        changed = true;
    }
    const bool bothDiffer =
        !record.to.empty() && !record.from.empty() && act.to != record.to && act.from != record.from;
    // Left the park airport and the record names it as the destination: a stale route, kept as it is.
    const bool leftHere = !engine.parkIata.empty() && act.from == engine.parkIata && record.to == act.from;
    if (bothDiffer && !leftHere) {
        act.to = record.to;
        act.from = record.from;
        changed = true;
        if (act.onGround && act.phase != ActPhase::ToStand && act.phase != ActPhase::AtStand) {
            act.phase = ActPhase::Taxi;
            act.targetHeading = act.heading;
        }
    }
    if (!record.callsign.empty() && record.callsign != act.callsign && record.callsign != act.reg) {
        act.callsign = record.callsign;
        act.altCallsign1 = record.callsign;
        act.altCallsign2.clear();
        if (lf_endsWithGhostMark(record.callsign)) {
            const std::string main = record.callsign.substr(0, record.callsign.size() - 1);
            const Act* other = gf_findActByCallsign(main);
            if (other != nullptr && other->state != ActState::Removing) return false;
        } else {
            gf_removeGhostOf(record.callsign);
        }
        changed = true;
    }
    if (!changed || !GUID_CHANGES.current.load()) return true;
    gf_logf("          {}", gf_acLabel(act));
    gf_recreateAct(act);
    act.keepHeading = act.heading;
    engine.removalQueue.push_back(act.objectId);
    return false;
}

// An impossible record costs nothing but itself: the aircraft flies on with the legs it has, and runs
// out into its extrapolation if nothing sane follows. One mark line per aircraft and kind.
template <typename... Args>
void lf_logBadInputOnce(Act& act, uint8_t kind, fmt::format_string<Args...> f, Args&&... args) {
    if ((act.badInputLogged & kind) != 0) return;
    act.badInputLogged |= kind;
    gf_logMarkf("{}: {}", gf_acLabel(act), fmt::format(f, std::forward<Args>(args)...));
}

// False when the Act has another hexid; true whatever was done with the sample.
bool lf_offerSampleToAct(const TrafficRecord& record, Act& act) {
    if (act.hexid != record.hexid) return false;
    if (act.state == ActState::Recreating || act.state == ActState::Removing) return true;
    const double ts = record.timestamp;
    const double v = record.groundSpeed;
    const Sample& last = act.stream.back();
    const double elapsed = ts - act.lastTimestamp;
    if (ts < act.lastTimestamp) {
        lf_logBadInputOnce(act, kBadInputTimeBack, "time stamp {:.1f} s before the last one, records ignored",
                           -elapsed);
        return true;
    }
    if (ts == act.lastTimestamp || elapsed <= kTimeGapSeconds) return true;
    const double jumpNm = gf_distanceNm({last.latitude, last.longitude}, {record.latitude, record.longitude});
    if (jumpNm > kFastestPlausibleKt * elapsed / 3600.0 + kJumpSlackNm) {
        lf_logBadInputOnce(act, kBadInputJump, "position {:.0f} nm away after {:.0f} s, records ignored", jumpNm,
                           elapsed);
        return true;
    }
    const double sinceMoved = ts - act.lastRecordMoved;
    const double taxiKt = std::max(v, act.lastRecordSpeed);
    if (!record.airborne && !last.airborne && sinceMoved < kGroundJumpBelieveSeconds && taxiKt <= kGroundJumpTaxiKt) {
        const double groundNm =
            gf_distanceNm({act.lastRecordLat, act.lastRecordLon}, {record.latitude, record.longitude});
        const double fastestKt = taxiKt + kGroundJumpHeadroomKt;
        if (groundNm > fastestKt * sinceMoved / 3600.0 + kGroundJumpScatterNm) {
            lf_logBadInputOnce(act, kBadInputGroundJump,
                               "ground position {:.0f} m away after {:.0f} s at {:.0f} kt, records ignored",
                               groundNm * kMetresPerNauticalMile, sinceMoved, taxiKt);
            return true;
        }
    }
    const double lastV = last.groundSpeed;
    if ((lastV > 5.0 && v >= 10.0 * lastV) || (v > 5.0 && lastV >= 10.0 * v)) return true;
    if ((lastV <= 5.0 && v >= 80.0) || (v <= 5.0 && lastV >= 80.0)) return true;
    if (act.extrapolation <= 0) {
        const double trackDiff = std::fabs(record.track - last.track);  // plain difference, no wrap at 360
        if (record.airborne && v > 120.0 && trackDiff <= 1.0 && elapsed <= kAirThinningNm / (v / 3600.0)) return true;
        if (!record.airborne && v <= 30.0 && trackDiff <= 2.0) {
            const double limit =
                v == 0.0 ? kGroundThinningSeconds : std::min(kGroundThinningSeconds, kGroundThinningNm / (v / 3600.0));
            if (elapsed <= limit) return true;
        }
    }
    if (act.state == ActState::New && !gf_outsideFieldBand(record)) return true;
    if (!lf_updateIdentity(act, record)) return true;
    gf_noteAcceptedRecord(act, record);
    ++engine.acceptedSamples;
    gf_addSample(act, gf_sampleOf(record));
    return true;
}
}  // namespace

void gf_noteAcceptedRecord(Act& act, const TrafficRecord& record) {
    if (act.lastTimestamp == 0.0 || record.latitude != act.lastRecordLat || record.longitude != act.lastRecordLon)
        act.lastRecordMoved = record.timestamp;
    act.lastTimestamp = record.timestamp;
    act.lastRecordLat = record.latitude;
    act.lastRecordLon = record.longitude;
    act.lastRecordSpeed = record.groundSpeed;
}

Sample gf_sampleOf(const TrafficRecord& r) {
    return Sample{r.latitude,      r.longitude, r.bank,    r.trueHeading, r.altitude, r.groundSpeed, r.track,
                  r.verticalSpeed, r.airspeed,  r.dueTick, r.airborne,    false,      r.hasHeading};
}

bool gf_outsideFieldBand(const TrafficRecord& record) {
    if (record.altitude <= 0.0 || record.altitude >= kFieldBandTopFt) return true;
    const double elevation = service.parkAirportSet.load() && !std::isnan(service.parkAirportElevation.load())
                                 ? service.parkAirportElevation.load()
                                 : kNoFieldElevationFt;
    return std::fabs(record.altitude - elevation) > kFieldBandFt;
}

void gf_offerLiveSample(TrafficRecord& record) {
    ++engine.offeredRecords;
    if (Act* act = gf_findActByHexid(record.hexid)) {
        lf_offerSampleToAct(record, *act);
        return;
    }
    // One aircraft that transmits under two addresses stays one aircraft.
    if (!record.callsign.empty()) {
        for (const Act& act : engine.active)
            if (act.callsign == record.callsign && act.model == record.model) return;
    }
    lf_offerNewAircraft(record);
}

// Moves the queued live records of this hexid behind `into`, keeping their order.
static void lf_takeLiveRecordsOf(uint32_t hexid, std::vector<TrafficRecord>& into) {
    auto& queue = service.liveQueue;
    auto kept = queue.begin();
    for (auto it = queue.begin(); it != queue.end(); ++it) {
        if (it->hexid == hexid)
            into.push_back(std::move(*it));
        else if (kept++ != it)
            *std::prev(kept) = std::move(*it);
    }
    queue.erase(kept, queue.end());
}

size_t gf_workTrafficBuffer() {
    static thread_local std::deque<TrafficRecord> live;
    static thread_local std::vector<TrafficRecord> taken;
    live.clear();
    taken.clear();
    {
        std::lock_guard lock(service.trafficLock);
        auto& load = service.initialLoad;
        ++engine.batchCounter;
        if (engine.batchLeft > 0) {
            // The newest record of the buffer first: it is taken from the end. The later history of the
            // same aircraft follows it at once, so that its stream begins with its oldest position.
            for (int n = engine.batchDouble ? 2 : 1; n > 0 && !load.empty(); --n) {
                const uint32_t hexid = load.back().hexid;
                taken.push_back(std::move(load.back()));
                load.pop_back();
                lf_takeLiveRecordsOf(hexid, taken);
            }
            engine.batchLeft = load.size();
        } else if (engine.batchCounter >= kBatchRipe && engine.batchCounter % kBatchStartEvery == 0 && !load.empty()) {
            engine.batchCounter = 0;
            engine.batchDouble = load.size() > kDoublePaceAbove;
            engine.batchLeft = load.size();
        }
        // While an initial load waits, the live records wait with it: they are the same aircraft's younger
        // positions, due 6 seconds and more ahead, and an older position offered after them is ignored.
        if (load.empty()) live.swap(service.liveQueue);
    }
    for (TrafficRecord& r : taken) gf_offerLiveSample(r);
    for (TrafficRecord& r : live) gf_offerLiveSample(r);
    return taken.size() + live.size();
}
