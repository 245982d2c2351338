#include "frame/core/params.h"

#include <fmt/format.h>

#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/textfiles.h"
#include "platform/platform.h"

// clang-format off
ParBool COLLISION_LIVE_PARKED_GND{"COLLISION_LIVE_PARKED_GND", false, 32835};
ParBool SIM_TIME{"SIM_TIME", false, 32861};
ParBool KEEP_SIM_TIME_PAR{"KEEP_SIM_TIME_PAR", false, 32862};
ParBool RT_PARKTRAFFIC_ONLY{"RT_PARKTRAFFIC_ONLY", false, 32854};
ParBool COLLISION_USER_AIR{"COLLISION_USER_AIR", true, 32833};
ParBool COLLISION_USER_GND{"COLLISION_USER_GND", true, 32834};
ParBool SUPPRESS_STUB{"SUPPRESS_STUB", true, 32800};
ParBool LOG{"LOG", true, 32779};
ParBool ALWAYS_ON_TOP{"ALWAYS_ON_TOP", false, 32771};
ParBool SCAN_LIVERIES{"SCAN_LIVERIES", true, 32797};
ParBool LIG_AUTOMATIC{"LIG_AUTOMATIC", true, 32798};
ParBool LIG_PRIORITIZE{"LIG_PRIORITIZE", false, 32799};
ParBool SCAN_AIRPORTS{"SCAN_AIRPORTS", true, 32802};
ParBool AFG_AUTOMATIC{"AFG_AUTOMATIC", true, 32803};
ParBool LIGHT_AIRCRAFT{"LIGHT_AIRCRAFT", true, 32809};
ParBool HELICOPTERS{"HELICOPTERS", true, 32810};
ParBool HIGH_PERF_AIRCRAFT{"HIGH_PERF_AIRCRAFT", true, 32811};
ParBool NAV_LIGHTS_WHILE_PARKED{"NAV_LIGHTS_WHILE_PARKED", true, 32778};
ParBool AUTO_RANGE{"AUTO_RANGE", true, 32819};
ParBool LEARN_SOFT{"LEARN_SOFT", true, 32777};
ParBool PARK_SOFT{"PARK_SOFT", true, 32850};
ParBool PARK_FAKE{"PARK_FAKE", false, 32856};
ParBool WEEK{"WEEK", false, 32852};
ParBool INITIAL_LOAD_ONLY{"INITIAL_LOAD_ONLY", false, 32849};
ParBool GUID_CHANGES{"GUID_CHANGES", true, 32773};

ParInt CUSTOM_PARKING_PERCENTAGE{"CUSTOM_PARKING_PERCENTAGE", -1, -1, 100};
ParInt MAIN_WINDOW_X{"MAIN_WINDOW_X", 400, -30000, 30000};
ParInt MAIN_WINDOW_Y{"MAIN_WINDOW_Y", 20, -30000, 30000};
ParInt LAST_EPOCH_TIME{"LAST_EPOCH_TIME", 0, 0, 2147483647};
ParInt P3D_VERSION{"P3D_VERSION", 5, 5, 6};
ParInt MATCHING_DEPTH{"MATCHING_DEPTH", 4, 1, 4, 32808};
ParInt LATERAL_RANGE{"LATERAL_RANGE", 40, 2, 100, 32818};
ParInt MAX_FIT{"MAX_FIT", 47, 0, 47, 32851};
ParInt MAX_LIVE{"MAX_LIVE", 300, 6, 300, 32820};
ParInt AIRPORT_RANGE{"AIRPORT_RANGE", 20, 8, 30, 32839};
ParInt AIRPORT_HEIGHT{"AIRPORT_HEIGHT", 18000, 2000, 45000, 32840};
ParInt TIME_SHIFT_DAYS{"TIME_SHIFT_DAYS", 0, 0, 28, 32858};
ParInt TIME_SHIFT_HOURS{"TIME_SHIFT_HOURS", 0, 0, 23, 32859};
ParInt TIME_SHIFT_MINS{"TIME_SHIFT_MINS", 0, 0, 59, 32860};

ParString PROGRAM_VERSION{"PROGRAM_VERSION"};
ParString lfolder[10] = {{"lfolder0"}, {"lfolder1"}, {"lfolder2"}, {"lfolder3"}, {"lfolder4"},
                         {"lfolder5"}, {"lfolder6"}, {"lfolder7"}, {"lfolder8"}, {"lfolder9"}};
