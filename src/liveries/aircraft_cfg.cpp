// SPDX-License-Identifier: MIT
#include "liveries/aircraft_cfg.h"

#include "core/codes.h"
#include "core/run_state.h"
#include "core/text.h"
#include "core/text_encoding.h"
#include "liveries/cfg_judge.h"
#include "liveries/cfg_line.h"
#include "liveries/ivao_cfg.h"
#include "reference/reference.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fmt/format.h>

namespace kes {

namespace {

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

using namespace cfg;

struct StockModel {
    std::string_view name, code;
};

/// The simulator's own aircraft, which liveries name as their base.
constexpr std::array stockModels{
    StockModel{"Asobo_FlightDesignCT", "FDCT"},
    StockModel{"Asobo_Longitude", "C700"},
    StockModel{"Asobo_VL3", "VL3"},
    StockModel{"Asobo_Savage_Cub", "SAVG"},
    StockModel{"Asobo_Savage_ShockUltra", "SAVG"},
    StockModel{"Asobo_XCub", "CC19"},
    StockModel{"Asobo_Pitts", "PTS2"},
    StockModel{"Asobo_SR22", "SR22"},
    StockModel{"Asobo_Icon", "A5"},
    StockModel{"Asobo_TBM930", "TBM9"},
    StockModel{"Asobo_KingAir350", "B350"},
    StockModel{"Asobo_E330", "E300"},
    StockModel{"Asobo_DV20", "DV20"},
    StockModel{"Asobo_DR400", "DR40"},
    StockModel{"Asobo_DA62", "DA62"},
    StockModel{"Asobo_DA40_TDI", "DA40"},
    StockModel{"Asobo_DA40_NG", "DA40"},
    StockModel{"Asobo_Cap10C", "CP10"},
    StockModel{"Asobo_CJ4", "C25C"},
    StockModel{"Asobo_C152", "C152"},
    StockModel{"Asobo_C152_Aerobat", "C152"},
    StockModel{"Asobo_C172sp_AS1000", "C172"},
    StockModel{"Asobo_C172sp_classic", "C172"},
    StockModel{"Asobo_Bonanza_G36", "BE36"},
    StockModel{"Asobo_Baron_G58", "B58T"},
    StockModel{"Asobo_B747_8i", "B748"},
    StockModel{"Asobo_B787_10", "B78X"},
    StockModel{"Asobo_208B_GRAND_CARAVAN_EX", "C208"},
    StockModel{"Asobo_A320_NEO", "A20N"},
    StockModel{"FlyByWire_A320_NEO", "A20N"},
};

constexpr std::size_t longestModel = 4;

std::string_view stockModel(std::string_view baseContainer) {
    // The value begins with "..\".
    const std::string_view name = baseContainer.substr(std::min<std::size_t>(3, baseContainer.size()));
    for (const StockModel& stock : stockModels) {
        if (stock.name == name)
            return stock.code;
    }
    return {};
}

namespace keys {
constexpr KeyWord atcId("atc_id"), atcParkingTypes("atc_parking_types"), baseContainer("base_container"),
    icaoAirline("icao_airline"), icaoTypeDesignator("icao_type_designator"), title("title");
}

/// `keyValue` for a line of the file's text. Behind its end stands a line feed, a carriage return or a zero byte, so
/// that no key reaches beyond.
[[gnu::always_inline]] inline std::string_view valueOf(const CfgLine& line, const KeyWord& key) {
    const std::size_t at = behindSpace(line.text, 0);
    if (!key.standsAt(line.text.data() + at))
        return {};
    const std::string_view value = valueBehind(line.text, at + key.size);
    return line.holdsReturn && value.find('\r') != std::string_view::npos ? std::string_view() : value;
}

/// The same as the function for all texts, for a piece of a file's.
[[gnu::always_inline]] inline std::string_view unquotedPiece(std::string_view value) {
    const char* const end = value.data() + value.size();
    const char* const first = findByte(value.data(), end, '"', '"');
    if (first == end)
        return value;
    const char* const next = findByte(first + 1, end, '"', '"');
    return next == end ? std::string_view() : std::string_view(first + 1, static_cast<std::size_t>(next - first - 1));
}

std::string_view findModel(CfgJudgement& result, const FileText& text) {
    for (const CfgLine& line : text.lines) {
        if ((line.letters & typeLetters) == 0)
            continue;
        const std::string_view code = unquotedPiece(valueOf(line, keys::icaoTypeDesignator));
        if (!code.empty())
            return judgedModel(result, upper(code.substr(0, longestModel)));
    }
    for (const CfgLine& line : text.lines) {
        if ((line.letters & baseContainerLetters) == 0)
            continue;
        const std::string_view code = stockModel(unquotedPiece(valueOf(line, keys::baseContainer)));
        if (code.empty())
            continue;
        const std::string_view model = judgedModel(result, upper(code));
        if (!model.empty())
            return model;
    }
    for (const char* payware : {"pmdg-aircraft-7", "fnx-aircraft-3"}) {
        if (result.path.find(payware) != std::string_view::npos) {
            report(result, &ScanReports::notUsed, fmt::format("{}: {}", result.path, words(SectionFate::payware)));
            return {};
        }
    }
    report(result, &ScanReports::invalidCfgFiles,
           fmt::format("Line icao_type_designator= is missing in [General] section of {}", result.path));
    return {};
}

/// The keys that must not stand twice are told from a second one by their name alone, wherever it stands in a line.
bool holds(std::string_view line, std::string_view name) {
    return line.find(name) != std::string_view::npos;
}

/// `word` is in upper case.
bool holdsNoCase(std::string_view text, std::string_view word) {
    for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
        if ((text[at] | ' ') == (word[0] | ' ') && equalsNoCase(text.substr(at, word.size()), word))
            return true;
    }
    return false;
}

/// One section while it is read.
class Section {
public:
    /// `lines` of `text` begin with the header; they are picked from a section that ends at `end`.
    Section(const CfgRules& rules, CfgJudgement& result, FileText& text, std::span<const CfgLine> lines,
            const char* end)
        : rules_(rules), result_(result), text_(text), header_(lines.front().text),
          lines_(withoutTrailingComments(lines, end)) {}

