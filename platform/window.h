// platform/window.h — the window and its message pump, as far as the program's run needs them.
// Windows draws with GDI and child controls. Linux draws with FLTK when a display opens; without one
// (servers, CI) the window is headless: a message queue served by the pump, with SIGINT and SIGTERM
// acting as the close button, and the panel state goes only to the log.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "platform/display_list.h"

inline constexpr uint32_t kMsgStartRun = 0x8001;    // WM_APP + 1: start a run
inline constexpr uint32_t kMsgEndProcess = 0x8002;  // WM_APP + 2: end the process
inline constexpr uint32_t kMsgClose = 0x0010;       // WM_CLOSE: the close button

using WindowProcedure = std::function<void(uint32_t message)>;

// What the window shows and where its controls' input goes. All calls come on the window thread.
struct WindowContent {
    DisplaySource display = nullptr;           // the items of the bands asked, in paint order
    uint32_t (*takeDirtyBands)() = nullptr;    // bands changed since the last look (bit per band)
    PixelRect (*bandRect)(uint8_t) = nullptr;  // a band's rectangle, for invalidating it alone
    void (*clicked)(uint16_t id) = nullptr;    // a check box or push button was clicked
    void (*editEnter)(uint16_t id, const std::string& text) = nullptr;  // Enter in an edit box (UTF-8)
};
// Set before gf_createWindow. A window created without content (tests of the run) stays headless
// even where a display exists.
void gf_setWindowContent(const WindowContent& content);

// Creates the window at a screen position; false on failure. The procedure receives every message.
bool gf_createWindow(int x, int y, WindowProcedure procedure);
bool gf_windowExists();
void gf_destroyWindow();
// Thread-safe: queues a message for the window thread.
void gf_postWindowMessage(uint32_t message);
// Runs the pump on the calling thread until gf_postQuit; returns its code.
int gf_runMessagePump();
void gf_postQuit(int code);
// Where the window stands now (the last position it was given on a headless system).
std::pair<int, int> gf_windowPosition();
void gf_setWindowTopmost(bool topmost);
// Lets SIGINT and SIGTERM post the close button's message (Linux); nothing on Windows.
void gf_installCloseSignals();

// The client area as shown, 8-bit RGB rows top down; empty where nothing is drawn (headless, Windows).
struct WindowPixels {
    int width = 0, height = 0;
    std::vector<uint8_t> rgb;
};
WindowPixels gf_captureWindow();
