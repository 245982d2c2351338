#include "tools/simdouble/tcp_server.h"

#ifdef _WIN32
#include <winsock2.h>
#include <ws2tcpip.h>
#else
#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#endif

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fmt/format.h>

namespace simdouble {

constexpr int kPollMs = 2;  // the loop's beat: frames are due every 16 to 33 ms

namespace {
#ifdef _WIN32
constexpr int kNoSignal = 0;  // Winsock raises no signal on a broken connection
constexpr int kCloexec = 0;
void lf_closeSocket(SocketFd s) { ::closesocket(s); }
int lf_poll(pollfd* fds, size_t n, int ms) { return ::WSAPoll(fds, static_cast<ULONG>(n), ms); }
SocketFd lf_accept(SocketFd s) { return ::accept(s, nullptr, nullptr); }
bool lf_valid(SocketFd s) { return s != INVALID_SOCKET; }
std::string lf_socketError() { return fmt::format("Winsock error {}", ::WSAGetLastError()); }
#else
constexpr int kNoSignal = MSG_NOSIGNAL;
constexpr int kCloexec = SOCK_CLOEXEC;
void lf_closeSocket(SocketFd s) { ::close(s); }
int lf_poll(pollfd* fds, size_t n, int ms) { return ::poll(fds, n, ms); }
SocketFd lf_accept(SocketFd s) { return ::accept4(s, nullptr, nullptr, SOCK_CLOEXEC); }
bool lf_valid(SocketFd s) { return s >= 0; }
std::string lf_socketError() { return std::strerror(errno); }
#endif
// setsockopt takes the value as char* on Windows, void* elsewhere.
template <typename T>
void lf_setOption(SocketFd s, int level, int name, const T& value) {
    ::setsockopt(s, level, name, reinterpret_cast<const char*>(&value), sizeof value);
}
}  // namespace

struct TcpServer::Client final : Peer {
    SocketFd fd{};
    uint32_t connection = 0;
    bool closed = false;
    void send(const uint8_t* data, size_t n) override {
        while (n > 0 && !closed) {
            const auto k = ::send(fd, reinterpret_cast<const char*>(data), static_cast<int>(n), kNoSignal);
            if (k < 0) {
#ifndef _WIN32
                if (errno == EINTR) continue;
#endif
                closed = true;  // the client went away; the loop notices on its next read
                return;
            }
            data += k;
            n -= static_cast<size_t>(k);
        }
    }
    void close(bool abrupt) override {
        if (closed) return;
        closed = true;
        if (abrupt) {
            linger l{1, 0};  // a reset, not an orderly end
            lf_setOption(fd, SOL_SOCKET, SO_LINGER, l);
        } else {
#ifdef _WIN32
            ::shutdown(fd, SD_SEND);
#else
            ::shutdown(fd, SHUT_WR);
#endif
        }
    }
};

TcpServer::TcpServer(SimDouble& sim, bool realTime) : SimHost(sim, realTime) {
#ifdef _WIN32
    WSADATA data;
    ::WSAStartup(MAKEWORD(2, 2), &data);
#else
    if (::pipe(wakePipe_) != 0) wakePipe_[0] = wakePipe_[1] = -1;
#endif
}

TcpServer::~TcpServer() {
    stop();
    for (SocketFd fd : listeners_) lf_closeSocket(fd);
    for (auto& [fd, c] : clients_) lf_closeSocket(fd);
#ifdef _WIN32
    ::WSACleanup();
#else
    if (wakePipe_[0] >= 0) {
        ::close(wakePipe_[0]);
        ::close(wakePipe_[1]);
    }
#endif
}

uint16_t TcpServer::listen(const std::string& address, uint16_t port, std::string& error) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_PASSIVE | AI_NUMERICHOST;
    addrinfo* list = nullptr;
    std::string portText = std::to_string(port);
    int rc = ::getaddrinfo(address.c_str(), portText.c_str(), &hints, &list);
    if (rc != 0) {
        error = fmt::format("address \"{}\": {}", address, ::gai_strerror(rc));
        return 0;
    }
    const SocketFd fd = ::socket(list->ai_family, SOCK_STREAM | kCloexec, 0);
    const int one = 1;
#ifndef _WIN32
    lf_setOption(fd, SOL_SOCKET, SO_REUSEADDR, one);  // on Windows it would let two servers share a port
#endif
    if (list->ai_family == AF_INET6) lf_setOption(fd, IPPROTO_IPV6, IPV6_V6ONLY, one);
    if (!lf_valid(fd) || ::bind(fd, list->ai_addr, static_cast<int>(list->ai_addrlen)) != 0 || ::listen(fd, 16) != 0) {
        error = fmt::format("listen on [{}]:{}: {}", address, port, lf_socketError());
        if (lf_valid(fd)) lf_closeSocket(fd);
        ::freeaddrinfo(list);
        return 0;
    }
    ::freeaddrinfo(list);
    sockaddr_storage bound{};
    socklen_t len = sizeof bound;
    ::getsockname(fd, reinterpret_cast<sockaddr*>(&bound), &len);
    uint16_t p = bound.ss_family == AF_INET6 ? ntohs(reinterpret_cast<sockaddr_in6*>(&bound)->sin6_port)
                                             : ntohs(reinterpret_cast<sockaddr_in*>(&bound)->sin_port);
    std::lock_guard lock(lock_);
    listeners_.push_back(fd);
    return p;
}

