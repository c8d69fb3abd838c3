// SPDX-License-Identifier: MIT
#include "liveries/cfg_judge.h"

#include "core/text.h"
#include "liveries/cfg_line.h"
#include "platform/file.h"
#include "reference/reference.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fmt/format.h>
#include <span>

namespace kes::cfg {

namespace {

void cutLines(std::string_view text, FileText& out) {
    std::size_t bracket = text.find('[');
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t feed = std::min(text.find('\n', begin), text.size());
        const std::size_t end = feed > begin && text[feed - 1] == '\r' ? feed - 1 : feed;
        if (bracket < end) {
            out.brackets.push_back(static_cast<std::uint32_t>(out.lines.size()));
            bracket = text.find('[', end);
        }
        out.lines.push_back({text.substr(begin, end - begin)});
        begin = feed + 1;
    }
}

/// The line around a mark with these letters, and the line feed that ends it, or the end of the text.
const char* lineAround(const char* mark, std::uint8_t letters, const char* least, const char* end, CfgLine& line) {
    const char* begin = mark - bytesBefore(letters);
    if (begin <= least || begin[-1] != '\n') { // mostly a key begins its line
        begin = mark;
        while (begin > least && begin[-1] != '\n')
            --begin;
    }
    const char* stop = findByte(mark, end, '\r', '\n');
    const char* feed = stop;
    if (stop < end && *stop == '\r') {
        feed = stop + 1;
        if (feed < end && *feed != '\n') { // one that ends no line
            line.holdsReturn = true;
            feed = findByte(feed, end, '\n', '\n');
            stop = feed[-1] == '\r' ? feed - 1 : feed;
        }
    }
    line.text = std::string_view(begin, static_cast<std::size_t>(stop - begin));
    return feed;
}

/// Nine lines of ten say nothing to a scan; only the others become lines.
void pickLines(std::string_view text, FileText& out) {
    findMarks(text, out.marks);
    const char* const end = text.data() + text.size();
    const char* picked = text.data(); // up to here
    for (std::size_t i = 0; i < out.marks.count; ++i) {
        const char* const mark = text.data() + out.marks.at[i];
        const std::uint8_t letters = out.marks.letters[i];
        if (mark >= picked)
            picked = lineAround(mark, letters, picked, end, out.lines.emplace_back());
        out.lines.back().letters |= letters;
        const auto number = static_cast<std::uint32_t>(out.lines.size() - 1);
        if (letters == bracketLetters && (out.brackets.empty() || out.brackets.back() != number))
            out.brackets.push_back(number);
    }
}

/// Fates that none of the other reports tells.
bool isSilent(SectionFate fate) {
    return fate <= SectionFate::blockedAirline || fate == SectionFate::failed;
}

} // namespace

bool readCfg(const CfgRules& rules, const CfgSource& source, CfgJudgement& result, FileText& text) {
    int error = 0;
    if (source.bytes)
        text.bytes.assign(*source.bytes);
    else if (source.folder)
        error = source.folder->read(source.name, source.isRegular, text.bytes, longestCfg);
    else
        error = platform::readFile(std::string(result.path), text.bytes, longestCfg);
    if (error != 0) {
        if (error == ENOENT)
            return false; // it went away since the walk saw it
        if (error == EFBIG) {
            report(result, &ScanReports::invalidCfgFiles,
                   fmt::format("{} has more than {} bytes, skipped", result.path, longestCfg));
            return false;
        }
        result.log.push_back(fmt::format("cannot open file {} for character encoding, err: {}", result.path,
                                         platform::errorText(error)));
        if (result.ivao)
            result.log.push_back(fmt::format("no character set found for {}", result.path));
        return false;
    }
    std::string_view decoded = decodeCfg(text.bytes.view(), text.converted, result.charset);
    if (decoded.data() == text.converted.data()) {
        text.bytes.assign(decoded); // which has zero bytes around
        decoded = text.bytes.view();
    }
    if (rules.countLines)
        result.lines = static_cast<std::size_t>(std::count(decoded.begin(), decoded.end(), '\n')) +
                       (decoded.empty() || decoded.back() == '\n' ? 0 : 1);
    text.lines.clear();
    text.brackets.clear();
    text.end = decoded.data() + decoded.size();
    if (result.ivao)
        cutLines(decoded, text);
    else
        pickLines(decoded, text);
    return true;
}

