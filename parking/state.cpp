#include "parking/state.h"

void gf_resetParking() {}