    void read() {
        for (const CfgLine& line : lines_) {
            if (line.letters != 0 && !take(line))
                return;
        }
        finish();
    }

private:
    bool end(SectionFate fate) {
        drop(result_, header_, title_, fate);
        return false;
    }
    bool end(SectionFate fate, std::initializer_list<std::string_view> reportParts) {
        report(result_, &ScanReports::incompleteSections, reportParts);
        return end(fate);
    }

    /// False ends the section.
    bool take(const CfgLine& line) {
        return ((line.letters & titleLetters) == 0 || takeTitle(line)) &&
               ((line.letters & airlineLetters) == 0 || takeAirline(line)) &&
               ((line.letters & parkingTypesLetters) == 0 || takeParkingTypes(line)) &&
               ((line.letters & atcIdLetters) == 0 || takeAtcId(line));
    }

    bool takeTitle(const CfgLine& line) {
        const std::string_view value = valueOf(line, keys::title);
        if (value.empty())
            return true;
        if (!title_.empty()) {
            return end(SectionFate::twoTitles, {result_.folder, " ", header_, " has more than one title key"});
        }
        title_ = strip(unquotedPiece(value));
        titleNeedsALook_ = titleNeedsALook(title_) || title_.ends_with("-STUB");
        return !titleNeedsALook_ || !isLeftOut(rules_, result_, header_, title_);
    }

    bool takeAirline(const CfgLine& line) {
        if (!airline_.empty()) {
            if (!holds(line.text, "icao_airline"))
                return true;
            return end(SectionFate::twoAirlines, {result_.folder, " ", header_, " has more than one icao_airline key"});
        }
        const std::string_view value = valueOf(line, keys::icaoAirline);
        if (value.empty())
            return true;
        const std::string_view code = unquotedPiece(value);
        airline_ = code.empty() || code == "ZZZZ" ? genericAirline : upperCase(code);
        if (airline_.size() == 4 && (airline_.back() == 'X' || airline_.back() == 'C'))
            airline_.remove_suffix(1);
        if (airlineExists(airline_))
            return true;
        if (airline_ == "RFO")
            return end(SectionFate::blockedAirline);
        constexpr std::string_view blanks = "            ";
        const bool isPlain =
            airline_.size() <= blanks.size() && // else its width is not its size
            std::all_of(airline_.begin(), airline_.end(), [](char c) { return c > ' ' && c < '\x7F'; });
        if (isPlain) {
            report(result_, &ScanReports::invalidAirlines,
                   {airline_, blanks.substr(airline_.size()), " in ", result_.path, " ", header_});
        } else {
            report(result_, &ScanReports::invalidAirlines,
                   fmt::format("{:12} in {} {}", airline_, result_.path, header_));
        }
        airline_ = {};
        return true;
    }

    std::string_view upperCase(std::string_view code) {
        std::array<char, 8> letters{};
        if (code.size() > letters.size())
            return result_.texts.put(upper(code));
        std::transform(code.begin(), code.end(), letters.begin(),
                       [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c; });
        return result_.texts.put({letters.data(), code.size()});
    }

    bool takeParkingTypes(const CfgLine& line) {
        if (!parkingTypes_.empty()) {
            if (!holds(line.text, "atc_parking_types"))
                return true;
            return end(SectionFate::twoParkingTypes,
                       {result_.folder, " ", header_, " has more than one atc_parking_types key"});
        }
        parkingTypes_ = unquotedPiece(valueOf(line, keys::atcParkingTypes));
        return true;
    }

    bool takeAtcId(const CfgLine& line) {
        if (!regcode_.empty()) {
            if (!holds(line.text, "atc_id="))
                return true;
            return end(SectionFate::twoAtcIds, {result_.folder, ", ", header_, ", has more than one atc_id key"});
        }
        const std::string_view whole = unquotedPiece(valueOf(line, keys::atcId));
        if (whole.size() >= shortestRegcode)
            regcode_ = isPlainRegcode(whole) ? whole : regcodeOf(whole.substr(0, whole.find(';')));
        return true;
    }

