// What the simulator's notices do to the run: running or not, a new flight or place, frames, exceptions.
#include <gtest/gtest.h>

#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "session_support.h"

namespace {

using Exits = std::vector<std::pair<int, int>>;

TEST_F(SessionTest, TheSimEventDrivesSimRunningAndAQuitStopsIt) {
    open();
    sim_.sendEvent(kEvSim, 1);
    ASSERT_TRUE(step());
    EXPECT_TRUE(run.simRunning);
    EXPECT_TRUE(panel.simRunningShown);
    sim_.sendEvent(kEvSim, 0, /*withFlags=*/false);  // the short form without flags counts the same
    ASSERT_TRUE(step());
    EXPECT_FALSE(run.simRunning);
    sim_.sendEvent(kEvSim, 1);
    sim_.sendQuit();
    ASSERT_TRUE(step());
    EXPECT_FALSE(run.simRunning);
    EXPECT_FALSE(panel.simRunningShown);
    EXPECT_TRUE(exitRequests_.empty()) << "a quit keeps the session";
}

TEST_F(SessionTest, ANewFlightOrPlaceRestartsTheRunAfter30Seconds) {
    open();
    sim_.sendEvent(kEvFlightLoaded, 0);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("Flight loaded"));
    sim_.sendEvent(kEvPositionChanged, 0);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("User ac position changed"));
    sim_.sendFilename("C:\\Users\\pilot\\Documents\\Prepar3D v5 Files\\EDDF.fxml");
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("New file loaded"));
    EXPECT_EQ(exitRequests_, (Exits{{2, 30}, {2, 30}, {2, 30}}));
}

TEST_F(SessionTest, TheFrameRateIsRefreshedEvery30thFrame) {
    open();
    for (int i = 0; i < 29; ++i) frame(60.0f);
    EXPECT_EQ(simlink.frameRate, 0.0f);
    frame(60.0f);
    EXPECT_EQ(simlink.frameRate, 60.0f);
    for (int i = 0; i < 29; ++i) frame(24.0f);
    EXPECT_EQ(simlink.frameRate, 60.0f);
    frame(24.0f);
    EXPECT_EQ(simlink.frameRate, 24.0f);
}

TEST_F(SessionTest, UnknownMessagesAreLoggedAndTheQuietOnesIgnored) {
    open();
    std::vector<uint8_t> unknown = {12, 0, 0, 0, 5, 0, 0, 0, 40, 0, 0, 0};
    sim_.sendRaw(unknown);
    std::vector<uint8_t> assigned = {20, 0, 0, 0, 5, 0, 0, 0, 12, 0, 0, 0, 1, 0, 0, 0, 2, 0, 0, 0};
    sim_.sendRaw(assigned);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("! Unknown Dispatch dwID 40"));
    EXPECT_FALSE(logHas("dwID 12"));
}

TEST_F(SessionTest, ExceptionsAreLoggedWithTheirWords) {
    open();
    sim_.sendException(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, 7);
    ASSERT_TRUE(step());
    EXPECT_FALSE(logHas("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID")) << "silent before the first position";
    userAt(50.03, 8.57);
    sim_.sendException(SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID, 7);
    sim_.sendException(SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE, 8);
    sim_.sendException(SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED, 9);
    sim_.sendException(SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE, 10);
    sim_.sendException(SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED, 11);
    sim_.sendException(SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS, 12);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID"));
    EXPECT_TRUE(logHas("SIMCON EXCEP 19"));
    EXPECT_TRUE(logHas("Simconnect Exception: load flight plan failed"));
    EXPECT_TRUE(logHas("SIMCON EXCEP 24"));
    EXPECT_TRUE(logHas("SIMCON EXCEP 7"));
    EXPECT_EQ(messageLine(), "SimConnect: too many objects (max 1000)");
    EXPECT_TRUE(logHas("SimConnect: too many objects (max 1000)"));
    EXPECT_TRUE(exitRequests_.empty());
}

TEST_F(SessionTest, AShortMessageIsDroppedNotRead) {
    open();
    std::vector<uint8_t> shortFrame = {16, 0, 0, 0, 5, 0, 0, 0, 7, 0, 0, 0, 0, 0, 0, 0};
    sim_.sendRaw(shortFrame);
    ASSERT_TRUE(step());
    EXPECT_TRUE(logHas("Short SimConnect message dwID 7"));
}

}  // namespace
