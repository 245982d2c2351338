// simlink/state.h — what the simulator link remembers between calls, and the interface the program's
// lifecycle and the engine call. One SimConnect session, owned by the SimClient thread; its dispatch loop
// turns every millisecond. Run-state flags (run.simRunning, run.tickPending, run.requestFailed) live in
// frame/core/runstate.h, the panel fields in frame/core/panel.h.
#pragma once

#include <atomic>
#include <cstdint>
#include <stop_token>
#include <thread>

#include "simlink/ids.h"
#include "simlink/queues.h"
#include "simlink/transport/simconnect.h"
#include "simlink/user.h"

struct SimlinkState {
    HANDLE hSimConnect = nullptr;             // the open session; null while waiting
    std::atomic<uint32_t> userObjectId{0};    // ids up to this one are the user's side and never touched
    std::atomic<float> frameRate{0.0f};       // frames per second as of the last refresh
    int32_t frameCount = 0;                   // SimClient: frames since the last refresh of frameRate
    int32_t expectedVersion = 0;              // copy of P3D_VERSION, taken when SimClient starts
    std::atomic<int32_t> requestFailures{0};  // failed requests of this run; 3 restart the run
    bool waitingShown = false;                // SimClient: "Waiting for Prepar3Dv..." was shown
    std::jthread simClient;                   // the SimClient thread; joinable until joined
    std::atomic<bool> simClientAlive{false};  // the thread body runs
};
extern SimlinkState simlink;  // defined in simlink/state.cpp

// Back to the state of a fresh process (restart of a run, every test fixture): stops and joins a running
// SimClient first, empties every queue (capacities kept) and forgets the user aircraft.
void gf_resetSimlink();

// ---- SimClient: start, stop, and its steps ----

// Starts the SimClient thread; a previous one is told to stop and joined first. It waits for the
// simulator without limit, sets up the session and dispatches every millisecond until stopped.
void gf_startSimClient();
// Requests the stop of SimClient and joins it. The thread closes the session on its way out.
void gf_stopSimClient();
// True while the SimClient thread has not ended (it ends on a stop or a fault).
bool gf_simClientRunning();
// The thread body.
void gf_simClientThread(std::stop_token stopToken);

// The steps of the thread, for a test that drives client, SimClient and simulator together:
// Opens the session as "ZARK_P3D" with configuration index 0 and sets it up; false if the open failed.
bool gf_openSimConnect();
// One SimConnect_CallDispatch with the session's handler, under the thread's three exception handlers.
// False when a handler caught something: the thread would end now.
bool gf_simClientStep();
// The handlers behind these steps (lf_simDispatch, lf_closeSimConnect, ...) are in simlink/handlers.h.

// ---- Requests (each takes the simulator lock; none goes out while run.requestFailed is set) ----

// Request 109, then the copy of the last snapshot received into `out` (and into user.userSnapshot).
void gf_requestUserSnapshot(UserSnapshot& out);
// Requests 106 and 107: title and model of the user aircraft, once.
void gf_requestUserNames();
// Request 108: "SIM ON GROUND" every simulated second; each delivery sets run.tickPending.
void gf_requestOnGroundEachSecond();
// Request 101: the aircraft within a radius (metres; parDerived.radiusMetres when not given); each
// object answers with definition 404.
void gf_requestAircraftInRange();
void gf_requestAircraftInRange(int32_t radiusMetres);
// Request 102: standing height and pitch of a new AI object, answered as a SimEvent of kind 4.
void gf_requestStaticValues(uint32_t objectId);
// Definition 401 on an object: spoilers handle, throttle 1 and throttle 2, percent.
void gf_sendControls(uint32_t objectId, double spoilers, double throttle1, double throttle2);
// Request 110: the flight plan document at `path` for an object. False when the call was refused (or
// requests are stopped); the simulator's own refusal comes later as an exception report.
bool gf_sendFlightPlan(uint32_t objectId, const std::string& path);
// One more failed request: the third of a run shows an error, stops all requests and sends and
// restarts the run after 10 seconds.
void lf_countRequestFailure();

// ---- Objects and client events (queued for the frame handler unless said otherwise) ----

void gf_queueCreate(const CreateRequest& request);
void gf_queueRemove(uint32_t objectId);
// Releases the AI's control at once, then queues the three freezes: the object stays where we put it.
void gf_freezeObject(uint32_t objectId);
void gf_startEngines(uint32_t objectId);
void gf_stopEngines(uint32_t objectId);
// Nav, beacon, landing, taxi, strobes, logo, cabin: 0 off, 1 on, in this order.
void gf_setLights(uint32_t objectId, uint32_t nav, uint32_t beacon, uint32_t landing, uint32_t taxi, uint32_t strobes,
                  uint32_t logo, uint32_t cabin);
void gf_setNavLights(uint32_t objectId, uint32_t value);
void gf_setCabinLight(uint32_t objectId, uint32_t value);
// The aircraft-dependent events take the object's category and the state the engine keeps of it;
// a rotorcraft gets no flaps, spoilers or gear.
void gf_setSpoilers(uint32_t objectId, ModelCategory category, bool out);
void gf_setFlaps(uint32_t objectId, ModelCategory category, int32_t& flaps, int32_t index);  // index 0..4
void gf_setGear(uint32_t objectId, ModelCategory category, bool down);
void gf_setThrottle(uint32_t objectId, int32_t& throttle, int32_t index);  // index 0..4; 5 only stores
// Sent at once, not queued.
void gf_allLightsToggle(uint32_t objectId);
