// SPDX-License-Identifier: MIT
// Compiled scenery of others: any bytes must come out as stands that an airport file can hold, in bounded time.
#include "airports/airport_xml.h"
#include "airports/bgl_reader.h"
#include "fuzz/fuzz.h"

#include <cmath>
#include <set>
#include <string>

using kes::fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (const bool msfs2024 : {false, true}) {
        const kes::BglContent content = kes::readBgl(kes::fuzz::textOf(data, size), "x.bgl", msfs2024);
        for (std::size_t i = 0; i < content.airports.size(); ++i) {
            const kes::ScanAirport& airport = content.airports[i];
            const bool isLast = i + 1 == content.airports.size();
            require(airport.file.icao.size() == 4 && (airport.isWhole || (isLast && !content.error.empty())) &&
                    airport.file.standList.size() <= kes::mostStands);
            if (!airport.isWhole)
                continue;
            std::set<std::string> ids;
            for (const kes::Stand& stand : airport.file.standList)
                require(ids.insert(stand.id).second && !stand.idDoubled && std::isfinite(stand.heading) &&
                        std::isfinite(stand.radius) && std::abs(stand.lat) <= 90 && std::abs(stand.lon) <= 180);
        }
    }
    return 0;
}
