// SPDX-License-Identifier: MIT
// A complete packet of a client, and what carries one out.
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

/// Carries out one call of a client that has sent OPEN, or OPEN itself.
using Call = void (*)(Simulator&, Session&, const Packet&);

} // namespace kes::world
