// SPDX-License-Identifier: MIT
// Creations that nobody waits for any more. Their objects may still come, and until they have, or until that is too
// long ago, nobody with the same hexid is asked for: the two objects could not be told apart. Worker only.
#pragma once

#include <cstdint>

namespace kes {

void noteAbandoned(std::uint32_t hexid); ///< counts for 12000 ticks, two minutes
bool isAbandoned(std::uint32_t hexid);   ///< noted, not taken, and not too long ago
/// True = the simulator's answer was to such a creation, which is forgotten now.
bool takeAbandoned(std::uint32_t hexid);
void clearAbandoned(); ///< the objects of a run have gone with it

} // namespace kes
