// liveries/fixes.cpp — reads input/fixes.xml.
#include "liveries/fixes.h"

#include <pugixml.hpp>

#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "liveries/dbase.h"

FixTables fixes;

void gf_clearFixes() { fixes = FixTables{}; }

namespace {

// PVT_fixes and GOV_fixes: an owner code that is a real airline would hide that airline, so it is refused.
void lf_readOwnerFixes(const pugi::xml_node section, const char* label, std::set<std::string>& target) {
    for (const pugi::xml_node fix : section.children("fix")) {
        const std::string wrong = fix.attribute("wrong").value();
        if (gf_isIcaoAirline(wrong)) {
            gf_logMarkf("{} fix {} is an ICAO airline code? ", label, wrong);
            continue;
        }
        if (!target.insert(wrong).second) gf_logMarkf("wrong: {}, already exists, skipped", wrong);
    }
}

}  // namespace

void gf_readFixes() {
    gf_clearFixes();
    const std::string path = folders::fixesXml.string();
    pugi::xml_document doc;
    if (!doc.load_file(folders::fixesXml.c_str()))
        throw zel::UserErrorException(3, path + " (or sections of it) not found?");

    for (const pugi::xml_node fix : doc.child("fixes").children("fix")) {
        const std::string wrong = fix.attribute("wrong").value();
        const std::string correct = fix.attribute("correct").value();
        if (!gf_isValidModel(correct)) {
            gf_logMarkf("wrong fix {}->{}, the latter is not a valid model", wrong, correct);
            continue;
        }
        if (!fixes.modelFixes.emplace(wrong, correct).second)
            gf_logMarkf("wrong part of fix: {}, already exists, skipped", wrong);
    }
    lf_readOwnerFixes(doc.child("PVT_fixes"), "PVT", fixes.pvtFixes);
    lf_readOwnerFixes(doc.child("GOV_fixes"), "GOV", fixes.govFixes);
    gf_logf("\"{}\" read", path);
}
