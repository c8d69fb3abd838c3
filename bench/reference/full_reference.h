// SPDX-License-Identifier: MIT
// A full data base for benchmarks, as the update server sends it.
#pragma once

#include <cstddef>
#include <string>

namespace kes::bench {

constexpr std::size_t registrations = 500000, types = 500, airlines = 1200;

/// The lowest `count` digits of a number, in letters.
std::string letters(std::size_t number, std::size_t count);
std::string typeCode(std::size_t i);
std::string airlineCode(std::size_t i);
/// Half of them "N123AB", the others with a dash behind one or two letters.
std::string regcode(std::size_t i);

std::string fullReference();

} // namespace kes::bench
