// The status window as its display list: where every band, line and control stands, which colours the
// states give, which bands a repaint redraws; and what the controls do to their parameters.
#include <algorithm>
#include <string>
#include <vector>

#include "frame/control_input.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/window_layout.h"
#include "support/fixture.h"

namespace {

constexpr uint32_t kAllBands = 0x1F;
constexpr uint32_t kLime = 0x32CD32, kRed = 0x0000FF, kLightBlue = 0xFFCC99, kBlack = 0, kWhite = 0xFFFFFF,
                   kGrey = 0xA0A0A0, kYellow = 0x00FFFF;

using WindowLayoutTest = ZarkTest;

std::vector<DisplayItem> lf_items(const DisplayList& list, ItemKind kind) {
    std::vector<DisplayItem> out;
    std::copy_if(list.begin(), list.end(), std::back_inserter(out),
                 [kind](const DisplayItem& i) { return i.kind == kind; });
    return out;
}

const DisplayItem* lf_text(const DisplayList& list, const std::string& text) {
    auto it = std::find_if(list.begin(), list.end(),
                           [&](const DisplayItem& i) { return i.kind == ItemKind::Text && i.text == text; });
    return it == list.end() ? nullptr : &*it;
}

TEST_F(WindowLayoutTest, BandsTileTheClientAreaInTheirColours) {
    struct Row {
        PixelRect rect;
        uint32_t brush;
    };
    const Row rows[] = {{{0, 0, 880, 28}, kBlack},
                        {{0, 28, 880, 112}, kBlack},
                        {{0, 112, 880, 392}, kLightBlue},
                        {{0, 392, 880, 448}, kBlack},
                        {{0, 448, 880, 476}, kLime}};
    const DisplayList list = gf_layoutWindow(kAllBands);
    for (uint8_t band = 0; band < 5; ++band) {
        SCOPED_TRACE(band);
        // The first item of each band is its fill, so nothing of an earlier paint shows through.
        auto first = std::find_if(list.begin(), list.end(), [band](const DisplayItem& i) { return i.band == band; });
        ASSERT_NE(first, list.end());
        EXPECT_EQ(first->kind, ItemKind::Fill);
        EXPECT_EQ(first->rect, rows[band].rect);
        EXPECT_EQ(first->colour, rows[band].brush);
        EXPECT_EQ(gf_bandRect(band), rows[band].rect);
    }
}

TEST_F(WindowLayoutTest, SeparatorLinesStandWhereTheyShould) {
    struct Row {
        uint32_t pen;
        PixelRect points;
    };
    const Row rows[] = {{kWhite, {0, 28, 880, 28}},     {kWhite, {0, 113, 880, 113}}, {kWhite, {0, 449, 880, 449}},
                        {kWhite, {0, 392, 880, 392}},   {kBlack, {0, 140, 880, 140}}, {kBlack, {0, 168, 880, 168}},
                        {kBlack, {0, 196, 642, 196}},   {kBlack, {0, 224, 642, 224}}, {kBlack, {0, 252, 880, 252}},
                        {kBlack, {0, 280, 880, 280}},   {kBlack, {0, 308, 642, 308}}, {kBlack, {0, 336, 642, 336}},
                        {kBlack, {642, 168, 642, 364}}, {kBlack, {425, 29, 425, 112}}};
    const DisplayList list = gf_layoutWindow(kAllBands);
    const auto lines = lf_items(list, ItemKind::Line);
    EXPECT_EQ(lines.size(), std::size(rows));  // no graph: every line is a separator
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::Message() << row.points.left << "," << row.points.top);
        auto it = std::find_if(lines.begin(), lines.end(), [&](const DisplayItem& l) { return l.rect == row.points; });
        ASSERT_NE(it, lines.end());
        EXPECT_EQ(it->colour, row.pen);
        // A line belongs to the band it is drawn over, so a repaint of that band redraws it.
        const PixelRect band = gf_bandRect(it->band);
        EXPECT_TRUE(row.points.top >= band.top && row.points.top < band.bottom);
    }
    // The split of the status panel is drawn last there, over both lamps.
    auto lastStatus = std::find_if(list.rbegin(), list.rend(), [](const DisplayItem& i) { return i.band == 1; });
    EXPECT_EQ(lastStatus->rect, (PixelRect{425, 29, 425, 112}));
}

