// liveries/liveries_file.h — obtaining the liveries at the start of a run: output/LiveriesScanned.xml
// read or written, the report files of a scan, and the tables of liveries/state.h built from the list.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <pugixml.hpp>

#include "liveries/state.h"

// Obtains the liveries and builds every table (the tables of the last run are emptied first). Without a
// scan it reads LiveriesScanned.xml. With one, the folders (in automatic mode also those of the installed
// add-ons) are scanned, and only a scan that ran to its end replaces LiveriesScanned.xml and the report
// files. True, also when the run is being stopped; failures raise zel::UserErrorException (51, 52, 53).
bool gf_getLiveries(bool scan, bool automatic, bool prioritise, const std::vector<std::string>& folders);

// The half of a scan after the folders were read (liveries.liveryList filled, with levels): error 53 when
// nothing was found, dbase corrections, priority, reports, sort and duplicates, the saved file, the tables.
void gf_finishScan(bool prioritise, size_t folderCount);

// Builds every table from liveries.liveryList (sorted), then frees the list.
void gf_processScannedLiveries();

// LiveriesScanned.xml: the whole list as a document, and the list back from one. The reader appends one
// LiveryData (level 0) per <liv>; an absent attribute reads as empty text.
void lf_buildLiveriesDocument(pugi::xml_document& doc);
// The <liveries> element of a list, appended to `parent` (the data tool writes its own meta block).
void gf_appendLiveries(pugi::xml_node parent, const std::list<LiveryData>& list);
void lf_readLiveriesDocument(const pugi::xml_document& doc);
void lf_writeLiveriesFile();
void lf_readLiveriesFile();  // UserErrorException 51, 52 or 53 when the file gives no liveries

// The scan's steps on the list.
void lf_dbaseCorrection(LiveryData& livery);  // registrations of the real world correct the author
void lf_skipOnPriority();                     // a lower folder beats a higher one for an airline and model
void lf_sortAndDeduplicate();                 // list order; equal records but for level become one
void lf_writeScanReports();
void lf_removeScanReports();

// "{:3} {:4}" of an airline and a model: the short label of reports and log lines.
std::string gf_shortLabel(const std::string& airline, const std::string& model);
