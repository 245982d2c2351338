// liveries/aircraft_cfg.cpp — the liveries of one aircraft.cfg or sim.cfg: numbering checks, the type,
// the [fltsim.x] sections and everything they report. Runs on the scan's workers.
#include "liveries/aircraft_cfg.h"

#include <algorithm>
#include <charconv>
#include <regex>
#include <system_error>
#include <unordered_map>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "liveries/dbase.h"
#include "liveries/fixes.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

void lf_addInvalidAirline(const std::string& code, const std::string& file, const std::string& head) {
    scanLists.invalidAirlines.add(fmt::format("{:12} in {} ", code, file) + head);
}
void lf_addInvalidModel(const std::string& code, const std::string& file) {
    scanLists.invalidModels.add(fmt::format("{:16} in {}", code, file));
}
void lf_addFix(std::string line) { scanLists.fixes.add(std::move(line)); }
void lf_addInvalidFile(std::string line) { scanLists.invalidCfgFiles.add(std::move(line)); }
void lf_addIncomplete(std::string line) { scanLists.incompleteSections.add(std::move(line)); }
void lf_addNoSection(const std::string& file) { scanLists.noSectionFiles.add(file); }

// A key line's value without a comment behind it: the simulator stops reading a value at "//", and at
// ";" too except in atc_id, whose own rule cuts there. False when nothing is left.
bool lf_keyValue(std::string_view line, CfgKey key, std::string& value) {
    if (!gf_cfgKeyValue(line, key, value)) return false;
    if (key == CfgKey::Title) return true;  // a title is the simulator's name for the object: taken whole
    size_t cut = value.find("//");
    if (key != CfgKey::AtcId) cut = std::min(cut, value.find(';'));
    if (cut != std::string::npos) value = gf_trimmed(std::string_view(value).substr(0, cut));
    return !value.empty();
}

// Model and texture folders are looked up once per file for all its sections; each worker keeps its own.
thread_local std::unordered_map<std::string, bool> tl_pathCache;

bool lf_simPathIs(const fs::path& folder, const std::string& relative, bool directory) {
    const std::string key = gf_pathText(folder) + "|" + relative + (directory ? "|d" : "|f");
    if (const auto it = tl_pathCache.find(key); it != tl_pathCache.end()) return it->second;
    const fs::path found = gf_findSimPath(folder, relative);
    std::error_code ec;
    const bool ok = !found.empty() && (directory ? fs::is_directory(found, ec) : fs::is_regular_file(found, ec));
    tl_pathCache.emplace(key, ok);
    return ok;
}

// The section lines end before trailing empty lines and comments.
void lf_dropTail(std::vector<std::string>& lines) {
    while (lines.size() > 1 && (gf_trimmed(lines.back()).empty() || lines.back().starts_with("//"))) lines.pop_back();
}

std::string lf_modelChecked(const std::string& code, const std::string& file) {
    if (gf_isValidModel(code)) return code;
    if (const auto it = fixes.modelFixes.find(code); it != fixes.modelFixes.end()) {
        lf_addFix(fmt::format("Fix: {} found in {} changed into {}", code, file, it->second));
        return it->second;
    }
    lf_addInvalidModel(code, file);
    return {};
}

// What a parser holds of one section while it reads its lines.
struct SectionState {
    int32_t level = 0;
    const std::string* model = nullptr;
    const std::string* file = nullptr;
    std::string folder;  // text of the folder, for the messages
    std::string head;    // the head line, quoted by the messages
    std::string title, codes, types, regcode, modelFolder, sim, texture;
    bool check = true;  // the title's uniqueness is tested up to the first livery of the section
    std::vector<LiveryData> out;
};

LiveryData lf_makeLivery(int32_t level, const std::string& airline, const std::string& model, bool cargo,
                         const std::string& title, const std::string& regcode, bool check) {
    if (check) {
        std::lock_guard guard(liveryScan.seenLock);
        if (!liveryScan.seenTitles.insert(title).second) return {};
    }
    return LiveryData{airline, model, title, regcode, level, cargo};
}

