// liveries/matching.cpp — the cascade from an aircraft's registration, airline, type and category to the
// title of an installed livery, and the bookkeeping of refused titles and aircraft without a match.
#include "liveries/matching.h"

#include <algorithm>

#include <fmt/format.h>

#include "common/random.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/params.h"

namespace {

constexpr size_t kRefusalsToStop = 20;  // refused titles that end the run (error 81)
constexpr const char* kSimShortName = "P3D";

bool lf_isSpecial(std::string_view title) {
    const TitleViews& s = liveries.specialLiveries;
    return std::find(s.begin(), s.end(), title) != s.end();
}

bool lf_isUnmakeable(std::string_view title) {
    const auto& u = matching.unmakeableLiveries;
    return std::find(u.begin(), u.end(), title) != u.end();
}

// A choice among n things is the generator's 32-bit output modulo n; n of 1 draws nothing.
template <typename List>
const auto& lf_draw(const List& list) {
    return list.size() == 1 ? list.front() : list[gf_rng()() % list.size()];
}

// The only place where chance picks a title. A special livery never leaves it: it is reserved for the
// registrations that own it (step 1).
std::string_view lf_pickLivery(const TitleViews& candidates) {
    std::string_view title = lf_draw(candidates);
    if (liveries.specialLiveries.empty() || !lf_isSpecial(title)) return title;
    for (int redraw = 0; redraw < 5; ++redraw) {
        title = lf_draw(candidates);
        if (!lf_isSpecial(title)) return title;
    }
    TitleViews plain;
    for (const std::string_view t : candidates)
        if (!lf_isSpecial(t)) plain.push_back(t);
    return plain.empty() ? std::string_view{} : lf_draw(plain);
}

std::string_view lf_matchRegcode(const std::string& reg) {
    if (reg.empty()) return {};
    for (const std::string& spelling : lf_regcodeVariants(reg)) {
        const auto it = liveries.regcodeLiveries.find(spelling);
        if (it != liveries.regcodeLiveries.end()) return it->second;
    }
    return {};
}

std::string_view lf_pickIn(const std::unordered_map<std::string, ModelTitles>& table, const std::string& airline,
                           const std::string& model) {
    const auto a = table.find(airline);
    if (a == table.end()) return {};
    const auto m = a->second.find(model);
    return m == a->second.end() ? std::string_view{} : lf_pickLivery(m->second);
}

// A cargo aircraft may fly a passenger livery of its airline and model; never the other way round.
std::string_view lf_matchAirlineModel(const AcBase& ac, const std::string& airline, const std::string& model) {
    std::string_view title = lf_pickIn(ac.cargo ? liveries.cargoLiveries : liveries.paxLiveries, airline, model);
    if (title.empty() && ac.cargo) title = lf_pickIn(liveries.paxLiveries, airline, model);
    return title;
}

// Any airline's livery of the model; no fallback from cargo to passenger here.
std::string_view lf_matchModel(const AcBase& ac, const std::string& model) {
    const ModelTitles& table = ac.cargo ? liveries.cargoModelLiveries : liveries.paxModelLiveries;
    const auto it = table.find(model);
    return it == table.end() ? std::string_view{} : lf_pickLivery(it->second);
}

// The lists are shuffled in place at every call, so that their order drifts from call to call.
void lf_shuffle(std::vector<std::string>& list) {
    if (list.size() >= 2) std::shuffle(list.begin(), list.end(), gf_rng());
}

std::vector<std::string> lf_similarForAirline(const std::string& airline, const std::string& model) {
    const auto a = dbase.similarByAirline.find(airline);
    if (a == dbase.similarByAirline.end()) return {};
    const auto m = a->second.find(model);
    if (m == a->second.end()) return {};
    lf_shuffle(m->second);
    return m->second;
}

std::vector<std::string> lf_similarForModel(const std::string& model) {
    const auto it = dbase.similarPresent.find(model);
    if (it != dbase.similarPresent.end()) {
        lf_shuffle(it->second);
        return it->second;
    }
    const std::vector<std::string>* pool = nullptr;
    switch (gf_modelCategory(model)) {
        case ModelCategory::Light: pool = &liveries.lightModels; break;
        case ModelCategory::Buzjets: pool = &liveries.buzjetModels; break;
        case ModelCategory::Rotorcraft: pool = &liveries.rotorcraftModels; break;
        default: return {};
    }
    if (pool->empty()) return {};
    return {lf_draw(*pool)};
}

struct Hit {
    std::string_view title;
    int step = 0;
};

// The cascade, most exact first; the first hit ends it. MATCHING_DEPTH cuts it after step 1, 2 or 3.
Hit lf_matchCascade(const AcBase& ac, bool live) {
    const int depth = MATCHING_DEPTH.current;
    const std::string generic = kGenericAirline;
    const bool isPrivate = ac.airline == kPrivateAirline;
    const bool byAirline = !(live && ac.airline.empty());  // steps 2 and 3 need an airline
    if (const std::string_view t = lf_matchRegcode(ac.reg); !t.empty()) return {t, 1};
    if (depth < 2) return {};
    // A private aircraft prefers a generic livery to one filed under "PVT".
    if (isPrivate)
        if (const std::string_view t = lf_matchAirlineModel(ac, generic, ac.model); !t.empty()) return {t, 4};
    const std::string opr = gf_dbaseOperator(ac.reg);
    // The airline already holds the operator: the second try is the owner.
    const std::string airl = opr.empty() ? std::string() : gf_dbaseAirline(ac.reg);
    if (byAirline) {
        if (const std::string_view t = lf_matchAirlineModel(ac, ac.airline, ac.model); !t.empty()) return {t, 2};
        if (!opr.empty())
            if (const std::string_view t = lf_matchAirlineModel(ac, airl, ac.model); !t.empty()) return {t, 2};
    }
    if (depth < 3) return {};
    if (byAirline) {
        for (const std::string& s : lf_similarForAirline(ac.airline, ac.model))
            if (const std::string_view t = lf_matchAirlineModel(ac, ac.airline, s); !t.empty()) return {t, 3};
        if (!opr.empty())
            for (const std::string& s : lf_similarForAirline(airl, ac.model))
                if (const std::string_view t = lf_matchAirlineModel(ac, airl, s); !t.empty()) return {t, 3};
    }
    if (depth == 4)
        if (const std::string_view t = lf_matchAirlineModel(ac, generic, ac.model); !t.empty()) return {t, 4};
    // Airliners, heavies and fast jets never wear another airline's paint.
    if (ac.category != ModelCategory::Light && ac.category != ModelCategory::Buzjets &&
        ac.category != ModelCategory::Rotorcraft)
        return {};
    if (!isPrivate)
        if (const std::string_view t = lf_matchAirlineModel(ac, generic, ac.model); !t.empty()) return {t, 4};
    if (const std::string_view t = lf_matchModel(ac, ac.model); !t.empty()) return {t, 5};
    for (const std::string& s : lf_similarForModel(ac.model))
        if (const std::string_view t = lf_matchModel(ac, s); !t.empty()) return {t, 6};
    return {};
}

std::string lf_logLabel(const AcBase& ac) { return fmt::format("{:8} {:3} {:4}", ac.callsign, ac.airline, ac.model); }

// A hit on a refused title counts for nothing.
void lf_matchLiveCascade(Act& act) {
    const Hit hit = lf_matchCascade(act, true);
    if (hit.title.empty() || lf_isUnmakeable(hit.title)) return;
    act.livery = hit.title;
    ++matching.matchCounters[static_cast<size_t>(hit.step)];
    if (LOG.current) gf_logf("          {} ={}= {}", lf_logLabel(act), hit.step, hit.title);
    act.fsltl = hit.title.find("FSLTL_") != std::string_view::npos;
}

}  // namespace

