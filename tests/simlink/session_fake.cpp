#include "session_fake.h"

#include <cstring>

#include <fmt/format.h>

#include "simlink/transport/packets.h"

using scwire::PacketReader;
using scwire::PacketWriter;

namespace {

class ScriptedConnection : public InProcessConnection {
public:
    explicit ScriptedConnection(ScriptedSim& sim) : sim_(sim) {}
    void fromClient(const uint8_t* data, size_t n) override { sim_.received(data, n); }
    void clientClosed() override { sim_.closed(); }

private:
    ScriptedSim& sim_;
};

std::string lf_describe(uint32_t id, PacketReader& r) {
    using namespace scwire;
    switch (id) {
        case kOpen: return fmt::format("Open {}", r.text(256));
        case kSubscribeToSystemEvent: {
            const uint32_t ev = r.u32();
            return fmt::format("Subscribe {} {}", ev, r.text(256));
        }
        case kUnsubscribeFromSystemEvent: return fmt::format("Unsubscribe {}", r.u32());
        case kAddToDataDefinition: {
            const uint32_t def = r.u32();
            const std::string name(r.text(256));
            const std::string unit(r.text(256));
            const uint32_t type = r.u32();
            const float epsilon = r.f32();
            const uint32_t datum = r.u32();
            return fmt::format("Define {} \"{}\" \"{}\" {} {} {}", def, name, unit, type, epsilon, datum);
        }
        case kClearDataDefinition: return fmt::format("Clear {}", r.u32());
        case kMapClientEventToSimEvent: {
            const uint32_t ev = r.u32();
            return fmt::format("Map {} {}", ev, r.text(256));
        }
        case kAddClientEventToNotificationGroup: {
            const uint32_t group = r.u32();
            const uint32_t ev = r.u32();
            return fmt::format("Group {} {} {}", group, ev, r.u32());
        }
        case kSetNotificationGroupPriority: {
            const uint32_t group = r.u32();
            return fmt::format("Priority {} {}", group, r.u32());
        }
        case kRequestDataOnSimObject: {
            const uint32_t req = r.u32(), def = r.u32(), obj = r.u32(), period = r.u32();
            return fmt::format("Request {} {} {} {}", req, def, obj, period);
        }
        case kRequestDataOnSimObjectType: {
            const uint32_t req = r.u32(), def = r.u32(), radius = r.u32(), type = r.u32();
            return fmt::format("RequestByType {} {} {} {}", req, def, radius, type);
        }
        case kSetDataOnSimObject: {
            const uint32_t def = r.u32(), obj = r.u32();
            r.u32();
            r.u32();
            const uint32_t unit = r.u32();
            const double first = r.f64();
            return fmt::format("SetData {} {} {} {}", def, obj, unit, first);
        }
        case kTransmitClientEvent: {
            const uint32_t obj = r.u32(), ev = r.u32(), data = r.u32(), group = r.u32();
            return fmt::format("Transmit {} {} {} {}", obj, ev, data, group);
        }
        case kAICreateNonATCAircraft: {
            const std::string title(r.text(256));
            const std::string tail(r.text(12));
            r.take(56);
            return fmt::format("Create \"{}\" {} {}", title, tail, r.u32());
        }
        case kAIReleaseControl: {
            const uint32_t obj = r.u32();
            return fmt::format("Release {} {}", obj, r.u32());
        }
        case kAIRemoveObject: {
            const uint32_t obj = r.u32();
            return fmt::format("Remove {} {}", obj, r.u32());
        }
        case kAISetAircraftFlightPlan: {
            const uint32_t obj = r.u32();
            return fmt::format("FlightPlan {} {}", obj, r.text(260));
        }
        default: return fmt::format("Packet {:#x}", id);
    }
}

}  // namespace

std::string gf_describePacket(const uint8_t* data, size_t n, uint32_t* serial) {
    PacketReader r(data, n);
    r.u32();  // size
    r.u32();  // protocol
    const uint32_t id = r.u32();
    const uint32_t s = r.u32();
    if (serial) *serial = s;
    return lf_describe(id, r);
}

std::unique_ptr<InProcessConnection> ScriptedSim::connect(InProcessClient& client) {
    client_ = &client;
    ++connections;
    return std::make_unique<ScriptedConnection>(*this);
}

void ScriptedSim::received(const uint8_t* data, size_t n) {
    lines_.push_back(gf_describePacket(data, n, &lastSerial_));
}

std::vector<std::string> ScriptedSim::takeLines() {
    std::vector<std::string> out;
    out.swap(lines_);
    return out;
}

std::vector<std::string> ScriptedSim::takeLinesStartingWith(const std::string& head) {
    std::vector<std::string> out;
    for (const std::string& line : takeLines())
        if (line.rfind(head, 0) == 0) out.push_back(line);
    return out;
}

