// parking/learning.h — the stand history grows from the live traffic: a live aircraft seen on a stand
// books a real option (this registration, this day, these half hours), one seen departing without ever
// having stood adds a soft option to a stand picked for it. What is learned goes into the stand table at
// once and into the airport's learned file when the airport is left. Engine thread only.
#pragma once

#include <cstdint>
#include <string>

#include "airports/airport_file.h"
#include "common/timeofweek.h"
#include "engine/act.h"

// Books a real option on the stand `sid`. On an arrival both flags are false, when the aircraft leaves
// its stand both are true. True when the history changed; the pair of hexid and half hour is then
// stored in learnedPairs (replacing this hexid's pair), so the caller need not do it again.
bool gf_learnAtStand(uint32_t sid, const Act& act, bool departing, TimeOfWeek time, bool leaving);
// The same for a soft option; `continuing` for an aircraft already booked soft on this stand.
bool gf_learnSoft(uint32_t sid, const Act& act, bool continuing, TimeOfWeek time);
// An aircraft that starts to depart, or whose stream ends away from a stand, without a stand of its own:
// with LEARN_SOFT, a soft option on a stand that suits it.
void gf_learnDeparture(const Act& act);

// A new option on the stand with only `time`'s half hour; its optId.
uint32_t gf_newOption(Stand& stand, const Act& act, bool soft, TimeOfWeek time, const std::string& callsign,
                      const std::string& reg);
// Sets `time`'s half hour in the option `optId`; false when the stand has no such option.
bool gf_addHalfHour(Stand& stand, TimeOfWeek time, uint32_t optId, const std::string& callsign);
// Books the n - 1 half hours before `time`, and `time` itself, into option `optId` of stand `sid`.
void gf_fillGap(TimeOfWeek time, const Act& act, int n, uint32_t sid, uint32_t optId);
// The same over midnight: up to half hour 47 into `optId`, from 0 on into `newOptId`; `time` itself is
// already in the new option.
void gf_fillGapOverMidnight(TimeOfWeek time, const Act& act, int n, uint32_t sid, uint32_t newOptId, uint32_t optId);
// The stand of the park airport with this id; nullptr for 0 or an id the table does not have.
Stand* gf_standBySid(uint32_t sid);
// Remembers that this aircraft was booked at this half hour (one pair per hexid).
void gf_storeLearnedPair(uint32_t hexid, uint32_t halfHour);

// Leaving the park airport (and the end of the run): the learned file is written when something changed;
// the airport's file is then no longer the loaded one.
void gf_saveIfChanged();
// Writes the learned file of the loaded airport (atomically: a failed save leaves the old file whole).
// False when the save failed; that is shown and logged.
bool gf_saveLearned();
