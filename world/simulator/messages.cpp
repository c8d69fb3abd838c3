// SPDX-License-Identifier: MIT
#include "world/simulator/messages.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace kes::world {

namespace sc = simconnect;

namespace {

constexpr std::uint32_t requestChanged = 1, requestTagged = 2;

/// Room in the client's output, or null when nothing more is to go there.
std::byte* room(Simulator& simulator, Session& session, std::size_t count) {
    if (session.finished || session.dropped)
        return nullptr;
    if (session.out.size() + count > simulator.options.maxOutput) {
        session.dropped = true;
        ++simulator.counters.overflows;
        return nullptr;
    }
    return session.out.append(count);
}

template <typename Message> void emit(Simulator& simulator, Session& session, sc::RecvId id, Message& message) {
    message.dwSize = sizeof message;
    message.dwVersion = session.version;
    message.dwID = static_cast<sc::DWORD>(id);
    if (std::byte* to = room(simulator, session, sizeof message))
        std::memcpy(to, &message, sizeof message);
}

template <std::size_t Size> void setText(char (&field)[Size], std::string_view text) {
    std::memcpy(field, text.data(), std::min(text.size(), Size - 1));
}

template <typename Send> void eachSubscriber(Simulator& simulator, SystemEvent event, Send send) {
    for (const auto& session : simulator.sessions)
        for (const Subscription& subscription : session->subscriptions)
            if (subscription.event == event && subscription.on)
                send(*session, subscription.eventId);
}

std::size_t sizeOf(const Field& field, const SimObject& object) {
    return field.size != 0 ? field.size : readText(object, field).size() + 1;
}

/// Writes one value into zeroed bytes.
std::byte* pack(std::byte* to, const Field& field, const SimObject& object, const Surroundings& around) {
    if (!field.text) {
        packNumber(field, readNumber(object, field, around), to);
        return to + field.size;
    }
    const std::string_view text = readText(object, field);
    const std::size_t most = field.size != 0 ? field.size - 1 : text.size();
    std::memcpy(to, text.data(), std::min(text.size(), most));
    return to + sizeOf(field, object);
}

bool differs(const Field& field, const std::byte* now, const std::byte* before) {
    if (field.text || field.epsilon <= 0.0f)
        return std::memcmp(now, before, field.size) != 0;
    const auto number = [&](const std::byte* at) { return unpackNumber(field, ByteReader(std::span(at, field.size))); };
    return std::abs(number(now) - number(before)) > static_cast<double>(field.epsilon);
}

Surroundings surroundingsOf(const Simulator& simulator, const Definition& definition, const SimObject& object) {
    Surroundings around = simulator.clock;
    if (definition.ground)
        around.groundFeet = groundBelow(simulator, object);
    return around;
}

std::byte* beginData(Simulator& simulator, Session& session, std::size_t dataSize, sc::RecvSimObjectData head,
                     bool byType) {
    std::byte* to = room(simulator, session, sizeof head + dataSize);
    if (!to)
        return nullptr;
    head.dwSize = static_cast<sc::DWORD>(sizeof head + dataSize);
    head.dwVersion = session.version;
    head.dwID = static_cast<sc::DWORD>(byType ? sc::RecvId::simObjectDataByType : sc::RecvId::simObjectData);
    std::memcpy(to, &head, sizeof head);
    return to + sizeof head;
}

std::byte* packId(std::byte* to, std::uint32_t id) {
    std::memcpy(to, &id, sizeof id);
    return to + sizeof id;
}

} // namespace

void OutBuffer::take(std::size_t count) {
    head += count;
    if (head == bytes.size()) {
        bytes.clear();
        head = 0;
    } else if (head > (1u << 20) && head > bytes.size() / 2) {
        bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(head));
        head = 0;
    }
}

std::byte* OutBuffer::append(std::size_t count) {
    const std::size_t at = bytes.size();
    bytes.resize(at + count);
    return bytes.data() + at;
}

