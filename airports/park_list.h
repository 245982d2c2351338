// airports/park_list.h — the user's park airports (airports/my_park_airports.txt): the airports where he
// wants parked traffic when he flies near them, each with the stand to keep free for him. The airports
// the add-on scan made a file for (airports/my_thirdparty) join the list without being written in it.
// The list lives in airports/state.h; the engine thread owns it.
#pragma once

#include <string>

#include "common/geo.h"

struct ParkAirportEntry {
    std::string icao;       // as the airport table knows it
    std::string stand;      // the stand to keep free; may be empty
    LatLon position;        // degrees, from the airport table
    double distance = 0.0;  // nm from the user at the last sorting
};

inline constexpr size_t kParkListWarnAbove = 3000;  // the tracking sorts the list every 16 ticks

// Empties and refills the list, sorted nearest first when the user has moved or `force` is set; the
// result is also the panel's parkListOk: false when a line names an airport or a stand that is unknown.
bool gf_readParkAirports(bool force);
// When the user has moved from where the list was last sorted: the distances again, nearest first
// (stable: equal distances keep the file's order).
void gf_sortParkAirports(LatLon user);
// Writes the head of the list into the file: its line replaced or added, the lines sorted, saved
// atomically. A file that cannot be written stays as it was.
void gf_writeParkAirportEntry();
// The same from the simulator link's copy of the head (SimClient's user stand check, at a new flight and
// when the thread ends), without touching the list the engine thread owns; the next read of the list
// sees the new stand.
void gf_writeUserParkListHead();
