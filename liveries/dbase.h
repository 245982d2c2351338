// liveries/dbase.h — the aircraft and airline database (input/dbase.xml): valid type codes and their
// categories and wingspans, similar types, airline codes, scenery publishers, and the real-world
// registrations. Filled once per process before the first run; read-only afterwards, apart from the
// in-place shuffles of the similar lists by the livery matching.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <fmt/format.h>

#include "liveries/record_table.h"

enum class ModelCategory : int32_t { Light = 0, Buzjets = 1, Large = 2, Heavy = 3, HighPerf = 4, Rotorcraft = 5 };
const char* gf_modelCategoryName(ModelCategory c);  // "Light", "Buzjets", ...
inline constexpr int kModelCategoryCount = 6;

// A code of at most N characters held inside its record: ~150k registrations carry a type and up to two
// airline codes each, and a start-up that gave each its own string would spend its time copying them.
// Reads like a string; text longer than N characters is refused with std::length_error.
template <size_t N>
class ShortCode {
public:
    ShortCode() = default;
    ShortCode(std::string_view text) {  // NOLINT: converts like a string does
        if (text.size() > N) throw std::length_error(fmt::format("code \"{}\" longer than {} characters", text, N));
        for (size_t i = 0; i < text.size(); ++i) chars_[i] = text[i];
    }
    ShortCode(const std::string& text) : ShortCode(std::string_view(text)) {}  // NOLINT
    ShortCode(const char* text) : ShortCode(std::string_view(text)) {}         // NOLINT
    // Filled by a decoder that writes at most N characters to the place it is given and returns their
    // number: the database read decodes into its records without a string in between.
    template <typename Decoder>
    static ShortCode decoded(Decoder&& decode) {
        ShortCode code;
        decode(code.chars_);
        return code;
    }
    std::string_view view() const { return {chars_, size()}; }
    operator std::string() const { return std::string(view()); }  // NOLINT
    size_t size() const {
        size_t n = 0;
        while (n < N && chars_[n] != '\0') ++n;
        return n;
    }
    bool empty() const { return chars_[0] == '\0'; }
    friend bool operator==(const ShortCode& a, std::string_view b) { return a.view() == b; }
    friend std::ostream& operator<<(std::ostream& os, const ShortCode& c) { return os << c.view(); }

private:
    char chars_[N] = {};  // unused places hold zeros
};

// One real-world registration.
struct DbaseRecord {
    ShortCode<3> airl;   // airline the aircraft belongs to; may be empty
    ShortCode<4> type;   // ICAO type code; may be empty
    ShortCode<3> opr;    // operator when other than the airline; mostly empty
    bool cargo = false;  // a freighter
};

inline constexpr const char* kGenericAirline = "ZZZ";
inline constexpr const char* kPrivateAirline = "PVT";

// Half wingspan (nm) of a category that has no wingspan row at all: a typical member's full span in
// metres, halved. Used until the wingspans section gives the category a mean of its own.
inline constexpr std::array<double, kModelCategoryCount> kDefaultHalfWingspanNm = {
    11.0 * 0.5 / 1852.0,  // Light: a four-seat single
    16.0 * 0.5 / 1852.0,  // Buzjets: a mid-size business jet
    34.0 * 0.5 / 1852.0,  // Large: an A320 or B737
    60.0 * 0.5 / 1852.0,  // Heavy: an A330 or B777
    11.0 * 0.5 / 1852.0,  // HighPerf: a fighter
    12.0 * 0.5 / 1852.0,  // Rotorcraft: a medium helicopter's rotor
};

// Everything read from dbase.xml. Written by gf_readDbase on the start-up thread, read by all threads
// afterwards; only similarPresent and similarByAirline change later (built with the liveries, shuffled
// in place by the matching).
struct DbaseTables {
    std::set<std::string> aircraft;         // every valid ICAO type code
    std::set<std::string> highPerformance;  // category sets, see gf_modelCategory
    std::set<std::string> heavy;
    std::set<std::string> large;
    std::set<std::string> buzjet;
    std::set<std::string> rotorcraft;
    std::set<std::string> cargoTypes;                     // freighters by nature; not consulted
    std::set<std::string> icaoAirlines;                   // every valid airline code
    std::set<std::string> cargoOperators;                 // airlines that fly freight; not consulted
    std::vector<std::vector<std::string>> similarGroups;  // type code groups in file order
    // Built by lf_buildSimilarTables: type code -> related types that have a livery.
    std::unordered_map<std::string, std::vector<std::string>> similarPresent;
    // airline -> type it lacks -> related types it has a livery of.
    std::unordered_map<std::string, std::unordered_map<std::string, std::vector<std::string>>> similarByAirline;
    std::map<std::string, double> wingspans;                                               // type code -> half span, nm
    std::array<double, kModelCategoryCount> averageHalfWingspan = kDefaultHalfWingspanNm;  // nm, per category
    double largestHalfWingspan = 0.0;                                                      // nm
    std::vector<std::vector<std::string>> publishers;  // groups of names; the first is the one used
    FlatRecordTable<DbaseRecord> records;              // decoded registration -> record
};
extern DbaseTables dbase;  // defined in liveries/dbase.cpp
// Empties the database. A restart keeps it; tests call this to start from nothing.
void gf_clearDbase();

void gf_readDbase();  // fills the tables from input/dbase.xml (emptied first); failures raise
bool gf_isValidModel(const std::string& model);
bool gf_isIcaoAirline(const std::string& airline);
ModelCategory gf_modelCategory(const std::string& model);
double gf_halfWingspan(const std::string& model);             // nm
const DbaseRecord* gf_dbaseFind(const std::string& regcode);  // nullptr when none
std::string gf_dbaseAirline(const std::string& regcode);
std::string gf_dbaseType(const std::string& regcode);
std::string gf_dbaseOperator(const std::string& regcode);
std::string gf_publisherFromFileName(const std::string& fileName);  // "unknown" when none fits

// Where gf_publisherFromFileName writes its "from filename => publisher" line: the airport scan's
// report sets it while it runs; nullptr drops the line.
using PublisherScanLog = void (*)(const std::string& line);
extern PublisherScanLog publisherScanLog;

// The spellings of a registration, tried in order: the regcode itself, and for 5 characters or more
// without "-" and not beginning with "N" also "DA-BCD" and "D-ABCD" forms.
std::vector<std::string> lf_regcodeVariants(const std::string& regcode);

// What lf_buildSimilarTables needs of the livery tables.
struct SimilarInputs {
    std::unordered_set<std::string> modelsWithLivery;  // keys of paxModelLiveries and cargoModelLiveries
    // Keys of airlineLiveries (cut to 3 characters when used) -> the models of that key.
    std::map<std::string, std::set<std::string>> airlineModels;
};
// Fills similarPresent and similarByAirline from similarGroups and the liveries present.
void lf_buildSimilarTables(const SimilarInputs& in);
