#include "reference/reference_tables.h"

#include <algorithm>

namespace kes::reference {

Tables tables;

std::optional<std::size_t> airlineBit(std::string_view code) {
    if (code.size() != 3)
        return {};
    std::size_t place = 0;
    for (const char c : code) {
        if (c < '-' || c > 'Z')
            return {};
        place = place * 46 + static_cast<std::size_t>(c - '-');
    }
    return place;
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
    t.airlineBits.reset();
    for (const std::string& code : t.data.icaoAirlines) {
        if (const auto bit = airlineBit(code))
            t.airlineBits.set(*bit);
    }
}

} // namespace kes::reference
