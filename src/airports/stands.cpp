// SPDX-License-Identifier: MIT
#include "airports/stands.h"

#include "core/foreign_log.h"
#include "core/log.h"
#include "core/text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <fmt/format.h>

namespace kes {

std::vector<Stand> stands;

namespace {

constexpr double adjacentMargin = 1.1;
constexpr std::int32_t halfHours = 48;
constexpr std::int32_t goodQuality = 45;

LogLimiter hoursLog("hours of stands");

void joinIfAdjacent(Stand& a, Stand& b) {
    if (a.radius + b.radius > distanceNm(a.position(), b.position()) * adjacentMargin) {
        a.adjacent.push_back(b.sid);
        b.adjacent.push_back(a.sid);
    }
}

void joinAllPairs(std::vector<Stand>& list) {
    for (std::size_t a = 0; a < list.size(); ++a) {
        for (std::size_t b = a + 1; b < list.size(); ++b)
            joinIfAdjacent(list[a], list[b]);
    }
}

/// Stands by square cells that are at least as wide as any two of them can reach, so that all neighbours of a stand lie
/// in its own cell and the eight around it. The columns run round the globe.
class Grid {
public:
    /// Without columns (`usable`) for lists whose reach or latitude is too great for flat geometry.
    explicit Grid(const std::vector<Stand>& list) {
        double radius = 0, farthestLat = 0;
        for (const Stand& stand : list) {
            radius = std::max(radius, stand.radius);
            farthestLat = std::max(farthestLat, std::abs(stand.lat));
        }
        // The margin makes up for an arc being longer than its sine, within the limits below.
        cellNm_ = std::max(2 * radius / adjacentMargin * 1.001, 0.001);
        const double cosine = std::cos(farthestLat * degToRad);
        if (cellNm_ > 6.0 || cosine < 0.05)
            return;
        columns_ = static_cast<std::int64_t>(360 * nmPerDegree * cosine / cellNm_);
        places_.reserve(list.size());
        for (std::size_t i = 0; i < list.size(); ++i)
            places_.push_back({rowOf(list[i]), columnOf(list[i]), i});
        std::sort(places_.begin(), places_.end());
    }

    bool usable() const { return columns_ >= 3; }

    /// Calls `visit` with the index of every stand that may be a neighbour of this one, itself included.
    template <typename Visit> void aroundOf(const Stand& stand, Visit visit) const {
        const std::int64_t row = rowOf(stand), column = columnOf(stand);
        for (std::int64_t r = row - 1; r <= row + 1; ++r) {
            for (std::int64_t c = column - 1; c <= column + 1; ++c) {
                const std::int64_t wrapped = (c + columns_) % columns_;
                auto it = std::lower_bound(places_.begin(), places_.end(), Place{r, wrapped, 0});
                for (; it != places_.end() && it->row == r && it->column == wrapped; ++it)
                    visit(it->index);
            }
        }
    }

private:
    static constexpr double nmPerDegree = 60.0;
    struct Place {
        std::int64_t row, column;
        std::size_t index;
        auto operator<=>(const Place&) const = default;
    };

    std::int64_t rowOf(const Stand& stand) const {
        return static_cast<std::int64_t>(std::floor(stand.lat * nmPerDegree / cellNm_));
    }
    std::int64_t columnOf(const Stand& stand) const {
        const double turn = (stand.lon + 180.0) / 360.0;
        return static_cast<std::int64_t>((turn - std::floor(turn)) * static_cast<double>(columns_)) % columns_;
    }

