// simlink/session.cpp — the SimClient thread: it waits for the simulator, opens and sets up the session,
// and dispatches every millisecond until it is told to stop. Everything the simulator says enters here.
#include <cstring>
#include <exception>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "common/clock.h"
#include "frame/core/errors.h"
#include "frame/core/folders.h"
#include "frame/core/log.h"
#include "frame/core/message.h"
#include "frame/core/panel.h"
#include "frame/core/params.h"
#include "frame/core/runstate.h"
#include "platform/platform.h"
#include "simlink/handlers.h"
#include "simlink/state.h"
#include "simlink/transport/config.h"

namespace {

constexpr const char* kClientName = "ZARK_P3D";

// Bytes of a message that the handlers read: the simulator may leave off the trailing fields.
constexpr DWORD kOpenBytesRead = 284;      // up to the application's build minor
constexpr DWORD kAddRemoveBytesRead = 28;  // up to the object type
constexpr DWORD kFrameBytesRead = 28;      // up to the frame rate

bool lf_holds(std::string_view text, std::string_view part) { return text.find(part) != std::string_view::npos; }

// The version digit of the simulator folder: "5", "6" or nothing.
std::string lf_pathVersionDigit(std::string_view path) {
    if (lf_holds(path, "v5") || lf_holds(path, "V5")) return "5";
    if (lf_holds(path, "v6") || lf_holds(path, "V6")) return "6";
    return {};
}

// A message shorter than the structure its id promises is dropped with a line in the log, never read.
bool lf_sizeOk(const SIMCONNECT_RECV& message, DWORD size, DWORD needed) {
    if (size >= needed) return true;
    gf_logMarkf("Short SimConnect message dwID {}: {} bytes, {} expected", message.dwID, size, needed);
    return false;
}

// A handler ends the thread: the user can mend a user error (the session stays for the exit to close);
// anything else also ends the session.
void lf_simClientFault() {
    try {
        throw;
    } catch (const zel::UserErrorException& e) {
        gf_showError(e.what());
    } catch (const std::exception& e) {
        gf_showError(e.what());
        run.simRunning = false;
        lf_closeSimConnect();
    } catch (...) {
        gf_showError(fmt::format("Exception in {}", "SimClient"));
        run.simRunning = false;
        lf_closeSimConnect();
    }
}

void lf_onSystemEvent(const SIMCONNECT_RECV_EVENT_BASE& event) {
    switch (event.uEventID) {
        case kEvSim:
            run.simRunning = event.dwData == 1;
            panel.simRunningShown = run.simRunning.load();
            gf_invalidate(Band::Status);
            break;
        case kEvPositionChanged:
            gf_logLine("User ac position changed");
            gf_requestExit(kExitRestart, 30);
            break;
        case kEvFlightLoaded:
            gf_logLine("Flight loaded");
            gf_checkUserStand();
            gf_requestExit(kExitRestart, 30);
            break;
        default: break;
    }
}

void lf_onObjectAddRemove(const SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE& event) {
    // The simulator announces an object by its kind: a helicopter title of ours comes as a helicopter.
    if (event.eObjType != SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT && event.eObjType != SIMCONNECT_SIMOBJECT_TYPE_HELICOPTER)
        return;
    if (event.uEventID == kEvObjectRemoved) lf_onObjectRemoved(event.dwData);
    if (event.uEventID == kEvObjectAdded) lf_onObjectAdded(event.dwData);
}

// Request 102 answers with the standing values of a new object; the user requests go to user.cpp.
void lf_onObjectData(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size) {
    switch (message.dwRequestID) {
        case kReqStatic: {
            if (!lf_sizeOk(message, size, kDataPayloadOffset + 16)) return;
            double values[2];
            std::memcpy(values, reinterpret_cast<const char*>(&message) + kDataPayloadOffset, sizeof values);
            gf_pushSimEvent({message.dwObjectID, 0, 0, kSimStatic, values[0], values[1]});
            break;
        }
        case kReqUserTitle: lf_onUserTitle(message, size); break;
        case kReqUserModel: lf_onUserModel(message, size); break;
        case kReqUserOnGround: lf_onUserOnGround(message, size); break;
        case kReqUserSnapshot: lf_onUserSnapshot(message, size); break;
        default: break;
    }
}

}  // namespace

