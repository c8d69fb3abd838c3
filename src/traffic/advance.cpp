// SPDX-License-Identifier: MIT
#include "traffic/advance.h"

#include "traffic/departure.h"
#include "traffic/flare.h"
#include "traffic/ground_curve.h"

#include <algorithm>

namespace kes {

namespace {

constexpr double flareAgl = 400.0; ///< feet

void advanceAttitude(LiveAircraft& a, const Motion& m) {
    if (a.agl <= flareAgl && a.approach && !a.onGround)
        flare(a, m);
    if (a.derotating) {
        derotate(a);
    } else if (a.flareStage == 0 && a.onGround) {
        a.pitch = a.staticPitch;
        a.bank = 0.0;
    } else {
        a.pitch += a.pitchStep;
        if (a.flareStage != 0)
            a.pitch = std::max(a.pitch, flarePitch);
        a.bank += a.bankStep;
        a.alt += a.altStep;
    }
}

bool turnsByStep(FlightState fs) {
    return fs == FlightState::flying || fs == FlightState::take_off || fs == FlightState::parked ||
           fs == FlightState::birth;
}

} // namespace

void advancePosition(LiveAircraft& aircraft, const Motion& m) {
    if (curveRuns(aircraft)) {
        advanceOnCurve(aircraft);
    } else {
        if (turnsByStep(aircraft.fs))
            aircraft.heading += aircraft.headingStep;
        else if (aircraft.fs == FlightState::parking || aircraft.turning)
            turnTowards(aircraft, aircraft.targetHeading);
        if (aircraft.fs != FlightState::pushed_back) {
            aircraft.lat += aircraft.latStep;
            aircraft.lon += aircraft.lonStep;
        }
    }
    if (aircraft.heading < 0.0)
        aircraft.heading += twoPi;
    else if (aircraft.heading >= twoPi)
        aircraft.heading -= twoPi;
    if (aircraft.fs == FlightState::take_off)
        advanceRotation(aircraft, m);
    else
        advanceAttitude(aircraft, m);
    if (aircraft.lon > 180.0)
        aircraft.lon -= 360.0;
    else if (aircraft.lon < -180.0)
        aircraft.lon += 360.0;
}

} // namespace kes
