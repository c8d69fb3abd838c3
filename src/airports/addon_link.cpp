// SPDX-License-Identifier: MIT
#include "airports/addon_link.h"

#include "airports/airport_table.h"
#include "core/folders.h"
#include "core/foreign_log.h"
#include "core/log.h"
#include "core/parallel_walk.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/window.h"
#include "platform/system.h"
#include "reference/reference.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

namespace kes {

namespace fs = std::filesystem;

std::vector<AddonAirport> addonAirports;
std::vector<std::string> scanLog;
const fs::path tbloFolder = "TBLO";
std::int32_t tbloCount = 0;

namespace {

constexpr std::string_view warning = "===> ", simaddon = "simaddon", unknown = "unknown";

bool foundAny = false;

/// Makes a folder if it is not there. Throws filesystem_error.
void needFolder(const fs::path& folder) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (error)
        throw fs::filesystem_error("create_directory", folder, error);
}

bool writeLink(const fs::path& folder, const std::string& code, const std::string& archive) {
    needFolder(folder);
    std::string reason;
    const fs::path file = folder / (code + ".txt");
    if (platform::replaceFile(file, archive, reason))
        return true;
    scanLogLine(fmt::format("{}Linking {} did not succeed: {}", warning, platform::pathText(file), reason));
    return false;
}

std::string withoutBlanks(std::string_view publisher) {
    std::string text;
    for (const char c : publisher)
        text += c == ' ' ? "%20" : std::string(1, c);
    return text;
}

/// The stands of the archived list; nothing when the archive has none of this publisher's airport.
std::optional<std::int32_t> archivedStands(std::string_view publisher, std::string_view code) {
    const ReferenceData& data = referenceData();
    for (const ThirdPartyEntry& entry : par::MSFS_2020 ? data.thirdParties20 : data.thirdParties24) {
        if (entry.pub != publisher)
            continue;
        for (const std::string& airport : entry.arpts) {
            if (airport.starts_with(code))
                return leadingInt(std::string_view(airport).substr(code.size())).value_or(0);
        }
    }
    return std::nullopt;
}

/// The first row of the table with one of these codes.
std::optional<AirportEntry> firstRow(const std::vector<std::string>& codes) {
    const AirportEntry* first = nullptr;
    for (const std::string& code : codes) {
        const auto row = std::ranges::lower_bound(airportTable, code, {}, &AirportEntry::code);
        if (row != airportTable.end() && row->code == code && (first == nullptr || &*row < first))
            first = &*row;
    }
    return first == nullptr ? std::nullopt : std::optional(*first);
}

/// The codes that a text begins with, whatever they are.
std::vector<std::string> beginnings(std::string_view text) {
    constexpr std::size_t longestCode = 16;
    std::vector<std::string> list;
    for (std::size_t size = 1; size <= std::min(text.size(), longestCode); ++size)
        list.emplace_back(text.substr(0, size));
    return list;
}

/// What stands between two '-' of a path, in upper case when it is all in upper or all in lower case.
std::vector<std::string> dashedWords(std::string_view path) {
    std::vector<std::size_t> dashes;
    for (std::size_t at = path.find('-'); at != std::string_view::npos; at = path.find('-', at + 1))
        dashes.push_back(at);
    constexpr std::size_t longestCode = 16;
    std::vector<std::string> list;
    for (std::size_t i = 0; i < dashes.size(); ++i) {
        for (std::size_t j = i + 1; j < dashes.size() && dashes[j] - dashes[i] <= longestCode + 1; ++j) {
            const std::string_view word = path.substr(dashes[i] + 1, dashes[j] - dashes[i] - 1);
            const auto is = [&](char low, char high) {
                return std::ranges::any_of(word, [=](char c) { return c >= low && c <= high; });
            };
            if (!word.empty() && !(is('a', 'z') && is('A', 'Z')))
                list.push_back(upper(word));
        }
    }
    return list;
}

/// The code of an airport that could not be read, from what stands around it; empty when nothing tells.
std::string guessCode(const std::string& path) {
    std::string stem = upper(platform::pathText(platform::pathFrom(path).stem()));
    if (stem.size() == 4 && findAirport(stem)) {
        scanLogLine(fmt::format("Not recognised airport has ICAO code \"{}\" as BGL stem", stem));
        return stem;
    }
    std::vector<std::string> lines;
    const auto manifest = lf_searchManifest(path, lines);
    scanLogLines(lines);
    if (manifest) {
        if (const auto row = firstRow(beginnings(manifest->title))) {
            scanLogLine(fmt::format("Not recognised airport has ICAO \"{}\" in title \"{}\" of manifest", row->code,
                                    manifest->title));
            return row->code;
        }
    }
    if (const auto row = firstRow(dashedWords(path))) {
        scanLogLine(fmt::format("Not recognised airport has ICAO \"{}\" in BGL path \"{}\"", row->code, path));
        return row->code;
    }
    scanLogLine(fmt::format("==================> Not recognised airport lost ... \"{}\"", path));
    return {};
}

void noteForHandOver(const AirportFile& file) {
    needFolder(tbloFolder);
    const fs::path entry = tbloFolder / platform::pathFrom(file.icao + ".xml");
    std::string reason;
    const std::string text = fmt::format("{}\n{} by {}, title: {} crea: {} manu: {}", file.BGLpath, file.icao,
                                         file.publisher, file.title, file.creator, file.manufacturer);
    if (!platform::replaceFile(entry, text, reason)) {
        scanLogLine(fmt::format("{}{} could not be written: {}", warning, platform::pathText(entry), reason));
        return;
    }
    scanLogLine(fmt::format("==> TBLO entry {} created ", platform::pathText(entry.filename())));
    ++tbloCount;
    readouts.tbloFiles = tbloCount;
}

/// The package that holds a scenery file: the folder below "Community", or what else is not deeper than the file.
std::string packageOf(const std::string& path) {
    constexpr std::string_view separators = "/\\", community = "Community";
    const std::size_t name = path.find(community);
    const std::size_t first = name == std::string::npos ? name : path.find_first_of(separators, name);
    const std::size_t second = first == std::string::npos ? first : path.find_first_of(separators, first + 1);
    return path.substr(0, second == std::string::npos ? path.find_last_of(separators) : second);
}

/// What is known now of an airport that was found before says which of the two files counts.
void tellDoubled(const AddonAirport& found) {
    const auto before = std::find_if(addonAirports.rbegin(), addonAirports.rend(),
                                     [&](const AddonAirport& a) { return a.code == found.code; });
    if (!found.code.empty() && before != addonAirports.rend() && before->file != found.file)
        log(fmt::format("{} is in \"{}\" and in \"{}\"", found.code, before->file, found.file));
}

AddonAirport addonAirport(std::string code, const std::string& path, const PublisherInfo& publisher,
                          const std::vector<std::string>& publisherLines) {
    AddonAirport airport;
    airport.code = std::move(code);
    airport.file = path;
    airport.publisher = publisher.publisher;
    if (!publisherLines.empty())
        airport.why = publisherLines.back();
    return airport;
}

void takeAirport(const std::string& path, ScanAirport& airport, const PublisherInfo& publisher,
                 std::vector<std::string> publisherLines) {
    AirportFile& file = airport.file;
    AddonAirport known = addonAirport(file.icao, path, publisher, publisherLines);
    known.stands = file.standList.size();
    known.isWhole = airport.isWhole;
    tellDoubled(known);
    AddonAirport& found = addonAirports.emplace_back(std::move(known));
    scanLogLines(publisherLines);
    const bool linked = linkAirport(file, found, path, publisher);
    if (!par::MSFS_2020 && linked)
        return;
    scanLogLines(airport.messages);
    if (!airport.isWhole)
        return;
    const bool more = static_cast<std::int64_t>(found.stands) > found.archivedCount && file.publisher != simaddon;
    if (more) {
        scanLogLine(fmt::format("{}{} has {} parkpos while archived one has {}", warning, file.icao, found.stands,
                                found.archivedCount));
    }
    if (!linked || more)
        found.isGenerated = generateAirportFile(airport);
}

} // namespace

