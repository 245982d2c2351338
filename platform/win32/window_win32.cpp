// The Windows window: class, window and message pump. The status panel's painting draws the model of
// frame/panel.h; the messages of a run are forwarded to the program's procedure.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <mutex>

#include "platform/win32/resources/resource_ids.h"
#include "platform/window.h"

namespace {
HWND g_hwnd = nullptr;
WindowProcedure g_procedure;

LRESULT CALLBACK lf_wndProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case WM_CLOSE:
        case kMsgStartRun:
        case kMsgEndProcess:
            if (g_procedure) g_procedure(msg);
            return 0;
        default: return DefWindowProcW(hwnd, msg, wParam, lParam);
    }
}
}  // namespace

bool gf_createWindow(int x, int y, WindowProcedure procedure) {
    g_procedure = std::move(procedure);
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    // The title is also the class name; at most 100 characters. An executable without its resources
    // (a test) still gets the right name.
    wchar_t title[101] = L"ZARK_P3D";
    if (LoadStringW(instance, IDS_APP_TITLE, title, 101) <= 0) wcscpy_s(title, L"ZARK_P3D");
    const HICON icon = LoadIconW(instance, MAKEINTRESOURCEW(IDI_ZARK_P3D));
    WNDCLASSEXW wc{};
    wc.cbSize = sizeof(wc);
    wc.style = CS_HREDRAW | CS_VREDRAW;
    wc.lpfnWndProc = lf_wndProc;
    wc.hInstance = instance;
    wc.hIcon = icon;
    wc.hIconSm = icon;
    wc.hCursor = LoadCursorW(nullptr, reinterpret_cast<LPCWSTR>(IDC_ARROW));
    wc.hbrBackground = static_cast<HBRUSH>(GetStockObject(BLACK_BRUSH));
    wc.lpszClassName = title;
    RegisterClassExW(&wc);
    g_hwnd = CreateWindowExW(0, title, title, 0x00C80000, x, y, 880, 516, nullptr, nullptr, instance, nullptr);
    if (!g_hwnd) return false;
    ShowWindow(g_hwnd, SW_SHOWNORMAL);
    UpdateWindow(g_hwnd);
    return true;
}

bool gf_windowExists() { return g_hwnd != nullptr; }

void gf_destroyWindow() {
    if (g_hwnd) DestroyWindow(g_hwnd);
    g_hwnd = nullptr;
}

void gf_postWindowMessage(uint32_t message) {
    if (g_hwnd) PostMessageW(g_hwnd, message, 0, 0);
}

int gf_runMessagePump() {
    MSG msg;
    while (GetMessageW(&msg, nullptr, 0, 0) > 0) {
        TranslateMessage(&msg);
        DispatchMessageW(&msg);
    }
    return static_cast<int>(msg.wParam);
}

void gf_postQuit(int code) { PostQuitMessage(code); }

std::pair<int, int> gf_windowPosition() {
    RECT r{};
    if (g_hwnd && GetWindowRect(g_hwnd, &r)) return {r.left, r.top};
    return {0, 0};
}

void gf_setWindowTopmost(bool topmost) {
    if (g_hwnd) SetWindowPos(g_hwnd, topmost ? HWND_TOPMOST : HWND_NOTOPMOST, 0, 0, 0, 0, SWP_NOMOVE | SWP_NOSIZE);
}

void gf_installCloseSignals() {}
