// Motion on the ground: legs with curves at corners, their timing, the roll-out, the height of a standing aircraft.
// Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// Knots; nobody taxies this fast for two reports in a row.
inline constexpr double takeOffSpeed = 43.0;

/// Decisions at the start of a leg on the ground; may cut, insert or append samples.
void nextPosGround(LiveAircraft& aircraft, const Motion& m);
/// Arrival tick and turn rate of the leg to the next sample.
void setLegTiming(LiveAircraft& aircraft, const Motion& m);
/// Speed, throttle and the lift-off decision of the leg to the next sample.
void setupGroundLeg(LiveAircraft& aircraft, const Motion& m);
/// Ground data of an object: touchdown when due, height above ground, altitude on the ground.
void applyGroundData(LiveAircraft& aircraft, bool simOnGround, double groundAltitude, double agl, const Motion& m);
/// Static data of an object: height of the reference point (feet) and pitch (radians).
void applyStaticData(LiveAircraft& aircraft, double staticCg, double staticPitch);

/// Take-off configuration; the aircraft is `departing` from now on.
void startTakeOffRun(LiveAircraft& aircraft, const Motion& m);
/// Puts the aircraft into take_off.
void beginRotation(LiveAircraft& aircraft, const Motion& m);
/// One tick of take_off: the nose comes up, then the aircraft climbs away.
void advanceRotation(LiveAircraft& aircraft, const Motion& m);

/// A parked aircraft begins to move, forwards or tail first; its stream is replaced. Nobody is pushed back from a stand
/// that is not in the list.
void pullOut(LiveAircraft& aircraft, const Motion& m);
void pushBack(LiveAircraft& aircraft, const Motion& m);
/// A push-back reaches the next of its samples, and with the last one its end.
void continuePushBack(LiveAircraft& aircraft, const Motion& m);

/// Puts a sample between the first two.
void insertMidpoint(LiveAircraft& aircraft);

/// The curve from where the aircraft is now to the third sample, bent towards the second, which is erased. False = the
/// stream is too short. `angle` in degrees.
bool setUpCurve(LiveAircraft& aircraft, double angle);
bool curveRuns(const LiveAircraft& aircraft);
/// Ends the present curve.
void clearCurve(LiveAircraft& aircraft);
/// One tick along the curve.
void advanceOnCurve(LiveAircraft& aircraft);
/// Turns `heading` towards a direction by `turnRate`, the shorter way round, unless it is within half a degree.
void turnTowards(LiveAircraft& aircraft, double direction);

} // namespace kes
