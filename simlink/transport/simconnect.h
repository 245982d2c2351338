// simlink/transport/simconnect.h — the SimConnect client interface of Prepar3D v5, implemented by this
// program itself: the public function names, argument lists, result codes, enumerations and the structures
// of the messages the simulator sends, so that code written against it reads like any SimConnect client.
// All wire structures are packed (no padding) and little-endian; the simulator's messages are cast to the
// SIMCONNECT_RECV_* structures after a check of dwID, and their dwSize is always trusted over sizeof.
#pragma once

#include <cstdint>

// ---- Windows base types, declared here without any Windows header ----
#ifdef _WIN32
typedef long HRESULT;
typedef unsigned long DWORD;
struct HWND__;
typedef HWND__* HWND;
#else
typedef int32_t HRESULT;
typedef uint32_t DWORD;
typedef void* HWND;
#endif
typedef void* HANDLE;
typedef int BOOL;
typedef const char* LPCSTR;
typedef uint64_t QWORD;

#ifndef CALLBACK
#ifdef _WIN32
#define CALLBACK __stdcall
#else
#define CALLBACK
#endif
#endif

#ifndef SUCCEEDED
#define SUCCEEDED(hr) (static_cast<HRESULT>(hr) >= 0)
#endif
#ifndef FAILED
#define FAILED(hr) (static_cast<HRESULT>(hr) < 0)
#endif
#ifndef S_OK
#define S_OK static_cast<HRESULT>(0)
#endif
#ifndef E_FAIL
#define E_FAIL static_cast<HRESULT>(0x80004005L)
#endif
#ifndef E_INVALIDARG
#define E_INVALIDARG static_cast<HRESULT>(0x80070057L)
#endif
// A text that does not fit its fixed-size field (ERROR_INSUFFICIENT_BUFFER as an HRESULT).
#ifndef E_NOT_SUFFICIENT_BUFFER
#define E_NOT_SUFFICIENT_BUFFER static_cast<HRESULT>(0x8007007AL)
#endif

#ifndef MAX_PATH
#define MAX_PATH 260
#endif

// ---- Ids the client chooses ----
typedef DWORD SIMCONNECT_OBJECT_ID;
typedef DWORD SIMCONNECT_CLIENT_EVENT_ID;
typedef DWORD SIMCONNECT_NOTIFICATION_GROUP_ID;
typedef DWORD SIMCONNECT_DATA_DEFINITION_ID;
typedef DWORD SIMCONNECT_DATA_REQUEST_ID;
typedef DWORD SIMCONNECT_INPUT_GROUP_ID;
typedef DWORD SIMCONNECT_CLIENT_DATA_ID;
typedef DWORD SIMCONNECT_CLIENT_DATA_DEFINITION_ID;

// ---- Constants ----
inline constexpr DWORD SIMCONNECT_UNUSED = 0xFFFFFFFFu;                  // a field or datum id not used
inline constexpr DWORD SIMCONNECT_OBJECT_ID_USER = 0;                    // the user aircraft, in requests only
inline constexpr DWORD SIMCONNECT_OPEN_CONFIGINDEX_LOCAL = 0xFFFFFFFFu;  // no SimConnect.cfg: this machine
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_HIGHEST = 1;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_HIGHEST_MASKABLE = 10000000;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_STANDARD = 1900000000;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_DEFAULT = 2000000000;
inline constexpr DWORD SIMCONNECT_GROUP_PRIORITY_LOWEST = 4000000000u;
inline constexpr DWORD SIMCONNECT_CLIENTDATA_MAX_SIZE = 8192;
inline constexpr DWORD INITPOSITION_AIRSPEED_CRUISE = 0xFFFFFFFFu;  // the model's cruise speed
inline constexpr DWORD INITPOSITION_AIRSPEED_KEEP = 0xFFFFFFFEu;
inline constexpr DWORD SIMCONNECT_STATE_OFF = 0;
inline constexpr DWORD SIMCONNECT_STATE_ON = 1;

