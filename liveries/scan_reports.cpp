// liveries/scan_reports.cpp — the report files that tell the user what a scan found wrong or changed.
#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/textfiles.h"
#include "liveries/liveries_file.h"

namespace fs = std::filesystem;

namespace {

struct Report {
    ScanList* list;
    const char* file;
    bool inErrors;  // output/errors, else output/info
    bool sorted;    // the fixes and the corrections keep their order of arrival
    const char* logLine;
};

// Writes one report when its list has lines; returns the path written, empty when none.
std::string lf_writeReport(const Report& r) {
    std::vector<std::string> lines = r.list->lines;
    if (lines.empty()) return {};
    if (r.sorted) std::sort(lines.begin(), lines.end());
    const fs::path folder = r.inErrors ? folders::errors : folders::info;
    gf_makeFolder(folder);
    const fs::path path = folder / r.file;
    std::string text;
    for (const std::string& l : lines) text += l + "\n";
    gf_saveText(text, path, false);
    return path.generic_string();  // one kind of slash in the log, also on Windows
}

}  // namespace

// Reads the scan lists. Any exception ends the reports where they are: a report not written is missing
// and the scan goes on.
void lf_writeScanReports() {
    const Report errors[] = {
        {&scanLists.invalidAirlines, "InvalidAirlineCodes.txt", true, true, "{} invalid airline code{}, see {}"},
        {&scanLists.invalidModels, "InvalidAircraftCodes.txt", true, true, "{} invalid model code{}, see {}"},
        {&scanLists.fixes, "Fixes.txt", true, false, "{} code fixes, see {}"},
        {&scanLists.invalidCfgFiles, "InvalidAircraftCfgFiles.txt", true, true,
         "{} invalid aircraft.cfg files, see {}"},
        {&scanLists.incompleteSections, "IncompleFltsimSections.txt", true, true,
         "{} incomplete [fltsim.x] sections, see {}"},
    };
    const Report infos[] = {
        {&scanLists.noSectionFiles, "AircraftCfgWithNoFltsimSection.txt", false, true,
         "{} empty aircraft.cfg files, see {}"},
        {&scanLists.dbaseCorrections, "AirlineModelConversions.txt", false, false,
         "{} liveries updated with real live data from dbase, see {}"},
        {&scanLists.skippedOnPriority, "LiveriesSkippedOnPriority.txt", false, true,
         "{} liverie{} skipped on priority, see {}"},
    };
    // A line with three placeholders has the plural word between the count and the path.
    const auto logReport = [](const Report& r, const std::string& path) {
        const size_t n = r.list->lines.size();
        const std::string_view text = r.logLine;
        size_t placeholders = 0;
        for (size_t p = text.find("{}"); p != std::string_view::npos; p = text.find("{}", p + 2)) ++placeholders;
        if (placeholders == 3)
            gf_logLine(fmt::format(fmt::runtime(text), n, gf_plural(static_cast<long long>(n)), path));
        else
            gf_logLine(fmt::format(fmt::runtime(text), n, path));
    };
    try {
        const bool noErrors =
            std::all_of(std::begin(errors), std::end(errors), [](const Report& r) { return r.list->lines.empty(); });
        gf_logLine(noErrors ? "\nNo errors" : "\nErrors:");
        for (const Report& r : errors)
            if (const std::string path = lf_writeReport(r); !path.empty()) logReport(r, path);
        gf_logLine("\nInformation:");
        for (const Report& r : infos)
            if (const std::string path = lf_writeReport(r); !path.empty()) logReport(r, path);
    } catch (const std::exception&) {
        // The scan's result matters more than its reports.
    }
}

// AirlineModelConversions.txt stays: it tells what the database corrected, scan after scan.
void lf_removeScanReports() {
    try {
        for (const char* f : {"AircraftCfgWithNoFltsimSection.txt", "LiveriesSkippedOnPriority.txt"})
            if (fs::exists(folders::info / f)) fs::remove(folders::info / f);
        if (fs::exists(folders::liveriesScanned)) fs::remove(folders::liveriesScanned);
        for (const char* f : {"InlineRegcodes.txt", "InvalidAirlineCodes.txt", "InvalidAircraftCodes.txt", "Fixes.txt",
                              "InvalidAircraftCfgFiles.txt", "IncompleFltsimSections.txt"})
            if (fs::exists(folders::errors / f)) fs::remove(folders::errors / f);
        if (fs::exists(folders::errors)) fs::remove_all(folders::errors);
    } catch (const fs::filesystem_error& e) {
        gf_logLine(fmt::format("problems with removing previous files: {}", e.what()));
    }
}
