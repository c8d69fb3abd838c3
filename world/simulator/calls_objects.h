// SPDX-License-Identifier: MIT
// Creating, steering and removing AI objects, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callCreateNonAtc(Simulator&, Session&, const Packet&);
void callCreateNonAtcEx1(Simulator&, Session&, const Packet&);
void callCreateSimulated(Simulator&, Session&, const Packet&);
void callCreateAtc(Simulator&, Session&, const Packet&);
void callReleaseControl(Simulator&, Session&, const Packet&);
void callRemoveObject(Simulator&, Session&, const Packet&);
void callSetFlightPlan(Simulator&, Session&, const Packet&);

} // namespace kes::world
