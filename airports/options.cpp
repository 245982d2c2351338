// airports/options.cpp — the hour sets of the options, the fit of an aircraft to a stand, the quality
// factor of a stand table, MAX_FIT, and the made-up options of an airport without history.
#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <set>

#include <fmt/format.h>

#include "airports/state.h"
#include "common/numtext.h"
#include "common/random.h"
#include "common/timeofweek.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "liveries/dbase.h"

uint64_t lf_hours2bitset(const std::string& text) {
    uint64_t bits = 0;
    size_t from = 0;
    try {
        while (from <= text.size()) {
            size_t comma = text.find(',', from);
            if (comma == std::string::npos) comma = text.size();
            const std::string_view piece(text.data() + from, comma - from);
            int n = -1;
            const auto [end, ec] = std::from_chars(piece.data(), piece.data() + piece.size(), n);
            if (ec != std::errc() || end != piece.data() + piece.size())
                throw std::invalid_argument(fmt::format("\"{}\" is no half hour", piece));
            if (n < 0 || n > 47) throw std::out_of_range(fmt::format("half hour {} out of 0..47", n));
            bits |= uint64_t{1} << n;
            from = comma + 1;
        }
    } catch (const std::exception& e) {
        gf_logMarkf("exception {} in lf_hours2bitset", e.what());
    }
    return bits;
}

std::string lf_bitset2hours(uint64_t bits) {
    std::string text;
    for (int n = 0; n < 48; ++n) {
        if ((bits >> n & 1) == 0) continue;
        if (!text.empty()) text += ',';
        text += std::to_string(n);
    }
    return text;
}

bool testRange(const ParkPos& option, int start, int offset, int& rest) {
    rest = -1;
    if (start > 47 || start < 0) {
        gf_logMarkf("{}exception {} in testRange, start: {}, offset: {}", "", "half hour out of range", start, offset);
        return false;
    }
    for (int slot = start; slot >= start - offset && slot >= 0; --slot)
        if (option.hh >> slot & 1) return true;
    if (start - offset < 0) rest = std::min(offset - start, 46);
    return false;
}

bool gf_sizeMatchesStand(const Stand& stand, double halfSpan) {
    const double e = halfSpan - stand.radius;
    if (e > kFitSlackNm) return false;
    const double step = halfSpan <= kSmallSpanNm ? kSmallStepNm : kLargeStepNm;
    return std::lround(-e / step) == 0;
}

namespace {
// The score of one stand for real (soft false) or soft options; 0 without such an option.
int64_t lf_standScore(const Stand& stand, bool soft) {
    int64_t n = 0, h = 0;
    std::set<uint32_t> days;
    for (const ParkPos& o : stand.options) {
        if (o.optId == 0 || o.soft != soft) continue;
        ++n;
        if (o.day >= 1 && o.day <= 7) days.insert(o.day);
        h += std::popcount(o.hh);
    }
    if (n == 0) return 0;
    return 10000 + std::min<int64_t>(20 * n, 4000) + 100 * static_cast<int64_t>(days.size()) +
           2 * std::min<int64_t>(h, 600);
}
}  // namespace

QualityPair gf_quality(const std::vector<Stand>& stands) {
    const bool any = std::any_of(stands.begin(), stands.end(), [](const Stand& s) { return !s.options.empty(); });
    if (!any) return {-1, -1};
    int32_t result[2] = {0, 0};
    for (int kind = 0; kind < 2; ++kind) {
        double sum = 0;
        for (const Stand& s : stands) sum += static_cast<double>(lf_standScore(s, kind == 1));
        const long q = std::lround(sum / static_cast<double>(stands.size()) * 0.00625);
        result[kind] = static_cast<int32_t>(std::clamp(q, 0L, 100L));
    }
    return {result[0], result[1]};
}

QualityPair gf_quality() { return gf_quality(airports.stands); }

std::string gf_formatQuality(QualityPair q) {
    if (q.first < 0 && q.second < 0) return "  ";
    if (q.first < 45) return fmt::format("{:2}/{:2}", q.first, q.second);
    return fmt::format("{:2}", q.first);
}