ParString afolder[10] = {{"afolder0"}, {"afolder1"}, {"afolder2"}, {"afolder3"}, {"afolder4"},
                         {"afolder5"}, {"afolder6"}, {"afolder7"}, {"afolder8"}, {"afolder9"}};
ParString PROGRAM_INSTALL_PATH{"PROGRAM_INSTALL_PATH"};
ParString ARCHIVE_VERSION{"ARCHIVE_VERSION"};
ParString DBASE_VERSION{"DBASE_VERSION"};
ParString AIG_VERSION{"AIG_VERSION"};
ParString DATA_CHECKED_AT_DATE{"DATA_CHECKED_AT_DATE"};
ParString BLOCK_CALLSIGN{"BLOCK_CALLSIGN", "", 32828};
ParString SIM_INSTALL_PATH{"SIM_INSTALL_PATH", "", 32788};

ParInt parking_percentage{"parking_percentage", 30, 0, 100, 32848};
ParFloat MAX_FIT_FL{"MAX_FIT_FL", 24.0f, 0.5f, 24.0f, 32853};
// clang-format on

ParDerived parDerived;
MetaInfo lastMeta;

namespace {

bool lf_isFolder(const Par* p) {
    for (int i = 0; i < 10; ++i)
        if (p == &lfolder[i] || p == &afolder[i]) return true;
    return false;
}

std::vector<Par*> lf_buildTable() {
    std::vector<Par*> t = {&COLLISION_LIVE_PARKED_GND,
                           &SIM_TIME,
                           &KEEP_SIM_TIME_PAR,
                           &RT_PARKTRAFFIC_ONLY,
                           &COLLISION_USER_AIR,
                           &COLLISION_USER_GND,
                           &SUPPRESS_STUB,
                           &LOG,
                           &ALWAYS_ON_TOP,
                           &SCAN_LIVERIES,
                           &LIG_AUTOMATIC,
                           &LIG_PRIORITIZE,
                           &SCAN_AIRPORTS,
                           &AFG_AUTOMATIC,
                           &LIGHT_AIRCRAFT,
                           &HELICOPTERS,
                           &HIGH_PERF_AIRCRAFT,
                           &NAV_LIGHTS_WHILE_PARKED,
                           &AUTO_RANGE,
                           &LEARN_SOFT,
                           &PARK_SOFT,
                           &PARK_FAKE,
                           &WEEK,
                           &INITIAL_LOAD_ONLY,
                           &GUID_CHANGES,
                           &CUSTOM_PARKING_PERCENTAGE,
                           &MAIN_WINDOW_X,
                           &MAIN_WINDOW_Y,
                           &LAST_EPOCH_TIME,
                           &P3D_VERSION,
                           &MATCHING_DEPTH,
                           &LATERAL_RANGE,
                           &MAX_FIT,
                           &MAX_LIVE,
                           &AIRPORT_RANGE,
                           &AIRPORT_HEIGHT,
                           &TIME_SHIFT_DAYS,
                           &TIME_SHIFT_HOURS,
                           &TIME_SHIFT_MINS,
                           &PROGRAM_VERSION};
    for (auto& p : lfolder) t.push_back(&p);
    for (auto& p : afolder) t.push_back(&p);
    for (Par* p :
         {static_cast<Par*>(&PROGRAM_INSTALL_PATH), static_cast<Par*>(&ARCHIVE_VERSION),
          static_cast<Par*>(&DBASE_VERSION), static_cast<Par*>(&AIG_VERSION), static_cast<Par*>(&DATA_CHECKED_AT_DATE),
          static_cast<Par*>(&BLOCK_CALLSIGN), static_cast<Par*>(&SIM_INSTALL_PATH)})
        t.push_back(p);
    return t;
}

pugi::xml_node lf_find(const pugi::xml_document& doc, const char* name) {
    try {
        const std::string q = std::string("/parameters/parameter[@name='") + name + "']";
        return doc.select_node(q.c_str()).node();
    } catch (const pugi::xpath_exception& e) {
        gf_logLine(e.what());
        return {};
    }
}

// Reads the value of a found element into the parameter, clamping integers silently.
void lf_readValue(Par* p, pugi::xml_node node) {
    const pugi::xml_attribute v = node.attribute("value");
    switch (p->type) {
        case ParType::Bool: static_cast<ParBool*>(p)->current = v.as_bool(false); break;
        case ParType::Int: {
            auto* pi = static_cast<ParInt*>(p);
            pi->current = pi->clamp(v.as_int(0));
            break;
        }
        case ParType::Float: {
            auto* pf = static_cast<ParFloat*>(p);
            float f = v.as_float(0.0f);
            pf->current = f < pf->min ? pf->min : (f > pf->max ? pf->max : f);
            break;
        }
        case ParType::String: static_cast<ParString*>(p)->current = v.as_string(); break;
    }
}

void lf_setDefault(Par* p) {
    switch (p->type) {
        case ParType::Bool: static_cast<ParBool*>(p)->current = static_cast<ParBool*>(p)->def; break;
        case ParType::Int: static_cast<ParInt*>(p)->current = static_cast<ParInt*>(p)->def; break;
        case ParType::Float: static_cast<ParFloat*>(p)->current = static_cast<ParFloat*>(p)->def; break;
        case ParType::String: static_cast<ParString*>(p)->current = static_cast<ParString*>(p)->def; break;
    }
}

// Check boxes show booleans; edit boxes show ints and texts.
void lf_display(Par* p) {
    if (p->controlId == 0) return;
    if (p->type == ParType::Bool)
        gf_setControlChecked(p->controlId, static_cast<ParBool*>(p)->current);
    else
        gf_setControlText(p->controlId, gf_parameterValueText(*p));
}

void lf_logPair(const Par* p) { gf_logLine(fmt::format("{}={}", p->name, gf_parameterValueText(*p))); }

bool lf_appendElement(pugi::xml_node root, const Par* p) {
    pugi::xml_node e = root.append_child("parameter");
    if (!e) return false;
    return e.append_attribute("name").set_value(p->name) &&
           e.append_attribute("value").set_value(gf_parameterValueText(*p).c_str());
}

// Loads the file for a single save; a failed load or a missing root gives a fresh root.
pugi::xml_node lf_loadForSave(pugi::xml_document& doc) {
    const pugi::xml_parse_result r = doc.load_file(gf_parametersPath().c_str());
    pugi::xml_node root = doc.child("parameters");
    if (!r || !root) {
        doc.reset();
        root = doc.append_child("parameters");
    }
    return root;
}

template <typename P>
void lf_saveOne(P& par) {
    pugi::xml_document doc;
    pugi::xml_node root = lf_loadForSave(doc);
    pugi::xml_node e = lf_find(doc, par.name);
    const std::string value = gf_parameterValueText(par);
    if (e) {
        pugi::xml_attribute a = e.attribute("value");
        if (!a) a = e.append_attribute("value");
        a.set_value(value.c_str());
    } else {
        lf_appendElement(root, &par);
    }
    gf_logLine(fmt::format("{}={}", par.name, value));
    if (!gf_saveXmlQuiet(doc, gf_parametersPath())) gf_logLine("saving xml did not work?");
}

}  // namespace

