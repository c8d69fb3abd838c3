#include "airports/static_parking.h"

#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/stands.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/user_aircraft.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace kes {

std::vector<AiAircraft> parkedAircraft;
std::int32_t wantedParked = 0;

void dropPlacement(std::uint32_t) {}

AiAircraft* findParked(std::uint32_t hexid) {
    const auto it = std::ranges::find(parkedAircraft, hexid, &AiAircraft::hexid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

AiAircraft* findParkedByObject(std::uint32_t objectid) {
    const auto it = std::ranges::find(parkedAircraft, objectid, &AiAircraft::objectid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

void eraseParked(AiAircraft& aircraft) {
    if (&aircraft != &parkedAircraft.back())
        aircraft = std::move(parkedAircraft.back());
    parkedAircraft.pop_back();
}

void parkingTick(bool) {
    std::optional<AirportEntry> nearest;
    if (userAircraft.known()) {
        nearest = nearestAirport(userAircraft.position(), par::AIRPORT_RANGE);
    }
    const std::string code = nearest ? nearest->code : std::string();
    if (code == (airportRef ? airportRef->code : std::string())) {
        return;
    }
    if (!nearest) {
        log(fmt::format("{} is out of sight", airportRef->code));
        setAirportRef(std::nullopt);
        return;
    }
    setAirportRef(AirportRef{nearest->code, nearest->iata, nearest->lat, nearest->lon, nearest->alt});
    log("The park airport is " + nearest->code + (nearest->iata.empty() ? "" : " (" + nearest->iata + ")"));
}

void createNextStatic() {}
bool staticAircraftWait() {
    return false;
}
void renewParking(const std::set<std::string>&) {}
void startPlacing() {}
bool placingGoesOn() {
    return false;
}

void unloadParkAirport() {
    parkedAircraft.clear();
    if (airportRef) {
        setAirportRef(std::nullopt);
    }
}

void saveParkState() {}
bool parkAirportLoaded() {
    return false;
}
bool staticParkingActive() {
    return false;
}
void prepareParkState() {}

void resetParking() {
    stands.clear();
    parkedAircraft.clear();
    setAirportRef(std::nullopt);
}

} // namespace kes
