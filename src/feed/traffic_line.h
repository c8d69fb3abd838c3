// SPDX-License-Identifier: MIT
// The traffic line: comma-separated fields become a report, or fall out. Nothing here has a memory or reads anything
// but what it is given, so a line gives the same report on any thread and at any time.
#pragma once

#include "core/geo.h"
#include "feed/aircraft_report.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace kes {

/// The reference airport as the reader needs it.
struct FeedAirport {
    LatLon position;
    double elevation = 0; ///< feet
};

/// What decides about a line beside the line itself.
struct FeedInputs {
    LatLon userPosition;
    double rangeNm = 0;                 ///< nautical miles around the user
    std::optional<FeedAirport> airport; ///< without one nothing on the ground is kept
};

enum class LineOutcome : std::uint8_t {
    kept,
    dropped,  ///< fails a filter: nobody is told
    complaint ///< a field cannot be read
};

struct ParsedLine {
    LineOutcome outcome = LineOutcome::dropped;
    std::optional<double> timestamp; ///< seconds since 1970; counts whatever became of the line
    std::string_view callsign;       ///< of an aircraft in range, for the collection; counts likewise; empty = none
    std::string complaint;           ///< what is wrong, with foreign text made safe; allocates only when there is one
};

/// Reads one datagram, with or without a line end. `report` is valid when the line is kept, but for `sample.tick`,
/// which is 0; its texts keep their capacity from line to line. The views of the result point into `datagram`.
ParsedLine parse(std::string_view datagram, const FeedInputs& inputs, AircraftReport& report);

/// The emitter category and type filter. False = drop. Pure.
bool categoryFilter(const AircraftReport& report, std::string_view categoryCode);

/// Stands for the elevation of the reference airport where there is none; feet.
inline constexpr double noElevation = -1000.0;
/// A report of this altitude (feet) and ground speed (knots) counts as on the ground. `elevation` (feet) is that of the
/// reference airport, or `noElevation`. Pure.
bool isOnGround(double alt, double gs, double elevation);

/// The pieces between commas, as many as there is room for; an empty piece behind the last comma does not count.
/// Returns how many were found.
std::size_t splitFields(std::string_view line, std::span<std::string_view> fields);

/// A measured value outside of its bounds, and any that is not finite, is unreadable: motion must not overflow from it,
/// nor an aircraft dash over the map. -1 stands for "unknown" in the feed.
struct Bounds {
    double least, most;
};
/// Knots, over ground and through the air. No aircraft has ever flown 2,000.
inline constexpr Bounds speedBounds{-1.0, 2500.0};
/// Feet. What reports less than 0 stands on the ground; manned flight with wings ends below 90,000.
inline constexpr Bounds altitudeBounds{-100000.0, 100000.0};
/// Feet per minute. The field of a transponder's message holds no more.
inline constexpr Bounds climbBounds{-32640.0, 32640.0};
inline constexpr Bounds trackBounds{-360.0, 360.0}; ///< degrees
inline constexpr Bounds rollBounds{-180.0, 180.0};  ///< degrees
/// Times behind the year 9999 are unreadable, seconds since 1970.
inline constexpr double largestTimestamp = 253402300799.0;
/// A text that goes into the record and is longer, or not printable ASCII, makes the line fall out in silence.
inline constexpr std::size_t longestFieldText = 32;
/// An origin or destination that is no code of so many letters and digits counts as unknown.
inline constexpr std::size_t shortestAirportCode = 2, longestAirportCode = 4;

} // namespace kes
