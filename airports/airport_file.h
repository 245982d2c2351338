// airports/airport_file.h — airport files: one XML document per airport with its stands and, per stand,
// the history of who has parked there (the options). Four kinds share the format: archived (downloaded,
// airports/archive/...), generated (the add-on scan, airports/my_ORBX and my_thirdparty), learned
// (airports/learned/..., the airport's settings and what was learned over the archived file) and handmade
// (a learned file with the parameter `handmade`, whose stands replace the other file's).
// The stand table of the park airport lives in airports/state.h.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pugixml.hpp>

// One `opt` of a stand: this aircraft has been seen here on this day in these half hours.
struct ParkPos {
    std::string airl;      // airline code
    std::string type;      // ICAO aircraft type
    std::string reg;       // registration, may be empty
    std::string cs1;       // callsign
    std::string cs2;       // second callsign of a flight that leaves under another number; may be empty
    uint64_t hh = 0;       // 48-bit set of half hours, bit n for the half hour from n/2 hours UTC
    uint32_t optId = 0;    // serial within the stand, from 1; 0: deleted, neither written nor counted
    uint32_t day = 0;      // 1 Monday .. 7 Sunday
    bool learned = false;  // from a learned file or learned in this run: only these are saved
    bool soft = false;     // seen near the stand rather than on it, or made up (fake options)
};

// Where a hexid was booked in this run: the option it went into and the moment.
struct LearnedSlot {
    uint32_t day = 0;       // 1 .. 7
    uint32_t halfHour = 0;  // 0 .. 47
    uint32_t optId = 0;
};

// One `parkpos`: a stand of the airport.
struct Stand {
    std::vector<ParkPos> options;
    std::unordered_map<uint32_t, LearnedSlot> realByHexid;  // real options learned in this run, by hexid
    std::unordered_map<uint32_t, LearnedSlot> softByHexid;  // soft options learned in this run, by hexid
    std::string name;                                       // the attribute id, unique within the file
    std::vector<uint32_t> adjacent;  // sid of every stand that overlaps this one; fixed after the read
    double latitude = 0.0;           // degrees
    double longitude = 0.0;          // degrees
    double heading = 0.0;            // radians, of an aircraft parked here
    double radius = 0.0;             // nm: the half wingspan that fits (the file holds metres)
    uint32_t sid = 0;                // 1 .. n in file order; 0 is no stand
    bool manual = false;             // added by hand in a learned file; absent from the other file
    bool radiusChanged = false;      // differs from the other file: saved as radius_change
    bool cargoChanged = false;       // saved as cargo_change
    bool scanMark = false;           // working mark of the add-on airport scan
    bool taken = false;              // a parked aircraft stands here (parking calculation)
    bool occupiedLive = false;       // a live aircraft stands here (engine)
    bool reserved = false;           // kept free (park airport tracking)
    bool adjacentTaken = false;      // an adjacent stand is taken (parking calculation)
    bool cargo = false;
    bool ramp = false;  // a general aviation ramp, not a gate
    bool heli = false;  // a helipad
    Stand() { adjacent.reserve(8); }
};

// What a writer is given: the airport and its stands.
struct AirportFileData {
    std::string icao;
    std::string name;       // airport_name
    std::string bglPath;    // written only when the publisher is "unknown"
    std::string publisher;  // "stock", "ORBX", a third party's name, or "unknown"
    int32_t week = 0;       // RT_traffic_week; 0 is not written
    int32_t qfReal = -1;    // quality factors 0..100; below 0 is not written
    int32_t qfSoft = -1;
    int32_t altitude = 0;  // feet
    std::vector<Stand> stands;
};

// Qf_real and Qf_soft; -1 each when unknown.
using QualityPair = std::pair<int32_t, int32_t>;

inline constexpr double kMetresToNm = 0.0005399568034557236;        // 1/1852
inline constexpr double kAdjacentFactor = 1.1;                      // radii sum above 1.1 x distance: overlap
inline constexpr double kFitSlackNm = 0.0009719222462203025;        // 1.8 m: a half span may exceed the radius by this
inline constexpr double kSmallSpanNm = 0.009611230689557531;        // 17.8 m half span: small aircraft up to here
inline constexpr double kSmallStepNm = 0.00755939524838013;         // 14 m: size step of small aircraft
inline constexpr double kLargeStepNm = 0.011339092872570195;        // 21 m: size step of the others
inline constexpr int32_t kDefaultParkingPercentage = 30;            // of an airport without a learned file
inline constexpr uint64_t kAllHalfHours = (uint64_t{1} << 48) - 1;  // bits 0..47

