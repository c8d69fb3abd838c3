// SPDX-License-Identifier: MIT
#include "traffic/trouble.h"

#include "core/log.h"
#include "traffic/removal.h"

#include <fmt/format.h>

namespace kes {

std::string aircraftTrouble(std::string_view routine, std::string_view what, const LiveAircraft& aircraft) {
    return fmt::format("{}: {} {}, sz:{}, fs:{}, st:{}", routine, what, longLabel(aircraft), aircraft.sz(),
                       text(aircraft.fs), text(aircraft.st));
}

void reportEmptyStream(std::string_view routine, LiveAircraft& aircraft) {
    log(fmt::format("{} {} fs:{}, st:{} stream at the end is empty?", routine, longLabel(aircraft), text(aircraft.fs),
                    text(aircraft.st)));
    removeAircraftFromSim(aircraft);
}

} // namespace kes
