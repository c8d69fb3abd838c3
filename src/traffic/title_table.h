// SPDX-License-Identifier: MIT
// The run's table of hexids and titles: an aircraft keeps its livery when it comes back. The views are those of the
// livery store. Worker only.
#pragma once

#include <cstdint>
#include <string_view>

namespace kes {

/// The title that the run remembers for a hexid, or an empty view.
std::string_view rememberedTitle(std::uint32_t hexid);
void rememberTitle(std::uint32_t hexid, std::string_view title); ///< instead of the one before
void forgetTitle(std::uint32_t hexid);                           ///< the next search is free
void clearTitleTable();                                          ///< at the end of a run and of each day

} // namespace kes
