#include "tools/simdouble/simdouble.h"

#include <algorithm>
#include <cctype>
#include <chrono>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include <fmt/format.h>

#include "common/clock.h"
#include "common/geo.h"
#include "platform/platform.h"
#include "simlink/transport/packets.h"

namespace simdouble {
constexpr uint32_t kFirstAiObjectId = 3;

using scwire::PacketReader;
using scwire::PacketWriter;

namespace {

constexpr uint32_t kMaxPacketSize = 1024 * 1024 + 64;  // bytes: a client packet beyond this breaks the stream
constexpr uint32_t kMaxByTypeRadius = 200000;          // metres, beyond it OUT_OF_BOUNDS
constexpr double kFeetPerNm = 6076.11548556;
constexpr double kMetresPerFoot = 0.3048;
constexpr double kFullRange = 16383.0;  // the simulator's range of axis events
// An AI object whose reference point is this close above its standing height has its wheels on the ground
// (the struts give a little).
constexpr double kOnGroundMarginFt = 0.5;

std::string lf_upper(std::string s) {
    for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return s;
}
std::string lf_lower(std::string s) {
    for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return s;
}

// The simulation variables the double knows.
const std::set<std::string>& lf_knownVariables() {
    static const std::set<std::string> names = {"TITLE",
                                                "ATC MODEL",
                                                "ATC ID",
                                                "SIM ON GROUND",
                                                "PLANE LATITUDE",
                                                "PLANE LONGITUDE",
                                                "PLANE PITCH DEGREES",
                                                "PLANE BANK DEGREES",
                                                "PLANE HEADING DEGREES TRUE",
                                                "PLANE ALTITUDE",
                                                "PLANE ALT ABOVE GROUND",
                                                "GROUND ALTITUDE",
                                                "GROUND VELOCITY",
                                                "VERTICAL SPEED",
                                                "AIRSPEED TRUE",
                                                "ZULU TIME",
                                                "ZULU DAY OF YEAR",
                                                "ZULU YEAR",
                                                "LIGHT STATES",
                                                "LIGHT ON STATES",
                                                "STATIC CG TO GROUND",
                                                "STATIC PITCH",
                                                "SPOILERS HANDLE POSITION",
                                                "GENERAL ENG THROTTLE LEVER POSITION:1",
                                                "GENERAL ENG THROTTLE LEVER POSITION:2",
                                                "GEAR HANDLE POSITION",
                                                "FLAPS HANDLE INDEX"};
    return names;
}

const std::set<std::string>& lf_knownSystemEvents() {
    static const std::set<std::string> names = {"1sec",
                                                "4sec",
                                                "6hz",
                                                "aircraftloaded",
                                                "crashed",
                                                "crashreset",
                                                "flightloaded",
                                                "flightsaved",
                                                "flightplanactivated",
                                                "flightplandeactivated",
                                                "frame",
                                                "pauseframe",
                                                "objectadded",
                                                "objectremoved",
                                                "pause",
                                                "paused",
                                                "unpaused",
                                                "positionchanged",
                                                "sim",
                                                "simstart",
                                                "simstop",
                                                "sound",
                                                "view",
                                                "weathermodechanged"};
    return names;
}

// Fixed payload size of a datum type; 0 for STRINGV (variable), -1 for a type that is never sent.
int lf_datumSize(uint32_t type) {
    switch (type) {
        case SIMCONNECT_DATATYPE_INT32: return 4;
        case SIMCONNECT_DATATYPE_INT64: return 8;
        case SIMCONNECT_DATATYPE_FLOAT32: return 4;
        case SIMCONNECT_DATATYPE_FLOAT64: return 8;
        case SIMCONNECT_DATATYPE_STRING8: return 8;
        case SIMCONNECT_DATATYPE_STRING32: return 32;
        case SIMCONNECT_DATATYPE_STRING64: return 64;
        case SIMCONNECT_DATATYPE_STRING128: return 128;
        case SIMCONNECT_DATATYPE_STRING256: return 256;
        case SIMCONNECT_DATATYPE_STRING260: return 260;
        case SIMCONNECT_DATATYPE_STRINGV: return 0;
        case SIMCONNECT_DATATYPE_INITPOSITION: return 56;
        case SIMCONNECT_DATATYPE_LATLONALT: return 24;
        case SIMCONNECT_DATATYPE_XYZ: return 24;
        default: return -1;
    }
}

struct Datum {
    std::string name;  // upper case
    std::string unit;  // lower case
    uint32_t type;
};

struct Request {
    uint32_t defineId = 0, objectId = 0, period = 0, flags = 0, origin = 0, interval = 0, limit = 0;
    uint32_t periods = 0, sent = 0;
    std::vector<uint8_t> last;  // payload of the last answer, for the CHANGED flag
};

struct PendingCreate {
    int64_t readyAtMs;
    uint32_t requestId;
    std::string title, tail;
    SIMCONNECT_DATA_INITPOSITION position;
};

}  // namespace

struct SimDouble::Connection {
    uint32_t id = 0;
    Peer* peer = nullptr;  // nullptr once closed
    bool opened = false;
    std::string name;
    std::vector<uint8_t> inbuf;
    std::map<uint32_t, std::vector<Datum>> definitions;
    std::map<uint32_t, std::string> clientEvents;  // client event id -> simulator event, upper case
    std::map<uint32_t, std::vector<uint32_t>> groups;
    std::map<uint32_t, uint32_t> groupPriority;
    std::map<uint32_t, std::string> systemEvents;  // client event id -> system event, lower case
    std::map<uint32_t, Request> requests;
    std::vector<PendingCreate> pendingCreates;
};

// The double's behaviour, kept out of the header.
struct SimDouble::Impl {
    SimDouble& sim;
    Connection& c;

