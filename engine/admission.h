// engine/admission.h — whether an aircraft that has no simulator object yet may enter the simulator, now,
// later or never; which aircraft makes way for it; how it is first placed; and how a live aircraft
// replaces a parked one that stands for the same real aircraft.
//
// The rules of gf_admitAct have a fixed order, each with one of three effects:
//   drop  `drop` is set, the record goes at the next compaction;
//   skip  the head is taken off the stream (an aircraft with one sample left is dropped instead);
//   wait  nothing changes, the rules run again in the next slice.
// A ghost is a second report of one flight under its callsign plus "_": the main aircraft wins.
#pragma once

#include <string>

#include "engine/act.h"

constexpr double kMarginNm = 0.1;  // an aircraft this much farther out than the newcomer makes way for it

// The rules of admission, once per slice on an Act in New. True when it was placed: `state` is
// Creating and its hexid is on engine.creationReady.
bool gf_admitAct(Act& act);

// MAX_LIVE was changed (window, park airport): the farthest live aircraft go until the count fits.
void gf_applyMaxLive();

// The review of a new, landed or arrived aircraft against the parked ones (one per tick, check queue).
void gf_reviewAgainstParked(Act& act);
// Every 61 ticks for an Act on the ground and Live: a parked twin under "callsign*" or the same reg goes.
void gf_parkedWithSameCallsign(const Act& act);

// The airline of an aircraft the data give none: "ABC1234" flies for ABC, anything else is private.
std::string gf_airlineFromCallsign(const std::string& callsign);

// --- the single rules, for the tests and the neighbours that need one of them ---

// Room for a newcomer at `distanceNm` from the user: removes the farthest live aircraft if it lies more
// than kMarginNm farther out. True when there is none and the newcomer must go.
bool lf_makeRoomForLive(double distanceNm);
// An Act not Removing has this callsign without its last character.
bool lf_mainExistsForGhost(const std::string& callsign);
// The ghost "callsign_" goes for good: on the ghost list, dropped or removed (also when a live aircraft
// takes the main callsign).
void gf_removeGhostOf(const std::string& callsign);
// Two live aircraft want the stand `sid`: true when the walk over the existing ones ends; `refused` tells
// whether the newcomer must go. Only an existing Act AtStand, Live, on the same stand takes part.
bool lf_claimStand(const Act& newcomer, Act& existing, const std::string& standName, bool& refused);
// True when `parked` must make way for `act` (same hexid of parked traffic, same reg, same or coupled
// callsign); logs the reason.
bool lf_parkedYieldsToLive(const ParkedAc& parked, const Act& act, const std::string& shortCallsign, bool onGround);
// The parked aircraft on a stand that a live one takes: removed, or its queued creation cancelled.
// True when the walk over the parked table ends here.
bool lf_parkedMakesPlace(const std::string& standName, uint32_t sid, const Act& act, ParkedAc& parked);
