// SPDX-License-Identifier: MIT
#include "reference/identity.h"

#include "core/codes.h"
#include "reference/reference.h"

namespace kes {

bool takeKnownModel(AircraftIdentity& aircraft) {
    if (modelExists(aircraft.model))
        return true;
    const auto entry = lookupRegcode(aircraft.regcode);
    aircraft.model = entry ? entry->type : std::string();
    return !aircraft.model.empty();
}

bool takeKnownIdentity(AiAircraft& aircraft) {
    if (!aircraft.regcode.empty()) {
        if (const auto entry = lookupRegcode(aircraft.regcode)) {
            aircraft.airline = entry->opr.empty() ? entry->airl : entry->opr;
            aircraft.cargo = entry->cargo;
            if (!entry->type.empty())
                aircraft.model = entry->type;
        }
        if (!isValidCallsign(aircraft.callsign))
            aircraft.callsign = aircraft.regcode;
    }
    if (!isValidCallsign(aircraft.callsign))
        return false;
    if (aircraft.airline.empty())
        aircraft.airline = airlineFromCallsign(aircraft.callsign);
    if (aircraft.airline.empty())
        aircraft.airline = privateAirline;
    return true;
}

} // namespace kes