    // ---- messages out ----
    std::vector<uint8_t> head(uint32_t id) {
        std::vector<uint8_t> b;
        b.reserve(64);
        PacketWriter w(b);
        w.u32(0);
        w.u32(sim.scenario_.messageVersion);
        w.u32(id);
        return b;
    }
    static void send(Connection& conn, std::vector<uint8_t>& b) {
        scwire::gf_putU32(b.data(), static_cast<uint32_t>(b.size()));
        if (conn.peer) conn.peer->send(b.data(), b.size());
    }
    void exception(uint32_t code, uint32_t sendId, uint32_t index) {
        auto b = head(SIMCONNECT_RECV_ID_EXCEPTION);
        PacketWriter w(b);
        w.u32(code);
        w.u32(sendId);
        w.u32(index);
        send(c, b);
        sim.exceptions_.push_back({c.id, code, sendId, index, sim.nowMs_});
    }
    static void event(SimDouble& sim, Connection& conn, uint32_t eventId, uint32_t data) {
        Impl im{sim, conn};
        auto b = im.head(SIMCONNECT_RECV_ID_EVENT);
        PacketWriter w(b);
        w.u32(SIMCONNECT_RECV_EVENT_BASE::UNKNOWN_GROUP);
        w.u32(eventId);
        w.u32(data);
        if (sim.scenario_.eventFlags) w.u32(0);
        send(conn, b);
    }
    // Sends a system event to every connection that subscribed it (name in lower case).
    static void broadcast(SimDouble& sim, const std::string& name, uint32_t data) {
        for (auto& [id, conn] : sim.connections_) {
            if (!conn->opened) continue;
            for (const auto& [eventId, n] : conn->systemEvents)
                if (n == name) event(sim, *conn, eventId, data);
        }
    }
    static void broadcastAddRemove(SimDouble& sim, const std::string& name, const SimObject& o) {
        for (auto& [id, conn] : sim.connections_) {
            if (!conn->opened) continue;
            for (const auto& [eventId, n] : conn->systemEvents) {
                if (n != name) continue;
                Impl im{sim, *conn};
                auto b = im.head(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE);
                PacketWriter w(b);
                w.u32(SIMCONNECT_RECV_EVENT_BASE::UNKNOWN_GROUP);
                w.u32(eventId);
                w.u32(o.id);
                w.u32(o.type);
                if (sim.scenario_.eventFlags) w.u32(0);
                send(*conn, b);
            }
        }
    }
    static void broadcastFilename(SimDouble& sim, const std::string& name, const std::string& file) {
        for (auto& [id, conn] : sim.connections_) {
            for (const auto& [eventId, n] : conn->systemEvents) {
                if (n != name) continue;
                Impl im{sim, *conn};
                auto b = im.head(SIMCONNECT_RECV_ID_EVENT_FILENAME);
                PacketWriter w(b);
                w.u32(SIMCONNECT_RECV_EVENT_BASE::UNKNOWN_GROUP);
                w.u32(eventId);
                w.u32(0);
                w.text(file, MAX_PATH);
                w.u32(0);
                send(*conn, b);
            }
        }
    }

    // ---- values of simulation variables ----
    SimObject* findObject(uint32_t id) {
        if (id == SIMCONNECT_OBJECT_ID_USER) id = sim.scenario_.userObjectId;
        auto it = sim.objects_.find(id);
        return it == sim.objects_.end() || it->second.removedMs >= 0 ? nullptr : &it->second;
    }
    double numeric(const SimObject& o, const Datum& d) {
        const bool toDegrees = d.unit.rfind("degree", 0) == 0;
        const bool toRadians = d.unit.rfind("radian", 0) == 0;
        const bool metres = d.unit.rfind("meter", 0) == 0 || d.unit.rfind("metre", 0) == 0;
        const double elevation = sim.scenario_.fieldElevation;
        const int64_t zulu = sim.scenario_.zuluStart + sim.nowMs_ / 1000;
        const std::string& n = d.name;
        auto len = [&](double feet) { return metres ? feet * kMetresPerFoot : feet; };
        if (n == "PLANE LATITUDE") return toRadians ? o.latitude * kDegToRad : o.latitude;
        if (n == "PLANE LONGITUDE") return toRadians ? o.longitude * kDegToRad : o.longitude;
        if (n == "PLANE PITCH DEGREES") return toDegrees ? o.pitch * kRadToDeg : o.pitch;
        if (n == "PLANE BANK DEGREES") return toDegrees ? o.bank * kRadToDeg : o.bank;
        if (n == "PLANE HEADING DEGREES TRUE") return toDegrees ? o.heading * kRadToDeg : o.heading;
        if (n == "PLANE ALTITUDE") return len(o.altitude);
        if (n == "PLANE ALT ABOVE GROUND") return len(o.altitude - elevation);
        if (n == "GROUND ALTITUDE") return len(elevation);
        if (n == "GROUND VELOCITY") return o.groundSpeed;
        if (n == "VERTICAL SPEED") return o.verticalSpeed;
        if (n == "AIRSPEED TRUE") return o.airspeed;
        if (n == "SIM ON GROUND") return o.onGround ? 1 : 0;
        if (n == "ZULU TIME") return static_cast<double>(((zulu % 86400) + 86400) % 86400);
        if (n == "ZULU DAY OF YEAR" || n == "ZULU YEAR") {
            std::time_t t = static_cast<std::time_t>(zulu);
            std::tm tm{};
            gf_gmtime(t, tm);
            return n == "ZULU YEAR" ? tm.tm_year + 1900 : tm.tm_yday + 1;
        }
        if (n == "LIGHT STATES" || n == "LIGHT ON STATES") return static_cast<double>(o.lights);
        if (n == "STATIC CG TO GROUND") return len(sim.scenario_.staticCgHeight);
        if (n == "STATIC PITCH") return toDegrees ? sim.scenario_.staticPitch * kRadToDeg : sim.scenario_.staticPitch;
        if (n == "SPOILERS HANDLE POSITION") return o.spoilers;
        if (n == "GENERAL ENG THROTTLE LEVER POSITION:1") return o.throttle[0];
        if (n == "GENERAL ENG THROTTLE LEVER POSITION:2") return o.throttle[1];
        if (n == "GEAR HANDLE POSITION") return static_cast<double>(o.gear);
        if (n == "FLAPS HANDLE INDEX") return static_cast<double>(o.flaps);
        return 0;
    }
    std::string text(const SimObject& o, const Datum& d) {
        if (d.name == "TITLE") return o.title;
        if (d.name == "ATC MODEL") return o.atcModel;
        if (d.name == "ATC ID") return o.tail;
        return fmt::format("{}", numeric(o, d));
    }
    // The payload of a definition for an object, packed as the simulator packs it.
    std::vector<uint8_t> payload(const SimObject& o, const std::vector<Datum>& def) {
        std::vector<uint8_t> b;
        PacketWriter w(b);
        for (const Datum& d : def) {
            switch (d.type) {
                case SIMCONNECT_DATATYPE_INT32: w.u32(static_cast<uint32_t>(std::llround(numeric(o, d)))); break;
                case SIMCONNECT_DATATYPE_INT64: w.i64(std::llround(numeric(o, d))); break;
                case SIMCONNECT_DATATYPE_FLOAT32: w.f32(static_cast<float>(numeric(o, d))); break;
                case SIMCONNECT_DATATYPE_FLOAT64: w.f64(numeric(o, d)); break;
                case SIMCONNECT_DATATYPE_STRINGV: {
                    std::string t = text(o, d);
                    size_t n = t.size() + 1;
                    uint32_t pad = sim.scenario_.stringvPadding;
                    if (pad > 1) n = (n + pad - 1) / pad * pad;
                    w.text(t, n);
                    break;
                }
                case SIMCONNECT_DATATYPE_LATLONALT:
                    w.f64(o.latitude);
                    w.f64(o.longitude);
                    w.f64(o.altitude);
                    break;
                default: {
                    int size = lf_datumSize(d.type);
                    if (size > 0 && d.type >= SIMCONNECT_DATATYPE_STRING8 && d.type <= SIMCONNECT_DATATYPE_STRING260)
                        w.text(text(o, d), static_cast<size_t>(size));
                    else if (size > 0)
                        w.zeros(static_cast<size_t>(size));
                }
            }
        }
        return b;
    }
    void dataMessage(uint32_t msgId, uint32_t requestId, uint32_t objectId, uint32_t defineId, uint32_t flags,
                     uint32_t entry, uint32_t outOf, uint32_t count, const std::vector<uint8_t>& data) {
        auto b = head(msgId);
        PacketWriter w(b);
        w.u32(requestId);
        w.u32(objectId);
        w.u32(defineId);
        w.u32(flags);
        w.u32(entry);
        w.u32(outOf);
        w.u32(count);
        w.bytes(data.data(), data.size());
        send(c, b);
    }
    // One answer to a periodic or single request; false when the request has ended.
    bool answer(uint32_t requestId, Request& r) {
        SimObject* o = findObject(r.objectId);
        auto def = c.definitions.find(r.defineId);
        if (o == nullptr || def == c.definitions.end()) return false;
        std::vector<uint8_t> data = payload(*o, def->second);
        if ((r.flags & SIMCONNECT_DATA_REQUEST_FLAG_CHANGED) && r.sent > 0 && data == r.last) return true;
        dataMessage(SIMCONNECT_RECV_ID_SIMOBJECT_DATA, requestId, o->id, r.defineId, r.flags, 1, 1,
                    static_cast<uint32_t>(def->second.size()), data);
        r.last = std::move(data);
        ++r.sent;
        return r.limit == 0 || r.sent < r.limit;
    }
    // A period passed for a request; origin, interval and limit thin the answers out.
    bool periodPassed(uint32_t requestId, Request& r) {
        ++r.periods;
        if (r.periods <= r.origin) return true;
        if ((r.periods - r.origin - 1) % (r.interval + 1) != 0) return true;
        return answer(requestId, r);
    }

