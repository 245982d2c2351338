// liveries/regcodes.cpp — registrations and special liveries from AIG-regcodes.xml and the user's files.
#include "liveries/regcodes.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "common/xmlattributes.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/textfiles.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/scramble.h"
#include "liveries/state.h"

namespace fs = std::filesystem;

namespace {

// Titles installed in this run -> their view in the tables.
std::unordered_map<std::string_view, std::string_view> lf_installedTitles() {
    std::unordered_map<std::string_view, std::string_view> out;
    for (const auto& [airline, models] : liveries.airlineLiveries)
        for (const auto& [model, titles] : models)
            for (const LiveryTitle& t : titles) out.emplace(t.title, t.title);
    return out;
}

struct Counts {
    int added = 0, replaced = 0, special = 0;
};

// One registration for one title. A registration that already belongs to this title counts as new.
void lf_registration(const std::string& reg, std::string_view title, bool special, const std::string& file,
                     std::vector<std::string>& results, Counts& counts) {
    if (reg.empty() || reg.size() > 12) {
        results.push_back(fmt::format("{}wrong regcode length \"{}\" in {}", kMark, reg, file));
        return;
    }
    const auto it = liveries.regcodeLiveries.find(reg);
    if (it != liveries.regcodeLiveries.end() && it->second != title) {
        results.push_back(fmt::format("   regcode {} for \"{}\", instead of for \"{}\"", reg, title, it->second));
        it->second = title;
        ++counts.replaced;
    } else {
        liveries.regcodeLiveries[reg] = title;
        ++counts.added;
    }
    if (special) {
        liveries.specialLiveries.push_back(title);
        ++counts.special;
    }
}

std::string lf_summary(const std::string& file, const Counts& c) {
    std::string line = fmt::format("{}: {} new regcode{} added", file, c.added, gf_plural(c.added));
    if (c.replaced > 0) line += fmt::format(", {} regcode{} replaced", c.replaced, c.replaced > 1 ? "s" : "");
    if (c.special > 0) line += fmt::format(", {} regcode{} defined as special", c.special, c.special > 1 ? "s" : "");
    return line;
}

bool lf_isTxt(const fs::path& p) {
    std::string ext = p.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return ext == ".TXT";
}

// Each .TXT file of my_regcodes with its non-empty lines split at ";"; `onLine` gets the path, the line and
// its fields, `onEnd` the path after the last line. `onError` gets the path and the text of a failure,
// and the next file follows.
template <typename OnLine, typename OnEnd, typename OnError>
void lf_forEachUserLine(OnLine onLine, OnEnd onEnd, OnError onError) {
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folders::myRegcodes, ec)) {
        if (!entry.is_regular_file(ec) || !lf_isTxt(entry.path())) continue;
        const std::string path = entry.path().generic_string();  // shown in the report
        try {
            std::vector<std::string> lines;
            gf_readExtTextFileToStringVector(entry.path(), lines);
            for (const std::string& line : lines)
                if (!gf_trimmed(line).empty()) onLine(path, line, gf_splitTrimmed(line, ';'));
            onEnd(path);
        } catch (const std::exception& e) {
            onError(path, e.what());
        }
    }
}

}  // namespace

bool gf_folderHasFiles(const fs::path& folder) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) return false;
    for (const auto& e : fs::directory_iterator(folder, ec))
        if (e.is_regular_file(ec)) return true;
    return false;
}

// ---------------------------------------------------------------- titles a scan must not use

namespace {

void lf_addDontUse(const std::string& title, std::set<std::string>& seen, const std::string& file) {
    if (!seen.insert(title).second) {
        gf_logMarkf("don't use title \"{}\" not unique in file {}", title, file);
        return;
    }
    liveryScan.dontUseTitles.insert(title);
}

}  // namespace

void lf_readDontUseAig() {
    const std::string path = folders::aigRegcodesXml.string();
    std::set<std::string> seen;
    try {
        pugi::xml_document doc;
        if (!doc.load_file(folders::aigRegcodesXml.c_str())) {
            gf_logMarkf("Failed to load regcode file {}", path);
            return;
        }
        for (const pugi::xml_node livery : doc.child("AIG-regcodes").children("livery")) {
            const std::string title = livery.attribute("title").value();
            if (!title.empty() && livery.attribute("reg").value()[0] == '\0') lf_addDontUse(title, seen, path);
        }
    } catch (const std::exception& e) {
        gf_logMarkf("Error in reading regcode file {}, what: {}", path, e.what());
    }
    gf_logf("{} don't use title{} read from files in {}", seen.size(), gf_plural(static_cast<long long>(seen.size())),
            path);
}

