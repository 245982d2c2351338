// tests/simlink/session_support.h — the base of the session tests: the session opened over the in-process
// transport to a scripted simulator, and small helpers that feed it the user aircraft.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "session_fake.h"
#include "simlink/state.h"
#include "support/fixture.h"

class SessionTest : public ZarkTest {
protected:
    void SetUp() override;
    void TearDown() override;

    // Opens and sets up the session; the setup's packets are taken away.
    void open();
    // One dispatch of SimClient; false when a handler caught something.
    bool step() { return gf_simClientStep(); }
    // The user aircraft at a position (object id `userId`), delivered and dispatched.
    void userAt(double lat, double lon, uint32_t userId = 100, double groundSpeed = 0.0);
    void onGround(bool value);
    // A frame of the simulator, dispatched: what the frame handler sends goes to the scripted simulator.
    void frame(float fps = 30.0f);
    std::vector<SimEvent> events() { return gf_takeSimEvents(); }
    std::string errorLine() const;
    std::string messageLine() const;

    ScriptedSim sim_;
};

// A database with a few wingspans (half spans in nm) and the largest of them.
void gf_fillSmallDbase();
// The packets of the session's open and setup, as the scripted simulator writes them, in order.
std::vector<std::string> gf_expectedSetupLines();