    void record(SimObject& o, bool force) {
        if (!force && sim.scenario_.trackIntervalMs > 0 && sim.nowMs_ - o.lastTrackMs < sim.scenario_.trackIntervalMs)
            return;
        o.lastTrackMs = sim.nowMs_;
        o.track.push_back({sim.nowMs_, o.latitude, o.longitude, o.altitude, o.pitch, o.bank, o.heading, o.onGround});
    }
    void note(SimObject& o, std::string what, int64_t value = 0, std::string textValue = {}) {
        o.events.push_back({sim.nowMs_, std::move(what), value, std::move(textValue)});
    }

    // ---- packets in ----
    void handle(const uint8_t* p, size_t n) {
        PacketReader r(p, n);
        const uint32_t size = r.u32();
        const uint32_t version = r.u32();
        const uint32_t id = r.u32();
        const uint32_t serial = r.u32();
        (void)size;
        ++sim.packetsReceived_;
        ++sim.packetCounts_[id];
        if (id == scwire::kOpen) return open(r, n, version, serial);
        if (!c.opened) return exception(SIMCONNECT_EXCEPTION_UNOPENED, serial, 0);
        auto expect = [&](size_t want) {
            if (n == want) return true;
            exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
            return false;
        };
        switch (id) {
            case scwire::kMapClientEventToSimEvent: {
                if (!expect(scwire::kSizeMapClientEvent)) return;
                uint32_t eventId = r.u32();
                std::string name = lf_upper(std::string(r.text(256)));
                if (c.clientEvents.count(eventId)) return exception(SIMCONNECT_EXCEPTION_EVENT_ID_DUPLICATE, serial, 1);
                c.clientEvents[eventId] = name;
                return;
            }
            case scwire::kTransmitClientEvent: {
                if (!expect(scwire::kSizeTransmitClientEvent)) return;
                uint32_t objectId = r.u32(), eventId = r.u32(), data = r.u32();
                auto ev = c.clientEvents.find(eventId);
                if (ev == c.clientEvents.end()) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 2);
                SimObject* o = findObject(objectId);
                if (o == nullptr) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                applyEvent(*o, ev->second, data);
                return;
            }
            case scwire::kAddClientEventToNotificationGroup: {
                if (!expect(scwire::kSizeAddToGroup)) return;
                uint32_t group = r.u32(), eventId = r.u32();
                c.groups[group].push_back(eventId);
                return;
            }
            case scwire::kSetNotificationGroupPriority: {
                if (!expect(scwire::kSizeSetGroupPriority)) return;
                uint32_t group = r.u32(), priority = r.u32();
                if (!c.groups.count(group)) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                c.groupPriority[group] = priority;
                return;
            }
            case scwire::kAddToDataDefinition: {
                if (!expect(scwire::kSizeAddToDataDefinition)) return;
                uint32_t defineId = r.u32();
                std::string name = lf_upper(std::string(r.text(256)));
                std::string unit = lf_lower(std::string(r.text(256)));
                uint32_t type = r.u32();
                if (!lf_knownVariables().count(name))
                    return exception(SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, serial, 2);
                if (lf_datumSize(type) < 0) return exception(SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, serial, 4);
                c.definitions[defineId].push_back({name, unit, type});
                return;
            }
            case scwire::kClearDataDefinition: {
                if (!expect(scwire::kSizeClearDataDefinition)) return;
                uint32_t defineId = r.u32();
                if (!c.definitions.erase(defineId)) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                return;
            }
            case scwire::kRequestDataOnSimObject: return requestData(r, n, serial);
            case scwire::kRequestDataOnSimObjectType: return requestByType(r, n, serial);
            case scwire::kSetDataOnSimObject: return setData(r, n, serial);
            case scwire::kSubscribeToSystemEvent: {
                if (!expect(scwire::kSizeSubscribe)) return;
                uint32_t eventId = r.u32();
                std::string name = lf_lower(std::string(r.text(256)));
                if (!lf_knownSystemEvents().count(name))
                    return exception(SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, serial, 2);
                c.systemEvents[eventId] = name;
                // The states are told at once on subscribing.
                if (name == "sim") event(sim, c, eventId, sim.scenario_.simRunning ? 1 : 0);
                if (name == "pause") event(sim, c, eventId, sim.scenario_.paused ? 1 : 0);
                return;
            }
            case scwire::kUnsubscribeFromSystemEvent: {
                if (!expect(scwire::kSizeUnsubscribe)) return;
                if (!c.systemEvents.erase(r.u32())) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                return;
            }
            case scwire::kAICreateNonATCAircraft: {
                if (!expect(scwire::kSizeAICreate)) return;
                PendingCreate pc;
                pc.title = std::string(r.text(256));
                pc.tail = std::string(r.text(12));
                pc.position.Latitude = r.f64();
                pc.position.Longitude = r.f64();
                pc.position.Altitude = r.f64();
                pc.position.Pitch = r.f64();
                pc.position.Bank = r.f64();
                pc.position.Heading = r.f64();
                pc.position.OnGround = r.u32();
                pc.position.Airspeed = r.u32();
                pc.requestId = r.u32();
                const auto& titles = sim.scenario_.titles;
                if (!titles.empty() && std::find(titles.begin(), titles.end(), pc.title) == titles.end())
                    return exception(SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED, serial, 1);
                size_t alive = sim.aiObjects().size();
                for (auto& [cid, conn] : sim.connections_) alive += conn->pendingCreates.size();
                if (alive >= sim.scenario_.objectLimit)
                    return exception(SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS, serial, 0);
                pc.readyAtMs = sim.nowMs_ + sim.scenario_.createDelayMs;
                if (sim.scenario_.createDelayMs == 0) return create(pc);
                c.pendingCreates.push_back(pc);
                return;
            }
            case scwire::kAIReleaseControl: {
                if (!expect(scwire::kSizeAIReleaseControl)) return;
                SimObject* o = findObject(r.u32());
                if (o == nullptr || o->isUser) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                o->released = true;
                note(*o, "releaseControl");
                return;
            }
            case scwire::kAIRemoveObject: {
                if (!expect(scwire::kSizeAIRemoveObject)) return;
                SimObject* o = findObject(r.u32());
                if (o == nullptr || o->isUser || o->owner != c.id)
                    return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                remove(*o, "removed");
                return;
            }
            case scwire::kAISetAircraftFlightPlan: {
                if (!expect(scwire::kSizeAISetFlightPlan)) return;
                SimObject* o = findObject(r.u32());
                std::string path(r.text(MAX_PATH));
                if (o == nullptr || o->isUser) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
                if (!lf_isPlan(path)) {
                    note(*o, "flightPlanFailed", 0, path);
                    return exception(SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED, serial, 2);
                }
                o->flightPlan = path;
                note(*o, "flightPlan", 0, path);
                return;
            }
            default: return exception(SIMCONNECT_EXCEPTION_ERROR, serial, 0);
        }
    }

