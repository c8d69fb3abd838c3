// SPDX-License-Identifier: MIT
// Who flies in the scenario: airlines with types that they operate, registrations, transponder addresses, callsigns.
#pragma once

#include <cstdint>
#include <random>
#include <set>
#include <string>
#include <string_view>

namespace kes::source {

enum class Role { Local, Overflight, Light, Helicopter, Vehicle };

/// How a type flies, in knots and feet.
struct Performance {
    std::string_view model;
    std::string_view category; ///< emitter category
    double approach = 138;     ///< ground speed at the threshold
    double rotate = 148;
    double cruise = 450; ///< ground speed of an overflight
    double climb = 1.0;  ///< factor on the climb gradients
};

struct Airframe {
    const Performance* performance = nullptr;
    std::string airline; ///< empty for private ones
    std::string iata;    ///< airline code of flight numbers
    std::string regcode;
    std::string homeBase; ///< IATA code
    std::uint32_t hexid = 0;
};

struct Fleet {
    std::set<std::string> regcodes;  ///< in use
    std::set<std::uint32_t> hexids;  ///< in use
    std::set<std::string> callsigns; ///< in use
};

/// A value from 0 to n - 1, and one from a to b; the same on every library.
std::uint32_t pick(std::mt19937& random, std::uint32_t n);
double between(std::mt19937& random, double a, double b);

/// Draws an airframe that is not in use and marks it used.
Airframe drawAirframe(Fleet& fleet, std::mt19937& random, Role role);
/// It may be drawn again.
void releaseAirframe(Fleet& fleet, const Airframe& airframe);
/// Draws a callsign not in use and marks it used; `flightNumber` is the IATA form, empty when the callsign is no plain
/// number. A private aircraft calls by its registration without the hyphen.
std::string drawCallsign(Fleet& fleet, std::mt19937& random, const Airframe& airframe, std::string& flightNumber);
/// IATA code of an airport that an aircraft of this fleet flies to.
std::string_view drawDestination(std::mt19937& random);

} // namespace kes::source
