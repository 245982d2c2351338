// The public SimConnect calls: packets into the transport, messages out of the session's queue.
#include <algorithm>
#include <atomic>
#include <cstring>
#include <deque>
#include <mutex>
#include <set>

#include <fmt/format.h>

#include "frame/core/log.h"
#include "platform/platform.h"
#include "simlink/transport/inprocess.h"
#include "simlink/transport/packets.h"
#include "simlink/transport/session.h"
#include "simlink/transport/simconnect.h"
#include "simlink/transport/transport.h"

using scwire::PacketWriter;

#ifdef _WIN32
// Posts the user event to the window and sets the event handle of SimConnect_Open (transport_win32.cpp).
void gf_win32NotifyOwner(HWND window, DWORD userEvent, HANDLE eventHandle);
#endif

namespace {

// One SimConnect_Open. The handle given to the caller is the address of this object.
struct Session final : Inbound {
    std::unique_ptr<Transport> transport;
    uint32_t sendSerial = 0;  // serial of the last packet sent; under sendLock
    uint32_t maxReceiveSize = kDefaultMaxReceiveSize;
    HWND window = nullptr;
    DWORD userEvent = 0;
    HANDLE eventHandle = nullptr;

    std::mutex queueLock;                    // guards queue, failure
    std::deque<std::vector<uint8_t>> queue;  // received messages in order
    std::string failure;                     // why the connection ended; empty while it is up
    std::atomic<bool> failed{false};

    void onMessage(std::vector<uint8_t>&& message) override {
        {
            std::lock_guard lock(queueLock);
            if (!failure.empty()) return;  // nothing arrives after the end
            queue.push_back(std::move(message));
        }
#ifdef _WIN32
        if (window != nullptr || eventHandle != nullptr) gf_win32NotifyOwner(window, userEvent, eventHandle);
#endif
    }
    void onFailure(const std::string& why) override {
        bool first = false;
        {
            std::lock_guard lock(queueLock);
            if (failure.empty()) {
                failure = why.empty() ? std::string("connection ended") : why;
                first = true;
            }
        }
        failed = true;
        if (first) gf_logf("SimConnect: connection lost: {}", why);
    }
};

// The global send lock: guards every session's serial and the order of packets into the transports,
// and the list of live sessions.
std::mutex sendLock;
std::set<Session*> sessions;
std::atomic<InProcessServer*> inProcessServer{nullptr};
std::atomic<bool> nothingToTryLogged{false};

Session* lf_find(HANDLE h) {
    auto* s = static_cast<Session*>(h);
    return sessions.count(s) ? s : nullptr;
}

bool lf_fits(const char* text, size_t field) { return text == nullptr || std::strlen(text) < field; }

// Frames one packet: head, the fields `fill` writes, the size. Returns at once.
template <typename Fill>
HRESULT lf_send(HANDLE h, uint32_t packetId, size_t sizeHint, Fill&& fill) {
    std::lock_guard lock(sendLock);
    Session* s = lf_find(h);
    if (s == nullptr) return E_INVALIDARG;
    if (s->failed) return E_FAIL;
    auto block = std::make_shared<std::vector<uint8_t>>();
    block->reserve(sizeHint);
    PacketWriter w(*block);
    uint32_t serial = s->sendSerial + 1;
    if (serial == 0) serial = 1;  // the serial passes over 0 when it wraps
    w.u32(0);
    w.u32(scwire::kProtocolVersion);
    w.u32(packetId);
    w.u32(serial);
    fill(w);
    w.finish();
    s->sendSerial = serial;
    s->transport->send(std::move(block));
    return S_OK;
}

std::unique_ptr<Transport> lf_connect(const SimConnectConfig& cfg, Session& s, std::vector<std::string>& tried) {
    const std::vector<ConnectStep> chain = gf_connectChain(cfg, gf_simConnectSimVersion());
    for (const ConnectStep& step : chain) {
        std::string error;
        std::unique_ptr<ByteLink> link;
        const char* name = "Pipe";
        if (step.kind == ConnectStep::Pipe) {
            if (!gf_havePipes()) continue;
            link = gf_connectPipe(step.host, step.port, error);
        } else {
            if (step.port.empty()) continue;  // no port known for this family
            name = step.kind == ConnectStep::IPv6 ? "IPv6" : "IPv4";
            link = gf_connectSocket(step.kind == ConnectStep::IPv6, step.host, step.port, cfg.disableNagle, error);
        }
        tried.push_back(fmt::format("{} {}:{}: {}", name, step.host, step.port, link ? "connected" : error));
        if (link) return gf_makeStreamTransport(std::move(link), name, s, s.maxReceiveSize);
    }
    return nullptr;
}

// The in-process transport: packets go straight to the server; its bytes are framed like a socket's.
class InProcessTransport final : public Transport, public InProcessClient {
public:
    InProcessTransport(InProcessServer& server, Inbound& inbound, uint32_t maxReceiveSize)
        : inbound_(inbound), framer_(maxReceiveSize) {
        connection_ = server.connect(*this);
    }
    void send(PacketBlock block) override {
        if (!dropped_ && connection_) connection_->fromClient(block->data(), block->size());
    }
    void close() override {
        if (connection_) connection_->clientClosed();
        connection_.reset();
        dropped_ = true;
    }
    const char* name() const override { return "InProcess"; }
    void toClient(const uint8_t* data, size_t n) override {
        if (dropped_) return;
        bool ok = framer_.feed(data, n, [this](std::vector<uint8_t>&& m) { inbound_.onMessage(std::move(m)); });
        if (!ok) {
            dropped_ = true;
            inbound_.onFailure("protocol error: " + framer_.error());
        }
    }
    void drop() override {
        if (dropped_) return;
        dropped_ = true;
        inbound_.onFailure("the simulator closed the connection");
    }

private:
    Inbound& inbound_;
    ReceiveFramer framer_;
    std::unique_ptr<InProcessConnection> connection_;
    bool dropped_ = false;
};

}  // namespace

