// SPDX-License-Identifier: MIT
#include "world/simulator/calls_objects.h"

#include "core/geo.h"
#include "platform/system.h"
#include "world/simulator/messages.h"

#include <cmath>

namespace kes::world {

namespace sc = simconnect;
using sc::Exception;

namespace {

constexpr std::int32_t cruiseSpeed = -1;
constexpr double cruiseKnots = 250;

/// Whether this create is one of those that are to fail.
bool isRefused(Simulator& simulator, std::string_view title) {
    Faults& faults = simulator.faults;
    ++faults.creates;
    const bool nth = faults.refuseEvery != 0 && faults.creates % faults.refuseEvery == 0;
    return faults.refuseAll || nth || faults.refusedTitles.contains(title);
}

void create(Simulator& simulator, Session& session, const Packet& packet, std::string_view title, std::string_view tail,
            std::uint32_t positionOffset, std::uint32_t requestOffset, sc::SimObjectType type) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        ++simulator.counters.refusedCreates;
        sendException(simulator, session, exception, packet.sendId, index);
    };
    if (isRefused(simulator, title) || title.empty() || !isKnownTitle(simulator.options.titles, title))
        return refuse(Exception::createObjectFailed, 1);
    if (objectCount(simulator) >= simulator.options.maxObjects)
        return refuse(Exception::tooManyObjects, 1);
    const auto at = packet.get<sc::InitPosition>(positionOffset);
    const double parts[] = {at.latitude, at.longitude, at.altitude, at.pitch, at.bank, at.heading};
    for (const double part : parts)
        if (!std::isfinite(part))
            return refuse(Exception::dataError, 3);
    if (std::abs(at.latitude) > 90.0 || std::abs(at.longitude) > 180.0)
        return refuse(Exception::outOfBounds, 3);

    SimObject object;
    object.type = type;
    object.title = title;
    object.tail = tail.substr(0, sc::tailNumberChars);
    object.lat = at.latitude;
    object.lon = at.longitude;
    object.alt = at.altitude;
    object.pitch = at.pitch * degToRad;
    object.bank = at.bank * degToRad;
    object.heading = normalizeAngle(at.heading * degToRad);
    const auto speed = static_cast<std::int32_t>(at.airspeed);
    const bool onGround = at.onGround != 0;
    object.tas = speed >= 0 ? speed : speed == cruiseSpeed && !onGround ? cruiseKnots : 0.0;
    createObject(simulator, session, std::move(object), onGround, packet.u32(requestOffset));
}

/// The object of a call, if this client may command it; otherwise the client is told and the result is null.
SimObject* ownObject(Simulator& simulator, Session& session, const Packet& packet) {
    SimObject* object = findObject(simulator, packet.u32(16));
    if (!object || object->leaving) {
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
        return nullptr;
    }
    if (object->owner != session.id) {
        sendException(simulator, session, Exception::illegalOperation, packet.sendId, 1);
        return nullptr;
    }
    return object;
}

bool isPlan(std::string_view path) {
    std::error_code error;
    const std::string text(path);
    try {
        return std::filesystem::is_regular_file(platform::pathFrom(text), error) ||
               std::filesystem::is_regular_file(platform::pathFrom(text + ".pln"), error);
    } catch (const win32::Utf8ConversionException&) {
        return false;
    }
}

} // namespace

void callCreateNonAtc(Simulator& simulator, Session& session, const Packet& packet) {
    create(simulator, session, packet, packet.text(16, 256), packet.text(272, 12), 284, 340,
           sc::SimObjectType::aircraft);
}

void callCreateNonAtcEx1(Simulator& simulator, Session& session, const Packet& packet) {
    create(simulator, session, packet, packet.text(16, 256), packet.text(528, 12), 540, 596,
           sc::SimObjectType::aircraft);
}

void callCreateSimulated(Simulator& simulator, Session& session, const Packet& packet) {
    create(simulator, session, packet, packet.text(16, 256), {}, 272, 328, sc::SimObjectType::ground);
}

void callCreateAtc(Simulator& simulator, Session& session, const Packet& packet) {
    // There is no air traffic control here that could take such an aircraft.
    ++simulator.counters.refusedCreates;
    sendException(simulator, session, Exception::createObjectFailed, packet.sendId, 1);
}

void callReleaseControl(Simulator& simulator, Session& session, const Packet& packet) {
    if (SimObject* object = ownObject(simulator, session, packet))
        object->released = true;
}

void callRemoveObject(Simulator& simulator, Session& session, const Packet& packet) {
    if (SimObject* object = ownObject(simulator, session, packet))
        removeObject(simulator, *object);
}

void callSetFlightPlan(Simulator& simulator, Session& session, const Packet& packet) {
    SimObject* object = ownObject(simulator, session, packet);
    if (!object)
        return;
    if (object->type != sc::SimObjectType::aircraft)
        return sendException(simulator, session, Exception::operationInvalidForObjectType, packet.sendId, 1);
    const std::string_view path = packet.text(20, 260);
    if (!isPlan(path))
        return sendException(simulator, session, Exception::loadFlightplanFailed, packet.sendId, 2);
    object->flightPlan = path;
}

} // namespace kes::world
