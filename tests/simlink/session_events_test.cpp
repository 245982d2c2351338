// What the simulator's notices do to the run: running or not, a new flight or place, frames, exceptions.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "session_support.h"

namespace {

using Exits = std::vector<std::pair<int, int>>;

TEST_F(SessionTest, TheSimEventDrivesSimRunningAndAQuitStopsIt) {
    open();
    gf_takeDirtyBands();
    sim_.sendEvent(kEvSim, 1);
    ASSERT_TRUE(step());
    EXPECT_TRUE(run.simRunning);
    EXPECT_TRUE(panel.simRunningShown);
    EXPECT_TRUE(gf_takeDirtyBands() & (1u << static_cast<int>(Band::Status))) << "the panel shows it";
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

// The forms without the trailing flags word (28-byte object add/remove, 32-byte frame) are read in full;
// one byte less than the handlers read is dropped with a line in the log.
TEST_F(SessionTest, ShortFormsAreReadAndAByteLessIsDropped) {
    open();
    userAt(50.03, 8.57, 100);
    sim_.sendAddRemove(kEvObjectRemoved, 120, SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT, /*withFlags=*/false);
    for (int i = 0; i < 30; ++i) sim_.sendFrame(45.0f, /*withFlags=*/false);
    ASSERT_TRUE(step());
    const auto ev = events();
    ASSERT_EQ(ev.size(), 1u);
    EXPECT_EQ(ev[0].kind, kSimRemoved);
    EXPECT_EQ(ev[0].objectId, 120u);
    EXPECT_EQ(simlink.frameRate, 45.0f);
    const auto cut = [](uint32_t id, std::vector<uint32_t> words, size_t bytes) {
        std::vector<uint8_t> m(bytes, 0);
        words.insert(words.begin(), {static_cast<uint32_t>(bytes), 5u, id});
        std::memcpy(m.data(), words.data(), std::min(bytes, words.size() * 4));
        return m;
    };
    float fps = 24.0f;
    uint32_t fpsBits = 0;
    std::memcpy(&fpsBits, &fps, 4);
    sim_.sendRaw(cut(SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE, {0xFFFFFFFF, kEvObjectRemoved, 121, 2}, 27));
    for (int i = 0; i < 30; ++i) sim_.sendRaw(cut(SIMCONNECT_RECV_ID_EVENT_FRAME, {0xFFFFFFFF, 204, 0, fpsBits}, 27));
    ASSERT_TRUE(step());
    EXPECT_TRUE(events().empty());
    EXPECT_EQ(simlink.frameRate, 45.0f);
    EXPECT_TRUE(logHas("Short SimConnect message dwID 5: 27 bytes, 28 expected"));
    EXPECT_TRUE(logHas("Short SimConnect message dwID 7: 27 bytes, 28 expected"));
    for (int i = 0; i < 30; ++i) sim_.sendRaw(cut(SIMCONNECT_RECV_ID_EVENT_FRAME, {0xFFFFFFFF, 204, 0, fpsBits}, 28));
    ASSERT_TRUE(step());
    EXPECT_EQ(simlink.frameRate, 24.0f) << "28 bytes hold the frame rate";
}

}  // namespace
