// SPDX-License-Identifier: MIT
// The way on which packets travel. The client writes whole packets and reads a byte stream; what lies between is
// chosen at link time: a TCP connection (transport_net.cpp) or the simulator model in the same process.
#pragma once

#include "simconnect/open.h"
#include "simconnect/simconnect.h"

#include <cstddef>
#include <memory>
#include <span>

namespace kes::simconnect {

struct Transport {
    virtual ~Transport() = default;
    /// Writes one whole packet. False when the connection has ended. Any thread, one at a time.
    virtual bool write(std::span<const std::byte> packet) = 0;
    /// As `write`, but the packet may stay behind until the next `write` or `flush`; the order is kept.
    virtual bool writeHeld(std::span<const std::byte> packet) { return write(packet); }
    /// Sends what `writeHeld` kept back. False when the connection has ended.
    virtual bool flush() { return true; }
    /// Takes what has arrived into `buffer` without waiting: number of bytes, 0 = nothing there, -1 = ended.
    /// Dispatching thread only.
    virtual std::ptrdiff_t read(std::span<std::byte> buffer) = 0;
};

/// Reaches the simulator. Null when there is none; `result` tells why (E_FAIL, E_INVALIDARG). Waits at most two
/// seconds, looking up a name included, and no longer than `attempt` allows; tells there whom it has met.
std::unique_ptr<Transport> openTransport(DWORD configIndex, HRESULT& result, OpenTry& attempt);

} // namespace kes::simconnect
