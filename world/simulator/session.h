// SPDX-License-Identifier: MIT
// One client of the stand-in simulator: what it sent so far, what waits to be sent to it, and what it declared.
// A session belongs to a Simulator and is guarded by whatever guards that.
#pragma once

#include "simconnect/simconnect.h"
#include "world/simulator/client_events.h"
#include "world/simulator/datums.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace kes::world {

struct Simulator;

/// Bytes on their way to a client; they lie in one piece.
struct OutBuffer {
    std::vector<std::byte> bytes;
    std::size_t head = 0; ///< bytes before it have gone

    std::size_t size() const { return bytes.size() - head; }
    std::span<const std::byte> waiting() const { return std::span(bytes).subspan(head); }
    void take(std::size_t count); ///< so many bytes have gone, at most `size`
    /// Room for `count` more bytes, zeroed. Valid until the next call.
    std::byte* append(std::size_t count);
};

struct Definition {
    std::uint32_t id = 0;
    std::vector<Field> fields;
    std::uint32_t fixedSize = 0;  ///< without variable texts
    std::uint32_t taggedSize = 0; ///< fixedSize and a datum id before each field
    bool variable = false;        ///< has a variable text
    bool ground = false;          ///< some field needs the terrain
    bool settable = false;        ///< every field may be set
    bool position = false;        ///< latitude and longitude are among the fields
};

enum class SystemEvent : std::uint8_t {
    sim,
    simStart,
    simStop,
    pause,
    pauseEx1,
    paused,
    unpaused,
    frame,
    second,
    fourSeconds,
    sixHertz,
    objectAdded,
    objectRemoved,
    flightLoaded,
    aircraftLoaded,
    positionChanged,
    silent,
};

struct Subscription {
    std::uint32_t eventId = 0;
    SystemEvent event = SystemEvent::silent;
    bool on = true;
};

struct MappedEvent {
    std::uint32_t eventId = 0;
    ClientEvent event = ClientEvent::other;
};

struct Group {
    std::uint32_t id = 0;
    std::uint32_t priority = 2000000000;
    std::vector<std::uint32_t> members; ///< event ids
};

struct DataRequest {
    std::uint32_t requestId = 0, defineId = 0, objectId = 0;
    simconnect::Period period = simconnect::Period::once;
    std::uint32_t flags = 0, origin = 0, interval = 0, limit = 0;
    std::uint32_t periods = 0, sent = 0;
    bool hasLast = false;
    std::vector<std::byte> last; ///< values of the last message, for "only when changed"
};

struct Session {
    std::uint32_t id = 0;
    bool opened = false;
    bool finished = false; ///< nothing more is taken; the stream ends when `out` has gone
    bool dropped = false;  ///< the stream ends at once
    std::uint32_t version = 4;
    std::string name;
    std::vector<std::byte> in; ///< beginning of a packet whose rest has not come
    OutBuffer out;
    std::vector<Definition> definitions;
    std::vector<Subscription> subscriptions;
    std::vector<MappedEvent> events;
    std::vector<Group> groups;
    std::vector<DataRequest> requests;
    std::vector<double> scratch;
};

/// Takes bytes of the client's stream, cut anywhere, and carries out every complete packet. False when the stream
/// cannot go on (a size word below 16 or above 64 KiB); the session is then `dropped`.
bool receive(Simulator& simulator, Session& session, std::span<const std::byte> bytes);

/// Null when the client has not defined it.
Definition* findDefinition(Session& session, std::uint32_t id);

} // namespace kes::world
