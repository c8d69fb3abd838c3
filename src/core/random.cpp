// SPDX-License-Identifier: MIT
#include "core/random.h"

#include <atomic>

namespace kes {

namespace {
std::atomic<std::uint64_t> fixedSeed{0}; // bit 32 marks a seed as set
}

std::mt19937& generator() {
    thread_local std::mt19937 engine = [] {
        const std::uint64_t seed = fixedSeed;
        return std::mt19937(seed != 0 ? static_cast<std::uint32_t>(seed) : std::random_device{}());
    }();
    return engine;
}

void setRandomSeed(std::uint32_t seed) {
    fixedSeed = 0x100000000ULL | seed;
    generator().seed(seed);
}

} // namespace kes
