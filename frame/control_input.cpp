#include "frame/control_input.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/links.h"
#include "frame/mainloop.h"
#include "frame/update.h"
#include "frame/window_layout.h"
#include "platform/window.h"

namespace {
constexpr const char* kProgram = "ZARK_P3D";

ParBool* lf_boolById(uint16_t id) {
    for (Par* p : gf_parameterTable())
        if (p->controlId == id && p->type == ParType::Bool) return static_cast<ParBool*>(p);
    return nullptr;
}

// A check box whose only action is a text while on (or off) and a cleared line otherwise.
struct CheckMessage {
    ParBool* par;
    bool when;  // the state that shows the text
    const char* text;
};

void lf_showOrClear(bool show, const std::string& text) {
    if (show)
        gf_showMessage(text, false);
    else
        gf_clearMessage();
}

void lf_checkAction(ParBool& par, bool on) {
    const std::array<CheckMessage, 8> messages{{
        {&LIG_AUTOMATIC, false, "The liveries defined by your lfolder parameters will be scanned"},
        {&AFG_AUTOMATIC, false, "The airports defined by your afolder parameters will be scanned"},
        {&LIG_PRIORITIZE, true, "Liveries in lower lfolders that are already available will be skipped"},
        {&SUPPRESS_STUB, true, "Exclude FSLTL-liveries titles ending with _STUB from scan"},
        {&GUID_CHANGES, false,
         "Be aware, no more livery updates: you miss correct data for Learn, LittleNavMap, etc.."},
        {&COLLISION_USER_GND, false, "Be aware, no collision avoidance with user aircraft on the ground"},
        {&COLLISION_USER_AIR, false, "Be aware, no collision avoidance with user aircraft in the air"},
        {&COLLISION_LIVE_PARKED_GND, false,
         "Be aware, no collision avoidance with live aircraft vs parked static on the ground"},
    }};
    for (const CheckMessage& m : messages)
        if (m.par == &par) return lf_showOrClear(on == m.when, m.text);

    if (&par == &SCAN_LIVERIES) {
        lf_showOrClear(on, fmt::format("Your liveries will be scanned at the next start of {}, recommended after "
                                       "you have add/removed AI aircraft models/liveries",
                                       kProgram));
    } else if (&par == &SCAN_AIRPORTS) {
        lf_showOrClear(on, fmt::format("Your airports will be scanned at the next start of {}, recommended after "
                                       "you have add/removed airports",
                                       kProgram));
    } else if (&par == &ALWAYS_ON_TOP) {
        lf_showOrClear(on, fmt::format("{}'s window will remain visible", kProgram));
        gf_setWindowTopmost(on);
    } else if (&par == &LEARN_SOFT) {
        if (panel.atParkAirport) panel.parkParametersChanged = true;
    } else if (&par == &AUTO_RANGE) {
        panel.parkParametersChanged = true;
        if (on) {
            parDerived.typedRange = LATERAL_RANGE.current.load();
            gf_autoRange();
            gf_setControlEnabled(LATERAL_RANGE.controlId, false);
        } else {
            gf_setControlEnabled(LATERAL_RANGE.controlId, true);
            LATERAL_RANGE.current = LATERAL_RANGE.clamp(parDerived.typedRange.load());
            gf_applyLateralRange();
            gf_displayInt(LATERAL_RANGE);
            gf_clearMessage();
        }
    } else if (&par == &SIM_TIME) {
        if (on) {
            loop.lastSimTime = 0.0;  // the next tick sets the shift from the simulator's clock
        } else {
            for (ParInt* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) p->current = 0;
            gf_setTimeShift(0, false);
            loop.lastSimTime = links::simTimeSeconds();
        }
        for (ParInt* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS})
            gf_setControlEnabled(p->controlId, !on);
    } else if (&par == &PARK_FAKE || &par == &PARK_SOFT || &par == &WEEK) {
        gf_requestParking();
    } else if (&par == &INITIAL_LOAD_ONLY) {
        lf_showOrClear(on, "Initial Load Only: static parked aircraft are generated once, no renewal every 20 minutes");
        if (panel.atParkAirport) panel.parkParametersChanged = true;
    } else if (&par == &RT_PARKTRAFFIC_ONLY) {
        const bool enable = !on;
        for (uint16_t id : {parking_percentage.controlId, MAX_FIT_FL.controlId, INITIAL_LOAD_ONLY.controlId,
                            PARK_SOFT.controlId, PARK_FAKE.controlId, WEEK.controlId})
            gf_setControlEnabled(id, enable);
        if (enable) {
            gf_displayInt(parking_percentage);
            gf_displayFloat(MAX_FIT_FL);
        } else {
            gf_setControlText(parking_percentage.controlId, "");
            gf_setControlText(MAX_FIT_FL.controlId, "");
        }
        panel.parkParametersChanged = true;
        run.ptOnlySwitched.exchange(on);
        gf_requestParking();
        gf_invalidate(Band::Static);
    }
}

