// frame/core/params.h — every setting of the program: named parameters with default, limits and current value.
// They live in parameters.xml in the roaming application data folder, written at once, one by one,
// when a value changes. Every subsystem reads `current` directly, without a lock: 32-bit and byte values
// are atomics; texts that several threads read are changed only on the window thread or at the start of a run.
#pragma once

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include <pugixml.hpp>

enum class ParType : uint8_t { Bool, Int, Float, String };

struct Par {
    const char* name;
    ParType type;
    uint16_t controlId = 0;  // 0: no control in the window
    bool hidden = false;     // no control; set by hand in the file only
    Par(const char* n, ParType t, uint16_t id) : name(n), type(t), controlId(id), hidden(id == 0) {}
    Par(const Par&) = delete;
    Par& operator=(const Par&) = delete;
};

struct ParBool : Par {
    bool def;
    std::atomic<bool> current;
    ParBool(const char* n, bool d, uint16_t id = 0) : Par(n, ParType::Bool, id), def(d), current(d) {}
};

struct ParInt : Par {
    int32_t def, min, max;
    std::atomic<int32_t> current;
    ParInt(const char* n, int32_t d, int32_t lo, int32_t hi, uint16_t id = 0)
        : Par(n, ParType::Int, id), def(d), min(lo), max(hi), current(d) {}
    int32_t clamp(int64_t v) const { return static_cast<int32_t>(v < min ? min : (v > max ? max : v)); }
};

struct ParFloat : Par {
    float def, min, max;
    std::atomic<float> current;
    ParFloat(const char* n, float d, float lo, float hi, uint16_t id = 0)
        : Par(n, ParType::Float, id), def(d), min(lo), max(hi), current(d) {}
};

struct ParString : Par {
    std::string def;
    std::string current;
    ParString(const char* n, std::string d = {}, uint16_t id = 0) : Par(n, ParType::String, id), def(std::move(d)) {}
};

// --- the parameters, in the order the program reads them and writes them into a new file ---
extern ParBool COLLISION_LIVE_PARKED_GND, SIM_TIME, KEEP_SIM_TIME_PAR, RT_PARKTRAFFIC_ONLY, COLLISION_USER_AIR,
    COLLISION_USER_GND, SUPPRESS_STUB, LOG, ALWAYS_ON_TOP, SCAN_LIVERIES, LIG_AUTOMATIC, LIG_PRIORITIZE, SCAN_AIRPORTS,
    AFG_AUTOMATIC, LIGHT_AIRCRAFT, HELICOPTERS, HIGH_PERF_AIRCRAFT, NAV_LIGHTS_WHILE_PARKED, AUTO_RANGE, LEARN_SOFT,
    PARK_SOFT, PARK_FAKE, WEEK, INITIAL_LOAD_ONLY, GUID_CHANGES;
extern ParInt CUSTOM_PARKING_PERCENTAGE, MAIN_WINDOW_X, MAIN_WINDOW_Y, LAST_EPOCH_TIME, P3D_VERSION, MATCHING_DEPTH,
    LATERAL_RANGE, MAX_FIT, MAX_LIVE, AIRPORT_RANGE, AIRPORT_HEIGHT, TIME_SHIFT_DAYS, TIME_SHIFT_HOURS, TIME_SHIFT_MINS;
extern ParString PROGRAM_VERSION;
extern ParString lfolder[10];  // lfolder0 .. lfolder9: livery folders of a manual scan
extern ParString afolder[10];  // afolder0 .. afolder9: airport folders of a manual scan
extern ParString PROGRAM_INSTALL_PATH, ARCHIVE_VERSION, DBASE_VERSION, AIG_VERSION, DATA_CHECKED_AT_DATE,
    BLOCK_CALLSIGN, SIM_INSTALL_PATH;

// Never in parameters.xml.
extern ParInt parking_percentage;  // of the current park airport; kept in its airport file
extern ParFloat MAX_FIT_FL;        // MAX_FIT in hours: MAX_FIT * 0.5 + 0.5

// Derived values, recomputed wherever their source changes.
struct ParDerived {
    std::atomic<double> rangeNm{40.0};         // LATERAL_RANGE as a double
    std::atomic<int32_t> radiusMetres{84080};  // LATERAL_RANGE * 1852 + 10000
    std::atomic<int32_t> maxLiveWorking{300};  // working limit of live aircraft, a copy of MAX_LIVE
    std::atomic<int32_t> typedRange{40};       // last LATERAL_RANGE typed while AUTO_RANGE is on
};
extern ParDerived parDerived;
// Clamp LATERAL_RANGE and derive the range and the radius from it.
void gf_applyLateralRange();

// The parameters in table order (what gf_readParameters walks).
const std::vector<Par*>& gf_parameterTable();
Par* gf_findParameterByName(const std::string& name);
std::string gf_parameterValueText(const Par& par);  // "true"/"false", decimal, or the text

// The file.
std::filesystem::path gf_parametersPath();
void gf_readParameters();
void gf_saveParameter(ParBool& par);
void gf_saveParameter(ParInt& par);
void gf_saveParameter(ParString& par);
void gf_removeParameter(const std::string& name);
void gf_readWindowPosition();

// The meta block of the program's other XML files.
void gf_writeMeta(pugi::xml_node documentNode);
bool gf_checkMeta(pugi::xml_node documentNode);
struct MetaInfo {
    std::string author, version, date;
};
extern MetaInfo lastMeta;  // what gf_checkMeta found

// Every current value back to its default (a restart reads the file anew; tests start clean).
void gf_resetParameters();
