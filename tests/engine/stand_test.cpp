// Samples of an aircraft at or rolling to its stand: the jitter of a parked transponder is no move, a
// steady move away is a departure, a far sample is another aircraft.
#include <vector>

#include <gmock/gmock.h>

#include "common/geo.h"
#include "engine/intake.h"
#include "engine/records.h"
#include "engine/state.h"
#include "engine_support.h"

namespace {

constexpr uint32_t kHex = 0x4b1614;
constexpr LatLon kStand{47.4520, 8.5620};

struct StandCase {
    const char* what;
    ActPhase phase, prevPhase;
    std::vector<double> metres;  // distances from the stand of the samples, in order
    size_t streamAfter;          // samples in the stream at the end (1: none stored)
    bool leaving;
    int awayCount;
    ActPhase phaseAfter;
    ActState stateAfter;
    double halfSpanM = 17.0;  // an A320's
};

class StandTest : public EngineTest {};

TEST_F(StandTest, SamplesAtTheStand) {
    const StandCase table[] = {
        {"jitter inside the circle stores nothing",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 12, 9, 11},
         1,
         false,
         0,
         ActPhase::AtStand,
         ActState::Live},
        {"third step out, half a span from the first: leaving",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 13.1, 16.2, 19.3},
         2,
         true,
         3,
         ActPhase::AtStand,
         ActState::Live},
        {"third step out, under half a span: still parked",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 13.1, 16.2, 19.3},
         1,
         false,
         3,
         ActPhase::AtStand,
         ActState::Live,
         30.0},
        {"back towards the stand: the count starts again",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 13.1, 16.2, 13.1},
         1,
         false,
         0,
         ActPhase::AtStand,
         ActState::Live},
        {"a whole span out at once: leaving",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 27.5},
         2,
         true,
         1,
         ActPhase::AtStand,
         ActState::Live},
        {"150 m away: leaving",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 150},
         2,
         true,
         0,
         ActPhase::AtStand,
         ActState::Live},
        {"250 m away: another aircraft, removed",
         ActPhase::AtStand,
         ActPhase::Taxi,
         {10, 250},
         1,
         false,
         0,
         ActPhase::AtStand,
         ActState::Removing},
        {"rolling in, beyond the doubled circle: taxi on",
         ActPhase::ToStand,
         ActPhase::ToStand,
         {180},
         2,
         false,
         0,
         ActPhase::Taxi,
         ActState::Live},
        {"rolling in, inside the doubled circle",
         ActPhase::ToStand,
         ActPhase::ToStand,
         {160},
         1,
         false,
         0,
         ActPhase::ToStand,
         ActState::Live},
    };
    for (const StandCase& c : table) {
        SCOPED_TRACE(c.what);
        gf_clearEngineTables();
        TrafficRecord r = record(kHex, 1000.0, 3000);
        r.airborne = false;
        r.altitude = 0.0;
        r.groundSpeed = 0.0;
        r.latitude = kStand.lat;
        r.longitude = kStand.lon;
        Act& act = liveAct(r, c.phase);
        act.prevPhase = c.prevPhase;
        act.standLat = kStand.lat;
        act.standLon = kStand.lon;
        act.halfSpan = c.halfSpanM / 1852.0;
        for (size_t i = 0; i < c.metres.size(); ++i) {
            TrafficRecord s = r;
            s.timestamp += 20.0 * static_cast<double>(i + 1);  // beyond every thinning
            s.dueTick += 2000 * static_cast<int32_t>(i + 1);
            const LatLon p = gf_destinationPoint(kStand, 0.0, c.metres[i] / 0.3048);
            s.latitude = p.lat;
            s.longitude = p.lon;
            gf_offerLiveSample(s);
        }
        EXPECT_EQ(act.stream.size(), c.streamAfter);
        EXPECT_EQ(act.leaving, c.leaving);
        EXPECT_EQ(act.awayCount, c.awayCount);
        EXPECT_EQ(act.phase, c.phaseAfter);
        EXPECT_EQ(act.state, c.stateAfter);
        EXPECT_TRUE(act.standHeld);
    }
}
}  // namespace
