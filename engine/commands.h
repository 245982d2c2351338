// engine/commands.h — the commands the engine gives an aircraft in the simulator. Each queues client
// events for the frame handler under the simulator lock; the record remembers what was sent last.
#pragma once

#include <cstdint>

#include "engine/act.h"

// THROTTLE_SET for index 0..4; sent only when it differs from `throttle`. Index 5 sends nothing, and
// is stored like any other.
void gf_setThrottle(ParkedAc& ac, int32_t index);
// FLAPS_SET for index 0..4; sent and stored only when it differs from `flaps`, never for a rotorcraft.
// Index 4 retracts again; a new record holds 4, so a first 4 sends nothing.
void gf_setFlaps(ParkedAc& ac, int32_t index);
// SPOILERS_SET and GEAR_SET; nothing for a rotorcraft.
void gf_setSpoilers(const ParkedAc& ac, bool on);
void gf_setGear(const ParkedAc& ac, bool down);
// The seven light switches of an aircraft at once, each on or off.
void gf_setLights(const ParkedAc& ac, bool nav, bool beacon, bool landing, bool taxi, bool strobes, bool logo,
                  bool cabin);
