// SPDX-License-Identifier: MIT
#include "feed/port_advice.h"

#include <fmt/format.h>

namespace kes {

std::string portAdvice(std::uint16_t port, platform::PortKind kind, std::string_view parameter) {
    const std::string owner = platform::portOwner(port, kind);
    std::string text = fmt::format("Port {} ({}) is wanted for RealTraffic and cannot be had", port,
                                   kind == platform::PortKind::tcp ? "TCP" : "UDP");
    text += owner.empty() ? ": another program may have it. Close that program" : ": " + owner + " has it. Close it";
    if (!parameter.empty())
        text +=
            fmt::format(", or give {} in parameters.xml another port, the one that RealTraffic connects to", parameter);
    return text + ".";
}

} // namespace kes
