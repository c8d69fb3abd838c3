// SPDX-License-Identifier: MIT
#include "world/simulator/datums.h"

#include "core/geo.h"
#include "core/text.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace kes::world {

using simconnect::DataType;

namespace {

enum class Dimension : std::uint8_t { number, angle, length, speed, time, ratio, text };

constexpr double metre = 1.0 / metresPerFoot;
constexpr double nauticalMile = feetPerNm;
constexpr double statuteMile = 5280.0;
constexpr double degree = degToRad;

struct Unit {
    std::string_view name;
    Dimension dimension;
    double size; // in radians, feet, feet per second, seconds, parts of one
};

constexpr Unit units[] = {
    {"number", Dimension::number, 1},
    {"numbers", Dimension::number, 1},
    {"bool", Dimension::number, 1},
    {"boolean", Dimension::number, 1},
    {"mask", Dimension::number, 1},
    {"flags", Dimension::number, 1},
    {"enum", Dimension::number, 1},
    {"radians", Dimension::angle, 1},
    {"radian", Dimension::angle, 1},
    {"degrees", Dimension::angle, degree},
    {"degree", Dimension::angle, degree},
    {"degree latitude", Dimension::angle, degree},
    {"degree longitude", Dimension::angle, degree},
    {"feet", Dimension::length, 1},
    {"foot", Dimension::length, 1},
    {"ft", Dimension::length, 1},
    {"meters", Dimension::length, metre},
    {"meter", Dimension::length, metre},
    {"m", Dimension::length, metre},
    {"kilometers", Dimension::length, 1000 * metre},
    {"kilometer", Dimension::length, 1000 * metre},
    {"km", Dimension::length, 1000 * metre},
    {"nautical miles", Dimension::length, nauticalMile},
    {"nautical mile", Dimension::length, nauticalMile},
    {"nmiles", Dimension::length, nauticalMile},
    {"nmile", Dimension::length, nauticalMile},
    {"miles", Dimension::length, statuteMile},
    {"mile", Dimension::length, statuteMile},
    {"feet per second", Dimension::speed, 1},
    {"feet/second", Dimension::speed, 1},
    {"feet per minute", Dimension::speed, 1 / 60.0},
    {"feet/minute", Dimension::speed, 1 / 60.0},
    {"ft/min", Dimension::speed, 1 / 60.0},
    {"knots", Dimension::speed, nauticalMile / 3600},
    {"knot", Dimension::speed, nauticalMile / 3600},
    {"kts", Dimension::speed, nauticalMile / 3600},
    {"meters per second", Dimension::speed, metre},
    {"meters/second", Dimension::speed, metre},
    {"m/s", Dimension::speed, metre},
    {"kilometers per hour", Dimension::speed, 1000 * metre / 3600},
    {"kilometers/hour", Dimension::speed, 1000 * metre / 3600},
    {"kph", Dimension::speed, 1000 * metre / 3600},
    {"miles per hour", Dimension::speed, statuteMile / 3600},
    {"mph", Dimension::speed, statuteMile / 3600},
    {"seconds", Dimension::time, 1},
    {"second", Dimension::time, 1},
    {"minutes", Dimension::time, 60},
    {"minute", Dimension::time, 60},
    {"hours", Dimension::time, 3600},
    {"hour", Dimension::time, 3600},
    {"percent", Dimension::ratio, 0.01},
    {"percentage", Dimension::ratio, 0.01},
    {"percent over 100", Dimension::ratio, 1},
    {"position", Dimension::ratio, 1},
    {"position 16k", Dimension::ratio, 1 / 16384.0},
    {"position 32k", Dimension::ratio, 1 / 32768.0},
};

struct Entry {
    std::string_view name;
    Datum datum;
    Dimension dimension;
    double stored; // size of the unit in which the object keeps the value
    bool settable = false;
    bool indexed = false; // takes ":1" to ":4"
    std::uint32_t lightBit = 0;
};

constexpr double knot = nauticalMile / 3600;

constexpr Entry entries[] = {
    {"plane latitude", Datum::latitude, Dimension::angle, degree, true},
    {"plane longitude", Datum::longitude, Dimension::angle, degree, true},
    {"plane pitch degrees", Datum::pitch, Dimension::angle, 1, true},
    {"plane bank degrees", Datum::bank, Dimension::angle, 1, true},
    {"plane heading degrees true", Datum::heading, Dimension::angle, 1, true},
    {"plane altitude", Datum::altitude, Dimension::length, 1, true},
    {"vertical speed", Datum::verticalSpeed, Dimension::speed, 1, true},
    {"airspeed true", Datum::airspeedTrue, Dimension::speed, knot, true},
    {"ground velocity", Datum::groundVelocity, Dimension::speed, knot},
    {"plane alt above ground", Datum::aboveGround, Dimension::length, 1},
    {"ground altitude", Datum::groundAltitude, Dimension::length, 1},
    {"sim on ground", Datum::onGround, Dimension::number, 1},
    {"atc id", Datum::tail, Dimension::text, 1, true},
    {"atc model", Datum::model, Dimension::text, 1},
    {"title", Datum::title, Dimension::text, 1},
    {"category", Datum::category, Dimension::text, 1},
    {"static cg to ground", Datum::staticCg, Dimension::length, 1},
    {"static pitch", Datum::staticPitch, Dimension::angle, 1},
    {"light states", Datum::lights, Dimension::number, 1},
    {"light on states", Datum::lights, Dimension::number, 1},
    {"light nav", Datum::oneLight, Dimension::number, 1, true, false, light::nav},
    {"light beacon", Datum::oneLight, Dimension::number, 1, true, false, light::beacon},
    {"light landing", Datum::oneLight, Dimension::number, 1, true, false, light::landing},
    {"light taxi", Datum::oneLight, Dimension::number, 1, true, false, light::taxi},
    {"light strobe", Datum::oneLight, Dimension::number, 1, true, false, light::strobe},
    {"light logo", Datum::oneLight, Dimension::number, 1, true, false, light::logo},
    {"light cabin", Datum::oneLight, Dimension::number, 1, true, false, light::cabin},
    {"spoilers handle position", Datum::spoilers, Dimension::ratio, 0.01, true},
    {"general eng throttle lever position", Datum::throttle, Dimension::ratio, 0.01, true, true},
    {"flaps handle percent", Datum::flaps, Dimension::ratio, 0.01},
    {"gear handle position", Datum::gear, Dimension::number, 1, true},
    {"general eng combustion", Datum::combustion, Dimension::number, 1, false, true},
    {"is latitude longitude freeze on", Datum::freezeLatLon, Dimension::number, 1},
    {"is altitude freeze on", Datum::freezeAltitude, Dimension::number, 1},
    {"is attitude freeze on", Datum::freezeAttitude, Dimension::number, 1},
    {"is user sim", Datum::isUser, Dimension::number, 1},
    {"zulu time", Datum::zuluTime, Dimension::time, 1},
    {"zulu day of year", Datum::zuluDay, Dimension::number, 1},
    {"zulu month of year", Datum::zuluMonth, Dimension::number, 1},
    {"zulu day of month", Datum::zuluDayOfMonth, Dimension::number, 1},
    {"zulu year", Datum::zuluYear, Dimension::number, 1},
};

std::uint32_t textSize(DataType type) {
    switch (type) {
    case DataType::string8:
        return 8;
    case DataType::string32:
        return 32;
    case DataType::string64:
        return 64;
    case DataType::string128:
        return 128;
    case DataType::string256:
        return 256;
    case DataType::string260:
        return 260;
    default:
        return 0;
    }
}

std::uint32_t numberSize(DataType type) {
    switch (type) {
    case DataType::int32:
    case DataType::float32:
        return 4;
    case DataType::int64:
    case DataType::float64:
        return 8;
    default:
        return 0;
    }
}

template <typename Whole> Whole rounded(double value) {
    if (std::isnan(value))
        return 0;
    // The upper limit itself does not fit a double, so the comparison is against the power of two above it.
    constexpr double limit = -static_cast<double>(std::numeric_limits<Whole>::min());
    const double nearest = std::nearbyint(value);
    if (nearest >= limit)
        return std::numeric_limits<Whole>::max();
    if (nearest < -limit)
        return std::numeric_limits<Whole>::min();
    return static_cast<Whole>(nearest);
}

} // namespace