    static bool lf_isPlan(const std::string& path) {
        namespace fs = std::filesystem;
        fs::path p(path);
        std::error_code ec;
        if (!fs::is_regular_file(p, ec) && p.extension().empty()) p += ".pln";
        std::ifstream in(p, std::ios::binary);
        if (!in) return false;
        std::stringstream ss;
        ss << in.rdbuf();
        const std::string text = ss.str();
        return text.find("<SimBase.Document") != std::string::npos &&
               text.find("<FlightPlan.FlightPlan>") != std::string::npos;
    }

    void open(PacketReader& r, size_t n, uint32_t version, uint32_t serial) {
        if (n != scwire::kSizeOpen) return exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
        c.name = std::string(r.text(256));
        if (sim.scenario_.versionMismatch || version != scwire::kProtocolVersion)
            return exception(SIMCONNECT_EXCEPTION_VERSION_MISMATCH, serial, 1);
        c.opened = true;
        auto b = head(SIMCONNECT_RECV_ID_OPEN);
        PacketWriter w(b);
        w.text(sim.scenario_.applicationName, 256);
        for (uint32_t v : sim.scenario_.applicationVersion) w.u32(v);
        for (uint32_t v : sim.scenario_.simConnectVersion) w.u32(v);
        w.u32(0);
        w.u32(0);
        send(c, b);
    }

