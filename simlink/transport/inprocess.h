// simlink/transport/inprocess.h — the third transport, for tests and tools: the session talks to a
// server object in the same process, without threads or sockets. A packet sent is handled by the server
// before the SimConnect call returns; what the server says waits in the session's queue for
// SimConnect_CallDispatch. So a test steps client, program and simulator together, deterministically.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

// The client's end as the server sees it.
class InProcessClient {
public:
    virtual ~InProcessClient() = default;
    virtual void toClient(const uint8_t* data, size_t n) = 0;  // bytes of the server's messages
    virtual void drop() = 0;  // ends the connection; the client's next dispatch reports the failure
};

// One connection as the server handles it.
class InProcessConnection {
public:
    virtual ~InProcessConnection() = default;
    virtual void fromClient(const uint8_t* data, size_t n) = 0;  // exactly one whole packet
    virtual void clientClosed() = 0;  // SimConnect_Close; the InProcessClient is gone after this
};

class InProcessServer {
public:
    virtual ~InProcessServer() = default;
    virtual std::unique_ptr<InProcessConnection> connect(InProcessClient& client) = 0;
};

// While a server is set, SimConnect_Open connects to it instead of reading the transports of
// SimConnect.cfg (its section and MaxReceiveSize still count). nullptr returns to the real transports.
void gf_setInProcessServer(InProcessServer* server);
InProcessServer* gf_inProcessServer();
