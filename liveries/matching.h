// liveries/matching.h — the title of an installed livery for an aircraft: a cascade of lookups from the
// exact registration to any livery of a similar model, each match counted by the step that found it.
// Runs on the engine thread only. The title set in `livery` is a view into the livery tables
// (liveries/state.h): it stays valid for the whole run and must not be kept past it (a restart rebuilds
// the tables; the engine's tables are cleared before).
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "airports/airport_file.h"
#include "engine/act.h"
#include "liveries/state.h"

// A live aircraft: a title remembered for its hexid, else the cascade. True when `livery` is set (set
// already on entry counts too). Sets `fsltl` when the cascade found the title. Reads airline, model, reg,
// category (set by the admission before), cargo and hexid; MATCHING_DEPTH and LOG.
bool gf_matchLive(Act& act);

// A parked aircraft on `stand`: a title set on entry stands; else the cascade, with the stand's cargo flag
// taken after the registration step. No counters, no memory of hexids, no fsltl. False without a title.
bool gf_matchParked(AcBase& ac, const Stand& stand);

// The simulator refused to create an aircraft with its livery: the title is never given again and the
// refusal is booked for the summary. At the 20th refused title the run ends: throws
// zel::UserErrorException 81. The caller erases the record afterwards.
void gf_liveryNotCreated(AcBase& ac);

// The live aircraft that found no livery, by "{:3} {:4} reg" of airline, model and registration: the
// admission books one when gf_matchLive returns false, and drops a new aircraft with a booked text at
// once, without a new cascade, until the set is cleared.
std::string gf_noMatchText(const AcBase& ac);
void gf_bookNoMatch(const AcBase& ac);
bool gf_isBookedNoMatch(const AcBase& ac);

void gf_matchingSummary();          // the summary block of the log: matches per step, refused aircraft
void gf_logNoMatch();               // the booked aircraft without a livery, if any
void gf_clearNoMatch();             // the user's request, and a reset of all traffic
void gf_clearHexidLiveries();       // once a day, at the end of traffic, at a reset of all traffic
void gf_clearUnmakeableAircraft();  // the end of the process: the list of refused aircraft of the summary

// What the matching counted in this process, for a summary.
struct MatchCounts {
    std::array<uint32_t, 7> atStep{};  // [1..6]: live matches found at that step; [0] unused
    uint32_t remembered = 0;           // live aircraft given the title their hexid had before
    uint32_t noMatch = 0;              // live cascades that found nothing
    uint32_t refused = 0;              // titles the simulator refused
    uint32_t matched() const {
        uint32_t n = remembered;
        for (int s = 1; s <= kMatchSteps; ++s) n += atStep[static_cast<size_t>(s)];
        return n;
    }
};
MatchCounts gf_matchCounts();
