// SPDX-License-Identifier: MIT
#include "tools/pack/soft_options.h"

#include "core/text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <tuple>

namespace kes::pack {
namespace {

constexpr std::size_t slotsPerDay = 48;
constexpr double slack = 0.01; ///< metres: a radius went through nautical miles
constexpr double nobody = std::numeric_limits<double>::infinity();

/// What a place is for; the lower, the rather an airliner stands there. Nothing = never.
std::optional<int> rankOf(const Stand& stand, const AptStart& start) {
    if (start.kind == "hangar" || start.operation == "general_aviation" || start.operation == "military") {
        return {};
    }
    const bool told = start.operation == "airline" || start.operation == "cargo";
    return (told ? 0 : 2) + (stand.ramp ? 1 : 0);
}

struct Place {
    int rank = 0;
    std::size_t group = 0; ///< stands of one width and kind
    double radius = 0;     ///< metres
    bool usable = false;
    Week taken{};                                                        ///< by itself or one that is too near
    int used = 0;                                                        ///< half-hours of the week
    std::set<std::tuple<std::string, std::string, std::size_t>> options; ///< airline, type and day
};

bool meets(const Week& a, const Week& b) {
    for (std::size_t day = 0; day < a.size(); ++day) {
        if ((a[day] & b[day]) != 0) {
            return true;
        }
    }
    return false;
}

int halfHoursOf(const Week& week) {
    int sum = 0;
    for (const std::uint64_t hours : week) {
        sum += std::popcount(hours);
    }
    return sum;
}

class Dealer {
public:
    Dealer(std::vector<Stand>& list, const std::vector<AptStart>& starts, const TypeSizes& sizes)
        : list_(list), starts_(starts), sizes_(sizes), places_(list.size()) {
        giveSids(list);
        findAdjacent(list);
        std::map<std::tuple<long, bool, bool>, std::size_t> groups;
        for (std::size_t i = 0; i < list.size(); ++i) {
            Place& place = places_[i];
            const auto rank = rankOf(list[i], starts[i]);
            place.usable = rank.has_value();
            place.rank = rank.value_or(0);
            place.radius = list[i].radius * metresPerNm;
            const std::tuple kind(std::lround(place.radius * 10), list[i].cargo, list[i].heli);
            place.group = groups.try_emplace(kind, groups.size()).first->second;
            if (place.group == groups_.size()) {
                groups_.emplace_back();
            }
            groups_[place.group].stands += place.usable ? 1 : 0;
        }
        for (Group& group : groups_) {
            group.most = std::max(1, static_cast<int>(mostTaken * group.stands));
        }
    }

    void deal(std::vector<Stay>& stays) {
        // The wide ones first, since few stands are theirs, and then who stays the night.
        std::ranges::sort(stays, [&](const Stay& x, const Stay& y) {
            const double spanX = sizes_.of(x.type.code).span, spanY = sizes_.of(y.type.code).span;
            return std::tie(spanY, y.night, x.key) < std::tie(spanX, x.night, y.key);
        });
        for (const Stay& stay : stays) {
            settle(stay);
        }
    }

    std::size_t write() {
        std::size_t count = 0;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            std::vector<ParkPosOption>& options = list_[i].options;
            options = std::move(written_[i]);
            std::ranges::sort(options, [](const ParkPosOption& x, const ParkPosOption& y) {
                return std::tie(x.airline, x.model, x.day) < std::tie(y.airline, y.model, y.day);
            });
            for (std::size_t n = 0; n < options.size(); ++n) {
                options[n].optIndex = static_cast<std::int32_t>(n + 1);
            }
            count += options.size();
        }
        return count;
    }

private:
    struct Group {
        int stands = 0, most = 1;
        std::array<int, 7 * slotsPerDay> taken{};
    };

    bool groupHasRoom(const Group& group, const Week& week) const {
        for (std::size_t day = 0; day < week.size(); ++day) {
            for (std::uint64_t hours = week[day]; hours != 0; hours &= hours - 1) {
                if (group.taken[day * slotsPerDay + static_cast<std::size_t>(std::countr_zero(hours))] >= group.most) {
                    return false;
                }
            }
        }
        return true;
    }