    double cellNm_ = 0;
    std::int64_t columns_ = 0; ///< 0 = not usable
    std::vector<Place> places_;
};

/// The sum over one stand for a class of options, real or soft; 0 without usable ones.
std::int64_t standScore(const Stand& stand, bool real) {
    std::int64_t n = 0, halfHoursUsed = 0;
    std::uint32_t days = 0;
    for (const ParkPosOption& option : stand.options) {
        if (option.optIndex == 0 || (option.real != 0) != real)
            continue;
        ++n;
        halfHoursUsed += std::popcount(option.hours);
        if (option.day >= 1 && option.day <= 7)
            days |= 1U << option.day;
    }
    if (n == 0)
        return 0;
    return std::min<std::int64_t>(20 * n, 4000) + 10000 + 100 * std::popcount(days) +
           2 * std::min<std::int64_t>(halfHoursUsed, 600);
}

std::int32_t qualityNumber(std::int64_t sum, std::size_t standCount) {
    const double mean = static_cast<double>(sum) / static_cast<double>(standCount);
    return static_cast<std::int32_t>(std::clamp(std::lround(mean * 0.00625), 0L, 100L));
}

} // namespace

Stand* findStand(std::uint32_t sid) {
    if (sid == 0)
        return nullptr;
    if (sid <= stands.size() && stands[sid - 1].sid == sid)
        return &stands[sid - 1];
    const auto it = std::ranges::find(stands, sid, &Stand::sid); // a list that was not numbered yet
    return it == stands.end() ? nullptr : &*it;
}

std::string standName(std::uint32_t sid) {
    if (sid == 0)
        return "sid==0?";
    const Stand* stand = findStand(sid);
    return stand != nullptr ? stand->id : "unknown";
}

void releaseStand(std::uint32_t sid) {
    if (Stand* stand = findStand(sid))
        stand->liveOnIt = false;
}

void giveSids(std::vector<Stand>& list) {
    std::uint32_t sid = 0;
    for (Stand& stand : list)
        stand.sid = ++sid;
}

void findAdjacent(std::vector<Stand>& list) {
    for (Stand& stand : list)
        stand.adjacent.clear();
    const Grid grid(list);
    if (grid.usable()) {
        for (std::size_t a = 0; a < list.size(); ++a) {
            grid.aroundOf(list[a], [&](std::size_t b) {
                if (b > a)
                    joinIfAdjacent(list[a], list[b]);
            });
        }
    } else {
        joinAllPairs(list);
    }
    for (Stand& stand : list) {
        std::sort(stand.adjacent.begin(), stand.adjacent.end());
        stand.adjacent.shrink_to_fit();
    }
}

QualityPair qualityOf(const std::vector<Stand>& list) {
    if (std::ranges::all_of(list, [](const Stand& stand) { return stand.options.empty(); }))
        return {};
    std::int64_t real = 0, soft = 0;
    for (const Stand& stand : list) {
        real += standScore(stand, true);
        soft += standScore(stand, false);
    }
    return {qualityNumber(real, list.size()), qualityNumber(soft, list.size())};
}

QualityPair gf_qualityFactor() {
    try {
        return qualityOf(stands);
    } catch (const std::exception& error) {
        log(fmt::format("{}: {}", "gf_qualityFactor", error.what()));
        return {0, 0};
    }
}

std::string qualityText(QualityPair quality) {
    if (quality.real < 0 && quality.soft < 0)
        return "  ";
    return quality.real < goodQuality ? fmt::format("{:2}/{:2}", quality.real, quality.soft)
                                      : fmt::format("{:2}", quality.real);
}

std::uint64_t gf_hours2bitset(std::string_view list) {
    std::uint64_t hours = 0;
    std::string_view rest = withoutLast(list, ',');
    while (!rest.empty()) {
        const std::size_t comma = rest.find(',');
        const std::string_view entry = rest.substr(0, comma);
        rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
        const auto hour = leadingInt(entry);
        if (hour && *hour >= 0 && *hour < halfHours)
            hours |= std::uint64_t{1} << *hour;
        else
            hoursLog.write(
                fmt::format("{} invalid hour \"{}\" in {}", "gf_hours2bitset", kes::quoted(entry), kes::quoted(list)));
    }
    return hours;
}

std::string hoursText(std::uint64_t hours) {
    std::string text;
    for (std::int32_t hour = 0; hour < halfHours; ++hour) {
        if (((hours >> hour) & 1U) != 0)
            text += fmt::format("{}{}", text.empty() ? "" : ",", hour);
    }
    return text;
}

} // namespace kes
