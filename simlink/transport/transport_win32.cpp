// Windows: sockets through Winsock, the named pipe of the simulator, and the owner's notification.
#ifdef _WIN32

#ifndef WIN32_LEAN_AND_MEAN
#define WIN32_LEAN_AND_MEAN
#endif
#include <windows.h>
#include <winsock2.h>
#include <ws2tcpip.h>

#include <atomic>
#include <mutex>

#include <fmt/format.h>

#include "platform/platform.h"
#include "simlink/transport/simconnect.h"
#include "simlink/transport/transport.h"

namespace {

constexpr DWORD kPipeBusyWaitMs = 5000;  // WaitNamedPipe while the simulator's pipe is busy

std::once_flag winsockOnce;
bool winsockUp = false;

void lf_startWinsock() {
    std::call_once(winsockOnce, [] {
        WSADATA data;
        winsockUp = WSAStartup(MAKEWORD(2, 2), &data) == 0;
    });
}

std::string lf_lastError(DWORD code) { return fmt::format("system error {}", code); }

class WinSocketLink final : public ByteLink {
public:
    explicit WinSocketLink(SOCKET s) : s_(s) {}
    ~WinSocketLink() override { closesocket(s_); }
    bool writeAll(const uint8_t* data, size_t n, std::string& error) override {
        while (n > 0) {
            int k = ::send(s_, reinterpret_cast<const char*>(data), static_cast<int>(n > 1 << 30 ? 1 << 30 : n), 0);
            if (k == SOCKET_ERROR) {
                error = lf_lastError(static_cast<DWORD>(WSAGetLastError()));
                return false;
            }
            data += k;
            n -= static_cast<size_t>(k);
        }
        return true;
    }
    long readSome(uint8_t* data, size_t n, std::string& error) override {
        int k = ::recv(s_, reinterpret_cast<char*>(data), static_cast<int>(n), 0);
        if (k == SOCKET_ERROR) {
            error = lf_lastError(static_cast<DWORD>(WSAGetLastError()));
            return -1;
        }
        return k;
    }
    void shutdown() override { ::shutdown(s_, SD_BOTH); }

private:
    SOCKET s_;
};

// The pipe is opened overlapped, so that the reader and the writer may wait at the same time. The stop
// must hold whenever it comes: CancelIoEx ends only the operations pending at that moment, so the flag is
// looked at before every new operation, and a wait that began before the flag was set also waits on the
// stop event and then cancels its own operation.
class PipeLink final : public ByteLink {
public:
    explicit PipeLink(HANDLE h) : h_(h), stopEvent_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {}
    ~PipeLink() override {
        CloseHandle(h_);
        CloseHandle(stopEvent_);
    }
    bool writeAll(const uint8_t* data, size_t n, std::string& error) override {
        while (n > 0) {
            DWORD done = 0;
            if (!io(false, const_cast<uint8_t*>(data), static_cast<DWORD>(n), done, error)) return false;
            data += done;
            n -= done;
        }
        return true;
    }
    // 0 at the end of the pipe and after shutdown().
    long readSome(uint8_t* data, size_t n, std::string& error) override {
        DWORD done = 0;
        if (!io(true, data, static_cast<DWORD>(n), done, error)) return error.empty() ? 0 : -1;
        return static_cast<long>(done);
    }
    void shutdown() override {
        stopped_ = true;
        SetEvent(stopEvent_);
        CancelIoEx(h_, nullptr);  // every operation on the handle, of every thread
    }

private:
    bool io(bool read, uint8_t* data, DWORD n, DWORD& done, std::string& error) {
        if (stopped_) return false;
        OVERLAPPED ov{};
        ov.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        BOOL ok = read ? ReadFile(h_, data, n, nullptr, &ov) : WriteFile(h_, data, n, nullptr, &ov);
        DWORD code = ok ? ERROR_SUCCESS : GetLastError();
        if (ok || code == ERROR_IO_PENDING) {
            const HANDLE waits[2] = {ov.hEvent, stopEvent_};
            if (WaitForMultipleObjects(2, waits, FALSE, INFINITE) != WAIT_OBJECT_0) CancelIoEx(h_, &ov);
            // Waits for the end of the operation in any case: the system writes into ov and data until then.
            ok = GetOverlappedResult(h_, &ov, &done, TRUE);
            code = ok ? ERROR_SUCCESS : GetLastError();
        }
        CloseHandle(ov.hEvent);
        if (ok) return true;
        if (code != ERROR_BROKEN_PIPE && code != ERROR_OPERATION_ABORTED && code != ERROR_PIPE_NOT_CONNECTED)
            error = lf_lastError(code);
        return false;
    }
    HANDLE h_;
    HANDLE stopEvent_;  // manual reset: set once by shutdown() and stays set
    std::atomic<bool> stopped_{false};
};

}  // namespace

std::unique_ptr<ByteLink> gf_connectSocket(bool ipv6, const std::string& address, const std::string& port,
                                           bool disableNagle, std::string& error) {
    lf_startWinsock();
    if (!winsockUp) {
        error = "WSAStartup failed";
        return nullptr;
    }
    addrinfo hints{};
    hints.ai_family = ipv6 ? AF_INET6 : AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo* list = nullptr;
    if (getaddrinfo(address.c_str(), port.c_str(), &hints, &list) != 0) {
        error = fmt::format("address \"{}\" port \"{}\" not found", address, port);
        return nullptr;
    }
    SOCKET s = INVALID_SOCKET;
    for (addrinfo* ai = list; ai != nullptr && s == INVALID_SOCKET; ai = ai->ai_next) {
        s = socket(ai->ai_family, ai->ai_socktype, ai->ai_protocol);
        if (s == INVALID_SOCKET) continue;
        if (connect(s, ai->ai_addr, static_cast<int>(ai->ai_addrlen)) == SOCKET_ERROR) {
            error = lf_lastError(static_cast<DWORD>(WSAGetLastError()));
            closesocket(s);
            s = INVALID_SOCKET;
        }
    }
    freeaddrinfo(list);
    if (s == INVALID_SOCKET) return nullptr;
    if (disableNagle) {
        BOOL one = TRUE;
        setsockopt(s, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char*>(&one), sizeof one);
    }
    return std::make_unique<WinSocketLink>(s);
}

bool gf_havePipes() { return true; }

std::unique_ptr<ByteLink> gf_connectPipe(const std::string& host, const std::string& pipeName, std::string& error) {
    std::string name = pipeName.empty() ? fmt::format("\\\\{}\\pipe\\Lockheed Martin Prepar3D v5\\SimConnect", host)
                                        : fmt::format("\\\\{}\\pipe\\{}", host, pipeName);
    std::u16string wide = gf_utf8ToUtf16(name);
    const auto* wname = reinterpret_cast<const wchar_t*>(wide.c_str());
    for (;;) {
        HANDLE h =
            CreateFileW(wname, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        if (h != INVALID_HANDLE_VALUE) return std::make_unique<PipeLink>(h);
        DWORD code = GetLastError();
        if (code != ERROR_PIPE_BUSY || !WaitNamedPipeW(wname, kPipeBusyWaitMs)) {
            error = fmt::format("pipe \"{}\": {}", name, lf_lastError(code));
            return nullptr;
        }
    }
}

void gf_win32NotifyOwner(HWND window, DWORD userEvent, HANDLE eventHandle) {
    if (window != nullptr) PostMessageW(window, userEvent, 0, 0);
    if (eventHandle != nullptr) SetEvent(eventHandle);
}

#endif
