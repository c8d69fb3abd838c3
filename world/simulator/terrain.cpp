// SPDX-License-Identifier: MIT
#include "world/simulator/terrain.h"

#include "core/geo.h"
#include "core/text.h"

#include <charconv>
#include <cmath>

namespace kes::world {

namespace {

// Whole waves round the globe keep the hills continuous at the date line.
double hills(double lat, double lon) {
    const double phi = lat * degToRad;
    const double lambda = lon * degToRad;
    const double coarse = std::sin(420.0 * phi) * std::cos(300.0 * lambda);
    const double fine = std::cos(900.0 * phi + 1.0) * std::sin(640.0 * lambda);
    return 0.5 + 0.3 * coarse + 0.2 * fine;
}

} // namespace

double terrainFeet(const Terrain& terrain, double lat, double lon) {
    double weights = 0;
    double weighted = 0;
    double nearest = 1.0; // in radii; below 1 = on an airfield
    const Airfield* inside = nullptr;
    for (const Airfield& field : terrain.airfields) {
        if (std::abs(lat - field.lat) * 60.0 > 2.0 * field.radiusNm)
            continue;
        const double radii = distanceNm({lat, lon}, {field.lat, field.lon}) / field.radiusNm;
        if (radii >= 2.0)
            continue;
        if (radii <= nearest) {
            nearest = radii;
            inside = &field;
        }
        if (radii > 1.0) {
            const double t = 2.0 - radii;
            const double smooth = t * t * (3.0 - 2.0 * t);
            // Grows beyond all bounds towards the edge of the flat part, so that the slope meets it without a step.
            const double weight = smooth / (1.0 - smooth + 1e-12);
            weights += weight;
            weighted += weight * field.elevationFeet;
        }
    }
    if (inside)
        return inside->elevationFeet;
    const double ground = terrain.hillFeet == 0.0 ? 0.0 : terrain.hillFeet * hills(lat, lon);
    return (ground + weighted) / (1.0 + weights);
}

bool parseNumbers(std::string_view text, std::size_t least, std::size_t most, std::vector<double>& numbers) {
    numbers.clear();
    for (const std::string_view piece : split(text, ',')) {
        const std::string_view digits = strip(piece);
        double value = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
        if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value))
            return false;
        numbers.push_back(value);
    }
    return numbers.size() >= least && numbers.size() <= most;
}

bool parseAirfield(std::string_view text, Airfield& airfield) {
    std::vector<double> n;
    if (!parseNumbers(text, 3, 4, n) || std::abs(n[0]) > 90.0 || std::abs(n[1]) > 180.0)
        return false;
    if (n.size() == 4 && n[3] <= 0.0)
        return false;
    airfield = {n[0], n[1], n[2], n.size() == 4 ? n[3] : Airfield{}.radiusNm};
    return true;
}

} // namespace kes::world