void lf_buttonAction(uint16_t id) {
    if (id == kCheckVersionButtonId) {
        gf_checkVersionPressed();
    } else if (id == kUnblockButtonId) {
        if (BLOCK_CALLSIGN.current.empty()) return gf_showMessage("Nothing to block or unblock...", false);
        const std::string callsign = BLOCK_CALLSIGN.current;
        BLOCK_CALLSIGN.current.clear();
        gf_saveParameter(BLOCK_CALLSIGN);
        gf_setControlText(BLOCK_CALLSIGN.controlId, "");
        gf_setControlEnabled(kUnblockButtonId, false);
        gf_showMessagef(true, "no more blocking of live aircraft \"{}\"", callsign);
        run.blockRequested.exchange(true);
    } else if (id == kFlushStaticButtonId) {
        gf_showMessage("All static parked aircraft will be removed ...", false);
        run.flushStaticRequested.exchange(true);
        gf_setControlEnabled(id, false);
    } else if (id == kReReadButtonId) {
        run.reReadRequested.exchange(true);
        gf_setControlEnabled(id, false);
    }
}

void lf_callsignEnter(const std::string& text) {
    if (text.empty()) {
        if (!BLOCK_CALLSIGN.current.empty()) lf_buttonAction(kUnblockButtonId);
        return;
    }
    if (text.size() < 4 || text.size() > 8) return gf_showMessagef(true, "callsign \"{}\" is not valid", text);
    std::string upper = text;
    std::transform(upper.begin(), upper.end(), upper.begin(), [](unsigned char c) { return std::toupper(c); });
    if (upper == BLOCK_CALLSIGN.current) return gf_showMessagef(true, "This callsign ({}) was already set ...", upper);
    BLOCK_CALLSIGN.current = upper;
    gf_saveParameter(BLOCK_CALLSIGN);
    gf_setControlText(BLOCK_CALLSIGN.controlId, upper);
    gf_setControlEnabled(kUnblockButtonId, true);
    gf_showMessagef(true, "live aircraft with callsign \"{}\" will be blocked", upper);
    run.blockRequested.exchange(true);
}

void lf_installPathEnter(const std::string& text) {
    if (text.empty()) {
        if (!SIM_INSTALL_PATH.current.empty()) {
            SIM_INSTALL_PATH.current.clear();
            gf_saveParameter(SIM_INSTALL_PATH);
        }
        return;
    }
    std::error_code ec;
    if (!std::filesystem::is_directory(std::filesystem::u8path(text), ec))
        return gf_showMessagef(true, "This install path does not exist: {}", text);
    SIM_INSTALL_PATH.current = text;
    gf_saveParameter(SIM_INSTALL_PATH);
    gf_showMessagef(true, "Install path exists, {} will restart", kProgram);
    gf_setControlText(SIM_INSTALL_PATH.controlId, text);
    gf_requestExit(3, 3);
}

// Parses as std::stoi/stof: leading digits count, the rest is ignored. Failures are logged, nothing stored.
template <typename T, typename Parse>
std::optional<T> lf_parse(const std::string& text, const char* what, Parse parse) {
    try {
        return parse(text);
    } catch (const std::out_of_range& e) {
        gf_logMarkf("{} exception {}, h={} ", what, e.what(), text);
    } catch (const std::exception&) {
        gf_logMarkf("invalid input: {}", text);
    }
    return std::nullopt;
}
}  // namespace

void gf_displayInt(const ParInt& par) {
    gf_setControlText(par.controlId, std::to_string(par.current.load()));
    gf_invalidate(Band::Parameters);
}

void gf_displayFloat(const ParFloat& par) {
    gf_setControlText(par.controlId, gf_fitText(par.current.load()));
    gf_invalidate(Band::Parameters);
}

void gf_requestParking() {
    if (!panel.atParkAirport) return;
    panel.parkParametersChanged = true;
    if (INITIAL_LOAD_ONLY.current) return gf_clearMessage();
    // Seconds to the next multiple of 15 of the tick count, strictly after it: 1 to 15.
    const int32_t s = 15 - loop.tickCount % 15;
    gf_showMessagef(false, "{} will respond in {} second{} ...", kProgram, s, s == 1 ? "" : "s");
    run.parkUpdateRequested.exchange(true);
}

bool gf_procesTbInt(ParInt& par, const std::string& text) {
    const bool percentage = &par == &parking_percentage;
    const bool timeShift = &par == &TIME_SHIFT_DAYS || &par == &TIME_SHIFT_HOURS || &par == &TIME_SHIFT_MINS;
    bool changed = false;
    if (text.empty()) {
        if (percentage) {
            par.current = 0;
        } else {
            par.current = par.clamp(par.def);
            gf_saveParameter(par);
        }
        changed = true;
    } else if (const auto value =
                   lf_parse<int>(text, "procesTbInt", [](const std::string& t) { return std::stoi(t); })) {
        if (*value == par.current) {
            gf_showMessagef(true, "Same {} value {}, no changes made", par.name, *value);
        } else {
            par.current = par.clamp(*value);
            if (!percentage && !timeShift) gf_saveParameter(par);
            changed = true;
        }
    }
    if (changed) gf_showMessagef(false, "The new {} is {}", par.name, par.current.load());
    gf_displayInt(par);
    // An empty MAX_LIVE box means no limit of the user's own.
    if (&par == &MAX_LIVE && par.current == par.def) gf_setControlText(par.controlId, "");
    return changed;
}

