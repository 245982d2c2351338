#include "frame/mainloop.h"

#include <cmath>

#include "common/clock.h"
#include "common/timeofweek.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/lifecycle.h"
#include "frame/links.h"
#include "platform/platform.h"

LoopState loop;

namespace {
constexpr double kNearNm = 8.0;
constexpr double kFarNm = 40.0;
constexpr int32_t kRenewalMinutes = 20;  // static aircraft are renewed every 1200 ticks

void lf_serveReRead() {
    if (!run.reReadRequested.load() || run.parkingBusy.load()) return;
    const std::string text = links::reReadParkAirports();
    if (!text.empty()) gf_showMessage(text, true);
    gf_setControlEnabled(kReReadButtonId, true);
    run.reReadRequested = false;
}

// Second half of the two-phase parking update: the first asks for the parked traffic, the second,
// 15 ticks later, calculates with what came.
void lf_moveParkUpdateOn() {
    if (!run.parkUpdateRequested.load()) return;
    if (!run.parkUpdateArmed) {
        run.parkUpdateArmed = true;
        run.parkingBusy = true;
        links::setParkingControls(false);
        gf_clearMessage();
        links::fetchParkedTraffic();
        return;
    }
    run.parkUpdateArmed = false;
    gf_clearErrorAndMessage();
    if (links::renewParking(run.ptOnlySwitched.load())) run.ptOnlySwitched = false;
    run.parkUpdateRequested = false;
}
}  // namespace

void gf_resetLoop() {
    loop.tickCount = 0;
    loop.timeShifted = false;
    loop.notRunningCountdown = 100;
    loop.lastSimTime = 0.0;
    loop.inMainLoop = false;
    // S counts for the life of the process and survives a restart.
}

void gf_computeTimeOfWeek() {
    UtcTime t = gf_utcNow();
    const int64_t snap = links::lastSnapshotTime();
    if (loop.timeShifted.load() && snap > 0) t = UtcTime(std::chrono::seconds(snap));
    gf_storeTimeOfWeek(gf_timeOfWeekAt(t));
}

void mainLoop() {
    // The start-up's holding time counts from here: a run that reached its loop used the service.
    LAST_EPOCH_TIME.current = LAST_EPOCH_TIME.clamp(gf_epochSeconds());
    gf_saveParameter(LAST_EPOCH_TIME);
    links::updateWeatherLamps();
    gf_flushLog();
    loop.tickCount = 0;
    loop.inMainLoop = true;
    SteadyTime deadline = gf_steadyNow() + std::chrono::milliseconds(kSliceMs);
    gf_computeTimeOfWeek();
    links::setAcceptTraffic(true);
    gf_timerResolutionBegin();
    for (;;) {
        lf_slice();
        const auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - gf_steadyNow());
        if (ms.count() > 0) gf_sleepFor(ms);
        if (!run.tickPending.load()) {
            deadline += std::chrono::milliseconds(kSliceMs);
            // Without ticks (a paused or vanished simulator) the end of a run must still be seen,
            // or a restart would start a second engine thread beside this one.
            if (gf_exitFlagSet()) break;
            continue;
        }
        deadline = gf_steadyNow() + std::chrono::milliseconds(kSliceMs);
        if (gf_exitFlagSet()) break;
    }
    gf_timerResolutionEnd();
    loop.inMainLoop = false;
}

void lf_slice() {
    if (!run.simRunning.load()) {
        lf_flightNotRunning();
        return;
    }
    lf_engineSlice();
    bool expected = true;
    if (!run.tickPending.compare_exchange_strong(expected, false)) return;
    lf_tick();
    const int32_t t = loop.tickCount;
    if (t % 15 == 0) {
        links::updateWeatherLamps();
        links::setQueryPosition(links::userPosition());
        links::computeQueryBox();
        if (!panel.reservedStand.get().empty()) links::clearReservedStand();
        lf_serveReRead();
        lf_moveParkUpdateOn();
        if (t % 30 == 0) lf_every30Ticks();
        return;
    }
    // Only off the 15 grid: a multiple of 16 or 61 that is also one of 15 does nothing here.
    if (t % 16 == 0 && !run.parkUpdateArmed) links::trackParkAirport(false);
    if (t % 61 == 0 && !links::parkedTableEmpty()) links::removeParkedDuplicates();
}

void lf_tick() {
    if (run.flightNotRunningSeen.exchange(false)) {
        gf_logLine(fmt::format("{} Flight resumed", gf_timeOfDay()));
        links::setAcceptTraffic(true);
    }
    gf_messageTick();
    links::recountAircraft();
    gf_computeTimeOfWeek();
    if (SIM_TIME.current) {
        const double simTime = links::simTimeSeconds();
        if (simTime > 0.0 && std::fabs(simTime - loop.lastSimTime) >= 30.0) {
            const double behind = static_cast<double>(gf_epochSeconds()) - simTime;
            int32_t minutes = static_cast<int32_t>(behind / 60.0);
            if (minutes < 1) minutes = 0;
            gf_setTimeShift(minutes, false);
        }
        loop.lastSimTime = simTime;
    }
    ++loop.tickCount;
    links::reviewCheckQueue();
    if (run.flushStaticRequested.exchange(false)) {
        links::flushStatic();
        if (!INITIAL_LOAD_ONLY.current) {
            INITIAL_LOAD_ONLY.current = true;  // not saved: it holds for this run only
            gf_setControlChecked(INITIAL_LOAD_ONLY.controlId, true);
        }
    }
    links::collisionChecks();
    if (run.blockRequested.exchange(false)) {
        if (!BLOCK_CALLSIGN.current.empty()) links::removeBlockedCallsign(BLOCK_CALLSIGN.current);
    }
}