// --- choosing the file ---
// The airport's file: the user's third-party scan, then ORBX (each a pointer file first), then the stock
// archive; empty when none exists.
std::filesystem::path gf_apfPath(const std::string& icao);
// The learned file that belongs to a file: "archive" -> "learned", "my_ORBX" -> "learned/ORBX",
// "my_thirdparty" -> "learned/thirdparty/<publisher>". Any other path stays.
std::filesystem::path gf_learnedPath(const std::filesystem::path& path);
// Value of `publisher` and `num_parkpos`; "" and 0 if the file does not load.
std::string gf_apfPublisher(const std::filesystem::path& path);
int32_t gf_apfStandCount(const std::filesystem::path& path);
// The stock archive's file has a quality factor at 0 or above.
bool gf_hasQuality(const std::string& icao);
// The airport's file has a parkpos with this id; false without a file or on any failure. No globals.
bool gf_readApfForGateCheck(const std::string& icao, const std::string& standName);
// A parameter of an airport file's `parameters` (the XPath rule of parameters.xml); empty node if absent.
pugi::xml_node gf_apfParameter(const pugi::xml_node document, const char* name);

// --- reading into the stand table (airports/state.h) ---
// Reads the file and its learned overlay; the stand table must be empty. Result: an error text, empty on
// success ("no stands found" for a file without stands). UserErrorException (65 "Parameter altitude not
// found", 94 a stand named twice) passes through.
std::string gf_readApf(QualityPair& qualityOut, const std::filesystem::path& path);
// Builds stands from `parkpositions` of the file at `path`, appending to `stands`. Options of towed
// aircraft are skipped; a stand without a valid position is skipped with a mark line.
void lf_readParkPositions(const pugi::xml_node document, std::vector<Stand>& stands, const std::filesystem::path& path);
// Applies a learned file to `stands`; sets `handmade` when the file replaces them. A file that does not
// load is copied to "<name>.0.xml" and not applied.
void lf_readLearned(const std::filesystem::path& learnedPath, const std::string& archivedName,
                    std::vector<Stand>& stands, bool& handmade);
// The settings a learned file keeps for its airport, into their parameters and controls.
void gf_applyLearnedSettings(const pugi::xml_node document, const std::filesystem::path& path);
// Number the stands 1..n and find the overlapping pairs.
void gf_numberStands(std::vector<Stand>& stands);

// --- writing ---
// The document of a file (meta, parameters, parkpositions); learned mode writes the settings, the
// changed and manual stands and their options.
void gf_buildApf(pugi::xml_document& document, const AirportFileData& data, bool learnedMode);
// Builds and saves atomically (temporary file and rename); false when the save failed, the old file whole.
bool gf_writeApf(const AirportFileData& data, const std::filesystem::path& path, bool learnedMode);

// --- the hour sets and the options ---
// "16,17,18" <-> bits 16, 17, 18. A bad piece ends the conversion with a mark line; bits so far stand.
uint64_t lf_hours2bitset(const std::string& text);
std::string lf_bitset2hours(uint64_t bits);
// Is any bit set from `start` back to `start - offset` (not below 0)? If none is and the window
// reaches before 0, `rest` gets what remains to look at on the day before (at most 46), else -1.
bool testRange(const ParkPos& option, int start, int offset, int& rest);
// The stand fits a half span (nm): not more than 1.8 m too small, less than half a size step too large.
bool gf_sizeMatchesStand(const Stand& stand, double halfSpan);
// Quality pair of the stand table; -1, -1 when no stand has an option.
QualityPair gf_quality();
QualityPair gf_quality(const std::vector<Stand>& stands);
// "" (both unknown), "rr/ss" or "rr".
std::string gf_formatQuality(QualityPair q);
// Clamps and stores MAX_FIT and MAX_FIT_FL, shows and logs them.
void gf_setMaxFit(int64_t value);
// Made-up soft options for this half hour on each stand, for an airport without history (PARK_FAKE).
void gf_addFakeOptions(std::vector<Stand>& stands, const std::string& icao);
