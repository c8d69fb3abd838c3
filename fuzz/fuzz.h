// SPDX-License-Identifier: MIT
// What the targets share.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <string_view>

namespace kes::fuzz {

/// A finding, unless `condition` holds.
inline void require(bool condition) {
    if (!condition)
        std::abort();
}

inline std::string_view textOf(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

} // namespace kes::fuzz
