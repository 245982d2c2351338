// parking/save.cpp — what was learned at the park airport goes into its learned file when the airport is
// left, and at the end of a run.
#include <algorithm>

#include <fmt/format.h>

#include "airports/state.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "parking/learning.h"
#include "parking/state.h"

namespace fs = std::filesystem;

namespace {
// The learned folder of a publisher; a third party's is made when it is missing.
fs::path lf_learnedFolder(const std::string& publisher) {
    if (publisher == "stock" || publisher == "ORBX") return folders::learned / publisher;
    gf_makeFolder(folders::learned / "thirdparty");
    const fs::path folder = folders::learned / "thirdparty" / publisher;
    gf_makeFolder(folder);
    return folder;
}
}  // namespace

bool gf_saveLearned() {
    AirportFileData data;
    data.icao = airports.parkIcao;
    data.name = airports.airportName;
    data.altitude = airports.altitude;
    data.publisher = airports.publisher;
    if (airports.handmade) {
        data.stands = airports.stands;
        std::tie(data.qfReal, data.qfSoft) = gf_quality();
    } else {
        // The airport is being left: the archived options can go from the live table.
        for (Stand& s : airports.stands) {
            std::erase_if(s.options, [](const ParkPos& o) { return !o.learned; });
            if (s.manual || !s.options.empty() || s.radiusChanged || s.cargoChanged) data.stands.push_back(s);
        }
    }
    const fs::path path = lf_learnedFolder(data.publisher) / (data.icao + ".xml");
    const int32_t updates = panel.updateCount.load();
    if (!gf_writeApf(data, path, true)) {
        gf_showMessagef(true, "{} saving \"{}\" did not succeed", gf_timeOfDay(), path.generic_string());
        return false;
    }
    gf_logf("{}{} \"{}\" saved with {} update{} {}", gf_timeOfDay(), airports.handmade ? " handmade" : "",
            path.generic_string(), updates, gf_plural(updates),
            panel.parkParametersChanged.load() ? "and one or more parameter changes" : "");
    return true;
}

void gf_saveIfChanged() {
    if (panel.atParkAirport.load() && (panel.parkParametersChanged.load() || panel.updateCount.load() >= 1)) {
        gf_saveLearned();
        panel.updateCount = 0;
        // A change of a setting belongs to the airport it was made at.
        panel.parkParametersChanged = false;
    }
    airports.handmade = false;
    panel.atParkAirport.exchange(false);
    gf_setControlEnabled(kFlushStaticButtonId, false);
    gf_setControlEnabled(parking_percentage.controlId, false);
    airports.learnedPath.clear();
}
