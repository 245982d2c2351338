// Learning from live aircraft: which half hours a stay books, what is never changed, soft options for an
// aircraft that departs without a stand, and the learned file: saved when the airport is left, found
// again after a restart, left whole by a save that breaks off.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include <fmt/format.h>

#include "common/random.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "parking/state.h"
#include "parking/tracking.h"
#include "parking_fixture.h"
#include "support/file_size_limit.h"
#include "support/resets.h"

using ::testing::HasSubstr;

namespace {

constexpr LatLon kA15{47.454283, 8.556983};  // stand A15 of Zurich
constexpr const char* kLearnedLszh = "airports/learned/stock/LSZH.xml";

uint64_t lf_bits(std::initializer_list<uint32_t> halfHours) {
    uint64_t b = 0;
    for (uint32_t h : halfHours) b |= uint64_t{1} << h;
    return b;
}

class LearningTest : public ParkAirportTest {
protected:
    // A table of `count` stands of 20 m radius, 100 m apart, at the park airport Toulouse.
    static void smallAirport(size_t count) {
        parking.parkIcao = "LFBO";
        parking.parkPosition = {43.6291, 1.36382};
        parking.learnAllowed = true;
        airports.stands.clear();
        for (size_t i = 0; i < count; ++i) {
            Stand s;
            s.name = fmt::format("G{}", i + 1);
            s.latitude = 43.6291 + 0.001 * static_cast<double>(i);
            s.longitude = 1.36382;
            s.radius = 20.0 / 1852.0;
            airports.stands.push_back(s);
        }
        gf_numberStands(airports.stands);
    }
    // The user on the ground at Zurich's A15, the park airport loaded.
    void atZurich() {
        userAt(kA15, true);
        gf_readParkAirports(true);
        gf_trackParkAirport(true);
        ASSERT_EQ(parking.parkIcao, "LSZH");
    }
};

struct Booking {
    uint32_t day;
    uint32_t halfHour;
    bool departing;  // leaving the stand (both flags of a departure)
    bool changed;    // what the learning answers
};
struct StayCase {
    const char* name;
    std::string reg;
    bool archivedToday;  // an option of the archived file for this registration on day 3
    std::vector<Booking> bookings;
    std::vector<uint64_t> optionHalfHours;  // of the stand's options afterwards, in order
};

TEST_F(LearningTest, AStayBooksItsHalfHours) {
    const std::vector<StayCase> cases = {
        {"no registration, nothing learned", "", false, {{3, 20, false, false}}, {}},
        {"2.5 hours: every half hour between",
         "HBJXA",
         false,
         {{3, 20, false, true}, {3, 25, true, true}},
         {lf_bits({20, 21, 22, 23, 24, 25})}},
        {"3 hours: only the two ends",
         "HBJXA",
         false,
         {{3, 20, false, true}, {3, 26, true, true}},
         {lf_bits({20, 26})}},
        {"departure in the half hour of arrival",
         "HBJXA",
         false,
         {{3, 20, false, true}, {3, 20, true, false}},
         {lf_bits({20})}},
        {"the archived option is never changed", "HBJXA", true, {{3, 21, false, false}}, {lf_bits({10})}},
        // Day 4 already knows the aircraft (hh 30): over midnight the half hours after it go into a
        // new option of today, the one before it into that option.
        {"over midnight",
         "HBJXA",
         false,
         {{4, 30, false, true}, {3, 46, false, true}, {4, 1, true, true}},
         {lf_bits({30, 1, 47}), lf_bits({46}), lf_bits({1, 0})}},
    };
    for (const StayCase& c : cases) {
        SCOPED_TRACE(c.name);
        gf_resetAllSubsystems();
        smallAirport(3);
        if (c.archivedToday)
            airports.stands[0].options.push_back({"SWR", "A320", c.reg, "SWR9", "", lf_bits({10}), 1, 3, false, false});
        Act a = swiss(0x4B1801, c.reg, "SWR12_");
        for (const Booking& b : c.bookings)
            EXPECT_EQ(gf_learnAtStand(1, a, b.departing, {b.day, b.halfHour}, b.departing), b.changed);
        const std::vector<ParkPos>& options = airports.stands[0].options;
        ASSERT_EQ(options.size(), c.optionHalfHours.size());
        for (size_t i = 0; i < options.size(); ++i) EXPECT_EQ(options[i].hh, c.optionHalfHours[i]) << i;
        if (!options.empty() && options.back().learned) {
            EXPECT_EQ(options.back().cs1, "SWR12");
        }
        EXPECT_EQ(panel.updateCount.load(),
                  std::count_if(c.bookings.begin(), c.bookings.end(), [](const Booking& b) { return b.changed; }));
    }
}

TEST_F(LearningTest, ADepartureWithoutStandBooksASoftOptionOnAFreeStand) {
    gf_seedRandom(7);
    gf_storeTimeOfWeek({1, 20});
    struct Case {
        const char* name;
        size_t stands;
        double fromAirportNm;
        uint32_t sid;
        bool learned;
    };
    const std::vector<Case> cases = {
        {"8 stands, all taken now: tried against the next half hour", 8, 1.0, 0, true},
        {"11 stands, all taken now: no second try", 11, 1.0, 0, false},
        {"more than 5 nm away", 8, 5.5, 0, false},
        {"an aircraft with a stand of its own", 8, 1.0, 3, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        gf_resetAllSubsystems();
        gf_storeTimeOfWeek({1, 20});
        smallAirport(c.stands);
        // Every stand is booked now; only the 8-stand airport is free in the half hour after.
        for (Stand& s : airports.stands)
            s.options.push_back({"AFR", "A320", "FHBXA", "AFR1", "", lf_bits({20, 21}), 1, 1, true, false});
        if (c.stands == 8) airports.stands[4].options[0].hh = lf_bits({20});
        Act a = swiss(0x4B1801, "HBJXA", "SWR12");
        const LatLon at = gf_destinationPoint(parking.parkPosition, 0.0, c.fromAirportNm * 6076.11549);
        a.latitude = at.lat;
        a.longitude = at.lon;
        a.sid = c.sid;
        gf_learnDeparture(a);
        const size_t soft = std::count_if(airports.stands.begin(), airports.stands.end(), [](const Stand& s) {
            return std::any_of(s.options.begin(), s.options.end(), [](const ParkPos& o) { return o.soft; });
        });
        EXPECT_EQ(soft, c.learned ? 1u : 0u);
        if (c.learned) {
            EXPECT_EQ(airports.stands[4].options.back().hh, lf_bits({20}));
            EXPECT_TRUE(airports.stands[4].options.back().soft);
            // Seen departing again in the same half hour: not booked twice.
            gf_learnDeparture(a);
            EXPECT_EQ(airports.stands[4].options.size(), 2u);
            EXPECT_EQ(panel.updateCount.load(), 1);
        }
    }
}

TEST_F(LearningTest, WhatWasLearnedIsInTheLearnedFileAfterARestart) {
    atZurich();
    const uint32_t a10 = stand("A10")->sid;
    ASSERT_TRUE(gf_learnAtStand(a10, swiss(0x4B1801, "HBJXA", "SWR12"), false, {5, 14}, false));
    // The end of the run saves; the restart forgets everything in memory.
    gf_saveIfChanged();
    EXPECT_FALSE(panel.atParkAirport.load());
    gf_resetAllSubsystems();
    gf_clearAirportTable();
    ASSERT_TRUE(gf_readAirports());
    atZurich();
    const Stand* back = stand("A10");
    ASSERT_EQ(back->options.size(), 1u);
    EXPECT_EQ(back->options[0].reg, "HBJXA");
    EXPECT_EQ(back->options[0].day, 5u);
    EXPECT_EQ(back->options[0].hh, lf_bits({14}));
    EXPECT_EQ(back->options[0].cs1, "SWR12");
    // A stay without news writes nothing.
    const std::string saved = readFile(kLearnedLszh);
    std::filesystem::remove(kLearnedLszh);
    gf_saveIfChanged();
    EXPECT_FALSE(std::filesystem::exists(kLearnedLszh));
    EXPECT_THAT(saved, HasSubstr("hh=\"14\" cs=\"SWR12\""));
}

TEST_F(LearningTest, ASaveThatBreaksOffLeavesThePreviousFileWhole) {
    if (!gf_fileSizeLimitAvailable()) GTEST_SKIP() << "no file size limit on this system";
    atZurich();
    // One option on every stand: the file grows well past the 16 KiB the save may write below.
    for (const Stand& s : std::vector<Stand>(airports.stands))
        gf_learnAtStand(s.sid, swiss(0x4B0000 + s.sid, fmt::format("HB{:04}", s.sid), "SWR1"), false, {2, 9}, false);
    ASSERT_TRUE(gf_saveLearned());
    const std::string previous = readFile(kLearnedLszh);
    ASSERT_GT(previous.size(), 24576u);
    gf_learnAtStand(stand("A10")->sid, swiss(0x4B1801, "HBJXA", "SWR12"), false, {2, 10}, false);
    const bool saved = gf_withFileSizeLimit(16384, [] { return gf_saveLearned(); });
    EXPECT_FALSE(saved);
    EXPECT_EQ(readFile(kLearnedLszh), previous);
    EXPECT_THAT(gf_messageLine().message, HasSubstr("saving \"airports/learned/stock/LSZH.xml\" did not succeed"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator("airports/learned/stock"),
                            std::filesystem::directory_iterator()),
              1);
}

}  // namespace
