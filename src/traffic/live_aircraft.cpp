// SPDX-License-Identifier: MIT
#include "traffic/live_aircraft.h"

#include "core/parameters.h"
#include "core/random.h"
#include "reference/reference.h"

#include <algorithm>
#include <cmath>

namespace kes {

namespace {

constexpr CategoryRow row(double taxiSpeed, double climbStepMax, double turnRateDegrees, double rotateDegrees,
                          double climbDegrees, std::int32_t flareTicks, std::int32_t derotateTicks,
                          std::int32_t rotateTicks, std::int32_t climbOutTicks) {
    return {taxiSpeed,
            climbStepMax,
            turnRateDegrees * degToRad,
            rotateDegrees * degToRad,
            climbDegrees * degToRad,
            flareTicks,
            derotateTicks,
            rotateTicks,
            climbOutTicks};
}

// In the order of AircraftCategory.
constexpr std::array<CategoryRow, 6> categoryTable{
    row(5.0, 0.5, 0.15, -9.0, -15.0, 250, 250, 100, 200), row(4.5, 0.75, 0.1, -8.0, -18.0, 300, 300, 200, 250),
    row(4.0, 0.6, 0.07, -6.0, -16.5, 400, 350, 200, 300), row(3.0, 0.5, 0.05, -5.0, -12.5, 450, 450, 250, 400),
    row(4.5, 1.0, 0.1, -6.0, -20.0, 150, 150, 100, 200),  row(5.0, 0.75, 0.2, -20.0, -30.0, 100, 100, 100, 100),
};

constexpr double rotateSpread = 0.025;
constexpr double climbSpread = 0.05;

/// Either end of the spread, so that aircraft of one category do not rotate in step.
double spread(double value, double part) {
    const bool less = par::RANDOM && (generator()() & 1U) != 0;
    return value * (less ? 1.0 - part : 1.0 + part);
}

} // namespace

std::string_view text(FlightState state) {
    static constexpr std::string_view texts[] = {"pushing_back", "pushed_back", "taxi",   "take_off",
                                                 "flying",       "parking",     "parked", "birth"};
    const auto index = static_cast<std::size_t>(state);
    return index < std::size(texts) ? texts[index] : std::string_view("?");
}

void setFlightState(LiveAircraft& aircraft, FlightState state) {
    if (aircraft.fs == state)
        return;
    aircraft.fsPrevious = aircraft.fs;
    aircraft.fs = state;
}

const CategoryRow& categoryRow(AircraftCategory category) {
    return categoryTable[std::min(static_cast<std::size_t>(category), categoryTable.size() - 1)];
}

void applyCategory(LiveAircraft& aircraft) {
    const CategoryRow& values = categoryRow(aircraft.category);
    aircraft.taxiSpeed = values.taxiSpeed;
    aircraft.climbStepMax = values.climbStepMax;
    aircraft.turnRateBase = values.turnRateBase;
    aircraft.turnRate = aircraft.turnRateBase;
    aircraft.rotatePitch = spread(values.rotatePitch, rotateSpread);
    aircraft.climbPitch = spread(values.climbPitch, climbSpread);
    aircraft.flareTicks = values.flareTicks;
    aircraft.derotateTicks = values.derotateTicks;
    aircraft.rotateTicks = values.rotateTicks;
    aircraft.climbOutTicks = values.climbOutTicks;
}

void applyModel(LiveAircraft& aircraft) {
    aircraft.category = categoryOf(aircraft.model);
    aircraft.wingspan = wingspanOf(aircraft.model);
    applyCategory(aircraft);
}

void takeModel(LiveAircraft& aircraft, const std::string& model) {
    if (model.empty() || model == aircraft.model)
        return;
    aircraft.model = model;
    applyModel(aircraft);
}

void insertMidpoint(LiveAircraft& a) {
    const PositionSample& s0 = a.stream[0];
    const PositionSample& s1 = a.stream[1];
    PositionSample middle = s0;
    double lonHalf = (s1.lon - s0.lon) / 2.0;
    if (std::fabs(lonHalf) > 90.0) // across the date line
        lonHalf -= std::copysign(180.0, lonHalf);
    middle.lat = (s0.lat + s1.lat) / 2.0;
    middle.lon = s0.lon + lonHalf;
    middle.gs = (s0.gs + s1.gs) / 2.0;
    middle.alt = std::max((s0.alt + s1.alt) / 2.0, 0.0);
    middle.tick = s0.tick + (s1.tick - s0.tick) / 2;
    middle.airborne = middle.alt > 0.0;
    middle.stopped = false;
    a.stream.insert(a.stream.begin() + 1, middle);
}

} // namespace kes
