// airports/apf_paths.cpp — which file holds an airport, where its learned file goes, and the small
// questions other parts ask of a file without reading it into the stand table.
#include <fstream>
#include <system_error>

#include "airports/airport_file.h"
#include "frame/core/folders.h"

namespace fs = std::filesystem;

namespace {

bool lf_exists(const fs::path& p) {
    std::error_code ec;
    return fs::exists(p, ec);
}

// A pointer file beside a generated file names the real file on its first line; the line is cut behind
// its last "l" so that it ends in ".xml" whatever trails it (a blank, a Windows line end).
fs::path lf_followPointer(const fs::path& pointer) {
    if (!lf_exists(pointer)) return {};
    std::ifstream in(pointer, std::ios::binary);
    std::string line;
    std::getline(in, line);
    const size_t l = line.rfind('l');
    if (l == std::string::npos) return {};
    const fs::path target = line.substr(0, l + 1);
    return lf_exists(target) ? target : fs::path();
}

// Replaces the first `word` in the path's text.
fs::path lf_replace(const std::string& text, size_t at, size_t length, const std::string& by) {
    std::string s = text;
    s.replace(at, length, by);
    return s;
}

}  // namespace

fs::path gf_apfPath(const std::string& icao) {
    for (const fs::path& folder : {folders::myThirdparty, folders::myOrbx}) {
        if (fs::path p = lf_followPointer(folder / (icao + ".txt")); !p.empty()) return p;
        if (fs::path xml = folder / (icao + ".xml"); lf_exists(xml)) return xml;
    }
    const fs::path stock = folders::archive / "stock" / (icao + ".xml");
    return lf_exists(stock) ? stock : fs::path();
}

fs::path gf_learnedPath(const fs::path& path) {
    const std::string text = path.generic_string();
    if (const size_t at = text.find("archive"); at != std::string::npos) return lf_replace(text, at, 7, "learned");
    if (const size_t at = text.find("my_ORBX"); at != std::string::npos) return lf_replace(text, at, 7, "learned/ORBX");
    if (const size_t at = text.find("my_thirdparty"); at != std::string::npos)
        return lf_replace(text, at, 13, "learned/thirdparty/" + gf_apfPublisher(path));
    return path;
}

pugi::xml_node gf_apfParameter(const pugi::xml_node document, const char* name) {
    // The element walk is the XPath rule "/parameters/parameter[@name='...']" without compiling a query
    // for each of the twenty parameters of a learned file.
    for (const pugi::xml_node p : document.child("parameters").children("parameter"))
        if (std::string_view(p.attribute("name").value()) == name) return p;
    return {};
}

std::string gf_apfPublisher(const fs::path& path) {
    pugi::xml_document doc;
    if (!doc.load_file(path.c_str())) return {};
    return gf_apfParameter(doc, "publisher").attribute("value").value();
}

int32_t gf_apfStandCount(const fs::path& path) {
    pugi::xml_document doc;
    if (!doc.load_file(path.c_str())) return 0;
    return gf_apfParameter(doc, "num_parkpos").attribute("value").as_int(0);
}

bool gf_hasQuality(const std::string& icao) {
    pugi::xml_document doc;
    if (!doc.load_file((folders::archive / "stock" / (icao + ".xml")).c_str())) return false;
    for (const char* name : {"Qf_real", "Qf_soft"})
        if (const pugi::xml_node p = gf_apfParameter(doc, name); p && p.attribute("value").as_int(-1) >= 0) return true;
    return false;
}

bool gf_readApfForGateCheck(const std::string& icao, const std::string& standName) {
    try {
        const fs::path path = gf_apfPath(icao);
        pugi::xml_document doc;
        if (path.empty() || !doc.load_file(path.c_str())) return false;
        for (const pugi::xml_node stand : doc.child("parkpositions").children("parkpos"))
            if (standName == stand.attribute("id").value()) return true;
    } catch (const std::exception&) {
        // a file system fault counts as no such stand
    }
    return false;
}
