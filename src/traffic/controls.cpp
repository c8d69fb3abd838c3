// Throttle, flaps, gear and spoilers of one live aircraft, as events for the simulator.
#include "traffic/life_cycle.h"

#include <array>

namespace kes {

namespace {

constexpr std::array<std::uint32_t, 5> throttleValues{0, 4914, 8191, 11468, 16383};
constexpr std::array<std::uint32_t, 4> flapsValues{0, 3072, 10240, 16383};

/// To the simulator, object 0 is the user's own aircraft.
bool hasObject(const LiveAircraft& a) {
    return a.objectid != 0;
}

bool hasWings(const LiveAircraft& a) {
    return a.category != AircraftCategory::rotorcraft;
}

} // namespace

void setThrottleLevel(LiveAircraft& aircraft, std::int32_t level) {
    if (!hasObject(aircraft) || level == aircraft.throttleIndex)
        return;
    queueEvent(aircraft.objectid, event::throttle, throttleValues.at(static_cast<std::size_t>(level)));
    aircraft.throttleIndex = level;
}

void setFlapsLevel(LiveAircraft& aircraft, std::int32_t level) {
    if (!hasObject(aircraft) || !hasWings(aircraft) || level == aircraft.flapsIndex)
        return;
    queueEvent(aircraft.objectid, event::flaps, flapsValues.at(static_cast<std::size_t>(level)));
    aircraft.flapsIndex = level;
}

void setGear(LiveAircraft& aircraft, bool down) {
    if (hasObject(aircraft) && hasWings(aircraft))
        queueEvent(aircraft.objectid, event::gear, down ? 1 : 0);
}

void setSpoilers(LiveAircraft& aircraft, std::uint32_t value) {
    if (hasObject(aircraft) && hasWings(aircraft))
        queueEvent(aircraft.objectid, event::spoilers, value);
}

} // namespace kes
