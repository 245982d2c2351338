#include "support/resets.h"

#include "common/timeofweek.h"
#include "frame/frame.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"

void gf_resetAllSubsystems() {
    timeOfWeekWord.store(gf_packTimeOfWeek({1, 0}));
    gf_resetProgram();
    // The database and the fixes outlive a restart, but every test starts as a new process would: a
    // harness run that read the real database must not answer a later test's lookups.
    gf_clearDbase();
    gf_clearFixes();
}
