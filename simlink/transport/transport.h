// simlink/transport/transport.h — what a session needs from a connection, and the connections there are:
// a byte stream (socket or named pipe) with one writer and one reader thread, or the in-process link.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "simlink/transport/config.h"

using PacketBlock = std::shared_ptr<const std::vector<uint8_t>>;

// Where a transport delivers what it receives. Called on the transport's reader (or, in process, on
// whichever thread made the server speak); never calls the client's own code.
class Inbound {
public:
    virtual ~Inbound() = default;
    virtual void onMessage(std::vector<uint8_t>&& message) = 0;  // one whole message, size field first
    virtual void onFailure(const std::string& why) = 0;          // the connection has ended
};

class Transport {
public:
    virtual ~Transport() = default;
    // Queues one packet and returns at once; packets leave in the order of these calls.
    virtual void send(PacketBlock block) = 0;
    // Lets queued packets leave (briefly), then ends the connection and its threads. No Inbound call
    // comes after it returns.
    virtual void close() = 0;
    virtual const char* name() const = 0;  // "IPv4", "IPv6", "Pipe", "InProcess"
};

// A connected byte stream, blocking calls. shutdown() wakes a blocked read or write from another thread.
class ByteLink {
public:
    virtual ~ByteLink() = default;
    virtual bool writeAll(const uint8_t* data, size_t n, std::string& error) = 0;
    // Bytes read, 0 at the peer's orderly end, -1 on failure (error says why).
    virtual long readSome(uint8_t* data, size_t n, std::string& error) = 0;
    virtual void shutdown() = 0;
};

// Runs a writer and a reader thread over a link; the reader frames messages with maxReceiveSize.
std::unique_ptr<Transport> gf_makeStreamTransport(std::unique_ptr<ByteLink> link, const char* name, Inbound& inbound,
                                                  uint32_t maxReceiveSize);

// Socket connect (IPv4 or IPv6 by `ipv6`); nullptr with the reason in error. Each platform has one.
std::unique_ptr<ByteLink> gf_connectSocket(bool ipv6, const std::string& address, const std::string& port,
                                           bool disableNagle, std::string& error);
// Named pipe "\\host\pipe\name"; nullptr where the platform has none.
std::unique_ptr<ByteLink> gf_connectPipe(const std::string& host, const std::string& pipeName, std::string& error);
bool gf_havePipes();
