// The Linux window as a user sees it: rendered by FLTK under Xvfb from a fixed panel, read back and
// compared with the reference picture tests/frame/data/window.png (refresh: README, "Screenshot test").
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>

#include "frame/control_input.h"
#include "frame/controls.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/window_layout.h"
#include "platform/window.h"
#include "support/fixture.h"
#include "support/png.h"

// Xlib's macros (Status, None, Bool) come after the program's headers.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {

// Fonts differ a little between machines: a pixel counts as different past this channel delta, and a
// small share of such pixels is allowed (the texts cover about a tenth of the window).
constexpr int kChannelTolerance = 48;
constexpr double kDifferingShare = 0.01;

class WindowScreenshotTest : public ZarkTest {
protected:
    void SetUp() override {
        ZarkTest::SetUp();
        if (!std::getenv("ZARK_SCREENSHOT"))
            GTEST_SKIP() << "needs a display of fixed fonts: ctest runs it as window_screenshot under xvfb-run";
    }
    void TearDown() override {
        gf_setWindowContent({});
        ZarkTest::TearDown();
    }

    // A run at a park airport with the service up: every band shows something.
    static void fixedPanel() {
        gf_readParameters();
        gf_setRemainingControlsEnabled();
        gf_setRunControlsEnabled(true);
        gf_setControlEnabled(kCheckVersionButtonId, true);
        panel.simConnected = true;
        panel.simRunningShown = true;
        panel.simText.set("Prepar3D v5.4.9.28482");
        panel.userStandText.set("GATE 12");
        panel.userTitleText.set("Boeing 737-800 Paint1");
        panel.liveryCount = 5321;
        panel.orbxCount = 12;
        panel.serviceNotStarted = false;
        panel.sessionUp = true;
        panel.weatherLamp = 1;
        panel.trafficLamp = 2;
        panel.qnhShown = 1013;
        panel.liveShown = 37;
        panel.parkIcao.set("EHAM");
        panel.parkActive = true;
        panel.parkName.set("Amsterdam Schiphol");
        panel.parkPublisher.set("Orbx");
        panel.qualityText.set("0.92");
        panel.reservedStand.set("D4");
        panel.reservedStandKnown = true;
        panel.standCount = 214;
        panel.parkedLiveCount = 9;
        panel.parkedStaticCount = 120;
        panel.wanted = 128;
        panel.staticAverageFit = 5.5f;
        gf_showMessage("Prepar3D live traffic running", false);
    }

    // Shows the window; `act` works on it from the pump, and the pump serves the window until `done`
    // holds (at most 400 rounds); then its pixels are read back.
    template <typename Act, typename Done>
    static WindowPixels shoot(Act act, Done done) {
        gf_setWindowContent({gf_layoutWindow, gf_takeDirtyBands, gf_bandRect, gf_onControlClicked, gf_onEditEnter});
        WindowPixels shot;
        int rounds = 0;
        EXPECT_TRUE(gf_createWindow(0, 0, [&](uint32_t message) {
            if (message == kMsgStartRun) act();
            if (!done() && ++rounds < 400) return gf_postWindowMessage(kMsgEndProcess);
            shot = gf_captureWindow();
            gf_postQuit(0);
        }));
        gf_postWindowMessage(kMsgStartRun);
        gf_runMessagePump();
        gf_destroyWindow();
        return shot;
    }
};

struct Rgb {
    uint8_t r, g, b;
    bool operator==(const Rgb&) const = default;
};
Rgb lf_pixel(const WindowPixels& p, int x, int y) {
    const size_t at = (static_cast<size_t>(y) * p.width + x) * 3;
    return {p.rgb[at], p.rgb[at + 1], p.rgb[at + 2]};
}

