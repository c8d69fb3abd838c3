// SPDX-License-Identifier: MIT
#include "world/source/scenario.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>

namespace kes::source {

namespace {

constexpr double gridStep = 3.0;       // seconds between coarse points
constexpr double planAhead = 300.0;    // seconds by which a flight is made before it begins
constexpr double transponderOn = 240;  // seconds before push-back
constexpr double transponderOff = 200; // seconds after the stop at the stand
constexpr double arrivalGap = 125, overflightGap = 55, lightGap = 420, helicopterGap = 1300, vehicleGap = 700;

std::vector<CoarsePoint> coarseOf(const Track& track) {
    std::vector<CoarsePoint> all;
    for (double t = 0; t <= track.duration; t += gridStep) {
        const TrackState s = stateAt(track, t);
        all.push_back({s.at, s.feet, s.speed, s.airborne});
    }
    return all;
}

bool visual(const ScenarioFlight& f) {
    return f.kind == FlightKind::Light || f.kind == FlightKind::Helicopter;
}

bool tooClose(const CoarsePoint& a, const CoarsePoint& b, bool anyVisual, double fieldFeet) {
    const double gap = length(a.at - b.at);
    if (a.airborne && b.airborne) {
        const double sideways = anyVisual ? 1200.0 : 5200.0, upright = anyVisual ? 450.0 : 900.0;
        return gap < sideways && std::abs(a.feet - b.feet) < upright;
    }
    if (!a.airborne && !b.airborne) {
        return gap < 55.0;
    }
    // One flies: it must not come down on, or lift off behind, another that is still on its runway.
    const CoarsePoint& low = a.airborne ? b : a;
    const CoarsePoint& high = a.airborne ? a : b;
    if (gap > 2200.0 || high.feet > fieldFeet + 500.0) {
        return false;
    }
    const Vec across = unit((landingBearing + 90.0) * degToRad), apart = low.at - high.at;
    return std::abs(apart.x * across.x + apart.y * across.y) < 70.0;
}

bool meetsAny(const Scenario& s, const ScenarioFlight& one) {
    for (const ScenarioFlight& other : s.flights) {
        if (other.coarse.empty()) {
            continue;
        }
        const double from = std::max(one.start, other.start);
        const double to = std::min(one.start + gridStep * static_cast<double>(one.coarse.size() - 1),
                                   other.start + gridStep * static_cast<double>(other.coarse.size() - 1));
        const bool anyVisual = visual(one) || visual(other);
        for (double t = from; t <= to; t += gridStep) {
            const auto i = static_cast<std::size_t>((t - one.start) / gridStep + 0.5);
            const auto k = static_cast<std::size_t>((t - other.start) / gridStep + 0.5);
            if (i < one.coarse.size() && k < other.coarse.size() &&
                tooClose(one.coarse[i], other.coarse[k], anyVisual, s.config.elevation)) {
                return true;
            }
        }
    }
    return false;
}

/// Gives the flight the first start at or after `wish` that keeps it clear of all others. False: there is none soon.
bool findStart(const Scenario& s, ScenarioFlight& flight, double wish, double patience) {
    flight.coarse = coarseOf(flight.track);
    const double first = gridStep * std::ceil(wish / gridStep);
    for (double later = 0; later <= patience; later += 4 * gridStep) {
        flight.start = first + later;
        if (!meetsAny(s, flight)) {
            return true;
        }
    }
    return false;
}

void addFlight(Scenario& s, ScenarioFlight flight) {
    flight.id = ++s.lastId;
    flight.nextReport = flight.reportFrom + between(s.random, 0, 3);
    s.flights.push_back(std::move(flight));
}

void chooseGaps(Scenario& s, ScenarioFlight& f) {
    const std::uint32_t source = pick(s.random, 10);
    f.dataSource = source == 0 ? "F_adsb_icao" : source == 1 ? "mlat" : "adsb_icao";
    const std::uint32_t gap = pick(s.random, 30);
    f.hideCallsign = gap == 0 || (f.kind == FlightKind::Light && gap < 9);
    f.hideRegcode = !f.hideCallsign && gap == 10;
    if (gap == 11) {
        f.origin = f.destination = "null";
    }
}

int freeStand(Scenario& s) {
    for (int tries = 0; tries < 200; ++tries) {
        const auto i = pick(s.random, static_cast<std::uint32_t>(s.stands.size()));
        if (!s.standTaken[i]) {
            return static_cast<int>(i);
        }
    }
    return -1;
}

std::string homeAirport(const Scenario& s) {
    return s.config.airport.empty() ? "null" : s.config.airport;
}

std::string foreignAirport(Scenario& s, const Airframe& a) {
    std::string_view code = drawDestination(s.random);
    if (a.homeBase != s.config.airport && !a.homeBase.empty()) {
        code = a.homeBase;
    }
    return std::string(code);
}

void addWaiting(Scenario& s, const Airframe& airframe, const std::string& callsign, int stand, double from,
                double leaveAt) {
    s.waiting.push_back({airframe, callsign, stand, from, leaveAt, false, 1e18});
}

void makeArrival(Scenario& s, double wish) {
    const int stand = freeStand(s);
    if (stand < 0) {
        return;
    }
    ScenarioFlight f;
    f.kind = FlightKind::Arrival;
    f.airframe = drawAirframe(s.fleet, s.random, Role::Local);
    f.callsign = drawCallsign(s.fleet, s.random, f.airframe, f.flightNumber);
    f.origin = foreignAirport(s, f.airframe);
    f.destination = homeAirport(s);
    f.stand = stand;
    f.track = arrivalTrack(s.stands[static_cast<std::size_t>(stand)], *f.airframe.performance,
                           between(s.random, 0, twoPi), s.config.elevation, s.random);
    chooseGaps(s, f);
    if (!findStart(s, f, wish, 600)) {
        s.fleet.callsigns.erase(f.callsign);
        releaseAirframe(s.fleet, f.airframe);
        return;
    }
    s.standTaken[static_cast<std::size_t>(stand)] = 1;
    const double stops = f.start + f.track.duration;
    f.reportFrom = f.start;
    f.reportUntil = stops + transponderOff;
    addWaiting(s, f.airframe, f.callsign, stand, f.reportUntil + 10, stops + between(s.random, 1200, 2100));
    addFlight(s, std::move(f));
}

void makeDeparture(Scenario& s, WaitingAircraft& w) {
    ScenarioFlight f;
    f.kind = FlightKind::Departure;
    f.airframe = w.airframe;
    f.stand = w.stand;
    f.track = departureTrack(s.stands[static_cast<std::size_t>(w.stand)], *f.airframe.performance,
                             between(s.random, 0, twoPi), s.config.elevation, s.random);
    if (!findStart(s, f, w.leaveAt, 600)) {
        w.leaveAt += 300;
        return;
    }
    f.callsign = drawCallsign(s.fleet, s.random, f.airframe, f.flightNumber);
    f.origin = homeAirport(s);
    f.destination = foreignAirport(s, f.airframe);
    chooseGaps(s, f);
    f.reportFrom = f.start - transponderOn;
    f.reportUntil = f.start + f.track.duration;
    w.planned = true;
    w.until = f.reportFrom;
    addFlight(s, std::move(f));
}

/// Flights that need nothing but a free way.
void makeFree(Scenario& s, FlightKind kind, double wish) {
    ScenarioFlight f;
    f.kind = kind;
    const Role role = kind == FlightKind::Overflight   ? Role::Overflight
                      : kind == FlightKind::Light      ? Role::Light
                      : kind == FlightKind::Helicopter ? Role::Helicopter
                                                       : Role::Vehicle;
    f.airframe = drawAirframe(s.fleet, s.random, role);
    const Performance& p = *f.airframe.performance;
    f.origin = f.destination = "null";
    if (kind == FlightKind::Vehicle) {
        f.callsign = fmt::format("FOLLOW{}", 1 + pick(s.random, 9));
        f.dataSource = "adsb_icao_nt";
        f.track = vehicleTrack(s.random);
    } else {
        f.callsign = drawCallsign(s.fleet, s.random, f.airframe, f.flightNumber);
        if (kind == FlightKind::Overflight) {
            f.origin = f.airframe.homeBase;
            f.destination = std::string(drawDestination(s.random));
            f.track = overflightTrack(p, s.random);
        } else {
            f.track = kind == FlightKind::Light ? lightTrack(p, s.config.elevation, s.random)
                                                : helicopterTrack(p, s.config.elevation, s.random);
        }
        chooseGaps(s, f);
    }
    if (!findStart(s, f, wish, kind == FlightKind::Overflight ? 120 : 900)) {
        s.fleet.callsigns.erase(f.callsign);
        releaseAirframe(s.fleet, f.airframe);
        return;
    }
    const double stays = kind == FlightKind::Helicopter ? 60.0 : 0.0; // on the pad, with turning rotor
    f.reportFrom = f.start - stays;
    f.reportUntil = f.start + f.track.duration + stays;
    addFlight(s, std::move(f));
}

/// Makes the flights that are wanted until a time, in the order in which they are wanted.
void planUntil(Scenario& s, double time) {
    for (;;) {
        WaitingAircraft* leaving = nullptr;
        for (WaitingAircraft& w : s.waiting) {
            if (!w.planned && (!leaving || w.leaveAt < leaving->leaveAt)) {
                leaving = &w;
            }
        }
        const double departure = leaving ? leaving->leaveAt : 1e18;
        const double next =
            std::min({s.nextArrival, departure, s.nextOverflight, s.nextLight, s.nextHelicopter, s.nextVehicle});
        if (next > time) {
            return;
        }
        if (next == departure) {
            makeDeparture(s, *leaving);
        } else if (next == s.nextArrival) {
            makeArrival(s, next);
            s.nextArrival += arrivalGap * between(s.random, 0.8, 1.2);
        } else if (next == s.nextOverflight) {
            makeFree(s, FlightKind::Overflight, next);
            s.nextOverflight += overflightGap * between(s.random, 0.6, 1.4);
        } else if (next == s.nextLight) {
            makeFree(s, FlightKind::Light, next);
            s.nextLight += lightGap * between(s.random, 0.8, 1.2);
        } else if (next == s.nextHelicopter) {
            makeFree(s, FlightKind::Helicopter, next);
            s.nextHelicopter += helicopterGap;
        } else {
            makeFree(s, FlightKind::Vehicle, next);
            s.nextVehicle += vehicleGap;
        }
    }
}

/// Forgets what has ended before a time and frees what it held.
void forgetEnded(Scenario& s, double time) {
    s.waiting.remove_if([&](const WaitingAircraft& w) { return w.planned && w.until < time; });
    s.flights.remove_if([&](const ScenarioFlight& f) {
        if (f.reportUntil >= time) {
            return false;
        }
        s.fleet.callsigns.erase(f.callsign);
        if (f.kind != FlightKind::Arrival) { // an arrived airframe waits for its departure
            releaseAirframe(s.fleet, f.airframe);
        }
        if (f.kind == FlightKind::Departure) {
            s.standTaken[static_cast<std::size_t>(f.stand)] = 0;
        }
        return true;
    });
}

double spacing(Scenario& s, const SourceReport& r) {
    if (!r.airborne) {
        return between(s.random, 2.0, 5.0);
    }
    const std::uint32_t kind = pick(s.random, 20);
    return kind == 0  ? between(s.random, 6.0, 10.0)
           : kind < 4 ? between(s.random, 2.0, 4.0)
                      : between(s.random, 4.6, 5.4);
}

/// Lines that a receiver has to leave out without a word.
SourceReport oddReport(Scenario& s) {
    SourceReport r;
    r.hexid = 0x3C0F00 + s.oddCount % 5;
    r.place = placeOf(s.config.centre, fieldPoint(0, 30));
    r.model = "A320";
    r.callsign = "null";
    r.regcode = r.origin = r.destination = "null";
    r.category = "A3";
    r.qnh = s.config.qnh;
    r.trueHeading = 90;
    switch (s.oddCount++ % 6) {
    case 0:
        r.callsign = "APRON4 VEH";
        break;
    case 1:
        break; // neither callsign nor registration
    case 2:
        r.callsign = "DLH9YY", r.model = "null";
        break;
    case 3:
        r.callsign = "ERARMTR0";
        break;
    case 4:
        r.callsign = "TEST1", r.hexid = 4242;
        break;
    default:
        r.callsign = "AIRPORT1";
        break;
    }
    return r;
}

SourceReport parkedReport(const Scenario& s, const WaitingAircraft& w) {
    const ScenarioStand& stand = s.stands[static_cast<std::size_t>(w.stand)];
    SourceReport r;
    r.hexid = w.airframe.hexid;
    r.place = placeOf(s.config.centre, fieldPoint(stand.a, stand.b));
    r.callsign = w.callsign;
    r.model = w.airframe.performance->model;
    r.regcode = w.airframe.regcode;
    return r;
}

} // namespace

SourceReport truthAt(const Scenario& s, const ScenarioFlight& f, double time) {
    const TrackState t = stateAt(f.track, time - f.start);
    SourceReport r;
    r.hexid = f.airframe.hexid;
    r.place = placeOf(s.config.centre, t.at);
    const double toTrue = gridToTrue(s.config.centre, t.at);
    const double motion = normalizeAngle(t.heading + toTrue);
    const double nose = t.tailFirst ? normalizeAngle(motion + pi) : motion;
    r.airborne = t.airborne;
    r.altitude = t.airborne ? std::max(1.0, t.feet) : 0.0;
    r.verticalSpeed = t.airborne ? t.feetPerMinute : 0.0;
    r.groundSpeed = t.speed / metresPerSecondPerKnot;
    r.track = (t.speed > 0.1 ? motion : nose) * radToDeg;
    r.trueHeading = nose * radToDeg;
    r.callsign = f.hideCallsign ? "null" : f.callsign;
    r.regcode = f.hideRegcode || f.airframe.regcode.empty() ? "null" : f.airframe.regcode;
    r.model = f.airframe.performance->model;
    r.category = f.airframe.performance->category;
    r.airline = f.airframe.airline;
    r.flightNumber = f.flightNumber;
    r.origin = f.origin.empty() ? "null" : f.origin;
    r.destination = f.destination.empty() ? "null" : f.destination;
    r.dataSource = f.dataSource;
    r.qnh = s.config.qnh;
    if (t.airborne) {
        // The wind dies away towards the ground, so that an aircraft touches down along its runway.
        const double height = std::max(0.0, t.feet - s.config.elevation);
        const double wind = (6.0 + t.feet / 1000.0) * std::min(1.0, height / 300.0), from = 250.0;
        const Vec ground = unit(motion) * r.groundSpeed;
        const Vec through = ground - unit((from + 180.0) * degToRad) * wind;
        r.trueAirspeed = length(through);
        r.trueHeading = headingOf(through) * radToDeg;
        r.windFrom = from, r.windSpeed = wind;
        r.roll = t.roll;
        r.turnRate = t.speed > 1 ? std::tan(t.roll * degToRad) * 9.80665 / t.speed * radToDeg : 0.0;
    }
    if (f.dataSource == "mlat") {
        r.trueHeading = -1, r.trueAirspeed = -1, r.roll = 0;
    }
    return r;
}

std::string lineOf(const Scenario& s, const ScenarioReport& r, double epoch) {
    return r.kind == LineKind::Parked ? parkedLine(r.report, r.stand, epoch)
                                      : trafficLine(r.report, epoch, s.config.magneticVariation);
}

void startScenario(Scenario& s, const ScenarioConfig& config) {
    s = Scenario{};
    s.config = config;
    s.random.seed(config.seed);
    s.stands = scenarioStands();
    s.standTaken.assign(s.stands.size(), 0);
    // The day began some time ago: the first report finds all kinds of traffic under way.
    const double begin = -4200;
    for (int i = 0; i < 28; ++i) {
        const int stand = freeStand(s);
        s.standTaken[static_cast<std::size_t>(stand)] = 1;
        const Airframe a = drawAirframe(s.fleet, s.random, Role::Local);
        std::string number;
        const std::string callsign = drawCallsign(s.fleet, s.random, a, number);
        if (i < 7) { // stays, with its transponder on
            ScenarioFlight f;
            f.kind = FlightKind::Standing;
            f.airframe = a;
            f.callsign = callsign, f.flightNumber = number;
            f.origin = f.destination = "null";
            f.dataSource = "adsb_icao";
            f.stand = stand;
            const ScenarioStand& at = s.stands[static_cast<std::size_t>(stand)];
            f.track = standingTrack(fieldPoint(at.a, at.b), standHeading(at));
            f.reportUntil = 1e18;
            addFlight(s, std::move(f));
        } else {
            addWaiting(s, a, callsign, stand, 0, begin + 120.0 * (i - 6));
        }
    }
    s.nextArrival = begin + 20, s.nextOverflight = begin + 2000, s.nextLight = begin + 1000;
    s.nextHelicopter = -300, s.nextVehicle = -400, s.nextOdd = 7;
    for (double t = begin; t < 0; t += 60) {
        planUntil(s, t + planAhead);
        forgetEnded(s, t);
    }
    for (ScenarioFlight& f : s.flights) {
        f.nextReport = std::max(f.nextReport, between(s.random, 0, 5));
    }
    for (WaitingAircraft& w : s.waiting) {
        w.nextReport = std::max(w.nextReport, between(s.random, 0, 60));
    }
}

ScenarioReport nextReport(Scenario& s) {
    for (;;) {
        ScenarioFlight* flight = nullptr;
        WaitingAircraft* parked = nullptr;
        double time = s.nextOdd;
        for (ScenarioFlight& f : s.flights) {
            if (f.nextReport < time && f.nextReport <= f.reportUntil) {
                time = f.nextReport, flight = &f;
            }
        }
        for (WaitingAircraft& w : s.waiting) {
            if (w.nextReport < time && w.nextReport < w.until) {
                time = w.nextReport, parked = &w, flight = nullptr;
            }
        }
        const std::uint32_t before = s.lastId;
        planUntil(s, time + planAhead);
        if (s.lastId != before) {
            continue; // a new flight may come first
        }
        ScenarioReport r;
        r.time = time;
        if (flight) {
            r.kind = flight->kind == FlightKind::Vehicle ? LineKind::Vehicle : LineKind::Traffic;
            r.flight = flight->id;
            r.report = truthAt(s, *flight, time);
            flight->nextReport = time + spacing(s, r.report);
        } else if (parked) {
            r.kind = LineKind::Parked;
            r.report = parkedReport(s, *parked);
            r.stand = fmt::format("{}_{}", homeAirport(s), s.stands[static_cast<std::size_t>(parked->stand)].name);
            parked->nextReport = time + 60;
        } else {
            r.kind = LineKind::Odd;
            r.report = oddReport(s);
            s.nextOdd = time + 20;
        }
        forgetEnded(s, time - 1);
        return r;
    }
}

} // namespace kes::source
