// SPDX-License-Identifier: MIT
// The time in which static aircraft are being placed: from the collecting of callsigns to the last creation. Settings
// of the parking cannot be changed meanwhile. Worker; the flag is read by any thread.
#pragma once

namespace kes {

/// Flag on, controls off.
void startPlacing();
/// Flag off, controls on; the next renewal is 19 minutes away.
void endPlacing();
/// The flag. Any thread.
bool placingGoesOn();
/// Enables or disables the settings of the parking.
void enableParkControls(bool on);
/// Day and half-hour for which the parking is calculated, for the log.
void logTimeLine();

} // namespace kes
