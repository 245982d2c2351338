// engine/flightplans.h — the flight plan document of an aircraft with a route, handed to the simulator for
// its object. The engine still moves the frozen object itself: the plan only tells the simulator (and
// whoever looks at the object in it) where the flight comes from and goes to.
#pragma once

#include <filesystem>

#include "engine/act.h"

// Makes the plans' folder "orig_dest" under the program's roaming app-data folder (and that one first)
// and remembers it. Throws std::filesystem::filesystem_error ("exists", "create_directory").
bool gf_makeFlightPlanFolder();
// The folder with every plan in it goes at the end of a run; a failure is ignored. True when it is gone.
bool gf_removeFlightPlanFolder();
// Writes the two-point document of `act` to `path`, replacing a file of that name. False when it can't.
bool gf_writeFlightPlan(const std::filesystem::path& path, const Act& act);
// The plan file of an object: "<objectId>.pln" in the plans' folder.
std::filesystem::path gf_flightPlanPath(uint32_t objectId);
// A new object of an Act with both ends of its route gets its plan; `hasPlanFile` tells whether the
// simulator took it. Shows and logs a failure; the aircraft flies on without a plan.
void lf_giveFlightPlan(Act& act);
// The object of an Act went: its plan file goes with it. Throws filesystem_error ("remove").
void gf_deleteFlightPlan(const Act& act);