void gf_setInProcessServer(InProcessServer* server) { inProcessServer = server; }
InProcessServer* gf_inProcessServer() { return inProcessServer; }

HRESULT SimConnect_Open(HANDLE* phSimConnect, LPCSTR szName, HWND hWnd, DWORD UserEventWin32, HANDLE hEventHandle,
                        DWORD ConfigIndex) {
    if (phSimConnect == nullptr || szName == nullptr) return E_INVALIDARG;
    *phSimConnect = nullptr;
    if (!lf_fits(szName, 256)) return E_NOT_SUFFICIENT_BUFFER;
    SimConnectConfig cfg;
    if (!gf_readSimConnectConfig(ConfigIndex, cfg)) {
        gf_logf("SimConnect: no section [{}] in any SimConnect.cfg", gf_simConnectSectionName(ConfigIndex));
        return E_INVALIDARG;
    }
    auto s = std::make_unique<Session>();
    s->maxReceiveSize = cfg.maxReceiveSize;
    s->window = hWnd;
    s->userEvent = UserEventWin32;
    s->eventHandle = hEventHandle;
    std::vector<std::string> tried;
    if (InProcessServer* server = inProcessServer.load()) {
        s->transport = std::make_unique<InProcessTransport>(*server, *s, cfg.maxReceiveSize);
    } else {
        s->transport = lf_connect(cfg, *s, tried);
    }
    if (!s->transport) {
        if (tried.empty()) {
            if (!nothingToTryLogged.exchange(true))
                gf_logLine(
                    "SimConnect: nothing to connect to: no named pipe on this system and no port known; "
                    "set Address and Port in SimConnect.cfg");
        } else if (!nothingToTryLogged.exchange(true)) {
            gf_logf("SimConnect: could not connect ({})", fmt::join(tried, "; "));
        }
        return E_FAIL;
    }
    nothingToTryLogged = false;
    Session* raw = s.get();
    {
        std::lock_guard lock(sendLock);
        sessions.insert(s.release());
    }
    HRESULT hr = lf_send(raw, scwire::kOpen, scwire::kSizeOpen, [&](PacketWriter& w) {
        w.text(szName, 256);
        w.u32(0);
        w.u32(scwire::kOpenProductTag);
        w.u32(scwire::kOpenLibraryMajor);
        w.u32(scwire::kOpenLibraryMinor);
        w.zeros(8);
    });
    if (FAILED(hr) || raw->failed) {
        SimConnect_Close(raw);
        return E_FAIL;
    }
    *phSimConnect = raw;
    return S_OK;
}

