// SPDX-License-Identifier: MIT
// A client's packets in words, read off by their offsets, so that a test can say what has to arrive.
#pragma once

#include "world/simulator/packet.h"

#include <string>

namespace kes::world {

inline constexpr std::size_t mostWireLines = 100000; ///< what comes beyond is not recorded

/// One line: the call's name and its parameters in their order, texts in quotes. A set of data shows its 64-bit
/// numbers.
std::string describePacket(const Packet& packet);
/// Appends it to the simulator's record.
void recordPacket(Simulator& simulator, const Packet& packet);

} // namespace kes::world
