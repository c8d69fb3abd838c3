// SPDX-License-Identifier: MIT
#include "airports/park_airports.h"

#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/placing.h"
#include "airports/reserved_stand.h"
#include "airports/stands.h"
#include "core/folders.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "platform/file.h"
#include "platform/system.h"

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fmt/format.h>
#include <optional>
#include <system_error>
#include <unordered_set>
#include <vector>

namespace kes {

namespace fs = std::filesystem;

std::list<ParkAirportEntry> parkAirportList;

namespace {

constexpr double noCandidateNm = 10000.0;
constexpr std::size_t manyAirports = 3000;
constexpr std::uint64_t mostFileBytes = 16 << 20;

std::optional<LatLon> orderedAt; ///< where the user was when the list was last put in order

std::string fileName() {
    return platform::pathText(path::myParkAirports.filename());
}

auto findEntry(std::string_view code) {
    return std::ranges::find(parkAirportList, code, &ParkAirportEntry::code);
}

/// The lines that are not blank, as they stand there.
std::vector<std::string> linesOf(std::string_view content) {
    std::vector<std::string> lines;
    for (const std::string_view piece : split(withoutMark(content), '\n'))
        if (const std::string_view line = strip(piece); !line.empty())
            lines.emplace_back(line);
    return lines;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields = split(withoutLast(line, ','), ',');
    for (std::string_view& field : fields)
        field = strip(field);
    return fields;
}

/// `findAirport` walks the table; here many codes are looked up, and the table is sorted by them.
const AirportEntry* rowOf(std::string_view code) {
    const auto it = std::ranges::lower_bound(airportTable, code, {}, &AirportEntry::code);
    return it != airportTable.end() && it->code == code ? &*it : nullptr;
}

using Codes = std::unordered_set<std::string>;

bool append(const AirportEntry& row, std::string_view stand, Codes& known) {
    if (!known.insert(row.code).second)
        return false;
    parkAirportList.push_back({row.code, std::string(stand), row.lat, row.lon, 0.0});
    return true;
}

bool takeLine(const std::string& line, Codes& known) {
    const std::vector<std::string_view> fields = fieldsOf(line);
    if (fields.size() > 2) {
        logWarning(fmt::format("{}:{} wrong syntax, skipped", fileName(), line));
        return true;
    }
    if (fields.size() == 1 && fields[0].empty())
        return true;
    const AirportEntry* row = rowOf(fields[0]);
    if (row == nullptr) {
        showStatus(fmt::format("airport {} is unknown", fields[0]), true);
        return false;
    }
    if (!append(*row, fields.size() > 1 ? fields[1] : std::string_view(), known))
        logWarning(fmt::format("{}:{} double, skipped", fileName(), line));
    return true;
}

void addScanned(Codes& known) {
    std::vector<std::string> stems; // in an order that no file system has a say in
    std::error_code error;
    for (fs::directory_iterator it(path::myThirdparty, error), end; !error && it != end; it.increment(error)) {
        std::error_code unknown;
        if (it->is_regular_file(unknown))
            stems.push_back(platform::pathText(it->path().stem()));
    }
    std::ranges::sort(stems);
    std::size_t added = 0;
    for (const std::string& stem : stems) {
        const AirportEntry* row = rowOf(stem);
        if (row != nullptr && append(*row, {}, known))
            ++added;
    }
    if (added > 0)
        log(fmt::format("{} park airport{} added from my_thirdparty folder(-s) ", added,
                        plural(static_cast<std::int64_t>(added))));
}

void tellUnwritten(std::string_view reason) {
    showStatus(fmt::format("{} could not be written: {}", platform::pathText(path::myParkAirports), reason), true);
}

std::string lineOf(const ParkAirportEntry& entry) {
    return entry.code + (entry.stand.empty() ? "" : "," + entry.stand);
}

/// Puts the entry's stand among the lines, and returns what the log is to say of it.
std::string putStand(std::vector<std::string>& lines, const ParkAirportEntry& entry) {
    for (std::string& line : lines) {
        const std::string code(fieldsOf(line)[0]);
        if (code != entry.code)
            continue;
        line = fmt::format("{},{}", entry.code, entry.stand);
        return fmt::format("{}:{},{} updated stand", fileName(), code, entry.stand);
    }
    lines.push_back(lineOf(entry));
    return fmt::format("{}:{} new entry", fileName(), lines.back());
}

} // namespace

bool lf_readMyParkAirports() {
    bool ok = true;
    parkAirportList.clear();
    forgetOrder();
    Codes known;
    const std::string file = platform::pathText(path::myParkAirports);
    std::string content;
    const int error = platform::readFile(file, content, mostFileBytes);
    if (error == ENOENT)
        log(file + " not found");
    else if (error != 0)
        logWarning(fmt::format("{} cannot be read: {}", file, platform::errorText(error)));
    for (const std::string& line : linesOf(content))
        ok = takeLine(line, known) && ok;
    if (const std::size_t count = parkAirportList.size(); count > 0) {
        log(fmt::format("{} park airport{} read from \"{}\"", count, plural(static_cast<std::int64_t>(count)),
                        fileName()));
        if (count > manyAirports)
            showStatus(
                fmt::format("Warning: There are a lot of airports ({}) in {}, that will cost KLUN much cpu time, "
                            "and may give stutters",
                            count, fileName()),
                true);
    }
    addScanned(known);
    return ok;
}

bool reReadParkAirports(bool showChange, std::string& message) {
    if (!lf_readMyParkAirports())
        return false;
    if (userAircraft.known())
        refreshDistances(userAircraft.position());
    destinationFirst();
    // What is filled stays the first to be looked at, whatever the user is on his way to.
    if (const auto own = airportRef ? findEntry(airportRef->code) : parkAirportList.end();
        own != parkAirportList.end() && !par::DESTINATION.empty())
        parkAirportList.splice(parkAirportList.begin(), parkAirportList, own);
    if (showChange && userAircraft.known() && !placingGoesOn() && readoutText(Readout::foundObject).empty())
        message = reserveAnew();
    if (message.empty())
        message = "park airports and stands are okay";
    return true;
}

void storeUserStand() {
    if (parkAirportList.empty())
        return;
    const ParkAirportEntry& entry = parkAirportList.front();
    const std::string file = platform::pathText(path::myParkAirports);
    std::string content;
    const int error = platform::readFile(file, content, mostFileBytes);
    if (error != 0 && error != ENOENT) { // what it holds would be lost
        tellUnwritten(platform::errorText(error));
        return;
    }
    std::vector<std::string> lines;
    std::string done;
    if (error == ENOENT) {
        lines.push_back(lineOf(entry));
        done = fmt::format("{} created with {}", fileName(), lines.back());
    } else {
        lines = linesOf(content);
        done = putStand(lines, entry);
    }
    std::ranges::sort(lines);
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
    content.clear();
    for (const std::string& line : lines)
        content += line + '\n';
    std::string reason;
    if (platform::replaceFile(path::myParkAirports, content, reason))
        log(done);
    else
        tellUnwritten(reason);
}

void putFirst(ParkAirportEntry entry) {
    forgetOrder();
    const auto it = findEntry(entry.code);
    if (it == parkAirportList.end()) {
        parkAirportList.push_front(std::move(entry));
        return;
    }
    if (!entry.stand.empty())
        it->stand = std::move(entry.stand);
    it->distance = entry.distance;
    parkAirportList.splice(parkAirportList.begin(), parkAirportList, it);
}

void setDestinationEntry(std::string_view code, LatLon position) {
    const bool isNew = findEntry(code) == parkAirportList.end();
    ParkAirportEntry entry{std::string(code), {}, position.lat, position.lon, 0.0};
    if (userAircraft.known())
        entry.distance = distanceNm(userAircraft.position(), position);
    putFirst(std::move(entry));
    if (isNew)
        storeUserStand();
}

void destinationFirst() {
    forgetOrder();
    const auto it = findEntry(par::DESTINATION.get());
    if (it != parkAirportList.end())
        parkAirportList.splice(parkAirportList.begin(), parkAirportList, it);
}

void forgetOrder() {
    orderedAt.reset();
}

void refreshDistances(LatLon user) {
    if (parkAirportList.empty())
        return;
    const auto distanceTo = [user](const ParkAirportEntry& entry) { return distanceNm(user, entry.position()); };
    const bool unmoved = orderedAt && orderedAt->lat == user.lat && orderedAt->lon == user.lon;
    if (unmoved || !par::DESTINATION.empty()) {
        parkAirportList.front().distance = distanceTo(parkAirportList.front());
        if (!unmoved)
            forgetOrder(); // the others wait for the end of the destination
        return;
    }
    for (ParkAirportEntry& entry : parkAirportList)
        entry.distance = distanceTo(entry);
    const auto nearer = [](const ParkAirportEntry& a, const ParkAirportEntry& b) { return a.distance < b.distance; };
    if (!std::is_sorted(parkAirportList.begin(), parkAirportList.end(), nearer))
        parkAirportList.sort(nearer); // stable
    orderedAt = user;
}

double nearestCandidateNm(LatLon user) {
    return parkAirportList.empty() ? noCandidateNm : distanceNm(user, parkAirportList.front().position());
}

std::string standNameAt(double lat, double lon) {
    if (const Stand* stand = findStand(nearestStand({lat, lon})))
        return stand->id;
    const auto nearest = nearestAirport({lat, lon}, atAirportNm);
    return nearest ? nearest->code : std::string();
}

void resetParkAirports() {
    parkAirportList.clear();
    forgetOrder();
}

} // namespace kes
