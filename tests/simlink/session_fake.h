// tests/simlink/session_fake.h — a scripted simulator for the session tests: it takes the packets of the
// in-process transport, writes each as one readable line ("Subscribe 201 Sim"), and sends the messages a
// test asks for. Answers nothing by itself, so a test decides every message the session sees.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "simlink/transport/inprocess.h"
#include "simlink/transport/simconnect.h"

// One packet of the client as a readable line; its send serial into `serial` when given.
std::string gf_describePacket(const uint8_t* data, size_t n, uint32_t* serial = nullptr);

class ScriptedSim : public InProcessServer {
public:
    std::unique_ptr<InProcessConnection> connect(InProcessClient& client) override;

    // Every packet received since the last take, one line each, in order; the Open packet included.
    std::vector<std::string> takeLines();
    // The lines received since the last take that begin with `head`.
    std::vector<std::string> takeLinesStartingWith(const std::string& head);
    uint32_t lastSerial() const { return lastSerial_; }
    bool connected() const { return client_ != nullptr; }
    std::atomic<int> connections{0};  // SimClient may connect on its own thread

    // Messages to the client; they wait in its queue for the next dispatch.
    void sendOpen(const std::string& name, uint32_t major = 5, uint32_t minor = 4, uint32_t buildMajor = 14,
                  uint32_t buildMinor = 32);
    void sendQuit();
    void sendEvent(uint32_t eventId, uint32_t data, bool withFlags = true);
    void sendAddRemove(uint32_t eventId, uint32_t objectId, uint32_t type = SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT,
                       bool withFlags = true);
    void sendFilename(const std::string& path);
    void sendFrame(float frameRate, bool withFlags = true);
    void sendException(uint32_t code, uint32_t sendId, uint32_t index = 0);
    // SIMOBJECT_DATA (or BYTYPE) with the payload as given.
    void sendData(uint32_t requestId, uint32_t objectId, uint32_t defineId, const std::vector<uint8_t>& payload,
                  bool byType = false);
    void sendRaw(const std::vector<uint8_t>& message);
    void drop();

    // Payload builders.
    static std::vector<uint8_t> text(const std::string& s, size_t field);  // NUL-terminated, zero-filled
    static std::vector<uint8_t> snapshot(double lat, double lon, double altitude = 100.0, double groundSpeed = 0.0,
                                         int64_t zuluTime = 0, int64_t zuluDay = 1, int64_t zuluYear = 2026);
    static std::vector<uint8_t> inRange(double agl, double groundAltitude, bool onGround, const std::string& atcId);
    static std::vector<uint8_t> int64(int64_t v);

    // Called by the connection.
    void received(const uint8_t* data, size_t n);
    void closed() { client_ = nullptr; }

private:
    template <typename Body>
    void send(uint32_t id, Body body);

    InProcessClient* client_ = nullptr;
    std::vector<std::string> lines_;
    uint32_t lastSerial_ = 0;
};
