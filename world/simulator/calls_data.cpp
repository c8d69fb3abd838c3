// SPDX-License-Identifier: MIT
#include "world/simulator/calls_data.h"

#include "world/simulator/messages.h"

#include <algorithm>

namespace kes::world {

namespace sc = simconnect;
using sc::Exception;
using sc::Period;

namespace {

constexpr std::size_t maxDefinitions = 1000, maxFields = 1000, maxRequests = 1000;
constexpr std::uint32_t maxDefinitionBytes = 32768;
constexpr std::uint32_t maxRadiusMetres = 200000;
constexpr std::uint32_t setTagged = 1;

struct Refusal {
    Exception exception = Exception::none;
    std::uint32_t index = 0;
};

Refusal refusalOf(FieldError error) {
    switch (error) {
    case FieldError::datum:
        return {Exception::nameUnrecognized, 2};
    case FieldError::unit:
        return {Exception::nameUnrecognized, 3};
    case FieldError::type:
        return {fault::invalidDataType, 4};
    case FieldError::enumeration:
        return {Exception::invalidEnum, 4};
    case FieldError::none:
        break;
    }
    return {};
}

bool has(const Definition& definition, Datum datum) {
    return std::any_of(definition.fields.begin(), definition.fields.end(),
                       [datum](const Field& field) { return field.datum == datum; });
}

std::size_t waitingRequests(const Simulator& simulator, const Session& session) {
    const auto queries = std::count_if(simulator.queries.begin(), simulator.queries.end(),
                                       [&](const RangeQuery& query) { return query.sessionId == session.id; });
    return session.requests.size() + static_cast<std::size_t>(queries);
}

/// Sets one text; only the tail number can be set.
void writeText(SimObject& object, ByteReader field) {
    object.tail = field.text(0, std::min(field.size(), sc::tailNumberChars));
}

/// One element in definition order; its size was checked. All or nothing.
bool setElement(Session& session, const Definition& definition, SimObject& object, ByteReader element) {
    std::vector<double>& values = session.scratch;
    values.resize(definition.fields.size());
    std::size_t at = 0;
    double* value = values.data();
    for (const Field& field : definition.fields) {
        if (!field.text) {
            *value = storedValue(field, unpackNumber(field, element.part(at, field.size)));
            if (!acceptable(field, *value))
                return false;
        }
        ++value;
        at += field.size;
    }
    at = 0;
    value = values.data();
    for (const Field& field : definition.fields) {
        if (field.text)
            writeText(object, element.part(at, field.size));
        else
            writeNumber(object, field, *value);
        ++value;
        at += field.size;
    }
    return true;
}

/// Pairs of datum id and value. The first pair that cannot be taken ends the packet.
Exception setTaggedPairs(const Definition& definition, SimObject& object, ByteReader pairs) {
    for (ByteCursor at(pairs); !at.ended();) {
        if (at.left() < sizeof(std::uint32_t))
            return Exception::invalidDataSize;
        const std::uint32_t id = at.u32();
        const auto field = std::find_if(definition.fields.begin(), definition.fields.end(),
                                        [id](const Field& candidate) { return candidate.datumId == id; });
        if (field == definition.fields.end())
            return fault::datumId;
        if (at.left() < field->size)
            return Exception::invalidDataSize;
        const ByteReader bytes = at.part(field->size);
        if (field->text) {
            writeText(object, bytes);
        } else {
            const double value = storedValue(*field, unpackNumber(*field, bytes));
            if (!acceptable(*field, value))
                return Exception::dataError;
            writeNumber(object, *field, value);
        }
    }
    return Exception::none;
}

} // namespace

void callAddDatum(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    Field field;
    const Refusal refusal =
        refusalOf(compileField(packet.text(20, 256), packet.text(276, 256), packet.u32(532), field));
    if (refusal.exception != Exception::none)
        return refuse(refusal.exception, refusal.index);

    const std::uint32_t id = packet.u32(16);
    Definition* definition = findDefinition(session, id);
    if (!definition) {
        if (session.definitions.size() >= maxDefinitions)
            return refuse(Exception::outOfBounds, 1);
        session.definitions.push_back({});
        definition = &session.definitions.back();
        definition->id = id;
        definition->settable = true;
    }
    if (definition->fields.size() >= maxFields || definition->fixedSize + field.size > maxDefinitionBytes)
        return refuse(Exception::outOfBounds, 1);
    field.epsilon = packet.get<float>(536);
    field.datumId = packet.u32(540);
    // Without an id of its own a tagged value goes by its place.
    if (field.datumId == sc::unused)
        field.datumId = static_cast<std::uint32_t>(definition->fields.size());
    definition->fixedSize += field.size;
    definition->taggedSize += field.size + 4;
    definition->variable = definition->variable || field.size == 0;
    definition->ground = definition->ground || needsGround(field);
    definition->settable = definition->settable && field.settable && field.size != 0;
    definition->fields.push_back(field);
    definition->position = has(*definition, Datum::latitude) && has(*definition, Datum::longitude);
}

void callClearDefinition(Simulator& simulator, Session& session, const Packet& packet) {
    const std::uint32_t id = packet.u32(16);
    if (std::erase_if(session.definitions, [id](const Definition& definition) { return definition.id == id; }) == 0)
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
}

void callRequestData(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    const std::uint32_t requestId = packet.u32(16);
    const auto old = std::find_if(session.requests.begin(), session.requests.end(),
                                  [requestId](const DataRequest& request) { return request.requestId == requestId; });
    const std::uint32_t periodWord = packet.u32(28);
    if (periodWord > static_cast<std::uint32_t>(Period::second))
        return refuse(Exception::invalidEnum, 4);
    const auto period = static_cast<Period>(periodWord);
    if (period == Period::never) {
        if (old == session.requests.end())
            return refuse(Exception::unrecognizedId, 1);
        session.requests.erase(old);
        return;
    }
    const Definition* definition = findDefinition(session, packet.u32(20));
    if (!definition)
        return refuse(Exception::unrecognizedId, 2);
    if (!findObject(simulator, packet.u32(24)))
        return refuse(Exception::unrecognizedId, 3);
    if (definition->variable && period != Period::once)
        return refuse(Exception::definitionError, 2);
    const bool exists = old != session.requests.end();
    if (exists && period == Period::once && old->period != Period::once)
        return refuse(Exception::duplicateId, 1);
    if (!exists && waitingRequests(simulator, session) >= maxRequests)
        return refuse(fault::tooManyRequests, 1);
    DataRequest request;
    request.requestId = requestId;
    request.defineId = definition->id;
    request.objectId = packet.u32(24);
    request.period = period;
    request.flags = packet.u32(32);
    request.origin = packet.u32(36);
    request.interval = packet.u32(40);
    request.limit = packet.u32(44);
    if (exists)
        *old = std::move(request);
    else
        session.requests.push_back(std::move(request));
}

void callRequestDataByType(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    RangeQuery query;
    query.sessionId = session.id;
    query.requestId = packet.u32(16);
    query.defineId = packet.u32(20);
    query.radiusMetres = packet.u32(24);
    const std::uint32_t type = packet.u32(28);
    const std::uint32_t lastType = simulator.options.generation == Generation::msfs2020 ? 5 : 9;
    if (!findDefinition(session, query.defineId))
        return refuse(Exception::unrecognizedId, 2);
    if (query.radiusMetres > maxRadiusMetres)
        return refuse(Exception::outOfBounds, 3);
    if (type > lastType)
        return refuse(Exception::invalidEnum, 4);
    if (waitingRequests(simulator, session) >= maxRequests)
        return refuse(fault::tooManyRequests, 1);
    query.type = static_cast<sc::SimObjectType>(type);
    simulator.queries.push_back(query);
}

void callSetData(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    const Definition* definition = findDefinition(session, packet.u32(16));
    if (!definition)
        return refuse(Exception::unrecognizedId, 1);
    SimObject* object = findObject(simulator, packet.u32(20));
    if (!object)
        return refuse(Exception::unrecognizedId, 2);
    if (!definition->settable)
        return refuse(Exception::dataError, 1);
    constexpr std::uint32_t head = 36;
    const std::size_t bytes = packet.size() - head;
    const std::uint32_t count = std::max(packet.u32(28), 1u);
    const std::uint32_t unit = packet.u32(32);
    const bool tagged = (packet.u32(24) & setTagged) != 0;
    if (std::uint64_t{count} * unit != bytes || unit == 0 || (!tagged && unit != definition->fixedSize))
        return refuse(Exception::invalidDataSize, 5);
    for (std::uint32_t i = 0; i < count; ++i) {
        const ByteReader element = packet.part(head + std::size_t{i} * unit, unit);
        Exception result = Exception::none;
        if (tagged)
            result = setTaggedPairs(*definition, *object, element);
        else if (!setElement(session, *definition, *object, element))
            result = Exception::dataError;
        if (result != Exception::none)
            return refuse(result, 6);
    }
    if (definition->position && object->id != userId)
        notePosition(simulator, *object);
}

} // namespace kes::world
