// tests/parking/parking_support.h — the Zurich airport in the stand table, the real aircraft database,
// generic liveries, and history written into the stands, for the parking tests.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

#include "airports/airport_file.h"
#include "common/timeofweek.h"
#include "engine/act.h"
#include "support/fixture.h"

class ParkingTest : public ZarkTest {
protected:
    void SetUp() override;

    // The stand of that name; fails the test when there is none.
    static Stand& stand(const std::string& name);
    // A real (or soft) option on `s` for `day` in the half hours listed.
    static ParkPos& addOption(Stand& s, const std::string& cs1, const std::string& cs2, uint32_t day,
                              std::initializer_list<uint32_t> halfHours, const std::string& type = "A320",
                              bool soft = false);
    // Sets the time-of-week word the calculations read.
    static void setNow(TimeOfWeek t);
    // Creates every chosen position, one per call as the slice does, and lets the simulator create them:
    // each parked aircraft Live with an object id.
    static void createAll();
};
