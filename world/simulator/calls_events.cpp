// SPDX-License-Identifier: MIT
#include "world/simulator/calls_events.h"

#include "core/text.h"
#include "world/simulator/messages.h"

#include <algorithm>

namespace kes::world {

namespace sc = simconnect;
using sc::Exception;

namespace {

constexpr std::size_t maxGroups = 20, maxEventNames = 1000, maxMembers = 1000;

struct SystemEventName {
    std::string_view name;
    SystemEvent event;
};

// Those marked silent exist in a simulator, but nothing here ever brings them about.
constexpr SystemEventName systemEvents[] = {
    {"Sim", SystemEvent::sim},
    {"SimStart", SystemEvent::simStart},
    {"SimStop", SystemEvent::simStop},
    {"Pause", SystemEvent::pause},
    {"Pause_EX1", SystemEvent::pauseEx1},
    {"Paused", SystemEvent::paused},
    {"Unpaused", SystemEvent::unpaused},
    {"Frame", SystemEvent::frame},
    {"1sec", SystemEvent::second},
    {"4sec", SystemEvent::fourSeconds},
    {"6Hz", SystemEvent::sixHertz},
    {"ObjectAdded", SystemEvent::objectAdded},
    {"ObjectRemoved", SystemEvent::objectRemoved},
    {"FlightLoaded", SystemEvent::flightLoaded},
    {"AircraftLoaded", SystemEvent::aircraftLoaded},
    {"PositionChanged", SystemEvent::positionChanged},
    {"FlightSaved", SystemEvent::silent},
    {"FlightPlanActivated", SystemEvent::silent},
    {"FlightPlanDeactivated", SystemEvent::silent},
    {"Crashed", SystemEvent::silent},
    {"CrashReset", SystemEvent::silent},
    {"PauseFrame", SystemEvent::silent},
    {"Sound", SystemEvent::silent},
    {"View", SystemEvent::silent},
};

Group* findGroup(Session& session, std::uint32_t id) {
    for (Group& group : session.groups)
        if (group.id == id)
            return &group;
    return nullptr;
}

/// The group of an id, made when new. Null at the limit.
Group* takeGroup(Session& session, std::uint32_t id) {
    if (Group* group = findGroup(session, id))
        return group;
    if (session.groups.size() >= maxGroups)
        return nullptr;
    session.groups.push_back({});
    session.groups.back().id = id;
    return &session.groups.back();
}

const MappedEvent* findEvent(const Session& session, std::uint32_t eventId) {
    for (const MappedEvent& event : session.events)
        if (event.eventId == eventId)
            return &event;
    return nullptr;
}

Subscription* findSubscription(Session& session, std::uint32_t eventId) {
    for (Subscription& subscription : session.subscriptions)
        if (subscription.eventId == eventId)
            return &subscription;
    return nullptr;
}

/// An event at the user's aircraft is told to every client that has it in a group, best priority first.
void tellGroups(Simulator& simulator, ClientEvent event, std::uint32_t data) {
    for (const auto& session : simulator.sessions) {
        std::vector<const Group*> groups;
        for (const Group& group : session->groups)
            groups.push_back(&group);
        std::stable_sort(groups.begin(), groups.end(),
                         [](const Group* a, const Group* b) { return a->priority < b->priority; });
        for (const Group* group : groups)
            for (const std::uint32_t eventId : group->members)
                if (const MappedEvent* mapped = findEvent(*session, eventId); mapped && mapped->event == event)
                    sendEvent(simulator, *session, group->id, eventId, data);
    }
}

void transmit(Simulator& simulator, Session& session, const Packet& packet, std::uint32_t group, std::uint32_t flags,
              std::uint32_t data) {
    const auto refuse = [&](std::uint32_t index) {
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, index);
    };
    SimObject* object = findObject(simulator, packet.u32(16));
    if (!object)
        return refuse(1);
    const MappedEvent* mapped = findEvent(session, packet.u32(20));
    if (!mapped)
        return refuse(2);
    if ((flags & sc::eventFlagGroupIdIsPriority) == 0 && !findGroup(session, group))
        return refuse(4);
    const std::string_view name = nameOf(mapped->event);
    auto counter = simulator.counters.events.find(name);
    if (counter == simulator.counters.events.end())
        counter = simulator.counters.events.emplace(name, 0).first;
    ++counter->second;
    if (simulator.hooks.event)
        simulator.hooks.event(*object, mapped->event, data);
    applyClientEvent(*object, mapped->event, data);
    if (object->id == userId)
        tellGroups(simulator, mapped->event, data);
}

} // namespace

void callOpen(Simulator& simulator, Session& session, const Packet& packet) {
    if (session.opened)
        return sendException(simulator, session, Exception::illegalOperation, packet.sendId, std::nullopt);
    session.version = packet.version;
    if (packet.version < simulator.options.lowestProtocol || packet.version > simulator.options.highestProtocol)
        return sendException(simulator, session, Exception::versionMismatch, packet.sendId, 4);
    session.opened = true;
    session.name = packet.text(16, 256);
    ++simulator.counters.clients;
    sendOpen(simulator, session);
}

