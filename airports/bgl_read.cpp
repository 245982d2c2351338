// airports/bgl_read.cpp — a BGL file as words: bounds-checked access, the quick filter, the walk of the
// airport sections, and the two packed texts (ICAO code, airport name).
#include <bit>
#include <cstring>
#include <fstream>

#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/bgl.h"
#include "frame/core/log.h"

namespace fs = std::filesystem;

uint32_t gf_bglWord(const BglWords& words, size_t n) {
    if (n >= words.size()) throw BglRangeError(fmt::format("word {} beyond the end ({} words)", n, words.size()));
    return words[n];
}

uint8_t gf_bglByte(const BglWords& words, size_t b) {
    return static_cast<uint8_t>(gf_bglWord(words, b / 4) >> (8 * (b % 4)));
}

uint16_t gf_bglU16(const BglWords& words, size_t b) {
    return static_cast<uint16_t>(gf_bglByte(words, b) | (gf_bglByte(words, b + 1) << 8));
}

uint32_t gf_bglU32(const BglWords& words, size_t b) {
    if (b % 4 == 0) return gf_bglWord(words, b / 4);
    return uint32_t{gf_bglU16(words, b)} | (uint32_t{gf_bglU16(words, b + 2)} << 16);
}

float gf_bglFloat(const BglWords& words, size_t n) {
    const uint32_t w = gf_bglWord(words, n);
    float f;
    std::memcpy(&f, &w, sizeof f);
    return f;
}

BglWords gf_bglWordsOf(const std::string& bytes) {
    BglWords words((bytes.size() + 3) / 4, 0);
    if constexpr (std::endian::native == std::endian::little) {
        // The file's byte order is the machine's: one copy, the tail already zero.
        if (!bytes.empty()) std::memcpy(words.data(), bytes.data(), bytes.size());
    } else {
        for (size_t b = 0; b < bytes.size(); ++b)
            words[b / 4] |= uint32_t{static_cast<uint8_t>(bytes[b])} << (8 * (b % 4));
    }
    return words;
}

namespace {

// Opens a file for reading and tells its length in bytes; -1 when it does not open.
std::streamoff lf_openSized(const fs::path& path, std::ifstream& in) {
    in.open(path, std::ios::binary);
    if (!in) return -1;
    in.seekg(0, std::ios::end);
    const std::streamoff length = in.tellg();
    in.seekg(0);
    return length;
}

}  // namespace

bool gf_bglReadBytes(const fs::path& path, std::string& out, size_t limit) {
    std::ifstream in;
    const std::streamoff length = lf_openSized(path, in);
    if (length < 0) return false;
    const size_t n = limit == 0 ? static_cast<size_t>(length) : std::min(limit, static_cast<size_t>(length));
    out.resize(n);
    in.read(out.data(), static_cast<std::streamsize>(n));
    out.resize(static_cast<size_t>(in.gcount()));
    return true;
}

bool gf_bglReadWords(const fs::path& path, BglWords& words) {
    std::ifstream in;
    const std::streamoff length = lf_openSized(path, in);
    if (length < 0) return false;
    // Straight into the words: the zeros of the resize pad a last word the file fills only in part.
    words.assign((static_cast<size_t>(length) + 3) / 4, 0);
    in.read(reinterpret_cast<char*>(words.data()), length);
    if constexpr (std::endian::native != std::endian::little)
        for (uint32_t& w : words) w = (w >> 24) | ((w >> 8) & 0xFF00) | ((w << 8) & 0xFF0000) | (w << 24);
    return true;
}

bool gf_bglHasAirports(const fs::path& path) {
    // One read covers the header and the section table of nearly every file; a longer table is read again.
    constexpr size_t kFirstRead = 4096;
    std::string head;
    if (!gf_bglReadBytes(path, head, kFirstRead) || head.size() < kBglHeaderSize) return false;
    uint32_t headerSize, sections;
    std::memcpy(&headerSize, head.data() + 4, 4);
    std::memcpy(&sections, head.data() + 20, 4);
    // A count beyond what a real file holds is a damaged header: the table would not fit in 4 GB.
    if (headerSize != kBglHeaderSize || sections == 0 || sections > (1u << 24)) return false;
    const size_t tableEnd = kBglHeaderSize + size_t{sections} * 20;
    if (head.size() <= tableEnd && (!gf_bglReadBytes(path, head, tableEnd + 1) || head.size() <= tableEnd))
        return false;  // the file must be longer than its table
    for (uint32_t s = 0; s < sections; ++s) {
        uint32_t type;
        std::memcpy(&type, head.data() + kBglHeaderSize + size_t{s} * 20, sizeof type);
        if (type == kBglAirportSection) return true;
    }
    return false;
}

std::string lf_decodeIdentifierOrRegionCode(uint32_t word, bool& valid) {
    valid = true;
    std::string reversed;
    for (uint32_t v = word >> 5; v != 0; v /= 38) {
        const uint32_t d = v % 38;
        if (d == 0) {
            valid = false;
            reversed += ' ';
        } else {
            reversed += static_cast<char>(d >= 2 && d <= 11 ? d + 46 : d + 53);
        }
    }
    const std::string text(reversed.rbegin(), reversed.rend());
    if (text.size() != 4) valid = false;
    return text;
}

