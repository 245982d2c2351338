// liveries/tables.cpp — the tables of liveries that the matching reads, built from the sorted list.
#include <algorithm>
#include <map>
#include <set>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "liveries/liveries_file.h"
#include "liveries/regcodes.h"

namespace {

// Models in rows of 20, each row indented by two blanks.
void lf_logModelRows(const std::vector<std::string>& models) {
    for (size_t i = 0; i < models.size(); i += 20) {
        const auto end = models.begin() + static_cast<std::ptrdiff_t>(std::min(models.size(), i + 20));
        gf_logf("  {}", fmt::join(models.begin() + static_cast<std::ptrdiff_t>(i), end, ","));
    }
}

// Every run of equal airline and model of the sorted list becomes one list, in list order.
void lf_buildAirlineTable() {
    for (const LiveryData& l : liveries.liveryList) {
        const std::string_view title = liveries.titleStore.emplace_back(l.title);
        liveries.airlineLiveries[l.airline][l.model].push_back({title, l.cargo});
    }
}

void lf_buildCargoPaxTables() {
    for (const auto& [airline, models] : liveries.airlineLiveries)
        for (const auto& [model, titles] : models)
            for (const LiveryTitle& t : titles)
                (t.cargo ? liveries.cargoLiveries : liveries.paxLiveries)[airline][model].push_back(t.title);
}

// The view of a title filed under an airline and model, or empty.
std::string_view lf_findFiled(const LiveryData& l) {
    const auto a = liveries.airlineLiveries.find(l.airline);
    if (a == liveries.airlineLiveries.end()) return {};
    const auto m = a->second.find(l.model);
    if (m == a->second.end()) return {};
    for (const LiveryTitle& t : m->second)
        if (t.title == l.title) return t.title;
    return {};
}

// Several liveries may claim one registration in their aircraft.cfg: the first in list order keeps it.
// The loser keeps its title for every other step of the matching.
void lf_buildInlineRegcodes() {
    std::vector<std::string> clashes;
    for (LiveryData& l : liveries.liveryList) {
        if (l.regcode.empty()) continue;
        const std::string_view title = lf_findFiled(l);
        if (title.empty()) {
            gf_logMarkf("sys error: livery \"{}\" for a [{}] with regcode {} not available", l.title,
                        gf_shortLabel(l.airline, l.model), l.regcode);
            continue;
        }
        const auto [it, added] = liveries.regcodeLiveries.try_emplace(l.regcode, title);
        if (added || it->second == title) continue;
        clashes.push_back(fmt::format("[{}] {} \"{}\" => in use by \"{}\"", gf_shortLabel(l.airline, l.model),
                                      l.regcode, l.title, it->second));
        l.regcode.clear();
    }
    if (clashes.empty()) return;
    std::sort(clashes.begin(), clashes.end());
    gf_makeFolder(folders::errors);
    const std::filesystem::path path = folders::errors / "InlineRegcodes.txt";
    std::string text;
    for (const std::string& c : clashes) text += c + "\n";
    gf_saveText(text, path, false);
    gf_logf("{} in-line regcode clashes, see \"{}\"", clashes.size(), path.generic_string());
}

// Sorted by model; within a model the airlines in byte order, then list order, so that a run rebuilds
// exactly the same lists from the same file.
void lf_buildModelTables() {
    struct Entry {
        std::string_view model, title;
        bool cargo;
    };
    std::vector<std::string_view> airlines;
    for (const auto& [airline, models] : liveries.airlineLiveries) airlines.push_back(airline);
    std::sort(airlines.begin(), airlines.end());
    std::vector<Entry> all;
    for (const std::string_view airline : airlines) {
        const auto& models = liveries.airlineLiveries.at(std::string(airline));
        std::vector<std::string_view> names;
        for (const auto& [model, titles] : models) names.push_back(model);
        std::sort(names.begin(), names.end());
        for (const std::string_view model : names)
            for (const LiveryTitle& t : models.at(std::string(model))) all.push_back({model, t.title, t.cargo});
    }
    std::stable_sort(all.begin(), all.end(), [](const Entry& a, const Entry& b) { return a.model < b.model; });
    for (const Entry& e : all)
        (e.cargo ? liveries.cargoModelLiveries : liveries.paxModelLiveries)[std::string(e.model)].push_back(e.title);
}

void lf_buildSimilar() {
    SimilarInputs in;
    for (const auto& [model, titles] : liveries.paxModelLiveries) in.modelsWithLivery.insert(model);
    for (const auto& [model, titles] : liveries.cargoModelLiveries) in.modelsWithLivery.insert(model);
    for (const auto& [airline, models] : liveries.airlineLiveries)
        for (const auto& [model, titles] : models) in.airlineModels[airline].insert(model);
    lf_buildSimilarTables(in);
}

void lf_reportGenericLiveries() {
    const auto zzz = liveries.airlineLiveries.find(kGenericAirline);
    if (zzz == liveries.airlineLiveries.end()) {
        gf_logLine("No generic liveries");
        return;
    }
    std::vector<std::string> models;
    for (const auto& [model, titles] : zzz->second) models.push_back(model);
    std::sort(models.begin(), models.end());
    gf_logf("{} model{} have a generic livery", models.size(), gf_plural(static_cast<long long>(models.size())));
    lf_logModelRows(models);
}

// A category without any livery cannot be shown: its switch goes off and its box is disabled.
void lf_switchOffCategory(ModelCategory c) {
    ParBool* par = nullptr;
    const char* line = nullptr;
    switch (c) {
        case ModelCategory::Rotorcraft:
            par = &HELICOPTERS;
            line = "{} temporary switched off because you do not have Helicopters installed";
            break;
        case ModelCategory::HighPerf:
            par = &HIGH_PERF_AIRCRAFT;
            line = "{} temporary switched off because you do not have High Perf aircraft installed";
            break;
        case ModelCategory::Light:
            par = &LIGHT_AIRCRAFT;
            line = "{} temporary switched off because you do not have light aircraft installed";
            break;
        default: return;
    }
    if (par->current) {
        par->current = false;
        gf_saveParameter(*par);
        gf_logLine(fmt::format(fmt::runtime(line), par->name));
    }
    gf_setControlEnabled(par->controlId, false);
}

void lf_reportCategory(ModelCategory c) {
    size_t pax = 0, cargo = 0;
    std::set<std::string> models;
    for (const auto* table : {&liveries.paxModelLiveries, &liveries.cargoModelLiveries})
        for (const auto& [model, titles] : *table) {
            if (gf_modelCategory(model) != c) continue;
            (table == &liveries.paxModelLiveries ? pax : cargo) += titles.size();
            models.insert(model);
        }
    const char* name = gf_modelCategoryName(c);
    if (pax + cargo == 0) {
        gf_logf("Category {}: No livery found", name);
        lf_switchOffCategory(c);
        return;
    }
    std::string line = fmt::format("Category {}: {} pax liverie{}", name, pax, gf_plural(static_cast<long long>(pax)));
    if (cargo > 0) line += fmt::format(" and {} cargo liverie{}", cargo, gf_plural(static_cast<long long>(cargo)));
    gf_logLine(line);
    const std::vector<std::string> sorted(models.begin(), models.end());
    lf_logModelRows(sorted);
    if (c == ModelCategory::Light) liveries.lightModels = sorted;
    if (c == ModelCategory::Buzjets) liveries.buzjetModels = sorted;
    if (c == ModelCategory::Rotorcraft) liveries.rotorcraftModels = sorted;
}

}  // namespace

// Each step reads what the one before built.
void gf_processScannedLiveries() {
    gf_logLine("\nProcessing scanned liveries");
    liveries.liveryCount = static_cast<int64_t>(liveries.liveryList.size());
    panel.liveryCount = liveries.liveryCount;
    gf_invalidate(Band::Status);
    lf_buildAirlineTable();
    lf_buildCargoPaxTables();
    lf_buildInlineRegcodes();
    lf_readRegcodeFiles();
    gf_logf("{} registration codes", liveries.regcodeLiveries.size());
    lf_buildModelTables();
    gf_logf("{} airlines, {} pax aircraft models and {} cargo aircraft models", liveries.airlineLiveries.size(),
            liveries.paxModelLiveries.size(), liveries.cargoModelLiveries.size());
    lf_buildSimilar();
    lf_reportGenericLiveries();
    for (int c = 0; c < kModelCategoryCount; ++c) lf_reportCategory(static_cast<ModelCategory>(c));
    liveries.liveryList.clear();
}
