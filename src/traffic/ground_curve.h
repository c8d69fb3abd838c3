// SPDX-License-Identifier: MIT
// Corners on the ground, flown as quadratic Bezier curves from where the aircraft is to the sample behind the corner,
// bent towards the corner. Pure but for a log line.
#pragma once

#include "traffic/live_aircraft.h"

namespace kes {

/// The curve from where the aircraft is now to the third sample, bent towards the second, which is erased. False = the
/// stream is too short. `angle` in degrees.
bool setUpCurve(LiveAircraft& aircraft, double angle);
bool curveRuns(const LiveAircraft& aircraft); ///< a curve is set up
/// Ends the present curve.
void clearCurve(LiveAircraft& aircraft);
/// One tick along the curve, with the nose, or pushed back the tail, ahead. A place that is no number is logged, and
/// the aircraft waits where it is.
void advanceOnCurve(LiveAircraft& aircraft);
/// Turns `heading` towards a direction (radians) by `turnRate`, the shorter way round, unless it is within half a
/// degree.
void turnTowards(LiveAircraft& aircraft, double direction);

} // namespace kes
