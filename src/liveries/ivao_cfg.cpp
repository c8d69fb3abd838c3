// SPDX-License-Identifier: MIT
#include "liveries/ivao_cfg.h"

#include "core/codes.h"
#include "core/run_state.h"
#include "core/text.h"
#include "liveries/cfg_judge.h"
#include "liveries/cfg_line.h"
#include "platform/system.h"
#include "reference/reference.h"

#include <array>
#include <filesystem>
#include <fmt/format.h>

namespace kes {

namespace {

using namespace cfg;

constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);
constexpr std::size_t longestModel = 4;

bool isWordCharacter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

/// The word behind ".../<package>/SimObjects/Airplanes/IVAO_" when the path ends in it and in "/aircraft.cfg".
std::string_view modelFolder(std::string_view path, std::string_view package) {
    constexpr std::string_view file = "aircraft.cfg";
    if (path.size() <= file.size() || path[path.size() - file.size() - 1] != separator ||
        !equalsNoCase(path.substr(path.size() - file.size()), file))
        return {};
    path.remove_suffix(file.size() + 1);
    std::size_t begin = path.size();
    while (begin > 0 && isWordCharacter(path[begin - 1]))
        --begin;
    std::string_view word = path.substr(begin);
    path = path.substr(0, begin);
    constexpr std::string_view prefix = "IVAO_";
    if (word.size() <= prefix.size() || !equalsNoCase(word.substr(0, prefix.size()), prefix))
        return {};
    word.remove_prefix(prefix.size());
    for (const std::string_view folder :
         {std::string_view(), std::string_view("Airplanes"), std::string_view("SimObjects"), package}) {
        if (path.size() < folder.size() || !equalsNoCase(path.substr(path.size() - folder.size()), folder))
            return {};
        path.remove_suffix(folder.size());
        if (path.empty() || path.back() != separator)
            return {};
        path.remove_suffix(1);
    }
    // Something has to stand before the package.
    return path.empty() ? std::string_view() : word;
}

std::string_view modelFromPath(CfgJudgement& result) {
    for (const std::string_view package : {"IVAO_MTL", "ivao_x-csl"}) {
        const std::string_view word = modelFolder(result.path, package);
        if (!word.empty())
            return judgedModel(result, upper(word.substr(0, longestModel)));
    }
    report(result, &ScanReports::invalidModels, fmt::format("{:16} in {}", "  ", result.path));
    return {};
}

bool folderSharesModel(std::string_view folder) {
    for (const std::string_view part :
         {"IVAO_B738WLfa", "IVAO_B739WLfa", "IVAO_A320wCFM", "IVAO_A320wIAE", "IVAO_A319fIAEw"}) {
        if (folder.find(part) != std::string_view::npos)
            return true;
    }
    return false;
}

/// model + \s*(\w\w\w).*$ over the whole title, ignoring case; group 1, empty when the title does not match.
std::string_view airlineInTitle(std::string_view title, const std::string& model) {
    if (title.size() < model.size() || !equalsNoCase(title.substr(0, model.size()), model))
        return {};
    std::size_t at = model.size();
    while (at < title.size() && isSpace(title[at]))
        ++at;
    const std::string_view code = title.substr(at, 3);
    if (code.size() < 3 || !isWordCharacter(code[0]) || !isWordCharacter(code[1]) || !isWordCharacter(code[2]))
        return {};
    if (title.find_first_of("\r\n", at) != std::string_view::npos)
        return {};
    return code;
}

class IvaoSection {
public:
    IvaoSection(const CfgRules& rules, CfgJudgement& result, std::span<const CfgLine> lines)
        : rules_(rules), result_(result), header_(lines.front().text), lines_(lines) {}

    void read() {
        for (const auto& [line, letters, isHeader, holdsReturn] : withoutTrailingComments(lines_)) {
            if (!takeTitle(line) || !takeParkingTypes(line) || !takeAtcId(line))
                return;
            if (texture_.empty())
                texture_ = unquoted(keyValue(line, "texture").value_or(""));
        }
        finish();
    }

private:
    bool end(SectionFate fate) {
        drop(result_, header_, title_, fate);
        return false;
    }
    bool end(SectionFate fate, std::string_view what) {
        report(result_, &ScanReports::incompleteSections, fmt::format("{} {}{}", result_.path, header_, what));
        return end(fate);
    }

    bool takeTitle(std::string_view line) {
        const auto value = keyValue(line, "title");
        if (!value)
            return true;
        if (!title_.empty())
            return end(SectionFate::twoTitles, " has more than one title key");
        const std::string_view written = unquoted(*value);
        title_ = strip(written);
        if (title_.size() < written.size())
            result_.log.push_back(fmt::format("removed spaces around title \"{}\" --> \"{}\"", written, title_));
        return !isLeftOut(rules_, result_, header_, title_);
    }

