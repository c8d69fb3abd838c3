// SPDX-License-Identifier: MIT
// Opening, client events with their groups, and system events, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callOpen(Simulator&, Session&, const Packet&);             ///< once, by a protocol that the options take
void callMapEvent(Simulator&, Session&, const Packet&);         ///< an id that neither an event nor a subscription has
void callTransmitEvent(Simulator&, Session&, const Packet&);    ///< at once; told to the groups when it is at the user
void callTransmitEventEx1(Simulator&, Session&, const Packet&); ///< the same; of its values the first counts
void callSetSystemEventState(Simulator&, Session&, const Packet&); ///< a subscription rests (0) or is told again (1)
void callAddEventToGroup(Simulator&, Session&, const Packet&);     ///< makes the group; at most 20 of 1000 events
void callRemoveEventFromGroup(Simulator&, Session&, const Packet&);
void callSetGroupPriority(Simulator&, Session&, const Packet&); ///< makes the group as well
void callClearGroup(Simulator&, Session&, const Packet&);       ///< its priority is forgotten, too
void callSubscribe(Simulator&, Session&, const Packet&);        ///< "Sim" and the pauses tell their state at once
void callUnsubscribe(Simulator&, Session&, const Packet&);
void callRequestSystemState(Simulator&, Session&, const Packet&); ///< answered at once; five names, in any case

} // namespace kes::world
