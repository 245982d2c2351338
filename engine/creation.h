// engine/creation.h — the paced traffic between the engine's tables and the simulator's queues: aircraft
// ready for creation, one creation per 500 ms, one removal per 100 ms, and the counts for the panel.
#pragma once

#include <cstdint>

// Step 5 of each slice: one admitted aircraft's creation record onto the live creation queue.
void gf_queueReadyForCreation();
// The oldest entry of the live creation queue to the simulator; false when the queue was empty.
bool gf_createNextLive();
// The oldest entry of the static creation queue to the simulator.
void gf_createNextStatic();
// One entry of the removal queue to the simulator.
void gf_removeNextObject();
// The whole removal queue at once (the end of a run).
void gf_removeAllQueuedObjects();

struct AircraftCounts {
    int32_t liveMoving = 0;   // Live and not AtStand
    int32_t liveAtStand = 0;  // Live and AtStand
    int32_t parkedLive = 0;   // static aircraft in the simulator
};
AircraftCounts gf_countAircraft();
