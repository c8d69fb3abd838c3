// SPDX-License-Identifier: MIT
#include "airports/stand_search.h"

#include "airports/airport_ref.h"
#include "airports/stand_learning.h"
#include "core/codes.h"
#include "core/parameters.h"
#include "core/random.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <vector>

namespace kes {

namespace {

constexpr double knownUserSearch = 85.0 / metresPerNm;
constexpr double oversize = 1.8 / metresPerNm; ///< an aircraft may exceed the radius by this
constexpr double oversizeAway = 20.0 / metresPerNm;
constexpr double learnedMargin = 1.0 / metresPerNm;
constexpr double spanMargin = 1.1;
constexpr std::size_t smallAirport = 10; ///< stands
constexpr int bestScoreAtFirst = 100;

bool fits(const Stand& stand, const AiAircraft& a) {
    return a.wingspan - stand.radius <= oversize;
}

/// An option that was really seen names the aircraft's flight, or its airline and model.
bool knowsUser(const Stand& stand, const AiAircraft& a) {
    if (a.callsign.empty())
        return false;
    return std::ranges::any_of(stand.options, [&](const ParkPosOption& o) {
        return o.real == 1 && (o.coupledCs1 == a.callsign || o.coupledCs2 == a.callsign ||
                               (o.airline == a.airline && o.model == a.model));
    });
}

bool usedAt(const Stand& stand, HhNow now) {
    const std::uint64_t bit = std::uint64_t{1} << now.slot;
    return std::ranges::any_of(stand.options, [&](const ParkPosOption& o) {
        return o.optIndex != 0 && o.day == static_cast<std::uint32_t>(now.day) && (o.hours & bit) != 0;
    });
}

/// The kinds of stand that a pass looks at.
struct StandKind {
    bool onlyHeli = false, onlyCargo = false, noCargo = false, noHeli = false;
    int ramp = -1; ///< 1 = ramps, 0 = gates, -1 = both
    bool matches(const Stand& s) const {
        return (!onlyHeli || s.heli) && (!onlyCargo || s.cargo) && !(noCargo && s.cargo) && !(noHeli && s.heli) &&
               (ramp < 0 || (ramp == 1) == s.ramp);
    }
};

struct Pass {
    StandKind kind;
    bool exact = true; ///< the aircraft fits; else the size may be any, the nearest one being best
};

struct Candidate {
    std::uint32_t sid = 0;
    int score = 0; ///< 0 = fits best
    bool known = false;
};

/// The lower the better; in steps of 14 metres for small aircraft and 21 for others, so that near equals stay equal.
int exactScore(const Stand& stand, const AiAircraft& a) {
    constexpr double smallSpan = 17.8 / metresPerNm;
    const double step = (a.wingspan <= smallSpan ? 14.0 : 21.0) / metresPerNm;
    return static_cast<int>(std::lround((stand.radius - a.wingspan) / step));
}

int looseScore(const Stand& stand, const AiAircraft& a) {
    return static_cast<int>(std::lround(std::fabs(a.wingspan - stand.radius) * metresPerNm));
}

std::vector<Candidate> candidatesOf(const Pass& pass, HhNow now, const AiAircraft& a) {
    std::vector<Candidate> found;
    int best = bestScoreAtFirst;
    for (const Stand& stand : stands) {
        if (!pass.kind.matches(stand) || (pass.exact && !fits(stand, a)))
            continue;
        const int score = pass.exact ? exactScore(stand, a) : looseScore(stand, a);
        if (score > best || usedAt(stand, now))
            continue;
        best = score;
        found.push_back({stand.sid, score, knowsUser(stand, a)});
    }
    return found;
}

/// United States airports have gates for nearly all airliners; elsewhere chance puts one in ten on a ramp.
bool prefersGates() {
    if (!par::RANDOM || (airportRef && airportRef->code.starts_with('K')))
        return true;
    return std::uniform_int_distribution<int>(1, 10)(generator()) != 1;
}

/// Each kind first with the stands that fit, then with all.
std::vector<Pass> passesOf(const AiAircraft& a) {
    std::vector<StandKind> kinds;
    if (a.category == AircraftCategory::rotorcraft) {
        kinds = {{.onlyHeli = true}, {.ramp = 1}};
    } else if (a.cargo) {
        kinds = {{.onlyCargo = true, .noHeli = true}, {.noHeli = true}};
    } else if (a.category == AircraftCategory::light || a.category == AircraftCategory::buzjets ||
               a.airline == privateAirline) {
        kinds = {{.noCargo = true, .noHeli = true, .ramp = 1}};
    } else {
        const int ramp = prefersGates() ? 0 : 1;
        kinds = {{.noCargo = true, .noHeli = true, .ramp = ramp}, {.noCargo = true, .noHeli = true, .ramp = 1 - ramp}};
    }
    std::vector<Pass> passes;
    if (a.category == AircraftCategory::rotorcraft) { // both kinds of place before a bad fit
        for (const bool exact : {true, false})
            for (const StandKind& kind : kinds)
                passes.push_back({kind, exact});
        return passes;
    }
    for (const StandKind& kind : kinds)
        for (const bool exact : {true, false})
            passes.push_back({kind, exact});
    return passes;
}

std::uint32_t pick(std::vector<Candidate>& candidates) {
    if (candidates.size() >= 2) {
        if (par::RANDOM)
            std::shuffle(candidates.begin(), candidates.end(), generator());
        std::ranges::stable_sort(candidates, [](const Candidate& x, const Candidate& y) {
            return x.known != y.known ? x.known : x.score < y.score;
        });
    }
    return candidates.front().sid;
}

} // namespace

Stand* findClosestStand(LatLon position, const AiAircraft& a, double limit, bool wide) {
    Stand* best = nullptr;
    Stand* tooSmall = nullptr;
    Stand* second = nullptr;
    double bestDistance = limit, secondDistance = knownUserSearch;
    for (Stand& stand : stands) {
        if (stand.liveOnIt)
            continue;
        const double d = distanceNm(position, stand.position());
        if (d <= limit && (best == nullptr || d < bestDistance)) {
            if (!fits(stand, a)) {
                if (d > oversizeAway)
                    continue;
                tooSmall = &stand;
            }
            best = &stand;
            bestDistance = d;
            wide = false;
        } else if (wide && d <= knownUserSearch && (second == nullptr || d < secondDistance) && fits(stand, a) &&
                   knowsUser(stand, a)) {
            second = &stand;
            secondDistance = d;
        }
    }
    Stand* const stand = best != nullptr ? best : second;
    if (stand == nullptr || stand->heli != (a.category == AircraftCategory::rotorcraft))
        return nullptr;
    if (stand == tooSmall) {
        stand->radius = a.wingspan - learnedMargin;
        stand->radiusChange = true;
        countUpdate();
    }
    return stand;
}

std::uint32_t lf_searchStands(HhNow now, const AiAircraft& aircraft, bool extend) {
    for (const Pass& pass : passesOf(aircraft)) {
        std::vector<Candidate> candidates = candidatesOf(pass, now, aircraft);
        if (!candidates.empty())
            return pick(candidates);
    }
    if (!extend || stands.size() > smallAirport)
        return 0;
    return lf_searchStands(later(now, 1), aircraft, false);
}

bool spansMeet(double halfSpan, double otherHalfSpan, LatLon stand, LatLon otherStand) {
    return (halfSpan + otherHalfSpan) * spanMargin >= distanceNm(stand, otherStand);
}

} // namespace kes
