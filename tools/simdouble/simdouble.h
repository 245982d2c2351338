// tools/simdouble/simdouble.h — the simulator's side of SimConnect, played from a scenario: it parses the
// client's packets, keeps data definitions, subscriptions, requests, the user aircraft and the AI objects,
// answers as Prepar3D v5 would, and records everything per object over time.
// Single-threaded: whoever drives it (a test, the in-process link, the TCP server) calls it from one thread
// at a time. Simulator time only moves in advance().
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "simlink/transport/inprocess.h"
#include "simlink/transport/simconnect.h"
#include "tools/simdouble/scenario.h"

namespace simdouble {

struct TrackPoint {
    int64_t atMs;
    double latitude, longitude, altitude;  // degrees, feet
    double pitch, bank, heading;           // radians
    bool onGround;
};

struct ObjectEvent {
    int64_t atMs;
    std::string what;  // "created", "removed", a simulator event name, "releaseControl", "flightPlan", "setData"...
    int64_t value = 0;
    std::string text;
};

// One simulator object: the user aircraft or an AI aircraft.
struct SimObject {
    uint32_t id = 0;
    bool isUser = false;
    uint32_t type = 2;   // SIMCONNECT_SIMOBJECT_TYPE: 2 aircraft, 3 helicopter (by its title)
    uint32_t owner = 0;  // connection that created it (0: the simulator)
    std::string title, tail, atcModel;
    double latitude = 0, longitude = 0, altitude = 0;  // degrees, feet
    double pitch = 0, bank = 0, heading = 0;           // radians
    double verticalSpeed = 0;                          // feet per second
    double airspeed = 0, groundSpeed = 0;              // knots
    bool onGround = false;
    int64_t lights = 0;           // LIGHT STATES mask
    double spoilers = 0;          // percent
    double throttle[2] = {0, 0};  // percent
    int64_t gear = 1;             // 1 down
    int64_t flaps = 0;            // 0..16383
    bool enginesRunning = false;
    bool freezeLatLon = false, freezeAltitude = false, freezeAttitude = false;
    bool released = false;  // AIReleaseControl
    std::string flightPlan;
    int64_t createdMs = 0;
    int64_t removedMs = -1;  // still alive while -1
    int64_t lastTrackMs = -1000000;
    std::vector<TrackPoint> track;
    std::vector<ObjectEvent> events;
};

struct ExceptionSent {
    uint32_t connection;
    uint32_t exception;
    uint32_t sendId;
    uint32_t index;
    int64_t atMs;
};

// How the double reaches one client.
class Peer {
public:
    virtual ~Peer() = default;
    virtual void send(const uint8_t* data, size_t n) = 0;
    virtual void close(bool abrupt) = 0;  // clean close or a dropped connection
};

class SimDouble {
public:
    explicit SimDouble(Scenario scenario = {});
    ~SimDouble();

    // Connections. receive() takes stream bytes and frames them into packets; a broken stream drops it.
    uint32_t addConnection(Peer* peer);
    void removeConnection(uint32_t connection);
    void receive(uint32_t connection, const uint8_t* data, size_t n);
    void handlePacket(uint32_t connection, const uint8_t* packet, size_t n);

    // Simulator time: frames, per-second data, creations and the script move on.
    void advance(int64_t ms);
    int64_t nowMs() const { return nowMs_; }

    // Commands a test or the script gives.
    void setSimRunning(bool running);
    void setPaused(bool paused);
    void quit();
    void flightLoaded(const std::string& file);
    void positionChanged();
    void teleport(double latitude, double longitude, double altitude);
    void setFrozen(bool frozen);  // a frozen simulator says nothing and time stands still for it
    void closeAll();              // closes every connection cleanly
    void dropAll();               // drops every connection abruptly
    void setUserMotion(const std::string& motion, double speedKnots);
    // The form of the next messages, for tests that run both.
    Scenario& scenario() { return scenario_; }

    // What happened.
    const SimObject* object(uint32_t id) const;  // alive or removed
    SimObject& user() { return objects_.at(scenario_.userObjectId); }
    std::vector<const SimObject*> aiObjects(bool aliveOnly = true) const;
    const std::vector<ExceptionSent>& exceptions() const { return exceptions_; }
    uint64_t packetsReceived() const { return packetsReceived_; }
    uint64_t packetsOf(uint32_t packetId) const;
    std::string clientName(uint32_t connection) const;
    size_t connectionCount() const { return connections_.size(); }
    nlohmann::json exportJson() const;

    struct Connection;
    struct Impl;

private:
    void lf_tick1ms();
    Scenario scenario_;
    int64_t nowMs_ = 0;
    double startUnix_ = 0.0;  // the program's UTC clock at time 0, seconds since 1970: ties tracks to the world
    bool frozen_ = false;
    uint32_t nextConnection_ = 1;
    uint32_t nextObjectId_ = 0;
    uint64_t packetsReceived_ = 0;
    std::map<uint32_t, uint64_t> packetCounts_;
    std::map<uint32_t, std::unique_ptr<Connection>> connections_;
    std::map<uint32_t, SimObject> objects_;
    std::vector<ExceptionSent> exceptions_;
    size_t scriptNext_ = 0;
    size_t pathLeg_ = 0;
    friend struct Impl;
};

// Serves a SimDouble to SimConnect_Open through the in-process transport (see gf_setInProcessServer).
class InProcessSimulator final : public InProcessServer {
public:
    explicit InProcessSimulator(SimDouble& sim) : sim_(sim) {}
    std::unique_ptr<InProcessConnection> connect(InProcessClient& client) override;

private:
    SimDouble& sim_;
};

}  // namespace simdouble