void lf_addLiveryForCode(SectionState& s, std::string code) {
    if (fixes.pvtFixes.contains(code) || fixes.govFixes.contains(code)) {
        lf_addFix(fmt::format("Fix: {} found in {} changed into {}", code, *s.file, "PVT"));
        code = "PVT";
    }
    if (code.size() == 4 && (code.back() == 'X' || code.back() == 'C')) code.pop_back();
    if (code.empty() || !gf_isIcaoAirline(code)) {
        lf_addInvalidAirline(code, *s.file, s.head);
        return;
    }
    if (code == "ZZZ") s.regcode.clear();
    const bool cargo = s.types.find("CARGO") != std::string::npos;
    LiveryData l = lf_makeLivery(s.level, code, *s.model, cargo, s.title, s.regcode, s.check);
    if (l.title.empty()) {
        lf_addIncomplete(fmt::format("{} {} title \"{}\" already exists", s.folder, s.head, s.title));
        return;
    }
    s.out.push_back(std::move(l));
    s.check = false;
}

// The registration of atc_id; empty when the value names none or several, or a bad one.
std::string lf_regcodeOf(const std::string& value, const std::string& title, bool mtl) {
    const std::string cut = mtl ? value : value.substr(0, value.find(';'));
    if (cut.empty()) {
        gf_logf("invalid atc_id={} ==> in: {}", value, title);
        return {};
    }
    const std::vector<std::string> items = gf_splitTrimmed(cut, ',');
    for (const std::string& item : items) {
        if (item.empty()) {
            if (mtl)
                gf_logf(" empty regcode in: {}", title);
            else
                gf_logf("empty regcode in {} {}", title, value);
            return {};
        }
        if (item.size() > 12) {
            if (mtl)
                gf_logf("regcode: {}, has more than 12 chars in title: {}", item, title);
            else
                gf_logf("regcode: {}, has more than 12 chars or contains UTF16 chars in \"{}\"?", item, title);
            return {};
        }
        if (item.find('*') != std::string::npos) {
            gf_logMarkf("{} {} wild cards no longer supported, atc_id skipped ", title, item);
            return {};
        }
    }
    return items.size() == 1 ? items.front() : std::string{};
}

// The keys both kinds of section share. False when the section must be abandoned (reported).
bool lf_takeCommonKey(SectionState& s, const std::string& line, bool mtl) {
    std::string v;
    if (s.types.empty() && lf_keyValue(line, CfgKey::AtcParkingTypes, v)) {
        lf_normaliseList(v);
        std::transform(v.begin(), v.end(), v.begin(), [](char c) { return (c >= 'a' && c <= 'z') ? c - 32 : c; });
        s.types = std::move(v);
        return true;
    }
    if (!s.types.empty() && line.find("atc_parking_types") != std::string::npos) {
        lf_addIncomplete(mtl ? s.folder + " " + s.head + " has more than one atc_parking_types key"
                             : fmt::format("{} {} has more than one atc_parking_types key", s.folder, s.head));
        return false;
    }
    if (!s.regcode.empty() && line.find("atc_id=") != std::string::npos) {
        lf_addIncomplete(fmt::format("{}, {}, has more than one atc_id key", s.folder, s.head));
        return false;
    }
    if (s.regcode.empty() && lf_keyValue(line, CfgKey::AtcId, v)) {
        s.regcode = lf_regcodeOf(v, s.title, mtl);
        return true;
    }
    if (s.modelFolder.empty() && lf_keyValue(line, CfgKey::Model, v)) {
        s.modelFolder = std::move(v);
    } else if (s.sim.empty() && lf_keyValue(line, CfgKey::Sim, v)) {
        s.sim = std::move(v);
    } else if (s.texture.empty() && lf_keyValue(line, CfgKey::Texture, v)) {
        s.texture = std::move(v);
    }
    return true;
}

