// frame/core/message.h — the message line at the bottom of the window, and the one handler of every thread body.
// Three states: empty, message (green strip), error (red strip). Only an explicit clear leaves the error state.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <fmt/format.h>

struct MessageLine {
    std::string message;      // the line in normal state
    std::string error;        // while not empty, messages are dropped
    int32_t shownAtTick = 0;  // windowTick when the message was shown, at least 1; 0: no message
    int32_t windowTick = 0;   // incremented by each tick
};

// Ticks a message stays on the line while the simulator delivers ticks.
constexpr int32_t kMessageTicks = 25;

void gf_showMessage(std::string_view text, bool log);
void gf_clearMessage();
void gf_showError(std::string_view text);
// Clears both the error and the message (parking update, restart, a new install path).
void gf_clearErrorAndMessage();
// The tick's part: count windowTick up, clear a message that has stood for 25 ticks.
void gf_messageTick();
MessageLine gf_messageLine();  // a copy, for the paint and the tests
void gf_resetMessageLine();

template <typename... Args>
void gf_showMessagef(bool log, fmt::format_string<Args...> f, Args&&... args) {
    gf_showMessage(fmt::format(f, std::forward<Args>(args)...), log);
}

// Called inside a catch (...) of a thread body: rethrows the exception in flight and reports it.
// User errors and format errors only show; system and standard errors show and end the run (reason 5).
void gf_reportException(std::string_view label);
