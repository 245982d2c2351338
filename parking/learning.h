// parking/learning.h — what the stand history of the park airport learns from live aircraft.
#pragma once

#include <cstdint>

#include "common/timeofweek.h"
#include "engine/act.h"

// An aircraft arrived at or leaves stand `sid`; true when the history changed.
bool gf_learnAtStand(uint32_t sid, const Act& act, bool departing, TimeOfWeek time, bool leaving);
// An aircraft seen near stand `sid` rather than on it; true when the history changed.
bool gf_learnSoft(uint32_t sid, const Act& act, bool continuing, TimeOfWeek time);
// A departing aircraft: its stand of origin learns it.
void gf_learnDeparture(const Act& act);
