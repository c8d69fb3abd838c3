// SPDX-License-Identifier: MIT
#include "simconnect/message_stream.h"

#include "core/byte_reader.h"
#include "simconnect/wire.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes::simconnect {

namespace {

/// Holds the position replies of a full range request in one piece.
constexpr std::size_t firstBuffer = 64 * 1024;

struct Kind {
    DWORD id;
    const char* name;
    DWORD minimum;
    DWORD lastOfText; ///< offset of the last byte of its fixed text field, 0 = none
};

constexpr DWORD systemState = 15;

// Larger messages than these pass: newer simulators append fields.
constexpr Kind kinds[] = {
    {static_cast<DWORD>(RecvId::exception), "exception", sizeof(RecvException), 0},
    {static_cast<DWORD>(RecvId::open), "open", sizeof(RecvOpen), 12 + 255},
    {static_cast<DWORD>(RecvId::quit), "quit", sizeof(RecvQuit), 0},
    {static_cast<DWORD>(RecvId::event), "event", sizeof(RecvEvent), 0},
    {static_cast<DWORD>(RecvId::eventObjectAddRemove), "object add/remove", sizeof(RecvEventObjectAddRemove), 0},
    {static_cast<DWORD>(RecvId::eventFilename), "file name", sizeof(RecvEventFilename), 24 + 259},
    {static_cast<DWORD>(RecvId::eventFrame), "frame", sizeof(RecvEventFrame), 0},
    {static_cast<DWORD>(RecvId::simObjectData), "object data", sizeof(RecvSimObjectData), 0},
    {static_cast<DWORD>(RecvId::simObjectDataByType), "object data by type", sizeof(RecvSimObjectData), 0},
    {static_cast<DWORD>(RecvId::assignedObjectId), "assigned object id", sizeof(RecvAssignedObjectId), 0},
    {systemState, "system state", 284, 24 + 259},
    {static_cast<DWORD>(RecvId::clientData), "client data", sizeof(RecvSimObjectData), 0},
    {static_cast<DWORD>(RecvId::eventEx1), "event with more data", 40, 0},
};

const Kind& kindOf(DWORD id) {
    static constexpr Kind other{0, "other", wire::serverHeaderSize, 0};
    const auto* found = std::find_if(std::begin(kinds), std::end(kinds), [id](const Kind& k) { return k.id == id; });
    return found != std::end(kinds) ? *found : other;
}

ByteReader waiting(const MessageStream& stream) {
    return ByteReader(std::span(stream.buffer).subspan(stream.head, stream.tail - stream.head));
}

} // namespace

DWORD minimumSize(DWORD kind) {
    return kindOf(kind).minimum;
}

Cut nextMessage(MessageStream& stream, Recv*& message, std::string& fault) {
    const ByteReader bytes = waiting(stream);
    if (bytes.size() < sizeof(DWORD))
        return Cut::incomplete;
    const DWORD size = bytes.u32(0);
    if (size < wire::serverHeaderSize || size > wire::maxServerPacket) {
        fault = fmt::format("a message cannot have {} bytes", size);
        return Cut::broken;
    }
    // The kind stands in the header: a wrong size shows before a body is waited for that may never come.
    if (bytes.size() < wire::serverHeaderSize)
        return Cut::incomplete;
    const DWORD id = bytes.u32(8);
    const Kind& kind = kindOf(id);
    if (size < kind.minimum) {
        fault = fmt::format("message of kind {} ({}) has {} bytes instead of {}", id, kind.name, size, kind.minimum);
        return Cut::broken;
    }
    if (bytes.size() < size)
        return Cut::incomplete;
    std::byte* start = stream.buffer.data() + stream.head;
    // A text that fills its field would let its reader run on into what lies behind.
    if (kind.lastOfText != 0)
        start[kind.lastOfText] = std::byte{0};
    message = reinterpret_cast<Recv*>(start);
    stream.head += size;
    return Cut::message;
}

std::span<std::byte> room(MessageStream& stream) {
    // All complete messages are gone by now, so this moves at most the beginning of one.
    if (stream.head > 0) {
        std::copy(stream.buffer.begin() + static_cast<std::ptrdiff_t>(stream.head),
                  stream.buffer.begin() + static_cast<std::ptrdiff_t>(stream.tail), stream.buffer.begin());
        stream.tail -= stream.head;
        stream.head = 0;
    }
    std::size_t needed = firstBuffer;
    if (stream.tail >= sizeof(DWORD))
        needed = std::max<std::size_t>(needed, waiting(stream).u32(0));
    if (stream.buffer.size() < needed)
        stream.buffer.resize(std::max<std::size_t>(needed, 2 * stream.buffer.size()));
    return std::span(stream.buffer).subspan(stream.tail);
}

void arrived(MessageStream& stream, std::size_t bytes) {
    stream.tail += bytes;
}

void clear(MessageStream& stream) {
    stream.head = stream.tail = 0;
}

} // namespace kes::simconnect
