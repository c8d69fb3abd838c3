// SPDX-License-Identifier: MIT
// What the inspecting tool says about liveries and aircraft, about scenery files and folders of them, and about the
// stands of an airport.
#include "airports/addon_link.h"
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/bgl_file.h"
#include "core/parameters.h"
#include "liveries/aircraft_cfg.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference_text.h"
#include "support.h"
#include "tools/inspect/airport.h"
#include "tools/inspect/bgl.h"
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

struct InspectScenery : testing::Test {
    ProgramFolder program;
    const std::string server = (program.folder / "server").string();

    InspectScenery() { setParameterDefaults(); }
    ~InspectScenery() override {
        forgetAirportFile();
        setAirportRef(std::nullopt);
        resetAddonAirports();
        resetAirportTable();
        resetReference();
        setParameterDefaults();
    }
};

struct InspectBgl : InspectScenery {
    InspectBgl() {
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320"}}};
        text.publishers = {{"Orbx"}};
        text.thirdParties20 = {{"Orbx", "EGLC7"}};
        text.read();
    }
    std::string put(const std::string& name, const std::string& bytes) const {
        return program.temporary.write(name, bytes).string();
    }
};

TEST_F(InspectBgl, TellsWhatAScanMakesOfFoldersAndChangesNothing) {
    put("sim/orbx-eglc/a.bgl", bglFile("EGLC", {{}, {12, 6}}));
    put("sim/x/a.bgl", bglFile("EDDF", {{}}));
    nlohmann::ordered_json result;
    {
        const inspect::WorkFolder work(server);
        result = inspect::inspectAddons({program.folder / "sim"}, program.folder, false);
    }
    EXPECT_EQ(result["summary"], "2 airports in 2 packages: 1 linked, 1 generated, 0 not recognised");
    ASSERT_EQ(result["airports"].size(), 2U);
    const auto &linked = result["airports"][0], &generated = result["airports"][1];
    EXPECT_EQ(linked["linked"], "archive/thirdparty/Orbx/EGLC.xml");
    EXPECT_EQ(linked["archived_stands"], 7);
    EXPECT_EQ(linked["why"], "publisher \"Orbx\" found");
    EXPECT_EQ(generated["publisher"], "unknown");
    EXPECT_EQ(generated["why"], "===> No publisher found");
    EXPECT_EQ(generated["generated"], true);
    EXPECT_GT(result["report"].size(), 4U);
    EXPECT_FALSE(std::filesystem::exists("airports") || std::filesystem::exists("output"));
    // Of the form that is not read the name of the file counts, whatever may stand in it.
    put("input/airports_msfs.xml", R"(<airports><airport code="LBBG" iata="" lat="42" lon="27" alt="0"/></airports>)");
    resetAirportTable();
    put("new/LBBG.bgl", bglFile(newFormAirport("EDDN")));
    const inspect::WorkFolder work(server);
    result = inspect::inspectAddons({program.folder / "new"}, program.folder, true);
    EXPECT_EQ(result["airports"][0]["icao"], "LBBG");
    EXPECT_EQ(result["airports"][0]["ident_unused"], "EDDN");
}

TEST_F(InspectBgl, DrawsTheStandsOfASceneryFile) {
    put("a.BGL", bglFile(bglAirport("EDDM", 0, "") + bglAirport("EDDF", 100000, bglParkings({{}, {12, 6}}))));
    put("b.bgl", bglFile("EDDF", {}));
    inspect::AirportQuery query;
    query.program = program.folder;
    query.airport = "a.BGL";
    {
        const inspect::WorkFolder work(server);
        const auto result = inspect::inspectAirport(query);
        EXPECT_EQ(result["code"], "EDDF");
        EXPECT_EQ(result["altitude"], 328);
        EXPECT_EQ(result["totals"]["stands"], 2);
        EXPECT_FALSE(result.contains("error"));
        EXPECT_NE(inspect::airportPage(result, 1, 1).find("\"A6\""), std::string::npos);
    }
    query.airport = "b.bgl";
    const inspect::WorkFolder work(server);
    EXPECT_THROW((void)inspect::inspectAirport(query), std::runtime_error);
}

