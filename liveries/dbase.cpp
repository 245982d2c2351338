// liveries/dbase.cpp — reads input/dbase.xml and answers the questions about types, airlines,
// wingspans, publishers and registrations.
#include "liveries/dbase.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "common/numtext.h"
#include "common/xmlattributes.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "liveries/scramble.h"

DbaseTables dbase;
PublisherScanLog publisherScanLog = nullptr;

const char* gf_modelCategoryName(ModelCategory c) {
    static const char* kNames[] = {"Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft"};
    const auto i = static_cast<int32_t>(c);
    return i >= 0 && i < kModelCategoryCount ? kNames[i] : "Light";
}

void gf_clearDbase() { dbase = DbaseTables{}; }

namespace {

std::string_view lf_trim(std::string_view s) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!s.empty() && blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && blank(s.back())) s.remove_suffix(1);
    return s;
}

// Calls f for every non-blank entry of a comma list, trimmed.
template <typename F>
void lf_forEachEntry(std::string_view list, F&& f) {
    while (true) {
        const size_t comma = list.find(',');
        const std::string_view entry = lf_trim(list.substr(0, comma));
        if (!entry.empty()) f(entry);
        if (comma == std::string_view::npos) return;
        list.remove_prefix(comma + 1);
    }
}

// A code of up to 4 characters as a number that sorts as the text does (no code holds a zero byte): the
// characters fill the high bytes, first character highest. Only the buffer is read, whatever `n` says.
uint64_t lf_packCode(const std::array<char, 4>& chars, size_t n) {
    uint64_t packed = 0;
    for (size_t i = 0; i < chars.size(); ++i)
        packed = packed << 8 | (i < n ? static_cast<unsigned char>(chars[i]) : 0u);
    return packed << 32;
}

std::string lf_unpackCode(uint64_t packed) {
    std::string code;
    for (int shift = 56; shift >= 0 && (packed >> shift & 0xff) != 0; shift -= 8)
        code.push_back(static_cast<char>(packed >> shift & 0xff));
    return code;
}

// A mandatory set: every child's comma list, collected scrambled, then decoded into the target. The codes
// (at most 4 characters) are sorted as numbers and put in at the end of the set, which then needs no
// comparisons of text.
void lf_readSet(const pugi::xml_document& doc, const char* section, const char* child, const char* attribute,
                size_t (*decodeTo)(std::string_view, char*), std::set<std::string>& target) {
    std::vector<std::string_view> scrambled;
    for (const pugi::xml_node node : doc.child(section).children(child))
        lf_forEachEntry(node.attribute(attribute).value(), [&](std::string_view e) { scrambled.push_back(e); });
    if (scrambled.empty())
        throw zel::UserErrorException(
            61, fmt::format("In an xml file section {} {} {} is empty ", section, child, attribute));
    std::vector<uint64_t> codes;
    codes.reserve(scrambled.size());
    for (const std::string_view s : scrambled) {
        std::array<char, 4> code{};
        codes.push_back(lf_packCode(code, decodeTo(s, code.data())));
    }
    std::sort(codes.begin(), codes.end());
    codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
    for (const uint64_t code : codes) target.insert(target.end(), lf_unpackCode(code));
}

void lf_readSimilar(const pugi::xml_document& doc) {
    for (const pugi::xml_node node : doc.child("similar_types").children("similar")) {
        std::vector<std::string> group;
        lf_forEachEntry(node.attribute("types").value(),
                        [&](std::string_view e) { group.push_back(gf_decodeModel(e)); });
        dbase.similarGroups.push_back(std::move(group));
    }
}

void lf_readPublishers(const pugi::xml_document& doc, const std::string& path) {
    try {
        std::vector<std::string> lists;
        for (const pugi::xml_node node : doc.child("publishers").children("pub"))
            lists.emplace_back(node.attribute("names").value());
        std::sort(lists.begin(), lists.end());
        lists.erase(std::unique(lists.begin(), lists.end()), lists.end());
        for (const std::string& list : lists) {
            std::vector<std::string> group;
            lf_forEachEntry(list, [&](std::string_view e) { group.emplace_back(e); });
            if (!group.empty()) dbase.publishers.push_back(std::move(group));
        }
    } catch (const std::exception& e) {
        throw zel::SysErrorException(299,
                                     fmt::format("exception {} in reading publishers from \"{}\"", e.what(), path));
    }
}

