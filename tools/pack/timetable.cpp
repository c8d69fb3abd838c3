// SPDX-License-Identifier: MIT
#include "tools/pack/timetable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace kes::pack {
namespace {

constexpr int slotsPerDay = 48, slotsPerWeek = 7 * slotsPerDay, minutesPerSlot = 30;
constexpr int minutesPerDay = 24 * 60;
constexpr double longHaul = 2800; ///< nautical miles
constexpr double degreesPerSlot = 360.0 / slotsPerDay;
constexpr unsigned everyDay = 0x7F; ///< bit 0 is Monday

// Hours of the local day, in minutes. Local time is that of the sun: lists of routes know no time zones.
constexpr int firstDeparture = 5 * 60 + 30; ///< and within two hours from then
constexpr int firstArrival = 6 * 60 + 30;
constexpr int lastArrival = 22 * 60 + 45;
constexpr int lastReturn = 24 * 60 + 15;

double share(std::uint64_t hash) {
    return static_cast<double>(hash >> 11) * 0x1p-53;
}

double speedOf(const TypeSize& size) {
    switch (size.category) {
    case AircraftCategory::heavy:
        return 480;
    case AircraftCategory::large:
        return size.span < 30 ? 330 : 430;
    case AircraftCategory::buzjets:
    case AircraftCategory::highPerf:
        return 400;
    default:
        return 150;
    }
}

int blockMinutes(double nm, const TypeSize& size) {
    return 25 + static_cast<int>(std::lround(nm / speedOf(size) * 60));
}

/// Flights a week each way. Lists of routes tell none: near airports and great ones are flown to more often.
double flightsPerWeek(const Service& service, std::size_t here, std::size_t there) {
    const double byDistance = service.nm < 300 ? 14 : service.nm < 800 ? 11 : service.nm < 1500 ? 8 : 6;
    const double size = std::sqrt(static_cast<double>(here) * static_cast<double>(there)) / 90;
    const double byTypes = 1 + 0.15 * static_cast<double>(service.types.size() - 1);
    return byDistance * std::clamp(size, 0.35, 2.2) * byTypes;
}

/// So many days of the week, far apart from each other.
unsigned someDays(int number, std::uint64_t hash) {
    unsigned days = 0;
    for (int i = 0; i < number; ++i) {
        days |= 1U << ((hash % 7 + static_cast<std::uint64_t>(std::lround(i * 7.0 / number))) % 7);
    }
    return days;
}

/// One daily flight of a service with one type.
struct Line {
    const Service* service = nullptr;
    const FlownType* type = nullptr;
    unsigned days = everyDay;
    int index = 0, count = 1; ///< which of the day
    std::uint64_t key = 0;
};

/// From `start` of the local day, `length` half-hours; the week runs round.
void mark(Week& week, int day, int start, int length, bool value) {
    for (int i = 0; i < length; ++i) {
        const int slot = ((day * slotsPerDay + start + i) % slotsPerWeek + slotsPerWeek) % slotsPerWeek;
        const std::uint64_t bit = std::uint64_t{1} << (slot % slotsPerDay);
        std::uint64_t& hours = week[static_cast<std::size_t>(slot / slotsPerDay)];
        hours = value ? hours | bit : hours & ~bit;
    }
}

bool isMarked(const Week& week, int slot) {
    return ((week[static_cast<std::size_t>(slot / slotsPerDay)] >> (slot % slotsPerDay)) & 1U) != 0;
}

/// Half-hours that an interval of minutes touches.
int touched(int start, int minutes) {
    return (start + minutes - 1) / minutesPerSlot - start / minutesPerSlot + 1;
}

class Timetable {
public:
    Timetable(std::string_view code, const RouteList& list, const TypeSizes& sizes, std::size_t gates)
        : code_(code), list_(list), sizes_(sizes) {
        const auto found = list.airports.find(code);
        if (found == list.airports.end()) {
            return;
        }
        shift_ = static_cast<int>(std::lround(found->second.position.lon / degreesPerSlot));
        fitToGates(found->second.services, gates);
        std::map<std::pair<std::string_view, const FlownType>, std::vector<Line>> atHome;
        for (const Service& service : found->second.services) {
            const bool home = list.isHome(service.airline, code);
            for (const FlownType& type : service.types) {
                for (const Line& line : linesOf(service, type, found->second.services.size())) {
                    if (home) {
                        atHome[{service.airline, type}].push_back(line);
                    } else {
                        addVisit(line);
                    }
                }
            }
        }
        for (auto& [fleet, lines] : atHome) {
            addFleet(lines);
        }
    }

