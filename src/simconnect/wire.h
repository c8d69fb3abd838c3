// SPDX-License-Identifier: MIT
// Numbers and layouts of the network protocol, shared by the client and by the stand-in simulator. Little-endian,
// packed.
#pragma once

#include <cstdint>

namespace kes::simconnect::wire {

inline constexpr std::uint32_t clientHeaderSize = 16; ///< size, protocol version, function, send id
inline constexpr std::uint32_t serverHeaderSize = 12; ///< size, version, receive id
inline constexpr std::uint32_t functionMark = 0xF0000000, functionMask = 0x0FFFFFFF;
inline constexpr std::uint32_t maxClientPacket = 64 * 1024;   ///< a server closes the connection beyond this
inline constexpr std::uint32_t maxServerPacket = 1024 * 1024; ///< a client closes the connection beyond this

/// Function ids, client to server.
namespace fn {
inline constexpr std::uint32_t open = 0x01, close = 0x02, requestResponseTimes = 0x03, mapClientEvent = 0x04,
                               transmitClientEvent = 0x05, setSystemEventState = 0x06, addClientEventToGroup = 0x07,
                               removeClientEvent = 0x08, setGroupPriority = 0x09, clearGroup = 0x0A,
                               requestGroup = 0x0B, addToDataDefinition = 0x0C, clearDataDefinition = 0x0D,
                               requestData = 0x0E, requestDataByType = 0x0F, setData = 0x10,
                               subscribeSystemEvent = 0x17, unsubscribeSystemEvent = 0x18, createParked = 0x27,
                               createEnroute = 0x28, createNonAtc = 0x29, createSimulated = 0x2A, releaseControl = 0x2B,
                               removeObject = 0x2C, setFlightPlan = 0x2D, requestSystemState = 0x35,
                               transmitClientEventEx1 = 0x44, createNonAtcEx1 = 0x59;
}

/// What OPEN announces. The first set has worked with both simulators; a server that answers with a version mismatch is
/// asked again on a new connection with the next one.
struct Announce {
    std::uint32_t protocol;
    unsigned char tag[4];
    std::uint32_t major, minor, buildMajor, buildMinor;
};
inline constexpr Announce announces[] = {
    {4, {0x00, 'X', 'S', 'F'}, 10, 0, 61259, 0},
    {5, {0x00, 'H', 'K', 0x00}, 11, 0, 62651, 3},
    {6, {0x00, 'R', 'S', 0x00}, 12, 2, 282174, 999},
};

/// Text fields on the wire; one byte is always the terminating zero.
inline constexpr std::uint32_t nameField = 256, tailField = 12, pathField = 260;

} // namespace kes::simconnect::wire
