// SPDX-License-Identifier: MIT
// What the worker wants of the simulator's objects, at the pace that a simulator bears: births one after the other,
// creations every half second, those of live aircraft first, removals ten times a second. Worker only.
#pragma once

#include "sim/ai_commands.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace kes {

/// What waits for its turn, for those who look at it only.
struct Orders {
    std::vector<std::uint32_t> spawnQueue;       ///< hexids, last-in first-out
    std::deque<CreateRequest> liveCreateQueue;   ///< handed over first
    std::deque<CreateRequest> staticCreateQueue; ///< handed over when no live one waits
    std::deque<std::uint32_t> removalQueue;      ///< objectids, each once
};
const Orders& waitingOrders(); ///< valid until the next call of this module

/// A live aircraft is to come into the simulator; its request is made when its turn comes.
void orderBirth(std::uint32_t hexid);
/// The hexid whose request is to be made now, taken off its queue; one a tick. Nothing when none waits.
std::optional<std::uint32_t> takeBirth();
/// Births and create requests of live aircraft that the simulator has not been handed.
std::size_t birthsUnderWay();

/// A request waits for its turn, by its hexid among those of live or of static aircraft.
void orderCreate(CreateRequest request);
/// Takes back whatever asks for the object of a hexid. False = the simulator has been asked for it.
bool withdrawCreate(std::uint32_t hexid);

/// An object is to leave. One that waits already is not ordered again, which the simulator would take as an error.
void orderRemoval(std::uint32_t objectid);
/// The object has left.
void forgetRemoval(std::uint32_t objectid);

/// What a tick has handed to the simulator client.
struct Moved {
    std::uint32_t createdLive = 0; ///< hexid of a live aircraft whose object was asked for; 0 = none
    bool staticTurn = false;       ///< the turn of static aircraft, whether one waited or not
};
/// Every tick: a removal in each tenth; in each fiftieth a creation, live before static.
Moved moveOne(std::int32_t tick);

void clearOrders(); ///< of a run that has ended; nothing is told to the simulator

} // namespace kes
