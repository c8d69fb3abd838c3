// SPDX-License-Identifier: MIT
#include "liveries/scan_summary.h"

#include "core/text.h"

#include <filesystem>
#include <fmt/format.h>

namespace kes {

namespace {

std::string counted(std::size_t n, std::string_view one, std::string_view many) {
    return fmt::format("{} {}", n, n == 1 ? one : many);
}

/// The last folder of a path.
std::string_view folderName(std::string_view path) {
    constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    while (path.size() > 1 && (path.back() == separator || path.back() == '/'))
        path.remove_suffix(1);
    const std::size_t at = path.find_last_of(separator == '/' ? "/" : "\\/");
    return at == std::string_view::npos || at + 1 == path.size() ? path : path.substr(at + 1);
}

} // namespace

void FolderSummary::add(const CfgJudgement& judgement, std::size_t newLiveries) {
    ++files;
    liveries += newLiveries;
    switch (judgement.fate) {
    case FileFate::unreadable:
    case FileFate::failed:
        ++unreadable;
        return;
    case FileFate::noSections:
        ++withoutSections;
        return;
    case FileFate::badNumbers:
        ++badNumbers;
        return;
    case FileFate::noModel:
        ++withoutModel;
        return;
    case FileFate::sectionsRead:
        break;
    }
    for (const DroppedSection& dropped : judgement.dropped) {
        switch (dropped.fate) {
        case SectionFate::unknownRegcode:
        case SectionFate::noRegcode:
        case SectionFate::unknownAirline:
            ++withoutAirline;
            break;
        case SectionFate::stub:
        case SectionFate::payware:
        case SectionFate::dontUse:
        case SectionFate::blockedAirline:
            ++leftOut;
            break;
        default:
            ++incomplete;
        }
    }
}

std::string whyNoLivery(const FolderSummary& folder) {
    if (folder.files == 0) {
        return fmt::format(
            "No livery in \"{}\": there is no aircraft.cfg in it{}. Name a folder that holds packages with "
            "AI aircraft",
            folder.path,
            folder.closedFolders == 0 ? ""
                                      : fmt::format(" ({} of airports and other scenery not looked into)",
                                                    counted(folder.closedFolders, "folder", "folders")));
    }
    std::string reasons;
    const auto add = [&](std::size_t n, std::string_view one, std::string_view many) {
        if (n > 0)
            reasons += (reasons.empty() ? "" : ", ") + counted(n, one, many);
    };
    add(folder.withoutSections, "file has no [fltsim] section", "files have no [fltsim] section");
    add(folder.badNumbers, "file has wrong section numbers", "files have wrong section numbers");
    add(folder.withoutModel, "file names no known aircraft type", "files name no known aircraft type");
    add(folder.unreadable, "file could not be read", "files could not be read");
    add(folder.withoutAirline, "section tells no airline", "sections tell no airline");
    add(folder.incomplete, "section is incomplete", "sections are incomplete");
    add(folder.leftOut, "section is not meant for AI traffic", "sections are not meant for AI traffic");
    add(folder.repeatedTitles, "title was found before", "titles were found before");
    return fmt::format("No livery in \"{}\": {} read, {}", folder.path,
                       counted(folder.files, "aircraft.cfg", "aircraft.cfg files"),
                       reasons.empty() ? "none has a section that can be used" : reasons);
}

std::string foundLiveries(std::size_t total, std::span<const FolderSummary> folders) {
    const auto n = static_cast<std::int64_t>(total);
    std::string text = fmt::format("{} liverie{} ready", n, plural(n));
    bool first = true;
    for (const FolderSummary& folder : folders) {
        text += fmt::format("{}{} in {}", first ? ": " : ", ", folder.liveries, folderName(folder.path));
        first = false;
    }
    return text;
}

} // namespace kes
