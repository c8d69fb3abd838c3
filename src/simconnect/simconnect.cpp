// SPDX-License-Identifier: MIT
#include "simconnect/simconnect.h"

#include "core/run_state.h"
#include "simconnect/connection.h"
#include "simconnect/open.h"
#include "simconnect/wire.h"

#include <algorithm>
#include <cstdint>

namespace kes::simconnect {

namespace {

/// A packet of plain 32-bit words.
template <typename... Words> HRESULT sendWords(Connection* connection, DWORD function, Words... words) {
    PacketBody body;
    (add(body, static_cast<DWORD>(words)), ...);
    return send(connection, function, body);
}

} // namespace

HRESULT SimConnect_Open(HANDLE* phSimConnect, const char* szName, DWORD configIndex) {
    if (phSimConnect == nullptr)
        return E_INVALIDARG;
    OpenTry attempt;
    attempt.giveUp = stopWanted;
    return openSimulator(*phSimConnect, szName, configIndex, attempt);
}

HRESULT SimConnect_Close(HANDLE hSimConnect) {
    return close(hSimConnect);
}

HRESULT SimConnect_CallDispatch(HANDLE hSimConnect, DispatchProc proc, void* pContext) {
    return dispatch(hSimConnect, proc, pContext);
}

HRESULT SimConnect_GetLastSentPacketID(HANDLE hSimConnect, DWORD* pdwError) {
    if (hSimConnect == nullptr)
        return E_FAIL;
    if (pdwError == nullptr)
        return E_INVALIDARG;
    const std::lock_guard lock(hSimConnect->mutex);
    if (hSimConnect->ended)
        return E_FAIL;
    *pdwError = hSimConnect->lastSendId;
    return S_OK;
}

HRESULT SimConnect_SubscribeToSystemEvent(HANDLE hSimConnect, DWORD eventId, const char* systemEventName) {
    PacketBody body;
    add(body, eventId);
    addText(body, systemEventName, wire::nameField);
    return send(hSimConnect, wire::fn::subscribeSystemEvent, body);
}

HRESULT SimConnect_AddToDataDefinition(HANDLE hSimConnect, DWORD defineId, const char* datumName, const char* unitsName,
                                       DataType datumType, float epsilon, DWORD datumId) {
    PacketBody body;
    add(body, defineId);
    addText(body, datumName, wire::nameField);
    addText(body, unitsName, wire::nameField);
    add(body, static_cast<DWORD>(datumType));
    add(body, epsilon);
    add(body, datumId);
    return send(hSimConnect, wire::fn::addToDataDefinition, body);
}

HRESULT SimConnect_MapClientEventToSimEvent(HANDLE hSimConnect, DWORD eventId, const char* eventName) {
    PacketBody body;
    add(body, eventId);
    addText(body, eventName, wire::nameField);
    return send(hSimConnect, wire::fn::mapClientEvent, body);
}

HRESULT SimConnect_AddClientEventToNotificationGroup(HANDLE hSimConnect, DWORD groupId, DWORD eventId, bool maskable) {
    return sendWords(hSimConnect, wire::fn::addClientEventToGroup, groupId, eventId, maskable);
}

HRESULT SimConnect_SetNotificationGroupPriority(HANDLE hSimConnect, DWORD groupId, DWORD priority) {
    return sendWords(hSimConnect, wire::fn::setGroupPriority, groupId, priority);
}

HRESULT SimConnect_RequestDataOnSimObject(HANDLE hSimConnect, DWORD requestId, DWORD defineId, DWORD objectId,
                                          Period period, DWORD flags, DWORD origin, DWORD interval, DWORD limit) {
    return sendWords(hSimConnect, wire::fn::requestData, requestId, defineId, objectId, period, flags, origin, interval,
                     limit);
}

HRESULT SimConnect_RequestDataOnSimObjectType(HANDLE hSimConnect, DWORD requestId, DWORD defineId, DWORD radiusMetres,
                                              SimObjectType type) {
    return sendWords(hSimConnect, wire::fn::requestDataByType, requestId, defineId, radiusMetres, type);
}

HRESULT SimConnect_SetDataOnSimObject(HANDLE hSimConnect, DWORD defineId, DWORD objectId, DWORD flags, DWORD arrayCount,
                                      DWORD cbUnitSize, const void* pDataSet) {
    // 0 elements mean one; written out, as some servers take the number at its word.
    const DWORD count = std::max<DWORD>(arrayCount, 1);
    const std::uint64_t bytes = std::uint64_t{count} * cbUnitSize;
    if (bytes > wire::maxClientPacket || (pDataSet == nullptr && bytes > 0))
        return E_INVALIDARG;
    PacketBody body;
    for (const DWORD word : {defineId, objectId, flags, count, cbUnitSize})
        add(body, word);
    return send(hSimConnect, wire::fn::setData, body,
                {static_cast<const std::byte*>(pDataSet), static_cast<std::size_t>(bytes)});
}

HRESULT SimConnect_TransmitClientEvent(HANDLE hSimConnect, DWORD objectId, DWORD eventId, DWORD dwData, DWORD groupId,
                                       DWORD flags) {
    return sendWords(hSimConnect, wire::fn::transmitClientEvent, objectId, eventId, dwData, groupId, flags);
}

HRESULT SimConnect_AICreateNonATCAircraft(HANDLE hSimConnect, const char* szContainerTitle, const char* szTailNumber,
                                          const InitPosition& initPos, DWORD requestId) {
    PacketBody body;
    addText(body, szContainerTitle, wire::nameField);
    addText(body, szTailNumber, wire::tailField);
    for (const double value :
         {initPos.latitude, initPos.longitude, initPos.altitude, initPos.pitch, initPos.bank, initPos.heading})
        add(body, value);
    add(body, static_cast<DWORD>(initPos.onGround));
    add(body, static_cast<DWORD>(initPos.airspeed));
    add(body, requestId);
    return send(hSimConnect, wire::fn::createNonAtc, body);
}

HRESULT SimConnect_AIReleaseControl(HANDLE hSimConnect, DWORD objectId, DWORD requestId) {
    return sendWords(hSimConnect, wire::fn::releaseControl, objectId, requestId);
}

HRESULT SimConnect_AIRemoveObject(HANDLE hSimConnect, DWORD objectId, DWORD requestId) {
    return sendWords(hSimConnect, wire::fn::removeObject, objectId, requestId);
}

HRESULT SimConnect_AISetAircraftFlightPlan(HANDLE hSimConnect, DWORD objectId, const char* szFlightPlanPath,
                                           DWORD requestId) {
    PacketBody body;
    add(body, objectId);
    addText(body, szFlightPlanPath, wire::pathField);
    add(body, requestId);
    return send(hSimConnect, wire::fn::setFlightPlan, body);
}

} // namespace kes::simconnect
