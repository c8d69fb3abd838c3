// SPDX-License-Identifier: MIT
#ifdef _WIN32

#include "platform/port_owner.h"

namespace kes::platform {

std::string portOwner(std::uint16_t, PortKind) {
    return {};
}

} // namespace kes::platform

#endif