    bool hasRoomFor(const Place& place, const Stay& stay) const {
        std::size_t more = 0;
        for (std::size_t day = 0; day < stay.week.size(); ++day) {
            more += stay.week[day] != 0 && !place.options.contains({stay.airline, stay.type.code, day}) ? 1 : 0;
        }
        return place.options.size() + more <= mostSoftOptions;
    }

    /// Where the airline has its stands: around one that its name picks.
    std::size_t centreOf(const Stay& stay) const { return steadyHash(stay.airline) % list_.size(); }

    double costOf(std::size_t i, const Stay& stay, double span) const {
        const Place& place = places_[i];
        const Stand& stand = list_[i];
        const bool heli = sizes_.of(stay.type.code).category == AircraftCategory::rotorcraft;
        if (!place.usable || stand.cargo != stay.type.cargo || stand.heli != heli || span / 2 > place.radius + slack ||
            meets(place.taken, stay.week) || !hasRoomFor(place, stay)) {
            return nobody;
        }
        double cost = 2.0 * place.rank + (place.radius - span / 2) / 6;
        cost += distanceNm(stand.position(), list_[centreOf(stay)].position());
        cost += 3.0 * place.used / (7.0 * slotsPerDay);
        const std::vector<std::string>& marked = starts_[i].airlines;
        if (!marked.empty()) {
            cost += std::ranges::find(marked, stay.airline) != marked.end() ? -4 : 4;
        }
        return cost;
    }

    void settle(const Stay& stay) {
        const double span = sizes_.of(stay.type.code).span;
        std::vector<std::pair<double, std::size_t>> candidates;
        for (std::size_t i = 0; i < list_.size(); ++i) {
            if (const double cost = costOf(i, stay, span); cost != nobody) {
                candidates.emplace_back(cost, i);
            }
        }
        std::ranges::sort(candidates);
        for (const auto& [cost, i] : candidates) {
            if (groupHasRoom(groups_[places_[i].group], stay.week)) {
                take(i, stay);
                return;
            }
        }
    }

    void take(std::size_t i, const Stay& stay) {
        Place& place = places_[i];
        place.used += halfHoursOf(stay.week);
        for (std::size_t day = 0; day < stay.week.size(); ++day) {
            const std::uint64_t hours = stay.week[day];
            if (hours == 0) {
                continue;
            }
            place.taken[day] |= hours;
            for (const std::uint32_t sid : list_[i].adjacent) {
                places_[sid - 1].taken[day] |= hours;
            }
            for (std::uint64_t rest = hours; rest != 0; rest &= rest - 1) {
                ++groups_[place.group].taken[day * slotsPerDay + static_cast<std::size_t>(std::countr_zero(rest))];
            }
            addOption(i, stay, day, hours);
        }
    }

    void addOption(std::size_t i, const Stay& stay, std::size_t day, std::uint64_t hours) {
        const auto number = static_cast<std::uint32_t>(day + 1);
        if (!places_[i].options.insert({stay.airline, stay.type.code, day}).second) {
            std::ranges::find_if(written_[i], [&](const ParkPosOption& o) {
                return o.airline == stay.airline && o.model == stay.type.code && o.day == number;
            })->hours |= hours;
            return;
        }
        ParkPosOption& option = written_[i].emplace_back();
        option.airline = stay.airline;
        option.model = stay.type.code;
        option.hours = hours;
        option.day = number;
        option.fromArchive = 1;
    }

    std::vector<Stand>& list_;
    const std::vector<AptStart>& starts_;
    const TypeSizes& sizes_;
    std::vector<Place> places_;
    std::vector<Group> groups_;
    std::vector<std::vector<ParkPosOption>> written_ = std::vector<std::vector<ParkPosOption>>(list_.size());
};

} // namespace

std::size_t gatesIn(const std::vector<AptStart>& starts) {
    return static_cast<std::size_t>(std::ranges::count(starts, "airline", &AptStart::operation));
}

std::size_t addSoftOptions(std::vector<Stand>& list, const std::vector<AptStart>& starts, std::vector<Stay> stays,
                           const TypeSizes& sizes) {
    if (list.empty() || stays.empty()) {
        return 0;
    }
    Dealer dealer(list, starts, sizes);
    dealer.deal(stays);
    return dealer.write();
}

} // namespace kes::pack
