// Requests of the engine and their failures: two only log, the third restarts the run and silences the link.
#include <gtest/gtest.h>

#include "frame/core/message.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "session_support.h"

namespace {

using Exits = std::vector<std::pair<int, int>>;

TEST_F(SessionTest, TheRequestsGoOutWithTheirIdsAndPeriods) {
    open();
    gf_requestUserNames();
    gf_requestOnGroundEachSecond();
    gf_requestAircraftInRange();
    gf_allLightsToggle(130);
    gf_sendControls(130, 0.0, 50.0, 50.0);
    EXPECT_EQ(sim_.takeLines(),
              (std::vector<std::string>{"Request 106 407 0 1", "Request 107 408 0 1", "Request 108 409 0 4",
                                        fmt::format("RequestByType 101 404 {} 2", parDerived.radiusMetres.load()),
                                        fmt::format("RequestByType 101 404 {} 3", parDerived.radiusMetres.load()),
                                        "Transmit 130 214 0 301", "SetData 401 130 24 0"}));
}

TEST_F(SessionTest, TheThirdFailedRequestRestartsTheRunAfter10Seconds) {
    open();
    sim_.drop();
    gf_requestUserNames();
    EXPECT_TRUE(logHas("SimConnect request user ac title fails"));
    EXPECT_TRUE(logHas("SimConnect reques user ac model fails"));
    EXPECT_TRUE(exitRequests_.empty());
    EXPECT_FALSE(run.requestFailed);
    gf_requestOnGroundEachSecond();
    EXPECT_TRUE(logHas("SimConnect request ac gnd/air fails"));
    EXPECT_TRUE(run.requestFailed);
    EXPECT_EQ(messageLine(), "SimConnect request error 3, see Log.txt");
    EXPECT_EQ(exitRequests_, (Exits{{2, 10}}));
}

TEST_F(SessionTest, AfterTheThirdFailureNothingIsRequestedOrSent) {
    open();
    userAt(50.03, 8.57, 100);
    sim_.takeLines();
    for (int i = 0; i < 3; ++i) lf_countRequestFailure();
    ASSERT_TRUE(run.requestFailed);
    gf_requestAircraftInRange();
    gf_requestOnGroundEachSecond();
    UserSnapshot copy;
    gf_requestUserSnapshot(copy);
    EXPECT_EQ(copy.latitude, 50.03) << "the last snapshot is still handed out";
    CreateRequest create;
    create.tail = "DLH1";
    create.title = "FSPXAI B738 Lufthansa";
    gf_queueCreate(create);
    gf_queueRemove(130);
    gf_startEngines(130);
    PositionUpdate p;
    p.objectId = 130;
    gf_pushPosition(p);
    lf_swapOutboundPositions();
    frame();
    EXPECT_TRUE(sim_.takeLines().empty());
    EXPECT_TRUE(simQueues.createQueue.empty()) << "thrown away, not kept";
    EXPECT_TRUE(simQueues.removeQueue.empty());
    EXPECT_TRUE(simQueues.eventQueue.empty());
}

TEST_F(SessionTest, ARefusedCreationIsLoggedAndCounted) {
    open();
    userAt(50.03, 8.57, 100);
    CreateRequest create;
    create.tail = "DLH1";
    create.title = std::string(300, 'T');  // longer than the title field: the client refuses it
    create.hexid = 0x3C6444;
    gf_queueCreate(create);
    frame();
    EXPECT_TRUE(logHas(fmt::format("! Simcon call to create ac in sim failed, hexid:{}, liv: \"{}\", callsign: DLH1",
                                   create.hexid, create.title)));
    EXPECT_EQ(simlink.requestFailures, 1);
    EXPECT_TRUE(simQueues.pendingCreates.empty());
}

}  // namespace