void lf_readWingspans(const pugi::xml_document& doc, const std::string& path) {
    try {
        for (const pugi::xml_node node : doc.child("wingspans").children("wingspan")) {
            const std::string model = gf_decodeModel(node.attribute("type").value());
            if (!gf_isValidModel(model)) {
                gf_logMarkf("wingspan model {} is no valid model, skipped", model);
                continue;
            }
            const double half = gf_stod(node.attribute("meters").value()) * 0.5 / 1852.0;
            dbase.wingspans[model] = half;
            dbase.largestHalfWingspan = std::max(dbase.largestHalfWingspan, half);
        }
    } catch (const std::exception& e) {
        throw zel::SysErrorException(288, fmt::format("exception {} in reading wingspans from \"{}\"", e.what(), path));
    }
    if (dbase.wingspans.empty()) return;
    // A category without rows keeps its typical default, so that a stand test never sees a zero span.
    std::array<double, kModelCategoryCount> sum{};
    std::array<int, kModelCategoryCount> count{};
    for (const auto& [model, half] : dbase.wingspans) {
        const auto c = static_cast<size_t>(gf_modelCategory(model));
        sum[c] += half;
        ++count[c];
    }
    for (size_t c = 0; c < sum.size(); ++c)
        if (count[c] > 0) dbase.averageHalfWingspan[c] = sum[c] / count[c];
}

// The registrations of the real world come to about 150k of ~7 characters; the table grows beyond that
// if needed.
constexpr size_t kRecordsReserve = 160000;
constexpr size_t kRecordKeyCharsReserve = kRecordsReserve * 8;

// The values of a row are a few characters long; they are measured here rather than by a library call.
std::string_view lf_view(const char* text) {
    for (size_t n = 0; n < 16; ++n)
        if (text[n] == '\0') return {text, n};
    return text;
}

ShortCode<3> lf_airlineValue(const char* text) {
    return ShortCode<3>::decoded([&](char* out) { return gf_decodeAirlineTo(lf_view(text), out); });
}

ShortCode<4> lf_modelValue(const char* text) {
    return ShortCode<4>::decoded([&](char* out) { return gf_decodeModelTo(lf_view(text), out); });
}

// The bulk of the start-up: ~150k rows, read in one pass over each row's attributes, then indexed at once.
void lf_readRecords(const pugi::xml_document& doc) {
    const pugi::xml_node section = doc.child("dbase");
    dbase.records.reserve(kRecordsReserve, kRecordKeyCharsReserve);
    const XmlRowReader<5> reader({"reg", "airl", "type", "opr", "cargo"});
    std::array<const char*, 5> v{};
    for (pugi::xml_node node = section.first_child(); node; node = node.next_sibling()) {
        if (!gf_isXmlName(node.name(), "db")) continue;
        reader.read(node, v);
        const char* const reg = v[0];
        const char* const airl = v[1];
        const char* const type = v[2];
        const char* const opr = v[3];
        const char* const cargo = v[4];
        DbaseRecord record;
        record.airl = lf_airlineValue(airl);
        record.type = lf_modelValue(type);
        record.opr = lf_airlineValue(opr);
        record.cargo = gf_isXmlTrue(cargo);
        const std::string_view scrambledReg = lf_view(reg);
        dbase.records.add(
            scrambledReg.size(), [&](char* to) { gf_decodeRegcodeTo(scrambledReg, to); }, record);
    }
    for (const std::string& dropped : dbase.records.build()) gf_logMarkf("regcode {} already exists", dropped);
}

bool lf_containsNoCase(std::string_view text, std::string_view part) {
    const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
    return std::search(text.begin(), text.end(), part.begin(), part.end(),
                       [&](char a, char b) { return lower(a) == lower(b); }) != text.end();
}

}  // namespace