void gf_setMaxFit(int64_t value) {
    MAX_FIT.current = MAX_FIT.clamp(value);
    const float hours = static_cast<float>(MAX_FIT.current) * 0.5f + 0.5f;
    MAX_FIT_FL.current = hours;
    gf_setControlText(MAX_FIT.controlId, std::to_string(MAX_FIT.current));
    gf_setControlText(MAX_FIT_FL.controlId, fmt::format("{}", hours));
    gf_logf("{:24}: {} (max number of half hours, is {} hrs decimal)", MAX_FIT.name, MAX_FIT.current.load(), hours);
}

namespace {

struct FakeRow {
    const char* airl;
    const char* type;
};
// Lists by the first letter of the airport's ICAO code; only rows whose type fits the stand enter.
const std::vector<FakeRow> kCargoRows = {
    {"FDX", "C208"}, {"FDX", "B752"}, {"FDX", "B763"}, {"UPS", "A306"}, {"DHK", "B763"}};
const std::vector<FakeRow> kRampRows = {{"PVT", "C172"}, {"PVT", "C206"}, {"PVT", "P28A"}, {"PVT", "PC12"},
                                        {"PVT", "C550"}, {"PVT", "TBM9"}, {"PVT", "LJ25"}, {"PVT", "GLF6"},
                                        {"PVT", "FA6X"}, {"PVT", "FA8X"}, {"PVT", "GLF4"}, {"PVT", "GLF5"},
                                        {"PVT", "LJ60"}, {"PVT", "DHC7"}, {"PVT", "DH8A"}, {"PVT", "DH8C"},
                                        {"PVT", "E550"}, {"PVT", "CL30"}, {"PVT", "GA6C"}};
const std::vector<FakeRow> kRowsK = {{"UAL", "B77W"}, {"DAL", "B739"}, {"JBU", "BCS3"}, {"FFT", "A320"},
                                     {"UAL", "B78X"}, {"UAL", "B738"}, {"AAL", "B738"}, {"SKW", "E75L"},
                                     {"SWA", "B737"}, {"FFT", "A320"}};
const std::vector<FakeRow> kRowsC = {{"ACA", "B789"}, {"ACA", "B38M"}, {"ROU", "A321"}, {"JZA", "CRJ9"}};
const std::vector<FakeRow> kRowsE = {{"KLM", "B77W"}, {"SAS", "A320"}, {"EZY", "A320"}, {"RYR", "B738"},
                                     {"DLH", "A320"}, {"KLM", "B738"}, {"BAW", "A21N"}};
const std::vector<FakeRow> kRowsZ = {{"CSA", "A320"}, {"CES", "A333"}, {"CES", "A321"}};
const std::vector<FakeRow> kRowsR = {{"ANA", "A20N"}, {"JAL", "A35K"}, {"JAL", "B738"}};

std::vector<FakeRow> lf_fakeCandidates(const Stand& stand, char letter) {
    if (stand.heli) return {{"PVT", "EC35"}};
    const std::vector<FakeRow>* list = nullptr;
    if (stand.cargo)
        list = &kCargoRows;
    else if (stand.ramp)
        list = &kRampRows;
    else if (letter == 'K')
        list = &kRowsK;
    else if (letter == 'C')
        list = &kRowsC;
    else if (letter == 'E')
        list = &kRowsE;
    else if (letter == 'Z')
        list = &kRowsZ;
    else if (letter == 'R')
        list = &kRowsR;
    else
        return {{kGenericAirline, "B738"}};
    std::vector<FakeRow> fitting;
    for (const FakeRow& r : *list)
        if (gf_sizeMatchesStand(stand, gf_halfWingspan(r.type))) fitting.push_back(r);
    return fitting;
}

}  // namespace

void gf_addFakeOptions(std::vector<Stand>& stands, const std::string& icao) {
    const TimeOfWeek now = gf_loadTimeOfWeek();
    const char letter = icao.empty() ? '\0' : icao[0];
    int n = 1;
    for (Stand& stand : stands) {
        const std::vector<FakeRow> rows = lf_fakeCandidates(stand, letter);
        if (rows.empty()) continue;
        const FakeRow& row = rows.size() == 1 ? rows[0] : rows[gf_rng()() % rows.size()];
        ParkPos p;
        p.airl = row.airl;
        p.type = row.type;
        p.reg = fmt::format("REGFAKE{}", n);
        p.cs1 = fmt::format("FAKE{}", n);
        p.hh = uint64_t{1} << now.halfHour;
        p.optId = stand.options.empty() ? 1 : stand.options.back().optId + 1;
        p.day = now.day;
        p.soft = true;
        stand.options.push_back(std::move(p));
        ++n;
    }
}
