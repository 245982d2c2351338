// airports/apf_load.cpp — gf_readApf, the one entry that makes an airport the loaded park airport, and
// the airport settings a learned file brings with it.
#include <charconv>
#include <optional>
#include <system_error>

#include <fmt/format.h>

#include "airports/state.h"
#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"

namespace fs = std::filesystem;

namespace {

// No airport lies lower than the Dead Sea's shore nor higher than the Tibetan plateau's fields.
constexpr int64_t kLowestFieldFt = -1500;
constexpr int64_t kHighestFieldFt = 15000;

// True as the files always meant it: the first character is one of 1 t T y Y.
bool lf_bool(const pugi::xml_node p) {
    const char c = p.attribute("value").value()[0];
    return c == '1' || c == 't' || c == 'T' || c == 'y' || c == 'Y';
}

// A decimal integer; nothing (with a mark line) for any other text.
std::optional<int64_t> lf_int(const pugi::xml_node p, const fs::path& path) {
    const std::string_view text = p.attribute("value").value();
    int64_t v = 0;
    const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (ec == std::errc() && end == text.data() + text.size() && !text.empty()) return v;
    gf_logMarkf("parameter {} in {}: \"{}\" is no number, ignored", p.attribute("name").value(), path.string(), text);
    return std::nullopt;
}

void lf_applyBool(const pugi::xml_node doc, ParBool& par) {
    const pugi::xml_node p = gf_apfParameter(doc, par.name);
    if (!p) return;
    par.current = lf_bool(p);
    gf_setControlChecked(par.controlId, par.current);
    gf_logf("{:24}: {}", par.name, par.current ? "true" : "false");
}

void lf_applyInt(const pugi::xml_node doc, ParInt& par, const fs::path& path) {
    const pugi::xml_node p = gf_apfParameter(doc, par.name);
    if (!p) return;
    const std::optional<int64_t> v = lf_int(p, path);
    if (!v) return;
    par.current = par.clamp(*v);
    gf_setControlText(par.controlId, std::to_string(par.current));
    gf_logf("{:24}: {}", par.name, par.current.load());
}

// CUSTOM_PARKING_PERCENTAGE at 0 or above overrides every airport's percentage.
void lf_showParkingPercentage() {
    if (CUSTOM_PARKING_PERCENTAGE.current >= 0) {
        parking_percentage.current = CUSTOM_PARKING_PERCENTAGE.current.load();
        gf_showMessagef(true, "parking percentage overruled by {}", CUSTOM_PARKING_PERCENTAGE.name);
    }
    gf_logf("{:24}: {}%", parking_percentage.name, parking_percentage.current.load());
    gf_setControlText(parking_percentage.controlId, std::to_string(parking_percentage.current));
}

void lf_logSummary(const fs::path& shownPath, QualityPair quality) {
    gf_logf("Airport file read from \"{}\" for {}", shownPath.string(), airports.airportName);
    gf_logf("{:24}: {}", "publisher", airports.publisher);
    gf_logf("{:24}: {} ft", "altitude", airports.altitude);
    gf_logf("{:24}: {}", "num_parkpos", airports.stands.size());
    gf_logf("{:24}: {}", "quality factor", gf_formatQuality(quality));
    gf_logf("{:24}: {}", "RT traffic week", airports.trafficWeek);
}

std::string lf_readApf(QualityPair& qualityOut, const fs::path& path) {
    gf_logLine("read_apf: " + path.string());
    if (airports.parkIcao.empty()) return "gf_readApf, no park airport set";
    airports.handmade = false;
    pugi::xml_document doc;
    if (const pugi::xml_parse_result r = doc.load_file(path.c_str()); !r)
        return fmt::format("{} found, but could not be loaded: {}", path.string(), r.description());
    airports.trafficWeek = gf_apfParameter(doc, "RT_traffic_week").attribute("value").as_int(0);
    airports.publisher = gf_apfParameter(doc, "publisher").attribute("value").value();
    const pugi::xml_node altitude = gf_apfParameter(doc, "altitude");
    if (!altitude) throw zel::UserErrorException(65, "Parameter altitude not found");
    int64_t feet = lf_int(altitude, path).value_or(0);
    if (feet < kLowestFieldFt || feet > kHighestFieldFt) {
        gf_logMarkf("parameter altitude in {}: {} ft is outside {}..{} ft, 0 taken", path.string(), feet,
                    kLowestFieldFt, kHighestFieldFt);
        feet = 0;
    }
    airports.altitude = static_cast<int32_t>(feet);
    airports.parkAirportElevation = airports.altitude;
    airports.airportName = gf_apfParameter(doc, "airport_name").attribute("value").value();
    lf_readParkPositions(doc, airports.stands, path);
    qualityOut = {gf_apfParameter(doc, "Qf_real").attribute("value").as_int(-1),
                  gf_apfParameter(doc, "Qf_soft").attribute("value").as_int(-1)};

    const fs::path learned = gf_learnedPath(path);
    std::error_code ec;
    if (fs::exists(learned, ec)) {
        lf_readLearned(learned, airports.airportName, airports.stands, airports.handmade);
        qualityOut = gf_quality();
        if (airports.handmade) gf_logLine("A handmade airport file overruled the archived file!");
        if (PARK_FAKE.current) gf_addFakeOptions(airports.stands, airports.parkIcao);
    } else {
        gf_setControlEnabled(parking_percentage.controlId, false);
        parking_percentage.current = kDefaultParkingPercentage;
        lf_showParkingPercentage();
    }
    panel.standCount = static_cast<int32_t>(airports.stands.size());
    gf_numberStands(airports.stands);
    lf_logSummary(airports.handmade ? learned : path, qualityOut);

    panel.parkPublisher.set(airports.publisher);
    panel.parkHandmade = airports.handmade;
    panel.qualityText.set(gf_formatQuality(qualityOut));
    airports.learnedPath = learned;
    panel.atParkAirport.exchange(true);
    gf_invalidate(Band::Static);
    return airports.stands.empty() ? "no stands found" : "";
}

}  // namespace

