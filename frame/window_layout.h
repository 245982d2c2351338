// frame/window_layout.h — the layout of the status window: bands, separator lines, texts and controls,
// drawn from the panel model, the parameters and the message line as a display list for every backend.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "platform/display_list.h"

// Outer size of the window; the client area holds the five bands.
inline constexpr int kWindowWidth = 880;
inline constexpr int kWindowHeight = 516;

// One child control of the window, in the order of creation.
struct ControlLayout {
    uint16_t id;
    ControlKind kind;
    int x, row;
    int width;            // check boxes: 12
    const char* caption;  // push buttons only
};
std::span<const ControlLayout> gf_controlLayouts();
// The control's window rectangle: a check box sits 2 pixels below its row.
PixelRect gf_controlRect(const ControlLayout& c);
// The rectangle of a band (Band as its index).
PixelRect gf_bandRect(uint8_t band);

// The items of the bands in `bands` (bit per Band), in paint order: band fills, lines, texts, controls.
DisplayList gf_layoutWindow(uint32_t bands);
// The hours of a fit: "{:.0f}" when whole, else one decimal.
std::string gf_fitText(float value);
