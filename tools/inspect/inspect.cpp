// SPDX-License-Identifier: MIT
#include "tools/inspect/inspect.h"

#include "core/folders.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "liveries/dont_use.h"
#include "liveries/folder_walk.h"
#include "liveries/matching.h"
#include "liveries/scan_summary.h"
#include "liveries/store.h"
#include "platform/system.h"
#include "reference/identity.h"
#include "reference/reference.h"

#include <fmt/format.h>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <stdexcept>

namespace kes::inspect {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::ordered_json;

/// Text that is no UTF-8 is shown as "hex:" and its bytes, so that nothing of it is lost.
std::string shown(std::string_view text) {
    if (isUtf8(text))
        return std::string(text);
    std::string hex = "hex:";
    for (const char c : text)
        hex += fmt::format("{:02x}", static_cast<unsigned char>(c));
    return hex;
}

std::string_view listName(ReportList list) {
    if (list == &ScanReports::emptyCfgFiles)
        return "emptyCfgFiles";
    if (list == &ScanReports::invalidCfgFiles)
        return "invalidCfgFiles";
    if (list == &ScanReports::incompleteSections)
        return "incompleteSections";
    if (list == &ScanReports::invalidAirlines)
        return "invalidAirlines";
    if (list == &ScanReports::invalidModels)
        return "invalidModels";
    if (list == &ScanReports::notUsed)
        return "notUsed";
    return list == &ScanReports::modelFixLines ? "modelFixLines" : "conversionLines";
}

Json describe(const CfgJudgement& judgement) {
    Json file;
    file["path"] = shown(judgement.path);
    file["charset"] = judgement.charset;
    file["lines"] = judgement.lines;
    file["sections"] = judgement.sections;
    file["model"] = judgement.model;
    file["fate"] = text(judgement.fate);
    if (judgement.fate != FileFate::sectionsRead)
        file["reason"] = words(judgement.fate);
    file["liveries"] = Json::array();
    for (const FoundLivery& found : judgement.liveries) {
        Json livery;
        livery["section"] = shown(found.header);
        livery["airline"] = found.airline;
        livery["model"] = found.model;
        livery["title"] = shown(found.title);
        livery["regcode"] = shown(found.regcode);
        livery["cargo"] = found.cargo;
        file["liveries"].push_back(std::move(livery));
    }
    Json dropped = Json::array();
    for (const DroppedSection& section : judgement.dropped) {
        dropped.push_back({{"section", shown(section.header)},
                           {"why", text(section.fate)},
                           {"reason", words(section.fate)},
                           {"title", shown(section.title)}});
    }
    if (!dropped.empty())
        file["dropped"] = std::move(dropped);
    Json reports = Json::object();
    for (const auto& [list, line] : judgement.reports)
        reports[std::string(listName(list))].push_back(shown(line));
    if (!reports.empty())
        file["reports"] = std::move(reports);
    for (const std::string& line : judgement.log)
        file["log"].push_back(shown(line));
    return file;
}

/// Moves liveries whose title was seen before to the dropped sections.
void dropSeenTitles(CfgJudgement& judgement, TextSet& seen) {
    std::erase_if(judgement.liveries, [&](const FoundLivery& found) {
        if (seen.emplace(found.title).second)
            return false;
        judgement.dropped.push_back({found.header, found.title, SectionFate::titleExists});
        judgement.reports.emplace_back(&ScanReports::incompleteSections,
                                       judgement.texts.put(repeatedTitleLine(judgement, found)));
        return true;
    });
}

/// Why a search found nothing.
std::string whyNone(const AiAircraft& a) {
    const std::int32_t depth = par::MATCHING_DEPTH;
    if (depth < 2)
        return fmt::format("depth {} looks for the registration only", depth);
    const bool wide = depth >= 3; // similar types, and other airlines for small aircraft
    if (!hasModel(a.model)) {
        return fmt::format("no livery of type {} is installed, and {}", a.model,
                           wide ? "none of a similar type fits" : fmt::format("depth {} looks no further", depth));
    }
    if (hasLivery(a.airline, a.model)) {
        return fmt::format("{} {} is installed, but only for {}other registrations", a.airline, a.model,
                           a.cargo ? "" : "cargo or for ");
    }
    const std::string text = fmt::format("{} is installed, but not for {}", a.model, a.airline);
    const bool small = a.category == AircraftCategory::light || a.category == AircraftCategory::buzjets ||
                       a.category == AircraftCategory::rotorcraft;
    if (!small)
        return fmt::format("{}; category {} takes no other airline's paint", text, kes::text(a.category));
    return wide ? text + ", and no other livery fits" : fmt::format("{}; depth {} looks no further", text, depth);
}

} // namespace

WorkFolder::WorkFolder(const std::string& updates) : before_(fs::current_path()) {
    const bool isUrl = updates.find("://") != std::string::npos;
    const std::string base = isUrl ? updates : platform::pathText(fs::absolute(platform::pathFrom(updates)));
    std::random_device random;
    folder_ = fs::temp_directory_path() / fmt::format("kestrelune-inspect-{:08x}{:08x}", random(), random());
    if (!fs::create_directory(folder_))
        throw std::runtime_error("no temporary folder can be made");
    fs::current_path(folder_);
    setUserDataFolder(folder_ / "appdata");
    for (const fs::path& needed : {path::outputInfo, path::outputErrors, path::myRegcodes, folder_ / "appdata"})
        fs::create_directories(needed);
    std::ofstream(path::updateServer, std::ios::binary) << base << '\n';
}

