// Sockets and (absent) named pipes on POSIX systems.
#ifndef _WIN32

#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include <fmt/format.h>

#include "simlink/transport/transport.h"

namespace {

constexpr int kConnectTimeoutMs = 3000;  // a remote simulator that does not answer must not hang SimClient

class SocketLink final : public ByteLink {
public:
    explicit SocketLink(int fd) : fd_(fd) {}
    ~SocketLink() override { ::close(fd_); }
    bool writeAll(const uint8_t* data, size_t n, std::string& error) override {
        while (n > 0) {
            ssize_t k = ::send(fd_, data, n, MSG_NOSIGNAL);
            if (k < 0) {
                if (errno == EINTR) continue;
                error = std::strerror(errno);
                return false;
            }
            data += k;
            n -= static_cast<size_t>(k);
        }
        return true;
    }
    long readSome(uint8_t* data, size_t n, std::string& error) override {
        for (;;) {
            ssize_t k = ::recv(fd_, data, n, 0);
            if (k < 0 && errno == EINTR) continue;
            if (k < 0) error = std::strerror(errno);
            return static_cast<long>(k);
        }
    }
    void shutdown() override { ::shutdown(fd_, SHUT_RDWR); }

private:
    int fd_;
};

int lf_connectWithTimeout(const addrinfo* ai, std::string& error) {
    int fd = ::socket(ai->ai_family, ai->ai_socktype | SOCK_CLOEXEC, ai->ai_protocol);
    if (fd < 0) {
        error = std::strerror(errno);
        return -1;
    }
    int flags = ::fcntl(fd, F_GETFL, 0);
    ::fcntl(fd, F_SETFL, flags | O_NONBLOCK);
    int rc = ::connect(fd, ai->ai_addr, ai->ai_addrlen);
    if (rc < 0 && errno == EINPROGRESS) {
        pollfd p{fd, POLLOUT, 0};
        rc = ::poll(&p, 1, kConnectTimeoutMs);
        if (rc == 0) {
            error = "connect timed out";
            ::close(fd);
            return -1;
        }
        int soError = 0;
        socklen_t len = sizeof soError;
        ::getsockopt(fd, SOL_SOCKET, SO_ERROR, &soError, &len);
        if (rc < 0 || soError != 0) {
            error = std::strerror(rc < 0 ? errno : soError);
            ::close(fd);
            return -1;
        }
    } else if (rc < 0) {
        error = std::strerror(errno);
        ::close(fd);
        return -1;
    }
    ::fcntl(fd, F_SETFL, flags);
    return fd;
}

}  // namespace

std::unique_ptr<ByteLink> gf_connectSocket(bool ipv6, const std::string& address, const std::string& port,
                                           bool disableNagle, std::string& error) {
    addrinfo hints{};
    hints.ai_family = ipv6 ? AF_INET6 : AF_INET;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_protocol = IPPROTO_TCP;
    addrinfo* list = nullptr;
    int rc = ::getaddrinfo(address.c_str(), port.c_str(), &hints, &list);
    if (rc != 0) {
        error = fmt::format("address \"{}\" port \"{}\": {}", address, port, ::gai_strerror(rc));
        return nullptr;
    }
    int fd = -1;
    for (addrinfo* ai = list; ai != nullptr && fd < 0; ai = ai->ai_next) fd = lf_connectWithTimeout(ai, error);
    ::freeaddrinfo(list);
    if (fd < 0) return nullptr;
    if (disableNagle) {
        int one = 1;
        ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    }
    return std::make_unique<SocketLink>(fd);
}

bool gf_havePipes() { return false; }

std::unique_ptr<ByteLink> gf_connectPipe(const std::string&, const std::string&, std::string& error) {
    error = "no named pipes on this system";
    return nullptr;
}

#endif
