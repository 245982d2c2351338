#include "engine/commands.h"

#include "simlink/state.h"

void gf_setThrottle(ParkedAc& ac, int32_t index) { gf_setThrottle(ac.objectId, ac.throttle, index); }

void gf_setFlaps(ParkedAc& ac, int32_t index) { gf_setFlaps(ac.objectId, ac.category, ac.flaps, index); }

void gf_setSpoilers(const ParkedAc& ac, bool on) { gf_setSpoilers(ac.objectId, ac.category, on); }

void gf_setGear(const ParkedAc& ac, bool down) { gf_setGear(ac.objectId, ac.category, down); }

void gf_setLights(const ParkedAc& ac, bool nav, bool beacon, bool landing, bool taxi, bool strobes, bool logo,
                  bool cabin) {
    gf_setLights(ac.objectId, nav, beacon, landing, taxi, strobes, logo, cabin);
}
