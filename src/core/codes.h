// SPDX-License-Identifier: MIT
// Codes that stand for something else than what they name.
#pragma once

#include <string_view>

namespace kes {

inline constexpr std::string_view genericAirline = "ZZZ"; ///< no airline: the livery is nobody's in particular
inline constexpr std::string_view privateAirline = "PVT"; ///< a private owner
inline constexpr std::string_view noAirport = "ZZZZ";     ///< a place without a code of its own

} // namespace kes
