
#include "traffic/parking.h"

#include "airports/airport_ref.h"
#include "airports/stands.h"
#include "core/clock.h"
#include "core/hh_now.h"
#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>

namespace kes {

namespace {

constexpr double atAirportNm = 5.0;
constexpr double wideSearch = 55.0 / metresPerNm;
constexpr double lastSampleNear = 35.0 / metresPerNm;
constexpr double spanMargin = 1.8 / metresPerNm;
constexpr double crawling = 5.0; ///< knots

/// The nearest free stand within `limit` that the aircraft fits on.
Stand* findClosestStand(LatLon position, const LiveAircraft& a, double limit) {
    Stand* best = nullptr;
    double bestDistance = limit;
    for (Stand& stand : stands) {
        const double d = distanceNm(position, stand.position());
        if (stand.liveOnIt || d > bestDistance || a.wingspan - stand.radius > spanMargin)
            continue;
        best = &stand;
        bestDistance = d;
    }
    return best != nullptr && best->heli == (a.category == AircraftCategory::rotorcraft) ? best : nullptr;
}

void takeStand(LiveAircraft& a, Stand& stand) {
    PositionSample& s0 = a.stream.front();
    s0.stopped = true;
    s0.gs = 0.0;
    a.standLat = stand.lat;
    a.standLon = stand.lon;
    a.standHeading = stand.heading;
    a.sid = stand.sid;
    a.standCargo = stand.cargo;
    setFlightState(a, FlightState::parked);
    stand.liveOnIt = true;
    a.parkedTime = monotonicMs();
    a.lastStandDist = 0.0;
    a.awayCount = 0;
    a.stream.resize(1);
    a.stream.front().lat = stand.lat;
    a.stream.front().lon = stand.lon;
    a.stream.front().track = stand.heading * radToDeg;
}

} // namespace

BirthPlace bornOnStand(LiveAircraft& a) {
    if (stands.empty() || !airportRef)
        return BirthPlace::taxiing;
    const PositionSample& s0 = a.stream.front();
    LatLon position = s0.position();
    if (distanceNm(position, airportRef->position()) > atAirportNm)
        return BirthPlace::taxiing;
    if (!s0.stopped) {
        const PositionSample& back = a.stream.back();
        if (a.stream[1].gs > crawling || distanceNm(position, back.position()) > lastSampleNear)
            return BirthPlace::taxiing;
        position = back.position();
    }
    if (Stand* stand = findClosestStand(position, a, wideSearch)) {
        takeStand(a, *stand);
        return BirthPlace::parked;
    }
    if (!a.stream[1].stopped)
        return BirthPlace::taxiing;
    a.stream.pop_front();
    return BirthPlace::notKnownYet;
}

void try2Park(LiveAircraft&, bool) {}
bool airportDataReady() {
    return false;
}
void arriveAtStand(LiveAircraft&) {}
void learnStand(LiveAircraft&, bool) {}
void noteDeparture(LiveAircraft&) {}

void emptyStand(AiAircraft& aircraft) {
    aircraft.standLat = aircraft.standLon = aircraft.standHeading = 0.0;
    aircraft.sid = 0;
}

void noteParked(LiveAircraft& aircraft) {
    aircraft.parkedAt = hhNow();
    if (par::LOG)
        log(fmt::format("{:8}: {:8} parks", standName(aircraft.sid), aircraft.callsign));
}

} // namespace kes
