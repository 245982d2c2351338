// The update check: version files first, payloads into their local names in the install folder, and only a
// complete payload moves into its final place; a stored version changes only after that.
#include "frame/update.h"

#include <filesystem>
#include <mutex>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "common/clock.h"
#include "frame/core/download.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "frame/core/zipreader.h"
#include "frame/links.h"

namespace fs = std::filesystem;

namespace {

// One data file of the server with a version of its own: the database or the registration codes.
struct DataItem {
    const char* folder;         // below the base URL, also the version file's folder
    const char* fileName;       // payload name on the server and local name while it loads
    fs::path target;            // final place
    ParString& version;         // stored version
    const char* noVersionText;  // logged when the server names no version
};

DataItem lf_dbaseItem() {
    return {"dbase", "dbase.xml", folders::dbaseXml, DBASE_VERSION, "No dbase version info found at the ZARK server?"};
}
DataItem lf_regcodesItem() {
    return {"aig", "AIG-regcodes.xml", folders::aigRegcodesXml, AIG_VERSION,
            "No AIG regcodes version info found at the ZARK server?"};
}

Version lf_programVersionOnServer() { return gf_versionOnServer("release/version_P3D.json"); }
Version lf_itemVersionOnServer(const std::string& folder) { return gf_versionOnServer(folder + "/version.json"); }
Version lf_archiveVersionOnServer() { return gf_versionOnServer("archive/p3d/version.json"); }

// Fetches `path` below the base into `local` on a handle of its own.
bool lf_fetch(const std::string& path, const fs::path& local, bool binary) {
    CURL* handle = curl_easy_init();
    const bool ok = gf_downloadFile(handle, gf_updateBaseUrl() + path, local, binary);
    if (handle) curl_easy_cleanup(handle);
    return ok;
}

void lf_updateItem(const DataItem& item) {
    const Version server = lf_itemVersionOnServer(item.folder);
    if (server == Version{}) {
        gf_logMark(item.noVersionText);
        return;
    }
    if (server <= gf_parseVersion(item.version.current) && fs::exists(item.target)) return;
    gf_showMessagef(true, "Downloading {} version {} ...", item.target.string(), gf_versionText(server));
    const fs::path local = item.fileName;
    if (lf_fetch(fmt::format("{}/{}", item.folder, item.fileName), local, false)) {
        if (gf_replaceFile(local, item.target)) {
            item.version.current = gf_versionText(server);
            gf_saveParameter(item.version);
        } else {
            gf_logLine(fmt::format("writing {} failed?", item.target.string()));
        }
    } else {
        gf_logLine(fmt::format("downloading {} failed?", item.target.string()));
    }
    gf_removeIfExists(local);
}

void lf_updateDbase() { lf_updateItem(lf_dbaseItem()); }

void lf_updateRegcodes() {
    lf_updateItem(lf_regcodesItem());
    // An earlier version kept the codes in a folder of their own.
    gf_removeIfExists(folders::regcodesAig / "AIG-regcodes.xml");
    gf_removeIfExists(folders::regcodesAig);
}

// Fetches the installer's zip and unpacks its one entry as install_new_version.exe. Never runs it.
bool lf_fetchInstaller(Version server) {
    const std::string name = fmt::format("setup_{}_v{}.zip", kProgramName, gf_versionText(server));
    if (!lf_fetch("release/" + name, name, true)) {
        gf_showMessagef(true, "Downloading program installer file version {} failed", gf_versionText(server));
        gf_removeIfExists(name);
        return false;
    }
    gf_logLine(fmt::format("downloaded {}", name));
    bool extracted = false;
    {
        ZipReader zip(name, download.archiveLimits);
        if (!zip.isOpen()) gf_logMark(fmt::format("could not open {}", name));
        for (int64_t i = 0; zip.isOpen() && i < zip.entryCount() && !extracted; ++i) {
            gf_removeIfExists(folders::installer);
            const ZipRead r = zip.extractTo(i, folders::installer);
            if (r != ZipRead::Ok) {
                gf_logMark(fmt::format("extracting error code : {}", static_cast<int>(r)));
                continue;
            }
            gf_logLine(fmt::format("{} extracted to {}", name, folders::installer.string()));
            extracted = true;
        }
    }
    gf_removeIfExists(name);
    return extracted;
}

void lf_updateProgram() {
    const Version server = lf_programVersionOnServer();
    if (server == Version{}) {
        gf_logMark("Program Version file not found?");
        return;
    }
    if (server <= gf_programVersion()) return;
    if (!lf_fetchInstaller(server)) {
        gf_showMessage("download/extract of the new version failed? Try manually via my website", true);
        return;
    }
    const fs::path exe = fs::path(PROGRAM_INSTALL_PATH.current) / folders::installer;
    throw zel::UserErrorException(99,
                                  fmt::format("New version {} available. Exit here, and run as administrator:   \"{}\"",
                                              gf_versionText(server), exe.string()));
}

bool lf_archiveFoldersMissing() {
    for (const fs::path& p :
         {folders::archive, folders::archive / "stock", folders::archive / "ORBX", folders::archive / "thirdparty"})
        if (!fs::exists(p)) return true;
    return false;
}

// Unpacks the airport files of the archive below airports/. Returns the count, or -1 when the archive
// inflated past its limits (what was written stays: each file is whole, saved atomically).
int32_t lf_extractArchive(ZipReader& zip) {
    int32_t count = 0;
    std::string content;
    for (int64_t i = 0; i < zip.entryCount(); ++i) {
        const std::string name = zip.entryName(i);
        if (name.empty() || name.back() == '/') continue;
        if (name.size() < 4 || name.compare(name.size() - 4, 4, ".xml") != 0) continue;
        if (!gf_zipNameStaysInside(name)) {
            gf_logMark(fmt::format("{}: entry \"{}\" points outside {}, skipped", folders::archiveZip.string(), name,
                                   folders::airports.string()));
            continue;
        }
        if (name.find("thirdparty") != std::string::npos) {
            const std::string publisher = links::publisherOf(name);
            if (publisher == "unknown")
                gf_logMark(fmt::format("pub {} not found", name));
            else
                gf_makeFolder(folders::archive / "thirdparty" / publisher);
        }
        const ZipRead r = zip.read(i, content);
        if (r == ZipRead::TooLarge) {
            gf_logMark(fmt::format("{}: entry \"{}\" inflates beyond the limit, archive refused",
                                   folders::archiveZip.string(), name));
            return -1;
        }
        if (r != ZipRead::Ok) {
            gf_logMark(fmt::format("{}: entry \"{}\" cannot be read, skipped", folders::archiveZip.string(), name));
            continue;
        }
        ++count;
        if (count % 300 == 0)
            gf_showMessagef(false, "Extracting {} ...  {} files", folders::archiveZip.string(), count);
        const fs::path target = folders::airports / name;
        fs::create_directories(target.parent_path());
        gf_writeFileAtomically(target, content);
    }
    return count;
}

void lf_loadArchiveNotes() {
    for (const char* extension : {"txt", "csv"}) {
        const std::string name = fmt::format("P3D_archive.{}", extension);
        if (lf_fetch("docs/" + name, name, false)) {
            if (gf_replaceFile(name, folders::docs / name))
                gf_logLine(fmt::format("{} downloaded", name));
            else
                gf_logMark(fmt::format("writing {} failed?", name));
        } else {
            gf_logMark(fmt::format("downloading {} failed?", name));
        }
        gf_removeIfExists(name);
    }
}

bool lf_updateArchive() {
    const Version server = lf_archiveVersionOnServer();
    if (server == Version{}) {
        gf_logMark("No archive version info found at the ZARK server?");
        return false;
    }
    const Version stored = gf_parseVersion(ARCHIVE_VERSION.current);
    // A first archive (1.0.0) or a test archive (0.1.0) replaces any later one the user had.
    const bool reset = (server == Version{1, 0, 0} || server == Version{0, 1, 0}) && stored > server;
    const bool load = server > stored || reset || stored.major == 0 || lf_archiveFoldersMissing();
    if (!load) return false;
    const std::string versionText = gf_versionText(server);
    gf_showMessagef(true, "Downloading archive files version {} ...", versionText);
    if (!lf_fetch("archive/p3d/archive.zip", folders::archiveZip, true)) {
        gf_showMessagef(true, "Downloading archive files version {} failed", versionText);
        gf_removeIfExists(folders::archiveZip);
        return false;
    }
    for (const fs::path& p :
         {folders::archive, folders::archive / "stock", folders::archive / "ORBX", folders::archive / "thirdparty"})
        gf_makeFolder(p);
    int32_t count = -1;
    {
        ZipReader zip(folders::archiveZip, download.archiveLimits);
        if (!zip.isOpen()) {
            gf_logMark(fmt::format("could not open {}", folders::archiveZip.string()));
        } else {
            count = lf_extractArchive(zip);
        }
    }
    gf_removeIfExists(folders::archiveZip);
    if (count < 0) return false;
    gf_showMessagef(true, "{} extracted {} files", folders::archiveZip.string(), count);
    ARCHIVE_VERSION.current = versionText;
    gf_saveParameter(ARCHIVE_VERSION);
    gf_showMessagef(true, "Archive has been updated to version {}", versionText);
    lf_loadArchiveNotes();
    return true;
}

// A new archive brings airport files that the scan must take in.
void lf_updateArchiveAndScan() {
    if (!lf_updateArchive()) return;
    SCAN_AIRPORTS.current = true;
    gf_saveParameter(SCAN_AIRPORTS);
    gf_setControlChecked(SCAN_AIRPORTS.controlId, true);
    gf_invalidate(Band::Parameters);
}

}  // namespace

