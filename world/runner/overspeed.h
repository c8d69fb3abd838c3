// SPDX-License-Identifier: MIT
// How well the program kept to the speeds that were reported to it, for the closing line of a run. Pure.
#pragma once

#include <nlohmann/json_fwd.hpp>

namespace kes::runner {

/// How much faster flights were shown than they were reported, out of the speeds of both reports: the largest ratio and
/// its callsign, how many flights went above 1.5 times, how many were compared. A report is shown 30 s later, or some
/// more when the flight is late. A speed below 20 knots is taken as 20.
nlohmann::json overspeed(const nlohmann::json& reported, const nlohmann::json& shown);

} // namespace kes::runner
