// SPDX-License-Identifier: MIT
// What one "aircraft.cfg" gives a scan: its liveries, and lines for the reports and the log. A file is judged on any
// thread; it touches nothing shared but the reference data, which does not change meanwhile. Titles are made unique
// later, in the order of the walk.
#pragma once

#include "core/text_block.h"
#include "liveries/livery.h"
#include "liveries/scan_reports.h"
#include "platform/file.h"
#include "reference/text_map.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace kes {

/// Why a section became no livery, and the report that tells it.
enum class SectionFate : std::uint8_t {
    stub,           ///< notUsed, as the next three: a title that ends in "-STUB"
    payware,        ///< a model that only its owner may fly
    dontUse,        ///< a regcode file forbids the title
    blockedAirline, ///< an airline that is never shown
    twoTitles,      ///< incompleteSections, as all below
    twoAirlines,
    twoParkingTypes,
    twoAtcIds,
    noTitle,
    titleNotUsable,
    unknownRegcode, ///< no airline, and no registration that tells one
    noRegcode,      ///< no airline, no registration
    noTexture,
    titleExists,
    unknownAirline, ///< invalidAirlines
    failed,         ///< notUsed
};
std::string_view text(SectionFate fate);  ///< the enumerator's name; empty for another value
std::string_view words(SectionFate fate); ///< for a person

/// How far the reading of a file came. A report tells all but the good one.
enum class FileFate : std::uint8_t { unreadable, noSections, badNumbers, noModel, sectionsRead, failed };
std::string_view text(FileFate fate);  ///< the enumerator's name; empty for another value
std::string_view words(FileFate fate); ///< for a person

/// A livery of a file; as in `Livery`. All texts are the judgement's.
struct FoundLivery {
    std::string_view airline, model, title, regcode;
    std::string_view header; ///< the section's first line, for messages
    std::int32_t priority = 0;
    bool cargo = false;
};
struct DroppedSection {
    std::string_view header, title;
    SectionFate fate;
};

/// The texts are valid until `clear`, wherever the judgement is moved to.
struct CfgJudgement {
    std::string_view path, folder, model;
    std::string_view charset; ///< "utf-16-le", "utf-16-be", "utf-8-bom", "plain"; empty = not read
    bool ivao = false;
    FileFate fate = FileFate::unreadable;
    std::size_t lines = 0; ///< only where the rules want them counted
    std::size_t sections = 0;
    std::vector<FoundLivery> liveries;
    std::vector<DroppedSection> dropped;
    std::vector<std::pair<ReportList, std::string_view>> reports; ///< in the order in which they arose
    std::vector<std::string> log;
    TextBlock texts; ///< holds them all
    /// As a fresh one, with the room of the last file.
    void clear();
};
/// A copy, which needs the judgement no longer.
Livery liveryOf(const FoundLivery& found);

/// What the judgement of a file depends on besides the reference data.
struct CfgRules {
    int folderNumber = 1; ///< becomes the priority
    bool suppressStub = true;
    bool countLines = false;          ///< for a tool's report; a scan needs no number
    const TextSet* dontUse = nullptr; ///< titles that must not become records; null = none
};

/// Where the bytes of a file come from besides its path.
struct CfgSource {
    const std::string* bytes = nullptr;       ///< the bytes themselves; the file need not exist
    const platform::Folder* folder = nullptr; ///< its open folder, so that it is found without a walk along the path
    const char* name = nullptr;               ///< the file in `folder`
    bool isRegular = false;                   ///< it was a regular file, and no link, a moment ago
};

/// Judges the file at a path, normal or of the other family by `isIvaoPath`. `result` may be of another file before.
/// Throws nothing but std::bad_alloc.
void judgeFile(const CfgRules& rules, std::string_view path, const CfgSource& source, CfgJudgement& result);
CfgJudgement judgeFile(const CfgRules& rules, std::string_view path, const CfgSource& source = {});

/// A title was seen before: the line for the report `incompleteSections`.
std::string repeatedTitleLine(const CfgJudgement& judgement, const FoundLivery& found);

/// The task for a normal file; throws only what the standard library throws. The other family's: ivao_cfg.h.
void lf_searchLiveriesinFile(const CfgRules& rules, const CfgSource& source, CfgJudgement& result);

/// The bytes of a file as UTF-8 text. 16-bit text with a mark is converted, broken pairs and a lone last byte become
/// U+FFFD; a mark is dropped. `charset` receives one of the names in `CfgJudgement`. The view is into `bytes` or
/// `converted`.
std::string_view decodeCfg(std::string_view bytes, std::string& converted, std::string_view& charset);

} // namespace kes