void CALLBACK lf_simDispatch(SIMCONNECT_RECV* message, DWORD size, void* /*context*/) {
    if (message == nullptr) return;
    switch (message->dwID) {
        case SIMCONNECT_RECV_ID_EXCEPTION:
            if (lf_sizeOk(*message, size, sizeof(SIMCONNECT_RECV_EXCEPTION)))
                lf_onException(*static_cast<SIMCONNECT_RECV_EXCEPTION*>(message));
            break;
        case SIMCONNECT_RECV_ID_OPEN:
            if (lf_sizeOk(*message, size, kOpenBytesRead)) lf_onOpen(*static_cast<SIMCONNECT_RECV_OPEN*>(message));
            break;
        case SIMCONNECT_RECV_ID_QUIT:
            run.simRunning = false;
            panel.simRunningShown = false;
            gf_invalidate(Band::Status);
            break;
        case SIMCONNECT_RECV_ID_EVENT:
            if (lf_sizeOk(*message, size, sizeof(SIMCONNECT_RECV_EVENT_BASE)))
                lf_onSystemEvent(*static_cast<SIMCONNECT_RECV_EVENT_BASE*>(message));
            break;
        case SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE:
            if (lf_sizeOk(*message, size, kAddRemoveBytesRead))
                lf_onObjectAddRemove(*static_cast<SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE*>(message));
            break;
        case SIMCONNECT_RECV_ID_EVENT_FILENAME:
            gf_logLine("New file loaded");
            gf_checkUserStand();
            gf_requestExit(kExitRestart, 30);
            break;
        case SIMCONNECT_RECV_ID_EVENT_FRAME: {
            if (!lf_sizeOk(*message, size, kFrameBytesRead)) break;
            lf_onFrame();
            if (++simlink.frameCount >= kFramesPerRefresh) {
                simlink.frameRate = static_cast<SIMCONNECT_RECV_EVENT_FRAME*>(message)->fFrameRate;
                simlink.frameCount = 0;
            }
            break;
        }
        case SIMCONNECT_RECV_ID_SIMOBJECT_DATA:
            if (lf_sizeOk(*message, size, kDataPayloadOffset))
                lf_onObjectData(*static_cast<SIMCONNECT_RECV_SIMOBJECT_DATA*>(message), size);
            break;
        case SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE:
            if (lf_sizeOk(*message, size, kDataPayloadOffset))
                lf_onObjectDataByType(*static_cast<SIMCONNECT_RECV_SIMOBJECT_DATA*>(message), size);
            break;
        case SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID:
        case SIMCONNECT_RECV_ID_CLIENT_DATA: break;
        default: gf_logf("! Unknown Dispatch dwID {}", message->dwID); break;
    }
}

void lf_onOpen(const SIMCONNECT_RECV_OPEN& message) {
    const std::string raw(message.szApplicationName,
                          strnlen(message.szApplicationName, sizeof message.szApplicationName));
    if (raw.empty()) {
        gf_logLine("! Simulator name empty?");
        return;
    }
    panel.simConnected = true;
    // Marks such as quotes, brackets and the registered sign stand between the simulator and its name.
    std::string name;
    for (const unsigned char c : raw)
        if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == ' ' || c == '\t')
            name += static_cast<char>(c);
    if (name == "KittyHawk" || name == "SunRise")
        throw zel::UserErrorException(78, name + ", (MSFS) not being P3D connects ... ?");

    const std::string text =
        fmt::format("{} ({}.{}.{}.{})", name, message.dwApplicationVersionMajor, message.dwApplicationVersionMinor,
                    message.dwApplicationBuildMajor, message.dwApplicationBuildMinor);
    gf_logLine(text + " connected ");
    panel.simText.set(text);
    gf_invalidate(Band::Header);

    const std::string path = SIM_INSTALL_PATH.current;
    const int32_t expected = simlink.expectedVersion;
    const bool passes = (lf_holds(text, "v5") && (lf_holds(path, "v5") || lf_holds(path, "V5") || expected == 5)) ||
                        (lf_holds(text, "v6") && (lf_holds(path, "v6") || lf_holds(path, "V6") || expected == 6));
    if (!passes) {
        gf_setControlEnabled(SIM_INSTALL_PATH.controlId, true);
        throw zel::UserErrorException(78, fmt::format("wrong P3D version \"{}\" connects ... ?", text));
    }
    gf_clearMessage();
}

void lf_onException(const SIMCONNECT_RECV_EXCEPTION& message) {
    switch (message.dwException) {
        case SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID:
            // Before the first position the simulator refuses ids it has not set up yet; that is no news.
            if (!gf_isNullBox(user.simSnapshot.latitude, user.simSnapshot.longitude))
                gf_logLine("SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID");
            break;
        case SIMCONNECT_EXCEPTION_VERSION_MISMATCH:
            throw zel::UserErrorException(95,
                                          fmt::format("Simconnect Version Mismatch, dwindex: {} ", message.dwIndex));
        case SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS:
            gf_showMessage("SimConnect: too many objects (max 1000)", true);
            break;
        case SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE: gf_logLine("SIMCON EXCEP 19"); break;
        case SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED: {
            uint32_t hexid = 0;
            if (lf_takePendingByPacket(message.dwSendID, hexid)) gf_pushSimEvent({0, hexid, 0, kSimCreateFailed, 0, 0});
            break;
        }
        case SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED:
            gf_logLine("Simconnect Exception: load flight plan failed");
            break;
        case SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE: gf_logLine("SIMCON EXCEP 24"); break;
        default: gf_logf("SIMCON EXCEP {}", message.dwException); break;
    }
}