void TcpServer::start() {
    stop_ = false;
    thread_ = std::thread([this] { loop(); });
}

void TcpServer::stop() {
    stop_ = true;
#ifndef _WIN32
    if (wakePipe_[1] >= 0) {
        char b = 0;
        [[maybe_unused]] ssize_t k = ::write(wakePipe_[1], &b, 1);
    }
#endif
    if (thread_.joinable()) thread_.join();
}

size_t TcpServer::clients() {
    std::lock_guard lock(lock_);
    return clients_.size();
}

void TcpServer::loop() {
    auto last = std::chrono::steady_clock::now();
    while (!stop_) {
        serviceOnce(kPollMs);
        std::lock_guard lock(lock_);
        followClock(last);
    }
}

void TcpServer::serviceOnce(int timeoutMs) {
    std::vector<pollfd> fds;
    {
        std::lock_guard lock(lock_);
        // Connections the double closed or dropped end here.
        for (auto it = clients_.begin(); it != clients_.end();) {
            if (it->second->closed) {
                sim_.removeConnection(it->second->connection);
                lf_closeSocket(it->first);
                it = clients_.erase(it);
            } else {
                ++it;
            }
        }
        for (SocketFd fd : listeners_) fds.push_back({fd, POLLIN, 0});
        for (auto& [fd, c] : clients_) fds.push_back({fd, POLLIN, 0});
    }
    const size_t sockets = fds.size();
#ifndef _WIN32
    if (wakePipe_[0] >= 0) fds.push_back({wakePipe_[0], POLLIN, 0});
#endif
    if (fds.empty()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(timeoutMs));
        return;
    }
    if (lf_poll(fds.data(), fds.size(), timeoutMs) <= 0) return;
    std::lock_guard lock(lock_);
    uint8_t buffer[65536];
    for (size_t i = 0; i < sockets; ++i) {
        const pollfd& p = fds[i];
        if (p.revents == 0) continue;
        if (std::find(listeners_.begin(), listeners_.end(), p.fd) != listeners_.end()) {
            const SocketFd fd = lf_accept(p.fd);
            if (!lf_valid(fd)) continue;
            lf_setOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
            auto c = std::make_unique<Client>();
            c->fd = fd;
            c->connection = sim_.addConnection(c.get());
            clients_[fd] = std::move(c);
            continue;
        }
        auto it = clients_.find(p.fd);
        if (it == clients_.end()) continue;
        Client& c = *it->second;
        const auto n = c.closed ? 0 : ::recv(p.fd, reinterpret_cast<char*>(buffer), sizeof buffer, 0);
        if (n > 0) sim_.receive(c.connection, buffer, static_cast<size_t>(n));
        if (n <= 0 || c.closed) {
            sim_.removeConnection(c.connection);
            lf_closeSocket(p.fd);
            clients_.erase(it);
        }
    }
}

}  // namespace simdouble
