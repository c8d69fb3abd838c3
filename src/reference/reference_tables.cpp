// SPDX-License-Identifier: MIT
#include "reference/reference_tables.h"

#include <algorithm>
#include <bit>

namespace kes::reference {

Tables tables;

namespace {

/// The bytes of a code as a number; 0 for one that has none or too many, or begins with a zero byte.
std::uint64_t typeNumber(std::string_view code) {
    std::uint64_t number = 0;
    if (code.size() <= sizeof number && !code.starts_with('\0')) {
        for (const char c : code)
            number = number << 8 | static_cast<unsigned char>(c);
    }
    return number;
}

/// Where a type stands in the table, or the free place where it would.
std::size_t typeSlot(const std::vector<std::uint64_t>& slots, std::uint64_t number) {
    const int shift = 64 - std::countr_zero(slots.size());
    std::size_t at = number * 0x9E3779B97F4A7C15U >> shift;
    while (slots[at] != 0 && slots[at] != number)
        at = (at + 1) % slots.size();
    return at;
}

void fillTypeSlots(Tables& t) {
    t.typeSlots.assign(std::bit_ceil(4 * t.data.aircraftTypes.size() + 4), 0);
    for (const std::string& code : t.data.aircraftTypes) {
        if (const std::uint64_t number = typeNumber(code))
            t.typeSlots[typeSlot(t.typeSlots, number)] = number;
    }
}

} // namespace

std::optional<bool> typeIsKnown(std::string_view code) {
    const std::uint64_t number = typeNumber(code);
    if (number == 0 || tables.typeSlots.empty())
        return {};
    return tables.typeSlots[typeSlot(tables.typeSlots, number)] != 0;
}

AircraftCategory categoryIn(const ReferenceData& d, std::string_view code) {
    if (d.largeTypes.contains(code))
        return AircraftCategory::large;
    if (d.heavyTypes.contains(code))
        return AircraftCategory::heavy;
    if (d.buzjetTypes.contains(code))
        return AircraftCategory::buzjets;
    if (d.rotorTypes.contains(code))
        return AircraftCategory::rotorcraft;
    return d.highPerfTypes.contains(code) ? AircraftCategory::highPerf : AircraftCategory::light;
}

void derive(Tables& t) {
    t.publishers.build(t.data.publisherGroups);
    t.shortRegcodes.build(t.dbaseRecords);
    t.maxWingspan = 0;
    for (const auto& [type, half] : t.data.wingspanByType)
        t.maxWingspan = std::max(t.maxWingspan, half);
    fillTypeSlots(t);
    t.airlineBits.reset();
    for (const std::string& code : t.data.icaoAirlines) {
        if (const auto bit = airlineBit(code))
            t.airlineBits.set(*bit);
    }
}

} // namespace kes::reference