void scanLogLine(std::string_view text) {
    scanLog.emplace_back(text);
}

void scanLogLines(std::vector<std::string>& lines) {
    std::ranges::move(lines, std::back_inserter(scanLog));
    lines.clear();
}

void resetAddonAirports() {
    addonAirports.clear();
    scanLog = {};
    tbloCount = 0;
    readouts.tbloFiles = 0;
    foundAny = false;
}

bool scanHasFound() {
    return foundAny;
}

bool linkAirport(AirportFile& file, AddonAirport& found, const std::string& path, const PublisherInfo& publisher) {
    found.archivedCount = 0;
    file.BGLpath = path;
    file.publisher = publisher.publisher;
    file.manufacturer = publisher.manufacturer;
    file.creator = publisher.creator;
    file.title = publisher.title;
    if (file.publisher == unknown)
        return false;
    if (file.publisher == simaddon) {
        const std::string archive = fmt::format("archive/simaddon/{}.xml", file.icao);
        if (!referenceData().simaddonAirports20.contains(file.icao)) {
            scanLogLine(fmt::format("{} does not exist as simaddon", file.icao));
            return false;
        }
        if (!writeLink(path::mySimaddon, file.icao, archive))
            return false;
        scanLogLine(fmt::format("{} airport {} linked to {}", simaddon, file.icao, archive));
        found.archive = archive;
        return foundAny = true;
    }
    const auto archived = archivedStands(file.publisher, file.icao);
    if (!archived) {
        scanLogLine(fmt::format("thirdparty {} {} does not exist", file.publisher, file.icao));
        return false;
    }
    found.archivedCount = *archived;
    const std::string archive = fmt::format("archive/thirdparty/{}/{}.xml", withoutBlanks(file.publisher), file.icao);
    if (!writeLink(path::myThirdparty, file.icao, archive))
        return false;
    scanLogLine(fmt::format("thirdparty airport {} linked to {}", file.icao, archive));
    found.archive = archive;
    return foundAny = true;
}

