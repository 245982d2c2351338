#include "engine/state.h"

void gf_resetEngine() {}
