// SPDX-License-Identifier: MIT
// What must hold of all that stands at the park airport, looked at by brute force over all pairs. Worker.
#pragma once

#include <string>
#include <vector>

namespace kes::replay {

/// Two that stand on one stand, and static aircraft that overlap another one, static or live and parked. Empty = none.
/// An aircraft is a circle of its half span round the place where it stands. On stands that are neighbours of each
/// other two circles may not meet. Stands that are none still leave circles of their radii short of a tenth of their
/// distance, and an aircraft may be 1.8 m wider than its stand to either side: only beyond that they overlap.
std::vector<std::string> standClashes();

/// The numbers of stands and aircraft, and that a stand and its neighbours are held once. Empty, or the first
/// violation, "{kind}: {which}".
std::string checkStandTables();

} // namespace kes::replay
