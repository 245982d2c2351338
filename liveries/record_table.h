// liveries/record_table.h — the registration table of the database: ~150k records read at every start,
// so it is built flat: the keys' characters in one block, the records in one vector, and an
// open-addressing index of 4-byte slots beside them, instead of one heap node (or string) per record.
// A lookup is one hash and, nearly always, one slot and one key comparison.
//
// Filling is two steps: add() every key and record in file order, then build() the index once.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

template <typename Record>
class FlatRecordTable {
public:
    FlatRecordTable() { clear(); }

    size_t size() const { return kept_; }  // records that a key finds; dropped duplicates do not count
    bool empty() const { return kept_ == 0; }
    void clear() {
        chars_.clear();
        used_ = 0;
        keyStart_.assign(1, 0);
        records_.clear();
        hashes_.clear();
        slots_.clear();
        kept_ = 0;
    }
    void reserve(size_t records, size_t keyChars) {
        records_.reserve(records);
        keyStart_.reserve(records + 1);
        hashes_.reserve(records);
        if (chars_.size() < keyChars) chars_.resize(keyChars);
    }

    // Appends one record; it is found only after the next build(). `writeKey(char*)` writes the key's
    // `keyLength` characters in place, so that a decoder needs no buffer of its own.
    template <typename WriteKey>
    void add(size_t keyLength, WriteKey&& writeKey, const Record& record) {
        // kSlack characters stay spare past the last key, so the hash may read a key's tail as one word.
        if (used_ + keyLength + kSlack > chars_.size())
            chars_.resize(std::max(chars_.size() * 2, used_ + keyLength + kSlack));
        writeKey(chars_.data() + used_);
        hashes_.push_back(hashStored({chars_.data() + used_, keyLength}));  // while the key is in the cache
        used_ += keyLength;
        keyStart_.push_back(static_cast<uint32_t>(used_));
        records_.push_back(record);
    }
    void add(std::string_view key, const Record& record) {
        add(
            key.size(), [&](char* to) { std::copy(key.begin(), key.end(), to); }, record);
    }

    // Indexes every record added; of equal keys the first added stays. Returns the keys dropped, in the
    // order they were added.
    std::vector<std::string> build() {
        const size_t n = records_.size();
        if (n >= (size_t{1} << 28)) throw std::length_error("record table too large");
        size_t slots = 64;  // a load of at most 2/3 keeps the probe runs short
        while (slots < n + n / 2) slots *= 2;
        slots_.assign(slots, 0);
        indexBits_ = static_cast<unsigned>(std::bit_width(n));
        const size_t mask = slots - 1;
        if (hashes_.size() != n) {  // built before: the keys indexed then have no hash kept
            hashes_.resize(n);
            for (size_t e = 0; e < n; ++e) hashes_[e] = hashStored(key(e));
        }
        std::vector<std::string> droppedKeys;
        for (size_t e = 0; e < n; ++e) {
            // The home slots are spread over the whole index: ask for the one a few records ahead now, so
            // that it has arrived when its turn comes.
            if (e + kPrefetchAhead < n) lf_prefetch(&slots_[hashes_[e + kPrefetchAhead] & mask]);
            const std::string_view k = key(e);
            const uint64_t h = hashes_[e];
            const uint32_t t = tag(h);
            size_t i = h & mask;
            bool duplicate = false;
            for (; slots_[i] != 0; i = (i + 1) & mask)
                if (slotTag(slots_[i]) == t && key(slotRecord(slots_[i])) == k) {
                    duplicate = true;  // the one already there came first
                    break;
                }
            if (duplicate)
                droppedKeys.emplace_back(k);
            else
                slots_[i] = t << indexBits_ | static_cast<uint32_t>(e + 1);
        }
        kept_ = n - droppedKeys.size();
        hashes_.clear();
        hashes_.shrink_to_fit();
        return droppedKeys;
    }

