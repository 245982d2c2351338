#include "liveries/state.h"

LiveryTables liveries;
ScanLists scanLists;
LiveryScanState liveryScan;
MatchState matching;

void gf_clearLiveryTables() {
    // The aircraft's views into the old titles go with them.
    matching.hexidLiveries.clear();
    liveries = LiveryTables{};
    gf_clearScanLists();
}

void gf_clearScanLists() {
    for (ScanList* l : {&scanLists.invalidAirlines, &scanLists.invalidModels, &scanLists.fixes,
                        &scanLists.invalidCfgFiles, &scanLists.incompleteSections, &scanLists.noSectionFiles,
                        &scanLists.dbaseCorrections, &scanLists.skippedOnPriority})
        l->lines.clear();
    liveryScan.filesFound = 0;
    liveryScan.filesDone = 0;
    liveryScan.seenTitles.clear();
    liveryScan.dontUseTitles.clear();
}

void gf_resetMatching() {
    matching.unmakeableLiveries.clear();
    matching.unmakeableAircraft.clear();
    matching.hexidLiveries.clear();
    matching.noMatchAircraft.clear();
    for (auto& c : matching.matchCounters) c = 0;
    matching.remembered = 0;
    matching.noMatch = 0;
    matching.refused = 0;
}

// The similar tables follow the liveries of the run; the rest of the database stays for the process.
void gf_resetLiveries() {
    dbase.similarPresent.clear();
    dbase.similarByAirline.clear();
    gf_clearLiveryTables();
    gf_resetMatching();
    liveryScan.scanWorkers = 0;
}
