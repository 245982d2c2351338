// liveries/scan_walk.cpp — the walk of the aircraft folders and the scan's worker threads.
#include "liveries/scan.h"

#include <chrono>
#include <deque>
#include <future>
#include <system_error>
#include <thread>

#include <fmt/format.h>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/runstate.h"
#include "liveries/addons.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/regcodes.h"
#include "platform/platform.h"

namespace fs = std::filesystem;

namespace {

using Job = std::future<std::list<LiveryData>>;

// Paths this long or longer are not walked into: the simulator's own limit lies near, and a folder
// link that points back up ends there too.
constexpr size_t kMaxWalkPathBytes = 250;
// The message line shows the progress every so many files.
constexpr int32_t kProgressEveryFiles = 20;

// A worker's place in liveryScan, given back however the worker ends.
struct WorkerSlot {
    WorkerSlot() = default;
    WorkerSlot(const WorkerSlot&) = delete;
    WorkerSlot& operator=(const WorkerSlot&) = delete;
    ~WorkerSlot() {
        --liveryScan.scanWorkers;
        ++liveryScan.filesDone;
    }
};

struct Walk {
    int32_t level = 0;
    uint32_t limit = 1;    // workers at most
    std::deque<Job> jobs;  // in the order the files were found
    bool stopped = false;  // the run is being stopped: no new file is taken
};

void lf_showProgress(bool always) {
    const int32_t done = liveryScan.filesDone.load(), found = liveryScan.filesFound.load();
    if (always || done % kProgressEveryFiles == 0)
        gf_showMessage(fmt::format("Scanning for liveries ... {} of {} files", done, found), false);
}

// Waits for the oldest job and appends its liveries; a failed file loses only its own.
void lf_takeJob(Walk& w, const char* where) {
    Job job = std::move(w.jobs.front());
    w.jobs.pop_front();
    try {
        liveries.liveryList.splice(liveries.liveryList.end(), job.get());
    } catch (const std::exception& e) {
        gf_logMarkf("liveries search aborted, futs {}, {}", where, e.what());
    }
    lf_showProgress(false);
}

bool lf_isCandidate(const fs::path& p) {
    const auto upper = [](std::string s) {
        for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        return s;
    };
    if (upper(gf_pathText(p.extension())) != ".CFG") return false;
    const std::string stem = upper(gf_pathText(p.stem()));
    return stem == "AIRCRAFT" || stem == "SIM";
}

void lf_startJob(Walk& w, const fs::path& path, const std::string& text) {
    while (liveryScan.scanWorkers.load() >= static_cast<int32_t>(w.limit))
        std::this_thread::sleep_for(std::chrono::microseconds(10));
    const bool mtl = text.find("ivao_x-csl") != std::string::npos || text.find("IVAO_MTL") != std::string::npos;
    ++liveryScan.scanWorkers;
    ++liveryScan.filesFound;
    try {
        w.jobs.push_back(std::async(std::launch::async, [level = w.level, path, mtl] {
            ThreadCount counted;  // a thread of the run while it lives, like every other
            WorkerSlot slot;
            return mtl ? lf_searchMtlLiveriesinFile(level, path) : lf_searchLiveriesinFile(level, path);
        }));
    } catch (...) {
        // No thread: nobody gives the place back.
        --liveryScan.scanWorkers;
        --liveryScan.filesFound;
        throw;
    }
    while (w.jobs.size() > w.limit) lf_takeJob(w, "inner");
}

// One folder of the tree, depth first in the order of the directory. A sub-folder that cannot be
// opened is reported and passed over; the top folder's failure ends the walk.
void lf_walk(Walk& w, const fs::path& dir, bool top) {
    std::error_code ec;
    fs::directory_iterator it(dir, ec);
    if (ec) {
        if (top)
            gf_logMarkf("liveries search in folder {} aborted because of iterator problem: {}", gf_pathText(dir),
                        ec.message());
        else
            gf_logMarkf("liveries search in {} aborted, cause: {}", gf_pathText(dir), ec.message());
        return;
    }
    for (; it != fs::directory_iterator(); it.increment(ec)) {
        if (gf_exitFlagSet()) w.stopped = true;
        if (w.stopped) return;
        const fs::directory_entry& entry = *it;
        std::string text;
        try {
            text = gf_pathText(entry.path());
            // Links are followed: an entry whose target cannot be had (a loop, no rights) is reported.
            const fs::file_status st = entry.status(ec);
            if (ec) throw fs::filesystem_error("status", entry.path(), ec);
            if (fs::is_regular_file(st) && lf_isCandidate(entry.path())) lf_startJob(w, entry.path(), text);
            if (fs::is_directory(st) && text.find("airport") == std::string::npos && text.size() < kMaxWalkPathBytes)
                lf_walk(w, entry.path(), false);
        } catch (const std::exception& e) {
            gf_logMarkf("liveries search in {} aborted, cause: {}", text, e.what());
            ec.clear();
        }
    }
    if (ec)
        gf_logMarkf("liveries search in folder {} aborted because of iterator problem: {}", gf_pathText(dir),
                    ec.message());
}

}  // namespace

void lf_scanFolder(int32_t level, const fs::path& folder) {
    Walk w;
    w.level = level;
    w.limit = std::max(1u, runPaths.hardwareThreads);
    try {
        lf_walk(w, folder, true);
    } catch (const std::exception& e) {
        gf_logMarkf("liveries search in folder {} aborted because of iterator problem: {}", gf_pathText(folder),
                    e.what());
    }
    // Every worker is waited for, also when the run stops: none may outlive the scan's lists.
    while (!w.jobs.empty()) lf_takeJob(w, "outer");
    lf_showProgress(true);
}

bool gf_scanLiveryFolders(bool automatic, std::vector<std::string> folders, size_t& folderCount) {
    if (fs::exists(folders::aigRegcodesXml)) lf_readDontUseAig();
    if (gf_folderHasFiles(folders::myRegcodes)) lf_readDontUseMine();
    if (automatic) {
        lf_readAddOnsCfg(folders);
        lf_readSimObjectsCfg(folders);
    }
    folderCount = folders.size();
    int32_t level = 0;
    for (const std::string& text : folders) {
        if (text.empty()) continue;
        if (gf_exitFlagSet()) return false;
        const fs::path folder = gf_utf8Path(text);
        std::error_code ec;
        if (!fs::exists(folder, ec)) {
            gf_logLine(text + " does not exist, skipped!");
            continue;
        }
        if (!fs::is_directory(folder, ec)) {
            gf_logLine(text + " is not a folder name, skipped!");
            continue;
        }
        if (level < 10) ++level;
        const size_t before = liveries.liveryList.size();
        lf_scanFolder(level, folder);
        if (gf_exitFlagSet()) return false;
        const size_t added = liveries.liveryList.size() - before;
        const std::string where = "found in " + text;
        if (liveries.liveryList.empty())
            gf_logf("No liveries {}", where);
        else
            gf_logf("{} liverie{} {}", added, liveries.liveryList.size() > 1 ? "s" : "", where);
    }
    return !gf_exitFlagSet();
}
