// platform/posix/fltk_display.h — the FLTK window the posix pump serves when a display opens.
// Every call but gf_fltkWake comes on the pump's thread: FLTK is not to be touched from others.
#pragma once

#include <utility>

#include "platform/window.h"

// Opens the display and shows the window at (x, y); false when no display opens (DISPLAY unset, no
// server), and the window stays headless.
bool gf_fltkOpen(int x, int y, const WindowContent& content);
void gf_fltkClose();
// Runs FLTK's events for at most `seconds`, redraws the bands the model changed, applies a pending
// topmost request.
void gf_fltkServe(double seconds);
// Thread-safe: ends a wait in gf_fltkServe early, so that a posted message is served at once.
void gf_fltkWake();
std::pair<int, int> gf_fltkPosition();
void gf_fltkRequestTopmost(bool topmost);  // thread-safe: applied by the next serve
WindowPixels gf_fltkCapture();
