// SPDX-License-Identifier: MIT
// What the two kinds of file task share. Only for the readers of "aircraft.cfg".
#pragma once

#include "core/ai_aircraft.h"
#include "core/text.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/cfg_pick.h"

#include <optional>
#include <span>

namespace kes::cfg {

struct CfgLine {
    std::string_view text;
    std::uint8_t letters = 0; ///< of the keys that may stand in it; normal files
    bool isHeader = false;    ///< begins a section; set by `sectionNumbersAreGood`
    bool holdsReturn = false; ///< a carriage return that ends no line, maybe in a value; normal files
};

/// A file as lines. One per thread, so that its room is used again.
struct FileText {
    platform::FileBytes bytes;
    std::string converted;
    std::vector<CfgLine> lines; ///< of a normal file those alone that can say anything
    const char* end = nullptr;  ///< of the text that they are picked from
    Marks marks;                ///< scratch of the picking
    std::vector<std::uint32_t>
        brackets; ///< numbers of the lines that hold a '[', ascending: nothing else bounds a section
    std::vector<std::int32_t> numbers;        ///< of the sections; scratch of `sectionNumbersAreGood`
    std::optional<AircraftCategory> category; ///< of the file's model, once it was asked for
};
inline constexpr std::uint64_t longestCfg = 8 << 20; ///< bytes; the largest true ones have some hundred thousand
/// Reads the file of `result`; false when it cannot be read, which is logged, or is too long, which is reported.
bool readCfg(const CfgRules& rules, const CfgSource& source, CfgJudgement& result, FileText& text);

/// Section numbers run from 0 without a gap; anything else is told in the reports and fails the file.
bool sectionNumbersAreGood(CfgJudgement& result, FileText& text);
/// The code as a model of the reference data, put right where a fix is known; empty (and reported) when it is none.
std::string_view judgedModel(CfgJudgement& result, std::string_view code);

/// Without what the end of a section does not hold: empty lines and comments.
std::span<const CfgLine> withoutTrailingComments(std::span<const CfgLine> section);
/// The same where the lines are picked from a section whose text ends at `end`.
std::span<const CfgLine> withoutTrailingComments(std::span<const CfgLine> picked, const char* end);

/// Notes a section that gives no livery. A fate that its finder does not report itself becomes a line of `notUsed`.
void drop(CfgJudgement& result, std::string_view header, std::string_view title, SectionFate fate);
/// A line for one of the reports of the scan.
void report(CfgJudgement& result, ReportList list, std::string_view line);
/// The same for a line of these parts, without their making a text first.
void report(CfgJudgement& result, ReportList list, std::initializer_list<std::string_view> parts);

inline constexpr std::string_view silently = " ";
inline constexpr std::size_t shortestRegcode = 5, longestRegcode = 12; ///< characters
/// True for most of the lists that hold one registration: letters, digits and hyphens, not too many.
bool isPlainRegcode(std::string_view list);
/// What spoils a registration in both families: a wild card, a zero byte. Empty = nothing.
std::string commonRegcodeFault(const CfgJudgement& result, std::string_view header, std::string_view piece);

/// Titles of models that only their owner may fly, and of stubs; dropped silently.
bool isLeftOut(const CfgRules& rules, CfgJudgement& result, std::string_view header, std::string_view title);

/// The one registration of a comma list. Several stand for a whole fleet and give none, and so does a piece for which
/// `fault` has a line; that line is logged unless it is one blank.
template <class Fault>
std::string_view onlyRegcode(CfgJudgement& result, std::string_view header, std::string_view list, Fault&& fault) {
    if (isPlainRegcode(list))
        return list;
    list = withoutLast(list, ',');
    for (std::size_t begin = 0; begin <= list.size();) {
        const std::string_view piece = list.substr(begin, list.find(',', begin) - begin);
        begin += piece.size() + 1;
        std::string line = fault(piece);
        if (line.empty())
            line = commonRegcodeFault(result, header, piece);
        if (line.empty())
            continue;
        if (line != silently)
            result.log.push_back(std::move(line));
        return {};
    }
    return list.find(',') == std::string_view::npos ? list : std::string_view();
}

/// False for a title that cannot go to the simulator, which the reports tell.
bool titleIsUsable(CfgJudgement& result, std::string_view header, std::string_view title);

} // namespace kes::cfg