std::string gf_dateText(std::time_t utc) {
    std::tm tm{};
#ifdef _WIN32
    gmtime_s(&tm, &utc);
#else
    gmtime_r(&utc, &tm);
#endif
    static constexpr const char* kMonths[] = {"JAN", "FEB", "MAR", "APR", "MAY", "JUN",
                                              "JUL", "AUG", "SEP", "OCT", "NOV", "DEC"};
    return fmt::format("{}{:>2}{}", kMonths[tm.tm_mon], tm.tm_mday, tm.tm_year + 1900);
}

void gf_dailyDataCheck() {
    const std::string today = links::scrambleDateText(gf_dateText(static_cast<std::time_t>(gf_epochSeconds())));
    const bool firstStartToday = today != DATA_CHECKED_AT_DATE.current;
    if (firstStartToday || !fs::exists(folders::dbaseXml)) lf_updateDbase();
    links::readDatabaseOnce();
    if (firstStartToday) {
        lf_updateProgram();
        lf_updateRegcodes();
        lf_updateArchiveAndScan();
        DATA_CHECKED_AT_DATE.current = today;
        gf_saveParameter(DATA_CHECKED_AT_DATE);
        gf_setControlEnabled(kCheckVersionButtonId, false);  // today's answer is known
    } else {
        if (!fs::exists(folders::aigRegcodesXml)) lf_updateRegcodes();
        if (lf_archiveFoldersMissing()) lf_updateArchiveAndScan();
    }
    download.archiveWeek = gf_parseVersion(ARCHIVE_VERSION.current).major;
    gf_setControlEnabled(SIM_INSTALL_PATH.controlId, true);
}