    void requestData(PacketReader& r, size_t n, uint32_t serial) {
        if (n != scwire::kSizeRequestData) return exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
        uint32_t requestId = r.u32();
        Request q;
        q.defineId = r.u32();
        q.objectId = r.u32();
        q.period = r.u32();
        q.flags = r.u32();
        q.origin = r.u32();
        q.interval = r.u32();
        q.limit = r.u32();
        if (!c.definitions.count(q.defineId)) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 2);
        if (findObject(q.objectId) == nullptr) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 3);
        if (q.period > SIMCONNECT_PERIOD_SECOND) return exception(SIMCONNECT_EXCEPTION_INVALID_ENUM, serial, 4);
        c.requests.erase(requestId);  // a request id used again replaces the earlier request
        if (q.period == SIMCONNECT_PERIOD_NEVER) return;
        if (q.period == SIMCONNECT_PERIOD_ONCE) {
            q.limit = 1;
            answer(requestId, q);
            return;
        }
        c.requests[requestId] = q;
    }

    void requestByType(PacketReader& r, size_t n, uint32_t serial) {
        if (n != scwire::kSizeRequestDataByType) return exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
        uint32_t requestId = r.u32(), defineId = r.u32(), radius = r.u32(), type = r.u32();
        auto def = c.definitions.find(defineId);
        if (def == c.definitions.end()) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 2);
        if (radius > kMaxByTypeRadius) return exception(SIMCONNECT_EXCEPTION_OUT_OF_BOUNDS, serial, 3);
        SimObject& user = sim.user();
        std::vector<SimObject*> found;
        if (type == SIMCONNECT_SIMOBJECT_TYPE_USER || radius == 0) {
            found.push_back(&user);
        } else if (type == SIMCONNECT_SIMOBJECT_TYPE_ALL || type == SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT ||
                   type == SIMCONNECT_SIMOBJECT_TYPE_HELICOPTER) {
            // A scan by type finds that type alone: aircraft and helicopters are asked for apart.
            for (auto& [id, o] : sim.objects_) {
                if (o.removedMs >= 0) continue;
                if (type != SIMCONNECT_SIMOBJECT_TYPE_ALL && o.type != type) continue;
                if (o.isUser && !sim.scenario_.byTypeIncludesUser) continue;
                double metres = gf_distanceNm({user.latitude, user.longitude}, {o.latitude, o.longitude}) * 1852.0;
                if (metres <= radius) found.push_back(&o);
            }
        }
        const auto count = static_cast<uint32_t>(found.size());
        if (found.empty() && sim.scenario_.byTypeEmptyMessage)
            dataMessage(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE, requestId, 0, defineId, 0, 0, 0, 0, {});
        for (uint32_t i = 0; i < count; ++i)
            dataMessage(SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE, requestId, found[i]->id, defineId, 0, i + 1, count,
                        static_cast<uint32_t>(def->second.size()), payload(*found[i], def->second));
    }

    void setData(PacketReader& r, size_t n, uint32_t serial) {
        if (n < scwire::kSizeSetDataFixed) return exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
        uint32_t defineId = r.u32(), objectId = r.u32(), flags = r.u32(), arrayCount = r.u32(), unitSize = r.u32();
        (void)flags;
        const uint64_t bytes = static_cast<uint64_t>(arrayCount == 0 ? 1 : arrayCount) * unitSize;
        if (bytes != n - scwire::kSizeSetDataFixed) return exception(SIMCONNECT_EXCEPTION_SIZE_MISMATCH, serial, 0);
        auto def = c.definitions.find(defineId);
        if (def == c.definitions.end()) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 1);
        SimObject* o = findObject(objectId);
        if (o == nullptr) return exception(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, serial, 2);
        // The unit must be the definition's packed size; STRINGV cannot be set.
        size_t need = 0;
        for (const Datum& d : def->second) {
            int s = lf_datumSize(d.type);
            if (s <= 0) return exception(SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE, serial, 1);
            need += static_cast<size_t>(s);
        }
        if (unitSize != need) return exception(SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE, serial, 6);
        PacketReader data(r.take(static_cast<size_t>(bytes)), static_cast<size_t>(bytes));
        for (const Datum& d : def->second) {
            double v = 0;
            switch (d.type) {
                case SIMCONNECT_DATATYPE_FLOAT64: v = data.f64(); break;
                case SIMCONNECT_DATATYPE_FLOAT32: v = data.f32(); break;
                case SIMCONNECT_DATATYPE_INT32: v = static_cast<int32_t>(data.u32()); break;
                case SIMCONNECT_DATATYPE_INT64: v = static_cast<double>(data.i64()); break;
                case SIMCONNECT_DATATYPE_INITPOSITION:
                    o->latitude = data.f64();
                    o->longitude = data.f64();
                    o->altitude = data.f64();
                    o->pitch = data.f64() * kDegToRad;
                    o->bank = data.f64() * kDegToRad;
                    o->heading = data.f64() * kDegToRad;
                    o->onGround = data.u32() != 0;
                    data.u32();
                    continue;
                default: data.take(static_cast<size_t>(lf_datumSize(d.type))); continue;
            }
            setVariable(*o, d, v);
        }
        if (!o->isUser)
            o->onGround =
                o->altitude - sim.scenario_.fieldElevation <= sim.scenario_.staticCgHeight + kOnGroundMarginFt;
        record(*o, false);
    }

    void setVariable(SimObject& o, const Datum& d, double v) {
        const bool degrees = d.unit.rfind("degree", 0) == 0;
        const bool radians = d.unit.rfind("radian", 0) == 0;
        const bool metres = d.unit.rfind("meter", 0) == 0 || d.unit.rfind("metre", 0) == 0;
        const std::string& n = d.name;
        if (n == "PLANE LATITUDE")
            o.latitude = radians ? v * kRadToDeg : v;
        else if (n == "PLANE LONGITUDE")
            o.longitude = radians ? v * kRadToDeg : v;
        else if (n == "PLANE PITCH DEGREES")
            o.pitch = degrees ? v * kDegToRad : v;
        else if (n == "PLANE BANK DEGREES")
            o.bank = degrees ? v * kDegToRad : v;
        else if (n == "PLANE HEADING DEGREES TRUE")
            o.heading = degrees ? v * kDegToRad : v;
        else if (n == "PLANE ALTITUDE")
            o.altitude = metres ? v / kMetresPerFoot : v;
        else if (n == "VERTICAL SPEED")
            o.verticalSpeed = v;
        else if (n == "AIRSPEED TRUE")
            o.airspeed = v;
        else if (n == "GROUND VELOCITY")
            o.groundSpeed = v;
        else if (n == "LIGHT STATES" || n == "LIGHT ON STATES")
            o.lights = static_cast<int64_t>(v);
        else if (n == "SPOILERS HANDLE POSITION" && o.spoilers != v) {
            o.spoilers = v;
            note(o, "spoilersHandle", std::llround(v));
        } else if (n == "GENERAL ENG THROTTLE LEVER POSITION:1" && o.throttle[0] != v) {
            o.throttle[0] = v;
            note(o, "throttleLever1", std::llround(v));
        } else if (n == "GENERAL ENG THROTTLE LEVER POSITION:2" && o.throttle[1] != v) {
            o.throttle[1] = v;
            note(o, "throttleLever2", std::llround(v));
        }
    }

    // Client events on an object: lights (LIGHT STATES bits), gear, flaps, throttle, spoilers, engines, freezes.
    void applyEvent(SimObject& o, const std::string& name, uint32_t data) {
        static const std::map<std::string, int64_t> lightBits = {
            {"NAV_LIGHTS_SET", 0x1},          {"BEACON_LIGHTS_SET", 0x2}, {"LANDING_LIGHTS_SET", 0x4},
            {"TAXI_LIGHTS_SET", 0x8},         {"STROBES_SET", 0x10},      {"PANEL_LIGHTS_SET", 0x20},
            {"RECOGNITION_LIGHTS_SET", 0x40}, {"WING_LIGHTS_SET", 0x80},  {"LOGO_LIGHTS_SET", 0x100},
            {"CABIN_LIGHTS_SET", 0x200}};
        note(o, name, data);
        if (auto it = lightBits.find(name); it != lightBits.end()) {
            o.lights = data ? (o.lights | it->second) : (o.lights & ~it->second);
        } else if (name == "ALL_LIGHTS_TOGGLE") {
            o.lights = o.lights ? 0 : 0x3FF;
        } else if (name == "GEAR_SET") {
            o.gear = data ? 1 : 0;
        } else if (name == "FLAPS_SET") {
            o.flaps = data;
        } else if (name == "THROTTLE_SET") {
            o.throttle[0] = o.throttle[1] = data / kFullRange * 100.0;
        } else if (name == "SPOILERS_SET") {
            o.spoilers = data / kFullRange * 100.0;
        } else if (name == "ENGINE_AUTO_START") {
            o.enginesRunning = true;
        } else if (name == "ENGINE_AUTO_SHUTDOWN") {
            o.enginesRunning = false;
        } else if (name == "FREEZE_LATITUDE_LONGITUDE_SET") {
            o.freezeLatLon = data != 0;
        } else if (name == "FREEZE_ALTITUDE_SET") {
            o.freezeAltitude = data != 0;
        } else if (name == "FREEZE_ATTITUDE_SET") {
            o.freezeAttitude = data != 0;
        }
    }

    void create(const PendingCreate& pc) {
        uint32_t id = sim.nextObjectId_++;
        SimObject& o = sim.objects_[id];
        o.id = id;
        o.owner = c.id;
        o.title = pc.title;
        o.type = gf_objectTypeOfTitle(sim.scenario_, o.title);
        o.tail = pc.tail;
        o.atcModel = "";
        o.latitude = pc.position.Latitude;
        o.longitude = pc.position.Longitude;
        o.altitude = pc.position.Altitude;
        o.pitch = pc.position.Pitch * kDegToRad;
        o.bank = pc.position.Bank * kDegToRad;
        o.heading = pc.position.Heading * kDegToRad;
        o.onGround = pc.position.OnGround != 0;
        if (o.onGround) o.altitude = std::max(o.altitude, sim.scenario_.fieldElevation);
        o.airspeed = pc.position.Airspeed >= INITPOSITION_AIRSPEED_KEEP ? 0 : pc.position.Airspeed;
        o.createdMs = sim.nowMs_;
        note(o, "created", pc.requestId, pc.title);
        record(o, true);
        auto b = head(SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID);
        PacketWriter w(b);
        w.u32(pc.requestId);
        w.u32(id);
        send(c, b);
        broadcastAddRemove(sim, "objectadded", o);
    }

    void remove(SimObject& o, const char* why) {
        o.removedMs = sim.nowMs_;
        note(o, why);
        record(o, true);
        broadcastAddRemove(sim, "objectremoved", o);
    }
};

