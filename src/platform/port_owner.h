// SPDX-License-Identifier: MIT
// Who has a port that this program wants.
#pragma once

#include <cstdint>
#include <string>

namespace kes::platform {

enum class PortKind { tcp, udp };

/// The program that listens on a port of this machine, as "name (process 123)". Empty when none does, when it belongs
/// to another user, or when the system does not tell. Any thread; reads a file per open file of every process.
std::string portOwner(std::uint16_t port, PortKind kind);

} // namespace kes::platform