// ---- Enumerations (4 bytes each on the wire) ----
enum SIMCONNECT_RECV_ID : DWORD {
    SIMCONNECT_RECV_ID_NULL = 0,
    SIMCONNECT_RECV_ID_EXCEPTION = 1,
    SIMCONNECT_RECV_ID_OPEN = 2,
    SIMCONNECT_RECV_ID_QUIT = 3,
    SIMCONNECT_RECV_ID_EVENT = 4,
    SIMCONNECT_RECV_ID_EVENT_OBJECT_ADDREMOVE = 5,
    SIMCONNECT_RECV_ID_EVENT_FILENAME = 6,
    SIMCONNECT_RECV_ID_EVENT_FRAME = 7,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA = 8,
    SIMCONNECT_RECV_ID_SIMOBJECT_DATA_BYTYPE = 9,
    SIMCONNECT_RECV_ID_WEATHER_OBSERVATION = 10,
    SIMCONNECT_RECV_ID_CLOUD_STATE = 11,
    SIMCONNECT_RECV_ID_ASSIGNED_OBJECT_ID = 12,
    SIMCONNECT_RECV_ID_RESERVED_KEY = 13,
    SIMCONNECT_RECV_ID_CUSTOM_ACTION = 14,
    SIMCONNECT_RECV_ID_SYSTEM_STATE = 15,
    SIMCONNECT_RECV_ID_CLIENT_DATA = 16,
    SIMCONNECT_RECV_ID_EVENT_WEATHER_MODE = 17,
    SIMCONNECT_RECV_ID_AIRPORT_LIST = 18,
    SIMCONNECT_RECV_ID_VOR_LIST = 19,
    SIMCONNECT_RECV_ID_NDB_LIST = 20,
    SIMCONNECT_RECV_ID_WAYPOINT_LIST = 21,
    SIMCONNECT_RECV_ID_VERSION = 38,
    SIMCONNECT_RECV_ID_EVENT_64 = 67,
};

enum SIMCONNECT_DATATYPE : DWORD {
    SIMCONNECT_DATATYPE_INVALID = 0,
    SIMCONNECT_DATATYPE_INT32 = 1,
    SIMCONNECT_DATATYPE_INT64 = 2,
    SIMCONNECT_DATATYPE_FLOAT32 = 3,
    SIMCONNECT_DATATYPE_FLOAT64 = 4,
    SIMCONNECT_DATATYPE_STRING8 = 5,
    SIMCONNECT_DATATYPE_STRING32 = 6,
    SIMCONNECT_DATATYPE_STRING64 = 7,
    SIMCONNECT_DATATYPE_STRING128 = 8,
    SIMCONNECT_DATATYPE_STRING256 = 9,
    SIMCONNECT_DATATYPE_STRING260 = 10,
    SIMCONNECT_DATATYPE_STRINGV = 11,
    SIMCONNECT_DATATYPE_INITPOSITION = 12,
    SIMCONNECT_DATATYPE_MARKERSTATE = 13,
    SIMCONNECT_DATATYPE_WAYPOINT = 14,
    SIMCONNECT_DATATYPE_LATLONALT = 15,
    SIMCONNECT_DATATYPE_XYZ = 16,
    SIMCONNECT_DATATYPE_PBH = 17,
};

enum SIMCONNECT_EXCEPTION : DWORD {
    SIMCONNECT_EXCEPTION_NONE = 0,
    SIMCONNECT_EXCEPTION_ERROR = 1,
    SIMCONNECT_EXCEPTION_SIZE_MISMATCH = 2,
    SIMCONNECT_EXCEPTION_UNRECOGNIZED_ID = 3,
    SIMCONNECT_EXCEPTION_UNOPENED = 4,
    SIMCONNECT_EXCEPTION_VERSION_MISMATCH = 5,
    SIMCONNECT_EXCEPTION_TOO_MANY_GROUPS = 6,
    SIMCONNECT_EXCEPTION_NAME_UNRECOGNIZED = 7,
    SIMCONNECT_EXCEPTION_TOO_MANY_EVENT_NAMES = 8,
    SIMCONNECT_EXCEPTION_EVENT_ID_DUPLICATE = 9,
    SIMCONNECT_EXCEPTION_TOO_MANY_MAPS = 10,
    SIMCONNECT_EXCEPTION_TOO_MANY_OBJECTS = 11,
    SIMCONNECT_EXCEPTION_TOO_MANY_REQUESTS = 12,
    SIMCONNECT_EXCEPTION_WEATHER_INVALID_PORT = 13,
    SIMCONNECT_EXCEPTION_WEATHER_INVALID_METAR = 14,
    SIMCONNECT_EXCEPTION_WEATHER_UNABLE_TO_GET_OBSERVATION = 15,
    SIMCONNECT_EXCEPTION_WEATHER_UNABLE_TO_CREATE_STATION = 16,
    SIMCONNECT_EXCEPTION_WEATHER_UNABLE_TO_REMOVE_STATION = 17,
    SIMCONNECT_EXCEPTION_INVALID_DATA_TYPE = 18,
    SIMCONNECT_EXCEPTION_INVALID_DATA_SIZE = 19,
    SIMCONNECT_EXCEPTION_DATA_ERROR = 20,
    SIMCONNECT_EXCEPTION_INVALID_ARRAY = 21,
    SIMCONNECT_EXCEPTION_CREATE_OBJECT_FAILED = 22,
    SIMCONNECT_EXCEPTION_LOAD_FLIGHTPLAN_FAILED = 23,
    SIMCONNECT_EXCEPTION_OPERATION_INVALID_FOR_OBJECT_TYPE = 24,
    SIMCONNECT_EXCEPTION_ILLEGAL_OPERATION = 25,
    SIMCONNECT_EXCEPTION_ALREADY_SUBSCRIBED = 26,
    SIMCONNECT_EXCEPTION_INVALID_ENUM = 27,
    SIMCONNECT_EXCEPTION_DEFINITION_ERROR = 28,
    SIMCONNECT_EXCEPTION_DUPLICATE_ID = 29,
    SIMCONNECT_EXCEPTION_DATUM_ID = 30,
    SIMCONNECT_EXCEPTION_OUT_OF_BOUNDS = 31,
    SIMCONNECT_EXCEPTION_ALREADY_CREATED = 32,
    SIMCONNECT_EXCEPTION_OBJECT_OUTSIDE_REALITY_BUBBLE = 33,
    SIMCONNECT_EXCEPTION_OBJECT_CONTAINER = 34,
    SIMCONNECT_EXCEPTION_OBJECT_AI = 35,
    SIMCONNECT_EXCEPTION_OBJECT_ATC = 36,
    SIMCONNECT_EXCEPTION_OBJECT_SCHEDULE = 37,
    SIMCONNECT_EXCEPTION_BLOCK_TIMEOUT = 38,
};

