#include "service/state.h"

void gf_resetService() {}
