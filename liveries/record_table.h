// liveries/record_table.h — the registration table of the database: ~150k records read at every start,
// so it is built flat (records in one vector, an open-addressing index of 8-byte slots beside them)
// rather than as one heap node per record. A lookup is one hash and, nearly always, one slot and one
// key comparison.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

template <typename Record>
class FlatRecordTable {
public:
    using Entry = std::pair<std::string, Record>;

    size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    void clear() {
        entries_.clear();
        slots_.clear();
    }
    const std::vector<Entry>& entries() const { return entries_; }

    const Record* find(std::string_view key) const {
        if (slots_.empty()) return nullptr;
        const uint64_t h = std::hash<std::string_view>{}(key);
        for (size_t i = h & mask(); slots_[i].index != 0; i = (i + 1) & mask())
            if (slots_[i].tag == tag(h) && entries_[slots_[i].index - 1].first == key)
                return &entries_[slots_[i].index - 1].second;
        return nullptr;
    }

    // Replaces the table by these entries, in their order; of equal keys the first stays. Returns the
    // keys dropped, in order. Entries are placed in the order of their home slots, so that building
    // walks the index from front to back instead of missing the cache once per record.
    std::vector<std::string> assign(std::vector<Entry>&& entries) {
        const size_t n = entries.size();
        size_t slots = 64;
        while (slots < n * 2) slots *= 2;
        slots_.assign(slots, Slot{});
        std::vector<uint64_t> hashes(n);
        for (size_t e = 0; e < n; ++e) hashes[e] = std::hash<std::string_view>{}(entries[e].first);

        // Stable counting sort of the entries by the top bits of their home slot.
        const size_t shift = slots > 4096 ? static_cast<size_t>(std::countr_zero(slots)) - 12 : 0;
        std::vector<uint32_t> start((slots >> shift) + 1, 0);
        for (size_t e = 0; e < n; ++e) ++start[((hashes[e] & (slots - 1)) >> shift) + 1];
        for (size_t b = 1; b < start.size(); ++b) start[b] += start[b - 1];
        std::vector<uint32_t> order(n);
        for (size_t e = 0; e < n; ++e) order[start[(hashes[e] & (slots - 1)) >> shift]++] = static_cast<uint32_t>(e);

        std::vector<bool> dropped(n, false);
        for (const uint32_t e : order) {
            const uint64_t h = hashes[e];
            size_t i = h & (slots - 1);
            bool duplicate = false;
            for (; slots_[i].index != 0; i = (i + 1) & (slots - 1))
                if (slots_[i].tag == tag(h) && entries[slots_[i].index - 1].first == entries[e].first) {
                    // Equal keys share a home slot, so they meet here; keep the earlier one.
                    const uint32_t other = slots_[i].index - 1;
                    if (e < other) slots_[i].index = e + 1;
                    dropped[std::max<uint32_t>(e, other)] = true;
                    duplicate = true;
                    break;
                }
            if (!duplicate) slots_[i] = {e + 1, tag(h)};
        }

        // Close the gaps of dropped entries and renumber the slots.
        std::vector<std::string> droppedKeys;
        std::vector<uint32_t> renumber(n + 1, 0);
        size_t kept = 0;
        for (size_t e = 0; e < n; ++e) {
            if (dropped[e]) {
                droppedKeys.push_back(std::move(entries[e].first));
                continue;
            }
            if (kept != e) entries[kept] = std::move(entries[e]);
            renumber[e + 1] = static_cast<uint32_t>(++kept);
        }
        entries.resize(kept);
        if (!droppedKeys.empty())
            for (Slot& s : slots_) s.index = renumber[s.index];
        entries_ = std::move(entries);
        return droppedKeys;
    }

private:
    struct Slot {
        uint32_t index = 0;  // entry number + 1; 0 is a free slot
        uint32_t tag = 0;    // high half of the hash, so most mismatches never touch the entry
    };
    static uint32_t tag(uint64_t h) { return static_cast<uint32_t>(h >> 32); }
    size_t mask() const { return slots_.size() - 1; }

    std::vector<Entry> entries_;
    std::vector<Slot> slots_;
};
