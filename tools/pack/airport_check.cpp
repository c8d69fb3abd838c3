// SPDX-License-Identifier: MIT
#include "tools/pack/airport_check.h"

#include "platform/system.h"
#include "tools/pack/document.h"
#include "tools/pack/doubts.h"
#include "tools/pack/pack.h"
#include "tools/pack/sources.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <numbers>
#include <optional>
#include <span>

namespace kes::pack {
namespace {

namespace fs = std::filesystem;

constexpr double samePlaceNm = 0.3;
constexpr double neighbourNm = 20;
constexpr std::size_t fewestNeighbours = 3, mostNeighbours = 9;
/// How far an elevation may be from the median of its neighbours: this, and as much again as they differ among
/// themselves, which lets mountains pass. Metres in the place of feet show from some thousand feet on.
constexpr double flatLimitFeet = 700;

double numberOf(const std::string& text) {
    double value = 0;
    std::from_chars(text.data(), text.data() + text.size(), value);
    return value;
}

struct Neighbour {
    double squared; ///< of the chord on the unit sphere
    double feet;
};

/// A point of the unit sphere: the distance of two is cheap, and good across the date line and at the poles.
struct Spot {
    const AirportRow* row = nullptr;
    double x = 0, y = 0, z = 0;
    std::optional<double> feet;
    std::vector<Neighbour> neighbours; ///< with a known elevation
};

double chordSquared(double nm) {
    const double half = std::sin(nm / 60 * std::numbers::pi / 360);
    return 4 * half * half;
}

/// From south to north.
std::vector<Spot> spotsOf(const std::vector<AirportRow>& airports) {
    std::vector<Spot> spots;
    spots.reserve(airports.size());
    for (const AirportRow& row : airports) {
        const double lat = numberOf(row.lat) * std::numbers::pi / 180, lon = numberOf(row.lon) * std::numbers::pi / 180;
        Spot& spot = spots.emplace_back();
        spot.row = &row;
        spot.x = std::cos(lat) * std::cos(lon);
        spot.y = std::cos(lat) * std::sin(lon);
        spot.z = std::sin(lat);
        if (!row.alt.empty()) {
            spot.feet = numberOf(row.alt);
        }
    }
    std::sort(spots.begin(), spots.end(), [](const Spot& a, const Spot& b) { return a.z < b.z; });
    return spots;
}

/// Reorders them.
double median(std::span<double> values) {
    std::sort(values.begin(), values.end());
    return (values[(values.size() - 1) / 2] + values[values.size() / 2]) / 2;
}

/// What is odd about the elevation; empty = nothing.
std::string elevationFault(Spot& spot) {
    if (!spot.feet || spot.neighbours.size() < fewestNeighbours) {
        return {};
    }
    const std::size_t used = std::min(spot.neighbours.size(), mostNeighbours);
    std::partial_sort(spot.neighbours.begin(), spot.neighbours.begin() + static_cast<std::ptrdiff_t>(used),
                      spot.neighbours.end(), [](const Neighbour& a, const Neighbour& b) {
                          return a.squared != b.squared ? a.squared < b.squared : a.feet < b.feet;
                      });
    std::array<double, mostNeighbours> feet{};
    for (std::size_t i = 0; i < used; ++i) {
        feet[i] = spot.neighbours[i].feet;
    }
    const std::span<double> known(feet.data(), used);
    const double middle = median(known);
    const double relief = known.back() - known.front();
    if (std::fabs(*spot.feet - middle) <= flatLimitFeet + relief) {
        return {};
    }
    return fmt::format("{} has the elevation {:.0f} ft, {} airports around it have {:.0f} to {:.0f}", spot.row->code,
                       *spot.feet, used, known.front(), known.back());
}

bool isKnownOdd(std::vector<AirportOddity>& oddities, const std::string& code, const std::string& beside) {
    bool known = false;
    for (AirportOddity& oddity : oddities) {
        if (oddity.code == code && oddity.beside == beside) {
            oddity.met = known = true;
        }
    }
    return known;
}

} // namespace

std::vector<AirportOddity> readAirportOddities(const fs::path& data, PackCount& count) {
    std::vector<AirportOddity> oddities;
    readList(data / "airport_oddities.csv", {"icao", "beside", "reason"}, count, [&](const CsvRow& row) -> std::string {
        if (row[0].empty() || row[2].empty()) {
            return "an oddity needs a code and a reason";
        }
        oddities.push_back({std::string(row[0]), std::string(row[1]), row.line});
        return {};
    });
    return oddities;
}

void checkAirports(const std::vector<AirportRow>& airports, const fs::path& file, std::vector<AirportOddity>& oddities,
                   PackCount& count) {
    const std::string name = platform::pathText(file);
    std::vector<BadRow> found;
    const double same = chordSquared(samePlaceNm), near = chordSquared(neighbourNm);
    const double band = std::sqrt(near); // no two with a greater difference in z are neighbours
    std::vector<Spot> spots = spotsOf(airports);
    for (std::size_t i = 0; i < spots.size(); ++i) {
        Spot& a = spots[i];
        for (std::size_t k = i + 1; k < spots.size() && spots[k].z - a.z <= band; ++k) {
            Spot& b = spots[k];
            const double dx = a.x - b.x, dy = a.y - b.y, dz = a.z - b.z;
            const double squared = dx * dx + dy * dy + dz * dz;
            if (squared > near) {
                continue;
            }
            if (b.feet) {
                a.neighbours.push_back({squared, *b.feet});
            }
            if (a.feet) {
                b.neighbours.push_back({squared, *a.feet});
            }
            if (squared <= same) {
                const auto [first, second] = std::minmax(a.row->code, b.row->code);
                if (!isKnownOdd(oddities, first, second) && !isKnownOdd(oddities, second, first)) {
                    found.push_back({name, std::max(a.row->line, b.row->line),
                                     fmt::format("{} and {} are at one place", first, second)});
                }
            }
        }
        // All its neighbours are known now: those to the south have put themselves in.
        std::string fault = elevationFault(a);
        if (!fault.empty() && !isKnownOdd(oddities, a.row->code, "")) {
            found.push_back({name, a.row->line, std::move(fault)});
        }
    }
    std::sort(found.begin(), found.end(), [](const BadRow& a, const BadRow& b) {
        return a.line != b.line ? a.line < b.line : a.reason < b.reason;
    });
    count.doubtful.insert(count.doubtful.end(), std::make_move_iterator(found.begin()),
                          std::make_move_iterator(found.end()));
}

std::vector<AirportOddity> checkPlainAirports(const fs::path& data, PackCount& count) {
    std::vector<AirportOddity> oddities = readAirportOddities(data, count);
    const auto airports = readAirports(data, count);
    if (airports) {
        checkAirports(*airports, data / "airports.csv", oddities, count);
        for (const AirportOddity& oddity : oddities) {
            if (!oddity.met) {
                count.doubtful.push_back({platform::pathText(data / "airport_oddities.csv"), oddity.line,
                                          fmt::format("{} is not odd", oddity.code)});
            }
        }
    }
    return oddities;
}

} // namespace kes::pack
