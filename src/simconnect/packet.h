// SPDX-License-Identifier: MIT
// Puts the fields of a client packet one behind the other, as they lie on the wire behind the header.
#pragma once

#include "simconnect/wire.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace kes::simconnect {

static_assert(std::endian::native == std::endian::little, "fields are copied as they stand");

/// The longest fixed part is that of a created aircraft's or a datum's packet, well below this.
struct PacketBody {
    std::byte bytes[640];
    std::size_t size = 0;

    std::span<const std::byte> view() const { return {bytes, size}; }
};

/// Any plain value of 4 or 8 bytes.
template <typename Value> void add(PacketBody& body, Value value) {
    static_assert(sizeof(Value) == 4 || sizeof(Value) == 8);
    std::memcpy(body.bytes + body.size, &value, sizeof value);
    body.size += sizeof value;
}

/// A text field of fixed length: cut so that one zero remains, filled up with zeros. Null is an empty text.
inline void addText(PacketBody& body, const char* text, std::size_t field) {
    std::size_t length = 0;
    if (text != nullptr)
        while (length < field - 1 && text[length] != '\0')
            ++length;
    std::copy_n(reinterpret_cast<const std::byte*>(text), length, body.bytes + body.size);
    std::fill_n(body.bytes + body.size + length, field - length, std::byte{0});
    body.size += field;
}

} // namespace kes::simconnect
