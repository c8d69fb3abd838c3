// SPDX-License-Identifier: MIT
#include "core/ai_aircraft.h"

#include <fmt/format.h>

namespace kes {

namespace {
template <std::size_t N> std::string_view pick(const std::string_view (&texts)[N], std::size_t index) {
    return index < N ? texts[index] : std::string_view("?");
}
bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}
} // namespace

std::string_view text(AircraftCategory category) {
    static constexpr std::string_view texts[] = {"Light", "Buzjets", "Large", "Heavy", "HighPerf", "Rotorcraft"};
    return pick(texts, static_cast<std::size_t>(category));
}

std::string_view text(AircraftStatus status) {
    static constexpr std::string_view texts[] = {"buffer", "adding2sim", "active", "liveryrespawn", "removingfromsim"};
    return pick(texts, static_cast<std::size_t>(status));
}

std::string aimo(const AircraftIdentity& aircraft) {
    return fmt::format("{:3} {:4}", aircraft.airline, aircraft.model);
}

std::string longLabel(const AircraftIdentity& aircraft) {
    const std::string route = aircraft.orig.empty() && aircraft.dest.empty()
                                  ? std::string(8, ' ')
                                  : fmt::format("{:3}->{:3}", aircraft.orig, aircraft.dest);
    return fmt::format("{} {}",
                       fmt::format("{} {:8} {}", fmt::format("{:8}", aircraft.callsign), aircraft.regcode, route),
                       aimo(aircraft));
}

std::string shortLabel(const AircraftIdentity& aircraft) {
    return fmt::format("{:8} {} {}", aircraft.callsign, aircraft.regcode, aimo(aircraft));
}

bool isValidCallsign(std::string_view callsign) {
    return !callsign.empty() && callsign != "@@@@@@@@" && callsign.size() <= 8;
}

std::string airlineFromCallsign(std::string_view callsign) {
    if (callsign.size() < 4 || callsign[3] < '0' || callsign[3] > '9')
        return {};
    std::string airline(callsign.substr(0, 3));
    for (char& c : airline) {
        if (!isLetter(c))
            return {};
        if (c >= 'a')
            c = static_cast<char>(c - 'a' + 'A');
    }
    return airline;
}

} // namespace kes
