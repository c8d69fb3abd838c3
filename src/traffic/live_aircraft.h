// SPDX-License-Identifier: MIT
// The record of one live aircraft: who it is, its stream of samples to fly to, where it is now, and the steps by which
// each tick moves it. Worker only.
#pragma once

#include "core/ai_aircraft.h"
#include "core/geo.h"
#include "feed/aircraft_report.h"

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

namespace kes {

enum class FlightState : std::uint8_t { pushing_back = 0, pushed_back, taxi, take_off, flying, parking, parked, birth };
/// "pushing_back", "pushed_back", "taxi", "take_off", "flying", "parking", "parked", "birth".
std::string_view text(FlightState state);

struct LiveAircraft : AiAircraft {
    // Pose now, as sent to the simulator.
    double lat = 0, lon = 0;                 ///< degrees
    double pitch = 0, bank = 0, heading = 0; ///< radians
    double alt = 0;                          ///< feet
    double vsOut = 0;                        ///< feet per second
    double tasOut = 0;                       ///< knots

    /// In buffer all reports since the first that count. Later the front is the sample now being flown to; from its
    /// arrival until the next leg is planned it is the one just reached, and it stays so when nothing follows.
    std::deque<PositionSample> stream;
    double lastReportTime = 0;                 ///< seconds since 1970
    double lastCheckLat = 0, lastCheckLon = 0; ///< degrees, last collision check against static aircraft
    std::int64_t parkedTime = 0;               ///< monotonic ms when it took or last proved its stand
    std::int32_t extrapCount = 0;              ///< above 0 while samples are extrapolated, -1 when the last is used up
    std::int32_t holdStartTick = 0;            ///< tick at which the present hold began
    std::int32_t askedTick = -1;               ///< tick at which the simulator was asked for its object, -1 = not yet
    FlightState fs = FlightState::birth;       ///< changed through `setFlightState` only
    FlightState fsPrevious = FlightState::birth; ///< the state before the last change
    std::string reportedCallsign{};              ///< of the last report; a parked record keeps that of its arrival
    bool feedAtStand = false;                    ///< the feed still reports this parked aircraft near its stand
    bool onGround = false;                       ///< moves in ground mode
    bool flightPlanSet = false;
    bool userConflictSeen = false; ///< held back once at birth for the user's aircraft
    bool holding = false;          ///< a hold runs at the end of the stream

    // Steps per tick, set once per leg.
    double latStep = 0, lonStep = 0;                     ///< degrees
    double pitchStep = 0, bankStep = 0, headingStep = 0; ///< radians
    double altStep = 0;                                  ///< feet
    double vsFpm = 0;                                    ///< feet per minute on this leg
    double tasLeg = 0;                                   ///< knots on this leg

    std::array<double, 8> curve{};    ///< not a number while no curve runs
    double curveT = 0, curveStep = 0; ///< 0 to 1
    double curveAngle = 0;            ///< degrees
    PositionSample pushbackTail;
    double lastParkLat = 0, lastParkLon = 0;          ///< degrees, last stand search
    std::int32_t earlyTicks = 1000, lateTicks = 1000; ///< arrivalWindow
    std::int32_t rotationCount = 1;                   ///< take-off count-down, 1 outside a take-off
    std::int32_t pushbackStep = 0;
    std::uint32_t awayCount = 0;                  ///< reports in a row that moved away from the stand
    double targetHeading = 0;                     ///< radians
    double agl = 2500;                            ///< feet above ground as the simulator says
    double flareHeight = 0;                       ///< feet
    double touchdownHeading = 0;                  ///< radians
    double lastAwayDist = 0;                      ///< nautical miles
    double firstStandDist = 0, lastStandDist = 0; ///< nautical miles
    double legTurn = 0;                           ///< degrees
    std::optional<double> respawnHeading;         ///< radians
    std::optional<bool> pushbackTurnRight;
    std::optional<double> runwayElevation; ///< feet
    std::int32_t flareStage = 0;           ///< 0 to 4
    bool approach = false, landedSearch = false, towed = false, climbing = false, departing = false,
         cruiseLights = false, lowLights = false, derotating = false, landingRoll = false, pullOutDue = false,
         turning = false;

    LatLon position() const { return {lat, lon}; }
    std::size_t sz() const { return stream.size(); }
};

/// Stores the old state in `fsPrevious`; the same value changes nothing.
void setFlightState(LiveAircraft& aircraft, FlightState state);

struct CategoryRow {
    double taxiSpeed;    ///< knots
    double climbStepMax; ///< feet per tick
    double turnRateBase; ///< radians per tick
    double rotatePitch;  ///< radians, nose up is negative
    double climbPitch;   ///< radians
    std::int32_t flareTicks, derotateTicks, rotateTicks, climbOutTicks;
};
/// Never fails: a number beyond the last category has its row.
const CategoryRow& categoryRow(AircraftCategory category);

/// The motion values of the record's category; draws the two random pitch spreads.
void applyCategory(LiveAircraft& aircraft);
/// Span, category and the category's motion values from `model`; with RANDOM on the two pitches lie at either end of
/// their spread by chance.
void applyModel(LiveAircraft& aircraft);
/// Another model than the record's brings its own category and values; an empty one changes nothing.
void takeModel(LiveAircraft& aircraft, const std::string& model);

/// Puts a sample between the first two of the stream, which must be there, half-way in place, time, speed and height.
void insertMidpoint(LiveAircraft& aircraft);

} // namespace kes
