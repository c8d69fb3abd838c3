// SPDX-License-Identifier: MIT
// Creating, steering and removing AI objects, each call as its packet asks for it. What the
// packet gets wrong becomes an exception message; one that is too short throws MissingBytes.
#pragma once

#include "world/simulator/packet.h"

namespace kes::world {

void callCreateNonAtc(Simulator&, Session&, const Packet&);    ///< what is refused counts in `refusedCreates`
void callCreateNonAtcEx1(Simulator&, Session&, const Packet&); ///< the same; the livery's name is not looked at
void callCreateSimulated(Simulator&, Session&, const Packet&); ///< a ground vehicle, without a tail number
void callCreateAtc(Simulator&, Session&, const Packet&);       ///< always refused: nobody here could control it
void callReleaseControl(Simulator&, Session&, const Packet&);  ///< of an object of this client, as the next two
void callRemoveObject(Simulator&, Session&, const Packet&);
void callSetFlightPlan(Simulator&, Session&, const Packet&); ///< an aircraft; the file must be there and is not read

} // namespace kes::world