HRESULT SimConnect_Close(HANDLE hSimConnect) {
    Session* s = nullptr;
    {
        std::lock_guard lock(sendLock);
        s = lf_find(hSimConnect);
        if (s == nullptr) return E_INVALIDARG;
        sessions.erase(s);
    }
    // Queued packets leave first (the transport waits briefly for them), then the connection ends.
    s->transport->close();
    delete s;
    return S_OK;
}

HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext) {
    Session* s = nullptr;
    {
        std::lock_guard lock(sendLock);
        s = lf_find(hSimConnect);
    }
    if (s == nullptr || pfcnDispatch == nullptr) return E_INVALIDARG;
    for (;;) {
        std::vector<uint8_t> message;
        {
            std::lock_guard lock(s->queueLock);
            if (s->queue.empty()) return s->failure.empty() ? S_OK : E_FAIL;
            message = std::move(s->queue.front());
            s->queue.pop_front();
        }
        if (message.size() < scwire::kRecvHeadSize) continue;
        pfcnDispatch(reinterpret_cast<SIMCONNECT_RECV*>(message.data()), static_cast<DWORD>(message.size()), pContext);
    }
}

HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID) {
    if (pdwSendID == nullptr) return E_INVALIDARG;
    std::lock_guard lock(sendLock);
    Session* s = lf_find(hSimConnect);
    if (s == nullptr) return E_INVALIDARG;
    *pdwSendID = s->sendSerial;
    return S_OK;
}

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID, const char* EventName) {
    if (!lf_fits(EventName, 256)) return E_NOT_SUFFICIENT_BUFFER;
    return lf_send(h, scwire::kMapClientEventToSimEvent, scwire::kSizeMapClientEvent, [&](PacketWriter& w) {
        w.u32(EventID);
        w.text(EventName ? EventName : "", 256);
    });
}

HRESULT SimConnect_TransmitClientEvent(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                       DWORD dwData, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                       SIMCONNECT_EVENT_FLAG Flags) {
    return lf_send(h, scwire::kTransmitClientEvent, scwire::kSizeTransmitClientEvent, [&](PacketWriter& w) {
        w.u32(ObjectID);
        w.u32(EventID);
        w.u32(dwData);
        w.u32(GroupID);
        w.u32(Flags);
    });
}

HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE h, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, BOOL bMaskable) {
    return lf_send(h, scwire::kAddClientEventToNotificationGroup, scwire::kSizeAddToGroup, [&](PacketWriter& w) {
        w.u32(GroupID);
        w.u32(EventID);
        w.u32(bMaskable ? 1 : 0);
    });
}

HRESULT SimConnect_SetNotificationGroupPriority(HANDLE h, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, DWORD uPriority) {
    return lf_send(h, scwire::kSetNotificationGroupPriority, scwire::kSizeSetGroupPriority, [&](PacketWriter& w) {
        w.u32(GroupID);
        w.u32(uPriority);
    });
}

