// SPDX-License-Identifier: MIT
#include "tools/replay/pose.h"

#include <array>

namespace kes::replay {

namespace {

constexpr std::array<std::string_view, phaseCount> phaseNames{"air",  "approach",  "flare",    "roll-out",
                                                              "taxi", "push-back", "take-off", "parked"};

} // namespace

std::string_view text(Phase phase) {
    return phaseNames[static_cast<std::size_t>(phase)];
}

} // namespace kes::replay
