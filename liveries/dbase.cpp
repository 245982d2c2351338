// Placeholder until the database reader lands: an empty database that knows nothing.
#include "liveries/dbase.h"

const char* gf_modelCategoryName(ModelCategory c) {
    static const char* kNames[] = {"Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft"};
    const auto i = static_cast<int32_t>(c);
    return i >= 0 && i < 6 ? kNames[i] : "Light";
}
void gf_readDbase() {}
bool gf_isValidModel(const std::string&) { return false; }
bool gf_isIcaoAirline(const std::string&) { return false; }
ModelCategory gf_modelCategory(const std::string&) { return ModelCategory::Light; }
double gf_halfWingspan(const std::string&) { return 0.0; }
const DbaseRecord* gf_dbaseFind(const std::string&) { return nullptr; }
std::string gf_dbaseAirline(const std::string&) { return {}; }
std::string gf_dbaseType(const std::string&) { return {}; }
std::string gf_dbaseOperator(const std::string&) { return {}; }
std::string gf_publisherFromFileName(const std::string&) { return "unknown"; }
