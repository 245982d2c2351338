#include "liveries/state.h"

void gf_resetLiveries() {}
