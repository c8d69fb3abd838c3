// SPDX-License-Identifier: MIT
// Data definitions, requests and setting of data, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callAddDatum(Simulator&, Session&, const Packet&);
void callClearDefinition(Simulator&, Session&, const Packet&);
void callRequestData(Simulator&, Session&, const Packet&);
void callRequestDataByType(Simulator&, Session&, const Packet&);
void callSetData(Simulator&, Session&, const Packet&);

} // namespace kes::world
