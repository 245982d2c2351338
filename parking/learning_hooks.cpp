// Placeholders of the stand history's learning: nothing is learned yet.
#include "parking/learning.h"

bool gf_learnAtStand(uint32_t, const Act&, bool, TimeOfWeek, bool) { return false; }
bool gf_learnSoft(uint32_t, const Act&, bool, TimeOfWeek) { return false; }
void gf_learnDeparture(const Act&) {}
