// SPDX-License-Identifier: MIT
#include "world/runner/parking_report.h"

#include "airports/airport_xml.h"
#include "core/text.h"
#include "tools/command_line/command_line.h"
#include "tools/csv/csv.h"
#include "world/rests.h"

#include <algorithm>
#include <exception>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <optional>
#include <set>
#include <utility>

namespace kes::runner {

namespace {

using world::Rest;
using HalfSpans = std::map<std::string, double, std::less<>>;

constexpr double onStand = 3.0 / metresPerNm, nearStand = 20.0 / metresPerNm;
constexpr double atOnce = 2.0;        ///< seconds
constexpr double stay = 30.0;         ///< seconds that an arrival has to stand in reality
constexpr double beforeTheEnd = 90.0; ///< seconds: reports are shown 30 s later, and some more when the flight is late

std::vector<Rest> restsOf(const nlohmann::json& report) {
    std::vector<Rest> list;
    if (!report.is_object() || !report.contains("rests"))
        return list;
    for (const auto& r : report["rests"])
        list.push_back({r.value("name", ""),
                        r.value("title", ""),
                        {r.value("lat", 0.0), r.value("lon", 0.0)},
                        r.value("from", 0.0),
                        r.value("to", 0.0),
                        r.value("rolledIn", false)});
    return list;
}

/// The nearest stand within a distance; null without one, or when there has to be one only and there are several.
const Stand* standAt(const std::vector<Stand>& stands, LatLon at, double within, bool only) {
    const Stand* found = nullptr;
    double best = within;
    for (const Stand& stand : stands) {
        const double d = distanceNm(at, stand.position());
        if (d > within)
            continue;
        if (only && found != nullptr)
            return nullptr;
        if (found == nullptr || d < best) {
            found = &stand;
            best = d;
        }
    }
    return found;
}

/// A rest on the screen.
struct Shown {
    Rest rest;
    const Stand* stand = nullptr;
    double halfSpan = 0; ///< nautical miles; 0 = unknown
    bool isStatic = false;
};

/// The first word of a title that is a type.
double halfSpanOf(std::string_view title, const HalfSpans& halfSpans) {
    for (const std::string_view word : split(title, ' '))
        if (const auto type = halfSpans.find(word); type != halfSpans.end())
            return type->second;
    return 0.0;
}

/// As circles of their half spans. On stands that are neighbours no two may meet; other stands leave their circles up
/// to a tenth of the distance short, and an aircraft may be 1.8 m wider than its stand to either side.
bool overlap(const Shown& a, const Shown& b) {
    constexpr double circlesShort = 1.1, widerThanStands = 2 * 1.8 / metresPerNm;
    if (a.halfSpan <= 0.0 || b.halfSpan <= 0.0)
        return false;
    const double spans = a.halfSpan + b.halfSpan, distance = distanceNm(a.rest.at, b.rest.at);
    const bool apart = a.stand != nullptr && b.stand != nullptr &&
                       std::ranges::find(a.stand->adjacent, b.stand->sid) == a.stand->adjacent.end();
    return spans > (apart ? distance * circlesShort + widerThanStands : distance);
}

bool together(const Rest& a, const Rest& b) {
    return std::min(a.to, b.to) - std::max(a.from, b.from) >= atOnce;
}

std::size_t most(const std::vector<Shown>& shown, bool isStatic) {
    std::vector<std::pair<double, int>> changes;
    for (const Shown& s : shown) {
        if (s.isStatic != isStatic || (!isStatic && s.stand == nullptr))
            continue;
        changes.emplace_back(s.rest.from, 1);
        changes.emplace_back(s.rest.to, -1);
    }
    std::ranges::sort(changes); // who goes at a moment goes before who comes
    int now = 0, highest = 0;
    for (const auto& [seconds, change] : changes)
        highest = std::max(highest, now += change);
    return static_cast<std::size_t>(highest);
}

struct Clashes {
    std::size_t twoOnOneStand = 0, staticInsideAnother = 0;
    std::vector<std::string> texts;
};

Clashes clashesOf(const std::vector<Shown>& shown) {
    Clashes clashes;
    for (std::size_t i = 0; i < shown.size(); ++i) {
        for (std::size_t j = i + 1; j < shown.size(); ++j) {
            const Shown &a = shown[i], &b = shown[j];
            if (!together(a.rest, b.rest))
                continue;
            if (a.stand != nullptr && a.stand == b.stand) {
                ++clashes.twoOnOneStand;
                clashes.texts.push_back(
                    fmt::format("{} and {} stood on stand {} at the same time", a.rest.name, b.rest.name, a.stand->id));
            } else if ((a.isStatic || b.isStatic) && (a.isStatic || a.stand != nullptr) &&
                       (b.isStatic || b.stand != nullptr) && overlap(a, b)) {
                ++clashes.staticInsideAnother;
                clashes.texts.push_back(fmt::format("{} and {} stood inside each other, {:.1f} m apart", a.rest.name,
                                                    b.rest.name, distanceNm(a.rest.at, b.rest.at) * metresPerNm));
            }
        }
    }
    return clashes;
}

} // namespace

std::vector<Stand> readStandFile(const std::filesystem::path& file) {
    std::vector<Stand> list;
    pugi::xml_document document;
    if (!document.load_file(file.c_str()))
        return list;
    try {
        readStands(document, 1, list);
        giveSids(list);
        findAdjacent(list);
    } catch (const std::exception&) { // the program, too, has none of them then
        list.clear();
    }
    return list;
}

HalfSpans readHalfSpans(const std::filesystem::path& table) {
    constexpr double widest = 200.0;
    HalfSpans halfSpans;
    std::string problem;
    readCsv(
        table, {"code", "span_m"},
        [&](const CsvRow& row) -> std::string {
            double metres = 0;
            if (!command_line::readNumber(row[1], metres, 0.0, widest))
                return "no number";
            halfSpans[std::string(row[0])] = metres / 2.0 / metresPerNm;
            return {};
        },
        nullptr, problem);
    return halfSpans;
}

nlohmann::json parkingReport(const nlohmann::json& source, const nlohmann::json& simulator,
                             const std::vector<Stand>& stands, const HalfSpans& halfSpans) {
    if (stands.empty() || !simulator.is_object() || !simulator.contains("rests"))
        return {};
    std::vector<Shown> shown;
    double end = 0;
    for (Rest& rest : restsOf(simulator)) {
        end = std::max(end, rest.to);
        Shown s;
        s.stand = standAt(stands, rest.at, onStand, false);
        s.halfSpan = halfSpanOf(rest.title, halfSpans);
        s.isStatic = rest.name.ends_with('*');
        s.rest = std::move(rest);
        shown.push_back(std::move(s));
    }
    std::set<std::string> parked, wrong, seen;
    const nlohmann::json flights = simulator.value("speeds", nlohmann::json::object());
    for (const Rest& real : restsOf(source)) {
        const Stand* stand = standAt(stands, real.at, nearStand, true);
        if (!real.rolledIn || stand == nullptr || real.to - real.from < stay || real.from > end - beforeTheEnd ||
            !flights.contains(real.name))
            continue;
        seen.insert(real.name);
        for (const Shown& s : shown) {
            if (s.rest.name != real.name || s.stand == nullptr || s.rest.to < real.from)
                continue;
            parked.insert(real.name);
            if (s.stand != stand)
                wrong.insert(real.name);
        }
    }
    const Clashes clashes = clashesOf(shown);
    nlohmann::json notParked = nlohmann::json::array();
    for (const std::string& name : seen)
        if (!parked.contains(name))
            notParked.push_back(name);
    return {{"stands", stands.size()},
            {"peakStatic", most(shown, true)},
            {"peakParkedLive", most(shown, false)},
            {"arrivalsSeen", seen.size()},
            {"arrivalsParked", parked.size()},
            {"notParked", notParked},
            {"parkedOnWrongStand", wrong.size()},
            {"twoOnOneStand", clashes.twoOnOneStand},
            {"staticInsideAnother", clashes.staticInsideAnother},
            {"clashes", clashes.texts}};
}

} // namespace kes::runner
