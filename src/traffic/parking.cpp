#include "traffic/parking.h"

#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>

namespace kes {

bool bornParked(LiveAircraft&) {
    return false;
}
void arriveAtStand(LiveAircraft&) {}
void learnStand(LiveAircraft&, bool) {}
void releaseStand(const AiAircraft&) {}

void noteParked(LiveAircraft& aircraft) {
    aircraft.parkedAt = hhNow();
    if (par::LOG)
        log(fmt::format("{:8}: {:8} parks", standName(aircraft.sid), aircraft.callsign));
}

std::string standName(std::uint32_t) {
    return {};
}

} // namespace kes
