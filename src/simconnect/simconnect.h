// SPDX-License-Identifier: MIT
// The functions of the simulator's public interface that this program calls, with their published names and
// meanings. Results are local only: success says that a packet was handed to the transport; what the simulator thinks
// of it arrives later through the dispatcher. Two implementations of the transport are chosen at link time.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kes::simconnect {

using HRESULT = std::int32_t;
using DWORD = std::uint32_t;
using HANDLE = struct Connection*;

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005);
inline constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057);
/// False for S_OK and every other success.
inline constexpr bool failed(HRESULT hr) {
    return hr < 0;
}

inline constexpr DWORD unused = 0xFFFFFFFF;
inline constexpr DWORD objectIdUser = 0;

enum class DataType : DWORD {
    invalid,
    int32,
    int64,
    float32,
    float64,
    string8,
    string32,
    string64,
    string128,
    string256,
    string260,
    stringV,
    initPosition,
    markerState,
    waypoint,
    latLonAlt,
    xyz
};
enum class Period : DWORD { never, once, visualFrame, simFrame, second };
enum class SimObjectType : DWORD { user, all, aircraft, helicopter, boat, ground };
inline constexpr DWORD groupPriorityHighest = 1;
inline constexpr DWORD eventFlagDefault = 0, eventFlagGroupIdIsPriority = 0x10;

/// Kinds of received messages (dwID).
enum class RecvId : DWORD {
    null = 0,
    exception = 1,
    open = 2,
    quit = 3,
    event = 4,
    eventObjectAddRemove = 5,
    eventFilename = 6,
    eventFrame = 7,
    simObjectData = 8,
    simObjectDataByType = 9,
    assignedObjectId = 12,
    clientData = 16,
    eventEx1 = 27,
};

enum class Exception : DWORD {
    none = 0,
    error = 1,
    sizeMismatch = 2,
    unrecognizedId = 3,
    unopened = 4,
    versionMismatch = 5,
    nameUnrecognized = 7,
    eventIdDuplicate = 9,
    tooManyObjects = 11,
    dataError = 20,
    invalidDataSize = 19,
    createObjectFailed = 22,
    loadFlightplanFailed = 23,
    operationInvalidForObjectType = 24,
    illegalOperation = 25,
    alreadySubscribed = 26,
    invalidEnum = 27,
    definitionError = 28,
    duplicateId = 29,
    outOfBounds = 31,
};

// Received messages exactly as they lie on the wire. The client checks a packet's size against its kind before it hands
// the packet on, so a handler may read the fields below without a further check.
#pragma pack(push, 1)
struct Recv {
    DWORD dwSize, dwVersion, dwID;
};
struct RecvException : Recv {
    DWORD dwException, dwSendID, dwIndex;
};
struct RecvOpen : Recv {
    char szApplicationName[256];
    DWORD dwApplicationVersionMajor, dwApplicationVersionMinor, dwApplicationBuildMajor, dwApplicationBuildMinor;
    DWORD dwSimConnectVersionMajor, dwSimConnectVersionMinor, dwSimConnectBuildMajor, dwSimConnectBuildMinor;
    DWORD dwReserved1, dwReserved2;
};
struct RecvQuit : Recv {};
struct RecvEvent : Recv {
    DWORD uGroupID, uEventID, dwData;
};
struct RecvEventObjectAddRemove : RecvEvent {
    DWORD eObjType;
};
struct RecvEventFilename : RecvEvent {
    char szFileName[260];
    DWORD dwFlags;
};
struct RecvEventFrame : RecvEvent {
    float fFrameRate, fSimSpeed;
};
struct RecvSimObjectData : Recv {
    DWORD dwRequestID, dwObjectID, dwDefineID, dwFlags, dwentrynumber, dwoutof, dwDefineCount;
    // dwSize - sizeof(RecvSimObjectData) data bytes follow
};
struct RecvAssignedObjectId : Recv {
    DWORD dwRequestID, dwObjectID;
};
struct InitPosition {
    double latitude, longitude, altitude; // degrees, feet
    double pitch, bank, heading;          // degrees
    DWORD onGround, airspeed;
};
#pragma pack(pop)
static_assert(sizeof(RecvException) == 24 && sizeof(RecvOpen) == 308 && sizeof(RecvEvent) == 24);
static_assert(sizeof(RecvEventObjectAddRemove) == 28 && sizeof(RecvEventFilename) == 288 &&
              sizeof(RecvEventFrame) == 32);
