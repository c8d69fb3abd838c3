// SPDX-License-Identifier: MIT
// The real packages and odd cases beside the project, against what an independent prototype says of them.
#include "core/text.h"
#include "liveries/aircraft_cfg.h"
#include "platform/system.h"
#include "reference_text.h"
#include "support.h"

#include <nlohmann/json.hpp>
#include <set>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string unhex(const std::string& text) {
    if (!text.starts_with("hex:"))
        return text;
    std::string bytes;
    for (std::size_t at = 4; at + 1 < text.size(); at += 2)
        bytes += static_cast<char>(std::stoi(text.substr(at, 2), nullptr, 16));
    return bytes;
}

/// The prototype wrote registrations that are not ASCII byte by byte as characters.
std::string latin1(const std::string& text) {
    std::string bytes;
    for (const char16_t c : platform::toUtf16(text))
        bytes += static_cast<char>(c);
    return bytes;
}

/// Headers are compared without what stands around the brackets and without case.
std::string headerKey(std::string_view header) {
    const auto begin = header.find('['), end = header.rfind(']');
    return begin == std::string_view::npos ? std::string(header) : upper(header.substr(begin, end - begin + 1));
}

const std::map<std::string, SectionFate> fates{{"silent-stub", SectionFate::stub},
                                               {"silent-fenix-pmdg", SectionFate::payware},
                                               {"silent-dont-use", SectionFate::dontUse},
                                               {"silent-rfo", SectionFate::blockedAirline},
                                               {"more-than-one-title", SectionFate::twoTitles},
                                               {"more-than-one-icao_airline", SectionFate::twoAirlines},
                                               {"more-than-one-atc_parking_types", SectionFate::twoParkingTypes},
                                               {"more-than-one-atc_id", SectionFate::twoAtcIds},
                                               {"misses-title", SectionFate::noTitle},
                                               {"no-airline-regcode-unknown", SectionFate::unknownRegcode},
                                               {"no-airline-no-regcode", SectionFate::noRegcode},
                                               {"title-exists", SectionFate::titleExists}};

struct SharedLiveries : testing::Test {
    ProgramFolder program;
    fs::path data = fs::path(KES_SOURCE_DIR) / ".." / "shared" / "data" / "liveries";
    json expected;
    TextSet dontUse;

    void SetUp() override {
        if (!fs::exists(data / "expected.json"))
            GTEST_SKIP() << "no shared livery data beside the project";
        data = fs::canonical(data);
        expected = json::parse(readFile(data / "expected.json"));
        const json known = json::parse(readFile(data / "refdata.json"));
        ReferenceText text;
        text.otherTypes = known["types"].get<std::vector<std::string>>();
        using enum AircraftCategory;
        for (const auto& [name, category] : {std::pair("large", large),
                                             {"heavy", heavy},
                                             {"buzjet", buzjets},
                                             {"rotor", rotorcraft},
                                             {"highperf", highPerf}})
            text.types[category] = known[name].get<std::vector<std::string>>();
        text.airlines = known["airlines"].get<std::vector<std::string>>();
        for (const auto& [wrong, correct] : known["fixes"].items())
            text.fixes[wrong] = correct;
        for (const auto& [reg, record] : known["dbase"].items())
            text.airframes.push_back({reg, record.value("airl", ""), record.value("type", ""), record.value("opr", ""),
                                      record.value("cargo", false)});
        text.read();
        for (const json& title : known["dontUseTitles"])
            dontUse.insert(title.get<std::string>());
    }
    void TearDown() override { resetReference(); }

    std::vector<std::string> differences(const std::string& name, const json& wanted) const {
        CfgRules rules;
        rules.countLines = true;
        rules.dontUse = &dontUse;
        CfgJudgement got = judgeFile(rules, (data / name).string());
        std::vector<std::string> found;
        const auto compare = [&](const std::string& what, const auto& want, const auto& have) {
            if (!(want == have))
                found.push_back(fmt::format("{}: wanted {}, got {}", what,
                                            json(want).dump(-1, ' ', true, json::error_handler_t::replace),
                                            json(have).dump(-1, ' ', true, json::error_handler_t::replace)));
        };
        compare("charset", wanted["charset"].get<std::string>(), got.charset);
        compare("lines", wanted["lines"].get<std::size_t>(), got.lines);
        const std::string reject = wanted.value("reject", "");
        if (reject != "section-number-not-int32")
            compare("sections", wanted["sections"].get<std::size_t>(), got.sections);
        compare("model", reject.empty() ? wanted["model"].get<std::string>() : "", got.model);
        std::set<std::string> seen;
        std::vector<std::vector<std::string>> records, wantedRecords, dropped, wantedDropped;
        for (const FoundLivery& livery : got.liveries) {
            if (!seen.emplace(livery.title).second) {
                got.dropped.push_back({livery.header, livery.title, SectionFate::titleExists});
                continue;
            }
            records.push_back({headerKey(livery.header), std::string(livery.airline), std::string(livery.title),
                               std::string(livery.regcode), livery.cargo ? "1" : "0"});
        }
        for (const json& record : wanted.value("records", json::array())) {
            wantedRecords.push_back({headerKey(record[0].get<std::string>()), record[1].get<std::string>(),
                                     unhex(record[2].get<std::string>()), latin1(record[3].get<std::string>()),
                                     record[4].get<int>() ? "1" : "0"});
        }
        compare("records", wantedRecords, records);
        for (const DroppedSection& section : got.dropped)
            dropped.push_back({headerKey(section.header), std::string(text(section.fate))});
        for (const json& section : wanted.value("rejected", json::array())) {
            wantedDropped.push_back(
                {headerKey(section[0].get<std::string>()), std::string(text(fates.at(section[1].get<std::string>())))});
        }
        std::sort(dropped.begin(), dropped.end());
        std::sort(wantedDropped.begin(), wantedDropped.end());
        compare("dropped", wantedDropped, dropped);
        std::size_t invalid = 0;
        for (const auto& [list, line] : got.reports)
            invalid += list == &ScanReports::invalidAirlines;
        compare("invalid airlines", wanted.value("invalidAirlines", json::array()).size(), invalid);
        return found;
    }
};

TEST_F(SharedLiveries, FilesGiveWhatAnIndependentReadingGives) {
    std::size_t files = 0, records = 0;
    for (const auto& [name, wanted] : expected["files"].items()) {
        ++files;
        records += wanted.value("records", json::array()).size();
        for (const std::string& difference : differences(name, wanted))
            ADD_FAILURE() << name << "\n  " << difference.substr(0, 2000)
                          << "\n  unsure: " << wanted.value("unsure", json::array()).dump();
    }
    EXPECT_GT(files, 500u);
    EXPECT_GT(records, 5000u);
}

} // namespace
} // namespace kes::test
