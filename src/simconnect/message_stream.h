// SPDX-License-Identifier: MIT
// Cuts the simulator's byte stream into messages. Packets may be split or joined anywhere on the way; only their size
// words mark where one ends, so a wrong size leaves no way back into the stream.
#pragma once

#include "simconnect/simconnect.h"

#include <cstddef>
#include <span>
#include <string>
#include <vector>

namespace kes::simconnect {

/// One buffer for all messages: they are handed over where they arrived and nothing is allocated once it is large
/// enough.
struct MessageStream {
    std::vector<std::byte> buffer;
    std::size_t head = 0; ///< first byte not handed over
    std::size_t tail = 0; ///< behind the last byte that has arrived
};

enum class Cut { message, incomplete, broken };

/// Takes the next complete message off the stream. It lies in the buffer and is valid until `room`; its size fits its
/// kind and its text fields end in a zero. For `broken` the reason stands in `fault`, and the stream is of no more use.
Cut nextMessage(MessageStream& stream, Recv*& message, std::string& fault);

/// Where to put the bytes that arrive next: never empty, and room for the whole of a message that has begun. Only after
/// `incomplete`.
std::span<std::byte> room(MessageStream& stream);
/// Tells how many bytes were put there.
void arrived(MessageStream& stream, std::size_t bytes);
/// Forgets everything, for a new connection; keeps the buffer.
void clear(MessageStream& stream);

/// Bytes that a message of this kind must have at least, the header included.
DWORD minimumSize(DWORD kind);

} // namespace kes::simconnect
