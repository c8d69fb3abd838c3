// SPDX-License-Identifier: MIT
#include "world/simulator/session.h"

#include "simconnect/wire.h"
#include "world/simulator/calls_data.h"
#include "world/simulator/calls_events.h"
#include "world/simulator/calls_objects.h"
#include "world/simulator/messages.h"
#include "world/simulator/packet.h"
#include "world/simulator/wire_log.h"

#include <algorithm>

namespace kes::world {

namespace sc = simconnect;
namespace wire = simconnect::wire;
namespace fn = simconnect::wire::fn;
using sc::Exception;

namespace {

struct Row {
    std::uint32_t function;
    std::uint32_t size; ///< exact
    Call call;          ///< null = accepted and without effect
};

constexpr Row rows[] = {
    {fn::open, 296, callOpen},
    {fn::requestResponseTimes, 20, nullptr},
    {fn::mapClientEvent, 276, callMapEvent},
    {fn::transmitClientEvent, 36, callTransmitEvent},
    {fn::setSystemEventState, 24, callSetSystemEventState},
    {fn::addClientEventToGroup, 28, callAddEventToGroup},
    {fn::removeClientEvent, 24, callRemoveEventFromGroup},
    {fn::setGroupPriority, 24, callSetGroupPriority},
    {fn::clearGroup, 20, callClearGroup},
    {fn::requestGroup, 28, nullptr},
    {fn::addToDataDefinition, 544, callAddDatum},
    {fn::clearDataDefinition, 20, callClearDefinition},
    {fn::requestData, 48, callRequestData},
    {fn::requestDataByType, 32, callRequestDataByType},
    {fn::subscribeSystemEvent, 276, callSubscribe},
    {fn::unsubscribeSystemEvent, 20, callUnsubscribe},
    {fn::createParked, 293, callCreateAtc},
    {fn::createEnroute, 564, callCreateAtc},
    {fn::createNonAtc, 344, callCreateNonAtc},
    {fn::createSimulated, 332, callCreateSimulated},
    {fn::releaseControl, 24, callReleaseControl},
    {fn::removeObject, 24, callRemoveObject},
    {fn::setFlightPlan, 284, callSetFlightPlan},
    {fn::requestSystemState, 276, callRequestSystemState},
    {fn::transmitClientEventEx1, 52, callTransmitEventEx1},
    {fn::createNonAtcEx1, 600, callCreateNonAtcEx1},
};

constexpr std::uint32_t setDataHead = 36;

void carryOut(Simulator& simulator, Session& session, std::span<const std::byte> bytes) {
    Packet packet{ByteReader(bytes)};
    const std::size_t size = packet.size();
    packet.version = packet.u32(4);
    packet.function = packet.u32(8) & wire::functionMask;
    packet.sendId = packet.u32(12);
    ++simulator.counters.packetsReceived;
    if (simulator.recordWire)
        recordPacket(simulator, packet);
    if (simulator.faults.hangUp)
        session.dropped = true;
    if (simulator.faults.mute || session.dropped)
        return;
    const auto refuse = [&](Exception exception) {
        sendException(simulator, session, exception, packet.sendId, std::nullopt);
    };
    if (!session.opened && packet.function != fn::open) {
        session.version = packet.version;
        return refuse(Exception::unopened);
    }
    if (size > simulator.options.maxReceive)
        return refuse(Exception::sizeMismatch);
    // The one call that comes hundreds of times in a frame, and the one of changing size.
    if (packet.function == fn::setData)
        return size >= setDataHead ? callSetData(simulator, session, packet) : refuse(Exception::sizeMismatch);
    if (packet.function == fn::close) {
        session.finished = true;
        return;
    }
    const auto row = std::find_if(std::begin(rows), std::end(rows),
                                  [&](const Row& candidate) { return candidate.function == packet.function; });
    if (row == std::end(rows))
        return refuse(Exception::unrecognizedId);
    if (size != row->size)
        return refuse(Exception::sizeMismatch);
    if (row->call)
        row->call(simulator, session, packet);
}

} // namespace

bool receive(Simulator& simulator, Session& session, std::span<const std::byte> bytes) {
    constexpr std::size_t word = sizeof(std::uint32_t);
    std::vector<std::byte>& in = session.in;
    const auto stash = [&](std::size_t count) {
        count = std::min(count, bytes.size());
        in.insert(in.end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
        bytes = bytes.subspan(count);
    };
    while (!bytes.empty() && !session.finished && !session.dropped) {
        if (!in.empty() && in.size() < word)
            stash(word - in.size());
        const bool whole = in.empty();
        if (whole ? bytes.size() < word : in.size() < word) {
            stash(word);
            continue;
        }
        const std::uint32_t size = ByteReader(whole ? bytes : in).u32(0);
        if (size < wire::clientHeaderSize || size > wire::maxClientPacket) {
            session.dropped = true;
            break;
        }
        if (whole && bytes.size() >= size) {
            carryOut(simulator, session, bytes.first(size));
            bytes = bytes.subspan(size);
            continue;
        }
        stash(size - in.size());
        if (in.size() == size) {
            carryOut(simulator, session, in);
            in.clear();
        }
    }
    return !session.dropped;
}

Definition* findDefinition(Session& session, std::uint32_t id) {
    for (Definition& definition : session.definitions)
        if (definition.id == id)
            return &definition;
    return nullptr;
}

} // namespace kes::world