WorkFolder::~WorkFolder() {
    std::error_code ignored;
    fs::current_path(before_, ignored);
    fs::remove_all(folder_, ignored);
}

Json inspectLiveries(const std::vector<fs::path>& folders, bool suppressStub) {
    TextSet seen, dontUse;
    dontUse.insert(dontUseTitles.begin(), dontUseTitles.end());
    Json result;
    result["folders"] = Json::array();
    std::size_t files = 0, liveries = 0, sections = 0, droppedSections = 0, foldersNotRead = 0;
    Json totals = Json::object();
    for (const char* list : {"emptyCfgFiles", "invalidCfgFiles", "incompleteSections", "invalidAirlines",
                             "invalidModels", "modelFixLines", "notUsed"})
        totals[list] = 0;
    Json fates = Json::object();
    CfgRules rules;
    rules.folderNumber = 0;
    rules.suppressStub = suppressStub;
    rules.dontUse = &dontUse;
    rules.countLines = true;
    for (const fs::path& path : folders) {
        rules.folderNumber = std::min(rules.folderNumber + 1, 10);
        FolderSummary summary;
        summary.path = platform::pathText(path);
        Json folder;
        folder["path"] = shown(summary.path);
        folder["files"] = Json::array();
        std::error_code error;
        if (!fs::is_directory(path, error)) {
            folder["problem"] = fs::exists(path, error) ? "not a folder" : "does not exist";
            ++foldersNotRead;
            result["folders"].push_back(std::move(folder));
            continue;
        }
        const WalkCount count = walkFolder(rules, summary.path, [&](CfgJudgement& judgement) {
            dropSeenTitles(judgement, seen);
            summary.add(judgement, judgement.liveries.size());
            sections += judgement.sections;
            droppedSections += judgement.dropped.size();
            for (const auto& [list, line] : judgement.reports)
                totals[std::string(listName(list))] = totals[std::string(listName(list))].get<int>() + 1;
            for (const DroppedSection& section : judgement.dropped)
                fates[std::string(text(section.fate))] = fates.value(std::string(text(section.fate)), 0) + 1;
            folder["files"].push_back(describe(judgement));
        });
        summary.closedFolders = count.closedFolders;
        folder["liveries"] = summary.liveries;
        folder["foldersNotEntered"] = count.closedFolders;
        if (summary.liveries == 0)
            folder["problem"] = shown(whyNoLivery(summary));
        files += summary.files;
        liveries += summary.liveries;
        result["folders"].push_back(std::move(folder));
    }
    Json& sum = result["totals"];
    sum["foldersNotRead"] = foldersNotRead;
    sum["files"] = files;
    sum["sections"] = sections;
    sum["liveries"] = liveries;
    sum["droppedSections"] = droppedSections;
    sum["reports"] = std::move(totals);
    sum["dropped"] = std::move(fates);
    return result;
}

std::optional<MatchQuery> parseQuery(std::string_view line) {
    std::vector<std::string> words;
    for (std::size_t begin = 0; begin < line.size();) {
        const std::size_t end = std::min(line.find_first_of(" \t\r", begin), line.size());
        const std::string_view word = line.substr(begin, end - begin);
        if (!word.empty())
            words.push_back(word == "-" ? std::string() : upper(word));
        begin = end + 1;
    }
    if (words.size() < 2 || words.size() > 4 || (words.size() == 4 && words[3] != "CARGO"))
        return {};
    words.resize(4);
    return MatchQuery{words[0], words[1], words[2], words[3] == "CARGO"};
}

MatchAnswer answer(const MatchQuery& query) {
    AiAircraft aircraft;
    aircraft.callsign = "-"; // valid, and tells no airline
    aircraft.airline = query.airline;
    aircraft.model = query.model;
    aircraft.regcode = query.regcode;
    aircraft.cargo = query.cargo;
    if (!takeKnownModel(aircraft)) {
        return {0, "",
                query.model.empty() ? "no aircraft type is told, and the data base knows none"
                                    : fmt::format("\"{}\" is no known aircraft type", query.model)};
    }
    takeKnownIdentity(aircraft);
    aircraft.category = categoryOf(aircraft.model);
    MatchAnswer result;
    result.step = matchLive(aircraft);
    result.title = aircraft.title;
    static constexpr std::string_view found[] = {"",
                                                 "the registration is known",
                                                 "livery of the airline and type",
                                                 "livery of the airline for a similar type",
                                                 "generic livery of the type",
                                                 "the type under another airline",
                                                 "a similar type under another airline"};
    result.reason = result.step > 0 ? std::string(found[result.step]) : whyNone(aircraft);
    if (aircraft.airline != query.airline || aircraft.model != query.model || aircraft.cargo != query.cargo) {
        result.reason +=
            fmt::format(", taken as {} {}{}", aircraft.airline, aircraft.model, aircraft.cargo ? " cargo" : "");
    }
    return result;
}

} // namespace kes::inspect
