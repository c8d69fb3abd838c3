// Legs on the ground. This first form taxies straight legs with the heading towards the next sample.
#pragma once

#include "traffic/live_aircraft.h"

namespace kes {

void nextPosGround(LiveAircraft& aircraft);
/// Arrival tick and turn rate of the leg to the next sample.
void setLegTiming(LiveAircraft& aircraft);
/// Ends the present curve.
void clearCurve(LiveAircraft& aircraft);
void setupGroundLeg(LiveAircraft& aircraft, PositionSample& next);
/// Ground data of an object: touchdown when due, height above ground, altitude on the ground.
void applyGroundData(LiveAircraft& aircraft, bool simOnGround, double groundAltitude, double agl);
/// Static data of an object: height of the reference point (feet) and pitch (radians).
void applyStaticData(LiveAircraft& aircraft, double staticCg, double staticPitch);

} // namespace kes