// Prepar3D numbering: HELICOPTER follows AIRPLANE, and AIRCRAFT is another name for AIRPLANE.
enum SIMCONNECT_SIMOBJECT_TYPE : DWORD {
    SIMCONNECT_SIMOBJECT_TYPE_USER = 0,
    SIMCONNECT_SIMOBJECT_TYPE_ALL = 1,
    SIMCONNECT_SIMOBJECT_TYPE_AIRPLANE = 2,
    SIMCONNECT_SIMOBJECT_TYPE_AIRCRAFT = 2,
    SIMCONNECT_SIMOBJECT_TYPE_HELICOPTER = 3,
    SIMCONNECT_SIMOBJECT_TYPE_BOAT = 4,
    SIMCONNECT_SIMOBJECT_TYPE_GROUND = 5,
    SIMCONNECT_SIMOBJECT_TYPE_WEAPON = 6,
};

enum SIMCONNECT_PERIOD : DWORD {
    SIMCONNECT_PERIOD_NEVER = 0,
    SIMCONNECT_PERIOD_ONCE = 1,
    SIMCONNECT_PERIOD_VISUAL_FRAME = 2,
    SIMCONNECT_PERIOD_SIM_FRAME = 3,
    SIMCONNECT_PERIOD_SECOND = 4,
};

typedef DWORD SIMCONNECT_DATA_REQUEST_FLAG;
inline constexpr DWORD SIMCONNECT_DATA_REQUEST_FLAG_DEFAULT = 0;
inline constexpr DWORD SIMCONNECT_DATA_REQUEST_FLAG_CHANGED = 0x1;  // only when a value changed
inline constexpr DWORD SIMCONNECT_DATA_REQUEST_FLAG_TAGGED = 0x2;
inline constexpr DWORD SIMCONNECT_DATA_REQUEST_FLAG_BLOCK = 0x4;

typedef DWORD SIMCONNECT_DATA_SET_FLAG;
inline constexpr DWORD SIMCONNECT_DATA_SET_FLAG_DEFAULT = 0;
inline constexpr DWORD SIMCONNECT_DATA_SET_FLAG_TAGGED = 0x1;
inline constexpr DWORD SIMCONNECT_DATA_SET_FLAG_UNBLOCK = 0x2;

typedef DWORD SIMCONNECT_EVENT_FLAG;
inline constexpr DWORD SIMCONNECT_EVENT_FLAG_DEFAULT = 0;
inline constexpr DWORD SIMCONNECT_EVENT_FLAG_FAST_REPEAT_TIMER = 0x1;
inline constexpr DWORD SIMCONNECT_EVENT_FLAG_SLOW_REPEAT_TIMER = 0x2;
inline constexpr DWORD SIMCONNECT_EVENT_FLAG_GROUPID_IS_PRIORITY = 0x10;

// ---- Wire structures ----
#pragma pack(push, 1)

