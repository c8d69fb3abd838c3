// SPDX-License-Identifier: MIT
#include "world/source/report_line.h"

#include <cmath>
#include <fmt/format.h>
#include <iterator>

namespace kes::source {

namespace {

double inCircle(double degrees) {
    const double d = std::fmod(degrees, 360.0);
    return d < 0 ? d + 360.0 : d;
}

/// Pressure ratio and temperature (Kelvin) of the standard atmosphere.
double standardPressure(double feet) {
    const double metres = feet * metresPerFoot;
    return metres <= 11000.0 ? std::pow(1.0 - 2.25577e-5 * metres, 5.25588)
                             : 0.223361 * std::exp(-(metres - 11000.0) / 6341.62);
}
double standardKelvin(double feet) {
    return std::max(216.65, 288.15 - 0.0019812 * feet);
}

} // namespace

std::string trafficLine(const SourceReport& r, double epoch, double magneticVariation) {
    const double pressureAltitude = r.altitude > 0 ? r.altitude + (1013.25 - r.qnh) * 27.0 : 0.0;
    const double kelvin = standardKelvin(r.altitude);
    const bool speeds = r.airborne && r.trueAirspeed > 0;
    const double mach = speeds ? r.trueAirspeed / (38.967854 * std::sqrt(kelvin)) : -1.0;
    double indicated = -1;
    if (speeds) {
        const double impact = standardPressure(r.altitude) * (std::pow(1.0 + 0.2 * mach * mach, 3.5) - 1.0);
        indicated = 661.4786 * std::sqrt(5.0 * (std::pow(impact + 1.0, 2.0 / 7.0) - 1.0));
    }
    const double magnetic = r.trueHeading < 0 ? -1.0 : inCircle(r.trueHeading - magneticVariation);
    const double outside = kelvin - 273.15;
    fmt::memory_buffer b;
    auto out = std::back_inserter(b);
    fmt::format_to(out, "RTTFC,{},{:.5f},{:.5f},{:.0f},{:.0f},{},{:.2f},{:.2f},{},{},{},{},{},{:.1f},X2,{},{}", r.hexid,
                   r.place.lat, r.place.lon, r.altitude, r.verticalSpeed, r.airborne ? 1 : 0, r.track, r.groundSpeed,
                   r.callsign, r.model, r.regcode, r.origin, r.destination, epoch,
                   r.flightNumber.empty() ? "null" : r.flightNumber, r.dataSource);
    // Geometric altitude, indicated and true airspeed, Mach, turn rate, roll, headings.
    fmt::format_to(out, ",{:.0f},{:.0f},{:.0f}", r.airborne ? r.altitude + 150.0 : -1.0, indicated,
                   speeds ? r.trueAirspeed : -1.0);
    if (speeds) {
        fmt::format_to(out, ",{:.3f},{:.2f},{:.1f}", mach, r.turnRate, r.roll);
    } else {
        fmt::format_to(out, ",-1,-1,-1");
    }
    fmt::format_to(out, ",{:.2f},{:.2f},{:.0f},none,{},{:.1f},{:.0f},-1,-1,{},0.0,-20.0", magnetic, r.trueHeading,
                   r.airborne ? r.verticalSpeed : -1.0, r.category, r.qnh, r.selectedAltitude,
                   r.airborne ? "autopilot|lnav" : "null");
    if (r.airborne && r.windSpeed >= 0) {
        fmt::format_to(out, ",{:.0f},{:.0f},{:.0f},{:.0f}", r.windFrom, r.windSpeed, outside,
                       outside + (mach > 0 ? 0.2 * mach * mach * kelvin : 0.0));
    } else {
        fmt::format_to(out, ",-1,-1,-1,-1");
    }
    fmt::format_to(out, ",1,{:.0f},{},{}", pressureAltitude, r.hexid % 300000, r.airline.empty() ? "null" : r.airline);
    return fmt::to_string(b);
}

std::string parkedLine(const SourceReport& r, const std::string& stand, double epoch) {
    return fmt::format("RTPARK,{:06x},{:.6f},{:.6f},{},{},{},{},{:.1f}", r.hexid, r.place.lat, r.place.lon, r.callsign,
                       r.model, r.regcode, stand, epoch);
}

} // namespace kes::source
