// simlink/queues.h — the records that travel between the engine thread, the Traffic Reader and SimClient,
// and the queues that carry them. Nothing in the engine calls SimConnect to move, create or remove an
// aircraft: it fills these queues and the frame handler on SimClient sends them once per simulator frame.
// What the simulator reports comes back as SimEvent records in the event queue.
//
// Locks: the event queue lock comes before the simulator lock; the log lock is innermost.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "simlink/transport/simconnect.h"

// What the creation of one object needs.
struct CreateRequest {
    SIMCONNECT_DATA_INITPOSITION initPosition{};  // degrees, feet; Airspeed 0
    std::string tail;                             // callsign of a live aircraft; ends in "*" for a parked one
    std::string title;                            // the livery's title
    uint32_t hexid = 0;                           // hexid, or the serial of a parked aircraft (<= 10000)
};

// A creation that was sent and whose object the simulator has not named yet.
struct PendingCreate {
    uint32_t packetId = 0;  // send serial of the creation packet; 0 when it could not be read
    uint32_t hexid = 0;
    std::string tail;
};

// One position of an AI object, the eight doubles of definition 402 in their order (64 bytes).
struct PositionUpdate {
    double latitude = 0.0;  // degrees
    double longitude = 0.0;
    double pitch = 0.0;  // radians
    double bank = 0.0;
    double heading = 0.0;        // radians, true
    double altitude = 0.0;       // feet
    double verticalSpeed = 0.0;  // feet per second
    double trueAirspeed = 0.0;   // knots
    uint32_t objectId = 0;
};

// A client event for one object, sent by the frame handler in the order queued.
struct ClientEventRequest {
    uint32_t objectId = 0;
    uint32_t eventId = 0;
    uint32_t data = 0;
};

// What a SimEvent reports.
enum SimEventKind : uint32_t {
    kSimLiveCreated = 0,    // b: height above ground, feet
    kSimParkedCreated = 1,  //
    kSimRemoved = 2,        //
    kSimHeight = 3,         // hexid: on-ground flag; a: ground altitude, feet; b: height above ground, feet
    kSimStatic = 4,         // a: static CG to ground, feet; b: static pitch, radians
    kSimBlocked = 5,        // from the Traffic Reader
    kSimCreateFailed = 6,   //
};

// One report for the engine.
struct SimEvent {
    uint32_t objectId = 0;  // 0 for kinds 5 and 6
    uint32_t hexid = 0;     // hexid, or the on-ground flag for kind 3
    int32_t counter = 0;    // for the engine's delay list
    uint32_t kind = 0;      // a SimEventKind
    double a = 0.0;
    double b = 0.0;
};

// The queues. Capacities are reserved once and survive the emptying at a restart.
struct SimQueues {
    // Event queue lock: guards events and delayList.
    std::mutex eventLock;
    std::vector<SimEvent> events;     // SimClient and the Traffic Reader push, the engine drains each slice
    std::vector<SimEvent> delayList;  // the engine's events that wait some slices; same lock

    // Simulator lock: guards the lists below but the filling list of outboundPositions, and every SimConnect
    // call outside the dispatch of SimClient. The frame handler only tries it.
    std::mutex simLock;
    std::array<std::vector<PositionUpdate>, 2> outboundPositions;  // [filling] engine only, no lock; the other
    int filling = 0;                                               // is the sending list; swapped under simLock
    std::vector<ClientEventRequest> eventQueue;
    std::vector<CreateRequest> createQueue;
    std::vector<uint32_t> removeQueue;

    // SimClient only, no lock.
    std::vector<uint32_t> addedObjects;         // ids announced by ObjectAdded and not yet identified
    std::vector<PendingCreate> pendingCreates;  // creations sent whose object is unknown yet, in sending order
    std::vector<uint32_t> foreignObjects;       // objects another program created: no events for them
};
extern SimQueues simQueues;  // defined in simlink/state.cpp

// Takes the event queue lock and appends (SimClient, Traffic Reader).
void gf_pushSimEvent(const SimEvent& event);
// Hands every queued event to `handle` while the event queue lock is held (the handler may take the
// simulator lock, never the reverse), then empties the queue. Engine thread, each slice.
void gf_drainSimEvents(const std::function<void(const SimEvent&)>& handle);
// The queued events, taken out of the queue (tests, tools).
std::vector<SimEvent> gf_takeSimEvents();

// Engine thread: a position for the next swap; no lock, the filling list is the engine's own.
void gf_pushPosition(const PositionUpdate& update);
// Engine thread, at the end of the moving step of each slice: hands the filled list to the frame handler.
// With the simulator lock busy the positions wait for it above 50 fps and are dropped at 50 fps and below.
void lf_swapOutboundPositions();  // the name the engine knows it by
// Empties both position lists (the flight stopped running).
void gf_clearOutboundPositions();
// Empties every queue, keeping the capacities (restart of a run).
void gf_clearSimQueues();