    const Record* find(std::string_view wanted) const {
        if (slots_.empty()) return nullptr;
        const uint64_t h = hash(wanted);
        const uint32_t t = tag(h);
        const size_t mask = slots_.size() - 1;
        for (size_t i = h & mask; slots_[i] != 0; i = (i + 1) & mask)
            if (slotTag(slots_[i]) == t && key(slotRecord(slots_[i])) == wanted)
                return &records_[slotRecord(slots_[i])];
        return nullptr;
    }

private:
    static constexpr size_t kPrefetchAhead = 16;
    static constexpr size_t kSlack = 8;
    static void lf_prefetch(const void* p) {
#if defined(__GNUC__) || defined(__clang__)
        __builtin_prefetch(p);
#else
        (void)p;
#endif
    }

    // A slot is 4 bytes, so that the index of ~150k records (1 MB) stays in the processor's cache while it
    // is built: the low indexBits_ bits hold the record number + 1 (0 is a free slot), the bits above
    // them the top of the key's hash, so that most mismatches never touch the key.
    uint32_t tag(uint64_t h) const { return static_cast<uint32_t>(h >> 32) >> indexBits_; }
    uint32_t slotTag(uint32_t slot) const { return slot >> indexBits_; }
    size_t slotRecord(uint32_t slot) const { return (slot & ((uint32_t{1} << indexBits_) - 1)) - 1; }

    // Eight characters at a time, each word mixed in by a multiply and a shift, then a final mix so that
    // the low bits (the home slot) depend on every character. Keys are registrations of a few characters.
    static uint64_t hash(std::string_view s) {
        const char* p = s.data();
        size_t left = s.size();
        uint64_t h = lf_mixWords(s.size(), p, left);
        uint64_t w = 0;
        for (size_t i = 0; i < left; ++i) w |= static_cast<uint64_t>(static_cast<unsigned char>(p[i])) << (8 * i);
        return lf_finish(h, w);
    }
    // The same for a key of the table, whose tail word may be read whole thanks to the slack behind the
    // keys (the bytes past the key are masked off).
    static uint64_t hashStored(std::string_view s) {
        if constexpr (std::endian::native != std::endian::little) return hash(s);
        const char* p = s.data();
        size_t left = s.size();
        uint64_t h = lf_mixWords(s.size(), p, left);
        uint64_t w;
        std::memcpy(&w, p, 8);
        w &= left == 0 ? 0 : ~uint64_t{0} >> (64 - 8 * left);
        return lf_finish(h, w);
    }
    static uint64_t lf_mixWords(size_t size, const char*& p, size_t& left) {
        uint64_t h = size * 0x9e3779b97f4a7c15ULL;
        for (; left >= 8; p += 8, left -= 8) {
            uint64_t w;
            std::memcpy(&w, p, 8);
            h = (h ^ w) * 0xbf58476d1ce4e5b9ULL;
            h ^= h >> 31;
        }
        return h;
    }
    static uint64_t lf_finish(uint64_t h, uint64_t tail) {
        h = (h ^ tail) * 0x94d049bb133111ebULL;
        h ^= h >> 29;
        h *= 0xff51afd7ed558ccdULL;
        h ^= h >> 32;
        return h;
    }

    std::string_view key(size_t e) const { return {chars_.data() + keyStart_[e], keyStart_[e + 1] - keyStart_[e]}; }

    std::vector<char> chars_;         // every key's characters, one after the other, then spare room
    size_t used_ = 0;                 // characters of chars_ in use
    std::vector<uint32_t> keyStart_;  // key e spans [keyStart_[e], keyStart_[e + 1]) of chars_
    std::vector<Record> records_;     // in the order added, dropped duplicates included
    std::vector<uint64_t> hashes_;    // of the keys added since the last build()
    std::vector<uint32_t> slots_;
    unsigned indexBits_ = 1;
    size_t kept_ = 0;
};