// An aircraft that leaves and comes back keeps its paint.
bool gf_matchLive(Act& act) {
    if (!act.livery.empty()) return true;
    auto known = matching.hexidLiveries.find(act.hexid);
    if (known != matching.hexidLiveries.end() && lf_isUnmakeable(known->second)) {
        matching.hexidLiveries.erase(known);
        known = matching.hexidLiveries.end();
    }
    if (known != matching.hexidLiveries.end()) {
        act.livery = known->second;
        ++matching.remembered;
        if (LOG.current) gf_logf("          {} =c= {}", lf_logLabel(act), act.livery);
        return true;
    }
    lf_matchLiveCascade(act);
    if (act.livery.empty()) {
        ++matching.noMatch;
        return false;
    }
    matching.hexidLiveries[act.hexid] = act.livery;
    return true;
}

bool gf_matchParked(AcBase& ac, const Stand& stand) {
    if (!ac.livery.empty()) {
        if (LOG.current) gf_logf("          {} =s= {}", lf_logLabel(ac), ac.livery);
        return true;
    }
    // The registration's own livery first; after it the stand says whether a freighter stands here.
    Hit hit{lf_matchRegcode(ac.reg), 1};
    if (hit.title.empty()) {
        ac.cargo = stand.cargo;
        hit = lf_matchCascade(ac, false);
    }
    if (hit.title.empty()) {
        if (LOG.current)
            gf_logf("{:8}: {} no livery match ...", stand.name, fmt::format("{:3} {:4}", ac.airline, ac.model));
        return false;
    }
    if (lf_isUnmakeable(hit.title)) return false;
    ac.livery = hit.title;
    if (LOG.current) gf_logf("          {} ={}= {}", lf_logLabel(ac), hit.step, hit.title);
    return true;
}

