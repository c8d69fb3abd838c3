// SPDX-License-Identifier: MIT
// Tells the user why an aircraft of the feed is not shown, and why one that was shown leaves: one line each in the log,
// with LOG on only. Worker only.
#pragma once

#include "core/ai_aircraft.h"

#include <cstdint>
#include <string_view>

namespace kes {

enum class NotShown : std::uint8_t {
    unknownType,
    switchedOff,
    doubtfulHeight,
    oneReport,
    realFlightShown,
    limitReached,
    blocked,
    noCallsign,
    noLivery,
    standTaken,
};

/// Once for each aircraft and reason, since the feed goes on reporting it.
void tellNotShown(std::uint32_t hexid, const AircraftIdentity& who, NotShown reason);
/// Called where the removal is ordered; `reason` goes on behind "leaves: ".
void tellLeaving(const AircraftIdentity& who, std::string_view reason);
/// Another run tells anew.
void resetAbsence();

} // namespace kes