static_assert(sizeof(RecvSimObjectData) == 40 && sizeof(RecvAssignedObjectId) == 20 && sizeof(InitPosition) == 56);

/// Data bytes behind the head of an object data message, and their number. Never reaches beyond the packet.
inline const std::byte* dataOf(const RecvSimObjectData& message) {
    return reinterpret_cast<const std::byte*>(&message) + sizeof(RecvSimObjectData);
}
inline std::size_t dataSizeOf(const RecvSimObjectData& message) {
    return message.dwSize - sizeof(RecvSimObjectData);
}

using DispatchProc = void (*)(const Recv* pData, DWORD cbData, void* pContext);

// All calls on one handle may come from any thread: a packet is numbered and written under one lock.
// A null handle or a connection that has ended gives E_FAIL, an argument that no packet can carry E_INVALIDARG. Texts
// are cut to the room that the wire has for them; null is an empty one. What a dispatch handler sends is gathered and
// goes out when it returns, at the latest behind the next packet of another thread: send ids and the wire keep one
// order.

/// Reaches the simulator, announces the client and waits for the answer, which the first dispatch hands over. E_FAIL
/// when nobody takes the connection or whoever takes it does not answer as a simulator does, E_INVALIDARG for a
/// configuration index that does not exist or a null result. Waits at most about ten seconds (`answerMs`), some two
/// more for each further version that is tried at their end, and no longer once the run is to end.
HRESULT SimConnect_Open(HANDLE* phSimConnect, const char* szName, DWORD configIndex = 0);
/// Sends what is left and closes the stream; S_OK for an ended connection as well. No other call may be under way or
/// follow; a handler may close the connection that called it.
HRESULT SimConnect_Close(HANDLE hSimConnect);
/// Hands every complete message that has arrived to `proc` (bounded: at most 4096 messages a call), without waiting.
/// After the stream has ended, or a packet was broken (logged), it hands over one quit message, then gives E_FAIL.
/// An exception of `proc` leaves the call; the messages behind are handed over by the next one.
HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc proc, void* pContext);
/// The number of the packet that was sent last, by whatever thread: only who holds others off knows it for his own.
HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwError);
/// `systemEventName` as published, such as "Frame"; the events come with `eventId`.
HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, DWORD eventId, const char* systemEventName);
/// Adds a value to a definition: name and unit as published; its values lie in a packet in the order of these calls.
HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, DWORD defineId, const char* datumName, const char* unitsName,
                                       DataType datumType = DataType::float64, float epsilon = 0,
                                       DWORD datumId = unused);
/// `eventId` stands for the event "GEAR_SET" or the like from now on.
HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, DWORD eventId, const char* eventName);
/// Asks to be told when the event happens; `maskable` keeps it from clients of lower priority.
HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect, DWORD groupId, DWORD eventId, bool maskable);
/// 1 is the highest.
HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, DWORD groupId, DWORD priority);
/// The values of a definition of one object, once or every `interval` + 1 periods; `objectIdUser` is the user's own.
HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, DWORD requestId, DWORD defineId, DWORD objectId,
                                          Period period, DWORD flags = 0, DWORD origin = 0, DWORD interval = 0,
                                          DWORD limit = 0);
/// Once, of all objects of a kind around the user; 0 metres = the user's own.
HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, DWORD requestId, DWORD defineId, DWORD radiusMetres,
                                              SimObjectType type);
/// `arrayCount` (0 = one) elements of `cbUnitSize` bytes, each in the layout of the definition.
HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, DWORD defineId, DWORD objectId, DWORD flags, DWORD arrayCount,
                                      DWORD cbUnitSize, const void* pDataSet);
/// An event for one object; `dwData` as the event has it.
HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, DWORD objectId, DWORD eventId, DWORD dwData, DWORD groupId,
                                       DWORD flags);
/// The tail number travels in 12 bytes: at most 11 characters arrive.
HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle, const char* szTailNumber,
                                          const InitPosition& initPos, DWORD requestId);
/// The simulator's own pilot lets go of the object.
HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, DWORD objectId, DWORD requestId);
/// Of an object that this client has created.
HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, DWORD objectId, DWORD requestId);
/// A plan file by its path.
HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, DWORD objectId, const char* szFlightPlanPath,
                                           DWORD requestId);

inline constexpr std::size_t tailNumberChars = 11; ///< what fits the wire field beside its zero

} // namespace kes::simconnect
