// platform/window.h — the window and its message pump, as far as the program's run needs them.
// Linux has a headless backend: a message queue served by the pump, with SIGINT and SIGTERM acting
// as the close button; without a display the panel state goes only to the log.
#pragma once

#include <cstdint>
#include <functional>
#include <utility>

inline constexpr uint32_t kMsgStartRun = 0x8001;    // WM_APP + 1: start a run
inline constexpr uint32_t kMsgEndProcess = 0x8002;  // WM_APP + 2: end the process
inline constexpr uint32_t kMsgClose = 0x0010;       // WM_CLOSE: the close button

using WindowProcedure = std::function<void(uint32_t message)>;

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