/// A program folder with a generated airport and what was learned of it, and a server with a stock one.
struct InspectAirport : InspectScenery {
    InspectAirport() {
        for (const char* folder : {"airports/my_thirdparty", "airports/learned/thirdparty/Some One",
                                   "airports/learned/stock", "server/MSFS/archive/stock"})
            fs::create_directories(folder);
        put("airports/my_thirdparty/EGLL.xml", "Some One",
            stand("1", "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"5\"/>"));
        put("airports/learned/thirdparty/Some One/EGLL.xml", "Some One",
            "<parkpos id=\"1\"><opt airl=\"DLH\" type=\"A321\" day=\"2\" hh=\"50,6\"/></parkpos><parkpos id=\"7\"/>");
        put("server/MSFS/archive/stock/LEBL.xml", "stock", stand("&lt;/script>", ""));
        put("airports/learned/stock/LEBL.xml", "stock", "");
        put("bad.xml", "stock", stand("1", "") + stand("1", ""));
    }
    static void put(const char* file, const char* publisher, const std::string& positions) {
        std::ofstream(file)
            << "<parameters><parameter name=\"altitude\" value=\"83\"/><parameter name=\"publisher\" value=\""
            << publisher << "\"/></parameters><parkpositions>" << positions << "</parkpositions>";
    }
    static std::string stand(const std::string& id, const std::string& options) {
        return "<parkpos id=\"" + id + "\" latitude=\"51.47\" longitude=\"-0.46\" radius=\"20\">" + options +
               "</parkpos>";
    }
    nlohmann::ordered_json look(const std::string& airport) const {
        const inspect::WorkFolder work(server);
        inspect::AirportQuery query;
        query.airport = airport;
        query.program = program.folder;
        return inspect::inspectAirport(query);
    }
};

TEST_F(InspectAirport, TellsBothLayersAndWhatTheyMakeTogether) {
    const auto result = look("EGLL");
    EXPECT_FALSE(result.contains("error"));
    EXPECT_EQ(result["base"]["stands"][0]["options"].size(), 1U);
    EXPECT_EQ(result["learned"]["stands"][0]["options"][0]["halfHours"], (std::vector<int>{6}));
    EXPECT_EQ(result["stands"].size(), 1U);
    EXPECT_EQ(result["stands"][0]["options"].size(), 2U);
    EXPECT_EQ(result["stands"][0]["options"][1]["base"], false);
    EXPECT_EQ(result["quality"]["real"], 64);
    ASSERT_EQ(result["warnings"].size(), 2U) << result["log"];
    EXPECT_EQ(result["warnings"][0], "gf_hours2bitset invalid hour \"50\" in 50,6");
    EXPECT_FALSE(fs::exists("airports/learned/thirdparty/Some One/EGLL0.xml")) << "it only looks";
    EXPECT_EQ(par::parking_percentage, 30);
}

TEST_F(InspectAirport, FindsFilesAndTheServersAirports) {
    const auto stock = look("LEBL");
    EXPECT_TRUE(stock["source"].get<std::string>().ends_with("server/MSFS/archive/stock/LEBL.xml"));
    EXPECT_TRUE(stock["learned"].is_object());
    EXPECT_TRUE(stock["warnings"].empty()) << stock["warnings"];
    const std::string page = inspect::airportPage(stock, 3, 20);
    EXPECT_EQ(page.find("\"</script>"), std::string::npos) << "a name does not end the page's data";
    EXPECT_NE(page.find("\"halfHour\":20"), std::string::npos);
    const auto bad = look("bad.xml");
    EXPECT_EQ(bad["error"], "94: Parking position 1 appears more than once?");
    EXPECT_EQ(bad["base"]["stands"].size(), 2U);
    EXPECT_THROW(look("ZZZZ"), std::runtime_error);
}

} // namespace
} // namespace kes::test
