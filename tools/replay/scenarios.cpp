// SPDX-License-Identifier: MIT
#include "tools/replay/scenarios.h"

#include "core/text.h"
#include "tools/replay/scenario_flights.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fmt/format.h>

namespace kes::replay {

namespace {

constexpr LatLon airport{50.0, 8.0};
constexpr double userMilesSouth = 8.0, userAbove = 20000.0;

struct Airframe {
    std::string_view model, category; ///< emitter category
};
constexpr Airframe large{"A320", "A3"}, heavy{"B77W", "A5"}, light{"C172", "A1"}, buzjet{"C25A", "A2"},
    highPerf{"F16", "A6"}, helicopter{"EC35", "A7"};

constexpr std::string_view names[] = {
    "climb-descent",  "go-around",         "helicopter",         "hold-short-10",  "hold-short-20",
    "holding",        "ils-buzjets",       "ils-heavy",          "ils-high",       "ils-high-1043",
    "ils-high-983",   "ils-highperf",      "ils-light",          "ils-low",        "ils-low-1043",
    "ils-low-983",    "ils-sea",           "ils-sea-1043",       "ils-sea-983",    "parked",
    "push-back-left", "push-back-right",   "push-back-straight", "standing",       "take-off-buzjets",
    "take-off-heavy", "take-off-highperf", "take-off-large",     "take-off-light", "taxi-170",
    "taxi-45",        "taxi-90",           "touch-and-go",       "turns"};

void addFlight(TruthScenario& s, FlownTrack flown, const Airframe& airframe) {
    ScenarioFlight f;
    const auto number = static_cast<std::uint32_t>(s.flights.size() + 1);
    f.hexid = 0x3C0000 + number;
    f.callsign = fmt::format("DLH{}", number);
    f.regcode = fmt::format("ZZ-K{:02}", number); // nobody's: a known one would bring its own type
    f.model = airframe.model;
    f.emitterCategory = airframe.category;
    f.end = flown.lead + flown.track.duration + flown.tail;
    flown.elevation = s.elevation;
    f.truth = [flown = std::move(flown), last = f.end](double t) {
        return truthOf(flown, airport, std::clamp(t, 0.0, last));
    };
    s.seconds = std::max(s.seconds, f.end);
    s.flights.push_back(std::move(f));
}

/// Elevation and pressure of "ils-sea-983" and the like; "ils-heavy" and the like are at the usual field.
void addLanding(TruthScenario& s, std::string_view name) {
    struct Row {
        std::string_view name;
        Airframe airframe;
        double knots, rollOut;
    };
    static constexpr Row rows[] = {{"ils-light", light, 65, 450},
                                   {"ils-buzjets", buzjet, 110, 1200},
                                   {"ils-heavy", heavy, 148, 2100},
                                   {"ils-highperf", highPerf, 155, 2300}};
    if (const auto row = std::ranges::find(rows, name, &Row::name); row != std::end(rows)) {
        addFlight(s, instrumentLanding(s.elevation, row->knots, row->rollOut), row->airframe);
    } else {
        s.elevation = name.starts_with("ils-sea") ? 10 : name.starts_with("ils-high") ? 5400 : -210;
        s.qnh = name.ends_with("-983") ? 983 : name.ends_with("-1043") ? 1043 : standardQnh;
        addFlight(s, instrumentLanding(s.elevation, 140, 1900), large);
    }
    s.flights.back().landingThreshold = source::placeOf(airport, runwayBegin);
}

/// The flight added last begins on a stand of its own.
void addStand(TruthScenario& s) {
    ScenarioFlight& f = s.flights.back();
    const Truth start = f.truth(0);
    f.stand = ScenarioStand{fmt::format("A{}", s.flights.size()), start.at.lat, start.at.lon, start.heading,
                            (f.model == heavy.model ? 35.0 : 20.0) / metresPerNm};
}

void addPushBack(TruthScenario& s, int side) {
    addFlight(s, pushBack(side), large);
    addStand(s);
}

/// Two aircraft that stand, on stands or where nobody knows of one.
void addStanding(TruthScenario& s, bool onStands) {
    for (const Airframe& airframe : {large, heavy}) {
        addFlight(s, standing(s.flights.empty() ? -400 : -700), airframe);
        if (onStands)
            addStand(s);
    }
}

bool addTakeOff(TruthScenario& s, std::string_view category) {
    struct Row {
        std::string_view name;
        Airframe airframe;
        TakeOff how;
    };
    static constexpr Row rows[] = {{"light", light, {62, 1.8, 700, 80}},
                                   {"buzjets", buzjet, {112, 2.2, 2500, 200}},
                                   {"large", large, {145, 1.9, 2200, 220}},
                                   {"heavy", heavy, {158, 1.8, 2000, 230}},
                                   {"highperf", highPerf, {160, 3.5, 5000, 320}}};
    const auto row = std::ranges::find(rows, category, &Row::name);
    if (row == std::end(rows))
        return false;
    addFlight(s, takeOff(s.elevation, row->how), row->airframe);
    ScenarioFlight& f = s.flights.back();
    for (double t = f.begin; t < f.end && !f.truth(t).airborne; t += 0.1) {
        if (f.truth(t).gs == 0.0)
            f.lineUp = t;
    }
    return true;
}

bool addFlights(TruthScenario& s, std::string_view name) {
    if (std::ranges::find(names, name) == std::end(names))
        return false;
    s.elevation = 300;
    if (name == "turns")
        addFlight(s, levelTurns(), large);
    else if (name == "holding")
        addFlight(s, holdingPattern(), large);
    else if (name == "climb-descent")
        addFlight(s, climbAndDescent(), large);
    else if (name.starts_with("ils-"))
        addLanding(s, name);
    else if (name == "go-around")
        addFlight(s, goAround(s.elevation), large);
    else if (name == "touch-and-go")
        addFlight(s, touchAndGo(s.elevation), light);
    else if (name.starts_with("taxi-"))
        addFlight(s, taxiCorners(name == "taxi-45" ? 45 : name == "taxi-90" ? 90 : 170), large);
    else if (name.starts_with("hold-short-"))
        addFlight(s, holdShort(name.ends_with("10") ? 10 : 20), large);
    else if (name.starts_with("push-back-"))
        addPushBack(s, name.ends_with("right") ? 1 : name.ends_with("left") ? -1 : 0);
    else if (name.starts_with("take-off-"))
        return addTakeOff(s, name.substr(9));
    else if (name == "helicopter")
        addFlight(s, helicopterRound(s.elevation), helicopter);
    else if (name == "parked" || name == "standing")
        addStanding(s, name == "parked");
    return true;
}

bool addVariant(TruthScenario& s, std::string_view base, std::string_view variant) {
    ReportPlan& p = s.plan;
    if (variant == "2s" || variant == "5s" || variant == "10s")
        p.spacing = variant == "2s" ? 2 : variant == "5s" ? 5 : 10;
    else if (variant == "noise") {
        const bool rests = base == "parked" || base == "standing";
        p.noiseMetres = rests ? 7 : 3;
        p.outlierMetres = rests ? 25 : 0;
    } else if (variant == "gaps")
        p.gapSeconds = 31;
    else if (variant == "hover")
        p.hover = true;
    else if (variant == "real")
        p.real = true;
    else
        return false;
    return true;
}

} // namespace

std::vector<std::string> scenarioNames() {
    return {std::begin(names), std::end(names)};
}

std::optional<TruthScenario> makeScenario(std::string_view name) {
    const auto parts = split(name, '+');
    TruthScenario s;
    s.name = name;
    s.airport = airport;
    if (parts.empty() || !addFlights(s, parts[0]))
        return std::nullopt;
    for (std::size_t i = 1; i < parts.size(); ++i) {
        if (!addVariant(s, parts[0], parts[i]))
            return std::nullopt;
    }
    s.user = destination(airport, pi, userMilesSouth * feetPerNm);
    s.userAlt = s.elevation + userAbove;
    return s;
}

} // namespace kes::replay
