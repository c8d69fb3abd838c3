// SPDX-License-Identifier: MIT
// What a decision of motion may know besides its aircraft, and what it may ask for. The input is taken once for all
// aircraft, so no decision sees two values of one thing; what is asked for gathers in the outbox and goes out once a
// tick, under one lock. So planning and advancing need neither a clock, nor a simulator, nor a table. Worker only.
#pragma once

#include "core/geo.h"
#include "core/units.h"
#include "sim/ai_commands.h"

#include <cmath>
#include <cstdint>
#include <optional>
#include <vector>

namespace kes {

/// The sample of a parked aircraft lies this far ahead, as it waits for nothing further from the feed: a week.
inline constexpr std::int32_t parkedForTicks = 7 * 24 * 60 * ticksPerMinute;

/// Degrees between two directions in radians, 0 to 180.
inline double degreesBetween(double a, double b) {
    return std::fabs(angleDiff(a, b)) * radToDeg;
}

struct MotionAirport {
    LatLon position;
    double elevation = 0; ///< feet
};

struct MotionInput {
    std::int32_t tick = 0;
    double qnh = standardQnh;               ///< hectopascal, where the user is
    std::optional<MotionAirport> airport{}; ///< the reference airport of all ground logic
};

/// Spoilers and throttles of an object, percent.
struct ControlData {
    std::uint32_t objectid = 0;
    double spoilers = 0, throttle = 0;
};

struct Outbox {
    std::vector<AiEvent> events; ///< in the order in which the simulator gets them
    std::vector<ControlData> controls;
    std::vector<std::uint32_t> landings; ///< hexids for the landing list

    void event(std::uint32_t objectid, std::uint32_t eventId, std::uint32_t value) {
        events.push_back({objectid, eventId, value});
    }
};

struct Motion {
    MotionInput in;
    Outbox& out;
};

/// This tick's input, with the worker's outbox.
Motion motionNow();
/// Hands over what has gathered in the worker's outbox. What the simulator refuses is lost, and so are landings of
/// aircraft that have gone.
void flushOutbox();
void clearOutbox(); ///< hands nothing over; for a new run

} // namespace kes