// Where an AI object appears: degrees, feet, knots.
struct SIMCONNECT_DATA_INITPOSITION {
    double Latitude;
    double Longitude;
    double Altitude;
    double Pitch;
    double Bank;
    double Heading;
    DWORD OnGround;  // 1: placed on the ground
    DWORD Airspeed;  // knots, or INITPOSITION_AIRSPEED_CRUISE / _KEEP
};

// The head of every message from the simulator.
struct SIMCONNECT_RECV {
    DWORD dwSize;     // the whole message, head included
    DWORD dwVersion;  // the server's version; never checked
    DWORD dwID;       // a SIMCONNECT_RECV_ID
};

struct SIMCONNECT_RECV_EXCEPTION : SIMCONNECT_RECV {
    static constexpr DWORD UNKNOWN_SENDID = 0;
    static constexpr DWORD UNKNOWN_INDEX = 0xFFFFFFFFu;  // 0 means "no index" as well
    DWORD dwException;                                   // a SIMCONNECT_EXCEPTION
    DWORD dwSendID;  // send serial of the packet that failed (see SimConnect_GetLastSentPacketID)
    DWORD dwIndex;   // 1-based number of the argument at fault
};

struct SIMCONNECT_RECV_OPEN : SIMCONNECT_RECV {
    char szApplicationName[256];
    DWORD dwApplicationVersionMajor;
    DWORD dwApplicationVersionMinor;
    DWORD dwApplicationBuildMajor;
    DWORD dwApplicationBuildMinor;
    DWORD dwSimConnectVersionMajor;
    DWORD dwSimConnectVersionMinor;
    DWORD dwSimConnectBuildMajor;
    DWORD dwSimConnectBuildMinor;
    DWORD dwReserved1;
    DWORD dwReserved2;
};

struct SIMCONNECT_RECV_QUIT : SIMCONNECT_RECV {};

// The three fields every event notification starts with.
struct SIMCONNECT_RECV_EVENT_BASE : SIMCONNECT_RECV {
    static constexpr DWORD UNKNOWN_GROUP = 0xFFFFFFFFu;
    DWORD uGroupID;  // the notification group, or UNKNOWN_GROUP for a system event
    DWORD uEventID;  // the client's own event id
    DWORD dwData;
};

// Prepar3D adds dwFlags; a simulator may also send the message without it (24 bytes): read it only
// when dwSize covers it.
struct SIMCONNECT_RECV_EVENT : SIMCONNECT_RECV_EVENT_BASE {
    DWORD dwFlags;
};

// "ObjectAdded" / "ObjectRemoved": dwData is the object id. 28 bytes without dwFlags, 32 with.
struct SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE : SIMCONNECT_RECV_EVENT_BASE {
    SIMCONNECT_SIMOBJECT_TYPE eObjType;
    DWORD dwFlags;
};

struct SIMCONNECT_RECV_EVENT_FILENAME : SIMCONNECT_RECV_EVENT_BASE {
    char szFileName[MAX_PATH];
    DWORD dwFlags;
};

// "Frame" / "PauseFrame": 32 bytes without dwFlags, 36 with.
struct SIMCONNECT_RECV_EVENT_FRAME : SIMCONNECT_RECV_EVENT_BASE {
    float fFrameRate;
    float fSimSpeed;
    DWORD dwFlags;
};

// Payload: the datums of the definition in the order they were added, packed back to back.
// The payload is dwSize - 40 bytes (sizeof of this structure counts one placeholder DWORD).
struct SIMCONNECT_RECV_SIMOBJECT_DATA : SIMCONNECT_RECV {
    DWORD dwRequestID;
    DWORD dwObjectID;
    DWORD dwDefineID;
    DWORD dwFlags;
    DWORD dwentrynumber;  // 1-based number of this object in the answer
    DWORD dwoutof;        // objects in the answer
    DWORD dwDefineCount;  // datums in the payload, not bytes
    DWORD dwData;         // first payload bytes
};

struct SIMCONNECT_RECV_SIMOBJECT_DATA_BYTYPE : SIMCONNECT_RECV_SIMOBJECT_DATA {};
struct SIMCONNECT_RECV_CLIENT_DATA : SIMCONNECT_RECV_SIMOBJECT_DATA {};

struct SIMCONNECT_RECV_ASSIGNED_OBJECT_ID : SIMCONNECT_RECV {
    DWORD dwRequestID;
    DWORD dwObjectID;
};

struct SIMCONNECT_RECV_SYSTEM_STATE : SIMCONNECT_RECV {
    DWORD dwRequestID;
    DWORD dwInteger;
    float fFloat;
    char szString[MAX_PATH];
};