TEST_F(WindowScreenshotTest, TheWindowLooksAsItsReferencePicture) {
    fixedPanel();
    const WindowPixels shot = shoot([] {}, [] { return true; });
    ASSERT_EQ(shot.width, 880);
    ASSERT_EQ(shot.height, 476);
    ASSERT_TRUE(gf_writePng(gf_binaryDir() / "window_screenshot.png", shot));

    // Colours (byte order), fills and GDI's line ends exactly, where no text reaches: a fill ends before
    // its right and bottom, a line before its last point, the status split lies over the lamps.
    struct Probe {
        int x, y;
        Rgb colour;
    };
    const Rgb black{0, 0, 0}, white{255, 255, 255}, lime{0x32, 0xCD, 0x32}, lightBlue{0x99, 0xCC, 0xFF};
    const Probe probes[] = {{870, 150, lightBlue}, {870, 391, lightBlue}, {870, 392, white}, {642, 363, black},
                            {642, 364, lightBlue}, {425, 100, black},     {410, 100, lime},  {870, 470, lime}};
    for (const Probe& p : probes) EXPECT_EQ(lf_pixel(shot, p.x, p.y), p.colour) << p.x << "," << p.y;

    const auto refPath = gf_sourceDir() / "tests/frame/data/window.png";
    if (std::getenv("ZARK_UPDATE_SCREENSHOT")) {
        ASSERT_TRUE(gf_writePng(refPath, shot));
        GTEST_SKIP() << "reference refreshed: " << refPath;
    }
    const auto reference = gf_readPng(refPath);
    ASSERT_TRUE(reference) << refPath;
    ASSERT_EQ(reference->width, shot.width);
    ASSERT_EQ(reference->height, shot.height);
    size_t differing = 0;
    for (size_t i = 0; i < shot.rgb.size(); i += 3) {
        int delta = 0;
        for (size_t c = 0; c < 3; ++c) delta = std::max(delta, std::abs(shot.rgb[i + c] - reference->rgb[i + c]));
        if (delta > kChannelTolerance) ++differing;
    }
    const double share = static_cast<double>(differing) / (shot.rgb.size() / 3);
    EXPECT_LE(share, kDifferingShare) << "see " << (gf_binaryDir() / "window_screenshot.png");
}

// What a user does: the X server's button and key events, sent to the window named ZARK_P3D.
class XUser {
public:
    XUser() : display_(XOpenDisplay(nullptr)) {
        Window root = DefaultRootWindow(display_), parent = 0, *children = nullptr;
        unsigned count = 0;
        XQueryTree(display_, root, &root, &parent, &children, &count);
        for (unsigned i = 0; i < count; ++i) {
            char* name = nullptr;
            if (XFetchName(display_, children[i], &name) && name && std::string(name) == "ZARK_P3D")
                window_ = children[i];
            XFree(name);
        }
        XFree(children);
    }
    ~XUser() { XCloseDisplay(display_); }
    void click(int x, int y) {
        for (int type : {ButtonPress, ButtonRelease}) {
            XEvent e{};
            e.xbutton = {type,
                         0,
                         True,
                         display_,
                         window_,
                         DefaultRootWindow(display_),
                         0,
                         CurrentTime,
                         x,
                         y,
                         x,
                         y,
                         type == ButtonRelease ? Button1Mask : 0u,
                         Button1,
                         True};
            XSendEvent(display_, window_, True, ButtonPressMask | ButtonReleaseMask, &e);
        }
        XFlush(display_);
    }
    void type(const std::string& keys) {
        for (char k : keys) {
            const KeySym sym = k == '\n' ? XK_Return : XStringToKeysym(std::string(1, k).c_str());
            XEvent e{};
            e.xkey = {KeyPress, 0, True, display_, window_, DefaultRootWindow(display_),     0,   CurrentTime,
                      1,        1, 1,    1,        0,       XKeysymToKeycode(display_, sym), True};
            XSendEvent(display_, window_, True, KeyPressMask, &e);
        }
        XFlush(display_);
    }

private:
    Display* display_;
    Window window_ = 0;
};

TEST_F(WindowScreenshotTest, ClicksAndEnterActThroughTheFrame) {
    fixedPanel();
    const bool logBefore = LOG.current;
    std::optional<XUser> user;
    const WindowPixels shot = shoot(
        [&] {
            user.emplace();
            user->click(658, 183);  // the LOG check box
            user->click(260, 295);  // into the callsign box
            user->type("klm1234\n");
        },
        [&] { return LOG.current != logBefore && BLOCK_CALLSIGN.current == "KLM1234"; });
    EXPECT_NE(LOG.current, logBefore) << "the click reached gf_onControlClicked";
    EXPECT_EQ(BLOCK_CALLSIGN.current, "KLM1234") << "Enter reached gf_onEditEnter";
    // The box shows the model's new state: its middle is black with the check mark, white without.
    ASSERT_EQ(shot.width, 880);
    EXPECT_EQ((lf_pixel(shot, 659, 183) == Rgb{0, 0, 0}), static_cast<bool>(LOG.current));
}

}  // namespace
