// SPDX-License-Identifier: MIT
#include "traffic/leg.h"

#include "traffic/absence.h"
#include "traffic/air_motion.h"
#include "traffic/end_of_stream.h"
#include "traffic/ground_curve.h"
#include "traffic/ground_motion.h"
#include "traffic/leg_timing.h"
#include "traffic/parking.h"
#include "traffic/removal.h"
#include "traffic/trouble.h"

#include <stdexcept>

namespace kes {

namespace {

void nextPos(LiveAircraft& a, const Motion& m) {
    clearCurve(a);
    const PositionSample& front = a.stream[0];
    PositionSample& next = a.stream[1];
    if (!next.stopped && next.lat == front.lat && next.lon == front.lon)
        next.stopped = true;
    if (!next.stopped)
        a.targetHeading = bearingRad({front.lat, front.lon}, {next.lat, next.lon});
    if (a.onGround)
        named("nextPosGround", a, [&] { nextPosGround(a, m); });
    else
        named("nextPosAir", a, [&] { nextPosAir(a, m); });
    if (a.sz() < 2) { // the ground logic may cut a stream
        reportEmptyStream("nextPos", a);
        throw std::runtime_error("stream is empty");
    }
    PositionSample& target = a.stream[1];
    if (target.stopped) {
        a.latStep = 0.0;
        a.lonStep = 0.0;
        if (!a.landingRoll && !a.departing)
            shrinkWindow(a);
    } else {
        aimAt(a, target, ticksToGo(target, m));
        if (a.onGround)
            setupGroundLeg(a, m);
        else
            setupAirLeg(a, m);
    }
    a.stream.pop_front();
}

void beginLegs(LiveAircraft& a, const Motion& m) {
    for (;;) {
        if (a.sz() >= 2) {
            if (!a.onGround && a.stream[1].stopped && a.category != AircraftCategory::rotorcraft) {
                a.stream.erase(a.stream.begin() + 1);
                continue;
            }
            named("nextPos", a, [&] { nextPos(a, m); });
            return;
        }
        if (endOfStream(a, m))
            continue;
        if (a.fs != FlightState::parked) {
            learnStand(a, a.fs != FlightState::flying);
            tellLeaving(a, inSightOfUser(a) ? "no further report of it has come" : "it is out of range");
            removeAircraftFromSim(a);
        }
        return;
    }
}

} // namespace

void nextPosMain(LiveAircraft& aircraft, const Motion& m) {
    named("nextPosMain", aircraft, [&] { beginLegs(aircraft, m); });
}

} // namespace kes
