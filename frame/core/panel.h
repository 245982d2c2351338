// frame/core/panel.h — the model of the status window: panel fields, controls and invalidated bands.
// Every thread writes here; the window (or, without a display, the log) only draws this model.
#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

// A text field that several threads write and the paint reads.
class SharedText {
public:
    void set(std::string text) {
        std::lock_guard lock(m_);
        text_ = std::move(text);
    }
    std::string get() const {
        std::lock_guard lock(m_);
        return text_;
    }

private:
    mutable std::mutex m_;
    std::string text_;
};

// The bands of the window, each invalidated by the writer of a field it shows.
enum class Band : uint8_t { Header, Status, Parameters, Static, Message };

struct PanelState {
    std::atomic<bool> simConnected{false};     // a SimConnect session is open
    std::atomic<bool> simRunningShown{false};  // copy of the "Sim" event state
    SharedText simText;                        // name and version of the simulator
    SharedText userTitleText;                  // title of the user aircraft
    SharedText userStandText;                  // stand of the user aircraft
    std::atomic<bool> userSpanKnown{true};
    std::atomic<int64_t> liveryCount{-1};       // liveries read
    std::atomic<int32_t> orbxCount{0};          // files in my_ORBX
    std::atomic<int32_t> thirdpartyCount{0};    // files in my_thirdparty
    std::atomic<bool> addonScanComplete{true};  // every add-on airport found has its file
    std::atomic<int32_t> tbloCount{0};          // airports in TO_BE_LEARNED_OFFLINE
    std::atomic<bool> serviceNotStarted{true};  // the login to the traffic service has not begun
    std::atomic<bool> sessionUp{false};         // a service session exists
    std::atomic<int32_t> weatherLamp{3};        // 1 working, 2 working with no data, 3 off
    std::atomic<int32_t> trafficLamp{3};
    std::atomic<int32_t> qnhShown{0};           // hPa
    std::atomic<int32_t> liveShown{0};          // Live and not AtStand
    std::atomic<int32_t> parkedLiveCount{0};    // Live and AtStand
    std::atomic<int32_t> parkedStaticCount{0};  // static aircraft in the simulator
    SharedText parkIcao;
    std::atomic<bool> parkActive{false};
    SharedText parkName;
    SharedText parkPublisher;
    std::atomic<bool> parkHandmade{false};
    std::atomic<bool> softUsed{false};
    SharedText qualityText;
    SharedText reservedStand;
    std::atomic<bool> reservedStandKnown{false};
    std::atomic<int32_t> updateCount{0};
    std::atomic<int32_t> standCount{0};
    std::atomic<float> liveAverageFit{-1.0f};  // hours; 0 or less is not shown
    std::atomic<float> staticAverageFit{-1.0f};
    std::atomic<int32_t> wanted{0};
    std::atomic<int32_t> minutesToRenewal{0};
    std::atomic<bool> timeShiftActive{true};
    std::atomic<bool> parkListOk{true};
    std::atomic<bool> atParkAirport{false};
    std::atomic<bool> parkParametersChanged{false};

    // Bands invalidated since the window last painted (bit per Band).
    std::atomic<uint32_t> dirtyBands{0};
};
extern PanelState panel;

void gf_invalidate(Band band);
uint32_t gf_takeDirtyBands();  // the window's paint: which bands to redraw
// Back to the start values of a run (restart, tests).
void gf_resetPanel();

// One control of the window: a check box, an edit box or a push button, found by its id.
struct ControlState {
    bool exists = false;
    bool enabled = true;
    bool checked = false;
    std::string text;
};
// The push buttons (check boxes and edit boxes carry their parameter's control id).
constexpr uint16_t kCheckVersionButtonId = 32780;
constexpr uint16_t kUnblockButtonId = 32829;
constexpr uint16_t kFlushStaticButtonId = 32855;
constexpr uint16_t kReReadButtonId = 32838;

void gf_setControlEnabled(uint16_t id, bool enabled);
void gf_setControlChecked(uint16_t id, bool checked);
void gf_setControlText(uint16_t id, const std::string& text);
ControlState gf_controlState(uint16_t id);
void gf_resetControls();
