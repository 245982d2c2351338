// airports/bgl.h — the reader of the simulator's compiled scenery files (".bgl"): of the whole format only
// the section table, the airport records and three of their sub-records (name, helipad, parking list),
// which become the stands of an airport file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "airports/airport_file.h"

// A file as little-endian 32-bit words; a last word the file fills only in part is padded with zeros.
// Every access goes through gf_bglWord/gf_bglByte, which throw BglRangeError past the end.
using BglWords = std::vector<uint32_t>;

struct BglRangeError : std::out_of_range {
    using std::out_of_range::out_of_range;
};

inline constexpr uint32_t kBglHeaderSize = 56;      // bytes; any other value: not a file of this format
inline constexpr uint32_t kBglMinWords = 15;        // header and one word of the section table
inline constexpr uint32_t kBglAirportSection = 3;   // section type of the airports
inline constexpr uint32_t kBglSubsectionSize = 16;  // bytes of a sub-section entry; the only size handled
inline constexpr uint16_t kBglAirportOld = 0x003C;  // airport record, older form (sub-records from byte 56)
inline constexpr uint16_t kBglAirportNew = 0x00AB;  // airport record, newer form (sub-records from byte 60)
inline constexpr uint16_t kBglName = 0x0019;
inline constexpr uint16_t kBglHelipad = 0x0026;
inline constexpr uint16_t kBglParkingOld = 0x003D;                  // entries of 9 words
inline constexpr uint16_t kBglParkingNew = 0x00AD;                  // entries of 10 words
inline constexpr double kBglLatitudeUnit = 3.3527612686157227e-07;  // degrees per raw unit: 180 / 2^29
inline constexpr double kBglLongitudeUnit = 4.470348358154297e-07;  // degrees per raw unit: 360 / (3 * 2^28)
inline constexpr size_t kBglNameMax = 45;                           // bytes kept of an airport name

// Word n of the file (bytes 4n .. 4n+3); throws BglRangeError beyond the end.
uint32_t gf_bglWord(const BglWords& words, size_t n);
// Byte b, 16 bits and 32 bits at byte b, little endian, bounds-checked like gf_bglWord.
uint8_t gf_bglByte(const BglWords& words, size_t b);
uint16_t gf_bglU16(const BglWords& words, size_t b);
uint32_t gf_bglU32(const BglWords& words, size_t b);
float gf_bglFloat(const BglWords& words, size_t n);  // word n as a 32-bit float

// Bytes into words, the last one padded with zero bytes.
BglWords gf_bglWordsOf(const std::string& bytes);
// Reads a whole file as words; false when it does not open.
bool gf_bglReadWords(const std::filesystem::path& path, BglWords& words);
// Reads up to `limit` bytes of a file (all when 0); false when it does not open.
bool gf_bglReadBytes(const std::filesystem::path& path, std::string& out, size_t limit = 0);
// Quick filter: at least 15 bytes, sections, longer than the section table, one section of type 3. Reads
// the header and the section table only; false for a file that does not open.
bool gf_bglHasAirports(const std::filesystem::path& path);

// One airport record of a file decoded into its stands and helipads (helipads counted apart).
struct BglAirport {
    AirportFileData data;     // icao, name, altitude, stands; publisher and bglPath are the scan's
    uint32_t recordWord = 0;  // index of the record's first word in the file
    int32_t helipads = 0;
};
// Called for each airport as soon as it is decoded, so that a fault further on keeps what came before.
using BglAirportSink = std::function<void(BglAirport&)>;

// Walks the airport sections of a file's words and hands every airport with a valid ICAO code to `sink`.
// Throws BglRangeError when a record or field lies beyond the end; airports handed over stay handed over.
void gf_decodeBglAirports(const BglWords& words, const std::string& path, const BglAirportSink& sink);
// The ICAO code packed in a word (base 38 digits above the low 5 bits); `valid` when 4 characters, none blank.
std::string lf_decodeIdentifierOrRegionCode(uint32_t word, bool& valid);
// The name sub-record that begins at word `index`; at most 45 bytes.
std::string lf_decodeAirportNAME(const BglWords& words, size_t index, size_t nrDWORDS);

// What the walk of one airport's sub-records keeps: the stand ids so far and the helipads.
struct BglAirportWork {
    std::set<std::string> ids;                                // stand names taken
    std::vector<std::pair<double, double>> helipadPositions;  // latitude, longitude of the helipads taken
    int32_t helipadSerial = 1;                                // the next helipad's number
    bool doubles = false;                                     // some stand took a suffix "a".."f": sort them by size
};
// The helipad sub-record at word `index`.
void lf_readHelipad(size_t index, const BglWords& words, BglAirport& airport, BglAirportWork& work);
// The parking list at word `index`, of the newer form (10-word entries) or the older one (9 words).
void lf_readParkings(size_t index, const BglWords& words, BglAirport& airport, BglAirportWork& work, bool newForm,
                     const std::string& path);
// Stands of the same id told apart by size: the widest keeps the plain id, the next get "a", "b", ...
void lf_resolveDoubleStands(std::vector<Stand>& stands);
