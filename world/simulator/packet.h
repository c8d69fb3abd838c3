// A complete packet of a client, and the table of calls. Only for the files that carry calls out.
#pragma once

#include "core/byte_reader.h"
#include "world/simulator/model.h"

#include <cstdint>

namespace kes::world {

/// Lies in the session's buffer; offsets count from its first byte. The size was checked against the call.
struct Packet : ByteReader {
    explicit Packet(ByteReader bytes) : ByteReader(bytes) {}

    std::uint32_t version = 0, function = 0, sendId = 0;
};

// Exceptions that the program's own list does not name.
namespace fault {
using simconnect::Exception;
inline constexpr Exception tooManyGroups{6}, tooManyEventNames{8}, tooManyRequests{12}, invalidDataType{18},
    datumId{30};
} // namespace fault

using Call = void (*)(Simulator&, Session&, const Packet&);

// Declarations and events.
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

// Data.
void callAddDatum(Simulator&, Session&, const Packet&);
void callClearDefinition(Simulator&, Session&, const Packet&);
void callRequestData(Simulator&, Session&, const Packet&);
void callRequestDataByType(Simulator&, Session&, const Packet&);
void callSetData(Simulator&, Session&, const Packet&);

// AI objects.
void callCreateNonAtc(Simulator&, Session&, const Packet&);
void callCreateNonAtcEx1(Simulator&, Session&, const Packet&);
void callCreateSimulated(Simulator&, Session&, const Packet&);
void callCreateAtc(Simulator&, Session&, const Packet&);
void callReleaseControl(Simulator&, Session&, const Packet&);
void callRemoveObject(Simulator&, Session&, const Packet&);
void callSetFlightPlan(Simulator&, Session&, const Packet&);

} // namespace kes::world