void lf_every30Ticks() {
    const int32_t t = loop.tickCount;
    if (run.forgetNoMatchRequested.exchange(false)) links::forgetNoMatchAircraft();
    if (AUTO_RANGE.current) gf_autoRange();
    if (run.readerStopped.load()) {
        gf_showError("1001: RT error");
        gf_requestExit(kExitSystemError, 0);
    }
    gf_flushLog();
    if (t % 60 == 0) {
        panel.minutesToRenewal = kRenewalMinutes - (t / 60) % kRenewalMinutes;
        gf_invalidate(Band::Static);
    }
    if (t % 1200 == 0) {
        links::logNoMatch();
        if (links::atParkAirport() && (!INITIAL_LOAD_ONLY.current || RT_PARKTRAFFIC_ONLY.current) &&
            !run.parkUpdateRequested.load())
            run.parkUpdateRequested = true;
    }
    if (t % kTicksPerDay == 0) {
        loop.tickCount = 0;
        links::logMatchingSummary();
        links::clearHexidLiveries();
    }
}

void lf_flightNotRunning() {
    if (!run.flightNotRunningSeen.load()) {
        links::setAcceptTraffic(false);
        run.flightNotRunningSeen = true;
        loop.notRunningCountdown = 100;
        links::clearPendingUpdates();
        gf_logLine(fmt::format("{} Flight not running", gf_timeOfDay()));
    }
    links::drainSimEvents();
    if (--loop.notRunningCountdown <= 0) {
        lf_serveReRead();
        links::computeQueryBox();
        loop.notRunningCountdown = 100;
        links::recountAircraft();
        gf_computeTimeOfWeek();
    }
}

void lf_engineSlice() {
    const uint64_t s = loop.slice;
    links::drainSimEvents();
    links::moveAircraft();
    if (s % 10 == 0) {
        links::removeNextObject();
        if (s % 50 == 0) {
            if (!links::createNextLive()) {
                links::createNextStatic();
                links::placeNextStatic();
            }
        }
    }
    links::workTrafficBuffer();
    links::queueReadyForCreation();
    if (!run.requestFailed.load() && (s % 100 == 0 || (s % 20 == 0 && links::anyAircraftLanding())))
        links::requestAircraftInRange(parDerived.radiusMetres.load());
    if (s % 100 == 0) links::requestUserSnapshot();
    ++loop.slice;
}

void gf_autoRange() {
    double nm;
    if (links::userOnGround()) {
        nm = kNearNm;
    } else if (links::userAltitudeFt() > AIRPORT_HEIGHT.current) {
        nm = kFarNm;
    } else {
        const double d = links::nearestListedAirportNm(links::userPosition());
        if (d <= 5.0)
            nm = kNearNm;
        else if (d < 37.0)
            nm = std::round(d) + 3.0;
        else
            nm = kFarNm;
    }
    parDerived.rangeNm = nm;  // the query uses the value itself, unclamped
    parDerived.radiusMetres = static_cast<int32_t>(nm * 1852.0 + 10000.0);
    const int32_t shown = LATERAL_RANGE.clamp(static_cast<int64_t>(nm));
    if (shown != LATERAL_RANGE.current) {
        LATERAL_RANGE.current = shown;
        gf_setControlText(LATERAL_RANGE.controlId, std::to_string(shown));
        links::computeQueryBox();
    }
}

void gf_setTimeShift(int32_t minutes, bool silent) {
    if (minutes < 0) minutes = 0;
    loop.timeShifted = minutes > 0;
    if (minutes > kMaxTimeShiftMinutes) {
        gf_logLine("Time shifting is limited to 4 weeks");
        minutes = kMaxTimeShiftMinutes;
    }
    TIME_SHIFT_DAYS.current = TIME_SHIFT_DAYS.clamp(minutes / 1440);
    TIME_SHIFT_HOURS.current = TIME_SHIFT_HOURS.clamp((minutes % 1440) / 60);
    TIME_SHIFT_MINS.current = TIME_SHIFT_MINS.clamp(minutes % 60);
    for (ParInt* p : {&TIME_SHIFT_DAYS, &TIME_SHIFT_HOURS, &TIME_SHIFT_MINS}) {
        gf_saveParameter(*p);
        gf_setControlText(p->controlId, std::to_string(p->current.load()));
    }
    links::setTimeShiftMinutes(minutes);
    if (minutes > 0) {
        if (silent) return;
        gf_showMessage(fmt::format("Time shifted {} minute{}", minutes, gf_plural(minutes)), true);
    } else {
        gf_showMessage("No time shift", true);
        if (silent) return;
    }
    links::removeAllLive();
    links::flushStatic();
    run.parkUpdateRequested = true;
}
