// platform/display_list.h — what the window shows, as a list of items every backend draws the same way.
// The frame lays the window out; a backend only turns items into fills, lines, texts and child controls.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Colours as COLORREF values: 0x00BBGGRR, so red is 0x0000FF.
namespace colours {
inline constexpr uint32_t red = 0x0000FF;
inline constexpr uint32_t lightBlue = 0xFFCC99;
inline constexpr uint32_t black = 0x000000;
inline constexpr uint32_t lime = 0x32CD32;
inline constexpr uint32_t yellow = 0x00FFFF;
inline constexpr uint32_t grey = 0xA0A0A0;   // text only
inline constexpr uint32_t white = 0xFFFFFF;  // pen only
}  // namespace colours

// Client pixels; right and bottom are outside the rectangle, as with a Win32 RECT.
struct PixelRect {
    int left = 0, top = 0, right = 0, bottom = 0;
    bool operator==(const PixelRect&) const = default;
};

enum class ItemKind : uint8_t { Fill, Line, Text, Control };
enum class ControlKind : uint8_t { Check, Edit, Button };

struct DisplayItem {
    ItemKind kind = ItemKind::Fill;
    uint8_t band = 0;  // the band (bit index of the dirty mask) the item belongs to
    // Fill: the rectangle. Line: from (left, top) to (right, bottom). Text: its origin in (left, top).
    // Control: the control's window rectangle.
    PixelRect rect;
    uint32_t colour = 0;  // fill brush, pen or text colour; unused for controls
    std::string text;     // UTF-8: a text item's text, an edit box's or a button's text
    ControlKind control = ControlKind::Check;
    uint16_t id = 0;  // control id (its HMENU)
    bool checked = false;
    bool enabled = true;
};
using DisplayList = std::vector<DisplayItem>;

// The window asks this for the items of the bands in `bands` (a bit per band) whenever it paints.
using DisplaySource = DisplayList (*)(uint32_t bands);