TEST_F(WindowLayoutTest, ControlsStandAtTheirRectanglesInCreationOrder) {
    struct Row {
        uint16_t id;
        ControlKind kind;
        PixelRect rect;
    };
    using enum ControlKind;
    // Check boxes: 12 by 12 at row + 2; edit boxes 16 high; push buttons 20 high.
    const Row rows[] = {
        {32788, Edit, {111, 119, 1311, 135}},  {32797, Check, {5, 177, 17, 189}},
        {32771, Check, {748, 177, 760, 189}},  {32803, Check, {217, 205, 229, 217}},
        {32808, Edit, {217, 231, 241, 247}},   {32820, Edit, {576, 259, 610, 275}},
        {32780, Button, {692, 257, 812, 277}}, {32858, Edit, {748, 315, 778, 331}},
        {32861, Check, {652, 289, 664, 301}},  {32828, Edit, {217, 287, 317, 303}},
        {32829, Button, {323, 285, 393, 305}}, {32840, Edit, {586, 343, 636, 359}},
        {32848, Edit, {217, 371, 251, 387}},   {32853, Edit, {460, 371, 484, 387}},
        {32855, Button, {642, 369, 732, 389}}, {32838, Button, {758, 369, 848, 389}},
    };
    const auto controls = lf_items(gf_layoutWindow(kAllBands), ItemKind::Control);
    ASSERT_EQ(controls.size(), 41u);
    size_t lastIndex = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.id);
        auto it = std::find_if(controls.begin(), controls.end(), [&](const DisplayItem& c) { return c.id == row.id; });
        ASSERT_NE(it, controls.end());
        EXPECT_EQ(it->control, row.kind);
        EXPECT_EQ(it->rect, row.rect);
        const size_t index = static_cast<size_t>(it - controls.begin());
        EXPECT_GE(index, lastIndex);  // the rows above follow the order of creation
        lastIndex = index;
    }
    EXPECT_EQ(controls[19].text, "Check version");
    EXPECT_EQ(controls[40].text, "Re-read");
}

TEST_F(WindowLayoutTest, MessageStripTurnsRedInTheErrorStateAndBack) {
    gf_showMessage("all fine", false);
    DisplayList list = gf_layoutWindow(1u << 4);
    EXPECT_EQ(list.front().colour, kLime);
    ASSERT_NE(lf_text(list, "all fine"), nullptr);
    EXPECT_EQ(lf_text(list, "all fine")->colour, kYellow);
    EXPECT_EQ(lf_text(list, "all fine")->rect.left, 3);
    EXPECT_EQ(lf_text(list, "all fine")->rect.top, 455);

    gf_showError("the database is damaged");
    list = gf_layoutWindow(1u << 4);
    EXPECT_EQ(list.front().colour, kRed);
    EXPECT_NE(lf_text(list, "the database is damaged"), nullptr);
    EXPECT_EQ(lf_text(list, "all fine"), nullptr);
    gf_clearErrorAndMessage();
    EXPECT_EQ(gf_layoutWindow(1u << 4).front().colour, kLime);
}

TEST_F(WindowLayoutTest, ARepaintDrawsOnlyTheBandsThatChanged) {
    gf_takeDirtyBands();
    panel.parkedStaticCount = 12;
    gf_invalidate(Band::Static);
    const DisplayList list = gf_layoutWindow(gf_takeDirtyBands());
    ASSERT_FALSE(list.empty());
    EXPECT_TRUE(std::all_of(list.begin(), list.end(), [](const DisplayItem& i) { return i.band == 3; }));
    EXPECT_TRUE(gf_layoutWindow(gf_takeDirtyBands()).empty());
}

TEST_F(WindowLayoutTest, LabelsAndLampsFollowTheirState) {
    SCAN_LIVERIES.current = true;
    panel.timeShiftActive = false;
    panel.simConnected = true;
    panel.simText.set("Prepar3D v5.4");
    panel.atParkAirport = true;
    DisplayList list = gf_layoutWindow(kAllBands);
    EXPECT_EQ(lf_text(list, "Scan for liveries:")->colour, kRed);
    EXPECT_EQ(lf_text(list, "Time shift:")->colour, kGrey);
    // Connected without a running flight: the Sim lamp and its texts are yellow.
    EXPECT_EQ(lf_text(list, "Prepar3D v5.4")->colour, kYellow);
    EXPECT_EQ(lf_text(list, "# liveries: ...")->colour, kRed);
    // The renewal countdown shows from 19 minutes down to 1 only.
    for (auto [minutes, shown] : {std::pair{20, false}, {19, true}, {1, true}, {0, false}}) {
        panel.minutesToRenewal = minutes;
        list = gf_layoutWindow(1u << 2);
        EXPECT_EQ(lf_text(list, "(in " + std::to_string(minutes) + " min)") != nullptr, shown) << minutes;
    }
}

