// service/session.h — login and logout at the traffic service, and the reset of both readers.
#pragma once

#include <atomic>

#include <cstdint>

#include "service/client.h"

// The login exchange on `client`; true when a session was set up, else `status` holds the refusal.
bool lf_authenticate(RtClient& client, int32_t& status);
// Logs in on the weather side and hands the GUID to the Traffic Reader. Throws on a refusal:
// zel::UserErrorException (402, 404, 405) after 10 s, zel::SysErrorException 500 at once.
void gf_rtLogin(RtClient& client);
// Ends the session when there is one. Throws nothing.
void gf_rtLogout();
// Both sides back to "no session" for a new run.
void gf_resetReaders();
// The end of a reader thread that left its loop with `code`: its lamp goes off, the reason is logged
// (with the mark when `mark`), and unless it was asked to stop (9999) the other reader stops too and the
// run restarts (401) or ends at the next 30th tick.
void gf_readerEnded(const char* side, std::atomic<int32_t>& lamp, RtClient& other, int32_t code, bool mark);