const std::vector<Par*>& gf_parameterTable() {
    static const std::vector<Par*> table = lf_buildTable();
    return table;
}

Par* gf_findParameterByName(const std::string& name) {
    for (Par* p : gf_parameterTable())
        if (name == p->name) return p;
    return nullptr;
}

std::string gf_parameterValueText(const Par& par) {
    switch (par.type) {
        case ParType::Bool: return static_cast<const ParBool&>(par).current ? "true" : "false";
        case ParType::Int: return std::to_string(static_cast<const ParInt&>(par).current.load());
        case ParType::Float: return fmt::format("{}", static_cast<const ParFloat&>(par).current.load());
        case ParType::String: return static_cast<const ParString&>(par).current;
    }
    return {};
}

void gf_applyLateralRange() {
    LATERAL_RANGE.current = LATERAL_RANGE.clamp(LATERAL_RANGE.current);
    parDerived.rangeNm = static_cast<double>(LATERAL_RANGE.current);
    parDerived.radiusMetres = LATERAL_RANGE.current * 1852 + 10000;
}

std::filesystem::path gf_parametersPath() { return gf_programAppDataFolder() / "parameters.xml"; }

void gf_readParameters() {
    const auto path = gf_parametersPath();
    gf_logLine(gf_banner(70, 0, true, false, "parameters"));
    pugi::xml_document doc;
    const pugi::xml_parse_result loaded = doc.load_file(path.c_str());
    if (!loaded) {
        gf_logLine(path.string() + " not found, default values taken:");
        doc.reset();
        pugi::xml_node root = doc.append_child("parameters");
        for (Par* p : gf_parameterTable()) {
            lf_setDefault(p);
            if (lf_isFolder(p)) continue;
            lf_logPair(p);
            if (!lf_appendElement(root, p))
                gf_logLine(fmt::format("{}adding init xml parameter {} with {} failed!", kMark, p->name,
                                       gf_parameterValueText(*p)));
            lf_display(p);
        }
    } else {
        gf_logLine(fmt::format("from \"{}\"", path.string()));
        pugi::xml_node root = doc.child("parameters");
        for (Par* p : gf_parameterTable()) {
            pugi::xml_node e = lf_find(doc, p->name);
            if (lf_isFolder(p)) {
                // Only folders the user really set stay in the file.
                if (!e) {
                    lf_setDefault(p);
                    continue;
                }
                lf_readValue(p, e);
                if (static_cast<ParString*>(p)->current.empty()) {
                    e.parent().remove_child(e);
                    gf_logLine(fmt::format("Parameter {} removed", p->name));
                } else {
                    lf_logPair(p);
                }
                continue;
            }
            if (e) {
                lf_readValue(p, e);
            } else {
                // A new version's parameter: the file heals itself.
                lf_setDefault(p);
                if (root) lf_appendElement(root, p);
            }
            lf_logPair(p);
            lf_display(p);
        }
    }
    gf_saveXml(doc, path);
    gf_logLine(gf_banner(70, 0, false, true, ""));
}