    bool takeParkingTypes(std::string_view line) {
        if (parkingTypes_.empty()) {
            parkingTypes_ = unquoted(keyValue(line, "atc_parking_types").value_or(""));
            return true;
        }
        return line.find("atc_parking_types") == std::string_view::npos ||
               end(SectionFate::twoParkingTypes, " has more than one atc_parking_types key");
    }

    bool takeAtcId(std::string_view line) {
        if (!regcode_.empty()) {
            if (line.find("atc_id=") == std::string_view::npos)
                return true;
            report(result_, &ScanReports::incompleteSections,
                   fmt::format("{}, {}, has more than one atc_id key", result_.folder, header_));
            return end(SectionFate::twoAtcIds);
        }
        const std::string_view value = unquoted(keyValue(line, "atc_id").value_or(""));
        if (value.size() >= shortestRegcode)
            regcode_ = regcodeOf(value);
        return true;
    }

    std::string_view regcodeOf(std::string_view value) {
        return onlyRegcode(result_, header_, value, [this](std::string_view piece) -> std::string {
            if (piece.empty())
                return fmt::format(" empty regcode in: {}", title_);
            if (piece.size() > longestRegcode)
                return fmt::format("regcode: {}, has more than 12 chars in title: {}", piece, title_);
            return std::string(piece == "G-BAFM" ? silently : ""); // stands in place of an unknown one
        });
    }

    void finish() {
        const std::string textureFolder = fmt::format("{}{}texture.{}", result_.folder, separator, texture_);
        std::error_code error;
        if (!std::filesystem::exists(platform::pathFrom(textureFolder), error)) {
            end(SectionFate::noTexture, " does not exist");
            return;
        }
        if (title_.empty()) {
            end(SectionFate::noTitle, " misses title");
            return;
        }
        if (rules_.dontUse && rules_.dontUse->contains(title_)) {
            end(SectionFate::dontUse);
            return;
        }
        if (!titleIsUsable(result_, header_, title_) || !findAirline())
            return;
        FoundLivery& found = result_.liveries.emplace_back();
        found.header = result_.texts.put(header_);
        found.airline = result_.texts.put(airline_);
        found.model = result_.model;
        found.title = result_.texts.put(title_);
        found.regcode = result_.texts.put(regcode_);
        found.priority = rules_.folderNumber;
    }

    bool findAirline() {
        airline_ =
            airlineInTitle(title_, fmt::format("{}{}", result_.model, folderSharesModel(result_.folder) ? "W" : ""));
        if (!airline_.empty()) {
            if (!airlineExists(airline_)) {
                report(result_, &ScanReports::invalidAirlines,
                       fmt::format("{:12} in {} {}", airline_, result_.path, header_));
                return end(SectionFate::unknownAirline);
            }
            if (airline_ == genericAirline)
                regcode_ = {};
            return true;
        }
        if (!regcode_.empty()) {
            if (const auto record = lookupRegcode(regcode_))
                airline_ = record->airl;
        }
        if (!airline_.empty())
            return true;
        const std::string told = fmt::format(" misses airlinecode in title: {}", title_);
        if (regcode_.empty())
            return end(SectionFate::noRegcode, told + ", and no regcode");
        return end(SectionFate::unknownRegcode, fmt::format("{}, and regcode unknown{}", told, regcode_));
    }

    const CfgRules& rules_;
    CfgJudgement& result_;
    std::string_view header_;
    std::span<const CfgLine> lines_;
    std::string_view title_, parkingTypes_, texture_, regcode_;
    std::string airline_;
};

void processSection(const CfgRules& rules, CfgJudgement& result, std::span<const CfgLine> lines) {
    try {
        IvaoSection(rules, result, lines).read();
    } catch (const std::exception& e) {
        result.log.push_back(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), result.path));
        drop(result, lines.front().text, "", SectionFate::failed);
    }
}

} // namespace

bool isIvaoPath(std::string_view path) {
    // Both names hold the rare '_' behind four letters.
    for (std::size_t at = path.find('_', 4); at < path.size(); at = path.find('_', at + 1)) {
        const std::string_view found = path.substr(at - 4);
        if (found.starts_with("ivao_x-csl") || found.starts_with("IVAO_MTL"))
            return true;
    }
    return false;
}

void lf_searchLiveriesinIvaoFile(const CfgRules& rules, const CfgSource& source, CfgJudgement& result) {
    result.fate = FileFate::noModel;
    result.model = modelFromPath(result);
    if (result.model.empty())
        return;
    result.fate = FileFate::unreadable;
    thread_local FileText text;
    if (!readCfg(rules, source, result, text) || !sectionNumbersAreGood(result, text))
        return;
    result.fate = FileFate::sectionsRead;
    const std::span<const CfgLine> lines = text.lines;
    std::optional<std::size_t> begin;
    for (const std::uint32_t number : text.brackets) {
        if (stopWanted())
            return;
        if (begin)
            processSection(rules, result, lines.subspan(*begin, number - *begin));
        begin = lines[number].isHeader ? std::optional<std::size_t>(number) : std::nullopt;
    }
    if (begin)
        processSection(rules, result, lines.subspan(*begin));
}

} // namespace kes
