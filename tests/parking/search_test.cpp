// The stand search: how far back in time an option is found, and what keeps an option out.
#include <deque>
#include <string>
#include <vector>

#include "airports/state.h"
#include "engine/admission.h"
#include "engine/state.h"
#include "frame/core/params.h"
#include "parking/search.h"
#include "parking/state.h"
#include "parking_support.h"
#include "service/client.h"

namespace {

struct FitCase {
    const char* name;
    TimeOfWeek now;
    uint32_t optionDay;
    std::vector<uint32_t> optionHalfHours;
    int32_t maxFit;
    const char* cs2;
    const char* seen;      // a callsign in the last traffic data; "" none
    int32_t offset;        // offset it is found at; -1 not found
    bool stays;            // still there in the next half hour
    bool nextDay = false;  // the stand also has the aircraft's option for the next day at half hour 0
};

const FitCase kFitCases[] = {
    {"now", {3, 20}, 3, {20, 21}, 0, "", "", 0, true},
    {"one back", {3, 20}, 3, {19}, 2, "", "", 1, true},
    {"at max fit", {3, 20}, 3, {15}, 5, "", "", 5, true},
    {"beyond max fit", {3, 20}, 3, {14}, 5, "", "", -1, false},
    {"over the week's turn", {1, 1}, 7, {46}, 3, "", "", 3, true},
    {"coupled, leaves next half hour", {3, 20}, 3, {20}, 0, "AFR4412", "", 0, false},
    {"coupled, still there", {3, 20}, 3, {18, 19, 20, 21}, 2, "AFR4412", "", 0, true},
    {"coupled at midnight", {3, 47}, 3, {47}, 0, "AFR4412", "", 0, false},
    {"coupled at midnight, there tomorrow", {3, 47}, 3, {47}, 0, "AFR4412", "", 0, true, true},
    {"coupled partner live", {3, 20}, 3, {19}, 2, "AFR4412", "AFR4412", -1, false},
    {"first callsign live as a ghost", {3, 20}, 3, {20}, 0, "", "AFR4411_", -1, false},
    {"impossible day", {3, 20}, 9, {20}, 47, "", "", -1, false},
    {"impossible half hours", {3, 47}, 3, {50, 55}, 47, "", "", -1, false},
};

class FitTest : public ParkingTest, public ::testing::WithParamInterface<FitCase> {};

TEST_P(FitTest, FindsTheOptionAtItsOffset) {
    const FitCase& c = GetParam();
    setNow(c.now);
    MAX_FIT.current = c.maxFit;
    Stand& s = stand("A10");
    ParkPos& o = addOption(s, "AFR4411", c.cs2, c.optionDay, {});
    for (const uint32_t h : c.optionHalfHours) o.hh |= uint64_t{1} << h;
    if (*c.seen) parking.seenCallsigns.insert(c.seen);
    if (c.nextDay) addOption(s, "AFR9", "", c.optionDay + 1, {0});

    lf_choosePositions(c.now, 1, 0);

    if (c.offset < 0) {
        EXPECT_TRUE(parking.chosenPositions.empty());
        EXPECT_EQ(parking.fitReal, c.maxFit) << "the search went all the way back";
        return;
    }
    ASSERT_EQ(parking.chosenPositions.size(), 1u);
    const ChosenPosition& p = parking.chosenPositions.front();
    EXPECT_EQ(p.sid, s.sid);
    EXPECT_EQ(p.offset, c.offset);
    EXPECT_EQ(parking.fitReal, c.offset);
    EXPECT_EQ(p.stays, c.stays);
    EXPECT_TRUE(s.taken);
    for (const uint32_t id : s.adjacent) EXPECT_TRUE(airports.stands[id - 1].adjacentTaken);
}

INSTANTIATE_TEST_SUITE_P(Offsets, FitTest, ::testing::ValuesIn(kFitCases), [](const auto& info) {
    std::string n = info.param.name;
    for (char& ch : n)
        if (!std::isalnum(static_cast<unsigned char>(ch))) ch = '_';
    return n;
});

// One aircraft can't stand in two places: a registration found at an earlier offset wins.
TEST_F(ParkingTest, RegistrationFoundEarlierIsNotTakenAgain) {
    MAX_FIT.current = 3;
    addOption(stand("A10"), "AFR1", "", 3, {20}).reg = "F-GKXA";
    addOption(stand("E23"), "AFR2", "", 3, {18}).reg = "F-GKXA";
    lf_choosePositions({3, 20}, 2, 0);
    ASSERT_EQ(parking.chosenPositions.size(), 1u);
    EXPECT_EQ(parking.chosenPositions.front().cs1, "AFR1");
}

// A live flight's partner number comes from the history around now, for its airline only.
TEST_F(ParkingTest, CoupledCallsignOfALiveFlight) {
    addOption(stand("A10"), "AFR4411", "AFR4412", 3, {26});
    AcBase live;
    live.callsign = "AFR4412_";
    live.airline = "AFR";
    gf_searchForCoupledCsAroundThisTime({3, 20}, live);
    EXPECT_EQ(live.altCallsign1, "AFR4411");
    EXPECT_EQ(live.altCallsign2, "AFR4412");
    AcBase other;
    other.callsign = "AFR4412";
    other.airline = "KLM";
    gf_searchForCoupledCsAroundThisTime({3, 20}, other);
    EXPECT_TRUE(other.altCallsign1.empty());
    AcBase late;
    late.callsign = "AFR4411";
    late.airline = "AFR";
    gf_searchForCoupledCsAroundThisTime({3, 10}, late);  // 16 half hours away: outside the window
    EXPECT_TRUE(late.altCallsign2.empty());
}

}  // namespace

namespace {

// A live flight arriving under its first number replaces the parked aircraft that stands for its
// departure under the second: the history couples the two.
TEST_F(ParkingTest, LiveFlightReplacesItsParkedTwinByTheCoupledCallsign) {
    addOption(stand("A10"), "AFR4411", "AFR4412", 3, {22, 23});
    ParkedAc twin;
    twin.callsign = "AFR4412*";
    twin.altCallsign1 = "AFR4412";
    twin.airline = "AFR";
    twin.model = "A320";
    twin.sid = stand("E23").sid;
    twin.state = ActState::Live;
    twin.objectId = 4242;
    engine.parked.push_back(twin);
    Act live;
    live.callsign = "AFR4411";
    live.airline = "AFR";
    live.hexid = 0x391234;
    live.state = ActState::Live;

    gf_reviewAgainstParked(live);

    EXPECT_EQ(live.altCallsign2, "AFR4412");
    EXPECT_EQ(engine.parked.front().state, ActState::Removing);
    EXPECT_EQ(engine.removalQueue, std::deque<uint32_t>{4242});
}

}  // namespace
