// SPDX-License-Identifier: MIT
#include "traffic/departure.h"

#include "core/log.h"
#include "traffic/controls.h"
#include "traffic/ground_curve.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"

#include <fmt/format.h>

namespace kes {

namespace {

constexpr double climbEstablishedAgl = 800.0; ///< feet
constexpr std::int32_t gearUp = -300;         ///< ticks after lift-off, and the climb is in full from then on

/// The part of `altStep` that is flown at a count of the rotation: the climb grows over three seconds.
double climbPart(std::int32_t count) {
    if (count >= 0)
        return 0.0;
    return count > -100 ? 1.0 / 10.0 : count > -200 ? 1.0 / 5.0 : count > gearUp ? 1.0 / 2.0 : 1.0;
}

} // namespace

void startTakeOffRun(LiveAircraft& a, const Motion& m) {
    if (a.towed)
        log(fmt::format("towed aircraft takes-off? {}", longLabel(a)));
    a.departing = true;
    setThrottleLevel(a, 0, m);
    setSpoilers(a, 0, m);
    setFlapsLevel(a, 1, m);
    a.approach = a.landedSearch = a.climbing = false;
    sendLights(a.objectid, {.landing = true, .taxi = true, .strobes = true, .logo = true}, m);
    widenWindow(a);
    if (!a.airline.empty())
        learnStand(a, true);
}

void beginRotation(LiveAircraft& a, const Motion& m) {
    a.rotationCount = a.rotateTicks;
    a.bank = a.bankStep = 0.0;
    a.pitchStep = (a.rotatePitch - a.pitch) / a.rotateTicks;
    if (!a.departing)
        startTakeOffRun(a, m);
    setFlightState(a, FlightState::take_off);
    a.headingStep = 0.0;
    clearCurve(a);
    if (a.landingRoll) { // a touch-and-go
        a.landingRoll = a.approach = a.landedSearch = false;
        setThrottleLevel(a, 4, m);
        setSpoilers(a, spoilersOut, m);
        setFlapsLevel(a, 1, m);
    }
}

void advanceRotation(LiveAircraft& a, const Motion& m) {
    const std::int32_t count = --a.rotationCount;
    if (count >= 1) {
        a.onGround = false;
        if (a.pitch > a.rotatePitch)
            a.pitch += a.pitchStep;
        return;
    }
    a.bank += a.bankStep;
    if (a.pitch > a.climbPitch)
        a.pitch += (a.climbPitch - a.rotatePitch) / a.climbOutTicks;
    a.alt += a.altStep * climbPart(count);
    if (count == gearUp)
        setGear(a, false, m);
    if (count < gearUp && a.pitch <= a.climbPitch) {
        a.pitchStep = 0.0;
        if (a.agl >= climbEstablishedAgl) {
            setEngineLevel(a, 3, m);
            setFlightState(a, FlightState::flying);
            a.rotationCount = 1;
        }
    }
}

} // namespace kes
