#include "simlink/state.h"

SimlinkState simlink;
SimQueues simQueues;
UserAircraft user;

void gf_clearSimQueues() {
    {
        std::lock_guard lock(simQueues.eventLock);
        simQueues.events.clear();
        simQueues.delayList.clear();
    }
    std::lock_guard lock(simQueues.simLock);
    for (auto& list : simQueues.outboundPositions) {
        list.clear();
        list.reserve(kQueueReserve);
    }
    simQueues.filling = 0;
    simQueues.eventQueue.clear();
    simQueues.createQueue.clear();
    simQueues.createQueue.reserve(kQueueReserve);
    simQueues.removeQueue.clear();
    simQueues.removeQueue.reserve(kQueueReserve);
    simQueues.addedObjects.clear();
    simQueues.addedObjects.reserve(kQueueReserve);
    simQueues.pendingCreates.clear();
    simQueues.pendingCreates.reserve(kQueueReserve);
    simQueues.foreignObjects.clear();
}

void gf_resetSimlink() {
    // A SimClient left running would write into the state being reset.
    if (simlink.simClient.joinable()) {
        simlink.simClient.request_stop();
        simlink.simClient.join();
    }
    if (simlink.hSimConnect != nullptr) SimConnect_Close(simlink.hSimConnect);
    simlink.hSimConnect = nullptr;
    simlink.userObjectId = 0;
    simlink.frameRate = 0.0f;
    simlink.frameCount = 0;
    simlink.expectedVersion = 0;
    simlink.requestFailures = 0;
    simlink.waitingShown = false;
    simlink.simClientAlive = false;
    gf_clearSimQueues();

    user.simSnapshot = {};
    user.userSnapshot = {};
    user.userTitle.clear();
    user.userOnGround = false;
    user.userOnGroundKnown = false;
    user.lastUserLatitude = 0.0;
    user.lastUserLongitude = 0.0;
    user.userStand.clear();
    user.userHalfSpan.reset();
    user.userCategory = ModelCategory::Light;
    user.userModel.clear();
    user.simEpoch = 0;
    user.parkStands.clear();
    user.loadedParkAirport.clear();
    user.parkListHeadIcao.clear();
    user.parkListHeadStand.clear();
    user.writeParkListHead = nullptr;
    user.standCacheValid = false;
    user.standCachePosition = {};
    user.standCacheResult.clear();
}