#pragma pack(pop)

static_assert(sizeof(SIMCONNECT_DATA_INITPOSITION) == 56);
static_assert(sizeof(SIMCONNECT_RECV) == 12);
static_assert(sizeof(SIMCONNECT_RECV_EXCEPTION) == 24);
static_assert(sizeof(SIMCONNECT_RECV_OPEN) == 308);
static_assert(sizeof(SIMCONNECT_RECV_EVENT) == 28);
static_assert(sizeof(SIMCONNECT_RECV_EVENT_OBJECT_ADDREMOVE) == 32);
static_assert(sizeof(SIMCONNECT_RECV_EVENT_FILENAME) == 288);
static_assert(sizeof(SIMCONNECT_RECV_EVENT_FRAME) == 36);
static_assert(sizeof(SIMCONNECT_RECV_SIMOBJECT_DATA) == 44);
static_assert(sizeof(SIMCONNECT_RECV_ASSIGNED_OBJECT_ID) == 20);
static_assert(sizeof(SIMCONNECT_RECV_SYSTEM_STATE) == 284);

// Called by SimConnect_CallDispatch, on the caller's thread, once per received message.
typedef void(CALLBACK* DispatchProc)(SIMCONNECT_RECV* pData, DWORD cbData, void* pContext);

// ---- Functions. All return S_OK, E_FAIL, E_INVALIDARG or E_NOT_SUFFICIENT_BUFFER. ----
// A call that sends a packet returns as soon as the packet is queued; what the simulator thinks of it
// comes back later as a message (an EXCEPTION names the packet by its send serial).

HRESULT SimConnect_Open(HANDLE* phSimConnect, LPCSTR szName, HWND hWnd, DWORD UserEventWin32, HANDLE hEventHandle,
                        DWORD ConfigIndex);
HRESULT SimConnect_Close(HANDLE hSimConnect);
HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc pfcnDispatch, void* pContext);
HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwSendID);

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                            const char* EventName = "");
HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                       SIMCONNECT_CLIENT_EVENT_ID EventID, DWORD dwData,
                                       SIMCONNECT_NOTIFICATION_GROUP_ID GroupID, SIMCONNECT_EVENT_FLAG Flags);
HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                     SIMCONNECT_CLIENT_EVENT_ID EventID, BOOL bMaskable = 0);
HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, SIMCONNECT_NOTIFICATION_GROUP_ID GroupID,
                                                DWORD uPriority);

HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                       const char* DatumName, const char* UnitsName,
                                       SIMCONNECT_DATATYPE DatumType = SIMCONNECT_DATATYPE_FLOAT64, float fEpsilon = 0,
                                       DWORD DatumID = SIMCONNECT_UNUSED);
HRESULT SimConnect_ClearDataDefinition(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID);
HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                          SIMCONNECT_DATA_DEFINITION_ID DefineID, SIMCONNECT_OBJECT_ID ObjectID,
                                          SIMCONNECT_PERIOD Period, SIMCONNECT_DATA_REQUEST_FLAG Flags = 0,
                                          DWORD origin = 0, DWORD interval = 0, DWORD limit = 0);
HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, SIMCONNECT_DATA_REQUEST_ID RequestID,
                                              SIMCONNECT_DATA_DEFINITION_ID DefineID, DWORD dwRadiusMeters,
                                              SIMCONNECT_SIMOBJECT_TYPE type);
HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, SIMCONNECT_DATA_DEFINITION_ID DefineID,
                                      SIMCONNECT_OBJECT_ID ObjectID, SIMCONNECT_DATA_SET_FLAG Flags, DWORD ArrayCount,
                                      DWORD cbUnitSize, void* pDataSet);

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID,
                                          const char* SystemEventName);
HRESULT SimConnect_UnsubscribeFromSystemEvent(HANDLE hSimConnect, SIMCONNECT_CLIENT_EVENT_ID EventID);

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle, const char* szTailNumber,
                                          SIMCONNECT_DATA_INITPOSITION InitPos, SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                    SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                  SIMCONNECT_DATA_REQUEST_ID RequestID);
HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, SIMCONNECT_OBJECT_ID ObjectID,
                                           const char* szFlightPlanPath, SIMCONNECT_DATA_REQUEST_ID RequestID);

// A STRINGV datum inside a received message: pStringV points at it, the message is pData with cbData bytes.
// Gives the text and its length with the NUL; E_FAIL when no NUL lies before the end of the message.
HRESULT SimConnect_RetrieveString(SIMCONNECT_RECV* pData, DWORD cbData, void* pStringV, char** ppszString,
                                  DWORD* pcbString);