// The folders and the flight model file a section names; false (reported) at the first one missing.
bool lf_sectionPathsExist(const SectionState& s, const fs::path& folder, bool mtl) {
    const std::string model = "model." + s.modelFolder, texture = "texture." + s.texture, air = s.sim + ".air";
    const std::pair<const std::string*, bool> order[3] = {
        {&model, true}, {mtl ? &air : &texture, !mtl}, {mtl ? &texture : &air, mtl}};
    for (const auto& [relative, directory] : order) {
        if (!lf_simPathIs(folder, *relative, directory)) {
            lf_addIncomplete(gf_pathText(folder / gf_utf8Path(*relative)) + " " + s.head + " does not exist");
            return false;
        }
    }
    return true;
}

SectionState lf_startSection(int32_t level, std::vector<std::string>& lines, const std::string& model,
                             const std::string& file, const fs::path& folder) {
    lf_dropTail(lines);
    SectionState s;
    s.level = level;
    s.model = &model;
    s.file = &file;
    s.folder = gf_pathText(folder);
    s.head = lines.front();
    return s;
}

bool lf_suppressedStub(const std::string& title) {
    return SUPPRESS_STUB.current && title.size() >= 5 &&
           std::equal(title.end() - 5, title.end(), "_STUB",
                      [](char a, char b) { return std::toupper(static_cast<unsigned char>(a)) == b; });
}

}  // namespace

std::vector<LiveryData> lf_procesFltSimSection(int32_t level, std::vector<std::string> lines, const std::string& model,
                                               const std::string& file, const fs::path& folder) {
    try {
        SectionState s = lf_startSection(level, lines, model, file, folder);
        for (size_t i = 1; i < lines.size(); ++i) {
            const std::string& line = lines[i];
            std::string v;
            const bool isTitle = lf_keyValue(line, CfgKey::Title, v);
            if (isTitle && !s.title.empty()) {
                lf_addIncomplete(fmt::format("{} {} has more than one title key", s.folder, s.head));
                return {};
            }
            if (isTitle) {
                s.title = std::move(v);
                continue;
            }
            if (!s.codes.empty() && line.find("atc_parking_codes") != std::string::npos) {
                lf_addIncomplete(fmt::format("{} {} has more than one atc_parking_codes key", s.folder, s.head));
                return {};
            }
            if (s.codes.empty() && lf_keyValue(line, CfgKey::AtcParkingCodes, v)) {
                lf_normaliseList(v);
                s.codes = lf_isMakerCode(v) ? "ZZZ" : std::move(v);
                continue;
            }
            if (!lf_takeCommonKey(s, line, false)) return {};
        }
        if (!lf_sectionPathsExist(s, folder, false)) return {};
        if (s.title.empty()) {
            lf_addIncomplete(fmt::format("{} {} misses title", s.folder, s.head));
            return {};
        }
        if (liveryScan.dontUseTitles.contains(s.title) || lf_suppressedStub(s.title)) return {};
        if (s.codes.empty()) {
            lf_addIncomplete(fmt::format("{} {} empty ", s.folder, s.head) + "atc_parking_codes=");
            return {};
        }
        std::vector<std::string> codes = gf_splitTrimmed(s.codes, ',');
        std::sort(codes.begin(), codes.end());
        codes.erase(std::unique(codes.begin(), codes.end()), codes.end());
        for (std::string& code : codes) lf_addLiveryForCode(s, std::move(code));
        return std::move(s.out);
    } catch (const std::exception& e) {
        gf_logf("exception in lf_procesFltSimSection: {}, file: {}", e.what(), file);
        throw;
    }
}

