#include "support/resets.h"

#include "common/timeofweek.h"
#include "frame/frame.h"

void gf_resetAllSubsystems() {
    timeOfWeekWord.store(gf_packTimeOfWeek({1, 0}));
    gf_resetProgram();
}
