// What the two kinds of file task share. Only for the readers of "aircraft.cfg".
#pragma once

#include "liveries/aircraft_cfg.h"

#include <optional>
#include <span>

namespace kes::cfg {

/// A file as lines. One per thread, so that its room is used again.
struct FileText {
    std::string bytes, converted;
    std::vector<std::string_view> lines;
    std::vector<std::uint32_t>
        brackets; ///< numbers of the lines that hold a '[', ascending: nothing else bounds a section
    std::vector<std::int32_t> numbers; ///< of the sections; scratch of `sectionNumbersAreGood`
};
/// Reads the file of `result`; false when it cannot be read, which is logged.
bool readCfg(CfgJudgement& result, FileText& text);

/// Section numbers run from 0 without a gap; anything else is told in the reports and fails the file.
bool sectionNumbersAreGood(CfgJudgement& result, FileText& text);
/// True for a line that begins a section.
bool isHeader(std::string_view line);

/// The code as a model of the reference data, put right where a fix is known; empty (and reported) when it is none.
std::string judgedModel(CfgJudgement& result, std::string_view code);

/// Without what the end of a section does not hold: empty lines and comments.
std::span<const std::string_view> withoutTrailingComments(std::span<const std::string_view> section);

void drop(CfgJudgement& result, std::string_view header, std::string_view title, SectionFate fate);
void report(CfgJudgement& result, ReportList list, std::string line);

/// A title that cannot go to the simulator, told in the reports.
bool titleIsUsable(CfgJudgement& result, std::string_view header, std::string_view title);

} // namespace kes::cfg