void lf_readDontUseMine() {
    std::set<std::string> seen, titled;
    lf_forEachUserLine(
        [&](const std::string& path, const std::string&, const std::vector<std::string>& fields) {
            if (fields.size() == 1) {
                // Shorter texts are too likely a part of many titles by mistake.
                if (fields[0].size() >= 9) lf_addDontUse(fields[0], seen, path);
            } else if (!titled.insert(fields[0]).second) {
                gf_logMarkf("title \"{}\" not unique in file {}", fields[0], path);
            }
        },
        [](const std::string&) {},
        [](const std::string& path, const char* what) {
            gf_logMarkf("Error in reading regcode file {}, what: {}", path, what);
        });
    gf_logf("{} don't use title{} read from files in {}", seen.size(), gf_plural(static_cast<long long>(seen.size())),
            folders::myRegcodes.string());
}

// ---------------------------------------------------------------- registrations

void lf_readAigRegcodes(std::vector<std::string>& results) {
    const std::string path = folders::aigRegcodesXml.string();
    results.push_back("Processing " + path);
    try {
        pugi::xml_document doc;
        if (!doc.load_file(folders::aigRegcodesXml.c_str())) {
            results.push_back(fmt::format("{} Failed to load regcode file {}", kMark, path));
            return;
        }
        const auto installed = lf_installedTitles();
        Counts counts;
        for (const pugi::xml_node livery : doc.child("AIG-regcodes").children("livery")) {
            const auto title = installed.find(livery.attribute("title").value());
            if (title == installed.end()) continue;  // not installed: nothing to say
            std::vector<std::string> regs;
            for (const std::string& r : gf_splitTrimmed(livery.attribute("reg").value(), ','))
                if (!r.empty()) regs.push_back(r);
            const bool special = gf_isXmlTrue(livery.attribute("special").value());
            for (const std::string& r : regs)
                lf_registration(gf_decodeRegcode(r), title->second, special, path, results, counts);
        }
        results.push_back(lf_summary(path, counts));
    } catch (const std::exception& e) {
        results.push_back(fmt::format("{} Error in reading regcode file {}, what: {}", kMark, path, e.what()));
    }
}

void lf_readMyRegcodes(std::vector<std::string>& results) {
    results.push_back("Processing files in " + folders::myRegcodes.string());
    const auto installed = lf_installedTitles();
    Counts counts;  // of the file being read
    lf_forEachUserLine(
        [&](const std::string& path, const std::string& line, const std::vector<std::string>& fields) {
            if (fields.size() == 1) return;  // a don't-use title: the scan's business
            if (fields.size() > 3) {
                results.push_back(fmt::format("{}{} wrong format: {}", kMark, path, line));
                gf_logMarkf("{} wrong format: {}", path, line);
                return;
            }
            const auto title = installed.find(fields[0]);
            if (title == installed.end()) return;
            if (fields.size() == 3 && fields[2] != "#") return;
            std::vector<std::string> regs;
            for (const std::string& r : gf_splitTrimmed(fields[1], ','))
                if (!r.empty()) regs.push_back(r);
            const bool special = fields.size() == 3 || regs.size() == 1;
            for (const std::string& r : regs) lf_registration(r, title->second, special, path, results, counts);
        },
        [&](const std::string& path) {
            results.push_back(lf_summary(path, counts));
            counts = Counts{};
        },
        [&](const std::string& path, const char* what) {
            results.push_back(fmt::format("{} Error in reading regcode file {}, what: {}", kMark, path, what));
            counts = Counts{};
        });
}

void lf_readRegcodeFiles() {
    std::vector<std::string> results;
    if (fs::exists(folders::aigRegcodesXml)) lf_readAigRegcodes(results);
    if (gf_folderHasFiles(folders::myRegcodes)) lf_readMyRegcodes(results);
    const fs::path path = folders::info / "OfflineRegcodes.txt";
    std::error_code ec;
    fs::remove(path, ec);
    if (!results.empty()) {
        gf_makeFolder(folders::info);
        std::string text;
        for (const std::string& r : results) text += r + "\n";
        gf_saveText(text, path, false);
        gf_logf("Offline regcode files processed, results can be found in \"{}\"", path.string());
    }
    if (!liveries.specialLiveries.empty()) gf_logf("{} special liveries", liveries.specialLiveries.size());
}
