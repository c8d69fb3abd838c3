// SPDX-License-Identifier: MIT
// Compiled scenery of others: any bytes must come out as stands that an airport file can hold, in bounded time.
#include "airports/airport_xml.h"
#include "airports/bgl_reader.h"

#include <cmath>
#include <cstdint>
#include <set>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    for (const bool msfs2024 : {false, true}) {
        const kes::BglContent content = kes::readBgl(bytes, "x.bgl", msfs2024);
        for (std::size_t i = 0; i < content.airports.size(); ++i) {
            const kes::ScanAirport& airport = content.airports[i];
            const bool isLast = i + 1 == content.airports.size();
            if (airport.file.icao.size() != 4 || (!airport.isWhole && (!isLast || content.error.empty())) ||
                airport.file.standList.size() > kes::mostStands)
                __builtin_trap();
            if (!airport.isWhole)
                continue;
            std::set<std::string> ids;
            for (const kes::Stand& stand : airport.file.standList) {
                if (!ids.insert(stand.id).second || stand.idDoubled || !std::isfinite(stand.heading) ||
                    !std::isfinite(stand.radius) || !(std::abs(stand.lat) <= 90) || !(std::abs(stand.lon) <= 180))
                    __builtin_trap();
            }
        }
    }
    return 0;
}
