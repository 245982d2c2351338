// liveries/regcodes.cpp — registrations and special liveries from AIG-regcodes.xml and the user's files.
#include "liveries/regcodes.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <unordered_map>

#include <fmt/format.h>
#include <pugixml.hpp>

#include "common/xmlattributes.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/textfiles.h"
#include "liveries/scramble.h"
#include "liveries/state.h"

namespace fs = std::filesystem;

namespace {

std::string_view lf_trim(std::string_view s) {
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    while (!s.empty() && blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && blank(s.back())) s.remove_suffix(1);
    return s;
}

std::vector<std::string> lf_split(std::string_view text, char at) {
    std::vector<std::string> out;
    while (true) {
        const size_t p = text.find(at);
        out.emplace_back(lf_trim(text.substr(0, p)));
        if (p == std::string_view::npos) return out;
        text.remove_prefix(p + 1);
    }
}

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

bool lf_folderHasFiles(const fs::path& folder) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) return false;
    for (const auto& e : fs::directory_iterator(folder, ec))
        if (e.is_regular_file(ec)) return true;
    return false;
}

bool lf_isTxt(const fs::path& p) {
    std::string ext = p.extension().string();
    std::transform(ext.begin(), ext.end(), ext.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return ext == ".TXT";
}

}  // namespace

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
            for (const std::string& r : lf_split(livery.attribute("reg").value(), ','))
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
    std::error_code ec;
    for (const auto& entry : fs::directory_iterator(folders::myRegcodes, ec)) {
        if (!entry.is_regular_file(ec) || !lf_isTxt(entry.path())) continue;
        const std::string path = entry.path().generic_string();  // shown in the report
        try {
            std::vector<std::string> lines;
            gf_readExtTextFileToStringVector(entry.path(), lines);
            Counts counts;
            for (const std::string& line : lines) {
                if (lf_trim(line).empty()) continue;
                const std::vector<std::string> fields = lf_split(line, ';');
                if (fields.size() == 1) continue;  // a don't-use title: the scan's business
                if (fields.size() > 3) {
                    results.push_back(fmt::format("{}{} wrong format: {}", kMark, path, line));
                    gf_logMarkf("{} wrong format: {}", path, line);
                    continue;
                }
                const auto title = installed.find(fields[0]);
                if (title == installed.end()) continue;
                if (fields.size() == 3 && fields[2] != "#") continue;
                std::vector<std::string> regs;
                for (const std::string& r : lf_split(fields[1], ','))
                    if (!r.empty()) regs.push_back(r);
                const bool special = fields.size() == 3 || regs.size() == 1;
                for (const std::string& r : regs) lf_registration(r, title->second, special, path, results, counts);
            }
            results.push_back(lf_summary(path, counts));
        } catch (const std::exception& e) {
            results.push_back(fmt::format("{} Error in reading regcode file {}, what: {}", kMark, path, e.what()));
        }
    }
}

void lf_readRegcodeFiles() {
    std::vector<std::string> results;
    if (fs::exists(folders::aigRegcodesXml)) lf_readAigRegcodes(results);
    if (lf_folderHasFiles(folders::myRegcodes)) lf_readMyRegcodes(results);
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
