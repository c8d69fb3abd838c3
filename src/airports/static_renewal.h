// SPDX-License-Identifier: MIT
// Every 20 minutes, and when the user changes a setting: who of the parked aircraft stays, who goes, who comes. Worker
// only.
#pragma once

#include <set>
#include <string>

namespace kes {

/// Renews the static aircraft of the park airport; `callsigns` are those that the feed has reported in the last 15
/// seconds. Nothing without an airport and stands.
void renewParking(std::set<std::string> callsigns);

} // namespace kes
