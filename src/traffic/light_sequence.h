// SPDX-License-Identifier: MIT
// A new object needs some seconds before it takes its lights: it is toggled twice, gets its first set of lights and
// controls after two seconds, and counts as active from then on. Worker only.
#pragma once

#include "traffic/motion.h"

#include <cstdint>

namespace kes {

void beginLightSequence(std::uint32_t objectid, std::uint32_t hexid); ///< of a live or a static aircraft
void endLightSequence(std::uint32_t objectid);                        ///< its object has gone
/// One tick of all sequences.
void advanceLightSequences(const Motion& m);
void clearLightSequences(); ///< for a new run

} // namespace kes