    std::vector<Stay> end() { return std::move(stays_); }

private:
    /// A gate is used some three times a day wherever airports publish it. Held back, since aprons are also drawn for
    /// busier days.
    void fitToGates(const std::vector<Service>& services, std::size_t gates) {
        double flights = 0;
        for (const Service& service : services) {
            flights += flightsPerWeek(service, services.size(), sizeOf(service.other)) / 7;
        }
        if (gates > 0) {
            scale_ = std::clamp(std::pow(3.0 * static_cast<double>(gates) / flights, 0.75), 0.7, 2.5);
        }
    }

    std::size_t sizeOf(const std::string& airport) const {
        return list_.airports.find(airport)->second.services.size();
    }

    std::vector<Line> linesOf(const Service& service, const FlownType& type, std::size_t here) const {
        const double weekly = scale_ * flightsPerWeek(service, here, sizeOf(service.other));
        const double daily = weekly / 7 / static_cast<double>(service.types.size());
        const int whole = static_cast<int>(daily);
        const int rest = std::max(static_cast<int>(std::lround((daily - whole) * 7)), whole == 0 ? 1 : 0);
        std::vector<Line> lines;
        const int count = whole + (rest > 0 ? 1 : 0);
        for (int i = 0; i < count; ++i) {
            const std::uint64_t key =
                steadyHash(fmt::format("{} {} {} {}", code_, service.airline, service.other, type.code),
                           static_cast<std::uint64_t>(i));
            lines.push_back({&service, &type, i < whole ? everyDay : someDays(rest, key), i, count, key});
        }
        return lines;
    }

    Stay stayOf(const Line& line) const { return {line.service->airline, *line.type, {}, false, line.key}; }

    /// A guest comes, is turned round and leaves.
    void addVisit(const Line& line) {
        const TypeSize size = sizes_.of(line.type->code);
        const double chance = share(steadyHash("arrival", line.key));
        int arrival = 0;
        if (line.service->nm > longHaul) {
            const bool early = steadyHash("early", line.key) % 100 < 65;
            arrival =
                early ? 5 * 60 + 30 + static_cast<int>(chance * 6 * 60) : 13 * 60 + static_cast<int>(chance * 9 * 60);
        } else {
            const int open = std::min(firstArrival + blockMinutes(line.service->nm, size), 12 * 60);
            arrival = open + static_cast<int>((line.index + chance) / line.count * (lastArrival - open));
        }
        const int minutes = turnMinutes(size, false) + static_cast<int>(steadyHash("turn", line.key) % 20);
        Stay stay = stayOf(line);
        for (int day = 0; day < 7; ++day) {
            if (((line.days >> day) & 1U) != 0) {
                mark(stay.week, day, arrival / minutesPerSlot - shift_, touched(arrival, minutes), true);
            }
        }
        stays_.push_back(std::move(stay));
    }

    struct Away {
        int start = 0, minutes = 0; ///< of the local day
        unsigned days = everyDay;
    };

    /// The flights of an airline's type from its home, dealt out to aircraft that each fly one behind the other.
    void addFleet(std::vector<Line>& lines) {
        std::ranges::sort(lines, {}, &Line::key);
        const TypeSize size = sizes_.of(lines.front().type->code);
        const int away = turnMinutes(size, false), home = turnMinutes(size, true);
        const auto lengthOf = [&](const Line& line) { return 2 * blockMinutes(line.service->nm, size) + away; };
        std::vector<bool> flown(lines.size());
        for (std::size_t first = 0; first < lines.size(); ++first) {
            if (flown[first]) {
                continue;
            }
            flown[first] = true;
            const Line& line = lines[first];
            const int length = lengthOf(line);
            int time = firstDeparture + static_cast<int>(share(steadyHash("departure", line.key)) * 120);
            if (time + length > lastReturn) {
                addLongHaul(line, length, home);
                continue;
            }
            std::vector<Away> day{{time, length, line.days}};
            time += length + home;
            for (std::size_t next = first + 1; next < lines.size(); ++next) {
                if (flown[next] || time + lengthOf(lines[next]) > lastReturn) {
                    continue;
                }
                flown[next] = true;
                day.push_back({time, lengthOf(lines[next]), lines[next].days});
                time += day.back().minutes + home + static_cast<int>(lines[next].key % 25);
            }
            addGround(line, day);
        }
    }

