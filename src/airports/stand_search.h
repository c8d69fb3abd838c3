// SPDX-License-Identifier: MIT
// Which stand of the list an aircraft is on or may have used: by its place when the reports tell one, by its size and
// kind when they do not. Worker only.
#pragma once

#include "airports/stands.h"
#include "core/ai_aircraft.h"
#include "core/hh_now.h"

#include <cstdint>

namespace kes {

inline constexpr double narrowStandSearch = 20.0 / metresPerNm; ///< nautical miles, from a stop on the taxiway
inline constexpr double wideStandSearch = 55.0 / metresPerNm;   ///< nautical miles, after a landing and at birth

/// The free stand nearest to a position, within `limit` nautical miles, that the aircraft fits on; one that is up to
/// 20 metres away is taken even if it is too small, and learns its size from the aircraft. A `wide` search goes on to
/// 85 metres for a stand that is known for this callsign, or for this airline and model. Null when there is none, and
/// for a Rotorcraft anywhere but on a helipad, or another aircraft on one.
Stand* findClosestStand(LatLon position, const AiAircraft& aircraft, double limit, bool wide);

/// A stand for an aircraft of which nobody knows where it stands: free at this half-hour by what is known, of its kind,
/// and fitting its size best. `extend`: at a small airport the next half-hour will do as well. sid; 0 = none.
std::uint32_t lf_searchStands(HhNow now, const AiAircraft& aircraft, bool extend);

/// Whether two aircraft on two stands have no room for each other: the sum of their half spans with a margin of a tenth
/// reaches the distance between the stands.
bool spansMeet(double halfSpan, double otherHalfSpan, LatLon stand, LatLon otherStand);

} // namespace kes
