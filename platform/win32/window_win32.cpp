// The Windows window: class, window, child controls and message pump. The paint draws the display list
// the frame lays out; the controls' clicks and Enter keys go back to the frame through the content.
#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "platform/platform.h"
#include "platform/win32/resources/resource_ids.h"
#include "platform/window.h"

namespace {
HWND g_hwnd = nullptr;
WindowProcedure g_procedure;
WindowContent g_content;  // what the window shows; set before it is created

// One child control: its window, and the model's text it last showed (a box keeps what the user types
// until the model's text changes, or until Enter asks for the value to be shown again).
struct ChildControl {
    uint16_t id = 0;
    ControlKind kind = ControlKind::Check;
    HWND hwnd = nullptr;
    std::optional<std::string> shownText;
    WNDPROC previous = nullptr;  // an edit box's own procedure, kept by the subclassing
};
std::vector<ChildControl> g_children;  // in the order of creation

// Brushes and pens live for the process: the paint creates no GDI objects.
struct SolidBrush {
    uint32_t colour;
    HBRUSH brush;
};
std::array<SolidBrush, 5> g_brushes{};
HPEN g_whitePen = nullptr, g_blackPen = nullptr;

constexpr UINT_PTR kRefreshTimer = 1;
constexpr UINT kRefreshMs = 50;  // how often the model's changed bands are looked for
constexpr int kBandCount = 5;

void lf_createGdiObjects() {
    if (g_whitePen) return;
    const uint32_t solid[] = {colours::red, colours::lightBlue, colours::black, colours::lime, colours::yellow};
    for (size_t i = 0; i < g_brushes.size(); ++i) g_brushes[i] = {solid[i], CreateSolidBrush(solid[i])};
    g_whitePen = CreatePen(PS_SOLID, 1, colours::white);
    g_blackPen = CreatePen(PS_SOLID, 1, colours::black);
}

HBRUSH lf_brush(HDC dc, uint32_t colour) {
    for (const SolidBrush& b : g_brushes)
        if (b.colour == colour) return b.brush;
    SetDCBrushColor(dc, colour);
    return static_cast<HBRUSH>(GetStockObject(DC_BRUSH));
}

std::wstring lf_wide(const std::string& utf8) {
    const std::u16string wide = gf_utf8ToUtf16(utf8);
    return {wide.begin(), wide.end()};
}

ChildControl* lf_child(uint16_t id) {
    for (ChildControl& c : g_children)
        if (c.id == id) return &c;
    return nullptr;
}

// Brings every child control to the model's state: enabled, checked, and its text when that changed.
void lf_syncControls() {
    if (!g_content.display) return;
    for (const DisplayItem& item : g_content.display(1u << 2)) {
        if (item.kind != ItemKind::Control) continue;
        ChildControl* c = lf_child(item.id);
        if (!c) continue;
        EnableWindow(c->hwnd, item.enabled);
        if (c->kind == ControlKind::Check)
            SendMessageW(c->hwnd, BM_SETCHECK, item.checked ? BST_CHECKED : BST_UNCHECKED, 0);
        else if (c->shownText != item.text) {
            try {
                SetWindowTextW(c->hwnd, lf_wide(item.text).c_str());
            } catch (const std::exception&) {
                // A text that is no UTF-8 is not shown.
            }
            c->shownText = item.text;
        }
    }
}

LRESULT CALLBACK lf_editProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    const auto id = static_cast<uint16_t>(GetDlgCtrlID(hwnd));
    ChildControl* c = lf_child(id);
    if (!c || !c->previous) return DefWindowProcW(hwnd, msg, wParam, lParam);
    if (msg == WM_CHAR && wParam == 13) {
        wchar_t buffer[512] = {};
        const int n = GetWindowTextW(hwnd, buffer, 512);
        std::string text;
        try {
            text = gf_utf16ToUtf8(std::u16string(buffer, buffer + n));
        } catch (const std::exception&) {
            // Unconvertible text counts as what can be converted of it: nothing.
        }
        if (g_content.editEnter) g_content.editEnter(id, text);
        c->shownText.reset();  // the box shows the parameter's value again, even where it did not change
        lf_syncControls();
        return 0;  // the key goes no further: no beep
    }
    return CallWindowProcW(c->previous, hwnd, msg, wParam, lParam);
}

