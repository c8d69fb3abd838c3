#include "traffic/flight_phases.h"

#include "core/run_state.h"
#include "traffic/life_cycle.h"

#include <algorithm>

namespace kes {

namespace {
constexpr std::size_t longestStream = 200;
constexpr std::int32_t wideWindow = 3000;          ///< ticks
constexpr std::int32_t wideWindowDeparting = 5000; ///< ticks

/// A report for an aircraft that lives on invented samples: the next leg begins at once, and the drawn aircraft may run
/// well ahead of its data, or behind, until the window has narrowed again.
void resume(LiveAircraft& aircraft) {
    aircraft.extrapCount = 0;
    aircraft.earlyTicks = wideWindow;
    aircraft.lateTicks = aircraft.departing ? wideWindowDeparting : wideWindow;
    aircraft.holding = false;
    aircraft.holdStartTick = 0;
    if (!aircraft.stream.empty())
        aircraft.stream.front().tick = tickCount + 1;
}
} // namespace

void decodeExisting(LiveAircraft& aircraft, PositionSample sample) {
    if (aircraft.sz() > longestStream)
        removeAircraftFromSim(aircraft); // such a stream cannot be flown any more
    if (aircraft.extrapCount > 0)
        resume(aircraft);
    aircraft.stream.push_back(sample);
}

} // namespace kes
