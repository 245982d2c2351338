#include "airports/state.h"

void gf_resetAirports() {}
