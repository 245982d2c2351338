#include "frame/core/message.h"

#include <exception>
#include <mutex>
#include <new>
#include <stdexcept>

#include "frame/core/errors.h"
#include "frame/core/log.h"
#include "frame/core/panel.h"
#include "frame/core/runstate.h"

namespace {
std::mutex g_messageLock;  // taken before the log lock, never after it
MessageLine g_line;
}  // namespace

void gf_showMessage(std::string_view text, bool log) {
    {
        std::lock_guard lock(g_messageLock);
        if (!g_line.error.empty()) return;
        g_line.message = std::string(text);
        g_line.shownAtTick = text.empty() ? 0 : std::max(g_line.windowTick, 1);
        if (log && !text.empty()) gf_logLine(text);
    }
    gf_invalidate(Band::Message);
}

void gf_clearMessage() { gf_showMessage("", false); }

void gf_showError(std::string_view text) {
    {
        std::lock_guard lock(g_messageLock);
        g_line.message.clear();
        g_line.shownAtTick = 0;
        g_line.error = std::string(text);
        gf_logLine(fmt::format("Error {}", text));
    }
    gf_invalidate(Band::Message);
}

void gf_clearErrorAndMessage() {
    {
        std::lock_guard lock(g_messageLock);
        g_line.error.clear();
        g_line.message.clear();
        g_line.shownAtTick = 0;
    }
    gf_invalidate(Band::Message);
}

void gf_messageTick() {
    bool expired = false;
    {
        std::lock_guard lock(g_messageLock);
        ++g_line.windowTick;
        expired = g_line.shownAtTick >= 1 && g_line.windowTick - g_line.shownAtTick >= kMessageTicks;
    }
    if (expired) gf_clearMessage();
}

MessageLine gf_messageLine() {
    std::lock_guard lock(g_messageLock);
    return g_line;
}

void gf_resetMessageLine() {
    std::lock_guard lock(g_messageLock);
    g_line = MessageLine{};
}

void gf_reportException(std::string_view label) {
    try {
        throw;
    } catch (const zel::UserErrorException& e) {
        gf_showError(e.what());
    } catch (const fmt::format_error& e) {
        gf_showError(std::string("std::format error: ") + e.what());
    } catch (const std::bad_alloc& e) {
        gf_showError(fmt::format("{}: {}", label, e.what()));
        gf_requestExit(5, 0);
    } catch (const std::out_of_range& e) {
        gf_showError(fmt::format("{}: {}", label, e.what()));
        gf_requestExit(5, 0);
    } catch (const std::runtime_error& e) {
        gf_showError(fmt::format("{}: {}", label, e.what()));
        gf_requestExit(5, 0);
    } catch (const std::exception& e) {
        gf_showError(fmt::format("{}: {}", label, e.what()));
        gf_requestExit(5, 0);
    } catch (...) {
        gf_showError("Unknown exception");
    }
}