void callMapEvent(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    const std::uint32_t eventId = packet.u32(16);
    if (findEvent(session, eventId) || findSubscription(session, eventId))
        return refuse(Exception::eventIdDuplicate, 1);
    if (session.events.size() >= maxEventNames)
        return refuse(fault::tooManyEventNames, 1);
    const ClientEvent event = clientEventOf(packet.text(20, 256));
    if (event == ClientEvent::unknown)
        return refuse(Exception::nameUnrecognized, 2);
    session.events.push_back({eventId, event});
}

void callTransmitEvent(Simulator& simulator, Session& session, const Packet& packet) {
    transmit(simulator, session, packet, packet.u32(28), packet.u32(32), packet.u32(24));
}

void callTransmitEventEx1(Simulator& simulator, Session& session, const Packet& packet) {
    transmit(simulator, session, packet, packet.u32(24), packet.u32(28), packet.u32(32));
}

void callAddEventToGroup(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    const std::uint32_t eventId = packet.u32(20);
    if (!findEvent(session, eventId))
        return refuse(Exception::unrecognizedId, 2);
    Group* group = takeGroup(session, packet.u32(16));
    if (!group)
        return refuse(fault::tooManyGroups, 1);
    if (std::find(group->members.begin(), group->members.end(), eventId) != group->members.end())
        return refuse(Exception::eventIdDuplicate, 2);
    if (group->members.size() >= maxMembers)
        return refuse(fault::tooManyEventNames, 2);
    group->members.push_back(eventId);
}

void callRemoveEventFromGroup(Simulator& simulator, Session& session, const Packet& packet) {
    Group* group = findGroup(session, packet.u32(16));
    if (!group)
        return sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
    if (std::erase(group->members, packet.u32(20)) == 0)
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 2);
}

void callSetGroupPriority(Simulator& simulator, Session& session, const Packet& packet) {
    Group* group = takeGroup(session, packet.u32(16));
    if (!group)
        return sendException(simulator, session, fault::tooManyGroups, packet.sendId, 1);
    group->priority = packet.u32(20);
}

void callClearGroup(Simulator& simulator, Session& session, const Packet& packet) {
    const std::uint32_t id = packet.u32(16);
    if (std::erase_if(session.groups, [id](const Group& group) { return group.id == id; }) == 0)
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
}

void callSubscribe(Simulator& simulator, Session& session, const Packet& packet) {
    const auto refuse = [&](Exception exception, std::uint32_t index) {
        sendException(simulator, session, exception, packet.sendId, index);
    };
    const std::uint32_t eventId = packet.u32(16);
    const std::string_view name = packet.text(20, 256);
    if (findSubscription(session, eventId))
        return refuse(Exception::alreadySubscribed, 1);
    if (findEvent(session, eventId))
        return refuse(Exception::eventIdDuplicate, 1);
    const auto row = std::find_if(std::begin(systemEvents), std::end(systemEvents),
                                  [&](const SystemEventName& candidate) { return equalsNoCase(candidate.name, name); });
    if (row == std::end(systemEvents))
        return refuse(Exception::nameUnrecognized, 2);
    if (session.subscriptions.size() >= maxEventNames)
        return refuse(fault::tooManyEventNames, 1);
    session.subscriptions.push_back({eventId, row->event});
    // States are told at once, so that a late client knows where it stands.
    if (row->event == SystemEvent::sim)
        sendEvent(simulator, session, sc::unused, eventId, simulator.running ? 1 : 0);
    else if (row->event == SystemEvent::pause || row->event == SystemEvent::pauseEx1)
        sendEvent(simulator, session, sc::unused, eventId, 0);
}

void callUnsubscribe(Simulator& simulator, Session& session, const Packet& packet) {
    const std::uint32_t eventId = packet.u32(16);
    if (std::erase_if(session.subscriptions, [eventId](const Subscription& s) { return s.eventId == eventId; }) == 0)
        sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
}

void callSetSystemEventState(Simulator& simulator, Session& session, const Packet& packet) {
    const std::uint32_t state = packet.u32(20);
    if (state > 1)
        return sendException(simulator, session, Exception::invalidEnum, packet.sendId, 2);
    Subscription* subscription = findSubscription(session, packet.u32(16));
    if (!subscription)
        return sendException(simulator, session, Exception::unrecognizedId, packet.sendId, 1);
    subscription->on = state == 1;
}

void callRequestSystemState(Simulator& simulator, Session& session, const Packet& packet) {
    const std::uint32_t requestId = packet.u32(16);
    const std::string_view name = packet.text(20, 256);
    if (equalsNoCase(name, "Sim"))
        sendSystemState(simulator, session, requestId, simulator.running ? 1 : 0, "");
    else if (equalsNoCase(name, "DialogMode"))
        sendSystemState(simulator, session, requestId, 0, "");
    else if (equalsNoCase(name, "FlightLoaded"))
        sendSystemState(simulator, session, requestId, 0, simulator.flight);
    else if (equalsNoCase(name, "AircraftLoaded"))
        sendSystemState(simulator, session, requestId, 0, simulator.user.title);
    else if (equalsNoCase(name, "FlightPlan"))
        sendSystemState(simulator, session, requestId, 0, simulator.user.flightPlan);
    else
        sendException(simulator, session, Exception::nameUnrecognized, packet.sendId, 2);
}

} // namespace kes::world