void ScriptedSim::sendRaw(const std::vector<uint8_t>& message) {
    if (client_) client_->toClient(message.data(), message.size());
}

void ScriptedSim::drop() {
    if (client_) client_->drop();
}

// A message of the simulator: the head (size filled by finish(), version 5, id), then what `body` writes.
template <typename Body>
void ScriptedSim::send(uint32_t id, Body body) {
    std::vector<uint8_t> m;
    PacketWriter w(m);
    w.u32(0);
    w.u32(5);
    w.u32(id);
    body(w);
    w.finish();
    sendRaw(m);
}

void ScriptedSim::sendOpen(const std::string& name, uint32_t major, uint32_t minor, uint32_t buildMajor,
                           uint32_t buildMinor) {
    send(SIMCONNECT_RECV_ID_OPEN, [&](PacketWriter& w) {
        w.text(name, 256);
        for (uint32_t v : {major, minor, buildMajor, buildMinor, 5u, 0u, 0u, 0u, 0u, 0u}) w.u32(v);
    });
}

void ScriptedSim::sendQuit() {
    send(SIMCONNECT_RECV_ID_QUIT, [](PacketWriter&) {});
}

// The event messages: group (none), event id, data, and the flags word unless the short form is asked for.
void ScriptedSim::sendEvent(uint32_t eventId, uint32_t data, bool withFlags) {
    send(SIMCONNECT_RECV_ID_EVENT, [&](PacketWriter& w) {
        for (uint32_t v : {0xFFFFFFFFu, eventId, data}) w.u32(v);
        if (withFlags) w.u32(0);
    });
}

void ScriptedSim::sendAddRemove(uint32_t eventId, uint32_t objectId, uint32_t type, bool withFlags) {
    send(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, [&](PacketWriter& w) {
        for (uint32_t v : {0xFFFFFFFFu, eventId, objectId, type}) w.u32(v);
        if (withFlags) w.u32(0);
    });
}

void ScriptedSim::sendFilename(const std::string& path) {
    send(SIMCONNECT_RECV_ID_EVENT_FILENAME, [&](PacketWriter& w) {
        for (uint32_t v : {0xFFFFFFFFu, 206u, 0u}) w.u32(v);
        w.text(path, 260);
        w.u32(0);
    });
}

void ScriptedSim::sendFrame(float frameRate, bool withFlags) {
    send(SIMCONNECT_RECV_ID_EVENT_FRAME, [&](PacketWriter& w) {
        for (uint32_t v : {0xFFFFFFFFu, 204u, 0u}) w.u32(v);
        w.f32(frameRate);
        w.f32(1.0f);
        if (withFlags) w.u32(0);
    });
}

void ScriptedSim::sendException(uint32_t code, uint32_t sendId, uint32_t index) {
    send(SIMCONNECT_RECV_ID_EXCEPTION, [&](PacketWriter& w) {
        for (uint32_t v : {code, sendId, index}) w.u32(v);
    });
}

void ScriptedSim::sendData(uint32_t requestId, uint32_t objectId, uint32_t defineId,
                           const std::vector<uint8_t>& payload, bool byType) {
    send(byType ? SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE : SIMCONNECT_RECV_ID_SIMOBJECT_DATA, [&](PacketWriter& w) {
        for (uint32_t v : {requestId, objectId, defineId, 0u, 1u, 1u, 1u}) w.u32(v);
        w.bytes(payload.data(), payload.size());
    });
}

std::vector<uint8_t> ScriptedSim::text(const std::string& s, size_t field) {
    std::vector<uint8_t> out;
    PacketWriter w(out);
    w.text(s, field);
    return out;
}

std::vector<uint8_t> ScriptedSim::snapshot(double lat, double lon, double altitude, double groundSpeed,
                                           int64_t zuluTime, int64_t zuluDay, int64_t zuluYear) {
    std::vector<uint8_t> out;
    PacketWriter w(out);
    for (double v : {lat, lon, 0.01, 0.0, 1.5, altitude, 5.0, groundSpeed}) w.f64(v);
    for (int64_t v : {zuluTime, zuluDay, zuluYear, int64_t{0}}) w.i64(v);
    return out;
}

std::vector<uint8_t> ScriptedSim::inRange(double agl, double groundAltitude, bool onGround, const std::string& atcId) {
    std::vector<uint8_t> out;
    PacketWriter w(out);
    w.f64(agl);
    w.f64(groundAltitude);
    w.i64(onGround ? 1 : 0);
    w.text(atcId, 32);
    return out;
}

std::vector<uint8_t> ScriptedSim::int64(int64_t v) {
    std::vector<uint8_t> out;
    PacketWriter w(out);
    w.i64(v);
    return out;
}