SimDouble::SimDouble(Scenario scenario) : scenario_(std::move(scenario)) {
    startUnix_ = std::chrono::duration<double>(gf_utcNow().time_since_epoch()).count();
    const UserAircraftSetup& u = scenario_.user;
    SimObject& o = objects_[scenario_.userObjectId];
    o.id = scenario_.userObjectId;
    o.isUser = true;
    o.title = u.title;
    o.type = gf_objectTypeOfTitle(scenario_, o.title);
    o.atcModel = u.atcModel;
    o.tail = u.atcId;
    o.latitude = u.latitude;
    o.longitude = u.longitude;
    o.altitude = u.altitude;
    o.pitch = u.pitch;
    o.bank = u.bank;
    o.heading = u.heading;
    o.onGround = u.onGround;
    o.lights = u.lightStates;
    o.groundSpeed = u.motion == "stand" ? 0 : u.speed;
    o.track.push_back({0, o.latitude, o.longitude, o.altitude, o.pitch, o.bank, o.heading, o.onGround});
    o.lastTrackMs = 0;
    // Prepar3D gives AI objects ids well above the user's; ids 1 and 2 are never an AI aircraft.
    nextObjectId_ = std::max<uint32_t>(scenario_.userObjectId + 1, kFirstAiObjectId);
    std::stable_sort(scenario_.script.begin(), scenario_.script.end(),
                     [](const ScriptAction& a, const ScriptAction& b) { return a.atMs < b.atMs; });
}

SimDouble::~SimDouble() = default;

uint32_t SimDouble::addConnection(Peer* peer) {
    auto c = std::make_unique<Connection>();
    c->id = nextConnection_++;
    c->peer = peer;
    uint32_t id = c->id;
    connections_[id] = std::move(c);
    return id;
}

void SimDouble::removeConnection(uint32_t connection) {
    auto it = connections_.find(connection);
    if (it == connections_.end()) return;
    connections_.erase(it);
    // The simulator takes away what a client created when the client goes.
    for (auto& [id, o] : objects_) {
        if (!o.isUser && o.owner == connection && o.removedMs < 0) {
            Connection dummy;
            Impl{*this, dummy}.remove(o, "removedAtClientClose");
        }
    }
}