void gf_liveryNotCreated(AcBase& ac) {
    gf_showMessage(fmt::format("{} \"{}\" could not be created by your Sim!", ac.callsign, ac.livery), true);
    matching.unmakeableLiveries.emplace_back(ac.livery);
    matching.unmakeableAircraft.push_front(ac.model + " " + ac.airline);
    ++matching.refused;
    if (matching.unmakeableLiveries.size() >= kRefusalsToStop) {
        const std::string text =
            fmt::format("there are too many liveries that could not be created by {}!", kSimShortName);
        gf_logLine(fmt::format("\n{}Error 81, {}\n", kMark, text));
        throw zel::UserErrorException(81, text + ", see Log.txt");
    }
}

std::string gf_noMatchText(const AcBase& ac) { return fmt::format("{:3} {:4} {}", ac.airline, ac.model, ac.reg); }
void gf_bookNoMatch(const AcBase& ac) { matching.noMatchAircraft.insert(gf_noMatchText(ac)); }
bool gf_isBookedNoMatch(const AcBase& ac) { return matching.noMatchAircraft.count(gf_noMatchText(ac)) > 0; }

void gf_matchingSummary() {
    const std::string title = " live traffic livery matching summary ";
    const std::string stars((100 - title.size()) / 2, '*');
    gf_logLine("\n" + stars + title + stars);
    gf_logLine("Matches at step: ");
    for (int s = 1; s <= kMatchSteps; ++s)
        gf_logf("  {}: {}", s, matching.matchCounters[static_cast<size_t>(s)].load());
    auto& refused = matching.unmakeableAircraft;
    if (!refused.empty()) {
        gf_logf("\nCould not be created by {}:", kSimShortName);
        std::sort(refused.begin(), refused.end());
        refused.erase(std::unique(refused.begin(), refused.end()), refused.end());
        for (const std::string& a : refused) gf_logLine("  " + a);
    }
    gf_logLine(std::string(100, '*') + "\n");
}

void gf_logNoMatch() {
    if (matching.noMatchAircraft.empty()) return;
    gf_logLine("\nNo match found for: ");
    for (const std::string& a : matching.noMatchAircraft) gf_logLine(a);
    gf_logLine("");
}

void gf_clearNoMatch() { matching.noMatchAircraft.clear(); }
void gf_clearHexidLiveries() { matching.hexidLiveries.clear(); }
void gf_clearUnmakeableAircraft() { matching.unmakeableAircraft.clear(); }

MatchCounts gf_matchCounts() {
    MatchCounts c;
    for (int s = 1; s <= kMatchSteps; ++s)
        c.atStep[static_cast<size_t>(s)] = matching.matchCounters[static_cast<size_t>(s)].load();
    c.remembered = matching.remembered;
    c.noMatch = matching.noMatch;
    c.refused = matching.refused;
    return c;
}