void sendException(Simulator& simulator, Session& session, sc::Exception exception, std::uint32_t sendId,
                   std::optional<std::uint32_t> index) {
    ++simulator.counters.exceptions[static_cast<std::uint32_t>(exception)];
    const std::uint32_t unknown = simulator.options.generation == Generation::msfs2020 ? 0 : sc::unused;
    sc::RecvException message{};
    message.dwException = static_cast<sc::DWORD>(exception);
    message.dwSendID = sendId;
    message.dwIndex = index.value_or(unknown);
    emit(simulator, session, sc::RecvId::exception, message);
}

void sendOpen(Simulator& simulator, Session& session) {
    const bool first = simulator.options.generation == Generation::msfs2020;
    sc::RecvOpen message{};
    setText(message.szApplicationName, first ? "KittyHawk" : "SunRise");
    message.dwApplicationVersionMajor = first ? 11 : 12;
    message.dwApplicationVersionMinor = first ? 0 : 2;
    message.dwApplicationBuildMajor = 282174;
    message.dwApplicationBuildMinor = 999;
    message.dwSimConnectVersionMajor = first ? 11 : 12;
    message.dwSimConnectVersionMinor = first ? 0 : 2;
    message.dwSimConnectBuildMajor = first ? 62651 : 0;
    message.dwSimConnectBuildMinor = first ? 3 : 0;
    emit(simulator, session, sc::RecvId::open, message);
}

void sendQuit(Simulator& simulator, Session& session) {
    sc::RecvQuit message{};
    emit(simulator, session, sc::RecvId::quit, message);
}

void sendEvent(Simulator& simulator, Session& session, std::uint32_t group, std::uint32_t eventId, std::uint32_t data) {
    sc::RecvEvent message{};
    message.uGroupID = group;
    message.uEventID = eventId;
    message.dwData = data;
    emit(simulator, session, sc::RecvId::event, message);
}

void sendAssigned(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t objectId) {
    sc::RecvAssignedObjectId message{};
    message.dwRequestID = requestId;
    message.dwObjectID = objectId;
    emit(simulator, session, sc::RecvId::assignedObjectId, message);
}

void sendSystemState(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t number,
                     std::string_view text) {
#pragma pack(push, 1)
    struct SystemState : sc::Recv {
        sc::DWORD dwRequestID, dwInteger;
        float fFloat;
        char szString[260];
    };
#pragma pack(pop)
    static_assert(sizeof(SystemState) == 284);
    SystemState message{};
    message.dwRequestID = requestId;
    message.dwInteger = number;
    message.fFloat = static_cast<float>(number);
    setText(message.szString, text);
    emit(simulator, session, static_cast<sc::RecvId>(15), message);
}

void sendObjectData(Simulator& simulator, Session& session, const Definition& definition, const SimObject& object,
                    std::uint32_t requestId, std::uint32_t flags, bool byType, std::uint32_t number,
                    std::uint32_t count) {
    const bool tagged = (flags & requestTagged) != 0;
    std::size_t size = tagged ? definition.taggedSize : definition.fixedSize;
    if (definition.variable)
        for (const Field& field : definition.fields)
            if (field.size == 0)
                size += sizeOf(field, object);
    sc::RecvSimObjectData head{};
    head.dwRequestID = requestId;
    head.dwObjectID = object.id;
    head.dwDefineID = definition.id;
    head.dwFlags = flags;
    head.dwentrynumber = number;
    head.dwoutof = count;
    head.dwDefineCount = static_cast<sc::DWORD>(definition.fields.size());
    std::byte* to = beginData(simulator, session, size, head, byType);
    if (!to)
        return;
    const Surroundings around = surroundingsOf(simulator, definition, object);
    for (const Field& field : definition.fields) {
        if (tagged)
            to = packId(to, field.datumId);
        to = pack(to, field, object, around);
    }
}

void sendNothingFound(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t defineId) {
    sc::RecvSimObjectData head{};
    head.dwRequestID = requestId;
    head.dwDefineID = defineId;
    beginData(simulator, session, 0, head, true);
}

