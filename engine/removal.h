// engine/removal.h — ordering the removal of an aircraft from the simulator, and cancelling a creation
// that has not gone out yet. The record stays in its table until the simulator confirms.
#pragma once

#include <string>

#include "engine/act.h"

// Frees the stand, sets Removing and queues the object's removal; a record without object is logged.
void gf_removeAct(ParkedAc& record);
// Takes the static creations of this callsign out of their queue and erases their parked records.
// False when none was queued any more: the creation has gone to the simulator.
bool gf_cancelStaticCreation(const std::string& callsign);
bool gf_cancelLiveCreation(const std::string& callsign);
// "callsign reg      from->to  ZZZ A320" for the log.
std::string gf_acLabel(const AcBase& record);