HRESULT SimConnect_AddToDataDefinition(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID, const char* DatumName,
                                       const char* UnitsName, SIMCONNECT_DATATYPE DatumType, float fEpsilon,
                                       DWORD DatumID) {
    if (!lf_fits(DatumName, 256) || !lf_fits(UnitsName, 256)) return E_NOT_SUFFICIENT_BUFFER;
    return lf_send(h, scwire::kAddToDataDefinition, scwire::kSizeAddToDataDefinition, [&](PacketWriter& w) {
        w.u32(DefineID);
        w.text(DatumName ? DatumName : "", 256);
        w.text(UnitsName ? UnitsName : "", 256);
        w.u32(DatumType);
        w.f32(fEpsilon);
        w.u32(DatumID);
    });
}

HRESULT SimConnect_ClearDataDefinition(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID) {
    return lf_send(h, scwire::kClearDataDefinition, scwire::kSizeClearDataDefinition,
                   [&](PacketWriter& w) { w.u32(DefineID); });
}

HRESULT SimConnect_RequestDataOnSimObject(HANDLE h, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID, SIMCONNECT_OBJECT_ID ObjectID,
                                          SIMCONNECT_PERIOD Period, SIMCONNECT_DATA_REQUEST_FLAG Flags, DWORD origin,
                                          DWORD interval, DWORD limit) {
    return lf_send(h, scwire::kRequestDataOnSimObject, scwire::kSizeRequestData, [&](PacketWriter& w) {
        w.u32(RequestID);
        w.u32(DefineID);
        w.u32(ObjectID);
        w.u32(Period);
        w.u32(Flags);
        w.u32(origin);
        w.u32(interval);
        w.u32(limit);
    });
}

HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE h, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type) {
    return lf_send(h, scwire::kRequestDataOnSimObjectType, scwire::kSizeRequestDataByType, [&](PacketWriter& w) {
        w.u32(RequestID);
        w.u32(DefineID);
        w.u32(dwRadiusMeters);
        w.u32(type);
    });
}

HRESULT SimConnect_SetDataOnSimObject(HANDLE h, SIMCONNECT_DATA_DEFINITION_ID DefineID, SIMCONNECT_OBJECT_ID ObjectID,
                                      SIMCONNECT_DATA_SET_FLAG Flags, DWORD ArrayCount, DWORD cbUnitSize,
                                      void* pDataSet) {
    const uint64_t bytes = static_cast<uint64_t>(ArrayCount == 0 ? 1 : ArrayCount) * cbUnitSize;
    if (pDataSet == nullptr && bytes > 0) return E_INVALIDARG;
    if (bytes > kReceiveBufferLimit) return E_INVALIDARG;
    return lf_send(h, scwire::kSetDataOnSimObject, scwire::kSizeSetDataFixed + bytes, [&](PacketWriter& w) {
        w.u32(DefineID);
        w.u32(ObjectID);
        w.u32(Flags);
        w.u32(ArrayCount);
        w.u32(cbUnitSize);
        w.bytes(pDataSet, static_cast<size_t>(bytes));
    });
}

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID, const char* SystemEventName) {
    if (SystemEventName == nullptr) return E_INVALIDARG;
    if (!lf_fits(SystemEventName, 256)) return E_NOT_SUFFICIENT_BUFFER;
    return lf_send(h, scwire::kSubscribeToSystemEvent, scwire::kSizeSubscribe, [&](PacketWriter& w) {
        w.u32(EventID);
        w.text(SystemEventName, 256);
    });
}

HRESULT SimConnect_UnsubscribeFromSystemEvent(HANDLE h, SIMCONNECT_CLIENT_EVENT_ID EventID) {
    return lf_send(h, scwire::kUnsubscribeFromSystemEvent, scwire::kSizeUnsubscribe,
                   [&](PacketWriter& w) { w.u32(EventID); });
}

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE h, const char* szContainerTitle, const char* szTailNumber,
                                          SIMCONNECT_DATA_INITPOSITION InitPos, SIMCONNECT_DATA_REQUEST_ID RequestID) {
    if (szContainerTitle == nullptr || szTailNumber == nullptr) return E_INVALIDARG;
    if (!lf_fits(szContainerTitle, 256) || !lf_fits(szTailNumber, 12)) return E_NOT_SUFFICIENT_BUFFER;
    return lf_send(h, scwire::kAICreateNonATCAircraft, scwire::kSizeAICreate, [&](PacketWriter& w) {
        w.text(szContainerTitle, 256);
        w.text(szTailNumber, 12);
        w.f64(InitPos.Latitude);
        w.f64(InitPos.Longitude);
        w.f64(InitPos.Altitude);
        w.f64(InitPos.Pitch);
        w.f64(InitPos.Bank);
        w.f64(InitPos.Heading);
        w.u32(InitPos.OnGround);
        w.u32(InitPos.Airspeed);
        w.u32(RequestID);
    });
}