    /// Leaves towards noon or in the late evening. What is not back for the flight of the next day takes turns with
    /// others.
    void addLongHaul(const Line& line, int length, int turn) {
        const double chance = share(steadyHash("departure", line.key));
        const bool late = steadyHash("late", line.key) % 100 < 45;
        const int start =
            late ? 19 * 60 + 30 + static_cast<int>(chance * 210) : 9 * 60 + 30 + static_cast<int>(chance * 300);
        const int aircraft = (length + turn + minutesPerDay - 1) / minutesPerDay;
        for (int i = 0; i < aircraft; ++i) {
            Away away{start, length, 0};
            for (int day = 0, flight = 0; day < 7; ++day) {
                if (((line.days >> day) & 1U) != 0 && flight++ % aircraft == i) {
                    away.days |= 1U << day;
                }
            }
            if (away.days != 0) {
                addGround(line, {away});
            }
        }
    }

    /// An aircraft stands at home whenever it is not away. Stays that begin at the same time of the day are one.
    void addGround(const Line& line, const std::vector<Away>& day) {
        Week ground;
        ground.fill((std::uint64_t{1} << slotsPerDay) - 1);
        for (const Away& away : day) {
            for (int d = 0; d < 7; ++d) {
                if (((away.days >> d) & 1U) != 0) {
                    // Departure and arrival fall within half-hours in which the aircraft still or already stands.
                    const int from = away.start / minutesPerSlot + 1, to = (away.start + away.minutes) / minutesPerSlot;
                    mark(ground, d, from - shift_, to - from, false);
                }
            }
        }
        std::map<int, Stay> byStart;
        for (int slot = 0; slot < slotsPerWeek; ++slot) {
            if (!isMarked(ground, slot) || isMarked(ground, (slot + slotsPerWeek - 1) % slotsPerWeek)) {
                continue;
            }
            int length = 1;
            while (length < slotsPerWeek && isMarked(ground, (slot + length) % slotsPerWeek)) {
                ++length;
            }
            Stay& stay = byStart.try_emplace(slot % slotsPerDay, stayOf(line)).first->second;
            mark(stay.week, slot / slotsPerDay, slot % slotsPerDay, length, true);
            const int localEnd = (slot + length + shift_ + slotsPerWeek) % slotsPerDay;
            stay.night = stay.night || (length >= 10 && localEnd < slotsPerDay / 2);
        }
        for (auto& [start, stay] : byStart) {
            stay.key = steadyHash("stay", line.key + static_cast<std::uint64_t>(start));
            stays_.push_back(std::move(stay));
        }
    }

    std::string code_;
    const RouteList& list_;
    const TypeSizes& sizes_;
    double scale_ = 1;
    int shift_ = 0; ///< half-hours that local time is ahead of UTC
    std::vector<Stay> stays_;
};

} // namespace

std::uint64_t steadyHash(std::string_view text, std::uint64_t number) {
    std::uint64_t hash = 0xCBF29CE484222325 ^ number;
    for (const char c : text) {
        hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
    }
    hash = (hash ^ (hash >> 30)) * 0xBF58476D1CE4E5B9;
    hash = (hash ^ (hash >> 27)) * 0x94D049BB133111EB;
    return hash ^ (hash >> 31);
}

TypeSizes::TypeSizes(const Sources& sources) {
    std::array<double, 6> sums{};
    std::array<int, 6> numbers{};
    for (const TypeRow& row : sources.types) {
        TypeSize size{row.category, 0};
        std::from_chars(row.metres.data(), row.metres.data() + row.metres.size(), size.span);
        if (size.span > 0) {
            sums[static_cast<std::size_t>(row.category)] += size.span;
            ++numbers[static_cast<std::size_t>(row.category)];
        }
        sizes_.emplace(row.code, size);
    }
    for (auto& [code, size] : sizes_) {
        const auto i = static_cast<std::size_t>(size.category);
        if (size.span <= 0) {
            size.span = sums[i] / std::max(numbers[i], 1);
        }
    }
}

TypeSize TypeSizes::of(std::string_view type) const {
    const TypeSize* const found = find(sizes_, type);
    return found != nullptr ? *found : TypeSize{};
}

int turnMinutes(const TypeSize& size, bool atHome) {
    if (size.category == AircraftCategory::heavy) {
        return atHome ? 150 : 105;
    }
    if (size.category == AircraftCategory::large) {
        return size.span < 30 ? (atHome ? 35 : 30) : (atHome ? 50 : 45);
    }
    return atHome ? 30 : 25;
}

std::vector<Stay> staysAt(std::string_view code, const RouteList& list, const TypeSizes& sizes, std::size_t gates) {
    return Timetable(code, list, sizes, gates).end();
}

} // namespace kes::pack