void lf_createControls(HWND parent) {
    g_children.clear();
    if (!g_content.display) return;
    const HINSTANCE instance = GetModuleHandleW(nullptr);
    const auto font = reinterpret_cast<WPARAM>(GetStockObject(DEFAULT_GUI_FONT));
    for (const DisplayItem& item : g_content.display(1u << 2)) {
        if (item.kind != ItemKind::Control) continue;
        const bool edit = item.control == ControlKind::Edit;
        DWORD style = 0x50000002;      // visible child, BS_CHECKBOX: the frame flips the state itself
        if (edit) style = 0x50800000;  // visible child with a border
        if (item.control == ControlKind::Button) style = 0x50000001;  // BS_DEFPUSHBUTTON
        const std::wstring caption = item.control == ControlKind::Button ? lf_wide(item.text) : L"";
        const PixelRect& r = item.rect;
        HWND h = CreateWindowExW(0, edit ? L"EDIT" : L"BUTTON", caption.c_str(), style, r.left, r.top, r.right - r.left,
                                 r.bottom - r.top, parent, reinterpret_cast<HMENU>(static_cast<INT_PTR>(item.id)),
                                 instance, nullptr);
        if (!h) continue;
        SendMessageW(h, WM_SETFONT, font, FALSE);
        // Known before it is subclassed: the new procedure finds the earlier one in the record.
        ChildControl& c = g_children.emplace_back(ChildControl{item.id, item.control, h, std::nullopt, nullptr});
        if (edit)
            c.previous =
                reinterpret_cast<WNDPROC>(SetWindowLongPtrW(h, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(lf_editProc)));
    }
    lf_syncControls();
}

void lf_paint(HWND hwnd) {
    PAINTSTRUCT ps;
    HDC dc = BeginPaint(hwnd, &ps);
    uint32_t bands = 0;
    for (uint8_t b = 0; b < kBandCount && g_content.bandRect; ++b) {
        const PixelRect p = g_content.bandRect(b);
        const RECT band{p.left, p.top, p.right, p.bottom};
        RECT overlap;
        if (IntersectRect(&overlap, &band, &ps.rcPaint)) bands |= 1u << b;
    }
    if (bands && g_content.display) {
        SetBkMode(dc, TRANSPARENT);
        for (const DisplayItem& item : g_content.display(bands)) {
            const PixelRect& r = item.rect;
            switch (item.kind) {
                case ItemKind::Fill: {
                    const RECT rect{r.left, r.top, r.right, r.bottom};
                    FillRect(dc, &rect, lf_brush(dc, item.colour));
                    break;
                }
                case ItemKind::Line: {
                    SelectObject(dc, item.colour == colours::white ? g_whitePen : g_blackPen);
                    const POINT points[2] = {{r.left, r.top}, {r.right, r.bottom}};
                    Polyline(dc, points, 2);
                    break;
                }
                case ItemKind::Text: {
                    try {
                        const std::wstring text = lf_wide(item.text);
                        SetTextColor(dc, item.colour);
                        TextOutW(dc, r.left, r.top, text.c_str(), static_cast<int>(text.size()));
                    } catch (const std::exception&) {
                        // A text that cannot be converted to UTF-16 is not drawn.
                    }
                    break;
                }
                case ItemKind::Control: break;  // child windows paint themselves
            }
        }
    }
    EndPaint(hwnd, &ps);
}

// The model's changed bands become invalid rectangles, each alone, erased.
void lf_refresh(HWND hwnd) {
    if (!g_content.takeDirtyBands || !g_content.bandRect) return;
    const uint32_t bands = g_content.takeDirtyBands();
    for (uint8_t b = 0; b < kBandCount; ++b) {
        if (!((bands >> b) & 1u)) continue;
        const PixelRect p = g_content.bandRect(b);
        const RECT r{p.left, p.top, p.right, p.bottom};
        InvalidateRect(hwnd, &r, TRUE);
    }
    if ((bands >> 2) & 1u) lf_syncControls();
}

LRESULT CALLBACK lf_wndProc(HWND hwnd, UINT msg, WPARAM wParam, LPARAM lParam) {
    switch (msg) {
        case WM_CREATE:
            lf_createControls(hwnd);
            SetTimer(hwnd, kRefreshTimer, kRefreshMs, nullptr);
            return 0;
        case WM_DESTROY:
            // No quit message here: the pump has ended by the end of the process before the window goes,
            // and a quit left in the queue would end the next pump of the thread at once.
            KillTimer(hwnd, kRefreshTimer);
            return 0;
        case WM_PAINT: lf_paint(hwnd); return 0;
        case WM_TIMER:
            if (wParam == kRefreshTimer) lf_refresh(hwnd);
            return 0;
        case WM_COMMAND:
            if (lParam && HIWORD(wParam) == BN_CLICKED && g_content.clicked) {
                g_content.clicked(LOWORD(wParam));
                lf_syncControls();
            }
            return 0;
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC: {
            HDC dc = reinterpret_cast<HDC>(wParam);
            SetBkMode(dc, OPAQUE);
            SetBkColor(dc, colours::lightBlue);
            SetDCBrushColor(dc, colours::lightBlue);
            return reinterpret_cast<LRESULT>(GetStockObject(DC_BRUSH));
        }
        case WM_CLOSE:
        case kMsgStartRun:
        case kMsgEndProcess:
            if (g_procedure) g_procedure(msg);
            return 0;
        default: return DefWindowProcW(hwnd, msg, wParam, lParam);
    }
}
}  // namespace

void gf_setWindowContent(const WindowContent& content) { g_content = content; }

bool gf_createWindow(int x, int y, WindowProcedure procedure) {
    g_procedure = std::move(procedure);
    lf_createGdiObjects();
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
    g_children.clear();
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

WindowPixels gf_captureWindow() { return {}; }
