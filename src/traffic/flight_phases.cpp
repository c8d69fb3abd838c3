#include "traffic/flight_phases.h"

#include "traffic/life_cycle.h"

#include <algorithm>

namespace kes {

namespace {
constexpr std::size_t longestStream = 200;
}

void decodeExisting(LiveAircraft& aircraft, PositionSample sample) {
    if (aircraft.sz() > longestStream)
        removeAircraftFromSim(aircraft); // such a stream cannot be flown any more
    aircraft.stream.push_back(sample);
}

} // namespace kes
