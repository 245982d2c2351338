// liveries/dbase.h — the aircraft and airline database (input/dbase.xml): valid type codes and their
// categories and wingspans, similar types, airline codes, scenery publishers, and the real-world
// registrations. Filled once per process before the first run; read-only afterwards.
#pragma once

#include <cstdint>
#include <string>

enum class ModelCategory : int32_t { Light = 0, Buzjets = 1, Large = 2, Heavy = 3, HighPerf = 4, Rotorcraft = 5 };
const char* gf_modelCategoryName(ModelCategory c);  // "Light", "Buzjets", ...

// One real-world registration.
struct DbaseRecord {
    std::string airl;    // airline the aircraft belongs to; may be empty
    std::string type;    // ICAO type code; may be empty
    std::string opr;     // operator when other than the airline; mostly empty
    bool cargo = false;  // a freighter
};

inline constexpr const char* kGenericAirline = "ZZZ";
inline constexpr const char* kPrivateAirline = "PVT";

void gf_readDbase();  // fills the tables from input/dbase.xml; failures raise
bool gf_isValidModel(const std::string& model);
bool gf_isIcaoAirline(const std::string& airline);
ModelCategory gf_modelCategory(const std::string& model);
double gf_halfWingspan(const std::string& model);              // nm
const DbaseRecord* gf_dbaseFind(const std::string& regcode);   // nullptr when none
std::string gf_dbaseAirline(const std::string& regcode);
std::string gf_dbaseType(const std::string& regcode);
std::string gf_dbaseOperator(const std::string& regcode);
std::string gf_publisherFromFileName(const std::string& fileName);  // "unknown" when none fits