void SimDouble::receive(uint32_t connection, const uint8_t* data, size_t n) {
    auto it = connections_.find(connection);
    if (it == connections_.end()) return;
    Connection& c = *it->second;
    c.inbuf.insert(c.inbuf.end(), data, data + n);
    size_t pos = 0;
    while (c.inbuf.size() - pos >= 4 && c.peer) {
        uint32_t size = scwire::gf_getU32(c.inbuf.data() + pos);
        if (size < scwire::kHeadSize || size > kMaxPacketSize) {
            // A stream that lost its framing cannot be trusted again.
            c.peer->close(true);
            c.peer = nullptr;
            c.inbuf.clear();
            return;
        }
        if (c.inbuf.size() - pos < size) break;
        handlePacket(connection, c.inbuf.data() + pos, size);
        if (connections_.find(connection) == connections_.end()) return;
        pos += size;
    }
    c.inbuf.erase(c.inbuf.begin(), c.inbuf.begin() + static_cast<std::ptrdiff_t>(pos));
}

void SimDouble::handlePacket(uint32_t connection, const uint8_t* packet, size_t n) {
    auto it = connections_.find(connection);
    if (it == connections_.end() || n < scwire::kHeadSize || frozen_) return;
    Impl{*this, *it->second}.handle(packet, n);
}

void SimDouble::advance(int64_t ms) {
    for (int64_t i = 0; i < ms; ++i) lf_tick1ms();
}

// One millisecond of simulator time.
void SimDouble::lf_tick1ms() {
    ++nowMs_;
    while (scriptNext_ < scenario_.script.size() && scenario_.script[scriptNext_].atMs <= nowMs_) {
        const ScriptAction a = scenario_.script[scriptNext_++];
        if (a.action == "pause")
            setPaused(true);
        else if (a.action == "unpause")
            setPaused(false);
        else if (a.action == "simStop")
            setSimRunning(false);
        else if (a.action == "simStart")
            setSimRunning(true);
        else if (a.action == "quit")
            quit();
        else if (a.action == "flightLoaded")
            flightLoaded(a.text.empty() ? scenario_.flightFile : a.text);
        else if (a.action == "positionChanged")
            positionChanged();
        else if (a.action == "teleport")
            teleport(a.latitude, a.longitude, a.altitude);
        else if (a.action == "freeze")
            setFrozen(true);
        else if (a.action == "unfreeze")
            setFrozen(false);
        else if (a.action == "close")
            closeAll();
        else if (a.action == "drop")
            dropAll();
        else if (a.action == "motion")
            setUserMotion(a.text, a.speed);
    }
    if (frozen_) return;
    // Creations that are due.
    for (auto& [cid, conn] : connections_) {
        auto& pending = conn->pendingCreates;
        for (size_t i = 0; i < pending.size();) {
            if (pending[i].readyAtMs <= nowMs_) {
                PendingCreate pc = pending[i];
                pending.erase(pending.begin() + static_cast<std::ptrdiff_t>(i));
                Impl{*this, *conn}.create(pc);
            } else {
                ++i;
            }
        }
    }
    // Frames.
    // A frame falls in this millisecond when the count of frames since time 0 steps up.
    const double frameMs = 1000.0 / scenario_.frameRate;
    const auto frames = [&](int64_t ms) {
        return static_cast<int64_t>(std::floor(ms * scenario_.frameRate / 1000.0 + 1e-9));
    };
    if (frames(nowMs_) != frames(nowMs_ - 1)) {
        SimObject& u = user();
        const UserAircraftSetup& setup = scenario_.user;
        if (scenario_.simRunning && !scenario_.paused && u.groundSpeed > 0) {
            double feet = u.groundSpeed * kFeetPerNm / 3600.0 * frameMs / 1000.0;
            if (setup.motion == "taxi") {
                LatLon p = gf_destinationPoint({u.latitude, u.longitude}, u.heading, feet);
                u.latitude = p.lat;
                u.longitude = p.lon;
            } else if (setup.motion == "path" && pathLeg_ < setup.path.size()) {
                const Waypoint& wp = setup.path[pathLeg_];
                double toGo = gf_distanceNm({u.latitude, u.longitude}, {wp.latitude, wp.longitude}) * kFeetPerNm;
                if (toGo <= feet) {
                    u.latitude = wp.latitude;
                    u.longitude = wp.longitude;
                    u.altitude = wp.altitude;
                    if (++pathLeg_ >= setup.path.size()) u.groundSpeed = 0;
                } else {
                    u.heading = gf_bearing({u.latitude, u.longitude}, {wp.latitude, wp.longitude});
                    LatLon p = gf_destinationPoint({u.latitude, u.longitude}, u.heading, feet);
                    u.altitude += (wp.altitude - u.altitude) * feet / toGo;
                    u.latitude = p.lat;
                    u.longitude = p.lon;
                }
                u.onGround = u.altitude - scenario_.fieldElevation <= 1.0;
            }
            Connection dummy;
            Impl{*this, dummy}.record(u, false);
        }
        for (auto& [cid, conn] : connections_) {
            if (!conn->opened) continue;
            Impl im{*this, *conn};
            const char* name = scenario_.paused ? "pauseframe" : "frame";
            if (scenario_.simRunning) {
                for (const auto& [eventId, n] : conn->systemEvents) {
                    if (n != name) continue;
                    auto b = im.head(SIMCONNECT_RECV_ID_EVENT_FRAME);
                    PacketWriter w(b);
                    w.u32(SIMCONNECT_RECV_EVENT_BASE::UNKNOWN_GROUP);
                    w.u32(eventId);
                    w.u32(0);
                    w.f32(static_cast<float>(scenario_.frameRate));
                    w.f32(1.0f);
                    if (scenario_.eventFlags) w.u32(0);
                    Impl::send(*conn, b);
                }
            }
            for (auto r = conn->requests.begin(); r != conn->requests.end();) {
                bool keep = true;
                if (r->second.period == SIMCONNECT_PERIOD_VISUAL_FRAME ||
                    r->second.period == SIMCONNECT_PERIOD_SIM_FRAME)
                    keep = im.periodPassed(r->first, r->second);
                r = keep ? std::next(r) : conn->requests.erase(r);
            }
        }
    }
    // Seconds.
    if (nowMs_ % 1000 == 0) {
        for (auto& [cid, conn] : connections_) {
            if (!conn->opened) continue;
            Impl im{*this, *conn};
            for (auto r = conn->requests.begin(); r != conn->requests.end();) {
                bool keep = true;
                if (r->second.period == SIMCONNECT_PERIOD_SECOND) keep = im.periodPassed(r->first, r->second);
                r = keep ? std::next(r) : conn->requests.erase(r);
            }
        }
        if (scenario_.simRunning) Impl::broadcast(*this, "1sec", 0);
    }
    // Connections closed on the way.
    for (auto it = connections_.begin(); it != connections_.end();) {
        if (it->second->peer == nullptr) {
            uint32_t id = it->first;
            ++it;
            removeConnection(id);
        } else {
            ++it;
        }
    }
}

