// mkdata — builds the three start-up files of the install folder from the public data in data/:
//   dbase.xml         types, categories, similar types, airlines, publishers, wingspans, registrations,
//                     scrambled exactly as gf_readDbase reads them (the library's own encoders are used);
//   airports_p3d.xml  the world airport table;
//   fixes.xml         corrections of common wrong type codes, and owner codes for private/government.
// Usage: mkdata <data folder> <output folder>. The same data always give byte-identical files: every
// list is written in a fixed (sorted or file) order and nothing depends on time or chance.
//
// Category of a type, from its ICAO description (class, engine count, engine type) and wake category,
// the first rule that fits deciding:
//   Rotorcraft  class H (helicopter), G (gyrocopter) or T (tilt-rotor);
//   Heavy       wake category H or J;
//   HighPerf    a military fast jet or jet trainer of the list kFastJets below;
//   Buzjets     a jet of wake category L, M or L/M whose model names a business jet family
//               (Citation, Falcon, Learjet, ...) and no airliner (ERJ, CRJ, BBJ, ...);
//   Large       a jet, or a turboprop with 2 or more engines, of wake category M: airline size;
//   Light       everything else.
// Similar-type groups and scenery publishers are our own short lists of well-known facts, below.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <pugixml.hpp>

#include "frame/core/textfiles.h"
#include "liveries/scramble.h"
#include "tools/common/csv.h"

namespace fs = std::filesystem;

