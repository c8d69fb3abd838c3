// The normal "aircraft.cfg".
#include "liveries/aircraft_cfg.h"

#include "core/run_state.h"
#include "core/text.h"
#include "liveries/cfg_judge.h"
#include "liveries/cfg_line.h"
#include "reference/reference.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fmt/format.h>

namespace kes {

namespace {

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

std::string findModel(CfgJudgement& result, const FileText& text) {
    for (std::size_t i = 0; i < text.lines.size(); ++i) {
        if ((text.letters[i] & typeLetters) == 0)
            continue;
        const std::string_view line = text.lines[i];
        const std::string_view code = unquoted(keyValue(line, "icao_type_designator").value_or(""));
        if (!code.empty())
            return judgedModel(result, upper(code.substr(0, longestModel)));
    }
    for (std::size_t i = 0; i < text.lines.size(); ++i) {
        if ((text.letters[i] & baseContainerLetters) == 0)
            continue;
        const std::string_view line = text.lines[i];
        const std::string_view code = stockModel(unquoted(keyValue(line, "base_container").value_or("")));
        if (code.empty())
            continue;
        std::string model = judgedModel(result, upper(code));
        if (!model.empty())
            return model;
    }
    for (const char* payware : {"pmdg-aircraft-7", "fnx-aircraft-3"}) {
        if (result.path.find(payware) != std::string::npos) {
            report(result, &ScanReports::notUsed, fmt::format("{}: {}", result.path, words(SectionFate::payware)));
            return {};
        }
    }
    report(result, &ScanReports::invalidCfgFiles,
           "Line icao_type_designator= is missing in [General] section of " + result.path);
    return {};
}

/// The keys that must not stand twice are told from a second one by their name alone, wherever it stands in a line.
bool holds(std::string_view line, std::string_view name) {
    return line.find(name) != std::string_view::npos;
}

bool holdsNoCase(std::string_view text, std::string_view word) {
    for (std::size_t at = 0; at + word.size() <= text.size(); ++at) {
        if (equalsNoCase(text.substr(at, word.size()), word))
            return true;
    }
    return false;
}

/// One section while it is read.
class Section {
public:
    /// `lines` begin with the header and are picked from a text that ends at `end`; `letters` are theirs.
    Section(const CfgRules& rules, CfgJudgement& result, std::span<const std::string_view> lines,
            const std::uint8_t* letters, const char* end)
        : rules_(rules), result_(result), header_(lines.front()), lines_(withoutTrailingComments(lines, end)),
          letters_(letters) {}

    void read() {
        for (std::size_t i = 0; i < lines_.size(); ++i) {
            if (!take(lines_[i], letters_[i]))
                return;
        }
        finish();
    }

private:
    bool end(SectionFate fate) {
        drop(result_, header_, title_, fate);
        return false;
    }
    bool end(SectionFate fate, std::string reportLine) {
        report(result_, &ScanReports::incompleteSections, std::move(reportLine));
        return end(fate);
    }

    /// False ends the section.
    bool take(std::string_view line, std::uint8_t letters) {
        return ((letters & titleLetters) == 0 || takeTitle(line)) &&
               ((letters & airlineLetters) == 0 || takeAirline(line)) &&
               ((letters & parkingTypesLetters) == 0 || takeParkingTypes(line)) &&
               ((letters & atcIdLetters) == 0 || takeAtcId(line));
    }

    bool takeTitle(std::string_view line) {
        const auto value = keyValue(line, "title");
        if (!value)
            return true;
        if (!title_.empty()) {
            return end(SectionFate::twoTitles,
                       fmt::format("{} {} has more than one title key", result_.folder, header_));
        }
        title_ = strip(unquoted(*value));
        return !isLeftOut(rules_, result_, header_, title_);
    }

    bool takeAirline(std::string_view line) {
        if (!airline_.empty()) {
            if (!holds(line, "icao_airline"))
                return true;
            return end(SectionFate::twoAirlines,
                       fmt::format("{} {} has more than one icao_airline key", result_.folder, header_));
        }
        const auto value = keyValue(line, "icao_airline");
        if (!value)
            return true;
        const std::string_view code = unquoted(*value);
        airline_ = code.empty() || code == "ZZZZ" ? "ZZZ" : upper(code);
        if (airline_.size() == 4 && (airline_.back() == 'X' || airline_.back() == 'C'))
            airline_.pop_back();
        if (airlineExists(airline_))
            return true;
        if (airline_ == "RFO")
            return end(SectionFate::blockedAirline);
        report(result_, &ScanReports::invalidAirlines, fmt::format("{:12} in {} {}", airline_, result_.path, header_));
        airline_.clear();
        return true;
    }

    bool takeParkingTypes(std::string_view line) {
        if (!parkingTypes_.empty()) {
            if (!holds(line, "atc_parking_types"))
                return true;
            return end(SectionFate::twoParkingTypes,
                       fmt::format("{} {} has more than one atc_parking_types key", result_.folder, header_));
        }
        if (const auto value = keyValue(line, "atc_parking_types"))
            parkingTypes_ = unquoted(*value);
        return true;
    }

