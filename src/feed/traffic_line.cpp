// SPDX-License-Identifier: MIT
#include "feed/traffic_line.h"

#include "core/foreign_log.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <utility>

namespace kes {

namespace {

/// The fields that are read.
enum Field : std::size_t {
    hexidField = 1,
    latField = 2,
    lonField = 3,
    altField = 4,
    vsField = 5,
    trackField = 7,
    gsField = 8,
    callsignField = 9,
    modelField = 10,
    regcodeField = 11,
    origField = 12,
    destField = 13,
    timestampField = 14,
    sourceField = 17,
    tasField = 20,
    rollField = 23,
    headingField = 25,
    categoryField = 28,
    neededFields = 29
};

constexpr std::string_view unknown = "null";
constexpr std::size_t longestRegcode = 12;

template <typename... Args> ParsedLine complain(ParsedLine& line, fmt::format_string<Args...> text, Args&&... args) {
    line.outcome = LineOutcome::complaint;
    line.complaint = fmt::format(text, std::forward<Args>(args)...);
    return std::move(line);
}

/// Reads the number at the start of a field; what follows it is ignored.
bool readNumber(std::string_view field, double& value) {
    return std::from_chars(field.data(), field.data() + field.size(), value).ec == std::errc{};
}

bool readMeasure(std::string_view field, double& value, const Bounds& bounds) {
    // Written so that NaN fails as well.
    return readNumber(field, value) && value >= bounds.least && value <= bounds.most;
}

/// Fit for a text of the record: it ends up in file names, in the simulator and on the window.
bool isPlain(std::string_view field) {
    return field.size() <= longestFieldText &&
           std::all_of(field.begin(), field.end(), [](char c) { return c >= ' ' && c <= '~'; });
}

/// The field as a text of the record, empty for "null". False when it is not fit for one.
bool readText(std::string_view field, std::string& text) {
    if (!isPlain(field))
        return false;
    if (field == unknown)
        text.clear();
    else
        text.assign(field);
    return true;
}

/// The code of an airport, empty for "null" and for anything that is none: it is shown, and written into files.
void readAirport(std::string_view field, std::string& code) {
    const auto isCodeLetter = [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9');
    };
    code.clear();
    if (field != unknown && field.size() >= shortestAirportCode && field.size() <= longestAirportCode &&
        std::all_of(field.begin(), field.end(), isCodeLetter))
        code.assign(field);
}

double airspeedForAltitude(double alt) {
    return alt <= 2000.0 ? 180.0 : alt <= 5000.0 ? 220.0 : alt <= 10000.0 ? 250.0 : alt <= 20000.0 ? 350.0 : 430.0;
}

/// Takes a heading of 0 to 360 degrees. What is below means that there is none.
void takeHeading(double heading, PositionSample& sample) {
    if (heading < 0.0)
        return;
    // 0 stands for "no heading" elsewhere, so north is a full turn.
    sample.trueHeading = heading == 0.0 ? twoPi : heading * degToRad;
    sample.trueHeadingValid = sample.adsbHeading = true;
}

} // namespace

std::size_t splitFields(std::string_view line, std::span<std::string_view> fields) {
    const char* const begin = line.data();
    std::size_t start = 0, count = 0;
    // False when there is no room for a further one.
    const auto endField = [&](std::size_t comma) {
        fields[count++] = {begin + start, comma - start};
        start = comma + 1;
        return count < fields.size();
    };
    if (fields.empty())
        return 0;
    std::size_t at = 0;
    // Fields are short, so a call per field costs more than the search: eight bytes are looked at in one step.
    if constexpr (std::endian::native == std::endian::little) {
        constexpr std::uint64_t commas = 0x2C2C2C2C2C2C2C2CU;
        constexpr std::uint64_t low7 = 0x7F7F7F7F7F7F7F7FU;
        for (; at + 8 <= line.size(); at += 8) {
            std::uint64_t word = 0;
            std::memcpy(&word, begin + at, sizeof word);
            word ^= commas;
            // The top bit of each byte that is a comma.
            for (std::uint64_t found = ~(((word & low7) + low7) | word | low7); found != 0; found &= found - 1)
                if (!endField(at + static_cast<std::size_t>(std::countr_zero(found)) / 8))
                    return count;
        }
    }
    for (; at < line.size(); ++at)
        if (begin[at] == ',' && !endField(at))
            return count;
    if (start < line.size())
        endField(line.size());
    return count;
}

bool isOnGround(double alt, double gs, double elevation) {
    if (alt <= 0.0 || gs <= 35.0)
        return true;
    if (alt >= 14000.0)
        return false;
    const double height = alt - elevation;
    return height <= 0.0 || (height <= 45.0 && gs <= 120.0) || (height <= 90.0 && gs <= 80.0) ||
           (height <= 120.0 && gs <= 43.0);
}

bool categoryFilter(const AircraftReport& report, std::string_view categoryCode) {
    static constexpr std::string_view categoryExclusions[] = {"B1", "B2", "B4", "C1", "C2"};
    static constexpr std::string_view typeExclusions[] = {"GRND", "GLID", "SERV", "BALL", "PARA", "SHIP", "EMER"};
    const auto holds = [](const auto& list, std::string_view code) {
        return std::find(std::begin(list), std::end(list), code) != std::end(list);
    };
    if (report.model.empty())
        return false;
    if (categoryCode.empty() || categoryCode == unknown)
        return true;
    if (holds(categoryExclusions, categoryCode) || report.model.size() > 4)
        return false;
    return !holds(typeExclusions, report.model);
}

ParsedLine parse(std::string_view datagram, const FeedInputs& inputs, AircraftReport& report) {
    ParsedLine parsed;
    // Ground vehicles under way announce themselves in the callsign.
    if (datagram.find(" VEH") != std::string_view::npos)
        return parsed;
    // A sender that ends its lines would otherwise put the line end into the last field.
    std::string_view line = datagram;
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r'))
        line.remove_suffix(1);
    std::array<std::string_view, neededFields> fields;
    // Other tags on the same port have fewer fields.
    if (splitFields(line, fields) < neededFields)
        return parsed;
    PositionSample& sample = report.sample;
    sample = {};

    double time = 0;
    if (!readNumber(fields[timestampField], time) || !(std::fabs(time) <= largestTimestamp))
        return complain(parsed, "timestamp:{}", quoted(fields[timestampField]));
    parsed.timestamp = report.timestamp = time;

    if (!readNumber(fields[latField], sample.lat))
        return complain(parsed, "lat:{}", quoted(fields[latField]));
    if (!readNumber(fields[lonField], sample.lon))
        return complain(parsed, "lon:{}", quoted(fields[lonField]));
    if (!(std::fabs(sample.lat) <= 90.0) || !(std::fabs(sample.lon) <= 180.0) || inStartUpBox(sample.lat, sample.lon))
        return complain(parsed, "lalo:{}", quoted(fmt::format("{:.6f},{:.6f}", sample.lat, sample.lon)));

    const LatLon position{sample.lat, sample.lon};
    if (!(distanceNm(inputs.userPosition, position) <= inputs.rangeNm))
        return parsed;

    if (fields[regcodeField].size() > longestRegcode || !readText(fields[regcodeField], report.regcode))
        return parsed;

    const std::string_view callsign = fields[callsignField];
    const bool marked = callsign.find('@') != std::string_view::npos;
    if (callsign != unknown && !marked && isPlain(callsign))
        parsed.callsign = callsign;

    report.airline.clear();
    report.model.clear();
    const std::string_view model = fields[modelField];
    if (model != "0" && model != "ZZZZ" && !readText(model, report.model))
        return parsed;
    if (!categoryFilter(report, fields[categoryField]))
        return parsed;

    if (fields[sourceField] == "adsb_icao") {
        double heading = 0;
        if (!readNumber(fields[headingField], heading) || std::isnan(heading))
            return complain(parsed, "true heading:{}", quoted(fields[headingField]));
        if (heading > 360.0)
            return complain(parsed, "true heading:{:.2F}", heading);
        takeHeading(heading, sample);
    }

    const std::string_view hexid = fields[hexidField];
    if (std::from_chars(hexid.data(), hexid.data() + hexid.size(), report.hexid).ec != std::errc{})
        return complain(parsed, "hexid incorrect{}", quoted(hexid));
    if (report.hexid <= lastStaticHexid)
        return parsed;

    if (!readMeasure(fields[gsField], sample.gs, speedBounds))
        return complain(parsed, "gs:{}", quoted(fields[gsField]));
    if (!readMeasure(fields[altField], sample.alt, altitudeBounds))
        return complain(parsed, "altitude {} incorrect, from: {}", quoted(fields[altField]), quoted(datagram));

    if (isOnGround(sample.alt, sample.gs, inputs.airport ? inputs.airport->elevation : noElevation))
        sample.alt = 0.0;
    sample.airborne = sample.alt > 0.0;

    if (!readText(callsign, report.callsign))
        return parsed;
    if (marked)
        report.callsign.clear();
    if (report.callsign == "ERARMTR0" || report.callsign == "AIRPORT1")
        return parsed;
    if (report.callsign.empty() && report.regcode.empty())
        return parsed;

    if (!sample.airborne && !(inputs.airport && distanceNm(inputs.airport->position, position) <= atAirportNm))
        return parsed;

    if (!fields[trackField].empty() && !readMeasure(fields[trackField], sample.track, trackBounds))
        return complain(parsed, "track incorrect {}", quoted(fields[trackField]));
    if (sample.track == 0.0 && sample.trueHeadingValid)
        sample.track = sample.trueHeading * radToDeg;

    if (!readMeasure(fields[vsField], sample.vs, climbBounds))
        return complain(parsed, "vs:{}", quoted(fields[vsField]));

    readAirport(fields[origField], report.orig);
    readAirport(fields[destField], report.dest);

    if (sample.airborne) {
        double roll = 0;
        if (!readMeasure(fields[rollField], roll, rollBounds))
            return complain(parsed, "roll:{}", quoted(fields[rollField]));
        if (roll != -1.0 && roll != 0.0) {
            sample.bank = -roll * degToRad;
            sample.bankValid = true;
        }
    }

    if (!readMeasure(fields[tasField], sample.tas, speedBounds))
        return complain(parsed, "TAS incorrect{}", quoted(fields[tasField]));
    if (sample.tas == -1.0)
        sample.tas = airspeedForAltitude(sample.alt);

    parsed.outcome = LineOutcome::kept;
    return parsed;
}

} // namespace kes
