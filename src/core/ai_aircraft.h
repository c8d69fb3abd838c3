// SPDX-License-Identifier: MIT
// The record that a live aircraft and a static parked aircraft share: who it is, what its category lets it do, which
// livery and which object of the simulator it has, where it stands, and what was sent to it last. Plain data, worker
// only; the texts and the small functions on them are pure.
#pragma once

#include "core/hh_now.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kes {

enum class AircraftCategory : std::uint8_t { light = 0, buzjets, large, heavy, highPerf, rotorcraft };
/// "Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft".
std::string_view text(AircraftCategory category);

enum class AircraftStatus : std::uint8_t { buffer = 0, adding2sim, active, liveryrespawn, removingfromsim };
/// "buffer", "adding2sim", "active", "liveryrespawn", "removingfromsim".
std::string_view text(AircraftStatus status);

/// hexids up to this number are static parked aircraft; a live aircraft's hexid is its ICAO address, always above.
inline constexpr std::uint32_t lastStaticHexid = 10000;

/// The eight texts and the flag that a report carries and a record keeps.
struct AircraftIdentity {
    std::string airline;          ///< airline code; "PVT" private owner, "ZZZ" generic
    std::string model;            ///< aircraft type code
    std::string orig, dest;       ///< airport codes of the route, as the feed gave them
    std::string callsign;         ///< a trailing '_' marks a ghost
    std::string coupledCs1;       ///< first callsign of the coupled pair; at first the callsign itself
    std::string coupledCs2;       ///< second callsign of the coupled pair
    std::string regcode;          ///< registration
    bool coupledSearched = false; ///< the search for a coupled callsign was done
};

struct AiAircraft : AircraftIdentity {
    double wingspan = 0;     ///< half span, nautical miles
    double staticCg = 0;     ///< height of the reference point on the ground, feet
    double staticPitch = 0;  ///< radians, pitch when standing
    double rotatePitch = 0;  ///< radians, pitch at the end of the rotation (nose up is negative)
    double climbPitch = 0;   ///< radians, pitch of the initial climb
    double turnRateBase = 0; ///< radians per tick on the ground
    double turnRate = 0;     ///< radians per tick for the present leg
    double climbStepMax = 0; ///< feet per tick
    double taxiSpeed = 0;    ///< knots, slow manoeuvres on the ground
    std::uint32_t hexid = 0; ///< key of the record
    AircraftCategory category = AircraftCategory::light;
    std::string_view title; ///< matched livery; empty until matched; text owned by the livery store
    std::int32_t flareTicks = 0, derotateTicks = 0, rotateTicks = 0, climbOutTicks = 0; ///< ticks
    bool cargo = false;                                                                 ///< the airframe flies freight
    bool reverseThrust = false;        ///< negative throttle on the landing roll
    std::uint32_t objectid = 0;        ///< simulator object, 0 = none
    double standLat = 0, standLon = 0; ///< degrees, stand taken
    double standHeading = 0;           ///< radians
    HhNow parkedAt;                    ///< when it parked
    std::uint32_t sid = 0;             ///< stand taken, 0 = none
    AircraftStatus st = AircraftStatus::buffer;
    std::int32_t throttleIndex = 5; ///< last throttle level sent, 5 = none yet
    std::int32_t flapsIndex = 4;    ///< last flaps level sent, 4 = none yet
    bool standCargo = false;        ///< the stand taken is a cargo stand
    bool removeWhenReady = false;   ///< removal came while the object was being created
    bool deleteNow = false;         ///< drop the record at the end of this update pass
    bool deleteQueued = false;      ///< dropped, its create request was withdrawn
};

/// Labels for messages. `aimo`: airline and model; long: with route; short: without.
std::string aimo(const AircraftIdentity& aircraft);
std::string longLabel(const AircraftIdentity& aircraft);
std::string shortLabel(const AircraftIdentity& aircraft);

/// Not empty, not "@@@@@@@@", at most eight characters.
bool isValidCallsign(std::string_view callsign);
/// The first three letters in upper case when the callsign begins with three letters and a digit, else empty.
std::string airlineFromCallsign(std::string_view callsign);

} // namespace kes
