// SPDX-License-Identifier: MIT
#include "traffic/identity.h"

#include "airports/airport_ref.h"
#include "core/log.h"
#include "core/parameters.h"
#include "liveries/matching.h"
#include "reference/reference.h"
#include "traffic/conflicts.h"
#include "traffic/removal.h"
#include "traffic/title_table.h"

#include <fmt/format.h>

namespace kes {

namespace {

void takeUnlessEmpty(std::string& own, const std::string& reported) {
    if (!reported.empty())
        own = reported;
}

bool fill(std::string& own, const std::string& reported) {
    if (!own.empty() || reported.empty())
        return false;
    own = reported;
    return true;
}

/// The feed turns to the return flight while the aircraft still taxies in at the reference airport.
bool isReturnFlightHere(const LiveAircraft& a, const AircraftReport& report) {
    return airportRef && a.orig == airportRef->iata && report.dest == a.orig;
}

/// True = the route changed.
bool checkRoute(LiveAircraft& a, const AircraftReport& report) {
    const bool filledDest = fill(a.dest, report.dest);
    const bool filledOrig = fill(a.orig, report.orig);
    const bool known = !a.orig.empty() && !a.dest.empty() && !report.orig.empty() && !report.dest.empty();
    if (!known || a.orig == report.orig || a.dest == report.dest || isReturnFlightHere(a, report))
        return filledDest || filledOrig;
    a.orig = report.orig;
    a.dest = report.dest;
    if (a.onGround && a.fs != FlightState::parking && a.fs != FlightState::parked) {
        setFlightState(a, FlightState::taxi);
        a.targetHeading = a.heading;
    }
    return true;
}

void reselect(LiveAircraft& a) {
    forgetTitle(a.hexid);
    a.title = {};
    setFlightState(a, FlightState::birth);
}

bool belongsToEntry(const LiveAircraft& a, const DbaseRecord& entry) {
    return (entry.airl == a.airline && entry.type == a.model) || (!entry.opr.empty() && entry.opr == a.airline);
}

/// The registration is another airframe's. True = the livery is to be chosen anew.
bool takeOtherAirframe(LiveAircraft& a, const AircraftReport& report, bool testAirline) {
    const auto entry = lookupRegcode(report.regcode);
    if (!entry || belongsToEntry(a, *entry))
        return false;
    if (testAirline) {
        const std::string airline = airlineFromCallsign(report.callsign);
        if (airline.empty() || (airline != entry->airl && airline != entry->opr))
            return false;
    }
    a.airline = entry->opr.empty() ? entry->airl : entry->opr;
    takeModel(a, entry->type);
    reselect(a);
    return true;
}

/// The record had no registration yet. True = the livery is to be chosen anew.
bool takeFirstRegcode(LiveAircraft& a, const AircraftReport& report) {
    const std::string_view title = searchRegcode(report.regcode);
    if (title.empty())
        return takeOtherAirframe(a, report, false);
    if (title == a.title)
        return false;
    if (const auto entry = lookupRegcode(report.regcode)) {
        a.airline = entry->airl;
        takeModel(a, entry->type);
    }
    reselect(a);
    return true;
}

bool checkRegcode(LiveAircraft& a, const AircraftReport& report) {
    if (report.regcode.empty() || report.regcode == a.regcode)
        return false;
    const bool first = a.regcode.empty() || a.regcode == a.callsign;
    const bool changed = first ? takeFirstRegcode(a, report) : takeOtherAirframe(a, report, true);
    a.regcode = report.regcode;
    return changed;
}

enum class FlightCheck { same, changed, refused };

FlightCheck checkFlight(LiveAircraft& a, const AircraftReport& report) {
    if (report.callsign.empty() || report.callsign == a.callsign || report.callsign == a.regcode)
        return FlightCheck::same;
    const bool ghost = isGhost(report.callsign);
    if (ghost && hasRealTwin(report.callsign))
        return FlightCheck::refused;
    // Taken before its ghost is looked for: a record that was the ghost itself must not be found.
    a.callsign = report.callsign;
    a.coupledCs1 = report.callsign;
    a.coupledCs2.clear();
    if (!ghost)
        removeGhostOf(a);
    return FlightCheck::changed;
}

} // namespace

bool checkIdentity(LiveAircraft& aircraft, const AircraftReport& report) {
    if (aircraft.departing || aircraft.approach)
        return true;
    if (aircraft.st == AircraftStatus::buffer) {
        takeUnlessEmpty(aircraft.orig, report.orig);
        takeUnlessEmpty(aircraft.dest, report.dest);
        takeUnlessEmpty(aircraft.callsign, report.callsign);
        takeUnlessEmpty(aircraft.regcode, report.regcode);
        return true;
    }
    if (aircraft.st != AircraftStatus::active || aircraft.fs == FlightState::pushing_back || aircraft.extrapCount >= 1)
        return true;
    bool changed = checkRoute(aircraft, report);
    changed = checkRegcode(aircraft, report) || changed;
    const FlightCheck flight = checkFlight(aircraft, report);
    if (flight == FlightCheck::refused)
        return false;
    if (!changed && flight == FlightCheck::same)
        return true;
    if (!par::GUID_CHANGES)
        return true;
    if (par::LOG)
        logIndented(fmt::format("{} respawns", longLabel(aircraft)));
    liveryRespawn(aircraft);
    return false;
}

} // namespace kes