void SimDouble::setSimRunning(bool running) {
    scenario_.simRunning = running;
    Impl::broadcast(*this, "sim", running ? 1 : 0);
    Impl::broadcast(*this, running ? "simstart" : "simstop", 0);
}

void SimDouble::setPaused(bool paused) {
    scenario_.paused = paused;
    Impl::broadcast(*this, "pause", paused ? 1 : 0);
    Impl::broadcast(*this, paused ? "paused" : "unpaused", 0);
}

void SimDouble::quit() {
    scenario_.simRunning = false;
    for (auto& [cid, conn] : connections_) {
        Impl im{*this, *conn};
        auto b = im.head(SIMCONNECT_RECV_ID_QUIT);
        Impl::send(*conn, b);
    }
}

void SimDouble::flightLoaded(const std::string& file) {
    scenario_.flightFile = file;
    Impl::broadcastFilename(*this, "flightloaded", file);
}

void SimDouble::positionChanged() { Impl::broadcast(*this, "positionchanged", 0); }

void SimDouble::teleport(double latitude, double longitude, double altitude) {
    SimObject& u = user();
    u.latitude = latitude;
    u.longitude = longitude;
    u.altitude = altitude;
    u.onGround = altitude - scenario_.fieldElevation <= 1.0;
    Connection dummy;
    Impl im{*this, dummy};
    im.note(u, "teleport");
    im.record(u, true);
}

void SimDouble::setFrozen(bool frozen) { frozen_ = frozen; }

void SimDouble::closeAll() {
    for (auto& [cid, conn] : connections_) {
        if (conn->peer) conn->peer->close(false);
        conn->peer = nullptr;
    }
}

void SimDouble::dropAll() {
    for (auto& [cid, conn] : connections_) {
        if (conn->peer) conn->peer->close(true);
        conn->peer = nullptr;
    }
}

void SimDouble::setUserMotion(const std::string& motion, double speedKnots) {
    scenario_.user.motion = motion;
    user().groundSpeed = motion == "stand" ? 0 : speedKnots;
}

const SimObject* SimDouble::object(uint32_t id) const {
    auto it = objects_.find(id);
    return it == objects_.end() ? nullptr : &it->second;
}

std::vector<const SimObject*> SimDouble::aiObjects(bool aliveOnly) const {
    std::vector<const SimObject*> out;
    for (const auto& [id, o] : objects_)
        if (!o.isUser && (!aliveOnly || o.removedMs < 0)) out.push_back(&o);
    return out;
}

uint64_t SimDouble::packetsOf(uint32_t packetId) const {
    auto it = packetCounts_.find(packetId);
    return it == packetCounts_.end() ? 0 : it->second;
}

std::string SimDouble::clientName(uint32_t connection) const {
    auto it = connections_.find(connection);
    return it == connections_.end() ? std::string() : it->second->name;
}

nlohmann::json SimDouble::exportJson() const {
    using json = nlohmann::json;
    json objects = json::array();
    for (const auto& [id, o] : objects_) {
        json track = json::array();
        for (const TrackPoint& t : o.track)
            track.push_back({t.atMs, t.latitude, t.longitude, t.altitude, t.pitch * kRadToDeg, t.bank * kRadToDeg,
                             t.heading * kRadToDeg, t.onGround});
        json events = json::array();
        for (const ObjectEvent& e : o.events)
            events.push_back({{"at", e.atMs}, {"what", e.what}, {"value", e.value}, {"text", e.text}});
        objects.push_back(
            {{"id", o.id},
             {"user", o.isUser},
             {"title", o.title},
             {"tail", o.tail},
             {"createdMs", o.createdMs},
             {"removedMs", o.removedMs},
             {"released", o.released},
             {"frozen", o.freezeLatLon && o.freezeAltitude && o.freezeAttitude},
             {"lights", o.lights},
             {"gear", o.gear},
             {"flaps", o.flaps},
             {"enginesRunning", o.enginesRunning},
             {"flightPlan", o.flightPlan},
             {"trackColumns",
              {"atMs", "latitude", "longitude", "altitudeFt", "pitchDeg", "bankDeg", "headingDeg", "onGround"}},
             {"track", track},
             {"events", events}});
    }
    json exceptions = json::array();
    for (const ExceptionSent& e : exceptions_)
        exceptions.push_back({{"at", e.atMs},
                              {"connection", e.connection},
                              {"exception", e.exception},
                              {"sendId", e.sendId},
                              {"index", e.index}});
    return {{"application", scenario_.applicationName},
            {"nowMs", nowMs_},
            {"startUnix", startUnix_},
            {"objects", objects},
            {"exceptions", exceptions}};
}

// ---- in-process ----

namespace {

class InProcessPeer final : public Peer, public InProcessConnection {
public:
    InProcessPeer(SimDouble& sim, InProcessClient& client) : sim_(sim), client_(&client) {
        id_ = sim_.addConnection(this);
    }
    ~InProcessPeer() override {
        if (client_) sim_.removeConnection(id_);
    }
    void send(const uint8_t* data, size_t n) override {
        if (client_) client_->toClient(data, n);
    }
    void close(bool) override {
        if (client_) client_->drop();
    }
    void fromClient(const uint8_t* data, size_t n) override { sim_.receive(id_, data, n); }
    void clientClosed() override {
        client_ = nullptr;
        sim_.removeConnection(id_);
    }

private:
    SimDouble& sim_;
    InProcessClient* client_;
    uint32_t id_ = 0;
};

}  // namespace

std::unique_ptr<InProcessConnection> InProcessSimulator::connect(InProcessClient& client) {
    return std::make_unique<InProcessPeer>(sim_, client);
}

}  // namespace simdouble
