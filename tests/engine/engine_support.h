// tests/engine/engine_support.h — records and aircraft for the engine's tests, and the engine's part of
// a slice in the order the frame runs it.
#pragma once

#include <cstdint>
#include <string>

#include "engine/act.h"
#include "service/record.h"
#include "support/fixture.h"

class EngineTest : public ZarkTest {
protected:
    void SetUp() override;

    // A record of an airliner near Zurich; tests change what they need.
    static TrafficRecord record(uint32_t hexid, double timestamp, int32_t dueTick);
    // An aircraft in the simulator: an Act made from `r`, Live with an object, in `phase`.
    static Act& liveAct(const TrafficRecord& r, ActPhase phase, uint32_t objectId = 1001);
    // The engine's steps of one slice (events, motion, paced removal and creation, traffic, ready stack)
    // at S = engine.slice, which then counts up.
    static void runSlice();
    static void runSlices(int n) {
        for (int i = 0; i < n; ++i) runSlice();
    }
};
