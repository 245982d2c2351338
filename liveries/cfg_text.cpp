// liveries/cfg_text.cpp — the text level of aircraft.cfg files: key lines, section heads, code lists,
// Windows-style paths on any file system, and CP1252 lines made UTF-8.
#include <algorithm>
#include <cctype>
#include <system_error>
#include <unordered_map>

#include "liveries/aircraft_cfg.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

// The blanks of a key line: what the scan's regular expressions call \s.
bool lf_blank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }

char lf_lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// True when `text` at `at` begins with `word` (lower case) in any case.
bool lf_startsWithNoCase(std::string_view text, size_t at, std::string_view word) {
    if (text.size() - at < word.size()) return false;
    for (size_t i = 0; i < word.size(); ++i)
        if (lf_lower(text[at + i]) != word[i]) return false;
    return true;
}

std::string_view lf_keyName(CfgKey key) {
    switch (key) {
        case CfgKey::Title: return "title";
        case CfgKey::Sim: return "sim";
        case CfgKey::Model: return "model";
        case CfgKey::Texture: return "texture";
        case CfgKey::AtcModel: return "atc_model";
        case CfgKey::AtcId: return "atc_id";
        case CfgKey::AtcParkingTypes: return "atc_parking_types";
        case CfgKey::AtcParkingCodes: return "atc_parking_codes";
    }
    return {};
}

// Windows drops trailing dots and blanks of a name: "model." is the folder "model".
std::string_view lf_windowsName(std::string_view name) {
    while (!name.empty() && (name.back() == '.' || name.back() == ' ')) name.remove_suffix(1);
    return name;
}

}  // namespace

bool gf_cfgKeyValue(std::string_view line, CfgKey key, std::string& value) {
    size_t i = 0;
    while (i < line.size() && lf_blank(line[i])) ++i;
    const std::string_view name = lf_keyName(key);
    if (!lf_startsWithNoCase(line, i, name)) return false;
    i += name.size();
    while (i < line.size() && lf_blank(line[i])) ++i;
    if (i >= line.size() || line[i] != '=') return false;
    ++i;
    while (i < line.size() && lf_blank(line[i])) ++i;
    size_t end = line.size();
    while (end > i && lf_blank(line[end - 1])) --end;
    if (end == i) return false;
    // A line end inside the value cannot be matched by the value's "any character".
    for (size_t k = i; k < end; ++k)
        if (line[k] == '\n' || line[k] == '\r') return false;
    value.assign(line.substr(i, end - i));
    return true;
}

bool gf_cfgSectionHead(std::string_view line, std::string& digits) {
    size_t i = 0;
    while (i < line.size() && lf_blank(line[i])) ++i;
    if (!lf_startsWithNoCase(line, i, "[fltsim.")) return false;
    i += 8;
    const size_t first = i;
    while (i < line.size() && line[i] >= '0' && line[i] <= '9') ++i;
    if (i == first || i >= line.size() || line[i] != ']') return false;
    const size_t last = i;
    for (++i; i < line.size(); ++i)
        if (!lf_blank(line[i])) return false;
    digits.assign(line.substr(first, last - first));
    return true;
}

std::string lf_fltsimNumber(std::string_view line) {
    if (line.starts_with("//")) return {};
    std::string digits;
    if (gf_cfgSectionHead(line, digits)) return digits;
    if (line.find("[fltsim.") != std::string_view::npos || line.find("[FLTSIM.") != std::string_view::npos)
        return "10000";
    return {};
}

bool lf_isMakerCode(std::string_view text) {
    return text == "BOE" || text == "AIB" || text == "EMB" || text == "BBA" || text == "AED";
}

std::string gf_trimmed(std::string_view s) {
    while (!s.empty() && lf_blank(s.front())) s.remove_prefix(1);
    while (!s.empty() && lf_blank(s.back())) s.remove_suffix(1);
    return std::string(s);
}

std::vector<std::string> gf_splitTrimmed(std::string_view text, char at) {
    std::vector<std::string> out;
    while (true) {
        const size_t p = text.find(at);
        out.push_back(gf_trimmed(text.substr(0, p)));
        if (p == std::string_view::npos) return out;
        text.remove_prefix(p + 1);
    }
}

