// SPDX-License-Identifier: MIT
// Opening, client events with their groups, and system events, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callOpen(Simulator&, Session&, const Packet&);
void callMapEvent(Simulator&, Session&, const Packet&);
void callTransmitEvent(Simulator&, Session&, const Packet&);
void callTransmitEventEx1(Simulator&, Session&, const Packet&);
void callSetSystemEventState(Simulator&, Session&, const Packet&);
void callAddEventToGroup(Simulator&, Session&, const Packet&);
void callRemoveEventFromGroup(Simulator&, Session&, const Packet&);
void callSetGroupPriority(Simulator&, Session&, const Packet&);
void callClearGroup(Simulator&, Session&, const Packet&);
void callSubscribe(Simulator&, Session&, const Packet&);
void callUnsubscribe(Simulator&, Session&, const Packet&);
void callRequestSystemState(Simulator&, Session&, const Packet&);

} // namespace kes::world
