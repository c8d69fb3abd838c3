// SPDX-License-Identifier: MIT
// What a user can do when a port of this machine cannot be had.
#pragma once

#include "platform/port_owner.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

/// Who has the port, and the way out. `parameter` is the one that holds the port; empty = the port is fixed. Any
/// thread, outside of steady work: it looks through all processes.
std::string portAdvice(std::uint16_t port, platform::PortKind kind, std::string_view parameter);

} // namespace kes
