// simlink/handlers.h — the handlers of the simulator link that its files share: what SimClient's dispatch
// calls for each message, and the session's setup and close. SimClient's thread only; tests call them to
// feed a message without a simulator. Other subsystems use simlink/state.h instead.
#pragma once

#include <cstdint>

#include "simlink/queues.h"
#include "simlink/transport/simconnect.h"

// session.cpp
void CALLBACK lf_simDispatch(SIMCONNECT_RECV* message, DWORD size, void* context);  // exceptions pass through
void lf_onOpen(const SIMCONNECT_RECV_OPEN& message);
void lf_onException(const SIMCONNECT_RECV_EXCEPTION& message);
void lf_closeSimConnect();

// vocabulary.cpp
void lf_setupSimConnect();

// user.cpp: the payload of a SIMOBJECT_DATA message is `size` - 40 bytes.
void lf_onUserTitle(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size);
void lf_onUserModel(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size);
void lf_onUserOnGround(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size);
void lf_onUserSnapshot(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size);

// objects.cpp
void lf_onFrame();
void lf_createObject(const CreateRequest& request);
void lf_removeObject(uint32_t objectId);
void lf_onObjectDataByType(const SIMCONNECT_RECV_SIMOBJECT_DATA& message, DWORD size);
void lf_onObjectAdded(uint32_t objectId);
void lf_onObjectRemoved(uint32_t objectId);
bool lf_takePendingByPacket(uint32_t packetId, uint32_t& hexid);

// Offset of the payload in a SIMOBJECT_DATA message.
constexpr DWORD kDataPayloadOffset = 40;
