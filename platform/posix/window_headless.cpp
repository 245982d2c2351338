// The posix window: a message queue and its pump. With a display the pump also serves the FLTK window;
// without one it is how the program runs headless.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>

#include "platform/posix/fltk_display.h"
#include "platform/window.h"

namespace {
std::mutex g_lock;
std::condition_variable g_cv;
std::deque<uint32_t> g_queue;
WindowProcedure g_procedure;
WindowContent g_content;  // what the window shows; nothing keeps it headless
bool g_exists = false;
std::atomic<bool> g_drawn{false};  // the FLTK window is open
bool g_quit = false;
int g_quitCode = 0;
int g_x = 0, g_y = 0;
volatile std::sig_atomic_t g_closeSignal = 0;

extern "C" void lf_onCloseSignal(int) { g_closeSignal = 1; }
}  // namespace

void gf_setWindowContent(const WindowContent& content) {
    std::lock_guard lock(g_lock);
    g_content = content;
}

bool gf_createWindow(int x, int y, WindowProcedure procedure) {
    WindowContent content;
    {
        std::lock_guard lock(g_lock);
        g_procedure = std::move(procedure);
        g_exists = true;
        g_quit = false;
        g_queue.clear();
        g_x = x;
        g_y = y;
        content = g_content;
    }
    if (content.display && gf_fltkOpen(x, y, content)) g_drawn = true;
    return true;
}

bool gf_windowExists() {
    std::lock_guard lock(g_lock);
    return g_exists;
}

void gf_destroyWindow() {
    if (g_drawn.exchange(false)) gf_fltkClose();
    std::lock_guard lock(g_lock);
    g_exists = false;
    g_procedure = nullptr;
}

void gf_postWindowMessage(uint32_t message) {
    {
        std::lock_guard lock(g_lock);
        g_queue.push_back(message);
    }
    g_cv.notify_one();
    if (g_drawn) gf_fltkWake();
}

void gf_postQuit(int code) {
    {
        std::lock_guard lock(g_lock);
        g_quit = true;
        g_quitCode = code;
    }
    g_cv.notify_one();
    if (g_drawn) gf_fltkWake();
}

int gf_runMessagePump() {
    for (;;) {
        uint32_t message = 0;
        WindowProcedure procedure;
        // Signals cannot notify a condition variable: look at the flag every 50 ms. The FLTK window's
        // events are served in the same wait, so it never holds up a posted message.
        if (g_drawn) {
            bool pending = false;
            {
                std::lock_guard lock(g_lock);
                pending = g_quit || !g_queue.empty() || g_closeSignal;
            }
            gf_fltkServe(pending ? 0.0 : 0.05);
        }
        {
            std::unique_lock lock(g_lock);
            if (!g_drawn) g_cv.wait_for(lock, std::chrono::milliseconds(50), [] { return g_quit || !g_queue.empty(); });
            if (g_closeSignal) {
                g_closeSignal = 0;
                g_queue.push_back(kMsgClose);
            }
            if (g_queue.empty()) {
                if (g_quit) return g_quitCode;
                continue;
            }
            message = g_queue.front();
            g_queue.pop_front();
            procedure = g_procedure;
        }
        if (procedure) procedure(message);
    }
}

std::pair<int, int> gf_windowPosition() {
    if (g_drawn) return gf_fltkPosition();
    std::lock_guard lock(g_lock);
    return {g_x, g_y};
}

void gf_setWindowTopmost(bool topmost) {
    if (g_drawn) gf_fltkRequestTopmost(topmost);
}

void gf_installCloseSignals() {
    std::signal(SIGINT, lf_onCloseSignal);
    std::signal(SIGTERM, lf_onCloseSignal);
}

WindowPixels gf_captureWindow() { return g_drawn ? gf_fltkCapture() : WindowPixels{}; }