    std::string_view regcodeOf(std::string_view value) {
        if (value.empty()) {
            result_.log.push_back(fmt::format("invalid atc_id={} ==> in: {}", value, result_.path));
            return {};
        }
        return onlyRegcode(result_, header_, value, [this](std::string_view piece) -> std::string {
            if (piece.empty())
                return fmt::format("empty regcode in {} {}", result_.folder, header_);
            if (piece == " ")
                return fmt::format("regcode is a space char? {} {}", result_.folder, header_);
            if (piece.size() > longestRegcode) {
                return fmt::format("regcode: {}, has more than 12 chars or contains UTF16 chars in \"{}\"?", piece,
                                   result_.path);
            }
            return {};
        });
    }

    void finish() {
        if (title_.empty()) {
            end(SectionFate::noTitle, {result_.folder, " ", header_, " misses title"});
            return;
        }
        if (rules_.dontUse && !rules_.dontUse->empty() && rules_.dontUse->contains(title_)) {
            end(SectionFate::dontUse);
            return;
        }
        if (titleNeedsALook_ && !titleIsUsable(result_, header_, title_))
            return;
        if (airline_ == genericAirline)
            regcode_ = {};
        if (airline_.empty() && !deduceAirline())
            return;
        const bool cargo = holdsNoCase(parkingTypes_, "CARGO") && !holdsNoCase(parkingTypes_, "GATE");
        result_.liveries.push_back({airline_, result_.model, result_.texts.put(title_), result_.texts.put(regcode_),
                                    result_.texts.put(header_), rules_.folderNumber, cargo});
    }

    /// The airframe may tell its airline; small aircraft without any belong to private owners.
    bool deduceAirline() {
        if (!regcode_.empty()) {
            if (const auto record = lookupRegcode(regcode_))
                airline_ = result_.texts.put(record->airl);
            if (airline_.empty() && mustHaveAirline()) {
                return end(SectionFate::unknownRegcode,
                           {"\"", result_.folder, "\" \"", header_,
                            "\" has no airline and its regcode is not in my dbase (very old liv?)"});
            }
        } else {
            if (mustHaveAirline()) {
                return end(SectionFate::noRegcode,
                           {"\"", result_.folder, "\" \"", header_, "\" has no airline and no regcode info"});
            }
            regcode_ = regcodeInTitle(title_);
        }
        if (airline_.empty())
            airline_ = privateAirline;
        return true;
    }
    bool mustHaveAirline() {
        if (!text_.category)
            text_.category = categoryOf(result_.model);
        return text_.category == AircraftCategory::large || text_.category == AircraftCategory::heavy;
    }

    const CfgRules& rules_;
    CfgJudgement& result_;
    FileText& text_;
    std::string_view header_;
    std::span<const CfgLine> lines_;
    std::string_view title_, regcode_, parkingTypes_; // in the file's text or the reference data
    std::string_view airline_;                        // stays
    bool titleNeedsALook_ = false;
};

void lf_procesFltSimSection(const CfgRules& rules, CfgJudgement& result, FileText& text, std::span<const CfgLine> lines,
                            const char* end) {
    try {
        Section(rules, result, text, lines, end).read();
    } catch (const std::exception& e) {
        result.log.push_back(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), result.path));
        drop(result, lines.front().text, "", SectionFate::failed);
    }
}

/// A section ends at the next line with a bracket near its begin; one further in belongs to a value.
constexpr std::size_t bracketReach = 6;

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

void lf_searchLiveriesinFile(const CfgRules& rules, const CfgSource& source, CfgJudgement& result) {
    thread_local FileText text;
    if (!readCfg(rules, source, result, text))
        return;
    if (!sectionNumbersAreGood(result, text))
        return;
    result.fate = FileFate::noModel;
    result.model = findModel(result, text);
    if (result.model.empty())
        return;
    result.fate = FileFate::sectionsRead;
    result.liveries.reserve(text.numbers.size());
    text.category.reset();
    const std::span<const CfgLine> lines = text.lines;
    std::optional<std::size_t> begin;
    for (const std::uint32_t number : text.brackets) {
        if (stopWanted())
            return;
        const CfgLine& line = lines[number];
        if (!line.isHeader && line.text.substr(0, bracketReach).find('[') == std::string_view::npos)
            continue;
        if (begin)
            lf_procesFltSimSection(rules, result, text, lines.subspan(*begin, number - *begin), line.text.data());
        begin = line.isHeader ? std::optional<std::size_t>(number) : std::nullopt;
    }
    if (begin)
        lf_procesFltSimSection(rules, result, text, lines.subspan(*begin), text.end);
}

std::string repeatedTitleLine(const CfgJudgement& judgement, const FoundLivery& found) {
    if (judgement.ivao)
        return fmt::format("{} {} title already exists: {}", judgement.path, found.header, found.title);
    return fmt::format("{} {} title \"{}\" already exists", judgement.folder, found.header, found.title);
}

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
