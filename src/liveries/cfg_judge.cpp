// Reading a file as lines, its character set, and the checks on its section numbers and its model.
#include "liveries/cfg_judge.h"

#include "core/text.h"
#include "core/text_encoding.h"
#include "liveries/cfg_line.h"
#include "platform/file.h"
#include "reference/reference.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fmt/format.h>
#include <span>

namespace kes {

namespace {

void cutLines(std::string_view text, cfg::FileText& out) {
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
const char* lineAround(const char* mark, std::uint8_t letters, const char* least, const char* end, cfg::CfgLine& line) {
    const char* begin = mark - cfg::bytesBefore(letters);
    if (begin <= least || begin[-1] != '\n') { // mostly a key begins its line
        begin = mark;
        while (begin > least && begin[-1] != '\n')
            --begin;
    }
    const char* stop = cfg::findByte(mark, end, '\r', '\n');
    const char* feed = stop;
    if (stop < end && *stop == '\r') {
        feed = stop + 1;
        if (feed < end && *feed != '\n') { // one that ends no line
            line.holdsReturn = true;
            feed = cfg::findByte(feed, end, '\n', '\n');
            stop = feed[-1] == '\r' ? feed - 1 : feed;
        }
    }
    line.text = std::string_view(begin, static_cast<std::size_t>(stop - begin));
    return feed;
}

/// Nine lines of ten say nothing to a scan; only the others become lines. The number of all.
std::size_t pickLines(std::string_view text, cfg::FileText& out) {
    cfg::findMarks<platform::Bytes16>(text, out.marks);
    const char* const end = text.data() + text.size();
    const char* picked = text.data(); // up to here
    for (std::size_t i = 0; i < out.marks.count; ++i) {
        const char* const mark = text.data() + out.marks.at[i];
        const std::uint8_t letters = out.marks.letters[i];
        if (mark >= picked)
            picked = lineAround(mark, letters, picked, end, out.lines.emplace_back());
        out.lines.back().letters |= letters;
        const auto number = static_cast<std::uint32_t>(out.lines.size() - 1);
        if (letters == 0 && (out.brackets.empty() || out.brackets.back() != number))
            out.brackets.push_back(number);
    }
    return out.marks.feeds + (text.empty() || text.back() == '\n' ? 0 : 1);
}

struct FateText {
    std::string_view name, words;
};
// In the order of their enumerations.
constexpr FateText sectionFates[] = {
    {"stub", "a stub, left out while SUPPRESS_STUB is on"},
    {"payware", "an add-on for its owner's own flights, not for AI traffic"},
    {"dontUse", "a regcode file forbids this title"},
    {"blockedAirline", "its airline code RFO is never shown"},
    {"twoTitles", "more than one title key"},
    {"twoAirlines", "more than one icao_airline key"},
    {"twoParkingTypes", "more than one atc_parking_types key"},
    {"twoAtcIds", "more than one atc_id key"},
    {"noTitle", "no title"},
    {"titleNotUsable", "a zero byte in the title, which cannot reach the simulator"},
    {"unknownRegcode", "no airline, and a registration that tells none"},
    {"noRegcode", "neither airline nor registration"},
    {"noTexture", "its texture folder is missing"},
    {"titleExists", "the title was found before"},
    {"unknownAirline", "the airline code in its title is none"},
    {"failed", "could not be judged, see the log"},
};
constexpr FateText fileFates[] = {
    {"unreadable", "could not be read"},
    {"noSections", "no [fltsim.x] section"},
    {"badNumbers", "section numbers that do not run 0, 1, 2 and so on"},
    {"noModel", "no known aircraft type"},
    {"sectionsRead", ""},
    {"failed", "could not be judged, see the log"},
};

template <class Fate, std::size_t N> FateText textsOf(Fate fate, const FateText (&texts)[N]) {
    const auto at = static_cast<std::size_t>(fate);
    return at < N ? texts[at] : FateText();
}

/// Fates that none of the other reports tells.
bool isSilent(SectionFate fate) {
    return fate <= SectionFate::blockedAirline || fate == SectionFate::failed;
}

} // namespace

std::string_view text(SectionFate fate) {
    return textsOf(fate, sectionFates).name;
}

std::string_view words(SectionFate fate) {
    return textsOf(fate, sectionFates).words;
}

std::string_view text(FileFate fate) {
    return textsOf(fate, fileFates).name;
}

std::string_view words(FileFate fate) {
    return textsOf(fate, fileFates).words;
}

std::string_view decodeCfg(std::string_view bytes, std::string& converted, std::string_view& charset) {
    // Two bytes tell the character set here; the third byte of a mark is never looked at.
    if (bytes.starts_with("\xEF\xBB")) {
        charset = "utf-8-bom";
        return bytes.substr(std::min<std::size_t>(3, bytes.size()));
    }
    const TextMark mark = markOf(bytes);
    charset = mark == TextMark::utf16Big ? "utf-16-be" : mark == TextMark::utf16Little ? "utf-16-le" : "plain";
    return decodeText(bytes, converted);
}

namespace cfg {

bool readCfg(const CfgSource& source, CfgJudgement& result, FileText& text) {
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
    text.lines.clear();
    text.brackets.clear();
    text.end = decoded.data() + decoded.size();
    if (result.ivao)
        cutLines(decoded, text);
    result.lines = result.ivao ? text.lines.size() : pickLines(decoded, text);
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
    return !list.empty() && list.size() <= longestRegcode && list != "G-BAFM" &&
           std::all_of(list.begin(), list.end(), [](char c) {
               return (c >= '0' && c <= '9') || ((c | ' ') >= 'a' && (c | ' ') <= 'z') || c == '-';
           });
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

} // namespace cfg

void CfgJudgement::clear() {
    path = folder = model = charset = {};
    ivao = false;
    fate = FileFate::unreadable;
    lines = sections = 0;
    liveries.clear();
    dropped.clear();
    reports.clear();
    log.clear();
    texts.clear();
}

Livery liveryOf(const FoundLivery& found) {
    return {std::string(found.airline), std::string(found.model), std::string(found.title),
            std::string(found.regcode), found.priority,           found.cargo};
}

void judgeFile(const CfgRules& rules, std::string_view path, const CfgSource& source, CfgJudgement& result) {
    result.clear();
    result.path = result.texts.put(path);
    result.ivao = isIvaoPath(path);
    constexpr char separator = static_cast<char>(std::filesystem::path::preferred_separator);
    result.folder = result.path.substr(0, result.path.rfind(separator));
    const char* const task = result.ivao ? "lf_searchLiveriesinIvaoFile" : "lf_searchLiveriesinFile";
    try {
        (result.ivao ? lf_searchLiveriesinIvaoFile : lf_searchLiveriesinFile)(rules, source, result);
    } catch (const std::exception& e) {
        result.liveries.clear();
        result.dropped.clear();
        result.reports.clear();
        result.fate = FileFate::failed;
        result.log.push_back(fmt::format("exception in {} {}: {}", task, path, e.what()));
    }
    if (result.fate != FileFate::sectionsRead && result.reports.empty())
        cfg::report(result, &ScanReports::notUsed, {path, ": ", words(result.fate)});
}

CfgJudgement judgeFile(const CfgRules& rules, std::string_view path, const CfgSource& source) {
    CfgJudgement result;
    judgeFile(rules, path, source, result);
    return result;
}

} // namespace kes
