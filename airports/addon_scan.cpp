// airports/addon_scan.cpp — the add-on airport scan: the folders, the BGL workers, and per airport the link
// to the archive or a generated airport file.
#include <chrono>
#include <deque>
#include <future>
#include <thread>

#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"
#include "frame/core/textfiles.h"
#include "liveries/dbase.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

constexpr size_t kReportReserve = 2048;  // lines
constexpr int32_t kProgressEvery = 16;   // files between two progress texts on the message line
constexpr auto kWorkerPoll = std::chrono::microseconds(10);

// Takes a worker off the count however it ends, so that the wait for a free worker cannot hang.
struct WorkerCount {
    WorkerCount() = default;
    WorkerCount(const WorkerCount&) = delete;
    WorkerCount& operator=(const WorkerCount&) = delete;
    ~WorkerCount() { --addonScan.workers; }
};

int32_t lf_workerLimit() { return static_cast<int32_t>(std::max(1u, runPaths.hardwareThreads)); }

bool lf_contains(const std::string& text, const fs::path& part) {
    const std::string p = part.string();
    return !p.empty() && text.find(p) != std::string::npos;
}

// Waits for the oldest worker and passes its exception on.
void lf_collect(std::future<void>& future) {
    while (future.wait_for(std::chrono::milliseconds(0)) != std::future_status::ready) {
        if (future.wait_for(std::chrono::seconds(5)) != std::future_status::ready)
            gf_reportLine(fmt::format("{}futs #1 not yet valid ? ...", "===> "));
    }
    future.get();
}

// Looks for the archived file of the airport's publisher and leaves a pointer file to it.
bool lf_findArchived(AirportFileData& data, int32_t& archivedCount, const std::string& path) {
    archivedCount = 0;
    data.bglPath = path;
    data.publisher = gf_publisherFromFileName(path);
    if (data.publisher == "unknown") return false;
    const bool orbx = data.publisher == "ORBX";
    const fs::path folder = orbx ? folders::archive / "ORBX" : folders::archive / "thirdparty" / data.publisher;
    const fs::path archived = folder / (data.icao + ".xml");
    std::error_code ec;
    if (!fs::exists(folder, ec)) {
        gf_reportLine(fmt::format("\n{} folder does not exist\n", folder.string()));
        return false;
    }
    if (!fs::exists(archived, ec)) {
        gf_reportLine(fmt::format("{} does not exist", archived.string()));
        return false;
    }
    const fs::path mine = orbx ? folders::myOrbx : folders::myThirdparty;
    gf_makeFolder(mine);
    gf_saveText(archived.generic_string(), mine / (data.icao + ".txt"), true);
    if (orbx)
        gf_reportLine(fmt::format("{} airport {} linked to {}", "ORBX", data.icao, archived.string()));
    else
        gf_reportLine(fmt::format("thirdparty {} linked to {}", data.icao, archived.string()));
    ++addonScan.linked;
    archivedCount = gf_apfStandCount(archived);
    return true;
}

void lf_generate(BglAirport& airport) {
    AirportFileData& data = airport.data;
    const size_t n = data.stands.size();
    if (n == 0) return;
    const fs::path folder = data.publisher == "ORBX" ? folders::myOrbx : folders::myThirdparty;
    const fs::path path = folder / (data.icao + ".xml");
    std::string line = fmt::format("Generated {}: {} position{}", path.filename().string(), n, gf_plural(n));
    if (airport.helipads > 0)
        line += fmt::format(", of which {} helipad{}", airport.helipads, gf_plural(airport.helipads));
    gf_reportLine(line);
    std::sort(data.stands.begin(), data.stands.end(), [](const Stand& a, const Stand& b) { return a.name < b.name; });
    gf_makeFolder(folder);
    // Quietly: the scan's lines go to its report, and a thousand airports would flood the log.
    pugi::xml_document document;
    gf_buildApf(document, data, false);
    if (!gf_saveXmlQuiet(document, path))
        gf_reportLine(fmt::format("{}Generating {} did not succeed", "===> ", path.string()));
    else
        ++addonScan.generated;
}

void lf_showProgress() {
    gf_showMessage(fmt::format("Scanning for addon airports: {} file{} read, {} airport{} found ...",
                               addonScan.filesRead.load(), gf_plural(addonScan.filesRead.load()),
                               addonScan.airportsFound.load(), gf_plural(addonScan.airportsFound.load())),
                   false);
}

void lf_writeReport() {
    std::string text;
    {
        const std::lock_guard lock(addonScan.reportLock);
        for (const std::string& l : addonScan.report) text += l + "\n";
        addonScan.report.clear();
    }
    gf_makeFolder(folders::info);
    if (!gf_writeFileAtomically(kAirportsScanLog, text))
        gf_logMark(fmt::format("could not write {}", kAirportsScanLog.string()));
    const std::string written = kAirportsScanLog.string() + " written";
    gf_logLine(written);
    gf_showMessage(written, false);
}

}  // namespace

void gf_reportLine(const std::string& text) {
    const std::lock_guard lock(addonScan.reportLock);
    addonScan.report.push_back(text);
}

void lf_processAirport(BglAirport& airport, const std::string& path) {
    ++addonScan.airportsFound;
    int32_t archivedCount = 0;
    const bool found = lf_findArchived(airport.data, archivedCount, path);
    const auto n = static_cast<int32_t>(airport.data.stands.size());
    if (n > archivedCount)
        gf_reportLine(
            fmt::format("{}{} has {} parkpos while archived one has {}", "===> ", airport.data.icao, n, archivedCount));
    // An add-on with more stands than the archive knows gets its own file beside the pointer file; the
    // generated file serves offline learning.
    if (!found || n > archivedCount) lf_generate(airport);
}

