#include "simlink/state.h"

void gf_resetSimlink() {}