LiveryData lf_procesMtlFltSimSection(int32_t level, std::vector<std::string> lines, const std::string& model,
                                     const std::string& file, const fs::path& folder) {
    SectionState s = lf_startSection(level, lines, model, file, folder);
    for (size_t i = 1; i < lines.size(); ++i) {
        std::string v;
        if (lf_keyValue(lines[i], CfgKey::Title, v)) {
            if (!s.title.empty()) {
                lf_addIncomplete(s.folder + " " + s.head + " has more than one title key");
                return {};
            }
            s.title = std::move(v);
            continue;
        }
        if (!lf_takeCommonKey(s, lines[i], true)) return {};
    }
    if (!lf_sectionPathsExist(s, folder, true)) return {};
    if (s.title.empty()) {
        lf_addIncomplete(s.folder + " " + s.head + " misses title");
        return {};
    }
    if (liveryScan.dontUseTitles.contains(s.title) || lf_suppressedStub(s.title)) return {};
    // The title begins with the type code, then the airline: "B738 AAL American".
    const std::regex airlineInTitle(model + "\\s*(\\w\\w\\w).*$", std::regex::icase | std::regex::ECMAScript);
    std::smatch m;
    if (!std::regex_match(s.title, m, airlineInTitle)) {
        lf_addIncomplete(s.folder + " " + s.head + " misses airlinecode in title");
        return {};
    }
    std::string airline = m[1].str();
    if (lf_isMakerCode(airline)) airline = "ZZZ";
    if (!gf_isIcaoAirline(airline)) {
        lf_addInvalidAirline(airline, file, s.head);
        return {};
    }
    if (airline == "ZZZ") s.regcode.clear();
    LiveryData l = lf_makeLivery(level, airline, model, false, s.title, s.regcode, true);
    if (l.title.empty()) lf_addIncomplete(s.folder + " " + s.head + " title already exists: " + s.title);
    return l;
}

bool lf_checkFltsimNumbers(const std::vector<std::string>& lines, const std::string& path) {
    std::vector<int32_t> numbers;
    for (const std::string& line : lines) {
        const std::string digits = lf_fltsimNumber(line);
        if (digits.empty()) continue;
        int32_t n = 0;
        const auto [end, ec] = std::from_chars(digits.data(), digits.data() + digits.size(), n);
        if (ec != std::errc() || end != digits.data() + digits.size()) {
            gf_logMarkf("fltsim num {} incorrect", digits);
            return false;
        }
        numbers.push_back(n);
    }
    if (numbers.empty()) {
        lf_addNoSection(path);
        return true;
    }
    std::sort(numbers.begin(), numbers.end());
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == static_cast<int32_t>(i)) continue;
        lf_addInvalidFile(path + " contains " +
                          (numbers[i] == 10000
                               ? std::string("a [fltsim.] section without a number")
                               : fmt::format("non-consecutive [fltsim.x] numbers at .x={}", numbers[i])));
        return false;
    }
    return true;
}

std::string lf_modelFromGeneral(const std::string& path, const std::vector<std::string>& lines) {
    std::string code;
    const auto it = std::find_if(lines.begin(), lines.end(),
                                 [&](const std::string& l) { return lf_keyValue(l, CfgKey::AtcModel, code); });
    if (it == lines.end()) {
        lf_addInvalidFile("Line atc_model= is missing in [General] section of " + path);
        return {};
    }
    return lf_modelChecked(code, path);
}

std::string lf_modelFromMtlPath(const std::string& path) {
    // Both separators: the tree keeps its Windows shape on any system.
    static const std::regex treePath(R"(.+[\\/]IVAO_MTL[\\/]IVAO_(\w+)[\\/]aircraft.cfg$)",
                                     std::regex::icase | std::regex::ECMAScript);
    std::smatch m;
    if (!std::regex_match(path, m, treePath)) {
        lf_addInvalidModel("  ", path);
        return {};
    }
    std::string code = m[1].str();
    size_t cut = 0;
    if (code.ends_with('w') || code == "B744F" || code == "T154M")
        cut = 1;
    else if (code == "T154B2")
        cut = 2;
    else if (code == "GLID_SH")
        cut = 3;
    else if (code == "GLID_A13" || code == "GLID_A25" || code == "GLID_KA6" || code == "GLID_KA8" || code == "GLID_L13")
        cut = 4;
    code.resize(code.size() - cut);
    return lf_modelChecked(code, path);
}

