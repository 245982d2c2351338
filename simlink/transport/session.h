// simlink/transport/session.h — the client's sessions beyond the public SimConnect calls: hooks for tests
// and tools, and the transport's reset.
#pragma once

#include <cstdint>
#include <string>

#include "simlink/transport/config.h"
#include "simlink/transport/simconnect.h"

// Sets the serial that the last packet carried, so that the next one carries value + 1 (tests of the wrap).
bool gf_setLastSentPacketId(HANDLE handle, uint32_t value);
// "IPv4", "IPv6", "Pipe" or "InProcess"; empty for an unknown handle.
std::string gf_sessionTransportName(HANDLE handle);
// The reason the connection ended, empty while it is up.
std::string gf_sessionFailure(HANDLE handle);
// Messages waiting for SimConnect_CallDispatch.
size_t gf_sessionQueued(HANDLE handle);
// Back to a fresh process: the "nothing to try" note may be logged again, test folders are forgotten.
void gf_resetSimConnectTransport();
