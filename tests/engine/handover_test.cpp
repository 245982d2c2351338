// The Traffic Reader's snapshots reach the engine: the history that arrives before the loop, paced.
#include <vector>

#include <fmt/format.h>
#include <gmock/gmock.h>

#include "engine/intake.h"
#include "engine/state.h"
#include "engine_support.h"
#include "service/client.h"
#include "service/state.h"
#include "service/traffic.h"

namespace {

class HandOverToEngineTest : public EngineTest {
protected:
    void SetUp() override {
        EngineTest::SetUp();
        service.sliceNow = [] { return engine.slice; };
    }
    // One snapshot of `count` aircraft, from hexid `first` on, handed over with `delay` seconds.
    static void snapshot(uint32_t first, int count, double timestamp, int32_t delay) {
        for (int i = 0; i < count; ++i) {
            TrafficRecord r = record(first + static_cast<uint32_t>(i), timestamp, 0);
            r.callsign = fmt::format("C{:x}", first + static_cast<uint32_t>(i));
            r.longitude += 0.001 * timestamp;
            r.track = 90.0 + timestamp;  // no thinning between the snapshots
            trafficReader.batch.push_back(r);
        }
        lf_handOverSnapshot(trafficReader, delay);
    }
};

// The reader delivers its history within milliseconds of starting, long before the loop runs. Its
// snapshots wait for the loop; the oldest is the initial load, worked off one record per slice, and each
// aircraft's later history follows its first record, so its stream begins at once.
TEST_F(HandOverToEngineTest, HistoryReachesTheEngineOnceTheLoopRuns) {
    gf_holdTrafficUntilLoop();
    snapshot(0x400000, 2, 100.0, 0);  // buffer_4, the initial load
    for (int i = 1; i < kHistoryCount; ++i) snapshot(0x400000, 2, 100.0 + 6.0 * i, 6 * i);
    snapshot(0x400000, 2, 130.0, kLiveDelaySeconds);  // a first live snapshot before the loop, too
    gf_setAcceptTraffic(true);                        // mainLoop begins
    std::vector<size_t> sizes;
    for (int s = 0; s < 12; ++s) {
        runSlice();
        sizes.push_back(engine.active.size());
    }
    // The batch starts at the 210th slice since the last one (the first starts ripe), then one a slice.
    EXPECT_THAT(sizes, testing::ElementsAre(0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2));
    for (const Act& act : engine.active) {
        ASSERT_EQ(act.stream.size(), 6u);  // 0, 6, 12, 18, 24 s and the live one at 30 s
        EXPECT_EQ(act.stream[1].dueTick, 600);
        EXPECT_EQ(act.stream.back().dueTick, 3000);
    }
    runSlice();
    EXPECT_EQ(engine.active[0].state, ActState::Creating);  // its first position is due now: placed at once
    EXPECT_EQ(engine.offeredRecords, 12);
}

TEST_F(HandOverToEngineTest, LargeInitialLoadGoesTwoRecordsASlice) {
    gf_holdTrafficUntilLoop();
    snapshot(0x500000, 151, 100.0, 0);
    gf_setAcceptTraffic(true);
    runSlices(11);  // the batch starts at the tenth slice
    EXPECT_EQ(engine.offeredRecords, 2);
    runSlices(75);
    EXPECT_EQ(engine.offeredRecords, 151);
}

}  // namespace