void lf_normaliseList(std::string& list) {
    if (list.find_first_of(" \t\n\r") == std::string::npos) return;
    std::string joined;
    for (const std::string& item : gf_splitTrimmed(list, ',')) joined += item + ',';
    joined.pop_back();
    list = std::move(joined);
}

std::string gf_pathText(const fs::path& p) {
    const std::u8string u = p.u8string();
    return std::string(u.begin(), u.end());
}

namespace {

// The entries of the folders a worker looked into for another case, lowered name -> name. A file's
// sections name the same few folders, so each is listed once per file.
thread_local std::unordered_map<std::string, std::unordered_map<std::string, fs::path>> tl_listings;

std::string lf_loweredText(std::string_view s) {
    std::string out(s);
    for (char& c : out) c = lf_lower(c);
    return out;
}

const std::unordered_map<std::string, fs::path>& lf_listing(const fs::path& folder) {
    auto [it, added] = tl_listings.try_emplace(gf_pathText(folder));
    if (added) {
        std::error_code ec;
        for (const fs::directory_entry& e : fs::directory_iterator(folder, ec))
            it->second.emplace(lf_loweredText(gf_pathText(e.path().filename())), e.path());
    }
    return it->second;
}

}  // namespace

void gf_forgetSimPaths() { tl_listings.clear(); }

fs::path gf_findSimPath(const fs::path& folder, std::string_view relative) {
    fs::path at = folder;
    std::error_code ec;
    while (!relative.empty()) {
        const size_t cut = relative.find_first_of("\\/");
        const std::string_view name = lf_windowsName(relative.substr(0, cut));
        relative = cut == std::string_view::npos ? std::string_view{} : relative.substr(cut + 1);
        if (name.empty()) continue;
        fs::path next = at / gf_utf8Path(name);
        if (!fs::exists(next, ec)) {
            // Another case of the same name is the same entry for the simulator.
            const auto& listing = lf_listing(at);
            const auto found = listing.find(lf_loweredText(name));
            if (found == listing.end()) return {};
            next = found->second;
        }
        at = std::move(next);
    }
    return at;
}

// ---------------------------------------------------------------- CP1252

namespace {

// Unicode of the CP1252 bytes 0x80 to 0x9F; the five unassigned ones stand for themselves, as Windows maps them.
constexpr char16_t kCp1252High[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                      0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,
                                      0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                      0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

bool lf_isUtf8(std::string_view s) {
    size_t i = 0;
    while (i < s.size()) {
        const auto c = static_cast<unsigned char>(s[i]);
        size_t n = 0;
        uint32_t cp = 0;
        if (c < 0x80) {
            ++i;
            continue;
        }
        if ((c & 0xE0) == 0xC0) {
            n = 1;
            cp = c & 0x1F;
        } else if ((c & 0xF0) == 0xE0) {
            n = 2;
            cp = c & 0x0F;
        } else if ((c & 0xF8) == 0xF0) {
            n = 3;
            cp = c & 0x07;
        } else {
            return false;
        }
        if (i + n >= s.size()) return false;
        for (size_t k = 1; k <= n; ++k) {
            const auto d = static_cast<unsigned char>(s[i + k]);
            if ((d & 0xC0) != 0x80) return false;
            cp = (cp << 6) | (d & 0x3F);
        }
        // Overlong forms, surrogates and values past U+10FFFF are no UTF-8.
        if ((n == 1 && cp < 0x80) || (n == 2 && cp < 0x800) || (n == 3 && cp < 0x10000) || cp > 0x10FFFF ||
            (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += n + 1;
    }
    return true;
}

}  // namespace

// A line that is no valid UTF-8 was written in the Windows code page of Western Europe, as the
// authors' editors of the FSX years saved it.
void gf_cp1252LineToUtf8(std::string& line) {
    if (lf_isUtf8(line)) return;
    std::u16string wide;
    wide.reserve(line.size());
    for (const char ch : line) {
        const auto c = static_cast<unsigned char>(ch);
        wide.push_back(c >= 0x80 && c < 0xA0 ? kCp1252High[c - 0x80] : static_cast<char16_t>(c));
    }
    line = gf_utf16ToUtf8(wide);
}
