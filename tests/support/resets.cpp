#include "support/resets.h"

#include "airports/state.h"
#include "common/timeofweek.h"
#include "engine/state.h"
#include "frame/frame.h"
#include "liveries/state.h"
#include "parking/state.h"
#include "service/state.h"
#include "simlink/state.h"

void gf_resetAllSubsystems() {
    timeOfWeekWord.store(gf_packTimeOfWeek({1, 0}));
    gf_resetFrame();
    gf_resetService();
    gf_resetSimlink();
    gf_resetEngine();
    gf_resetParking();
    gf_resetAirports();
    gf_resetLiveries();
}