void lf_toParkingPositions(const fs::path& path) {
    const WorkerCount counted;
    const std::string text = path.string();
    try {
        BglWords words;
        if (!gf_bglReadWords(path, words)) return;
        ++addonScan.filesRead;
        gf_decodeBglAirports(words, text, [&](BglAirport& airport) { lf_processAirport(airport, text); });
    } catch (const std::exception& e) {
        gf_reportLine(fmt::format("{}!? Exception in lf_toParkingPositions: {}", "===> ", text + ": " + e.what()));
        throw;
    }
}

void lf_scanFolder(const std::string& path) {
    if (path.empty()) return;
    const fs::path folder = gf_utf8Path(path);
    std::error_code ec;
    if (!fs::exists(folder, ec)) {
        gf_showMessage(path + " does not exist, skipped!", true);
        return;
    }
    if (!fs::is_directory(folder, ec)) {
        gf_showMessage(path + " is not a folder name, skipped!", true);
        return;
    }
    if (lf_contains(path, runPaths.stockAirports)) return;
    gf_reportLine("Scanning for addon airports in " + path);
    const int32_t limit = lf_workerLimit();
    std::deque<std::future<void>> futures;
    int32_t started = 0;
    const auto start = [&](const fs::path& file) {
        while (addonScan.workers.load() >= limit) std::this_thread::sleep_for(kWorkerPoll);
        ++addonScan.workers;
        std::packaged_task<void()> task([file] { lf_toParkingPositions(file); });
        futures.push_back(task.get_future());
        try {
            std::thread(std::move(task)).detach();
        } catch (...) {
            --addonScan.workers;  // no thread: the worker that never ran must not hold its place
            futures.pop_back();
            throw;
        }
        if (static_cast<int32_t>(futures.size()) > limit) {
            try {
                lf_collect(futures.front());
            } catch (const std::exception& e) {
                futures.pop_front();
                throw std::runtime_error(fmt::format("{} airports search aborted, futs inner, \n{}\n{}\n{}", "===> ",
                                                     path, file.string(), e.what()));
            }
            futures.pop_front();
        }
    };
    // The three failures of a folder's walk, each with its own line; the other folders go on.
    std::string failure;
    try {
        fs::recursive_directory_iterator it(folder, fs::directory_options::skip_permission_denied), end;
        for (; it != end; it.increment(ec)) {
            if (ec) break;
            try {
                const fs::directory_entry& entry = *it;
                const std::string name = entry.path().string();
                if (lf_contains(name, runPaths.stockAirports) || !entry.is_regular_file(ec)) continue;
                const std::string ext = entry.path().extension().string();
                if (ext != ".BGL" && ext != ".bgl") continue;
                if (name.find("statics") != std::string::npos || name.find("_heliports") != std::string::npos) continue;
                if (!gf_bglHasAirports(entry.path())) continue;
                if (gf_exitFlagSet()) break;  // the close button: finish the files in hand, start none
                start(entry.path());
                if (++started % kProgressEvery == 0) lf_showProgress();
            } catch (const std::exception& e) {
                const std::string what = e.what();
                failure = what.starts_with("===> ")
                              ? what
                              : fmt::format("{} airports search in folder {} aborted, cause: {}", "===> ", path, what);
                break;
            }
        }
        if (ec && failure.empty())
            failure = fmt::format("{} airports search in folder {} aborted because of iterator problem: {}", "===> ",
                                  path, ec.message());
    } catch (const fs::filesystem_error& e) {
        failure = fmt::format("{} airports search in folder {} aborted because of iterator problem: {}", "===> ", path,
                              e.what());
    }
    // Every worker started is waited for, also after a failure or a close: they share the report and the counters.
    for (std::future<void>& f : futures) {
        try {
            lf_collect(f);
        } catch (const std::exception& e) {
            if (failure.empty())
                failure =
                    fmt::format("{} airports search in {} aborted, futs outer error: {}", "===> ", path, e.what());
        }
    }
    if (!failure.empty()) gf_reportLine(failure);
    lf_showProgress();
}

bool gf_scanAddonAirports(bool automatic, std::vector<std::string> folders) {
    std::error_code ec;
    if (fs::exists(kAirportsScanLog, ec)) fs::remove(kAirportsScanLog);  // a failure raises "remove"
    panel.tbloCount = 0;
    {
        const std::lock_guard lock(addonScan.reportLock);
        addonScan.report.clear();
        addonScan.report.reserve(kReportReserve);
    }
    addonScan.linked = 0;
    addonScan.generated = 0;
    addonScan.filesRead = 0;
    addonScan.airportsFound = 0;
    if (automatic) {
        lf_readSceneryCfg(folders);
        lf_readSceneryAddons(folders);
        lf_readAddOnPackages(folders);
    }
    publisherScanLog = &gf_reportLine;
    try {
        for (const std::string& f : folders) {
            if (gf_exitFlagSet()) break;
            lf_scanFolder(f);
        }
    } catch (...) {
        publisherScanLog = nullptr;
        lf_writeReport();  // what was found so far is not lost
        throw;
    }
    publisherScanLog = nullptr;
    gf_logLine(fmt::format("{} airport{} found in {} BGL file{}, {} linked, {} generated",
                           addonScan.airportsFound.load(), gf_plural(addonScan.airportsFound.load()),
                           addonScan.filesRead.load(), gf_plural(addonScan.filesRead.load()), addonScan.linked.load(),
                           addonScan.generated.load()));
    lf_writeReport();
    gf_prepareOfflineLearning();
    gf_invalidate(Band::Status);      // the ORBX count's colour
    gf_invalidate(Band::Parameters);  // the files in the folder for offline learning
    if (addonScan.linked > 0) gf_showMessage("Airports scan successful", true);
    return addonScan.linked > 0;
}