FieldError compileField(std::string_view name, std::string_view unit, std::uint32_t type, Field& field) {
    if (type > static_cast<std::uint32_t>(DataType::xyz))
        return FieldError::enumeration;
    std::string_view base = strip(name);
    int index = 0;
    if (const std::size_t colon = base.rfind(':'); colon != std::string_view::npos) {
        const std::string_view digits = base.substr(colon + 1);
        if (digits.size() != 1 || digits[0] < '1' || digits[0] > '4')
            return FieldError::datum;
        index = digits[0] - '0';
        base = strip(base.substr(0, colon));
    }
    const Entry* entry = nullptr;
    for (const Entry& candidate : entries)
        if (equalsNoCase(candidate.name, base))
            entry = &candidate;
    if (!entry || (index != 0 && !entry->indexed))
        return FieldError::datum;

    field.datum = entry->datum;
    field.index = static_cast<std::uint8_t>(index > 0 ? index - 1 : 0);
    field.settable = entry->settable;
    field.lightBit = entry->lightBit;
    field.type = static_cast<DataType>(type);
    field.text = entry->dimension == Dimension::text;
    if (field.text) {
        field.size = textSize(field.type);
        return field.size != 0 || field.type == DataType::stringV ? FieldError::none : FieldError::type;
    }
    const Unit* found = nullptr;
    for (const Unit& candidate : units)
        if (equalsNoCase(candidate.name, strip(unit)))
            found = &candidate;
    if (!found || found->dimension != entry->dimension)
        return FieldError::unit;
    field.size = numberSize(field.type);
    if (field.size == 0)
        return FieldError::type;
    field.perStored = found->size == entry->stored ? 1.0 : entry->stored / found->size;
    return FieldError::none;
}