    bool takeAtcId(std::string_view line) {
        if (!regcode_.empty()) {
            if (!holds(line, "atc_id="))
                return true;
            return end(SectionFate::twoAtcIds,
                       fmt::format("{}, {}, has more than one atc_id key", result_.folder, header_));
        }
        const auto value = keyValue(line, "atc_id");
        const std::string_view whole = unquoted(value.value_or(""));
        if (whole.size() >= shortestRegcode)
            regcode_ = regcodeOf(whole.substr(0, whole.find(';')));
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
            end(SectionFate::noTitle, fmt::format("{} {} misses title", result_.folder, header_));
            return;
        }
        if (rules_.dontUse && rules_.dontUse->contains(title_)) {
            end(SectionFate::dontUse);
            return;
        }
        if (!titleIsUsable(result_, header_, title_))
            return;
        if (airline_ == "ZZZ")
            regcode_ = {};
        if (airline_.empty() && !deduceAirline())
            return;
        FoundLivery& found = result_.liveries.emplace_back();
        found.header = header_;
        found.livery.airline = std::move(airline_);
        found.livery.model = result_.model;
        found.livery.title = title_;
        found.livery.regcode = regcode_;
        found.livery.priority = rules_.folderNumber;
        found.livery.cargo = holdsNoCase(parkingTypes_, "CARGO") && !holdsNoCase(parkingTypes_, "GATE");
    }

    /// The airframe may tell its airline; small aircraft without any belong to private owners.
    bool deduceAirline() {
        const AircraftCategory category = categoryOf(result_.model);
        const bool mustHaveAirline = category == AircraftCategory::large || category == AircraftCategory::heavy;
        if (!regcode_.empty()) {
            if (const auto record = lookupRegcode(regcode_))
                airline_ = record->airl;
            if (airline_.empty() && mustHaveAirline) {
                return end(
                    SectionFate::unknownRegcode,
                    fmt::format("\"{}\" \"{}\" has no airline and its regcode is not in my dbase (very old liv?)",
                                result_.folder, header_));
            }
        } else {
            if (mustHaveAirline) {
                return end(SectionFate::noRegcode,
                           fmt::format("\"{}\" \"{}\" has no airline and no regcode info", result_.folder, header_));
            }
            regcode_ = regcodeInTitle(title_);
        }
        if (airline_.empty())
            airline_ = "PVT";
        return true;
    }

    const CfgRules& rules_;
    CfgJudgement& result_;
    std::string_view header_;
    std::span<const std::string_view> lines_;
    const std::uint8_t* letters_;
    std::string_view title_, regcode_, parkingTypes_;
    std::string airline_;
};

void lf_procesFltSimSection(const CfgRules& rules, CfgJudgement& result, std::span<const std::string_view> lines,
                            const std::uint8_t* letters, const char* end) {
    try {
        Section(rules, result, lines, letters, end).read();
    } catch (const std::exception& e) {
        result.log.push_back(fmt::format("exception in lf_procesFltSimSection: {}, file: {}", e.what(), result.path));
        drop(result, lines.front(), "", SectionFate::failed);
    }
}

/// A section ends at the next line with a bracket near its begin; one further in belongs to a value.
constexpr std::size_t bracketReach = 6;

} // namespace

void lf_searchLiveriesinFile(const CfgRules& rules, const CfgSource& source, CfgJudgement& result) {
    thread_local FileText text;
    if (!readCfg(source, result, text))
        return;
    if (!sectionNumbersAreGood(result, text))
        return;
    result.fate = FileFate::noModel;
    result.model = findModel(result, text);
    if (result.model.empty())
        return;
    result.fate = FileFate::sectionsRead;
    result.liveries.reserve(text.numbers.size());
    const std::span<const std::string_view> lines = text.lines;
    std::optional<std::size_t> begin;
    for (const std::uint32_t number : text.brackets) {
        if (stopWanted())
            return;
        const bool header = isHeader(lines[number]);
        if (!header && lines[number].substr(0, bracketReach).find('[') == std::string_view::npos)
            continue;
        if (begin)
            lf_procesFltSimSection(rules, result, lines.subspan(*begin, number - *begin), &text.letters[*begin],
                                   lines[number].data());
        begin = header ? std::optional<std::size_t>(number) : std::nullopt;
    }
    if (begin)
        lf_procesFltSimSection(rules, result, lines.subspan(*begin), &text.letters[*begin], text.end);
}

std::string repeatedTitleLine(const CfgJudgement& judgement, const FoundLivery& found) {
    if (judgement.ivao)
        return fmt::format("{} {} title already exists: {}", judgement.path, found.header, found.livery.title);
    return fmt::format("{} {} title \"{}\" already exists", judgement.folder, found.header, found.livery.title);
}

} // namespace kes
