// parking/calculation.h — how many parked aircraft the park airport shows, which, and in which order
// they come: the first calculation when the airport comes into force, the renewal every 20 minutes that
// changes as little as it can, and the paced creation of what they chose (one per 500 ms).
// Engine thread. Sources in order: live aircraft on stands (stayers), the service's parked traffic, the
// airport file's history (parking/search.h). The results are parking.toRemove, served at once, and
// parking.chosenPositions, created from the back.
#pragma once

#include <cstdint>
#include <string>

#include "common/timeofweek.h"
#include "engine/act.h"

// Stands to fill: 1 for one stand; 1 for up to 3 stands below 50 per cent; else round(p * n / 100) with
// p the airport's parking_percentage.
int32_t gf_wantedPositions();

// The park airport has come into force with empty stands: positions from parked traffic and history.
void gf_firstCalculation();
// The renewal; false, with nothing done, without a park airport or stands. `ptSwitched`: the
// RT_PARKTRAFFIC_ONLY box was switched, the aircraft not from parked traffic go.
bool gf_renewParking(bool ptSwitched);
// One chosen position onto the static creation queue (the engine's slice, every 500 ms while both
// creation queues are empty). Does nothing when none is left.
void gf_placeNextStatic();
// Every parked aircraft goes: removed, or its creation cancelled or marked to go on arrival.
void gf_flushStatic();
// The aircraft on the reserved stand goes: a parked one, else a live one standing there.
void gf_clearReservedStand();
// All positions are created: the controls come back, the mean stays are shown (tracking tick).
void gf_finishCalculation();
// Whether the parking controls may be used: off while a calculation's positions remain (run.parkingBusy).
void gf_setParkingBusy(bool busy);
// The six parking controls are enabled exactly while RT_PARKTRAFFIC_ONLY is off; with it on the two edit
// boxes are blanked.
void gf_setParkingControls();

// --- the steps, for the tests ---
void lf_placeParkedTraffic();
// Mean stay in hours of aircraft standing since `parkedSince` at `now`; -1 with none.
float gf_meanStayHours(TimeOfWeek now, bool parkedAircraft);
// Half hours from `since` (a time-of-week word) to `now`, over the week's turn.
int32_t gf_halfHoursSince(TimeOfWeek now, uint64_t since);