std::list<LiveryData> lf_liveriesOfLines(int32_t level, const std::vector<std::string>& lines, const std::string& path,
                                         const std::string& mtlModel) {
    const bool mtl = !mtlModel.empty();
    if (!lf_checkFltsimNumbers(lines, path)) return {};
    const std::string model = mtl ? mtlModel : lf_modelFromGeneral(path, lines);
    if (model.empty()) return {};
    const fs::path folder = gf_utf8Path(path).parent_path();
    tl_pathCache.clear();
    gf_forgetSimPaths();
    std::list<LiveryData> out;
    std::vector<std::string> section;
    const auto parse = [&] {
        if (mtl) {
            LiveryData l = lf_procesMtlFltSimSection(level, std::move(section), model, path, folder);
            if (!l.title.empty()) out.push_back(std::move(l));
        } else {
            for (LiveryData& l : lf_procesFltSimSection(level, std::move(section), model, path, folder))
                out.push_back(std::move(l));
        }
        section.clear();
    };
    bool inSection = false;
    for (const std::string& line : lines) {
        if (!lf_fltsimNumber(line).empty()) {
            inSection = true;
            if (!section.empty()) parse();
            section.push_back(line);
            continue;
        }
        // A "[" far right in an ordinary file belongs to a value (a title); near the start it opens
        // another section, which closes this one.
        const size_t bracket = line.find('[');
        if (bracket != std::string::npos && (mtl || bracket <= 5)) {
            if (inSection && !section.empty()) parse();
            section.clear();
            inSection = false;
            continue;
        }
        if (inSection) section.push_back(line);
    }
    if (inSection && !section.empty()) parse();
    return out;
}

namespace {

// The lines of a file as UTF-8; false (reported where the user can mend it) when it gives none.
bool lf_readCfgLines(const fs::path& path, const std::string& file, bool mtl, std::vector<std::string>& lines) {
    const TextEncoding encoding = gf_detectEncoding(path);
    if (encoding == TextEncoding::NoneFound) {
        if (mtl) gf_logMarkf("no character set found for {}", file);
        return false;
    }
    std::error_code ec;
    const uintmax_t size = fs::file_size(path, ec);
    if (!ec && size > kMaxCfgBytes) {
        lf_addInvalidFile(fmt::format("{} is no aircraft.cfg: {} bytes long", file, size));
        return false;
    }
    lines.reserve(ec ? 1024 : size / 24 + 1024);  // some 24 bytes a line
    try {
        if (!gf_readTextLines(encoding, path, lines)) return false;
    } catch (const win32::Utf8ConversionException&) {
        lf_addInvalidFile(file + " is a UTF-16 file with invalid characters");
        return false;
    }
    if (encoding == TextEncoding::Utf8WithoutBom || encoding == TextEncoding::Utf8WithBom)
        for (std::string& l : lines) gf_cp1252LineToUtf8(l);
    return true;
}

}  // namespace

std::list<LiveryData> lf_searchLiveriesinFile(int32_t level, const fs::path& path) {
    const std::string file = gf_pathText(path);
    try {
        std::vector<std::string> lines;
        if (!lf_readCfgLines(path, file, false, lines)) return {};
        return lf_liveriesOfLines(level, lines, file, {});
    } catch (const std::exception& e) {
        gf_logf("exception in lf_searchLiveriesinFile {}: {}", file, e.what());
        throw;
    }
}

std::list<LiveryData> lf_searchMtlLiveriesinFile(int32_t level, const fs::path& path) {
    const std::string file = gf_pathText(path);
    const std::string model = lf_modelFromMtlPath(file);
    if (model.empty()) return {};
    std::vector<std::string> lines;
    if (!lf_readCfgLines(path, file, true, lines)) return {};
    return lf_liveriesOfLines(level, lines, file, model);
}
