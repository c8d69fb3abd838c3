// SPDX-License-Identifier: MIT
#include "tools/pack/doubts.h"

#include "core/text.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <map>

namespace kes::pack {
namespace {

using Group = Sources::Similar;

/// The program keeps one list of similar types for a type: of all its groups the one whose installed members sort
/// first. The largest group of a type is its family, and it comes first with whatever is installed only when the
/// members of all its other groups sort behind the family's.
void doubtFamilies(const Sources& sources, std::vector<BadRow>& doubts) {
    std::map<std::string_view, std::vector<const Group*>> groupsOf;
    for (const Group& group : sources.similar) {
        for (const std::string& type : group.types)
            groupsOf[type].push_back(&group);
    }
    for (auto& [type, groups] : groupsOf) {
        if (groups.size() < 2)
            continue;
        // Of equals the one that sorts first, since that one comes first anyway.
        std::sort(groups.begin(), groups.end(), [](const Group* a, const Group* b) {
            return a->types.size() != b->types.size() ? a->types.size() > b->types.size() : a->types < b->types;
        });
        const std::vector<std::string>& family = groups.front()->types;
        const std::string& last = family[family.size() - (family.back() == type ? 2 : 1)];
        for (std::size_t i = 1; i < groups.size(); ++i) {
            const std::vector<std::string>& other = groups[i]->types;
            if (other[other.front() == type ? 1 : 0] <= last) {
                doubts.push_back({"similar_types.csv", groups[i]->line,
                                  fmt::format("{} may get the group \"{}\" instead of its family "
                                              "\"{}\"",
                                              type, fmt::join(other, " "), fmt::join(family, " "))});
            }
        }
    }
}

/// The registration `step` places further in the same series: A6-EDB, A6-EDC; N401UP, N402UP. Empty at its end.
std::string neighbourOf(std::string_view reg, int step) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    const auto begin = std::find_if(reg.begin(), reg.end(), isDigit);
    if (reg.starts_with('N') && begin == reg.begin() + 1) {
        const auto end = std::find_if_not(begin, reg.end(), isDigit);
        int number = 0;
        std::from_chars(&*begin, &*begin + (end - begin), number);
        number += step;
        return number > 0 ? fmt::format("N{}{}", number, reg.substr(static_cast<std::size_t>(end - reg.begin())))
                          : std::string();
    }
    std::string other(reg);
    const char last = static_cast<char>(other.back() + step);
    if (isDigit(other.back()) ? !isDigit(last) : last < 'A' || last > 'Z')
        return {};
    other.back() = last;
    return other;
}

/// An airframe that differs from four neighbours which agree with each other.
void doubtRegistrations(const Sources& sources, std::vector<BadRow>& doubts) {
    const auto what = [](const Airframe& a) { return fmt::format("{} {}{}", a.airl, a.type, a.cargo ? " cargo" : ""); };
    for (const Airframe& airframe : sources.airframes) {
        std::vector<std::string> around;
        for (const int step : {-2, -1, 1, 2}) {
            const auto place = sources.airframeIndex.find(neighbourOf(airframe.reg, step));
            if (place != sources.airframeIndex.end())
                around.push_back(what(sources.airframes[place->second]));
        }
        const std::string own = what(airframe);
        if (around.size() == 4 && own != around.front() &&
            std::equal(around.begin() + 1, around.end(), around.begin()) && !airframe.checked) {
            doubts.push_back({"registrations.csv", airframe.line,
                              fmt::format("{} is {}, but its neighbours are {}", airframe.reg, own, around.front())});
        }
    }
}

/// A code that changed hands keeps its old holder's name in many lists, and the holder stands under its new code, too.
void doubtAirlineNames(const Sources& sources, std::vector<BadRow>& doubts) {
    std::map<std::string, std::string> codeOf;
    for (std::size_t i = 0; i < sources.airlines.size(); ++i) {
        const std::string& name = sources.airlineNames[i];
        if (name.empty())
            continue;
        const auto [place, isNew] = codeOf.try_emplace(upper(name), sources.airlines[i]);
        if (!isNew) {
            doubts.push_back(
                {"airlines.csv", sources.airlineLines[i],
                 fmt::format("{} and {} have one name, \"{}\"", place->second, sources.airlines[i], name)});
        }
        if (name.find_first_of("\\\"|;") != std::string::npos)
            doubts.push_back({"airlines.csv", sources.airlineLines[i],
                              fmt::format("{} has an odd name, \"{}\"", sources.airlines[i], name)});
    }
}

} // namespace

std::vector<BadRow> doubtsOf(const Sources& sources) {
    std::vector<BadRow> doubts;
    doubtFamilies(sources, doubts);
    doubtRegistrations(sources, doubts);
    doubtAirlineNames(sources, doubts);
    return doubts;
}

} // namespace kes::pack
