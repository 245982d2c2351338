// tools/simdouble/tcp_server.h — serves a SimDouble over TCP, IPv4 and IPv6, on one thread of its own.
// The double is used only under the server's lock: withSim() lets a test or the executable look inside.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "tools/simdouble/simdouble.h"

namespace simdouble {

class TcpServer {
public:
    // realTime: simulator time follows the steady clock; otherwise only advance() moves it.
    TcpServer(SimDouble& sim, bool realTime);
    ~TcpServer();

    // Listens on an address ("127.0.0.1", "::1", "0.0.0.0", "::") and port (0: any free one).
    // Returns the port, or 0 with the reason in error.
    uint16_t listen(const std::string& address, uint16_t port, std::string& error);
    void start();
    void stop();

    void advance(int64_t ms);
    template <typename F>
    auto withSim(F&& f) {
        std::lock_guard lock(lock_);
        return f(sim_);
    }
    size_t clients();

    struct Client;

private:
    void loop();
    void serviceOnce(int timeoutMs);
    SimDouble& sim_;
    bool realTime_;
    std::mutex lock_;  // guards sim_ and clients_
    std::vector<int> listeners_;
    std::map<int, std::unique_ptr<Client>> clients_;  // by socket
    std::atomic<bool> stop_{false};
    std::thread thread_;
    int wakePipe_[2] = {-1, -1};
};

}  // namespace simdouble