void gf_saveParameter(ParBool& par) { lf_saveOne(par); }
void gf_saveParameter(ParInt& par) { lf_saveOne(par); }
void gf_saveParameter(ParString& par) { lf_saveOne(par); }

void gf_removeParameter(const std::string& name) {
    pugi::xml_document doc;
    if (!doc.load_file(gf_parametersPath().c_str())) return;
    pugi::xml_node e = lf_find(doc, name.c_str());
    if (!e) return;
    e.parent().remove_child(e);
    gf_logLine(fmt::format("Parameter {} removed", name));
    if (!gf_saveXmlQuiet(doc, gf_parametersPath())) gf_logLine("saving xml did not work?");
}

void gf_readWindowPosition() {
    pugi::xml_document doc;
    if (doc.load_file(gf_parametersPath().c_str())) {
        for (ParInt* p : {&MAIN_WINDOW_X, &MAIN_WINDOW_Y})
            if (pugi::xml_node e = lf_find(doc, p->name)) lf_readValue(p, e);
    }
    // A position at a limit is unusable: it is what a clamp leaves of a window off every screen.
    for (ParInt* p : {&MAIN_WINDOW_X, &MAIN_WINDOW_Y}) {
        if (p->current == p->min || p->current == p->max) {
            p->current = p->def;
            gf_saveParameter(*p);
        }
    }
}

void gf_writeMeta(pugi::xml_node documentNode) {
    pugi::xml_node meta = documentNode.append_child("meta");
    const std::pair<const char*, std::string> infos[] = {{"author", kProgramName},
                                                         {"version", kProgramVersionText},
                                                         {"date", gf_dateOfToday()},
                                                         {"copyright", "ZARK_P3D, data learned by its user"}};
    for (const auto& [name, value] : infos) {
        pugi::xml_node info = meta.append_child("info");
        info.append_attribute("name").set_value(name);
        info.append_attribute("value").set_value(value.c_str());
    }
}

bool gf_checkMeta(pugi::xml_node documentNode) {
    std::string* targets[] = {&lastMeta.author, &lastMeta.date, &lastMeta.version};
    const char* names[] = {"author", "date", "version"};
    bool complete = true;
    for (int i = 0; i < 3; ++i) {
        try {
            const std::string q = std::string("/meta/info[@name='") + names[i] + "']";
            pugi::xpath_node n = documentNode.select_node(q.c_str());
            if (!n) {
                complete = false;
                continue;
            }
            *targets[i] = n.node().attribute("value").as_string();
        } catch (const pugi::xpath_exception& e) {
            gf_logLine(e.what());
            complete = false;
        }
    }
    if (!complete) {
        gf_logMark("meta data incorrect?");
        return false;
    }
    return true;
}

void gf_resetParameters() {
    for (Par* p : gf_parameterTable()) lf_setDefault(p);
    lf_setDefault(&parking_percentage);
    lf_setDefault(&MAX_FIT_FL);
    parDerived.typedRange = LATERAL_RANGE.def;
    parDerived.maxLiveWorking = MAX_LIVE.def;
    gf_applyLateralRange();
}
