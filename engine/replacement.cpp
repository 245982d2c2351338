// Who makes way when two aircraft stand for one: a live aircraft against another live one on the same
// stand, and against the parked aircraft that stand for the same real aircraft.
#include <string_view>

#include <fmt/format.h>

#include "engine/admission.h"
#include "engine/records.h"
#include "engine/stands.h"
#include "engine/state.h"
#include "frame/core/log.h"
#include "parking/search.h"

namespace {

bool lf_endsInGhostMark(std::string_view c) { return !c.empty() && c.back() == '_'; }
// The callsign without its last character.
std::string_view lf_stripped(std::string_view c) { return c.empty() ? c : c.substr(0, c.size() - 1); }

template <typename... Args>
void lf_logEvent(fmt::format_string<Args...> f, Args&&... args) {
    if (gf_logAircraft()) gf_logf(f, std::forward<Args>(args)...);
}

}  // namespace

bool lf_claimStand(const Act& newcomer, Act& existing, const std::string& standName, bool& refused) {
    refused = false;
    if (existing.phase != ActPhase::AtStand || existing.state != ActState::Live || existing.sid != newcomer.sid)
        return false;
    const std::string& mine = newcomer.callsign;
    const std::string& theirs = existing.callsign;
    if (mine == theirs) {
        lf_logEvent("{:8}: {:8} ac with same callsign {} wants it, remove existing ... ", standName, theirs, mine);
        gf_removeAct(existing);
    } else if (lf_stripped(mine) == theirs) {
        lf_logEvent("{:8}: {:8} ghost {} wants it, but don't do it ... ", standName, theirs, mine);
        refused = true;
    } else if (mine == lf_stripped(theirs) || (lf_endsInGhostMark(theirs) && !lf_endsInGhostMark(mine))) {
        lf_logEvent("{:8}: {:8} ghost, replace by {}", standName, theirs, mine);
        gf_removeAct(existing);
    } else if (lf_endsInGhostMark(mine)) {
        lf_logEvent("{:8}: {:8} ghost {} wants it, refused ", standName, theirs, mine);
        refused = true;
    } else if (existing.standHeld) {
        lf_logEvent("{:8}: {:8} other live {} wants it? {} ", standName, theirs, mine, gf_timeOfDay());
        refused = true;
    } else {
        lf_logEvent("{:8}: {:8} removed because of new {}", standName, theirs, mine);
        gf_removeAct(existing);
    }
    return true;
}

bool lf_parkedMakesPlace(const std::string& standName, uint32_t sid, const Act& act, ParkedAc& parked) {
    if (parked.sid != sid) return false;
    const char* same = parked.altCallsign1 == act.callsign || (!act.reg.empty() && parked.reg == act.reg)
                           ? " the same live version"
                           : "";
    if (parked.state == ActState::Live) {
        lf_logEvent("{:8}: {:8} {} makes place for{} {} {} {}", standName, parked.callsign, parked.model, same,
                    act.model, act.callsign, gf_timeOfDay());
        gf_removeAct(parked);
    } else if (parked.state == ActState::Creating) {
        // Copied first: a cancelled creation erases the parked record itself.
        const std::string callsign = parked.callsign, model = parked.model;
        if (!gf_cancelStaticCreation(callsign))
            parked.dropOnCreate = true;
        else
            lf_logEvent("queued {:8}: {:8} {} makes place for{} {} {} {}", standName, callsign, model, same, act.model,
                        act.callsign, gf_timeOfDay());
    }
    // Any other state is left alone; either way the walk ends with the first record of the stand.
    return true;
}

bool lf_parkedYieldsToLive(const ParkedAc& parked, const Act& act, const std::string& shortCallsign, bool onGround) {
    if (parked.state != ActState::Live) return false;
    const char* place = onGround ? "on ground" : "airborne";
    const std::string stand = gf_standName(parked.sid);
    if (parked.fromPt && parked.ptHexid == act.hexid) {
        lf_logEvent("{:8}: {:8} removed, new {} {} has same hexid", stand, parked.callsign, place, act.callsign);
        return true;
    }
    if (!act.reg.empty() && act.reg == parked.reg) {
        lf_logEvent("{:8}: {:8} {} removed, new {} {} has same regcode {}", stand, parked.callsign, parked.model, place,
                    act.callsign, act.reg);
        return true;
    }
    const auto coupled = [&parked](const std::string& c) {
        return !c.empty() && (c == parked.altCallsign1 || c == parked.altCallsign2);
    };
    const char* how = nullptr;
    std::string_view which;
    if (coupled(act.callsign)) {
        how = "same";
        which = act.callsign;
    } else if (coupled(act.altCallsign2)) {
        how = "coupled";
        which = act.altCallsign2;
    } else if (lf_endsInGhostMark(act.callsign) && coupled(shortCallsign)) {
        how = "coupled";
        which = shortCallsign;
    }
    if (!how) return false;
    lf_logEvent("{:8}: {:8} \"{} {}\" removed, new {} {} \"{} {}\" has {} callsign {}", stand, parked.callsign,
                parked.airline, parked.model, place, act.callsign, act.airline, act.model, how, which);
    return true;
}

void gf_reviewAgainstParked(Act& act) {
    // The history of the park airport may know the number this flight leaves (or came) under.
    if (!act.coupledChecked) gf_searchForCoupledCsAroundThisTime(gf_loadTimeOfWeek(), act);
    act.coupledChecked = true;
    if (act.callsign.empty()) return;
    const std::string shortCallsign(lf_endsInGhostMark(act.callsign) ? lf_stripped(act.callsign) : act.callsign);
    for (ParkedAc& p : engine.parked)
        if (lf_parkedYieldsToLive(p, act, shortCallsign, act.onGround)) {
            gf_removeAct(p);
            return;
        }
}

void gf_parkedWithSameCallsign(const Act& act) {
    const std::string starred = act.callsign + "*";
    for (ParkedAc& p : engine.parked) {
        if (p.state != ActState::Live) continue;
        if (p.callsign == starred || (!act.reg.empty() && p.reg == act.reg)) {
            gf_removeAct(p);
            return;
        }
    }
}
