// The calculation itself is not in this build: the park airport is tracked and learns, and no parked
// aircraft are placed.
#include "parking/calculation.h"

void gf_firstCalculation() {}
void gf_flushStatic() {}
