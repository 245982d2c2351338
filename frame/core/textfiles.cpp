#include "frame/core/textfiles.h"

#include <fstream>
#include <sstream>
#include <system_error>

#include "common/random.h"
#include "frame/core/log.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

const char* gf_encodingName(TextEncoding e) {
    switch (e) {
        case TextEncoding::Unicode: return "Unicode";
        case TextEncoding::UnicodeBigEndian: return "Unicode_big_endian";
        case TextEncoding::Utf8WithBom: return "UTF8_with_BOM";
        case TextEncoding::NoneFound: return "none_found";
        default: return "UTF8_without_BOM";
    }
}

TextEncoding gf_detectEncoding(const fs::path& path) {
    std::ifstream in(path, std::ios::binary);  // closed by scope on every path
    if (!in.is_open() || fs::is_directory(path)) {
        const int err = errno;
        gf_logLine(fmt::format("cannot open file {} for character encoding, err: {}", path.string(), err));
        return TextEncoding::NoneFound;
    }
    unsigned char b[2] = {0, 0};
    in.read(reinterpret_cast<char*>(b), 2);
    if (in.gcount() < 2) return TextEncoding::Utf8WithoutBom;
    if (b[0] == 0xFF && b[1] == 0xFE) return TextEncoding::Unicode;
    if (b[0] == 0xFE && b[1] == 0xFF) return TextEncoding::UnicodeBigEndian;
    if (b[0] == 0xEF && b[1] == 0xBB) return TextEncoding::Utf8WithBom;
    return TextEncoding::Utf8WithoutBom;
}

namespace {
void lf_pushLine(std::vector<std::string>& out, std::string line) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    out.push_back(std::move(line));
}

// Splits UTF-16 text (after its mark) into lines at line feeds, each converted to UTF-8.
void lf_readUtf16(const std::string& bytes, bool bigEndian, std::vector<std::string>& out) {
    std::u16string line;
    bool any = false;
    for (size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const auto hi = static_cast<unsigned char>(bytes[bigEndian ? i : i + 1]);
        const auto lo = static_cast<unsigned char>(bytes[bigEndian ? i + 1 : i]);
        const char16_t c = static_cast<char16_t>((hi << 8) | lo);
        any = true;
        if (c == u'\n') {
            lf_pushLine(out, gf_utf16ToUtf8(line));
            line.clear();
            any = false;
        } else {
            line.push_back(c);
        }
    }
    if (any) lf_pushLine(out, gf_utf16ToUtf8(line));
}
}  // namespace

bool gf_readTextLines(TextEncoding encoding, const fs::path& path, std::vector<std::string>& out) {
    std::ifstream in(path, std::ios::binary);
    if (!in.is_open()) return false;
    if (encoding == TextEncoding::Unicode || encoding == TextEncoding::UnicodeBigEndian) {
        std::ostringstream ss;
        ss << in.rdbuf();
        lf_readUtf16(ss.str(), encoding == TextEncoding::UnicodeBigEndian, out);
        return true;
    }
    std::string line;
    bool first = true;
    while (std::getline(in, line)) {
        // A UTF-8 mark is taken as three bytes even when its third byte is not BF.
        if (first && encoding == TextEncoding::Utf8WithBom) line.erase(0, std::min<size_t>(3, line.size()));
        first = false;
        lf_pushLine(out, std::move(line));
    }
    return true;
}

int gf_readExtTextFileToStringVector(const fs::path& path, std::vector<std::string>& out) {
    try {
        const TextEncoding e = gf_detectEncoding(path);
        if (e == TextEncoding::NoneFound) return 0;
        return gf_readTextLines(e, path, out) ? 1 : 0;
    } catch (const std::exception& ex) {
        gf_logLine(fmt::format("gf_readExtTextFileToStringVector {}", ex.what()));
        return 0;
    }
}

bool gf_writeFileAtomically(const fs::path& path, const std::string& content) {
    fs::path tmp = path;
    tmp += fmt::format(".tmp{}", gf_randomInt(0, 999999));
    {
        std::ofstream out(tmp, std::ios::binary | std::ios::trunc);
        if (!out.is_open()) return false;
        out.write(content.data(), static_cast<std::streamsize>(content.size()));
        out.flush();
        if (!out.good()) {
            out.close();
            std::error_code ec;
            fs::remove(tmp, ec);
            return false;
        }
    }
    std::error_code ec;
    fs::rename(tmp, path, ec);
    if (ec) {
        fs::remove(tmp, ec);
        return false;
    }
    return true;
}

bool gf_saveText(const std::string& text, const fs::path& path, bool endLine) {
    return gf_writeFileAtomically(path, endLine ? text + "\n" : text);
}

bool gf_saveXmlQuiet(const pugi::xml_document& document, const fs::path& path) {
    std::ostringstream ss;
    document.save(ss, "\t", pugi::format_default, pugi::encoding_utf8);
    return gf_writeFileAtomically(path, ss.str());
}

bool gf_saveXml(const pugi::xml_document& document, const fs::path& path) {
    const bool ok = gf_saveXmlQuiet(document, path);
    if (ok)
        gf_logLine(fmt::format("\"{}\" saved", path.string()));
    else
        gf_logLine(fmt::format("could not save to \"{}\"", path.string()));
    return ok;
}
