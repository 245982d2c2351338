#include "frame/core/panel.h"

#include <unordered_map>

PanelState panel;

namespace {
std::mutex g_controlsLock;
std::unordered_map<uint16_t, ControlState> g_controls;

ControlState& lf_control(uint16_t id) {
    ControlState& c = g_controls[id];
    c.exists = true;
    return c;
}
}  // namespace

void gf_invalidate(Band band) { panel.dirtyBands.fetch_or(1u << static_cast<unsigned>(band)); }
uint32_t gf_takeDirtyBands() { return panel.dirtyBands.exchange(0); }

void gf_resetPanel() {
    panel.simConnected = false;
    panel.simRunningShown = false;
    panel.simText.set("");
    panel.userTitleText.set("");
    panel.userStandText.set("");
    panel.userSpanKnown = true;
    panel.liveryCount = -1;
    panel.orbxCount = 0;
    panel.thirdpartyCount = 0;
    panel.addonScanComplete = true;
    panel.tbloCount = 0;
    panel.serviceNotStarted = true;
    panel.sessionUp = false;
    panel.weatherLamp = 3;
    panel.trafficLamp = 3;
    panel.qnhShown = 0;
    panel.liveShown = 0;
    panel.parkedLiveCount = 0;
    panel.parkedStaticCount = 0;
    panel.parkIcao.set("");
    panel.parkActive = false;
    panel.parkName.set("");
    panel.parkPublisher.set("");
    panel.parkHandmade = false;
    panel.softUsed = false;
    panel.qualityText.set("");
    panel.reservedStand.set("");
    panel.reservedStandKnown = false;
    panel.updateCount = 0;
    panel.standCount = 0;
    panel.liveAverageFit = -1.0f;
    panel.staticAverageFit = -1.0f;
    panel.wanted = 0;
    panel.minutesToRenewal = 0;
    panel.timeShiftActive = true;
    panel.parkListOk = true;
    panel.atParkAirport = false;
    panel.parkParametersChanged = false;
    panel.dirtyBands = 0;
}

namespace {
// A control that changes redraws its band: the window brings its child controls to the model there.
template <typename Field, typename Value>
void lf_setControl(uint16_t id, Field ControlState::*field, const Value& value) {
    bool changed = false;
    {
        std::lock_guard lock(g_controlsLock);
        Field& f = lf_control(id).*field;
        changed = !(f == value);
        f = value;
    }
    if (changed) gf_invalidate(Band::Parameters);
}
}  // namespace

void gf_setControlEnabled(uint16_t id, bool enabled) { lf_setControl(id, &ControlState::enabled, enabled); }
void gf_setControlChecked(uint16_t id, bool checked) { lf_setControl(id, &ControlState::checked, checked); }
void gf_setControlText(uint16_t id, const std::string& text) { lf_setControl(id, &ControlState::text, text); }
ControlState gf_controlState(uint16_t id) {
    std::lock_guard lock(g_controlsLock);
    auto it = g_controls.find(id);
    return it == g_controls.end() ? ControlState{} : it->second;
}
void gf_resetControls() {
    std::lock_guard lock(g_controlsLock);
    g_controls.clear();
}
