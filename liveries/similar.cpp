// liveries/similar.cpp — the tables that lead from a type without a livery to related types with one.
#include <algorithm>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "frame/core/log.h"
#include "liveries/dbase.h"

namespace {

std::string lf_join(const std::vector<std::string>& list) { return fmt::format("{}", fmt::join(list, ",")); }

}  // namespace

// Reads dbase.similarGroups; writes dbase.similarPresent and dbase.similarByAirline.
void lf_buildSimilarTables(const SimilarInputs& in) {
    dbase.similarPresent.clear();
    dbase.similarByAirline.clear();

    // Per group and position: the code there, then the others of the group that have a livery, lower
    // positions first. Lists are kept by their joined text so that equal ones collapse and the
    // first in sorted order wins a head that stands in two groups.
    std::vector<std::pair<std::string, std::vector<std::string>>> lists;
    for (const auto& group : dbase.similarGroups) {
        for (size_t i = 0; i < group.size(); ++i) {
            std::vector<std::string> list{group[i]};
            for (size_t j = 0; j < group.size(); ++j)
                if (j != i && in.modelsWithLivery.count(group[j])) list.push_back(group[j]);
            if (list.size() < 2) continue;
            lists.emplace_back(lf_join(list), std::move(list));
        }
    }
    std::sort(lists.begin(), lists.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    lists.erase(
        std::unique(lists.begin(), lists.end(), [](const auto& a, const auto& b) { return a.first == b.first; }),
        lists.end());
    for (auto& [text, list] : lists)
        dbase.similarPresent.try_emplace(list.front(), std::vector<std::string>(list.begin() + 1, list.end()));

    // Livery keys that share their first 3 characters are one airline.
    std::map<std::string, std::set<std::string>> airlines;
    for (const auto& [key, models] : in.airlineModels) airlines[key.substr(0, 3)].insert(models.begin(), models.end());
    for (const auto& [airline, has] : airlines) {
        std::unordered_map<std::string, std::vector<std::string>> byModel;
        for (const auto& [model, followers] : dbase.similarPresent) {
            if (has.count(model)) continue;
            std::vector<std::string> reduced;
            for (const std::string& f : followers)
                if (has.count(f)) reduced.push_back(f);
            if (!reduced.empty()) byModel.emplace(model, std::move(reduced));
        }
        if (!byModel.empty()) dbase.similarByAirline.emplace(airline, std::move(byModel));
    }
    gf_logf("{} similar model definitions", dbase.similarPresent.size());
}