std::string lf_decodeAirportNAME(const BglWords& words, size_t index, size_t nrDWORDS) {
    std::string name;
    try {
        const size_t length = std::min<size_t>(kBglNameMax, (gf_bglU32(words, index * 4 + 2) & 0xFFFF) - 6);
        if (length > 0xFFFF) return {};  // a size below the header: no name
        const size_t n = length < 2 ? 0 : (length - 2) / 4;
        if (index + 1 + n >= nrDWORDS) {
            gf_logMark(fmt::format("! o3: {} of d out of range nrDWORDS: {}", index, nrDWORDS));
            return {};
        }
        // The text begins at byte 6: the upper half of word 1, then whole words, then the rest.
        for (size_t b = 0; b < length; ++b) name += static_cast<char>(gf_bglByte(words, index * 4 + 6 + b));
        // The compiler pads the name to whole words with zero bytes.
        while (!name.empty() && name.back() == '\0') name.pop_back();
    } catch (const std::exception& e) {
        gf_logLine(fmt::format("EXCEPTION in lf_decodeAirportNAME: {}", e.what()));
    }
    return name;
}

namespace {

// One airport record at word `i` of `size` bytes: its sub-records up to the parking list.
void lf_decodeAirport(const BglWords& words, size_t i, uint32_t size, bool newForm, const std::string& icao,
                      const std::string& path, const BglAirportSink& sink) {
    BglAirport airport;
    airport.data.icao = icao;
    airport.recordWord = static_cast<uint32_t>(i);
    // Millimetres to feet; a height outside the simulator's world is a damaged record.
    const int64_t feet = std::llround(gf_bglWord(words, i + 5) * 3.2808399 / 1000.0);
    airport.data.altitude = feet < -20 || feet > 10000 ? 0 : static_cast<int32_t>(feet);
    BglAirportWork work;
    bool nameSeen = false;
    const size_t end = i * 4 + size;
    for (size_t b = i * 4 + (newForm ? 60 : 56); b + 6 <= end;) {
        const uint16_t id = gf_bglU16(words, b);
        const uint32_t subSize = gf_bglU32(words, b + 2);
        if (b + subSize > words.size() * 4)
            throw BglRangeError(
                fmt::format("sub-record 0x{:04X} of {} bytes at byte {} passes the end", id, subSize, b));
        const size_t w = b / 4;
        if (id == kBglName) {
            // Two names that differ leave the airport without one; a third one names it again.
            const std::string name = lf_decodeAirportNAME(words, w, words.size());
            if (!nameSeen || airport.data.name.empty())
                airport.data.name = name;
            else if (name != airport.data.name)
                airport.data.name.clear();
            nameSeen = true;
        } else if (id == kBglHelipad) {
            lf_readHelipad(w, words, airport, work);
        } else if (id == (newForm ? kBglParkingNew : kBglParkingOld)) {
            lf_readParkings(w, words, airport, work, newForm, path);
            if (work.doubles) lf_resolveDoubleStands(airport.data.stands);
            break;  // the parking list is the last thing the airport needs
        }
        const size_t next = (b + subSize) & ~size_t{3};
        if (next <= b) break;  // a size that does not move on would walk forever
        b = next;
    }
    sink(airport);
}

}  // namespace

void gf_decodeBglAirports(const BglWords& words, const std::string& path, const BglAirportSink& sink) {
    if (words.size() < kBglMinWords || words[1] != kBglHeaderSize) return;
    const uint32_t sections = words[5];
    for (uint32_t s = 0; s < sections; ++s) {
        const size_t entry = 14 + size_t{s} * 5;
        if (gf_bglWord(words, entry) != kBglAirportSection) continue;
        if ((((gf_bglWord(words, entry + 1) & 0x10000) | 0x40000) >> 14) != kBglSubsectionSize) continue;
        // Each sub-section entry: word 1 the record count, word 2 the byte offset of its data, word 3 its
        // size. The walk stays inside that extent: behind it lie other sections, whose bytes may look like
        // an airport record by chance.
        const uint32_t subsections = gf_bglWord(words, entry + 2);
        const size_t table = gf_bglWord(words, entry + 3) / 4;
        for (uint32_t k = 0; k < subsections; ++k) {
            const size_t first = gf_bglWord(words, table + size_t{k} * 4 + 2) / 4;
            const size_t stated = first + (gf_bglWord(words, table + size_t{k} * 4 + 3) + 3) / 4;
            const size_t end = std::min(words.size(), stated);
            for (size_t i = first; i + 2 <= end;) {  // a record head is 6 bytes
                const uint16_t id = gf_bglU16(words, i * 4);
                const uint32_t size = gf_bglU32(words, i * 4 + 2);
                if (id == kBglAirportOld || id == kBglAirportNew) {
                    if (size_t{size} > (words.size() - i) * 4)
                        throw BglRangeError(
                            fmt::format("airport record of {} bytes at byte {} passes the end", size, i * 4));
                    bool valid = false;
                    const std::string icao = lf_decodeIdentifierOrRegionCode(gf_bglWord(words, i + 10), valid);
                    if (valid) lf_decodeAirport(words, i, size, id == kBglAirportNew, icao, path, sink);
                }
                if (size / 4 == 0) break;  // a step that does not move on ends the walk
                i += size / 4;
            }
            // A cut file: what lay before the cut has been handed over; the rest is reported.
            if (stated > words.size())
                throw BglRangeError(
                    fmt::format("airport data end at byte {}, the file at {}", stated * 4, words.size() * 4));
        }
    }
}
