// The simulator double on a named pipe: overlapped instances of one pipe name, served by one thread that
// waits on the listener, the reads of all clients and its wake event at once.
#ifdef _WIN32

#define WIN32_LEAN_AND_MEAN
#define NOMINMAX
#include <windows.h>

#include <chrono>

#include <fmt/format.h>

#include "platform/platform.h"
#include "tools/simdouble/pipe_server.h"

namespace simdouble {

namespace {
constexpr DWORD kBeatMs = 2;          // the loop's beat, as the TCP server's
constexpr DWORD kPipeBuffer = 65536;  // each direction
}  // namespace

struct PipeServer::Client final : Peer {
    HANDLE pipe = INVALID_HANDLE_VALUE;
    OVERLAPPED readOv{};
    uint8_t buffer[kPipeBuffer];
    bool reading = false;
    bool closed = false;
    uint32_t connection = 0;

    ~Client() override {
        if (reading) {
            CancelIoEx(pipe, &readOv);
            DWORD n = 0;
            GetOverlappedResult(pipe, &readOv, &n, TRUE);
        }
        CloseHandle(pipe);
        CloseHandle(readOv.hEvent);
    }
    // Writes are waited for: the client's reader thread empties the pipe.
    void send(const uint8_t* data, size_t n) override {
        while (n > 0 && !closed) {
            OVERLAPPED ov{};
            ov.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
            DWORD done = 0;
            BOOL ok = WriteFile(pipe, data, static_cast<DWORD>(n), nullptr, &ov);
            if (ok || GetLastError() == ERROR_IO_PENDING) ok = GetOverlappedResult(pipe, &ov, &done, TRUE);
            CloseHandle(ov.hEvent);
            if (!ok) {
                closed = true;
                return;
            }
            data += done;
            n -= done;
        }
    }
    // A pipe has no reset: either end is a disconnection, which the client sees as a broken pipe.
    void close(bool) override {
        if (closed) return;
        closed = true;
        DisconnectNamedPipe(pipe);
    }
    // Starts the next read; false when the pipe has ended.
    bool armRead() {
        ResetEvent(readOv.hEvent);
        if (ReadFile(pipe, buffer, sizeof buffer, nullptr, &readOv) || GetLastError() == ERROR_IO_PENDING) {
            reading = true;
            return true;
        }
        return false;
    }
};

PipeServer::PipeServer(SimDouble& sim, bool realTime)
    : SimHost(sim, realTime), connectOv_(std::make_unique<OVERLAPPED>()) {
    connectEvent_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    wakeEvent_ = CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

PipeServer::~PipeServer() {
    stop();
    clients_.clear();
    if (listener_ != nullptr) {
        CancelIoEx(listener_, connectOv_.get());
        CloseHandle(listener_);
    }
    CloseHandle(connectEvent_);
    CloseHandle(wakeEvent_);
}

bool PipeServer::listen(const std::string& name, std::string& error) {
    const std::u16string wide = gf_utf8ToUtf16("\\\\.\\pipe\\" + name);
    name_.assign(wide.begin(), wide.end());
    if (!armListener()) {
        error = fmt::format("pipe \"{}\": system error {}", name, GetLastError());
        return false;
    }
    return true;
}

// A fresh instance that waits for the next client.
bool PipeServer::armListener() {
    HANDLE h = CreateNamedPipeW(name_.c_str(), PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED,
                                PIPE_TYPE_BYTE | PIPE_READMODE_BYTE | PIPE_WAIT, PIPE_UNLIMITED_INSTANCES, kPipeBuffer,
                                kPipeBuffer, 0, nullptr);
    if (h == INVALID_HANDLE_VALUE) return false;
    listener_ = h;
    *connectOv_ = OVERLAPPED{};
    connectOv_->hEvent = connectEvent_;
    ResetEvent(connectEvent_);
    if (!ConnectNamedPipe(h, connectOv_.get())) {
        const DWORD code = GetLastError();
        if (code == ERROR_PIPE_CONNECTED) {
            SetEvent(connectEvent_);  // the client came between the two calls
        } else if (code != ERROR_IO_PENDING) {
            CloseHandle(h);
            listener_ = nullptr;
            return false;
        }
    }
    return true;
}

void PipeServer::start() {
    stop_ = false;
    ResetEvent(wakeEvent_);
    thread_ = std::thread([this] { loop(); });
}

void PipeServer::stop() {
    stop_ = true;
    SetEvent(wakeEvent_);
    if (thread_.joinable()) thread_.join();
}

size_t PipeServer::clients() {
    std::lock_guard lock(lock_);
    return clients_.size();
}

void PipeServer::loop() {
    auto last = std::chrono::steady_clock::now();
    while (!stop_) {
        std::vector<HANDLE> waits{wakeEvent_};
        {
            std::lock_guard lock(lock_);
            if (listener_ != nullptr) waits.push_back(connectEvent_);
            for (auto& c : clients_)
                if (c->reading && waits.size() < MAXIMUM_WAIT_OBJECTS) waits.push_back(c->readOv.hEvent);
        }
        WaitForMultipleObjects(static_cast<DWORD>(waits.size()), waits.data(), FALSE, kBeatMs);
        std::lock_guard lock(lock_);
        if (listener_ != nullptr && WaitForSingleObject(connectEvent_, 0) == WAIT_OBJECT_0) {
            auto c = std::make_unique<Client>();
            c->pipe = listener_;
            listener_ = nullptr;
            c->readOv.hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
            c->connection = sim_.addConnection(c.get());
            if (c->armRead()) {
                clients_.push_back(std::move(c));
            } else {
                sim_.removeConnection(c->connection);
            }
            armListener();
        }
        for (auto& c : clients_) {
            if (c->closed || !c->reading || WaitForSingleObject(c->readOv.hEvent, 0) != WAIT_OBJECT_0) continue;
            c->reading = false;
            DWORD n = 0;
            if (!GetOverlappedResult(c->pipe, &c->readOv, &n, FALSE)) {
                c->closed = true;
                continue;
            }
            if (n > 0) sim_.receive(c->connection, c->buffer, n);
            if (!c->closed && !c->armRead()) c->closed = true;
        }
        // Connections that ended, or that the double closed, end here.
        for (auto it = clients_.begin(); it != clients_.end();) {
            if ((*it)->closed) {
                sim_.removeConnection((*it)->connection);
                it = clients_.erase(it);
            } else {
                ++it;
            }
        }
        followClock(last);
    }
}

}  // namespace simdouble

#endif
