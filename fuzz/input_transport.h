// SPDX-License-Identifier: MIT
// A stream to the simulator that gives the bytes of an input, and wants whole packets.
#pragma once

#include "fuzz/fuzz.h"
#include "simconnect/transport.h"

#include <cstring>

namespace kes::fuzz {

struct InputTransport final : simconnect::Transport {
    /// What is left is in `input`; a read gives at most `piece` bytes.
    InputTransport(std::span<const std::byte>& input, std::size_t piece) : left(input), most(piece) {}

    bool write(std::span<const std::byte> packet) override {
        std::uint32_t size = 0;
        std::memcpy(&size, packet.data(), sizeof size);
        require(size == packet.size());
        return true;
    }
    std::ptrdiff_t read(std::span<std::byte> buffer) override {
        require(!buffer.empty());
        if (left.empty())
            return -1;
        const std::size_t count = std::min({most, buffer.size(), left.size()});
        std::memcpy(buffer.data(), left.data(), count);
        left = left.subspan(count);
        return static_cast<std::ptrdiff_t>(count);
    }
    std::span<const std::byte>& left;
    std::size_t most;
};

} // namespace kes::fuzz
