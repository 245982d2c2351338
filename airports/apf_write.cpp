// airports/apf_write.cpp — writing an airport file: the add-on scan writes generated files (stands
// without options), the save of what was learned writes learned files (settings, changed and manual
// stands, learned options). Saved through a temporary file and a rename: a failed save leaves the old file.
#include <fmt/format.h>

#include "airports/state.h"
#include "common/geo.h"
#include "frame/core/params.h"
#include "frame/core/textfiles.h"
#include "liveries/dbase.h"

namespace {

void lf_parameter(pugi::xml_node parameters, const char* name, const std::string& value) {
    pugi::xml_node p = parameters.append_child("parameter");
    p.append_attribute("name") = name;
    p.append_attribute("value") = value.c_str();
}
void lf_parameter(pugi::xml_node parameters, const char* name, int64_t value) {
    lf_parameter(parameters, name, std::to_string(value));
}
void lf_parameter(pugi::xml_node parameters, const ParBool& par) {
    lf_parameter(parameters, par.name, std::string(par.current ? "true" : "false"));
}

void lf_writeParameters(pugi::xml_node parameters, const AirportFileData& data, bool learnedMode) {
    const bool handmade = learnedMode && airports.handmade;
    lf_parameter(parameters, "airport_name", data.name);
    lf_parameter(parameters, "publisher", data.publisher);
    if (handmade) lf_parameter(parameters, "handmade", std::string("true"));
    if (!learnedMode || handmade) lf_parameter(parameters, "altitude", data.altitude);
    lf_parameter(parameters, "num_parkpos", static_cast<int64_t>(data.stands.size()));
    if ((!learnedMode && data.qfReal >= 0) || handmade) lf_parameter(parameters, "Qf_real", data.qfReal);
    if ((!learnedMode && data.qfSoft >= 0) || handmade) lf_parameter(parameters, "Qf_soft", data.qfSoft);
    if (!learnedMode && data.week != 0) lf_parameter(parameters, "RT_traffic_week", data.week);
    if (data.publisher == "unknown") lf_parameter(parameters, "BGLpath", data.bglPath);
    if (!learnedMode) return;
    lf_parameter(parameters, LATERAL_RANGE.name, LATERAL_RANGE.current.load());
    lf_parameter(parameters, AUTO_RANGE);
    lf_parameter(parameters, WEEK);
    lf_parameter(parameters, PARK_FAKE);
    lf_parameter(parameters, PARK_SOFT);
    lf_parameter(parameters, parking_percentage.name, parking_percentage.current.load());
    lf_parameter(parameters, INITIAL_LOAD_ONLY);
    lf_parameter(parameters, MAX_FIT.name, MAX_FIT.current.load());
    lf_parameter(parameters, RT_PARKTRAFFIC_ONLY);
    if (MAX_LIVE.current != parDerived.maxLiveWorking) lf_parameter(parameters, MAX_LIVE.name, MAX_LIVE.current.load());
    lf_parameter(parameters, LEARN_SOFT);
}

void lf_writeOptions(pugi::xml_node parkpos, const Stand& stand) {
    for (const ParkPos& o : stand.options) {
        if (o.optId == 0) continue;
        pugi::xml_node opt = parkpos.append_child("opt");
        opt.append_attribute("reg") = o.reg.c_str();
        if (!gf_dbaseFind(o.reg)) {  // every spelling of the registration is tried
            opt.append_attribute("airl") = o.airl.c_str();
            opt.append_attribute("type") = o.type.c_str();
        }
        if (o.soft) opt.append_attribute("soft") = "true";
        opt.append_attribute("day") = o.day;
        opt.append_attribute("hh") = lf_bitset2hours(o.hh).c_str();
        opt.append_attribute("cs") = (o.cs2.empty() ? o.cs1 : o.cs1 + ":" + o.cs2).c_str();
    }
}

void lf_writeStand(pugi::xml_node parkpositions, const Stand& stand, bool learnedMode) {
    pugi::xml_node p = parkpositions.append_child("parkpos");
    p.append_attribute("id") = stand.name.c_str();
    const auto metres = [&] { return fmt::format("{:.1F}", stand.radius / kMetresToNm); };
    if (learnedMode && (stand.radiusChanged || stand.cargoChanged) && !stand.manual) {
        // Only the change goes over the other file's stand.
        if (stand.radiusChanged) {
            p.append_attribute("radius_change") = "true";
            p.append_attribute("radius") = metres().c_str();
        }
        if (stand.cargoChanged) {
            p.append_attribute("cargo_change") = "true";
            p.append_attribute("cargo") = stand.cargo ? "true" : "false";
        }
    } else if (!learnedMode || stand.manual || airports.handmade) {
        p.append_attribute("latitude") = fmt::format("{:.6f}", stand.latitude).c_str();
        p.append_attribute("longitude") = fmt::format("{:.6f}", stand.longitude).c_str();
        p.append_attribute("heading") = fmt::format("{:.1F}", stand.heading * kRadToDeg).c_str();
        p.append_attribute("radius") = metres().c_str();
        if (stand.heli)
            p.append_attribute("heli") = "true";
        else
            p.append_attribute("cargo") = stand.cargo ? "true" : "false";
        p.append_attribute("ramp") = stand.ramp ? "true" : "false";
        if (learnedMode && stand.manual) p.append_attribute("manual") = "true";
    }
    if (learnedMode) lf_writeOptions(p, stand);
}

}  // namespace

void gf_buildApf(pugi::xml_document& document, const AirportFileData& data, bool learnedMode) {
    document.reset();
    gf_writeMeta(document);
    lf_writeParameters(document.append_child("parameters"), data, learnedMode);
    pugi::xml_node parkpositions = document.append_child("parkpositions");
    for (const Stand& stand : data.stands) lf_writeStand(parkpositions, stand, learnedMode);
}

bool gf_writeApf(const AirportFileData& data, const std::filesystem::path& path, bool learnedMode) {
    pugi::xml_document document;
    gf_buildApf(document, data, learnedMode);
    return gf_saveXml(document, path);
}
