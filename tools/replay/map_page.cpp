// SPDX-License-Identifier: MIT
// Packs the data of the page. Per aircraft and series there are columns of whole numbers: "s" and "mark" as pairs of
// value and count, "lat" and "lon" as second differences, the others as first ones. An aircraft that flies straight
// and level so costs about ten bytes a second.
#include "tools/replay/map_page.h"

#include "core/units.h"
#include "tools/replay/map_page_text.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <utility>

namespace kes::replay {

namespace {

using Numbers = std::vector<std::int64_t>;

/// Steps of the whole numbers; page/data.js knows them too.
constexpr double perSecond = 100, perDegree = 1e6, perFoot = 1, perKnot = 10, perHeadingDegree = 10;
constexpr double decimetresPerNm = 10.0 * metresPerNm;
/// Anything beyond is no number of this world, and its differences would leave what a script's number holds.
constexpr double largest = 1e9;
constexpr double largestEpoch = 1e11; ///< seconds

bool fits(double value) {
    return std::fabs(value) < largest; // false for what is no number
}

std::int64_t whole(double value, double steps) {
    return std::llround(value * steps);
}

/// A text of JSON that cannot end the script around it, whatever is in it.
std::string jsonText(std::string_view text) {
    const std::string json =
        nlohmann::json(std::string(text)).dump(-1, ' ', true, nlohmann::json::error_handler_t::replace);
    std::string out;
    for (const char c : json) {
        if (c == '<' || c == '>' || c == '&')
            out += fmt::format("\\u{:04x}", static_cast<unsigned>(c));
        else
            out += c;
    }
    return out;
}

void append(std::string& out, std::string_view name, const Numbers& numbers) {
    out += fmt::format("\"{}\":[", name);
    for (const std::int64_t n : numbers) {
        const fmt::format_int digits(n);
        out.append(digits.data(), digits.size());
        out += ',';
    }
    if (numbers.empty())
        out += ']';
    else
        out.back() = ']';
}

Numbers differences(Numbers numbers) {
    std::int64_t before = 0;
    for (std::int64_t& n : numbers)
        n -= std::exchange(before, n);
    return numbers;
}

Numbers runs(const Numbers& numbers) {
    Numbers out;
    for (const std::int64_t n : numbers) {
        if (out.empty() || out[out.size() - 2] != n)
            out.insert(out.end(), {n, 0});
        ++out.back();
    }
    return out;
}

std::int64_t markOf(const MapPoint& p) {
    return p.phase;
}
std::int64_t markOf(const MapReport& r) {
    return r.airborne;
}

template <class Record> void appendSeries(std::string& out, std::string_view name, std::vector<Record> records) {
    std::erase_if(records, [](const Record& r) {
        return !(fits(r.seconds) && fits(r.lat) && fits(r.lon) && fits(r.alt) && fits(r.gs) && fits(r.heading));
    });
    // Reports may overtake each other.
    std::ranges::stable_sort(records, {}, &Record::seconds);
    const auto column = [&](double Record::*member, double steps) {
        Numbers numbers;
        numbers.reserve(records.size());
        for (const Record& r : records)
            numbers.push_back(whole(r.*member, steps));
        return numbers;
    };
    Numbers marks;
    std::ranges::transform(records, std::back_inserter(marks), [](const Record& r) { return markOf(r); });
    out += fmt::format(",\n\"{}\":{{", name);
    append(out, "s", runs(differences(column(&Record::seconds, perSecond))));
    append(out += ',', "lat", differences(differences(column(&Record::lat, perDegree))));
    append(out += ',', "lon", differences(differences(column(&Record::lon, perDegree))));
    append(out += ',', "alt", differences(column(&Record::alt, perFoot)));
    append(out += ',', "gs", differences(column(&Record::gs, perKnot)));
    append(out += ',', "heading", differences(column(&Record::heading, perHeadingDegree)));
    append(out += ',', "mark", runs(marks));
    out += '}';
}

std::string aircraftJson(const MapAircraft& a) {
    std::string out = fmt::format("{{\"callsign\":{},\"model\":{},\"halfSpan\":{}", jsonText(a.callsign),
                                  jsonText(a.model), fits(a.halfSpan) ? whole(a.halfSpan, decimetresPerNm) : 0);
    appendSeries(out, "reports", a.reports);
    appendSeries(out, "shown", a.shown);
    appendSeries(out, "truth", a.truth);
    return out + "}";
}

double number(double value, double unit) {
    return fits(value) ? std::round(value / unit) * unit : 0.0;
}

std::string aroundJson(const MapPage& page) {
    std::string out = fmt::format(",\n\"epoch\":{:.3f},\"user\":[{:.6f},{:.6f}],\"stands\":[",
                                  std::fabs(page.epoch) < largestEpoch ? page.epoch : 0.0, number(page.userLat, 1e-6),
                                  number(page.userLon, 1e-6));
    for (std::size_t i = 0; i < page.stands.size(); ++i) {
        const MapStand& s = page.stands[i];
        out += fmt::format("{}[{},{:.6f},{:.6f},{:.1f},{:.1f}]", i == 0 ? "" : ",", jsonText(s.id), number(s.lat, 1e-6),
                           number(s.lon, 1e-6), number(s.radius, 0.1), number(s.heading, 0.1));
    }
    out += "],\"runways\":[";
    for (std::size_t i = 0; i < page.runways.size(); ++i) {
        const MapRunway& r = page.runways[i];
        out += fmt::format("{}[{},{:.1f},{:.6f},{:.6f},{:.6f},{:.6f}]", i == 0 ? "" : ",", jsonText(r.name),
                           number(r.width, 0.1), number(r.first.lat, 1e-6), number(r.first.lon, 1e-6),
                           number(r.second.lat, 1e-6), number(r.second.lon, 1e-6));
    }
    out += "],\"worst\":[";
    for (std::size_t i = 0; i < page.worst.size(); ++i) {
        const MapWorst& w = page.worst[i];
        out +=
            fmt::format("{}[{},{:.2f},{}]", i == 0 ? "" : ",", w.aircraft, number(w.seconds, 0.01), jsonText(w.text));
    }
    return out + "]";
}

} // namespace

void writeMapPage(const std::filesystem::path& file, const MapPage& page) {
    std::ofstream out(file, std::ios::binary);
    out << mapPageHead << "{\"title\":" << jsonText(page.title) << ",\"phases\":[";
    for (std::size_t i = 0; i < page.phases.size(); ++i)
        out << (i == 0 ? "" : ",") << jsonText(page.phases[i]);
    out << "]" << aroundJson(page) << ",\n\"aircraft\":[";
    for (std::size_t i = 0; i < page.aircraft.size(); ++i)
        out << (i == 0 ? "\n" : ",\n") << aircraftJson(page.aircraft[i]);
    out << "]}" << mapPageTail;
    out.close();
    if (!out)
        throw std::runtime_error(fmt::format("{} cannot be written", file.string()));
}

} // namespace kes::replay