bool needsGround(const Field& field) {
    return field.datum == Datum::aboveGround || field.datum == Datum::groundAltitude || field.datum == Datum::onGround;
}

bool isOnGround(const SimObject& object, double groundFeet) {
    return object.alt - groundFeet <= object.staticCg + 0.5;
}

double readNumber(const SimObject& object, const Field& field, const Surroundings& around) {
    double stored = 0;
    switch (field.datum) {
    case Datum::latitude:
        stored = object.lat;
        break;
    case Datum::longitude:
        stored = object.lon;
        break;
    case Datum::pitch:
        stored = object.pitch;
        break;
    case Datum::bank:
        stored = object.bank;
        break;
    case Datum::heading:
        stored = object.heading;
        break;
    case Datum::altitude:
        stored = object.alt;
        break;
    case Datum::verticalSpeed:
        stored = object.vs;
        break;
    case Datum::airspeedTrue:
        stored = object.tas;
        break;
    case Datum::groundVelocity:
        stored = std::abs(object.tas);
        break;
    case Datum::aboveGround:
        stored = object.alt - around.groundFeet;
        break;
    case Datum::groundAltitude:
        stored = around.groundFeet;
        break;
    case Datum::onGround:
        stored = isOnGround(object, around.groundFeet);
        break;
    case Datum::staticCg:
        stored = object.staticCg;
        break;
    case Datum::staticPitch:
        stored = object.staticPitch;
        break;
    case Datum::lights:
        stored = object.lights;
        break;
    case Datum::oneLight:
        stored = (object.lights & field.lightBit) != 0;
        break;
    case Datum::spoilers:
        stored = object.spoilers;
        break;
    case Datum::throttle:
        stored = object.throttle[field.index];
        break;
    case Datum::flaps:
        stored = object.flaps;
        break;
    case Datum::gear:
        stored = object.gear;
        break;
    case Datum::combustion:
        stored = object.engines;
        break;
    case Datum::freezeLatLon:
        stored = object.freezeLatLon;
        break;
    case Datum::freezeAltitude:
        stored = object.freezeAltitude;
        break;
    case Datum::freezeAttitude:
        stored = object.freezeAttitude;
        break;
    case Datum::isUser:
        stored = object.id == userId;
        break;
    case Datum::zuluTime:
        stored = around.zuluTime;
        break;
    case Datum::zuluDay:
        stored = around.day;
        break;
    case Datum::zuluMonth:
        stored = around.month;
        break;
    case Datum::zuluDayOfMonth:
        stored = around.dayOfMonth;
        break;
    case Datum::zuluYear:
        stored = around.year;
        break;
    case Datum::tail:
    case Datum::model:
    case Datum::title:
    case Datum::category:
        break;
    }
    return stored * field.perStored;
}

