// bench/learned_history.h — what weeks of learning leave in an airport file, for the benchmarks: each
// stand, each day, a few aircraft of a pool of 300 for some half hours; the same aircraft at the same
// stand and day merges into its option where the hours meet. The fourth of each day was seen near the
// stand (soft); with `coupled` the third leaves under the next flight number.
#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include <fmt/format.h>

#include "airports/airport_file.h"

inline void gf_fillLearnedHistory(std::vector<Stand>& stands, int weeks, int perDay, bool coupled) {
    std::mt19937 rng(42);
    for (Stand& s : stands) {
        s.options.clear();
        for (int week = 0; week < weeks; ++week)
            for (uint32_t day = 1; day <= 7; ++day)
                for (int k = 0; k < perDay; ++k) {
                    const uint32_t n = rng() % 300;
                    const int start = static_cast<int>(rng() % 44);
                    const uint64_t hours = ((uint64_t{1} << (1 + rng() % 4)) - 1) << start;
                    s.options.push_back({"AFR", "A320", fmt::format("FGK{:03}", n), fmt::format("AFR{}", n),
                                         coupled && k == 2 ? fmt::format("AFR{}", n + 1) : "", hours,
                                         static_cast<uint32_t>(s.options.size() + 1), day, true, k == 3});
                }
    }
}
