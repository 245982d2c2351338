// The Linux window drawn with FLTK: the same client geometry, colours and controls as on Windows, drawn
// from the frame's display list. The posix pump serves it; nothing here runs on another thread but the
// wake-up and the topmost request.
#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "platform/posix/fltk_display.h"

// FLTK's X11 header brings Xlib's macros (None, Status, Bool): it comes after our own headers.
#include <FL/Fl.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Double_Window.H>
#include <FL/Fl_Input.H>
#include <FL/fl_draw.H>
#include <FL/x.H>

namespace {

// The client area holds the five bands and nothing else: 880 by 476 pixels.
constexpr int kClientWidth = 880;
constexpr int kClientHeight = 476;
constexpr int kBandCount = 5;
constexpr uint32_t kParameterBands = 1u << 2;
// The labels in a plain sans of 12 pixels: the widest labels of a row end before the next control, as
// they do in the Windows window's default font.
constexpr Fl_Font kTextFont = FL_HELVETICA;
constexpr Fl_Fontsize kTextSize = 12;
constexpr Fl_Fontsize kControlTextSize = 11;

Fl_Color lf_colour(uint32_t colourRef) {
    return fl_rgb_color(colourRef & 0xFF, (colourRef >> 8) & 0xFF, (colourRef >> 16) & 0xFF);
}

// A check box without a caption: a 12 by 12 white square with a dark rim, as the Windows control. The
// frame flips the state; the widget only shows what the model says.
class CheckBox : public Fl_Button {
public:
    CheckBox(int x, int y, int w, int h) : Fl_Button(x, y, w, h) {
        box(FL_NO_BOX);
        visible_focus(0);
    }
    bool checked = false;

protected:
    void draw() override {
        const bool on = active_r();
        fl_color(on ? FL_WHITE : fl_rgb_color(0xF0, 0xF0, 0xF0));
        fl_rectf(x(), y(), w(), h());
        fl_color(on ? fl_rgb_color(0x33, 0x33, 0x33) : fl_rgb_color(0xA0, 0xA0, 0xA0));
        fl_rect(x(), y(), w(), h());
        if (!checked) return;
        fl_color(on ? FL_BLACK : fl_rgb_color(0xA0, 0xA0, 0xA0));
        fl_line_style(FL_SOLID, 2);
        fl_line(x() + 3, y() + 6, x() + 5, y() + 8, x() + 9, y() + 3);
        fl_line_style(0);
    }
};

// One child control and the model's text it last showed: a box keeps what the user types until the
// model's text changes or Enter asks for the value to be shown again.
struct Child {
    uint16_t id = 0;
    ControlKind kind = ControlKind::Check;
    Fl_Widget* widget = nullptr;
    std::optional<std::string> shownText;
};

class PanelWindow;
struct FltkState {
    WindowContent content;          // what the window shows and where its input goes
    PanelWindow* window = nullptr;  // the open window, or none
    std::vector<Child> children;    // in the order of creation
    bool displayOpen = false;       // the X display is open (once per process)
    std::atomic<int> x{0}, y{0};    // where the window stands, for any thread
    std::atomic<int> topmost{-1};   // a pending topmost request: 1 on, 0 off, -1 none
};
FltkState g_fltk;

Child* lf_child(uint16_t id) {
    for (Child& c : g_fltk.children)
        if (c.id == id) return &c;
    return nullptr;
}

// Brings every child control to the model's state: enabled, checked, its text when that changed.
void lf_syncControls() {
    for (const DisplayItem& item : g_fltk.content.display(kParameterBands)) {
        if (item.kind != ItemKind::Control) continue;
        Child* c = lf_child(item.id);
        if (!c) continue;
        if (item.enabled != (c->widget->active() != 0)) {
            if (item.enabled)
                c->widget->activate();
            else
                c->widget->deactivate();
        }
        if (c->kind == ControlKind::Check) {
            auto* box = static_cast<CheckBox*>(c->widget);
            if (box->checked != item.checked) {
                box->checked = item.checked;
                box->redraw();
            }
        } else if (c->kind == ControlKind::Edit && c->shownText != item.text) {
            static_cast<Fl_Input*>(c->widget)->value(item.text.c_str());
            c->shownText = item.text;
        }
    }
}

void lf_onClick(Fl_Widget*, void* id) {
    if (g_fltk.content.clicked) g_fltk.content.clicked(static_cast<uint16_t>(reinterpret_cast<uintptr_t>(id)));
    lf_syncControls();
}

void lf_onEnter(Fl_Widget* w, void* data) {
    const auto id = static_cast<uint16_t>(reinterpret_cast<uintptr_t>(data));
    if (g_fltk.content.editEnter) g_fltk.content.editEnter(id, static_cast<Fl_Input*>(w)->value());
    if (Child* c = lf_child(id)) c->shownText.reset();  // the box shows the parameter's value again
    lf_syncControls();
}

// The close button posts the program's close message; the window goes only when the program ends.
// Escape would close an FLTK window too: here it does nothing.
void lf_onCloseButton(Fl_Widget*, void*) {
    if (Fl::event() == FL_SHORTCUT && Fl::event_key() == FL_Escape) return;
    gf_postWindowMessage(kMsgClose);
}

void lf_drawItem(const DisplayItem& item) {
    const PixelRect& r = item.rect;
    switch (item.kind) {
        case ItemKind::Fill:
            fl_color(lf_colour(item.colour));
            fl_rectf(r.left, r.top, r.right - r.left, r.bottom - r.top);
            break;
        case ItemKind::Line: {
            // A GDI line leaves out its last point.
            const int dx = (r.right > r.left) - (r.right < r.left), dy = (r.bottom > r.top) - (r.bottom < r.top);
            fl_color(lf_colour(item.colour));
            fl_line(r.left, r.top, r.right - dx, r.bottom - dy);
            break;
        }
        case ItemKind::Text:
            // GDI places a text by the top of its line, FLTK by its baseline.
            fl_font(kTextFont, kTextSize);
            fl_color(lf_colour(item.colour));
            fl_draw(item.text.c_str(), r.left, r.top + fl_height() - fl_descent() + 1);
            break;
        case ItemKind::Control: break;  // child widgets draw themselves
    }
}

class PanelWindow : public Fl_Double_Window {
public:
    PanelWindow(int x, int y) : Fl_Double_Window(x, y, kClientWidth, kClientHeight, "ZARK_P3D") {}

protected:
    void draw() override {
        if (damage() & ~FL_DAMAGE_CHILD) {
            uint32_t bands = 0;
            for (uint8_t b = 0; b < kBandCount; ++b) {
                const PixelRect r = g_fltk.content.bandRect(b);
                if (fl_not_clipped(r.left, r.top, r.right - r.left, r.bottom - r.top)) bands |= 1u << b;
            }
            for (const DisplayItem& item : g_fltk.content.display(bands)) lf_drawItem(item);
        }
        draw_children();
    }
};

void lf_createControls(PanelWindow& window) {
    g_fltk.children.clear();
    window.begin();
    for (const DisplayItem& item : g_fltk.content.display(kParameterBands)) {
        if (item.kind != ItemKind::Control) continue;
        const PixelRect& r = item.rect;
        const int w = r.right - r.left, h = r.bottom - r.top;
        void* id = reinterpret_cast<void*>(static_cast<uintptr_t>(item.id));
        Fl_Widget* widget = nullptr;
        switch (item.control) {
            case ControlKind::Check:
                widget = new CheckBox(r.left, r.top, w, h);
                widget->callback(lf_onClick, id);
                break;
            case ControlKind::Button:
                widget = new Fl_Button(r.left, r.top, w, h);
                widget->copy_label(item.text.c_str());
                widget->labelsize(kControlTextSize);
                widget->callback(lf_onClick, id);
                break;
            case ControlKind::Edit: {
                auto* input = new Fl_Input(r.left, r.top, w, h);
                input->box(FL_BORDER_BOX);
                input->color(lf_colour(colours::lightBlue));
                input->textsize(kControlTextSize);
                input->when(FL_WHEN_ENTER_KEY_ALWAYS);
                input->callback(lf_onEnter, id);
                widget = input;
                break;
            }
        }
        g_fltk.children.push_back({item.id, item.control, widget, std::nullopt});
    }
    window.end();
    lf_syncControls();
}

// Asks the window manager to keep the window above the others (or not), as Windows' HWND_TOPMOST does.
void lf_applyTopmost(bool topmost) {
    if (!g_fltk.window || !g_fltk.window->shown()) return;
    XEvent e{};
    e.xclient.type = ClientMessage;
    e.xclient.window = fl_xid(g_fltk.window);
    e.xclient.message_type = XInternAtom(fl_display, "_NET_WM_STATE", False);
    e.xclient.format = 32;
    e.xclient.data.l[0] = topmost ? 1 : 0;  // _NET_WM_STATE_ADD or _REMOVE
    e.xclient.data.l[1] = static_cast<long>(XInternAtom(fl_display, "_NET_WM_STATE_ABOVE", False));
    e.xclient.data.l[3] = 1;  // the request comes from an application
    XSendEvent(fl_display, DefaultRootWindow(fl_display), False, SubstructureRedirectMask | SubstructureNotifyMask, &e);
    XFlush(fl_display);
}

}  // namespace

