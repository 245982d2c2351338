// tools/simdouble/tcp_server.h — serves a SimDouble over TCP, IPv4 and IPv6, on one thread of its own
// (BSD sockets, or Winsock in the Windows build of the double).
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

#include "tools/simdouble/sim_host.h"

namespace simdouble {

#ifdef _WIN32
using SocketFd = unsigned long long;  // Winsock's SOCKET
#else
using SocketFd = int;
#endif

class TcpServer : public SimHost {
public:
    TcpServer(SimDouble& sim, bool realTime);
    ~TcpServer();

    // Listens on an address ("127.0.0.1", "::1", "0.0.0.0", "::") and port (0: any free one).
    // Returns the port, or 0 with the reason in error.
    uint16_t listen(const std::string& address, uint16_t port, std::string& error);
    void start();
    void stop();
    size_t clients();

    struct Client;

private:
    void loop();
    void serviceOnce(int timeoutMs);
    std::vector<SocketFd> listeners_;
    std::map<SocketFd, std::unique_ptr<Client>> clients_;  // by socket
    std::atomic<bool> stop_{false};
    std::thread thread_;
    int wakePipe_[2] = {-1, -1};  // POSIX: wakes the poll at stop; Windows waits out one beat instead
};

}  // namespace simdouble
