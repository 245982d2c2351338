#include "engine/state.h"

EngineState engine;

void gf_reserveEngineTables() {
    engine.active.reserve(kActiveReserve);
    engine.parked.reserve(kParkedReserve);
    engine.creationReady.reserve(kCreationReadyReserve);
    engine.ghostList.reserve(kGhostListReserve);
    std::lock_guard lock(simQueues.eventLock);
    simQueues.delayList.reserve(kDelayListReserve);
}

void gf_clearEngineTables() {
    engine.active.clear();
    engine.parked.clear();
    engine.creationReady.clear();
    engine.checkQueue.clear();
    engine.removalQueue.clear();
    engine.liveCreationQueue.clear();
    engine.staticCreationQueue.clear();
    engine.ghostList.clear();
    engine.unknownModels.clear();
    engine.batchCounter = 200;
    engine.batchLeft = 0;
    engine.batchDouble = false;
    engine.removeAllRequested = false;
    engine.lastUserCheckLat = 0.0;
    engine.lastUserCheckLon = 0.0;
    engine.flareActive = false;
    std::lock_guard lock(simQueues.eventLock);
    simQueues.delayList.clear();
}

void gf_resetEngine() {
    gf_clearEngineTables();
    engine.slice = 0;
    engine.flightPlanFolder.clear();
    engine.offeredRecords = 0;
    engine.acceptedSamples = 0;
    engine.actsCreated = 0;
    engine.recreations = 0;
    engine.positionsSent = 0;
}