void sendRequested(Simulator& simulator, Session& session, DataRequest& request, const Definition& definition,
                   const SimObject& object) {
    if ((request.flags & requestChanged) == 0 || definition.variable) {
        sendObjectData(simulator, session, definition, object, request.requestId, request.flags, false, 1, 1);
        ++request.sent;
        return;
    }
    const Surroundings around = surroundingsOf(simulator, definition, object);
    std::vector<std::byte> values(definition.fixedSize);
    std::byte* end = values.data();
    for (const Field& field : definition.fields)
        end = pack(end, field, object, around);

    // A definition that has grown since the last message counts as changed throughout.
    const bool comparable = request.hasLast && request.last.size() == values.size();
    const bool tagged = (request.flags & requestTagged) != 0;
    std::size_t at = 0, size = 0;
    std::uint32_t changed = 0;
    for (const Field& field : definition.fields) {
        if (!comparable || differs(field, &values[at], &request.last[at])) {
            ++changed;
            size += field.size + sizeof(std::uint32_t);
        }
        at += field.size;
    }
    if (changed == 0)
        return;
    sc::RecvSimObjectData head{};
    head.dwRequestID = request.requestId;
    head.dwObjectID = object.id;
    head.dwDefineID = definition.id;
    head.dwFlags = request.flags;
    head.dwentrynumber = head.dwoutof = 1;
    head.dwDefineCount = tagged ? changed : static_cast<std::uint32_t>(definition.fields.size());
    ++request.sent;
    std::byte* to = beginData(simulator, session, tagged ? size : values.size(), head, false);
    if (to && !tagged)
        std::memcpy(to, values.data(), values.size());
    if (!tagged || !comparable)
        request.last.assign(values.size(), std::byte{});
    at = 0;
    for (const Field& field : definition.fields) {
        // What is not sent keeps its old value, so that a slow drift is noticed in the end.
        if (!tagged || !comparable || differs(field, &values[at], &request.last[at])) {
            if (to && tagged) {
                to = packId(to, field.datumId);
                std::memcpy(to, &values[at], field.size);
                to += field.size;
            }
            std::memcpy(&request.last[at], &values[at], field.size);
        }
        at += field.size;
    }
    request.hasLast = true;
}

void postEvent(Simulator& simulator, SystemEvent event, std::uint32_t data) {
    eachSubscriber(simulator, event, [&](Session& session, std::uint32_t eventId) {
        sendEvent(simulator, session, sc::unused, eventId, data);
    });
}

void postObjectEvent(Simulator& simulator, SystemEvent event, const SimObject& object) {
    eachSubscriber(simulator, event, [&](Session& session, std::uint32_t eventId) {
        sc::RecvEventObjectAddRemove message{};
        message.uGroupID = sc::unused;
        message.uEventID = eventId;
        message.dwData = object.id;
        message.eObjType = static_cast<sc::DWORD>(object.type);
        emit(simulator, session, sc::RecvId::eventObjectAddRemove, message);
    });
}

void postFilename(Simulator& simulator, SystemEvent event, std::string_view path) {
    eachSubscriber(simulator, event, [&](Session& session, std::uint32_t eventId) {
        sc::RecvEventFilename message{};
        message.uGroupID = sc::unused;
        message.uEventID = eventId;
        setText(message.szFileName, path);
        emit(simulator, session, sc::RecvId::eventFilename, message);
    });
}

void postFrame(Simulator& simulator, float frameRate) {
    eachSubscriber(simulator, SystemEvent::frame, [&](Session& session, std::uint32_t eventId) {
        sc::RecvEventFrame message{};
        message.uGroupID = sc::unused;
        message.uEventID = eventId;
        message.fFrameRate = frameRate;
        message.fSimSpeed = 1.0f;
        emit(simulator, session, sc::RecvId::eventFrame, message);
    });
}

} // namespace kes::world