bool gf_procesTbFloat(const std::string& text) {
    bool changed = false;
    auto fromMaxFit = [] {
        MAX_FIT_FL.current = std::clamp(MAX_FIT.current * 0.5f + 0.5f, MAX_FIT_FL.min, MAX_FIT_FL.max);
    };
    if (text.empty()) {
        MAX_FIT.current = MAX_FIT.clamp(MAX_FIT.def);
        gf_saveParameter(MAX_FIT);
        fromMaxFit();
        changed = true;
    } else if (const auto value =
                   lf_parse<float>(text, "procesTbFloat", [](const std::string& t) { return std::stof(t); })) {
        if (*value == MAX_FIT_FL.current) {
            gf_showMessagef(true, "Same {} value {}, no changes made", MAX_FIT_FL.name, *value);
        } else {
            const float hours = std::clamp(*value, 0.5f, 24.0f);
            MAX_FIT.current = MAX_FIT.clamp(std::lround(2.0f * hours) - 1);
            gf_saveParameter(MAX_FIT);
            fromMaxFit();
            changed = true;
        }
    }
    if (changed) gf_showMessagef(false, "The new {} is {:.1F}", MAX_FIT_FL.name, MAX_FIT_FL.current.load());
    gf_displayFloat(MAX_FIT_FL);
    return changed;
}

void gf_onControlClicked(uint16_t id) {
    if (ParBool* par = lf_boolById(id)) {
        // No auto check box: the state flips here, then the parameter follows it.
        const bool on = !gf_controlState(id).checked;
        gf_setControlChecked(id, on);
        par->current = on;
        gf_saveParameter(*par);
        lf_checkAction(*par, on);
    } else {
        lf_buttonAction(id);
    }
    gf_invalidate(Band::Parameters);
}

void gf_onEditEnter(uint16_t id, const std::string& text) {
    gf_clearMessage();
    if (id == parking_percentage.controlId) {
        if (gf_procesTbInt(parking_percentage, text)) gf_requestParking();
    } else if (id == LATERAL_RANGE.controlId) {
        if (gf_procesTbInt(LATERAL_RANGE, text)) {
            panel.parkParametersChanged = true;
            gf_applyLateralRange();
        }
    } else if (id == MAX_LIVE.controlId) {
        if (gf_procesTbInt(MAX_LIVE, text)) {
            if (panel.atParkAirport)
                panel.parkParametersChanged = true;
            else
                parDerived.maxLiveWorking = MAX_LIVE.current.load();
            links::applyMaxLive();
            // The engine shows the limit it applies; at the default the box stays blank all the same.
            if (MAX_LIVE.current == MAX_LIVE.def) gf_setControlText(MAX_LIVE.controlId, "");
        }
    } else if (id == MATCHING_DEPTH.controlId) {
        const int32_t before = MATCHING_DEPTH.current;
        if (gf_procesTbInt(MATCHING_DEPTH, text) && MATCHING_DEPTH.current > before)
            run.forgetNoMatchRequested.exchange(true);
    } else if (id == TIME_SHIFT_DAYS.controlId || id == TIME_SHIFT_HOURS.controlId || id == TIME_SHIFT_MINS.controlId) {
        ParInt& par = id == TIME_SHIFT_DAYS.controlId    ? TIME_SHIFT_DAYS
                      : id == TIME_SHIFT_HOURS.controlId ? TIME_SHIFT_HOURS
                                                         : TIME_SHIFT_MINS;
        if (gf_procesTbInt(par, text))
            gf_setTimeShift((TIME_SHIFT_HOURS.current + TIME_SHIFT_DAYS.current * 24) * 60 + TIME_SHIFT_MINS.current,
                            false);
    } else if (id == AIRPORT_RANGE.controlId) {
        gf_procesTbInt(AIRPORT_RANGE, text);
    } else if (id == AIRPORT_HEIGHT.controlId) {
        gf_procesTbInt(AIRPORT_HEIGHT, text);
    } else if (id == MAX_FIT_FL.controlId) {
        if (panel.atParkAirport && gf_procesTbFloat(text)) gf_requestParking();
    } else if (id == BLOCK_CALLSIGN.controlId) {
        lf_callsignEnter(text);
    } else if (id == SIM_INSTALL_PATH.controlId) {
        gf_clearErrorAndMessage();
        lf_installPathEnter(text);
    }
}