bool sectionNumbersAreGood(CfgJudgement& result, FileText& text) {
    result.fate = FileFate::badNumbers;
    constexpr std::int32_t withoutNumber = 10000;
    text.numbers.clear();
    bool ascending = true;
    for (const std::uint32_t number : text.brackets) {
        const std::string_view line = text.lines[number].text;
        if (line.starts_with("//"))
            continue;
        const std::string_view digits = headerDigits(line);
        if (!digits.empty()) {
            std::int32_t value = 0;
            if (std::from_chars(digits.data(), digits.data() + digits.size(), value).ec != std::errc()) {
                result.log.push_back(fmt::format("fltsim num {} incorrect", digits));
                return false;
            }
            ascending = ascending && (text.numbers.empty() || text.numbers.back() <= value);
            text.numbers.push_back(value);
            text.lines[number].isHeader = true;
        } else if (line.find("[fltsim.") != std::string_view::npos || line.find("[FLTSIM.") != std::string_view::npos) {
            ascending = ascending && (text.numbers.empty() || text.numbers.back() <= withoutNumber);
            text.numbers.push_back(withoutNumber);
        }
    }
    result.sections = text.numbers.size();
    if (text.numbers.empty()) {
        result.fate = FileFate::noSections;
        report(result, &ScanReports::emptyCfgFiles, result.path);
        return false;
    }
    if (!ascending)
        std::sort(text.numbers.begin(), text.numbers.end());
    std::int32_t expected = 0;
    for (const std::int32_t found : text.numbers) {
        if (found == expected++)
            continue;
        report(result, &ScanReports::invalidCfgFiles,
               found == withoutNumber
                   ? fmt::format("{} contains a [fltsim.] section without a number", result.path)
                   : fmt::format("{} contains non-consecutive [fltsim.x] numbers at .x={}", result.path, found));
        return false;
    }
    return true;
}

std::string_view judgedModel(CfgJudgement& result, std::string_view code) {
    if (modelExists(code))
        return result.texts.put(code);
    if (const std::string* correct = find(referenceData().modelFixes, code)) {
        report(result, &ScanReports::modelFixLines,
               fmt::format("Model fix: {} found in {} changed into {}", code, result.path, *correct));
        return result.texts.put(*correct);
    }
    report(result, &ScanReports::invalidModels, fmt::format("{:16} in {}", code, result.path));
    return {};
}

void drop(CfgJudgement& result, std::string_view header, std::string_view title, SectionFate fate) {
    result.dropped.push_back({result.texts.put(header), result.texts.put(title), fate});
    if (!isSilent(fate))
        return;
    if (title.empty())
        report(result, &ScanReports::notUsed, {result.path, " ", header, ": ", words(fate)});
    else
        report(result, &ScanReports::notUsed, {result.path, " ", header, " \"", title, "\": ", words(fate)});
}

void report(CfgJudgement& result, ReportList list, std::string_view line) {
    result.reports.emplace_back(list, result.texts.put(line));
}

void report(CfgJudgement& result, ReportList list, std::initializer_list<std::string_view> parts) {
    result.reports.emplace_back(list, result.texts.join(parts));
}

std::span<const CfgLine> withoutTrailingComments(std::span<const CfgLine> section) {
    while (!section.empty() && (section.back().text.empty() || section.back().text.starts_with("//")))
        section = section.first(section.size() - 1);
    return section;
}

std::span<const CfgLine> withoutTrailingComments(std::span<const CfgLine> picked, const char* end) {
    const auto onlyComments = [](std::string_view behind) {
        while (!behind.empty()) {
            const std::size_t feed = std::min(behind.find('\n'), behind.size());
            const std::string_view line = behind.substr(0, feed);
            if (!line.empty() && line != "\r" && !line.starts_with("//"))
                return false;
            behind.remove_prefix(std::min(feed + 1, behind.size()));
        }
        return true;
    };
    // What is no comment itself ends the search, and so does what was not picked.
    while (!picked.empty() && picked.back().text.starts_with("//")) {
        const std::string_view last = picked.back().text;
        const char* const behind = last.data() + last.size();
        if (!onlyComments(std::string_view(behind, static_cast<std::size_t>(end - behind))))
            break;
        end = last.data();
        picked = picked.first(picked.size() - 1);
    }
    return picked;
}

bool isPlainRegcode(std::string_view list) {
    static constexpr auto isPlain = [] {
        std::array<bool, 256> table{};
        for (const char c : std::string_view("0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ-"))
            table[static_cast<unsigned char>(c)] = true;
        return table;
    }();
    return !list.empty() && list.size() <= longestRegcode && list != "G-BAFM" &&
           std::all_of(list.begin(), list.end(), [](char c) { return isPlain[static_cast<unsigned char>(c)]; });
}

std::string commonRegcodeFault(const CfgJudgement& result, std::string_view header, std::string_view piece) {
    if (piece.find('*') != std::string_view::npos)
        return fmt::format("{} {} wild cards no longer supported, atc_id skipped ", result.folder, header);
    if (piece.find('\0') != std::string_view::npos)
        return fmt::format("regcode with a zero byte in {} {}", result.folder, header);
    return {};
}

bool isLeftOut(const CfgRules& rules, CfgJudgement& result, std::string_view header, std::string_view title) {
    const bool payware =
        title.find("FenixA320") != std::string_view::npos || title.find("PMDG 737") != std::string_view::npos;
    const bool stub = rules.suppressStub && title.ends_with("-STUB");
    if (payware || stub)
        drop(result, header, title, payware ? SectionFate::payware : SectionFate::stub);
    return payware || stub;
}

bool titleIsUsable(CfgJudgement& result, std::string_view header, std::string_view title) {
    if (title.find('\0') == std::string_view::npos)
        return true;
    report(result, &ScanReports::incompleteSections,
           fmt::format("{} {} has a title with a zero byte, which the simulator cannot take", result.folder, header));
    drop(result, header, title, SectionFate::titleNotUsable);
    return false;
}

} // namespace kes::cfg
