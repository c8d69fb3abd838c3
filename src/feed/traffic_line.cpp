// The traffic line: fields, filters, and the record built from it.
#include "core/run_state.h"
#include "feed/traffic_reader.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <stdexcept>

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
constexpr double airportRadiusNm = 5.0;
constexpr double noElevation = -1000.0;

template <typename... Args> [[noreturn]] void reject(fmt::format_string<Args...> text, Args&&... args) {
    throw std::runtime_error(fmt::format(text, std::forward<Args>(args)...));
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

void readHeading(std::string_view field, PositionSample& sample) {
    double heading = 0;
    if (!readNumber(field, heading) || std::isnan(heading))
        reject("true heading:{}", quoted(field));
    if (heading > 360.0)
        reject("true heading:{:.2F}", heading);
    if (heading < 0.0)
        return;
    // 0 stands for "no heading" elsewhere, so north is a full turn.
    sample.trueHeading = heading == 0.0 ? twoPi : heading * degToRad;
    sample.trueHeadingValid = sample.adsbHeading = true;
}

} // namespace

void splitFields(std::string_view line, std::vector<std::string_view>& fields) {
    fields.clear();
    const char* const begin = line.data();
    std::size_t start = 0;
    const auto endField = [&](std::size_t comma) {
        fields.emplace_back(begin + start, comma - start);
        start = comma + 1;
    };
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
                endField(at + static_cast<std::size_t>(std::countr_zero(found)) / 8);
        }
    }
    for (; at < line.size(); ++at)
        if (begin[at] == ',')
            endField(at);
    if (start < line.size())
        endField(line.size());
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

void TrafficReader::processLine() {
    // Other tags on the same port have fewer fields.
    if (fields.size() < neededFields)
        return;
    PositionSample& sample = scratch.sample;
    sample = {};

    double time = 0;
    if (!readNumber(fields[timestampField], time) || !(std::fabs(time) <= largestTimestamp))
        reject("timestamp:{}", quoted(fields[timestampField]));
    timestamp.store(time, std::memory_order_relaxed);
    scratch.timestamp = time;

    if (!readNumber(fields[latField], sample.lat))
        reject("lat:{}", quoted(fields[latField]));
    if (!readNumber(fields[lonField], sample.lon))
        reject("lon:{}", quoted(fields[lonField]));
    if (!(std::fabs(sample.lat) <= 90.0) || !(std::fabs(sample.lon) <= 180.0) || inStartUpBox(sample.lat, sample.lon))
        reject("lalo:{}", quoted(fmt::format("{:.6f},{:.6f}", sample.lat, sample.lon)));

    LatLon user;
    std::optional<FeedAirport> airport;
    {
        const std::lock_guard lock(inputMutex);
        user = userPosition;
        airport = referenceAirport;
    }
    const LatLon position{sample.lat, sample.lon};
    if (!(distanceNm(user, position) <= static_cast<double>(rangeNm.load(std::memory_order_relaxed))))
        return;

    if (fields[regcodeField].size() > longestRegcode || !readText(fields[regcodeField], scratch.regcode))
        return;

    const std::string_view callsign = fields[callsignField];
    const bool marked = callsign.find('@') != std::string_view::npos;
    if (collectCallsigns.load(std::memory_order_relaxed) && callsign != unknown && !callsign.empty() && !marked &&
        isPlain(callsign))
        collectCallsign(callsign);

    scratch.airline.clear();
    scratch.model.clear();
    const std::string_view model = fields[modelField];
    if (model != "0" && model != "ZZZZ" && !readText(model, scratch.model))
        return;
    if (!categoryFilter(scratch, fields[categoryField]))
        return;

    if (fields[sourceField] == "adsb_icao")
        readHeading(fields[headingField], sample);

    const std::string_view hexid = fields[hexidField];
    if (std::from_chars(hexid.data(), hexid.data() + hexid.size(), scratch.hexid).ec != std::errc{})
        reject("hexid incorrect{}", quoted(hexid));
    if (scratch.hexid <= lastStaticHexid)
        return;

    if (!readMeasure(fields[gsField], sample.gs, speedBounds))
        reject("gs:{}", quoted(fields[gsField]));
    if (!readMeasure(fields[altField], sample.alt, altitudeBounds))
        reject("altitude {} incorrect, from: {}", quoted(fields[altField]), quoted(text));

    if (isOnGround(sample.alt, sample.gs, airport ? airport->elevation : noElevation))
        sample.alt = 0.0;
    sample.airborne = sample.alt > 0.0;

    if (!readText(callsign, scratch.callsign))
        return;
    if (marked)
        scratch.callsign.clear();
    if (scratch.callsign == "ERARMTR0" || scratch.callsign == "AIRPORT1")
        return;
    if (scratch.callsign.empty() && scratch.regcode.empty())
        return;

    if (!sample.airborne && !(airport && distanceNm(airport->position, position) <= airportRadiusNm))
        return;

    if (!fields[trackField].empty() && !readMeasure(fields[trackField], sample.track, trackBounds))
        reject("track incorrect {}", quoted(fields[trackField]));
    if (sample.track == 0.0 && sample.trueHeadingValid)
        sample.track = sample.trueHeading * radToDeg;

    if (!readMeasure(fields[vsField], sample.vs, climbBounds))
        reject("vs:{}", quoted(fields[vsField]));

    readAirport(fields[origField], scratch.orig);
    readAirport(fields[destField], scratch.dest);

    if (sample.airborne) {
        double roll = 0;
        if (!readMeasure(fields[rollField], roll, rollBounds))
            reject("roll:{}", quoted(fields[rollField]));
        if (roll != -1.0 && roll != 0.0) {
            sample.bank = -roll * degToRad;
            sample.bankValid = true;
        }
    }

    if (!readMeasure(fields[tasField], sample.tas, speedBounds))
        reject("TAS incorrect{}", quoted(fields[tasField]));
    if (sample.tas == -1.0)
        sample.tas = airspeedForAltitude(sample.alt);

    const std::lock_guard lock(sampleMutex);
    if (acceptSamples) {
        sample.tick = static_cast<std::int32_t>(static_cast<std::uint32_t>(tickCount.load(std::memory_order_relaxed)) +
                                                static_cast<std::uint32_t>(showDelayTicks));
        // Copied, not moved: the slot and the scratch record keep the room of their texts.
        reportQueue.push(scratch.hexid) = scratch;
    }
}

} // namespace kes