namespace {

using datacsv::readCsv;
using datacsv::Row;

// Fast military jets and jet trainers (fighters, attack aircraft) by ICAO designator.
const std::vector<std::string> kFastJets = {
    "A10",  "A4",   "AJET", "BT7",  "CKUO", "EUFI", "F1",   "F104", "F106", "F111", "F117", "F14",  "F15",
    "F16",  "F16X", "F18H", "F18S", "F2",   "F22",  "F35",  "VF35", "F4",   "F5",   "F8",   "FC1",  "HAR",
    "HAWK", "J10",  "J8B",  "JAGR", "K50",  "KF21", "L159", "L39",  "LTNG", "MG17", "MG19", "MG21", "MG23",
    "MG25", "MG29", "MG31", "MIR2", "MIRA", "MRF1", "RFAL", "S37",  "SB35", "SB39", "SHAW", "SSAB", "SU15",
    "SU17", "SU24", "SU25", "SU27", "SU57", "SU7",  "T38",  "TOR",  "M346"};

const std::vector<std::string> kBizjetWords = {
    "citation", "falcon",   "learjet",    "challenger", "global",   "gulfstream", "hawker",
    "phenom",   "legacy",   "praetor",    "premier",    "beechjet", "westwind",   "astra",
    "galaxy",   "jetstar",  "sabreliner", "hondajet",   "eclipse",  "vision",     "mustang",
    "pc-24",    "diamond",  "horizon",    "sovereign",  "latitude", "longitude",  "jet commander",
    "encore",   "syberjet", "spectre",    "nextant",    "premier"};
const std::vector<std::string> kAirlinerWords = {"erj",     "crj", "regional jet", "bbj", "acj",
                                                 "lineage", "737", "emb-1",        "a-3", "fokker"};

// Freighters by nature: dedicated cargo and outsize transports.
const std::vector<std::string> kCargoTypes = {"BLCF", "A3ST", "A337", "SGUP", "C17",  "C5M",  "A400", "AN12",
                                              "A124", "A225", "IL76", "C160", "C130", "C30J", "AN26", "C97"};
// Operators whose fleet flies freight, beside those whose name says "cargo" or "freight".
const std::vector<std::string> kCargoOperators = {"FDX", "UPS", "GTI", "CLX", "BCS", "DHK", "PAC", "ABX",
                                                  "ATN", "DHX", "CKS", "NCR", "MPH", "BOX", "GEC"};

// Families of types that can stand in for each other, in the order of preference within the family.
const std::vector<std::vector<std::string>> kSimilarGroups = {
    {"A318", "A319", "A320", "A321", "A19N", "A20N", "A21N"},
    {"B731", "B732", "B733", "B734", "B735"},
    {"B736", "B737", "B738", "B739", "B37M", "B38M", "B39M", "B3XM"},
    {"B752", "B753"},
    {"B762", "B763", "B764"},
    {"B772", "B773", "B77L", "B77W", "B778", "B779"},
    {"B788", "B789", "B78X"},
    {"B741", "B742", "B743", "B744", "B748"},
    {"A332", "A333", "A338", "A339"},
    {"A342", "A343", "A345", "A346"},
    {"A359", "A35K"},
    {"A306", "A30B", "A310"},
    {"E170", "E175", "E75L", "E75S", "E190", "E195", "E290", "E295"},
    {"E135", "E145", "E45X"},
    {"CRJ1", "CRJ2", "CRJ7", "CRJ9", "CRJX"},
    {"AT43", "AT45", "AT46", "AT72", "AT73", "AT75", "AT76"},
    {"DH8A", "DH8B", "DH8C", "DH8D"},
    {"MD81", "MD82", "MD83", "MD87", "MD88", "MD90"},
    {"B712", "DC93", "DC95"},
    {"BCS1", "BCS3"},
    {"F70", "F100"},
    {"RJ70", "RJ85", "RJ1H", "B461", "B462", "B463"},
    {"MD11", "DC10"},
    {"SF34", "SB20"},
};

// Scenery publishers; the first name of a group is the one the program shows.
const std::vector<std::string> kPublishers = {"Aerosoft",         "Drzewiecki Design,DrzewieckiDesign",
                                              "FlightBeam",       "FlyTampa",
                                              "FSDreamTeam,FSDT", "Fly2High",
                                              "Imaginesim",       "JustSim",
                                              "LatinVFR",         "SimWings",
                                              "Taxi2Gate,T2G",    "UK2000",
                                              "29Palms",          "Digital Design",
                                              "MK-Studios"};

// Well-known wrong type codes in aircraft.cfg files and their ICAO designators.
const std::vector<std::pair<std::string, std::string>> kModelFixes = {
    {"A380", "A388"},     {"B747", "B744"},     {"B777", "B77W"},       {"B787", "B789"},     {"A350", "A359"},
    {"A330", "A333"},     {"A340", "A343"},     {"B757", "B752"},       {"B767", "B763"},     {"B717", "B712"},
    {"Q400", "DH8D"},     {"ATR72", "AT76"},    {"ATR42", "AT45"},      {"E175", "E75L"},     {"CRJ900", "CRJ9"},
    {"CRJ700", "CRJ7"},   {"A320neo", "A20N"},  {"A321neo", "A21N"},    {"B737MAX8", "B38M"}, {"MD-11", "MD11"},
    {"B737-800", "B738"}, {"B737-700", "B737"}, {"B777-300ER", "B77W"}, {"B747-400", "B744"}, {"B787-9", "B789"}};
const std::vector<std::string> kPrivateOwners = {"PVT", "PRIVATE", "PRI", "PRV"};
const std::vector<std::string> kGovernmentOwners = {"GOV", "GOVT", "GVT", "MIL"};

std::string lf_lower(std::string s) {
    for (char& c : s)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return s;
}

bool lf_hasAny(const std::string& text, const std::vector<std::string>& words) {
    const std::string low = lf_lower(text);
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& w) { return low.find(w) != std::string::npos; });
}

bool lf_inWindow(const std::string& s) {
    return !s.empty() && std::all_of(s.begin(), s.end(), [](char c) { return (c >= '-' && c <= 'Z') || c == '+'; });
}

void lf_save(const pugi::xml_document& doc, const fs::path& path) {
    std::ostringstream out;
    doc.save(out, "\t", pugi::format_default, pugi::encoding_utf8);
    if (!gf_writeFileAtomically(path, out.str())) throw std::runtime_error("cannot write " + path.string());
    std::printf("%s written\n", path.string().c_str());
}

// A set section: the codes in rows of 40 per child element, scrambled.
void lf_addSet(pugi::xml_document& doc, const char* section, const char* child, const char* attribute,
               const std::set<std::string>& codes, std::string (*encode)(std::string_view)) {
    pugi::xml_node node = doc.append_child(section);
    std::vector<std::string> row;
    const auto flush = [&] {
        if (row.empty()) return;
        node.append_child(child).append_attribute(attribute) = fmt::format("{}", fmt::join(row, ",")).c_str();
        row.clear();
    };
    for (const std::string& c : codes) {
        row.push_back(encode(c));
        if (row.size() == 40) flush();
    }
    flush();
    if (node.first_child().empty()) throw std::runtime_error(fmt::format("section {} would be empty", section));
}

