// SPDX-License-Identifier: MIT
// All that is left to chance: one generator per thread, so that nobody waits for another, seeded from the random
// device, or from a fixed seed that tests and replay set to have the same flight again. Any thread.
#pragma once

#include <cstdint>
#include <random>

namespace kes {

/// The generator of the calling thread.
std::mt19937& generator();
/// Fixes the seed of generators: this thread's is reseeded at once, other threads' at their first use.
void setRandomSeed(std::uint32_t seed);

} // namespace kes