std::string gf_newVersionsText() {
    std::vector<std::string> items;
    if (const Version v = lf_programVersionOnServer(); v > gf_programVersion())
        items.push_back(fmt::format("{} ({})", kProgramName, gf_versionText(v)));
    if (const Version v = lf_itemVersionOnServer("dbase"); v > gf_parseVersion(DBASE_VERSION.current))
        items.push_back(fmt::format("dbase ({})", gf_versionText(v)));
    if (const Version v = lf_archiveVersionOnServer(); v > gf_parseVersion(ARCHIVE_VERSION.current))
        items.push_back(fmt::format("archive ({})", gf_versionText(v)));
    if (const Version v = lf_itemVersionOnServer("aig"); v > gf_parseVersion(AIG_VERSION.current))
        items.push_back(fmt::format("AIG-regcodes ({})", gf_versionText(v)));
    if (items.empty()) return {};
    return fmt::format("New version{} for: {}", items.size() > 1 ? "s" : "", fmt::join(items, ", "));
}

void gf_checkVersionPressed() {
    const std::string text = gf_newVersionsText();
    if (text.empty()) {
        gf_showMessagef(true, "{} is up to date", kProgramName);
    } else {
        DATA_CHECKED_AT_DATE.current.clear();
        gf_saveParameter(DATA_CHECKED_AT_DATE);
        gf_showMessagef(true, "{} ==> exit {} and restart ...", text, kProgramName);
    }
    gf_setControlEnabled(kCheckVersionButtonId, false);
}