using ControlInputTest = ZarkTest;

TEST_F(ControlInputTest, AClickStoresSavesAndActs) {
    gf_onControlClicked(ALWAYS_ON_TOP.controlId);
    EXPECT_TRUE(ALWAYS_ON_TOP.current);
    EXPECT_TRUE(gf_controlState(ALWAYS_ON_TOP.controlId).checked);
    EXPECT_EQ(gf_messageLine().message, "ZARK_P3D's window will remain visible");
    ALWAYS_ON_TOP.current = false;
    gf_readParameters();
    EXPECT_TRUE(ALWAYS_ON_TOP.current);  // it reached parameters.xml
    gf_onControlClicked(ALWAYS_ON_TOP.controlId);
    EXPECT_EQ(gf_messageLine().message, "");
}

TEST_F(ControlInputTest, EnterInTheRangeBoxStoresTheLeadingNumberAndMovesTheRadius) {
    gf_onEditEnter(LATERAL_RANGE.controlId, "12abc");
    EXPECT_EQ(LATERAL_RANGE.current, 12);
    EXPECT_EQ(parDerived.radiusMetres, 12 * 1852 + 10000);
    EXPECT_EQ(gf_controlState(LATERAL_RANGE.controlId).text, "12");
    EXPECT_EQ(gf_messageLine().message, "The new LATERAL_RANGE is 12");
    LATERAL_RANGE.current = 40;
    gf_readParameters();
    EXPECT_EQ(LATERAL_RANGE.current, 12);
    gf_onEditEnter(LATERAL_RANGE.controlId, "500");  // clamped without a further word
    EXPECT_EQ(LATERAL_RANGE.current, 100);
}

TEST_F(ControlInputTest, MaxLiveAtItsDefaultLeavesTheBoxBlank) {
    gf_onEditEnter(MAX_LIVE.controlId, "120");
    EXPECT_EQ(gf_controlState(MAX_LIVE.controlId).text, "120");
    EXPECT_EQ(parDerived.maxLiveWorking, 120);
    gf_onEditEnter(MAX_LIVE.controlId, "300");
    EXPECT_EQ(MAX_LIVE.current, 300);
    EXPECT_EQ(parDerived.maxLiveWorking, 300);
    EXPECT_EQ(gf_controlState(MAX_LIVE.controlId).text, "");
    gf_onEditEnter(MAX_LIVE.controlId, "300");
    EXPECT_TRUE(logHas("Same MAX_LIVE value 300, no changes made"));
    EXPECT_EQ(gf_controlState(MAX_LIVE.controlId).text, "");
    gf_onEditEnter(MAX_LIVE.controlId, "80");
    gf_onEditEnter(MAX_LIVE.controlId, "");  // an empty box: back to no limit of the user's own
    EXPECT_EQ(MAX_LIVE.current, 300);
    EXPECT_EQ(gf_controlState(MAX_LIVE.controlId).text, "");
}

TEST_F(ControlInputTest, MaxFitIsKeptInHalfHours) {
    panel.atParkAirport = true;
    for (auto [typed, maxFit, hours] :
         {std::tuple{"7.3", 14, 7.5f}, {"0.5", 0, 0.5f}, {"0.2", 0, 0.5f}, {"24", 47, 24.0f}}) {
        MAX_FIT_FL.current = 3.0f;
        gf_onEditEnter(MAX_FIT_FL.controlId, typed);
        EXPECT_EQ(MAX_FIT.current, maxFit) << typed;
        EXPECT_FLOAT_EQ(MAX_FIT_FL.current, hours) << typed;
    }
}

TEST_F(ControlInputTest, CallsignsAreCheckedAndUppercased) {
    gf_onEditEnter(BLOCK_CALLSIGN.controlId, "klm");
    gf_onEditEnter(BLOCK_CALLSIGN.controlId, "klm123456");
    EXPECT_EQ(BLOCK_CALLSIGN.current, "");
    gf_onEditEnter(BLOCK_CALLSIGN.controlId, "klm1234");
    EXPECT_EQ(BLOCK_CALLSIGN.current, "KLM1234");
    EXPECT_TRUE(gf_controlState(kUnblockButtonId).enabled);
    gf_onControlClicked(kUnblockButtonId);
    EXPECT_EQ(BLOCK_CALLSIGN.current, "");
    gf_onControlClicked(kUnblockButtonId);
    EXPECT_EQ(gf_messageLine().message, "Nothing to block or unblock...");
}

}  // namespace
