// Flight plans: one small document per simulator object, named by its object id, in a folder of the
// program that the end of a run removes whole (so files left by a crash go at the next regular exit).
#include "engine/flightplans.h"

#include <fstream>
#include <string>
#include <system_error>

#include <fmt/format.h>

#include "engine/records.h"
#include "engine/state.h"
#include "frame/core/folders.h"
#include "frame/core/message.h"
#include "simlink/state.h"

namespace fs = std::filesystem;

namespace {
// Airliners and business jets fly on instruments; light aircraft, fast military and rotorcraft by sight.
const char* lf_planType(ModelCategory c) {
    switch (c) {
        case ModelCategory::Buzjets:
        case ModelCategory::Large:
        case ModelCategory::Heavy: return "IFR";
        default: return "VFR";
    }
}
}  // namespace

bool gf_makeFlightPlanFolder() {
    const fs::path programFolder = gf_programAppDataFolder();
    engine.flightPlanFolder = programFolder / "orig_dest";
    gf_makeFolder(programFolder);
    gf_makeFolder(engine.flightPlanFolder);
    std::error_code ec;
    return fs::exists(engine.flightPlanFolder, ec);
}

bool gf_removeFlightPlanFolder() {
    std::error_code ec;
    if (engine.flightPlanFolder.empty()) return true;
    if (fs::exists(engine.flightPlanFolder, ec)) fs::remove_all(engine.flightPlanFolder, ec);
    return !fs::exists(engine.flightPlanFolder, ec) && !ec;
}

bool gf_writeFlightPlan(const fs::path& path, const Act& act) {
    std::ofstream out(path, std::ios::trunc);
    if (!out) return false;
    // The simulator's loader is picky about this exact text: the stray quote behind the document tag and
    // the version "4,3" with a comma are what it has always been given. Airport codes go in unescaped.
    const std::string text = fmt::format(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
        "<SimBase.Document Type=\"AceXML\" version=\"4,3\">\"\n"
        "<FlightPlan.FlightPlan>\n"
        "<FPType>{}</FPType>\n"
        "<DepartureID>{}</DepartureID>\n"
        "<DestinationID>{}</DestinationID>\n"
        "</FlightPlan.FlightPlan>\n"
        "</SimBase.Document>",
        lf_planType(act.category), act.from, act.to);
    out << text << '\n';
    out.flush();
    return static_cast<bool>(out);
}

fs::path gf_flightPlanPath(uint32_t objectId) { return engine.flightPlanFolder / fmt::format("{}.pln", objectId); }

void lf_giveFlightPlan(Act& act) {
    // No folder: the run has no plans (the folder is made before the first object can exist).
    if (act.from.empty() || act.to.empty() || engine.flightPlanFolder.empty()) return;
    const fs::path path = gf_flightPlanPath(act.objectId);
    if (gf_writeFlightPlan(path, act) && gf_sendFlightPlan(act.objectId, path.string())) {
        act.hasPlanFile = true;
        return;
    }
    gf_showMessage(gf_acLabel(act) + " creating a flight plan failed !", true);
    act.hasPlanFile = false;
}

void gf_deleteFlightPlan(const Act& act) {
    if (!act.hasPlanFile) return;
    const fs::path path = gf_flightPlanPath(act.objectId);
    std::error_code ec;
    const bool there = fs::exists(path, ec);
    if (ec) throw fs::filesystem_error("exists", path, ec);
    if (there && !fs::remove(path, ec) && ec) throw fs::filesystem_error("remove", path, ec);
}
