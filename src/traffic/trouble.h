// SPDX-License-Identifier: MIT
// What is told when something goes wrong with one aircraft: the others go on. Worker only.
#pragma once

#include "core/errors.h"
#include "traffic/live_aircraft.h"

#include <concepts>
#include <exception>
#include <stdexcept>
#include <string>
#include <string_view>

namespace kes {

/// "{}: {} {}, sz:{}, fs:{}, st:{}": what an exception in one aircraft's update tells.
std::string aircraftTrouble(std::string_view routine, std::string_view what, const LiveAircraft& aircraft);
/// "{} {} fs:{}, st:{} stream at the end is empty?", and out of the simulator.
void reportEmptyStream(std::string_view routine, LiveAircraft& aircraft);

/// Rethrows what `step` throws with the routine's name and the aircraft's state in front. User errors pass as they are.
template <std::invocable Step> void named(std::string_view routine, const LiveAircraft& aircraft, Step step) {
    try {
        step();
    } catch (const nwk::UserErrorException&) {
        throw;
    } catch (const std::exception& e) {
        throw std::runtime_error(aircraftTrouble(routine, e.what(), aircraft));
    }
}

} // namespace kes
