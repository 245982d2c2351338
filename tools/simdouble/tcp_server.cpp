#include "tools/simdouble/tcp_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>

#include <fmt/format.h>

namespace simdouble {

constexpr int kPollMs = 2;  // the loop's beat: frames are due every 16 to 33 ms

struct TcpServer::Client final : Peer {
    int fd = -1;
    uint32_t connection = 0;
    bool closed = false;
    void send(const uint8_t* data, size_t n) override {
        while (n > 0 && !closed) {
            ssize_t k = ::send(fd, data, n, MSG_NOSIGNAL);
            if (k < 0) {
                if (errno == EINTR) continue;
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
            ::setsockopt(fd, SOL_SOCKET, SO_LINGER, &l, sizeof l);
        } else {
            ::shutdown(fd, SHUT_WR);
        }
    }
};

TcpServer::TcpServer(SimDouble& sim, bool realTime) : sim_(sim), realTime_(realTime) {
    if (::pipe(wakePipe_) != 0) wakePipe_[0] = wakePipe_[1] = -1;
}

TcpServer::~TcpServer() {
    stop();
    for (int fd : listeners_) ::close(fd);
    for (auto& [fd, c] : clients_) ::close(fd);
    if (wakePipe_[0] >= 0) {
        ::close(wakePipe_[0]);
        ::close(wakePipe_[1]);
    }
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
    int fd = ::socket(list->ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int one = 1;
    ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (list->ai_family == AF_INET6) ::setsockopt(fd, IPPROTO_IPV6, IPV6_V6ONLY, &one, sizeof one);
    if (fd < 0 || ::bind(fd, list->ai_addr, list->ai_addrlen) != 0 || ::listen(fd, 16) != 0) {
        error = fmt::format("listen on [{}]:{}: {}", address, port, std::strerror(errno));
        if (fd >= 0) ::close(fd);
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
    if (wakePipe_[1] >= 0) {
        char b = 0;
        [[maybe_unused]] ssize_t k = ::write(wakePipe_[1], &b, 1);
    }
    if (thread_.joinable()) thread_.join();
}

void TcpServer::advance(int64_t ms) {
    std::lock_guard lock(lock_);
    sim_.advance(ms);
}

size_t TcpServer::clients() {
    std::lock_guard lock(lock_);
    return clients_.size();
}

void TcpServer::loop() {
    auto last = std::chrono::steady_clock::now();
    while (!stop_) {
        serviceOnce(kPollMs);
        if (realTime_) {
            auto now = std::chrono::steady_clock::now();
            auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(now - last).count();
            if (ms > 0) {
                last += std::chrono::milliseconds(ms);
                std::lock_guard lock(lock_);
                sim_.advance(ms);
            }
        }
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
                ::close(it->first);
                it = clients_.erase(it);
            } else {
                ++it;
            }
        }
        for (int fd : listeners_) fds.push_back({fd, POLLIN, 0});
        for (auto& [fd, c] : clients_) fds.push_back({fd, POLLIN, 0});
    }
    if (wakePipe_[0] >= 0) fds.push_back({wakePipe_[0], POLLIN, 0});
    if (::poll(fds.data(), fds.size(), timeoutMs) <= 0) return;
    std::lock_guard lock(lock_);
    uint8_t buffer[65536];
    for (const pollfd& p : fds) {
        if (p.revents == 0 || p.fd == wakePipe_[0]) continue;
        if (std::find(listeners_.begin(), listeners_.end(), p.fd) != listeners_.end()) {
            int fd = ::accept4(p.fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (fd < 0) continue;
            int one = 1;
            ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
            auto c = std::make_unique<Client>();
            c->fd = fd;
            c->connection = sim_.addConnection(c.get());
            clients_[fd] = std::move(c);
            continue;
        }
        auto it = clients_.find(p.fd);
        if (it == clients_.end()) continue;
        Client& c = *it->second;
        ssize_t n = c.closed ? 0 : ::recv(p.fd, buffer, sizeof buffer, 0);
        if (n > 0) sim_.receive(c.connection, buffer, static_cast<size_t>(n));
        if (n <= 0 || c.closed) {
            sim_.removeConnection(c.connection);
            ::close(p.fd);
            clients_.erase(it);
        }
    }
}

}  // namespace simdouble
