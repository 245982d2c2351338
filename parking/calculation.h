// parking/calculation.h — the parking calculation as the park airport tracking starts and ends it.
#pragma once

// The first calculation at a newly loaded park airport: parked aircraft for this half hour.
void gf_firstCalculation();
// Every parked aircraft out of the simulator and out of the parked table.
void gf_flushStatic();
