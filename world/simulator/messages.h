// SPDX-License-Identifier: MIT
// What the simulator says to its clients: each message is put behind what waits in the session's buffer. Nothing goes
// to a session that is finished or dropped; one whose buffer would outgrow `maxOutput` is dropped. Under whatever
// guards the simulator.
#pragma once

#include "world/simulator/model.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace kes::world {

// Messages to one client, each by the name of its kind.
/// Counts the exception as well. `index` = the argument at fault; nothing = the number by which
/// this generation of the simulator says that it does not know.
void sendException(Simulator& simulator, Session& session, simconnect::Exception exception, std::uint32_t sendId,
                   std::optional<std::uint32_t> index);
void sendOpen(Simulator& simulator, Session& session); ///< name and version by the generation of the simulator
void sendQuit(Simulator& simulator, Session& session);
void sendEvent(Simulator& simulator, Session& session, std::uint32_t group, std::uint32_t eventId, std::uint32_t data);
void sendAssigned(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t objectId);
void sendSystemState(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t number,
                     std::string_view text);
/// One object's values; `byType` tells which of the two kinds. Entry `number` of `count`.
void sendObjectData(Simulator& simulator, Session& session, const Definition& definition, const SimObject& object,
                    std::uint32_t requestId, std::uint32_t flags, bool byType, std::uint32_t number,
                    std::uint32_t count);
/// The answer to a range query that found nothing: a head without data, entry 0 of 0.
void sendNothingFound(Simulator& simulator, Session& session, std::uint32_t requestId, std::uint32_t defineId);
/// Sends a request's values unless they are unchanged and only changes are wanted.
void sendRequested(Simulator& simulator, Session& session, DataRequest& request, const Definition& definition,
                   const SimObject& object);

// Messages to every client that subscribed.
void postEvent(Simulator& simulator, SystemEvent event, std::uint32_t data);
void postObjectEvent(Simulator& simulator, SystemEvent event, const SimObject& object); ///< its id and type
void postFilename(Simulator& simulator, SystemEvent event, std::string_view path);
void postFrame(Simulator& simulator, float frameRate); ///< per second; the simulation speed is always 1

} // namespace kes::world