void gf_readDbase() {
    gf_clearDbase();
    const std::string path = folders::dbaseXml.string();
    pugi::xml_document doc;
    // Entity escapes are needed ("<" is a scrambled character); end-of-line and blank conversions are not.
    const pugi::xml_parse_result result =
        doc.load_file(folders::dbaseXml.c_str(), pugi::parse_minimal | pugi::parse_escapes);
    if (!result)
        throw zel::UserErrorException(60, fmt::format("\"{}\" not read because of {}", path, result.description()));

    lf_readSet(doc, "aircrafts", "aircraft", "types", gf_decodeModelTo, dbase.aircraft);
    lf_readSet(doc, "high_performance", "hpf", "types", gf_decodeModelTo, dbase.highPerformance);
    lf_readSet(doc, "heavy", "hvy", "types", gf_decodeModelTo, dbase.heavy);
    lf_readSet(doc, "large", "lar", "types", gf_decodeModelTo, dbase.large);
    lf_readSet(doc, "buzjet", "bzj", "types", gf_decodeModelTo, dbase.buzjet);
    lf_readSet(doc, "rotorcraft", "rot", "types", gf_decodeModelTo, dbase.rotorcraft);
    lf_readSet(doc, "cargo_types", "cargo_type", "types", gf_decodeModelTo, dbase.cargoTypes);
    lf_readSimilar(doc);
    lf_readSet(doc, "ICAO_airlines", "ICAO", "codes", gf_decodeAirlineTo, dbase.icaoAirlines);
    lf_readSet(doc, "cargo_operators", "ICAO", "codes", gf_decodeAirlineTo, dbase.cargoOperators);
    lf_readPublishers(doc, path);
    lf_readWingspans(doc, path);
    lf_readRecords(doc);
    gf_logf("{} dbase records from \"{}\" read", dbase.records.size(), path);
}

bool gf_isValidModel(const std::string& model) { return !model.empty() && dbase.aircraft.count(model) > 0; }

bool gf_isIcaoAirline(const std::string& airline) { return !airline.empty() && dbase.icaoAirlines.count(airline) > 0; }

// The first set that holds the code decides, so a type in both the large and the heavy set is Large.
ModelCategory gf_modelCategory(const std::string& model) {
    if (dbase.large.count(model)) return ModelCategory::Large;
    if (dbase.heavy.count(model)) return ModelCategory::Heavy;
    if (dbase.buzjet.count(model)) return ModelCategory::Buzjets;
    if (dbase.rotorcraft.count(model)) return ModelCategory::Rotorcraft;
    if (dbase.highPerformance.count(model)) return ModelCategory::HighPerf;
    return ModelCategory::Light;
}

double gf_halfWingspan(const std::string& model) {
    const auto it = dbase.wingspans.find(model);
    if (it != dbase.wingspans.end()) return it->second;
    return dbase.averageHalfWingspan[static_cast<size_t>(gf_modelCategory(model))];
}

std::vector<std::string> lf_regcodeVariants(const std::string& regcode) {
    std::vector<std::string> out{regcode};
    if (regcode.size() >= 5 && regcode[0] != 'N' && regcode.find('-') == std::string::npos) {
        out.push_back(regcode.substr(0, 2) + "-" + regcode.substr(2));
        out.push_back(regcode.substr(0, 1) + "-" + regcode.substr(1));
    }
    return out;
}

const DbaseRecord* gf_dbaseFind(const std::string& regcode) {
    if (regcode.empty()) return nullptr;
    for (const std::string& spelling : lf_regcodeVariants(regcode)) {
        if (const DbaseRecord* r = dbase.records.find(spelling)) return r;
    }
    return nullptr;
}

std::string gf_dbaseAirline(const std::string& regcode) {
    const DbaseRecord* r = gf_dbaseFind(regcode);
    return r ? std::string(r->airl) : std::string();
}
std::string gf_dbaseType(const std::string& regcode) {
    const DbaseRecord* r = gf_dbaseFind(regcode);
    return r ? std::string(r->type) : std::string();
}
std::string gf_dbaseOperator(const std::string& regcode) {
    const DbaseRecord* r = gf_dbaseFind(regcode);
    return r ? std::string(r->opr) : std::string();
}

// "Contains, or matches .*NAME.* without regard to case": for a file name (no line breaks) both come
// to a case-insensitive substring test, and a name with regex characters ("29Palms+") means itself.
std::string gf_publisherFromFileName(const std::string& fileName) {
    if (lf_containsNoCase(fileName, "ORBX")) {
        if (publisherScanLog) publisherScanLog(fmt::format("from filename => publisher  {}", "ORBX"));
        return "ORBX";
    }
    for (const auto& group : dbase.publishers)
        for (const std::string& name : group)
            if (!name.empty() && lf_containsNoCase(fileName, name)) return group.front();
    return "unknown";
}
