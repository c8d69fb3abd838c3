// SPDX-License-Identifier: MIT
#include "tools/replay/scenario_reports.h"

#include "world/source/report_line.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace kes::replay {

namespace {

constexpr double gapEvery = 90.0, gapFrom = 45.0;        ///< seconds
constexpr double hoverUntil = 60.0;                      ///< knots
constexpr double hoverHeight = 75.0;                     ///< feet over the field
constexpr double climbStep = 64.0;                       ///< feet per minute, as transponders round
constexpr double headingStep = 2.8125;                   ///< degrees, of surface messages
constexpr double speedNoise = 5.0;                       ///< knots at most
constexpr double lineUpFrom = -15.0, lineUpUntil = 10.0; ///< seconds of silence around the begin of the run

/// 0 to 1; the same on every library.
double uniform(std::mt19937& random) {
    return (static_cast<double>(random()) + 0.5) / 4294967296.0;
}

double normal(std::mt19937& random) {
    const double radius = std::sqrt(-2.0 * std::log(uniform(random)));
    return radius * std::cos(twoPi * uniform(random));
}

LatLon displaced(LatLon at, const ReportPlan& plan, std::mt19937& random) {
    if (plan.noiseMetres <= 0.0)
        return at;
    double north = plan.noiseMetres * normal(random), east = plan.noiseMetres * normal(random);
    if (plan.outlierMetres > 0.0 && uniform(random) < 0.05) {
        const double far = 15.0 + (plan.outlierMetres - 15.0) * uniform(random), direction = twoPi * uniform(random);
        north = far * std::cos(direction);
        east = far * std::sin(direction);
    }
    return destination(at, normalizeAngle(std::atan2(east, north)), std::hypot(north, east) * feetPerMetre);
}

bool inGap(const ReportPlan& plan, const ScenarioFlight& f, double seconds) {
    if (plan.real && f.lineUp && seconds >= *f.lineUp + lineUpFrom && seconds < *f.lineUp + lineUpUntil)
        return true;
    const double at = std::fmod(seconds - f.begin, gapEvery);
    return plan.gapSeconds > 0.0 && at >= gapFrom && at < gapFrom + plan.gapSeconds;
}

/// A surface message has the nose in steps instead of a track. Standing aircraft are sure of their speed.
void sendAsTransponder(source::SourceReport& r, std::mt19937& random) {
    const double noise = (2.0 * uniform(random) - 1.0) * speedNoise;
    if (r.airborne)
        return;
    r.track = 0.0;
    r.trueHeading = std::fmod(std::round(r.trueHeading / headingStep) * headingStep, 360.0);
    if (r.groundSpeed > 0.5)
        r.groundSpeed = std::max(r.groundSpeed + noise, 0.0);
}

/// The altitude of a landing aircraft freezes over the runway in some feeds.
bool hovers(const TruthScenario& s, const ScenarioFlight& f, const Truth& t) {
    if (!s.plan.hover || !f.landingThreshold)
        return false;
    const double past = angleDiff(bearingRad(*f.landingThreshold, t.at), t.track);
    return std::fabs(past) < pi / 2 && t.alt < s.elevation + hoverHeight && t.gs > hoverUntil;
}

source::SourceReport reportAt(const TruthScenario& s, const ScenarioFlight& f, double seconds, std::mt19937& random) {
    const Truth t = f.truth(seconds);
    source::SourceReport r;
    r.hexid = f.hexid;
    r.place = displaced(t.at, s.plan, random);
    r.airborne = t.airborne;
    r.altitude = t.airborne ? std::round(t.alt) : 0.0;
    r.verticalSpeed = std::round(t.vs / climbStep) * climbStep;
    if (hovers(s, f, t)) {
        r.airborne = true;
        r.altitude = std::round(s.elevation + hoverHeight);
        r.verticalSpeed = 0.0;
    }
    r.track = t.track * radToDeg;
    r.groundSpeed = t.gs;
    r.callsign = f.callsign;
    r.model = f.model;
    r.regcode = f.regcode;
    r.origin = "null";
    r.destination = "null";
    r.category = f.emitterCategory;
    r.trueAirspeed = r.airborne ? t.gs : -1.0;
    r.roll = r.airborne ? -t.bank * radToDeg : 0.0;
    r.trueHeading = t.heading * radToDeg;
    r.qnh = s.qnh;
    if (s.plan.real)
        sendAsTransponder(r, random);
    return r;
}

} // namespace

std::vector<ScenarioLine> reportsOf(const TruthScenario& s, std::uint32_t seed, double epoch) {
    std::mt19937 random(seed);
    std::vector<ScenarioLine> lines;
    for (const ScenarioFlight& f : s.flights) {
        const double phase = uniform(random) * std::min(s.plan.spacing, 2.0);
        for (double t = f.begin + phase; t <= f.end; t += s.plan.spacing) {
            const source::SourceReport r = reportAt(s, f, t, random); // drawn in gaps too: the noise stays the same
            if (!inGap(s.plan, f, t))
                lines.push_back({t, source::trafficLine(r, epoch + t, 0.0)});
        }
    }
    std::ranges::stable_sort(lines, {}, &ScenarioLine::seconds);
    return lines;
}

} // namespace kes::replay
