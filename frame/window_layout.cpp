// The status window's layout. Everything here is read without waiting: the panel fields are atomics or
// locked texts, the message line is copied under its lock, and the controls' states come from the model.
#include "frame/window_layout.h"

#include <array>
#include <cmath>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"

namespace {
constexpr uint8_t lf_band(Band b) { return static_cast<uint8_t>(b); }

constexpr std::array<PixelRect, 5> kBands{{
    {0, 0, 880, 28},     // header
    {0, 28, 880, 112},   // status panel
    {0, 112, 880, 392},  // parameter panel
    {0, 392, 880, 448},  // static panel
    {0, 448, 880, 476},  // message strip
}};

struct LineLayout {
    Band band;
    uint32_t pen;
    PixelRect points;  // from (left, top) to (right, bottom)
};
// The status panel's split line is drawn apart, last in its band, over the lamps.
constexpr std::array<LineLayout, 13> kLines{{
    {Band::Status, colours::white, {0, 28, 880, 28}},
    {Band::Parameters, colours::white, {0, 113, 880, 113}},
    {Band::Message, colours::white, {0, 449, 880, 449}},
    {Band::Static, colours::white, {0, 392, 880, 392}},
    {Band::Parameters, colours::black, {0, 140, 880, 140}},
    {Band::Parameters, colours::black, {0, 168, 880, 168}},
    {Band::Parameters, colours::black, {0, 196, 642, 196}},
    {Band::Parameters, colours::black, {0, 224, 642, 224}},
    {Band::Parameters, colours::black, {0, 252, 880, 252}},
    {Band::Parameters, colours::black, {0, 280, 880, 280}},
    {Band::Parameters, colours::black, {0, 308, 642, 308}},
    {Band::Parameters, colours::black, {0, 336, 642, 336}},
    {Band::Parameters, colours::black, {642, 168, 642, 364}},
}};
constexpr LineLayout kStatusSplit{Band::Status, colours::black, {425, 29, 425, 112}};

using CK = ControlKind;
constexpr int kBox = 12;  // check boxes have no caption: a 12 by 12 box
constexpr std::array<ControlLayout, 41> kControls{{
    {32788, CK::Edit, 111, 119, 1200, nullptr},   // SIM_INSTALL_PATH: wider than the window, clipped
    {32797, CK::Check, 5, 175, kBox, nullptr},    // SCAN_LIVERIES
    {32798, CK::Check, 217, 175, kBox, nullptr},  // LIG_AUTOMATIC
    {32799, CK::Check, 323, 175, kBox, nullptr},  // LIG_PRIORITIZE
    {32800, CK::Check, 430, 175, kBox, nullptr},  // SUPPRESS_STUB
    {32779, CK::Check, 652, 175, kBox, nullptr},  // LOG
    {32771, CK::Check, 748, 175, kBox, nullptr},  // ALWAYS_ON_TOP
    {32802, CK::Check, 5, 203, kBox, nullptr},    // SCAN_AIRPORTS
    {32803, CK::Check, 217, 203, kBox, nullptr},  // AFG_AUTOMATIC
    {32778, CK::Check, 652, 203, kBox, nullptr},  // NAV_LIGHTS_WHILE_PARKED
    {32777, CK::Check, 748, 203, kBox, nullptr},  // LEARN_SOFT
    {32808, CK::Edit, 217, 231, 24, nullptr},     // MATCHING_DEPTH
    {32809, CK::Check, 323, 231, kBox, nullptr},  // LIGHT_AIRCRAFT
    {32810, CK::Check, 430, 231, kBox, nullptr},  // HELICOPTERS
    {32811, CK::Check, 536, 231, kBox, nullptr},  // HIGH_PERF_AIRCRAFT
    {32773, CK::Check, 748, 231, kBox, nullptr},  // GUID_CHANGES
    {32818, CK::Edit, 217, 259, 34, nullptr},     // LATERAL_RANGE
    {32819, CK::Check, 323, 259, kBox, nullptr},  // AUTO_RANGE
    {32820, CK::Edit, 576, 259, 34, nullptr},     // MAX_LIVE
    {kCheckVersionButtonId, CK::Button, 692, 257, 120, "Check version"},
    {32858, CK::Edit, 748, 315, 30, nullptr},     // TIME_SHIFT_DAYS
    {32834, CK::Check, 217, 315, kBox, nullptr},  // COLLISION_USER_GND
    {32833, CK::Check, 323, 315, kBox, nullptr},  // COLLISION_USER_AIR
    {32835, CK::Check, 430, 315, kBox, nullptr},  // COLLISION_LIVE_PARKED_GND
    {32861, CK::Check, 652, 287, kBox, nullptr},  // SIM_TIME
    {32859, CK::Edit, 748, 287, 30, nullptr},     // TIME_SHIFT_HOURS
    {32828, CK::Edit, 217, 287, 100, nullptr},    // BLOCK_CALLSIGN
    {kUnblockButtonId, CK::Button, 323, 285, 70, "Unblock"},
    {32862, CK::Check, 652, 343, kBox, nullptr},  // KEEP_SIM_TIME_PAR
    {32860, CK::Edit, 748, 343, 30, nullptr},     // TIME_SHIFT_MINS
    {32839, CK::Edit, 343, 343, 34, nullptr},     // AIRPORT_RANGE
    {32840, CK::Edit, 586, 343, 50, nullptr},     // AIRPORT_HEIGHT
    {32856, CK::Check, 5, 371, kBox, nullptr},    // PARK_FAKE
    {32852, CK::Check, 71, 371, kBox, nullptr},   // WEEK
    {32850, CK::Check, 151, 371, kBox, nullptr},  // PARK_SOFT
    {32848, CK::Edit, 217, 371, 34, nullptr},     // parking_percentage
    {32849, CK::Check, 323, 371, kBox, nullptr},  // INITIAL_LOAD_ONLY
    {32853, CK::Edit, 460, 371, 24, nullptr},     // MAX_FIT_FL
    {32854, CK::Check, 536, 371, kBox, nullptr},  // RT_PARKTRAFFIC_ONLY
    {kFlushStaticButtonId, CK::Button, 642, 369, 90, "Flush static"},
    {kReReadButtonId, CK::Button, 758, 369, 90, "Re-read"},
}};

// Builds the items of one band.
class Painter {
public:
    Painter(DisplayList& out, Band band) : out_(out), band_(lf_band(band)) {}
    void fill(const PixelRect& r, uint32_t brush) { push(ItemKind::Fill, r, brush, {}); }
    void line(const PixelRect& points, uint32_t pen) { push(ItemKind::Line, points, pen, {}); }
    void text(int x, int y, uint32_t colour, std::string s) {
        if (!s.empty()) push(ItemKind::Text, {x, y, x, y}, colour, std::move(s));
    }
    void control(const ControlLayout& c) {
        const ControlState state = gf_controlState(c.id);
        DisplayItem& item = push(ItemKind::Control, gf_controlRect(c), 0, c.caption ? c.caption : state.text);
        item.control = c.kind;
        item.id = c.id;
        item.checked = state.checked;
        item.enabled = state.exists ? state.enabled : c.kind == CK::Check;
    }

private:
    DisplayItem& push(ItemKind kind, const PixelRect& r, uint32_t colour, std::string s) {
        DisplayItem& item = out_.emplace_back();
        item.kind = kind;
        item.band = band_;
        item.rect = r;
        item.colour = colour;
        item.text = std::move(s);
        return item;
    }
    DisplayList& out_;
    uint8_t band_;
};

void lf_lines(Painter& p, Band band, uint32_t pen) {
    for (const LineLayout& l : kLines)
        if (l.band == band && l.pen == pen) p.line(l.points, l.pen);
}

// "s" behind a count other than 1.
const char* lf_plural(int32_t n) { return n == 1 ? "" : "s"; }

void lf_header(Painter& p) {
    p.fill(kBands[0], colours::black);
    p.text(3, 7, colours::lime, fmt::format("Version {}", kProgramVersionText));
    p.text(390, 7, colours::lime, "ZARK_P3D");
    p.text(632, 7, colours::lime, "Prepar3D live traffic");
}

void lf_statusPanel(Painter& p) {
    p.fill(kBands[1], colours::black);
    lf_lines(p, Band::Status, colours::white);
    const bool connected = panel.simConnected;
    const std::string title = panel.userTitleText.get();
    uint32_t simColour = colours::red;
    if (connected) simColour = panel.simRunningShown && !title.empty() ? colours::lime : colours::yellow;
    p.fill({397, 30, 425, 112}, simColour);
    p.text(398, 63, colours::black, "Sim");
    if (connected) {
        const std::string stand = panel.userStandText.get();
        p.text(5, 35, simColour, panel.simText.get() + (stand.empty() ? "" : ", user stand " + stand));
        p.text(5, 63, panel.userSpanKnown ? simColour : colours::yellow, title);
    }
    const int64_t liveries = panel.liveryCount;
    if (liveries > 0)
        p.text(5, 91, colours::lime, fmt::format("# liveries: {}", liveries));
    else
        p.text(5, 91, colours::red, "# liveries: ...");
    if (const int32_t orbx = panel.orbxCount; orbx > 0)
        p.text(141, 91, panel.addonScanComplete ? colours::lime : colours::yellow,
               fmt::format("# {}: {}", "ORBX", orbx));
    else
        p.text(141, 91, colours::yellow, "# ORBX: ...");
    if (const int32_t thirdp = panel.thirdpartyCount; thirdp > 0)
        p.text(278, 91, colours::lime, fmt::format("# thirdp: {}", thirdp));
    else
        p.text(278, 91, colours::yellow, "# thirdp: ...");

    const bool up = panel.sessionUp;
    p.fill({425, 30, 453, 112}, panel.serviceNotStarted ? colours::black : (up ? colours::lime : colours::red));
    p.text(430, 63, colours::black, "RT");
    if (up) {
        const int32_t weather = panel.weatherLamp, traffic = panel.trafficLamp;
        if (weather != 3) p.text(458, 63, weather == 1 ? colours::lime : colours::yellow, "Weather");
        if (traffic != 3) p.text(458, 91, traffic == 1 ? colours::lime : colours::yellow, "Traffic");
        if ((weather == 1 || weather == 2) && panel.qnhShown >= 1)
            p.text(642, 63, colours::lime, fmt::format("qnh: {:4}", panel.qnhShown.load()));
        if (traffic == 1 || traffic == 2)
            p.text(642, 91, colours::lime, fmt::format("live: {:3}", panel.liveShown.load()));
    }
    p.line(kStatusSplit.points, kStatusSplit.pen);
}

uint32_t lf_blackOr(bool when, uint32_t colour) { return when ? colour : colours::black; }

void lf_parameterLabels(Painter& p) {
    using namespace colours;
    const bool shift = panel.timeShiftActive;
    const uint32_t shiftColour = lf_blackOr(!shift, grey);
    const uint32_t ptOnlyColour = lf_blackOr(RT_PARKTRAFFIC_ONLY.current, grey);
    auto boxColour = [](const ParBool& par) { return lf_blackOr(!gf_controlState(par.controlId).enabled, grey); };

    p.text(5, 119, black, "Install path:");
    p.text(25, 175, lf_blackOr(SCAN_LIVERIES.current, red), "Scan for liveries:");
    p.text(237, 175, black, "Automatic");
    p.text(343, 175, black, "Prioritize");
    p.text(450, 175, lf_blackOr(!SUPPRESS_STUB.current, grey), "STUB");
    p.text(672, 175, black, "Log");
    p.text(768, 175, lf_blackOr(ALWAYS_ON_TOP.current, yellow), "Stay on top");
    p.text(25, 203, lf_blackOr(SCAN_AIRPORTS.current, red), "Scan for addon airports:");
    p.text(237, 203, black, "Automatic");
    if (const int32_t tblo = panel.tbloCount; tblo >= 1)
        p.text(323, 203, yellow, fmt::format("{} airport{} in TBLO folder", tblo, lf_plural(tblo)));
    p.text(672, 203, black, "Nav lights");
    p.text(768, 203, black, "Learn Soft");
    p.text(5, 231, black, "Max aircraft matching depth:");
    p.text(253, 231, black, "Optional:");
    p.text(343, 231, boxColour(LIGHT_AIRCRAFT), "Light aircraft");
    p.text(450, 231, boxColour(HELICOPTERS), "Helicopters");
    p.text(556, 231, boxColour(HIGH_PERF_AIRCRAFT), "FighterJets");
    p.text(768, 231, lf_blackOr(!GUID_CHANGES.current, yellow), "GUID changes");
    p.text(5, 259, black, "Traffic injection");
    p.text(167, 259, black, "radius:");
    p.text(260, 259, black, "nm,  or");
    p.text(343, 259, black, "auto range");
    p.text(500, 259, black, "max live:");
    p.text(5, 287, black, "Callsigns");
    p.text(172, 287, black, "block:");
    p.text(672, 287, shiftColour, "Sim Time");
    p.text(788, 287, shiftColour, fmt::format("hour{}", lf_plural(TIME_SHIFT_HOURS.current)));
    p.text(5, 315, black, "Collision avoidance:");
    p.text(237, 315, black, "User ground");
    p.text(343, 315, black, "User air");
    p.text(450, 315, black, "Live X parked");
    p.text(652, 315, shiftColour, "Time shift:");
    p.text(788, 315, shiftColour, fmt::format("day{}", lf_plural(TIME_SHIFT_DAYS.current)));

    const bool busy = run.parkingBusy;
    const bool listOk = panel.parkListOk;
    if (busy)
        p.text(5, 343, listOk ? yellow : red, "Airport static parking active:");
    else
        p.text(5, 343, listOk ? black : red, "Airport parking:");
    const int32_t minutes = panel.minutesToRenewal;
    if (panel.atParkAirport && !busy && minutes >= 1 && minutes <= 19 &&
        (!INITIAL_LOAD_ONLY.current || RT_PARKTRAFFIC_ONLY.current))
        p.text(111, 343, black, fmt::format("(in {} min)", minutes));
    p.text(217, 343, black, "within range (nm):");
    p.text(430, 343, black, "< height above gnd (ft):");
    p.text(672, 343, shiftColour, "Save");
    p.text(788, 343, shiftColour, fmt::format("minute{}", lf_plural(TIME_SHIFT_MINS.current)));
    p.text(25, 371, ptOnlyColour, "Fake");
    p.text(91, 371, ptOnlyColour, "Week");
    p.text(171, 371, ptOnlyColour, "Soft");
    p.text(262, 371, ptOnlyColour, "%");
    p.text(343, 371, ptOnlyColour, "ILO");
    p.text(400, 371, ptOnlyColour, "Max fit:");
    p.text(556, 371, black, "PT only");
}

void lf_parameterPanel(Painter& p) {
    p.fill(kBands[2], colours::lightBlue);
    lf_lines(p, Band::Parameters, colours::white);
    lf_lines(p, Band::Parameters, colours::black);
    lf_parameterLabels(p);
    for (const ControlLayout& c : kControls) p.control(c);
}

void lf_staticPanel(Painter& p) {
    p.fill(kBands[3], colours::black);
    lf_lines(p, Band::Static, colours::white);
    const std::string icao = panel.parkIcao.get();
    if (icao.empty()) return;
    const bool active = panel.parkActive;
    p.text(5, 399, active ? colours::lime : colours::yellow, icao);
    if (!active) return;
    using colours::lime;
    const bool ptOnly = RT_PARKTRAFFIC_ONLY.current;
    p.text(
        85, 399, lime,
        fmt::format(" {},  {} {}", panel.parkName.get(), panel.parkPublisher.get(), panel.parkHandmade ? "(h)" : ""));
    if (panel.softUsed) p.text(370, 399, lime, "*S*");
    if (!ptOnly) p.text(430, 399, lime, fmt::format("qf: {}", panel.qualityText.get()));
    if (const std::string stand = panel.reservedStand.get(); !stand.empty())
        p.text(571, 399, panel.reservedStandKnown ? lime : colours::red, fmt::format("reserved stand: {}", stand));
    p.text(748, 399, lime, fmt::format("# updates: {:4}", panel.updateCount.load()));

    p.text(5, 427, lime, fmt::format("# stands: {:3}", panel.standCount.load()));
    p.text(111, 427, lime, fmt::format("parked live: {:3}", panel.parkedLiveCount.load()));
    if (const float fit = panel.liveAverageFit; fit > 0)
        p.text(249, 427, lime, fmt::format("average fit: {}", gf_fitText(fit)));
    const int32_t wanted = panel.wanted;
    if (wanted > 0) {
        p.text(430, 427, lime, fmt::format("parked static: {:3}", panel.parkedStaticCount.load()));
        if (const float fit = panel.staticAverageFit; !WEEK.current && fit > 0)
            p.text(571, 427, lime, fmt::format("average fit: {}", gf_fitText(fit)));
    }
    if (!ptOnly)
        p.text(708, 427, lime, fmt::format("max park: {:3} (={}% )", wanted, parking_percentage.current.load()));
}

void lf_messageStrip(Painter& p) {
    const MessageLine line = gf_messageLine();
    const bool error = !line.error.empty();
    p.fill(kBands[4], error ? colours::red : colours::lime);
    lf_lines(p, Band::Message, colours::white);
    p.text(3, 455, colours::yellow, error ? line.error : line.message);
}
}  // namespace

