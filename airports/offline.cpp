// airports/offline.cpp — TO_BE_LEARNED_OFFLINE: the generated airport files whose stock airport has a
// history. Whether such an add-on airport can take over that history is decided by whoever maintains the
// airport archive, from the files the users send in.
#include <fmt/format.h>

#include "airports/addon_scan.h"
#include "airports/airport_file.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "platform/files.h"

namespace fs = std::filesystem;

namespace {

// The generated files of a folder: the pointer files (.txt) beside them point into the archive, whose
// airports are learned already.
std::vector<fs::path> lf_generatedFiles(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) return files;
    for (const fs::directory_entry& e : fs::directory_iterator(folder, ec))
        if (e.is_regular_file(ec) && e.path().extension() == ".xml") files.push_back(e.path());
    std::sort(files.begin(), files.end());
    return files;
}

void lf_emptyFolder(const fs::path& folder) {
    std::error_code ec;
    if (!fs::is_directory(folder, ec)) return;
    for (const fs::directory_entry& e : fs::directory_iterator(folder, ec)) fs::remove_all(e.path(), ec);
}

// Copies the files whose stock airport has a history; the number copied. `complete` is true when
// every file was either copied or needs no learning.
int32_t lf_copyForLearning(const std::vector<fs::path>& files, const char* failedFormat, const char* doneText,
                           bool& complete) {
    int32_t passed = 0, copied = 0;
    for (const fs::path& file : files) {
        const std::string icao = file.stem().string();
        if (!gf_hasQuality(icao)) {
            ++passed;
            continue;
        }
        std::error_code ec;
        gf_makeFolder(folders::toBeLearnedOffline);
        gf_copyFileReplacing(file, folders::toBeLearnedOffline / file.filename(), ec);
        if (ec) {
            gf_logLine(fmt::format(fmt::runtime(failedFormat), file.string(), folders::toBeLearnedOffline.string()));
            continue;
        }
        gf_logLine(fmt::format("{} copied to {}", file.string(), folders::toBeLearnedOffline.string()));
        ++copied;
    }
    complete = passed + copied == static_cast<int32_t>(files.size());
    if (copied == 0) gf_logLine(doneText);
    return copied;
}

}  // namespace

void gf_prepareOfflineLearning() {
    const std::vector<fs::path> orbx = lf_generatedFiles(folders::myOrbx);
    const std::vector<fs::path> thirdparty = lf_generatedFiles(folders::myThirdparty);
    if (fs::exists(folders::toBeLearnedOffline))  // a failure raises "exists"
        lf_emptyFolder(folders::toBeLearnedOffline);
    else if (!orbx.empty())
        gf_makeFolder(folders::toBeLearnedOffline);
    // The panel's flag speaks of the ORBX files, whose count it colours.
    bool complete = true, thirdpartyComplete = true;
    int32_t copied = lf_copyForLearning(orbx, "failed to copy {} to {}",
                                        "All your ORBX airports are done, no off line learning needed.", complete);
    copied +=
        lf_copyForLearning(thirdparty, "\"{}\" failed to copy \"{}\"",
                           "All your third party airports are done, no off line learning needed.", thirdpartyComplete);
    panel.addonScanComplete = complete;
    panel.tbloCount = copied;
    // Emptied only when neither list copied anything: a third-party pass without files to learn must not
    // throw away the ORBX files copied just before.
    if (copied == 0) lf_emptyFolder(folders::toBeLearnedOffline);
    if (copied > 0)
        gf_showMessage(fmt::format("{} airport file{} in folder {} can learn from the archive's history: please zip "
                                   "the folder and send it to the maintainer of the airport archive",
                                   copied, gf_plural(copied), folders::toBeLearnedOffline.string()),
                       true);
}
