// SPDX-License-Identifier: MIT
// Data definitions, requests and setting of data, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callAddDatum(Simulator&, Session&, const Packet&); ///< makes the definition, too; at most 1000 of 1000 fields
void callClearDefinition(Simulator&, Session&, const Packet&);   ///< refused when there is none
void callRequestData(Simulator&, Session&, const Packet&);       ///< makes, replaces or (period "never") ends a request
void callRequestDataByType(Simulator&, Session&, const Packet&); ///< answered with the next frame; at most 200,000 m
void callSetData(Simulator&, Session&, const Packet&);           ///< at once; of several records the last one holds

} // namespace kes::world