std::string_view readText(const SimObject& object, const Field& field) {
    switch (field.datum) {
    case Datum::tail:
        return object.tail;
    case Datum::model:
        return object.model;
    case Datum::title:
        return object.title;
    case Datum::category:
        return object.type == simconnect::SimObjectType::aircraft ? "Airplane" : "GroundVehicle";
    default:
        return {};
    }
}

void packNumber(const Field& field, double value, std::byte* to) {
    const auto put = [to](auto number) { std::memcpy(to, &number, sizeof number); };
    switch (field.type) {
    case DataType::int32:
        put(rounded<std::int32_t>(value));
        break;
    case DataType::int64:
        put(rounded<std::int64_t>(value));
        break;
    case DataType::float32:
        put(static_cast<float>(value));
        break;
    default:
        put(value);
        break;
    }
}

double unpackNumber(const Field& field, ByteReader bytes) {
    switch (field.type) {
    case DataType::int32:
        return bytes.i32(0);
    case DataType::int64:
        return static_cast<double>(bytes.i64(0));
    case DataType::float32:
        return bytes.f32(0);
    default:
        return bytes.f64(0);
    }
}

bool acceptable(const Field& field, double stored) {
    if (!std::isfinite(stored))
        return false;
    if (field.datum == Datum::latitude)
        return std::abs(stored) <= 90.0;
    if (field.datum == Datum::longitude)
        return std::abs(stored) <= 360.0;
    return true;
}

void writeNumber(SimObject& object, const Field& field, double stored) {
    switch (field.datum) {
    case Datum::latitude:
        object.lat = stored;
        break;
    case Datum::longitude:
        object.lon = stored > 180.0 ? stored - 360.0 : stored < -180.0 ? stored + 360.0 : stored;
        break;
    case Datum::pitch:
        object.pitch = stored;
        break;
    case Datum::bank:
        object.bank = stored;
        break;
    case Datum::heading:
        object.heading = stored;
        break;
    case Datum::altitude:
        object.alt = stored;
        break;
    case Datum::verticalSpeed:
        object.vs = stored;
        break;
    case Datum::airspeedTrue:
        object.tas = stored;
        break;
    case Datum::oneLight:
        object.lights = stored != 0.0 ? object.lights | field.lightBit : object.lights & ~field.lightBit;
        break;
    case Datum::spoilers:
        object.spoilers = stored;
        break;
    case Datum::throttle:
        object.throttle[field.index] = stored;
        break;
    case Datum::gear:
        object.gear = stored != 0.0;
        break;
    default:
        break;
    }
}

} // namespace kes::world
