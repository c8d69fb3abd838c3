// SPDX-License-Identifier: MIT
// Who stands where: the aircraft of a made-up week dealt out to the stands of an airport, as soft options.
#pragma once

#include "airports/stands.h"
#include "tools/pack/apt.h"
#include "tools/pack/timetable.h"

#include <cstddef>
#include <vector>

namespace kes::pack {

/// At most so many options a stand: five uses on each day. The time in which a list is read grows with them.
inline constexpr std::size_t mostSoftOptions = 35;
/// At no half-hour more than this share of the stands of a width and kind is taken. A live aircraft of which nobody
/// knows where it stands is given one that nobody is known to use at the time.
inline constexpr double mostTaken = 0.7;

/// How many of the start places are told to be for airliners.
std::size_t gatesIn(const std::vector<AptStart>& starts);

/// Deals the stays out: freighters to cargo stands, helicopters to helipads, all others to stands that are neither, nor
/// hangars nor for general aviation or the military; each to one that it fits on, as narrow as can be, with a clear
/// preference for gates, for stands that are marked for the airline, and for those near to the airline's others. Never
/// two at a time on a stand or on two that are too near to each other. What finds no place is left out. `starts` are
/// the start places of the stands. Returns the number of options added.
std::size_t addSoftOptions(std::vector<Stand>& list, const std::vector<AptStart>& starts, std::vector<Stay> stays,
                           const TypeSizes& sizes);

} // namespace kes::pack