struct Types {
    std::set<std::string> all, heavy, large, buzjet, rotorcraft, highPerf, cargo;
};

Types lf_classify(const std::vector<Row>& rows) {
    Types t;
    const std::set<std::string> fast(kFastJets.begin(), kFastJets.end());
    for (const Row& r : rows) {
        const std::string& code = r.at("designator");
        if (code.size() < 2 || code.size() > 4 || !lf_inWindow(code)) continue;
        t.all.insert(code);
        const std::string& d = r.at("description");
        const std::string& wtc = r.at("wtc");
        const char cls = d.empty() ? '-' : d[0];
        const char engine = d.size() >= 3 ? d[2] : '-';
        const int engines = d.size() >= 2 && d[1] >= '1' && d[1] <= '8' ? d[1] - '0' : 0;
        const std::string names = r.at("manufacturer") + " " + r.at("model");
        if (cls == 'H' || cls == 'G' || cls == 'T')
            t.rotorcraft.insert(code);
        else if (wtc == "H" || wtc == "J")
            t.heavy.insert(code);
        else if (fast.count(code))
            t.highPerf.insert(code);
        else if (engine == 'J' && (wtc == "L" || wtc == "M" || wtc == "L/M") && lf_hasAny(names, kBizjetWords) &&
                 !lf_hasAny(names, kAirlinerWords))
            t.buzjet.insert(code);
        else if (wtc == "M" && (engine == 'J' || (engine == 'T' && engines >= 2)))
            t.large.insert(code);
    }
    for (const std::string& c : kCargoTypes)
        if (t.all.count(c)) t.cargo.insert(c);
    return t;
}

