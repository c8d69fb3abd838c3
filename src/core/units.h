// SPDX-License-Identifier: MIT
// Units that meet in this program, and what it counts with them. Feed and simulator speak in feet, knots and nautical
// miles, the data sources in metres, the logic in ticks.
#pragma once

#include <cstdint>

namespace kes {

inline constexpr double metresPerNm = 1852.0;
inline constexpr double feetPerNm = 6076.11549;
inline constexpr double feetPerMetre = feetPerNm / metresPerNm;
inline constexpr double metresPerFoot = 0.3048;
inline constexpr double metresPerSecondPerKnot = metresPerNm / 3600.0;

/// A tick is one pass of the main loop, 10 ms.
inline constexpr std::int32_t ticksPerMinute = 6000;
inline constexpr double ticksPerSecond = 100.0, ticksPerHour = 360000.0;
/// Any number of ticks, also a negative one.
constexpr double secondsOf(std::int32_t ticks) {
    return ticks / ticksPerSecond;
}
/// A report is shown this many ticks after it came in: what an aircraft does is decided 30 seconds ahead.
inline constexpr std::int32_t showDelayTicks = ticksPerMinute / 2;

/// Sea-level pressure of the standard atmosphere in whole hectopascal, as the feed counts it.
inline constexpr std::int32_t standardQnh = 1013;

/// A position within so many nautical miles of an airport belongs to it.
inline constexpr double atAirportNm = 5.0;
/// Feet. Below it aircraft show their landing lights and fly slowly.
inline constexpr double lowAltitude = 10000.0;

} // namespace kes
