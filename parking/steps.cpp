// Steps that the first calculation and the renewal share: the moment, the stand flags, the order of
// the positions, the removal list.
#include "parking/steps.h"

#include <algorithm>

#include <fmt/format.h>

#include "airports/state.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "parking/calculation.h"
#include "parking/state.h"
#include "service/traffic.h"
#include "simlink/user.h"

namespace {
constexpr const char* kDayNames[] = {"", "Monday", "Tuesday", "Wednesday", "Thursday", "Friday", "Saturday", "Sunday"};

void lf_logTime(TimeOfWeek t) {
    gf_logf("\n{} (utc) It is day {} ({}), {} hours", gf_timeOfDay(), t.day, kDayNames[t.day % 8], t.halfHour * 0.5);
}
}  // namespace

TimeOfWeek gf_calcNow() { return gf_unpackTimeOfWeek(parking.calcTime); }

// `a` is later than `b` in the week; Monday counts as later than Sunday.
bool gf_laterInWeek(TimeOfWeek a, TimeOfWeek b) {
    if (a.day == 1 && b.day == 7) return true;
    if (a.day == 7 && b.day == 1) return false;
    return a.day != b.day ? a.day > b.day : a.halfHour > b.halfHour;
}

void gf_startCalculation() {
    parking.calcTime = gf_packTimeOfWeek(gf_loadTimeOfWeek());
    lf_logTime(gf_calcNow());
    gf_takeSeenAircraft(parking.seenCallsigns, parking.seenHexids);
    panel.softUsed = false;
    gf_invalidate(Band::Status);
}

// The user's stands stay free: the one the tracking reserved, and the one under the user aircraft.
void gf_markReserved() {
    const std::string at = gf_standAtPosition({user.userSnapshot.latitude, user.userSnapshot.longitude});
    for (Stand& s : airports.stands)
        if ((!parking.reservedStand.empty() && s.name == parking.reservedStand) || (!at.empty() && s.name == at))
            s.reserved = true;
}

void gf_clearStandFlags(bool renumber) {
    for (Stand& s : airports.stands) {
        s.taken = s.reserved = s.adjacentTaken = false;
        if (!renumber) continue;
        uint32_t id = 1;
        for (ParkPos& o : s.options) o.optId = id++;
    }
}

void gf_sortPositions(bool largestFirst) {
    std::stable_sort(parking.chosenPositions.begin(), parking.chosenPositions.end(),
                     [largestFirst](const ChosenPosition& a, const ChosenPosition& b) {
                         return largestFirst ? a.offset > b.offset : a.offset < b.offset;
                     });
}

void gf_queueRemoval(ParkedAc& p) {
    p.state = ActState::Removing;
    parking.toRemove.push_back({p.callsign, p.sid});
}

bool gf_seenLive(const std::string& c) {
    return parking.seenCallsigns.count(c) > 0 || parking.seenCallsigns.count(c + "_") > 0;
}

std::string gf_parkStandName(uint32_t sid) {
    return sid >= 1 && sid <= airports.stands.size() ? airports.stands[sid - 1].name : std::string("sid==0?");
}

void gf_publishWanted() {
    parking.wanted = gf_wantedPositions();
    panel.wanted = parking.wanted;
}
