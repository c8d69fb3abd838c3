// SPDX-License-Identifier: MIT
// What the inspecting tool says about files and about aircraft.
#include "core/parameters.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "reference_text.h"
#include "support.h"
#include "tools/inspect/inspect.h"

#include <nlohmann/json.hpp>

namespace kes::test {
namespace {

namespace fs = std::filesystem;
using inspect::parseQuery;

struct Inspect : testing::Test {
    ProgramFolder program;

    void SetUp() override {
        fs::create_directories("output/errors");
        fs::create_directories("output/info");
        fs::create_directories("input");
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320", "A321", "B738"}}};
        text.otherTypes = {"C172"};
        text.airlines = {"ZZZ", "PVT", "DLH", "AFR"};
        text.airframes = {{"D-AIPA", "DLH", "A320", "", true}, {"F-OPER", "AFR", "B738", "DLH", false}};
        text.read();
        resetLiveries();
        resetMatching();
        setParameterDefaults();
    }
    void TearDown() override {
        resetLiveries();
        resetMatching();
        resetReference();
        setParameterDefaults();
    }
};

TEST(InspectQuery, ReadsLinesAsPeopleWriteThem) {
    const auto text = [](std::string_view line) {
        const auto q = parseQuery(line);
        return q ? fmt::format("{}/{}/{}/{:d}", q->airline, q->model, q->regcode, q->cargo) : "none";
    };
    const std::vector<std::pair<std::string_view, std::string_view>> table{{"DLH A320 D-AIPA", "DLH/A320/D-AIPA/0"},
                                                                           {" dlh\ta320 \r", "DLH/A320//0"},
                                                                           {"dlh  a320\r", "DLH/A320//0"},
                                                                           {"- C172 N1A cargo", "/C172/N1A/1"},
                                                                           {"DLH A320 - cargo", "DLH/A320//1"},
                                                                           {"DLH", "none"},
                                                                           {"", "none"},
                                                                           {"DLH A320 D-AIPA freight", "none"},
                                                                           {"a b c cargo e", "none"}};
    for (const auto& [line, wanted] : table)
        EXPECT_EQ(text(line), wanted) << line;
}

TEST_F(Inspect, TellsPerFileWhatItGivesOrWhyNot) {
    const auto put = [](const fs::path& folder, const std::string& text) {
        fs::create_directories(folder);
        std::ofstream(folder / "aircraft.cfg", std::ios::binary) << text;
    };
    put("packs/a",
        "icao_type_designator=A320\n[fltsim.0]\ntitle=K\xF6ln\nicao_airline=DLH\n[fltsim.1]\ntitle=x-STUB\n");
    put("packs/b", "icao_type_designator=A320\n[fltsim.0]\ntitle=K\xF6ln\nicao_airline=AFR\n");
    put("packs/c", "icao_type_designator=QQQ\n[fltsim.0]\ntitle=z\n");
    put("none/airport", "");
    const auto result = inspect::inspectLiveries({"packs", "none", "nowhere"}, true);
    const auto& files = result["folders"][0]["files"];
    ASSERT_EQ(files.size(), 3u);
    EXPECT_EQ(files[0]["liveries"][0]["title"], "hex:4bf66c6e");
    EXPECT_EQ(files[0]["dropped"][0]["why"], "stub");
    EXPECT_EQ(files[1]["liveries"].size(), 0u);
    EXPECT_EQ(files[1]["dropped"][0]["why"], "titleExists");
    EXPECT_EQ(files[0]["reports"]["notUsed"][0],
              "packs/a/aircraft.cfg [fltsim.1] \"x-STUB\": a stub, left out while SUPPRESS_STUB is on");
    EXPECT_EQ(files[1]["reports"]["incompleteSections"].size(), 1u);
    EXPECT_EQ(files[1]["fate"], "sectionsRead");
    EXPECT_EQ(files[2]["fate"], "noModel");
    EXPECT_EQ(files[2]["reason"], "no known aircraft type");
    EXPECT_EQ(files[2]["reports"]["invalidModels"][0], "QQQ              in packs/c/aircraft.cfg");
    EXPECT_NE(result["folders"][1]["problem"].get<std::string>().find("there is no aircraft.cfg"), std::string::npos);
    EXPECT_EQ(result["folders"][2]["problem"], "does not exist");
    EXPECT_EQ(result["totals"]["foldersNotRead"], 1);
    EXPECT_EQ(result["totals"]["liveries"], 1);
    EXPECT_EQ(result["totals"]["files"], 3);
    EXPECT_EQ(result["totals"]["dropped"]["titleExists"], 1);
    EXPECT_NO_THROW((void)result.dump()) << "all of it is valid text";
    EXPECT_EQ(inspect::inspectLiveries({"packs"}, false)["totals"]["dropped"].contains("stub"), false);
}

template <class Fate> void expectRows(const std::string& manual) {
    int count = 0;
    for (; !text(static_cast<Fate>(count)).empty(); ++count) {
        const auto fate = static_cast<Fate>(count);
        const std::string row = fmt::format("| `{}` | {}", text(fate), words(fate));
        EXPECT_NE(manual.find(row), std::string::npos) << row;
    }
    EXPECT_EQ(count, static_cast<int>(Fate::failed) + 1);
}

TEST(InspectReasons, StandInTheManual) {
    const std::string manual = readFile(KES_SOURCE_DIR "/docs/manual.md");
    expectRows<SectionFate>(manual);
    expectRows<FileFate>(manual);
}

TEST_F(Inspect, AnswersWithTheStepAndTheReason) {
    ASSERT_TRUE(writeLiveriesScanned({{"DLH", "A320", "Lufthansa freighter", "D-AIPA", 0, true},
                                      {"DLH", "A320", "Lufthansa", ""},
                                      {"DLH", "B738", "Lufthansa 737", ""},
                                      {"AFR", "B738", "Post", "", 0, true},
                                      {"ZZZ", "C172", "Any Cessna", ""}}));
    processScannedLiveries();
    par::RANDOM.value = false;
    const auto ask = [](std::string_view line) {
        const auto a = inspect::answer(parseQuery(line).value());
        return fmt::format("{}|{}|{}", a.step, a.title, a.reason);
    };
    EXPECT_EQ(ask("AFR A320 D-AIPA"), "1|Lufthansa freighter|the registration is known, taken as DLH A320 cargo");
    EXPECT_EQ(ask("AFR A320 F-OPER"), "2|Lufthansa 737|livery of the airline and type, taken as DLH B738");
    EXPECT_EQ(ask("- QQQQ F-OPER cargo"), "2|Lufthansa 737|livery of the airline and type, taken as DLH B738");
    EXPECT_EQ(ask("DLH QQQQ"), "0||\"QQQQ\" is no known aircraft type") << "the traffic has no such aircraft";
    EXPECT_EQ(ask("DLH A320"), "2|Lufthansa|livery of the airline and type");
    EXPECT_EQ(ask("PVT C172 N1"), "4|Any Cessna|generic livery of the type");
    EXPECT_EQ(ask("DLH A321"), "0||no livery of type A321 is installed, and none of a similar type fits");
    EXPECT_EQ(ask("AFR A320"), "0||A320 is installed, but not for AFR; category Large takes no other airline's paint");
    EXPECT_EQ(ask("AFR B738"), "0||AFR B738 is installed, but only for cargo or for other registrations");
    par::MATCHING_DEPTH.value = 2;
    EXPECT_EQ(ask("DLH C172"), "0||C172 is installed, but not for DLH; depth 2 looks no further");
    EXPECT_EQ(ask("- C172"), "4|Any Cessna|generic livery of the type, taken as PVT C172");
}

TEST_F(Inspect, WorksInAFolderOfItsOwn) {
    const fs::path before = fs::current_path();
    fs::path inside;
    fs::create_directories("updates");
    {
        const inspect::WorkFolder work("updates");
        inside = fs::current_path();
        EXPECT_NE(inside, before);
        EXPECT_EQ(readFile(path::updateServer), (before / "updates").string() + "\n");
    }
    EXPECT_EQ(fs::current_path(), before);
    EXPECT_FALSE(fs::exists(inside));
    setUserDataFolder(before / "appdata" / "Kestrelune");
}

} // namespace
} // namespace kes::test
