// SPDX-License-Identifier: MIT
#include "traffic/ground_data.h"

#include "core/log.h"
#include "core/parameters.h"
#include "traffic/flare.h"

#include <fmt/format.h>

namespace kes {

void applyGroundData(LiveAircraft& aircraft, bool simOnGround, double groundAltitude, double agl, const Motion& m) {
    if (simOnGround && !aircraft.onGround && aircraft.rotationCount < 2)
        touchdown(aircraft, m);
    aircraft.agl = agl;
    if (aircraft.onGround || aircraft.rotationCount >= 2)
        aircraft.alt = aircraft.staticCg + groundAltitude;
}

void applyStaticData(LiveAircraft& aircraft, double staticCg, double staticPitch) {
    if (staticCg >= 1.0 && staticCg <= 35.0)
        aircraft.staticCg = staticCg;
    else if (par::LOG)
        log(fmt::format("{}: static CG {:.1F}ft wrong?", longLabel(aircraft), staticCg));
    const bool fits = staticPitch > -1.0 * degToRad && staticPitch <= 2.5 * degToRad;
    aircraft.staticPitch = fits ? staticPitch : 0.7 * degToRad;
}

} // namespace kes