HRESULT SimConnect_AIReleaseControl(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_REQUEST_ID RequestID) {
    return lf_send(h, scwire::kAIReleaseControl, scwire::kSizeAIReleaseControl, [&](PacketWriter& w) {
        w.u32(ObjectID);
        w.u32(RequestID);
    });
}

HRESULT SimConnect_AIRemoveObject(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_REQUEST_ID RequestID) {
    return lf_send(h, scwire::kAIRemoveObject, scwire::kSizeAIRemoveObject, [&](PacketWriter& w) {
        w.u32(ObjectID);
        w.u32(RequestID);
    });
}

HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE h, SIMCONNECT_OBJECT_ID ObjectID, const char* szFlightPlanPath,
                                           SIMCONNECT_DATA_REQUEST_ID RequestID) {
    if (szFlightPlanPath == nullptr) return E_INVALIDARG;
    if (!lf_fits(szFlightPlanPath, MAX_PATH)) return E_NOT_SUFFICIENT_BUFFER;
    return lf_send(h, scwire::kAISetAircraftFlightPlan, scwire::kSizeAISetFlightPlan, [&](PacketWriter& w) {
        w.u32(ObjectID);
        w.text(szFlightPlanPath, MAX_PATH);
        w.u32(RequestID);
    });
}

HRESULT SimConnect_RetrieveString(SIMCONNECT_RECV* pData, DWORD cbData, void* pStringV, char** ppszString,
                                  DWORD* pcbString) {
    if (pData == nullptr || pStringV == nullptr || ppszString == nullptr) return E_INVALIDARG;
    auto* begin = reinterpret_cast<char*>(pData);
    auto* s = static_cast<char*>(pStringV);
    if (s < begin || s >= begin + cbData) return E_INVALIDARG;
    auto* nul = static_cast<char*>(std::memchr(s, 0, static_cast<size_t>(begin + cbData - s)));
    if (nul == nullptr) return E_FAIL;
    *ppszString = s;
    if (pcbString != nullptr) *pcbString = static_cast<DWORD>(nul - s + 1);
    return S_OK;
}

// ---- hooks ----

bool gf_setLastSentPacketId(HANDLE handle, uint32_t value) {
    std::lock_guard lock(sendLock);
    Session* s = lf_find(handle);
    if (s == nullptr) return false;
    s->sendSerial = value;
    return true;
}

std::string gf_sessionTransportName(HANDLE handle) {
    std::lock_guard lock(sendLock);
    Session* s = lf_find(handle);
    return s ? s->transport->name() : std::string();
}

std::string gf_sessionFailure(HANDLE handle) {
    Session* s = nullptr;
    {
        std::lock_guard lock(sendLock);
        s = lf_find(handle);
    }
    if (s == nullptr) return {};
    std::lock_guard lock(s->queueLock);
    return s->failure;
}

size_t gf_sessionQueued(HANDLE handle) {
    Session* s = nullptr;
    {
        std::lock_guard lock(sendLock);
        s = lf_find(handle);
    }
    if (s == nullptr) return 0;
    std::lock_guard lock(s->queueLock);
    return s->queue.size();
}

void gf_resetSimConnectTransport() {
    nothingToTryLogged = false;
    gf_setSimConnectCfgFolders({});
    gf_setSimConnectSimVersion(5);
}
