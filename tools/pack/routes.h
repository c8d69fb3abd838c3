// SPDX-License-Identifier: MIT
// Public lists of the world's air routes: who flies where with what.
#pragma once

#include "core/geo.h"
#include "tools/pack/pack.h"
#include "tools/pack/sources.h"

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kes::pack {

struct FlownType {
    std::string code; ///< ICAO designator
    bool cargo = false;
    auto operator<=>(const FlownType&) const = default;
};

/// An airline that flies between this airport and another one, whichever way its list has it.
struct Service {
    std::string airline; ///< ICAO code
    std::string other;   ///< ICAO code of the airport at the other end
    double nm = 0;
    std::vector<FlownType> types; ///< sorted
};

struct AirportRoutes {
    LatLon position;
    std::vector<Service> services; ///< sorted by airline and other airport
};

struct RouteList {
    std::map<std::string, AirportRoutes, std::less<>> airports; ///< by ICAO code; those with a service
    std::set<std::pair<std::string, std::string>> homes;        ///< airline and airport

    /// Whether the airline has aircraft that spend the night there: at the airport where it has most services (of
    /// several, at the one with most of all airlines), and at those with a good share of that.
    bool isHome(std::string_view airline, std::string_view airport) const;
};

/// Reads the lists, plain or gzip, in the columns of OpenFlights and without a head line. Flights under another
/// airline's code are left out, also such as the list does not mark but that look like it. Airlines and types must be
/// in `sources`, airports in `airports`; rows with others are bad, once for each name that is missing in them. Throws
/// std::runtime_error when a list cannot be read.
RouteList readRoutes(const RouteFiles& files, const Sources& sources, const std::vector<AirportRow>& airports,
                     PackCount& count);

} // namespace kes::pack
