#include "frame/controls.h"

#include <string>

#include "frame/core/panel.h"
#include "frame/core/params.h"

void gf_setRunControlsEnabled(bool enabled) {
    gf_setControlEnabled(kReReadButtonId, enabled);
    gf_setControlEnabled(kFlushStaticButtonId, enabled);
    gf_setControlEnabled(parking_percentage.controlId, enabled);
    gf_setTimeShiftControlsEnabled(enabled);
}

void gf_setRemainingControlsEnabled() {
    for (Par* p : gf_parameterTable())
        if (p->controlId != 0 && p->type == ParType::Bool) gf_setControlEnabled(p->controlId, true);
    gf_setControlEnabled(MATCHING_DEPTH.controlId, true);
    gf_setControlEnabled(MAX_LIVE.controlId, true);
    gf_setControlEnabled(LATERAL_RANGE.controlId, !AUTO_RANGE.current);
    gf_setControlEnabled(AIRPORT_RANGE.controlId, true);
    gf_setControlEnabled(AIRPORT_HEIGHT.controlId, true);
    gf_setControlEnabled(MAX_FIT_FL.controlId, true);
}

void gf_setTimeShiftControlsEnabled(bool enabled) {
    gf_setControlEnabled(SIM_TIME.controlId, enabled);
    gf_setControlEnabled(KEEP_SIM_TIME_PAR.controlId, enabled);
    // The boxes are usable exactly while the traffic time does not follow the simulator's clock.
    for (ParInt* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS})
        gf_setControlEnabled(p->controlId, enabled && !SIM_TIME.current);
    panel.timeShiftActive = enabled;
}

void gf_resetTimeShiftParameters() {
    for (ParInt* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) {
        p->current = 0;
        gf_saveParameter(*p);
        gf_setControlText(p->controlId, "0");
    }
}
