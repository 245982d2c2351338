// tools/simdouble/pipe_server.h — serves a SimDouble on a named pipe, as Prepar3D does on the same machine
// ("\\.\pipe\<name>"). Windows only: one thread waits for connections and reads from every client.
#pragma once
#ifdef _WIN32

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/simdouble/sim_host.h"

struct _OVERLAPPED;

namespace simdouble {

class PipeServer : public SimHost {
public:
    PipeServer(SimDouble& sim, bool realTime);
    ~PipeServer();

    // The pipe "\\.\pipe\<name>"; false with the reason in error. Call before start().
    bool listen(const std::string& name, std::string& error);
    void start();
    void stop();
    size_t clients();

    struct Client;

private:
    void loop();
    bool armListener();
    std::wstring name_;
    std::vector<std::unique_ptr<Client>> clients_;
    void* listener_ = nullptr;      // HANDLE: the pipe instance waiting for the next client
    void* connectEvent_ = nullptr;  // HANDLE: signalled when a client takes it
    void* wakeEvent_ = nullptr;     // HANDLE: signalled by stop()
    std::unique_ptr<_OVERLAPPED> connectOv_;
    std::atomic<bool> stop_{false};
    std::thread thread_;
};

}  // namespace simdouble

#endif
