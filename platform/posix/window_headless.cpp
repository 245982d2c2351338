// The headless window: a message queue and its pump. It is how the program runs without a display.
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <mutex>

#include "platform/window.h"

namespace {
std::mutex g_lock;
std::condition_variable g_cv;
std::deque<uint32_t> g_queue;
WindowProcedure g_procedure;
bool g_exists = false;
bool g_quit = false;
int g_quitCode = 0;
int g_x = 0, g_y = 0;
volatile std::sig_atomic_t g_closeSignal = 0;

extern "C" void lf_onCloseSignal(int) { g_closeSignal = 1; }
}  // namespace

bool gf_createWindow(int x, int y, WindowProcedure procedure) {
    std::lock_guard lock(g_lock);
    g_procedure = std::move(procedure);
    g_exists = true;
    g_quit = false;
    g_queue.clear();
    g_x = x;
    g_y = y;
    return true;
}

bool gf_windowExists() {
    std::lock_guard lock(g_lock);
    return g_exists;
}

void gf_destroyWindow() {
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
}

void gf_postQuit(int code) {
    {
        std::lock_guard lock(g_lock);
        g_quit = true;
        g_quitCode = code;
    }
    g_cv.notify_one();
}

int gf_runMessagePump() {
    for (;;) {
        uint32_t message = 0;
        WindowProcedure procedure;
        {
            std::unique_lock lock(g_lock);
            // Signals cannot notify a condition variable: look at the flag every 50 ms.
            g_cv.wait_for(lock, std::chrono::milliseconds(50), [] { return g_quit || !g_queue.empty(); });
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
    std::lock_guard lock(g_lock);
    return {g_x, g_y};
}

void gf_setWindowTopmost(bool) {}

void gf_installCloseSignals() {
    std::signal(SIGINT, lf_onCloseSignal);
    std::signal(SIGTERM, lf_onCloseSignal);
}