std::span<const ControlLayout> gf_controlLayouts() { return kControls; }

PixelRect gf_controlRect(const ControlLayout& c) {
    switch (c.kind) {
        case CK::Check: return {c.x, c.row + 2, c.x + kBox, c.row + 2 + kBox};
        case CK::Edit: return {c.x, c.row, c.x + c.width, c.row + 16};
        case CK::Button: return {c.x, c.row, c.x + c.width, c.row + 20};
    }
    return {};
}

PixelRect gf_bandRect(uint8_t band) { return band < kBands.size() ? kBands[band] : PixelRect{}; }

DisplayList gf_layoutWindow(uint32_t bands) {
    DisplayList out;
    auto wants = [bands](Band b) { return (bands >> lf_band(b)) & 1u; };
    if (wants(Band::Header)) {
        Painter p(out, Band::Header);
        lf_header(p);
    }
    if (wants(Band::Status)) {
        Painter p(out, Band::Status);
        lf_statusPanel(p);
    }
    if (wants(Band::Parameters)) {
        Painter p(out, Band::Parameters);
        lf_parameterPanel(p);
    }
    if (wants(Band::Static)) {
        Painter p(out, Band::Static);
        lf_staticPanel(p);
    }
    if (wants(Band::Message)) {
        Painter p(out, Band::Message);
        lf_messageStrip(p);
    }
    return out;
}

std::string gf_fitText(float value) {
    if (value == std::floor(value)) return fmt::format("{:.0f}", value);
    return fmt::format("{:.1F}", value);
}
