// liveries/liveries_file.cpp — the driver that obtains the liveries, LiveriesScanned.xml, and the steps
// of a scan on the list of liveries.
#include "liveries/liveries_file.h"

#include <map>
#include <utility>

#include <fmt/format.h>

#include "common/xmlattributes.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "frame/core/textfiles.h"
#include "liveries/scan.h"

namespace {

const char* lf_boolText(bool b) { return b ? "true" : "false"; }

}  // namespace

std::string gf_shortLabel(const std::string& airline, const std::string& model) {
    return fmt::format("{:3} {:4}", airline, model);
}

// ---------------------------------------------------------------- LiveriesScanned.xml

void gf_appendLiveries(pugi::xml_node parent, const std::list<LiveryData>& list) {
    pugi::xml_node element = parent.append_child("liveries");
    for (const LiveryData& l : list) {
        pugi::xml_node liv = element.append_child("liv");
        liv.append_attribute("airl") = l.airline.c_str();
        liv.append_attribute("type") = l.model.c_str();
        if (l.cargo) liv.append_attribute("cargo") = "true";
        liv.append_attribute("title") = l.title.c_str();
        liv.append_attribute("atcid") = l.regcode.c_str();
    }
}

void lf_buildLiveriesDocument(pugi::xml_document& doc) {
    gf_writeMeta(doc);
    gf_appendLiveries(doc, liveries.liveryList);
}

void lf_writeLiveriesFile() {
    if (liveries.liveryList.empty()) return;
    pugi::xml_document doc;
    lf_buildLiveriesDocument(doc);
    gf_saveXml(doc, folders::liveriesScanned);
    gf_logf("{} liveries in {}", liveries.liveryList.size(), folders::liveriesScanned.string());
}

// A livery without a title cannot be created by the simulator, and an empty title would be a miss each
// time chance drew it: it is left out with a line in the log. Other absent attributes read as empty.
void lf_readLiveriesDocument(const pugi::xml_document& doc) {
    for (const pugi::xml_node liv : doc.child("liveries").children("liv")) {
        if (liv.attribute("title").value()[0] == '\0') {
            gf_logMarkf("livery without a title skipped: airl \"{}\" type \"{}\" atcid \"{}\"",
                        liv.attribute("airl").value(), liv.attribute("type").value(), liv.attribute("atcid").value());
            continue;
        }
        LiveryData l;
        l.airline = liv.attribute("airl").value();
        l.model = liv.attribute("type").value();
        l.cargo = gf_isXmlTrue(liv.attribute("cargo").value());
        l.title = liv.attribute("title").value();
        l.regcode = liv.attribute("atcid").value();
        liveries.liveryList.push_back(std::move(l));
    }
}

void lf_readLiveriesFile() {
    liveries.liveryList.clear();
    const std::string path = folders::liveriesScanned.string();
    pugi::xml_document doc;
    if (!doc.load_file(folders::liveriesScanned.c_str()))
        throw zel::UserErrorException(51, fmt::format("File {} not found", path));
    gf_checkMeta(doc);
    if (!doc.child("liveries"))
        throw zel::UserErrorException(52, fmt::format("{} does not contain a <liveries> section", path));
    lf_readLiveriesDocument(doc);
    if (liveries.liveryList.empty()) throw zel::UserErrorException(53, path + " does not contain liveries");
    gf_logf("No scan done, {} liveries read from {}", liveries.liveryList.size(), path);
}

// ---------------------------------------------------------------- the steps of a scan

// Reads dbase; appends to scanLists.dbaseCorrections. A value of the record is taken also when empty.
void lf_dbaseCorrection(LiveryData& livery) {
    if (livery.regcode.empty()) return;
    const DbaseRecord* r = gf_dbaseFind(livery.regcode);
    if (r == nullptr) return;
    if (livery.cargo != r->cargo) {
        scanLists.dbaseCorrections.add(fmt::format("{:80} {} cargo {} => {}", livery.title, livery.regcode,
                                                   lf_boolText(livery.cargo), lf_boolText(r->cargo)));
        livery.cargo = r->cargo;
    }
    const std::string owner = r->opr.empty() ? std::string(r->airl) : std::string(r->opr);
    if (livery.airline != owner) {
        scanLists.dbaseCorrections.add(
            fmt::format("{:80} {} airl {} => {}", livery.title, livery.regcode, livery.airline, owner));
        livery.airline = owner;
    }
    const std::string type(r->type);
    if (livery.model != type) {
        scanLists.dbaseCorrections.add(
            fmt::format("{:80} {} model {} => {}", livery.title, livery.regcode, livery.model, type));
        livery.model = type;
    }
}

// Reads and shortens liveries.liveryList. Whether a lower level exists for an airline and model does not
// change while beaten records go (they never hold the lowest level), so the lowest is found once.
void lf_skipOnPriority() {
    std::map<std::pair<std::string, std::string>, int32_t> lowest;
    for (const LiveryData& l : liveries.liveryList) {
        auto [it, added] = lowest.try_emplace({l.airline, l.model}, l.level);
        if (!added && l.level < it->second) it->second = l.level;
    }
    for (auto it = liveries.liveryList.begin(); it != liveries.liveryList.end();) {
        if (lowest.at({it->airline, it->model}) < it->level) {
            scanLists.skippedOnPriority.add(fmt::format("{} \"{}\"", gf_shortLabel(it->airline, it->model), it->title));
            it = liveries.liveryList.erase(it);
        } else {
            ++it;
        }
    }
}

void lf_sortAndDeduplicate() {
    liveries.liveryList.sort([](const LiveryData& a, const LiveryData& b) {
        if (a.airline != b.airline) return a.airline < b.airline;
        if (a.model != b.model) return a.model < b.model;
        if (a.regcode != b.regcode) return a.regcode < b.regcode;
        return a.title < b.title;
    });
    liveries.liveryList.unique([](const LiveryData& a, const LiveryData& b) {
        return a.title == b.title && a.airline == b.airline && a.model == b.model && a.regcode == b.regcode &&
               a.cargo == b.cargo;
    });
}

void gf_finishScan(bool prioritise, size_t folderCount) {
    if (gf_exitFlagSet()) return;
    if (liveries.liveryList.empty()) {
        panel.liveryCount = -1;
        gf_invalidate(Band::Status);
        gf_clearScanLists();
        gf_clearMessage();
        throw zel::UserErrorException(53, "no liveries found");
    }
    if (folderCount > 1) gf_logf("{} in total", liveries.liveryList.size());
    for (LiveryData& l : liveries.liveryList) lf_dbaseCorrection(l);
    if (prioritise) lf_skipOnPriority();
    lf_writeScanReports();
    lf_sortAndDeduplicate();
    panel.liveryCount = static_cast<int64_t>(liveries.liveryList.size());
    gf_invalidate(Band::Status);
    gf_clearScanLists();
    gf_clearMessage();
    lf_writeLiveriesFile();
    gf_processScannedLiveries();
}

bool gf_getLiveries(bool scan, bool automatic, bool prioritise, const std::vector<std::string>& folders) {
    gf_clearLiveryTables();
    if (!scan) {
        lf_readLiveriesFile();
        gf_processScannedLiveries();
        return true;
    }
    size_t folderCount = 0;
    if (!gf_scanLiveryFolders(automatic, folders, folderCount)) {
        // Stopped half way: what was found is dropped, and the files of the last scan stay as they are.
        liveries.liveryList.clear();
        gf_clearScanLists();
        return true;
    }
    lf_removeScanReports();
    gf_finishScan(prioritise, folderCount);
    return true;
}
