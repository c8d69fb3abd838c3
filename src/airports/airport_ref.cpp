// SPDX-License-Identifier: MIT
#include "airports/airport_ref.h"

#include "feed/traffic_line.h"
#include "feed/traffic_reader.h"

namespace kes {

std::optional<AirportRef> airportRef;

void setAirportRef(const std::optional<AirportRef>& reference) {
    airportRef = reference;
    if (reference) {
        trafficReader.setReferenceAirport(FeedAirport{reference->position(), reference->elevation});
    } else {
        trafficReader.setReferenceAirport(std::nullopt);
    }
}

double referenceElevation() {
    return airportRef ? airportRef->elevation : noElevation;
}

} // namespace kes
