// What an aircraft is doing, decided 30 seconds ahead at the back of its stream, and the edits that make a stream easy
// to fly: noise on the ground, short stops, slips of a landing, the end of a stay at a stand. Worker only.
#pragma once

#include "traffic/live_aircraft.h"
#include "traffic/motion.h"

namespace kes {

/// The last step of taking a report. The sample may be altered, or dropped, before it joins the stream. Throws
/// runtime_error "{} exception {}" with its name.
void decodeExisting(LiveAircraft& aircraft, PositionSample sample, const Motion& m);

/// A parked or parking aircraft: true = the sample joins the stream, for the feed shows it leaving.
bool checkAtStand(LiveAircraft& aircraft, PositionSample& sample, const Motion& m);

/// A report for an aircraft that lived on invented samples: they end, and the arrival window is wide for a while.
void endInvention(LiveAircraft& aircraft);
/// The window of an aircraft whose stream has just been changed: 3000 ticks, 5000 behind while departing.
void widenWindow(LiveAircraft& aircraft);
/// Degrees between two directions in radians, 0 to 180.
double degreesBetween(double a, double b);

} // namespace kes