void lf_buildDbase(const fs::path& data, const fs::path& out) {
    const Types types = lf_classify(readCsv(data / "aircraft_types.csv"));

    std::set<std::string> airlines, cargoOperators;
    const std::set<std::string> knownCargo(kCargoOperators.begin(), kCargoOperators.end());
    for (const Row& r : readCsv(data / "airlines.csv")) {
        const std::string& code = r.at("icao");
        if (code.size() != 3 || !lf_inWindow(code)) continue;
        airlines.insert(code);
        if (knownCargo.count(code) || lf_hasAny(r.at("name") + " " + r.at("alt_name"), {"cargo", "freight"}))
            cargoOperators.insert(code);
    }
    // The program's own codes for a generic and a private livery: the scan files liveries under them, so
    // they must pass as airline codes like any real one.
    airlines.insert({"ZZZ", "PVT"});

    pugi::xml_document doc;
    lf_addSet(doc, "aircrafts", "aircraft", "types", types.all, gf_encodeModel);
    lf_addSet(doc, "high_performance", "hpf", "types", types.highPerf, gf_encodeModel);
    lf_addSet(doc, "heavy", "hvy", "types", types.heavy, gf_encodeModel);
    lf_addSet(doc, "large", "lar", "types", types.large, gf_encodeModel);
    lf_addSet(doc, "buzjet", "bzj", "types", types.buzjet, gf_encodeModel);
    lf_addSet(doc, "rotorcraft", "rot", "types", types.rotorcraft, gf_encodeModel);
    lf_addSet(doc, "cargo_types", "cargo_type", "types", types.cargo, gf_encodeModel);

    pugi::xml_node similar = doc.append_child("similar_types");
    for (const auto& group : kSimilarGroups) {
        std::vector<std::string> present;
        for (const std::string& c : group)
            if (types.all.count(c)) present.push_back(gf_encodeModel(c));
        if (present.size() >= 2)
            similar.append_child("similar").append_attribute("types") =
                fmt::format("{}", fmt::join(present, ",")).c_str();
    }

    lf_addSet(doc, "ICAO_airlines", "ICAO", "codes", airlines, gf_encodeAirline);
    lf_addSet(doc, "cargo_operators", "ICAO", "codes", cargoOperators, gf_encodeAirline);

    pugi::xml_node publishers = doc.append_child("publishers");
    for (const std::string& p : kPublishers) publishers.append_child("pub").append_attribute("names") = p.c_str();

    pugi::xml_node wingspans = doc.append_child("wingspans");
    size_t spans = 0;
    for (const Row& r : readCsv(data / "wingspans.csv")) {
        const std::string& code = r.at("designator");
        if (!types.all.count(code) || r.at("wingspan_m").empty()) continue;
        pugi::xml_node w = wingspans.append_child("wingspan");
        w.append_attribute("type") = gf_encodeModel(code).c_str();
        w.append_attribute("meters") = r.at("wingspan_m").c_str();
        ++spans;
    }

    // Registrations: the first row of a registration wins (the file is sorted by transponder address);
    // those outside the scrambler's character window (blanks, lower case, accents) are left out.
    pugi::xml_node records = doc.append_child("dbase");
    std::set<std::string> seen;
    size_t skipped = 0, kept = 0;
    for (const Row& r : readCsv(data / "registrations.csv")) {
        const std::string& reg = r.at("registration");
        if (!lf_inWindow(reg) || reg.size() > 12) {
            ++skipped;
            continue;
        }
        if (!seen.insert(reg).second) continue;
        const std::string& type = r.at("typecode");
        const std::string& airl = r.at("operator_icao");
        const bool airlineKnown = airl.size() == 3 && lf_inWindow(airl);
        pugi::xml_node db = records.append_child("db");
        db.append_attribute("reg") = gf_encodeRegcode(reg).c_str();
        if (airlineKnown) db.append_attribute("airl") = gf_encodeAirline(airl).c_str();
        if (types.all.count(type)) db.append_attribute("type") = gf_encodeModel(type).c_str();
        if ((airlineKnown && cargoOperators.count(airl)) || types.cargo.count(type)) db.append_attribute("cargo") = "1";
        ++kept;
    }
    lf_save(doc, out / "dbase.xml");
    std::printf(
        "types %zu (heavy %zu, large %zu, buzjet %zu, rotorcraft %zu, highperf %zu, cargo %zu), "
        "airlines %zu (cargo %zu), wingspans %zu, registrations %zu (%zu left out)\n",
        types.all.size(), types.heavy.size(), types.large.size(), types.buzjet.size(), types.rotorcraft.size(),
        types.highPerf.size(), types.cargo.size(), airlines.size(), cargoOperators.size(), spans, kept, skipped);

    pugi::xml_document fixes;
    pugi::xml_node modelFixes = fixes.append_child("fixes");
    for (const auto& [wrong, correct] : kModelFixes) {
        if (!types.all.count(correct)) continue;
        pugi::xml_node f = modelFixes.append_child("fix");
        f.append_attribute("wrong") = wrong.c_str();
        f.append_attribute("correct") = correct.c_str();
    }
    for (const auto& [section, codes] :
         {std::pair{"PVT_fixes", &kPrivateOwners}, std::pair{"GOV_fixes", &kGovernmentOwners}}) {
        pugi::xml_node node = fixes.append_child(section);
        for (const std::string& c : *codes)
            if (!airlines.count(c)) node.append_child("fix").append_attribute("wrong") = c.c_str();
    }
    lf_save(fixes, out / "fixes.xml");
}

void lf_buildAirports(const fs::path& data, const fs::path& out) {
    pugi::xml_document doc;
    pugi::xml_node root = doc.append_child("airports");
    size_t n = 0;
    for (const Row& r : readCsv(data / "airports.csv")) {
        if (r.at("icao").empty() || r.at("lat").empty() || r.at("lon").empty()) continue;
        pugi::xml_node a = root.append_child("airport");
        a.append_attribute("code") = r.at("icao").c_str();
        a.append_attribute("iata") = r.at("iata").c_str();
        a.append_attribute("lat") = r.at("lat").c_str();
        a.append_attribute("lon") = r.at("lon").c_str();
        a.append_attribute("alt") = r.at("elevation_ft").empty() ? "0" : r.at("elevation_ft").c_str();
        ++n;
    }
    lf_save(doc, out / "airports_p3d.xml");
    std::printf("airports %zu\n", n);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: mkdata <data folder> <output folder>\n");
        return 2;
    }
    try {
        const fs::path data = argv[1], out = argv[2];
        fs::create_directories(out);
        lf_buildDbase(data, out);
        lf_buildAirports(data, out);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "mkdata: %s\n", e.what());
        return 1;
    }
    return 0;
}
