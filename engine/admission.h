// engine/admission.h — whether an aircraft that has no simulator object yet may enter the simulator.
#pragma once

#include <string>

#include "engine/act.h"

// Runs the admission rules on an Act in New, once per slice from the motion step. It may leave the
// aircraft waiting, take off its head, set `drop`, or place it: then `state` is Creating and its hexid
// is on engine.creationReady. True when it was placed.
bool gf_admitAct(Act& act);

// A ghost of this callsign (the callsign with "_") that is not being removed goes for good: its callsign
// joins the ghost list; one in New is dropped, any other removed from the simulator.
void gf_removeGhostOf(const std::string& callsign);