void lf_closeSimConnect() {
    panel.simConnected = false;
    gf_invalidate(Band::Header);
    HANDLE h = simlink.hSimConnect;
    if (h != nullptr) {
        for (const uint32_t def : {kDefUserTitle, kDefUserModel, kDefUserOnGround, kDefPosition, kDefUserData,
                                   kDefControls, kDefInRange, kDefStatic, kDefLightOn})
            SimConnect_ClearDataDefinition(h, def);
        for (uint32_t ev = kEvSim; ev <= kEvFlightLoaded; ++ev) SimConnect_UnsubscribeFromSystemEvent(h, ev);
        {
            // The engine may be inside a call on this handle; it holds the simulator lock while it is.
            std::lock_guard lock(simQueues.simLock);
            simlink.hSimConnect = nullptr;
        }
        if (FAILED(SimConnect_Close(h))) gf_logLine("SimConnect close failed!");
    }
    if (!run.exitInProgress) {
        gf_logf("{} Flight Simulator no longer connected, {} will stop ...", gf_timeOfDay(), kClientName);
        gf_requestExit(kExitSimClosed, 0);
    }
}

bool gf_openSimConnect() {
    // Without a port in SimConnect.cfg the simulator's own pipe and registry ports are the ones of its version.
    gf_setSimConnectSimVersion(gf_simMajorVersion());
    HANDLE h = nullptr;
    if (FAILED(SimConnect_Open(&h, kClientName, nullptr, 0, nullptr, 0)) || h == nullptr) return false;
    {
        std::lock_guard lock(simQueues.simLock);
        simlink.hSimConnect = h;
    }
    lf_setupSimConnect();
    return true;
}

bool gf_simClientStep() {
    try {
        SimConnect_CallDispatch(simlink.hSimConnect, lf_simDispatch, nullptr);  // the result tells nothing new
        return true;
    } catch (...) {
        lf_simClientFault();
        return false;
    }
}

void gf_simClientThread(std::stop_token stopToken) {
    ++run.activeThreads;
    simlink.simClientAlive = true;
    try {
        while (!gf_exitFlagSet() && !stopToken.stop_requested()) {
            if (!simlink.waitingShown) {
                simlink.waitingShown = true;
                gf_showMessage(
                    fmt::format("Waiting for Prepar3Dv{} ...", lf_pathVersionDigit(SIM_INSTALL_PATH.current)), true);
                gf_flushLog();
            }
            // The simulator may start after us: wait for it without limit, one try a second.
            if (!gf_openSimConnect()) {
                // A second between tries, cut short by a stop so that an exit never waits for it.
                for (int i = 0; i < 100 && !stopToken.stop_requested(); ++i) gf_sleepFor(std::chrono::milliseconds(10));
                continue;
            }
            gf_timerResolutionBegin();
            bool healthy = true;
            while (healthy && !stopToken.stop_requested()) {
                healthy = gf_simClientStep();
                gf_sleepFor(std::chrono::milliseconds(1));
            }
            gf_timerResolutionEnd();
            // A stop closes the session here; a fault has already closed it or leaves it to the exit.
            if (healthy && simlink.hSimConnect != nullptr) lf_closeSimConnect();
            break;
        }
    } catch (...) {
        lf_simClientFault();
    }
    try {
        gf_checkUserStand();
    } catch (...) {
        gf_reportException("SimClient");
    }
    simlink.simClientAlive = false;
    --run.activeThreads;
}

bool gf_simClientRunning() { return simlink.simClientAlive.load(); }

void gf_startSimClient() {
    gf_stopSimClient();
    simlink.expectedVersion = P3D_VERSION.current;
    simlink.waitingShown = false;
    simlink.simClientAlive = true;  // from now on, not only once the thread has begun
    simlink.simClient = std::jthread(gf_simClientThread);
}

void gf_stopSimClient() {
    if (simlink.simClient.joinable()) {
        simlink.simClient.request_stop();
        simlink.simClient.join();
    }
    // A user error ended the thread with the session open: the exit closes it now.
    if (simlink.hSimConnect != nullptr) lf_closeSimConnect();
}