std::string gf_readApf(QualityPair& qualityOut, const fs::path& path) {
    try {
        return lf_readApf(qualityOut, path);
    } catch (const zel::UserErrorException&) {
        airports.stands.clear();
        throw;
    } catch (const std::exception& e) {
        airports.stands.clear();
        return fmt::format("exception in readApf: {}", e.what());
    }
}

void gf_applyLearnedSettings(const pugi::xml_node document, const fs::path& path) {
    const pugi::xml_node doc = document;
    lf_applyBool(doc, LEARN_SOFT);
    // MAX_LIVE is kept only where it differs from the working limit; its box stays blank otherwise.
    const pugi::xml_node maxLive = gf_apfParameter(doc, MAX_LIVE.name);
    if (const std::optional<int64_t> v = maxLive ? lf_int(maxLive, path) : std::nullopt) {
        MAX_LIVE.current = MAX_LIVE.clamp(*v);
        const bool working = MAX_LIVE.current == parDerived.maxLiveWorking;
        gf_setControlText(MAX_LIVE.controlId, working ? "" : std::to_string(MAX_LIVE.current));
        gf_logf("{:24}: {}", MAX_LIVE.name, MAX_LIVE.current.load());
    } else {
        MAX_LIVE.current = parDerived.maxLiveWorking.load();
        gf_setControlText(MAX_LIVE.controlId, "");
    }
    lf_applyInt(doc, LATERAL_RANGE, path);
    gf_applyLateralRange();
    if (gf_apfParameter(doc, AUTO_RANGE.name)) {
        lf_applyBool(doc, AUTO_RANGE);
        gf_setControlEnabled(LATERAL_RANGE.controlId, !AUTO_RANGE.current);
        if (AUTO_RANGE.current) {
            parDerived.typedRange = LATERAL_RANGE.current.load();
        } else {
            LATERAL_RANGE.current = parDerived.typedRange.load();
            gf_applyLateralRange();
            gf_setControlText(LATERAL_RANGE.controlId, std::to_string(LATERAL_RANGE.current));
        }
    }
    lf_applyBool(doc, PARK_FAKE);
    lf_applyBool(doc, WEEK);
    lf_applyBool(doc, PARK_SOFT);

    parking_percentage.current = kDefaultParkingPercentage;
    if (const pugi::xml_node p = gf_apfParameter(doc, parking_percentage.name))
        if (const std::optional<int64_t> v = lf_int(p, path)) parking_percentage.current = parking_percentage.clamp(*v);
    gf_setControlEnabled(parking_percentage.controlId, true);
    lf_showParkingPercentage();

    lf_applyBool(doc, INITIAL_LOAD_ONLY);
    const pugi::xml_node maxFit = gf_apfParameter(doc, MAX_FIT.name);
    const pugi::xml_node fit = maxFit ? maxFit : gf_apfParameter(doc, "MAX_FIT_WEEK");
    if (fit)
        if (const std::optional<int64_t> v = lf_int(fit, path)) gf_setMaxFit(*v);
    lf_applyBool(doc, RT_PARKTRAFFIC_ONLY);
}
