// SPDX-License-Identifier: MIT
// Simulation variables and units: names as clients write them, and how a field of a data definition is read from and
// written to an object. Names compare without regard to case. Any thread; the tables are constant.
#pragma once

#include "core/byte_reader.h"
#include "simconnect/simconnect.h"
#include "world/simulator/object.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace kes::world {

enum class Datum : std::uint8_t {
    latitude,
    longitude,
    pitch,
    bank,
    heading,
    altitude,
    verticalSpeed,
    airspeedTrue,
    groundVelocity,
    aboveGround,
    groundAltitude,
    onGround,
    tail,
    model,
    title,
    category,
    staticCg,
    staticPitch,
    lights,
    oneLight,
    spoilers,
    throttle,
    flaps,
    gear,
    combustion,
    freezeLatLon,
    freezeAltitude,
    freezeAttitude,
    isUser,
    zuluTime,
    zuluDay,
    zuluMonth,
    zuluDayOfMonth,
    zuluYear,
};

/// One field of a data definition, ready to be used without a further look at names.
struct Field {
    Datum datum = Datum::latitude;
    std::uint8_t index = 0; ///< engine 0 to 3
    bool settable = false;
    bool text = false;
    std::uint32_t lightBit = 0; ///< for oneLight
    simconnect::DataType type = simconnect::DataType::float64;
    std::uint32_t size = 0; ///< bytes on the wire; 0 = variable text
    double perStored = 1;   ///< wire value = stored value * perStored; exactly 1 for the stored unit
    std::uint32_t datumId = simconnect::unused;
    float epsilon = 0;
};

enum class FieldError { none, datum, unit, type, enumeration };

/// Looks up name, unit and type. Texts ignore the unit and want a text type, numbers a number type.
FieldError compileField(std::string_view name, std::string_view unit, std::uint32_t type, Field& field);

/// What a datum may need beside the object itself.
struct Surroundings {
    double groundFeet = 0; ///< terrain below the object
    double zuluTime = 0;   ///< seconds of the day
    int day = 1, month = 1, dayOfMonth = 1, year = 2000;
};

/// True when the field needs `Surroundings::groundFeet`.
bool needsGround(const Field& field);

/// The object stands or rolls: its reference point is no more than half a foot above its static height.
bool isOnGround(const SimObject& object, double groundFeet);

double readNumber(const SimObject& object, const Field& field, const Surroundings& around); ///< in the wire's unit
/// A view into the object, valid as long as it is not changed; empty for a number.
std::string_view readText(const SimObject& object, const Field& field);

/// Packs a number in the field's type; whole number types are rounded, and held at their limits.
void packNumber(const Field& field, double value, std::byte* to);
/// The number at the beginning of `bytes`. Throws MissingBytes when there is too little of it.
double unpackNumber(const Field& field, ByteReader bytes);

/// A wire value in the unit in which the object keeps it.
inline double storedValue(const Field& field, double wireValue) {
    return field.perStored == 1.0 ? wireValue : wireValue / field.perStored;
}
/// False when a value cannot be taken: not finite, latitude beyond the poles, longitude beyond a full turn.
bool acceptable(const Field& field, double stored);
/// Sets a settable number that was found acceptable.
void writeNumber(SimObject& object, const Field& field, double stored);

} // namespace kes::world