bool generateAirportFile(ScanAirport& airport) {
    AirportFile& file = airport.file;
    if (file.standList.empty())
        return false;
    const fs::path folder = file.publisher == simaddon ? path::mySimaddon : path::myThirdparty;
    const auto positions = static_cast<std::int64_t>(file.standList.size());
    const auto helipads = static_cast<std::int64_t>(airport.helipads);
    std::string text = fmt::format("Generated {}: {} position{}", file.icao, positions, plural(positions));
    if (helipads > 0)
        text += fmt::format(", of which {} helipad{}", helipads, plural(helipads));
    scanLogLine(text);
    std::ranges::sort(file.standList, {}, &Stand::id);
    needFolder(folder);
    const fs::path target = folder / (file.icao + ".xml");
    if (!writeAirportFile(file, target, true)) {
        scanLogLine(fmt::format("{}Generating {} did not succeed", warning, platform::pathText(target)));
        return false;
    }
    return foundAny = true;
}

void notRecognisedAirport(const std::string& path, const PublisherInfo& publisher,
                          std::vector<std::string>& publisherLines, const std::string& unusedIdent) {
    scanLogLine(fmt::format("\n==> Not recognised airport {}", path));
    AddonAirport known = addonAirport(guessCode(path), path, publisher, publisherLines);
    known.isRecognised = false;
    known.unusedIdent = unusedIdent;
    AirportFile file;
    file.icao = known.code;
    tellDoubled(known);
    AddonAirport& found = addonAirports.emplace_back(std::move(known));
    if (file.icao.empty())
        return;
    scanLogLines(publisherLines);
    if (!linkAirport(file, found, path, publisher) && file.publisher != simaddon)
        noteForHandOver(file);
}

void takeScenery(const std::string& path, BglContent& content, const PublisherInfo& publisher,
                 std::vector<std::string>& publisherLines) {
    try {
        for (ScanAirport& airport : content.airports)
            takeAirport(path, airport, publisher, publisherLines);
        if (content.notRecognised) {
            notRecognisedAirport(path, publisher, publisherLines,
                                 content.newFormIdents.empty() ? "" : content.newFormIdents.back());
        }
    } catch (const std::exception& e) {
        content.error = e.what();
    }
    if (!content.error.empty()) {
        log(fmt::format("Exception in lf_toParkingPositions: {}", path));
        scanLogLine(fmt::format("{} airports search aborted, futs inner, \n{}\n{}\n{}", warning, content.error,
                                hardwareThreads(), path));
    }
}

std::string addonSummary() {
    constexpr std::size_t mostNames = 10;
    std::set<std::string> airports, packages, linked, generated, empty, failed, lost;
    for (const AddonAirport& a : addonAirports) {
        packages.insert(packageOf(a.file));
        airports.insert(a.code.empty() ? a.file : a.code);
        if (!a.archive.empty())
            linked.insert(a.code);
        if (a.isGenerated)
            generated.insert(a.code);
        if (!a.archive.empty() || a.isGenerated)
            continue;
        if (!a.isRecognised)
            lost.insert(a.code.empty() ? kes::quoted(platform::pathText(platform::pathFrom(a.file).filename()))
                                       : a.code);
        else
            (a.isWhole && a.stands == 0 ? empty : failed).insert(a.code);
    }
    const auto count = [](const std::set<std::string>& set) { return static_cast<std::int64_t>(set.size()); };
    std::string text =
        fmt::format("{} airport{} in {} package{}: {} linked, {} generated", airports.size(), plural(count(airports)),
                    packages.size(), plural(count(packages)), linked.size(), generated.size());
    if (!empty.empty())
        text += fmt::format(", {} without stands", empty.size());
    if (!failed.empty())
        text += fmt::format(", {} failed", failed.size());
    text += fmt::format(", {} not recognised", lost.size());
    std::string_view before = ": ";
    std::size_t names = 0;
    for (const std::string& name : lost) {
        if (names++ == mostNames) {
            text += " ...";
            break;
        }
        text.append(before).append(name);
        before = ", ";
    }
    return text;
}

} // namespace kes
