// engine/records.h — making, finding, removing and erasing the records of the active and parked tables.
// Engine thread. A pointer a find returns is good until the next append to or erase from that table.
#pragma once

#include <cstdint>
#include <string>

#include "engine/act.h"
#include "service/record.h"

// Appends a new Act in New and Unplaced, made from a record that passed the intake's filters.
Act& gf_newAct(const TrafficRecord& record);
// The category's values copied into the record (slots, pitches with their jitter, rates, speeds).
void gf_applyCategory(AcBase& ac, ModelCategory category);

Act* gf_findActByHexid(uint32_t hexid);
Act* gf_findActByObject(uint32_t objectId);
Act* gf_findActByCallsign(const std::string& callsign);
ParkedAc* gf_findParkedBySerial(uint32_t serial);
ParkedAc* gf_findParkedByObject(uint32_t objectId);

// The text of an aircraft in the log: callsign, reg, route, airline and model in fixed fields.
std::string gf_acLabel(const AcBase& ac);
// True when aircraft event lines go to the log (the parameter LOG).
bool gf_logAircraft();

// Orders the removal of an aircraft from the simulator: frees its stand, state Removing, objectId on the
// removal queue. The record stays until the simulator confirms (a SimEvent of kind 2).
void gf_removeAct(ParkedAc& ac);
// Take the aircraft with this callsign out of the live (static) creation queue and erase its record.
// False when none was queued: the creation has gone to the simulator, the caller sets dropOnCreate.
bool gf_cancelLiveCreation(const std::string& callsign);
bool gf_cancelStaticCreation(const std::string& callsign);

// Erases the Act at this index by moving the last record into its place.
void gf_eraseActAt(size_t index);
// Erases every Act with `drop` set, each by moving the last record into its gap. Returns how many went.
size_t gf_compactActive();
// Every Live aircraft removed, every Creating one dropped from its queue or marked to go when it exists.
void gf_removeAllLive();