bool gf_fltkOpen(int x, int y, const WindowContent& content) {
    if (!content.display || !content.bandRect) return false;
    if (!g_fltk.displayOpen) {
        const char* name = std::getenv("DISPLAY");
        if (!name || !*name) return false;
        // FLTK ends the process when its own attempt fails: ask Xlib first.
        Display* display = XOpenDisplay(nullptr);
        if (!display) return false;
        fl_open_display(display);
        Fl::lock();  // lets other threads wake the pump with Fl::awake
        g_fltk.displayOpen = true;
    }
    g_fltk.content = content;
    g_fltk.window = new PanelWindow(x, y);
    g_fltk.window->callback(lf_onCloseButton);
    lf_createControls(*g_fltk.window);
    g_fltk.window->show();
    g_fltk.x = x;
    g_fltk.y = y;
    return true;
}

void gf_fltkClose() {
    if (!g_fltk.window) return;
    g_fltk.window->hide();
    delete g_fltk.window;  // deletes the child widgets with it
    g_fltk.window = nullptr;
    g_fltk.children.clear();
    Fl::check();
}

void gf_fltkServe(double seconds) {
    Fl::wait(seconds);
    PanelWindow* w = g_fltk.window;
    if (!w) return;
    if (g_fltk.content.takeDirtyBands) {
        const uint32_t bands = g_fltk.content.takeDirtyBands();
        for (uint8_t b = 0; b < kBandCount; ++b) {
            if (!((bands >> b) & 1u)) continue;
            const PixelRect r = g_fltk.content.bandRect(b);
            w->damage(FL_DAMAGE_USER1, r.left, r.top, r.right - r.left, r.bottom - r.top);
        }
        if (bands & kParameterBands) lf_syncControls();
    }
    if (const int topmost = g_fltk.topmost.exchange(-1); topmost >= 0) lf_applyTopmost(topmost == 1);
    g_fltk.x = w->x();
    g_fltk.y = w->y();
    Fl::flush();
}

void gf_fltkWake() { Fl::awake(); }

std::pair<int, int> gf_fltkPosition() { return {g_fltk.x.load(), g_fltk.y.load()}; }

void gf_fltkRequestTopmost(bool topmost) { g_fltk.topmost = topmost ? 1 : 0; }

WindowPixels gf_fltkCapture() {
    PanelWindow* w = g_fltk.window;
    if (!w) return {};
    // The window must be mapped and have painted once before its pixels can be read back.
    for (int i = 0; i < 100 && !w->visible(); ++i) Fl::wait(0.02);
    if (!w->visible()) return {};
    w->redraw();
    Fl::flush();
    XSync(fl_display, False);
    Fl::check();
    w->make_current();
    WindowPixels pixels;
    pixels.width = w->w();
    pixels.height = w->h();
    uchar* rgb = fl_read_image(nullptr, 0, 0, pixels.width, pixels.height);
    if (!rgb) return {};
    pixels.rgb.assign(rgb, rgb + static_cast<size_t>(pixels.width) * pixels.height * 3);
    delete[] rgb;
    return pixels;
}
