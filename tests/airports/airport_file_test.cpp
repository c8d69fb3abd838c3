// SPDX-License-Identifier: MIT
// Airport files: base and learned layer, where they are looked for, what damaged ones cost, and writing.
#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_source.h"
#include "airports/learned_file.h"
#include "core/errors.h"
#include "core/parameters.h"
#include "core/window.h"
#include "full_disk.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "small_reference.h"
#include "support.h"
#include "thrown.h"

#include <fmt/format.h>
#include <pugixml.hpp>
#include <set>
#include <sys/wait.h>
#include <tuple>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

const char* const stockPath = "archive/stock/EGLL.xml";
const fs::path learnedStock = "airports/learned/stock/EGLL.xml";

struct AirportFileTest : ::testing::Test {
    AirportFileTest() {
        setParameterDefaults();
        resetWindow();
        fs::create_directories(path::input);
        createFolders();
        fs::create_directories("updates/MSFS/archive/stock");
        fs::create_directories("updates/MSFS2024/archive/thirdparty/Some One");
        setAirportRef(AirportRef{"EGLL", "LHR", 51.47, -0.46, 1});
    }
    ~AirportFileTest() override {
        forgetAirportFile();
        setAirportRef(std::nullopt);
        resetReference();
        learnedFileHooks = {};
    }
    static void put(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::binary) << text; }
    static std::string parameter(const char* name, const char* value) {
        return fmt::format("<parameter name=\"{}\" value=\"{}\"/>", name, value);
    }
    static std::string document(const std::string& parameters, const std::string& positions) {
        return "<parameters>" + parameters + "</parameters><parkpositions>" + positions + "</parkpositions>";
    }
    static void putStock(const std::string& positions, const std::string& more = "") {
        put("updates/MSFS/archive/stock/EGLL.xml",
            document(parameter("altitude", "83") + parameter("airport_name", "Heathrow") +
                         parameter("publisher", "stock") + more,
                     positions));
    }
    static void putLearned(const std::string& positions, const std::string& more = "") {
        put(learnedStock,
            document(parameter("airport_name", "Heathrow") + parameter("publisher", "stock") + more, positions));
    }
    /// At 51.47 N; `metresEast` of 0.46 W.
    static std::string parkpos(const char* id, double metresEast, const std::string& attributes = "radius=\"20.0\"",
                               const std::string& options = "") {
        return fmt::format("<parkpos id=\"{}\" latitude=\"51.47\" longitude=\"{:.6f}\" {}>{}</parkpos>", id,
                           -0.46 + metresEast / 1852 / 60 / 0.6229, attributes, options);
    }
    static std::string load(const std::string& path = stockPath) {
        return gf_readApf(path, parkAirportFile, qualityPair, stands);
    }
    /// "airline model regcode day hours cs1 cs2 index real archive" of each option.
    static std::string optionsOf(const Stand& stand) {
        std::string text;
        for (const ParkPosOption& o : stand.options) {
            text += fmt::format("{} {} {} {} {} {}:{} #{} {}{};", o.airline, o.model, o.regcode, o.day,
                                hoursText(o.hours), o.coupledCs1, o.coupledCs2, o.optIndex,
                                o.real != 0 ? "real" : "soft", o.fromArchive != 0 ? " archive" : "");
        }
        return text;
    }

    ProgramFolder folder;
};

TEST_F(AirportFileTest, BaseStandsAndOptionsAreRead) {
    writeSmallReference(
        {.types = "A320,Large,34.1\n", .airlines = "BAW,British\n", .registrations = "G-EUUU,BAW,A320,,\n"});
    readDataBase();
    putStock(
        parkpos("501", 0, "heading=\"90.0\" radius=\"18.5\" cargo=\"Yes\" ramp=\"0\" colour=\"red\"",
                "<opt reg=\"G-EUUU\" airl=\"XXX\" type=\"YYY\" day=\"3\" hh=\"3,99,4\" cs=\"BAW1:BAW2\"/>"
                "<opt reg=\"G-NONE\" airl=\"EZY\" type=\"A20N\" soft=\"true\" day=\"7\" hh=\"47,0\" cs=\"A:B:C\"/>") +
            parkpos("502", 100, "heading=\"-90\" radius=\"1e400\" heli=\"1\" ramp=\"t\"") +
            "<parkpos id=\"gone\" latitude=\"0\" longitude=\"0\" radius=\"20\"/>" +
            "<parkpos id=\"near0\" latitude=\"0.0005\" longitude=\"0.02\" radius=\"-3\"/>"
            "<parkpos id=\"nowhere\" latitude=\"95\" longitude=\"0\" radius=\"20\"/><other/>",
        parameter("Qf_real", "44") + parameter("Qf_soft", "7") + parameter("RT_traffic_week", "31"));
    par::parking_percentage.value = 55; // of another airport
    saveParamChanged = true;
    EXPECT_EQ(load(), "");
    EXPECT_EQ(par::parking_percentage, 30);
    EXPECT_FALSE(saveParamChanged);
    ASSERT_EQ(stands.size(), 3U);
    EXPECT_EQ(optionsOf(stands[0]), "BAW A320 G-EUUU 3 3,4 BAW1:BAW2 #1 real archive;"
                                    "EZY A20N G-NONE 7 0,47 A: #2 soft archive;");
    EXPECT_NEAR(stands[0].radius * 1852, 18.5, 1e-9);
    EXPECT_NEAR(stands[0].heading, pi / 2, 1e-12);
    EXPECT_EQ(std::tuple(stands[0].cargo, stands[0].ramp, stands[0].heli), std::tuple(true, false, false));
    EXPECT_NEAR(stands[1].heading, 1.5 * pi, 1e-12);
    EXPECT_EQ(std::tuple(stands[1].cargo, stands[1].ramp, stands[1].heli), std::tuple(false, true, true));
    EXPECT_EQ(std::tuple(stands[2].id, stands[2].radius), std::tuple("near0", 0));
    EXPECT_EQ(findStand(3), &stands[2]);
    EXPECT_EQ(qualityPair, (QualityPair{44, 7}));
    EXPECT_EQ(readoutText(Readout::quality), "44/ 7");
    EXPECT_EQ(std::tuple(airportRef->elevation, int{readouts.trafficWeek}, int{readouts.stands}, bool{airportLoaded}),
              std::tuple(83, 31, 3, true));
    for (const char* line :
         {"gf_hours2bitset invalid hour \"99\" in 3,99,4", "? stand near0 has a radius of -3 m",
          "? stand nowhere left out", "parking_percentage      : 30%", "altitude                : 83 ft",
          "1 of 3 stands in archive/stock/EGLL.xml lie more than 10 nautical miles from EGLL"})
        EXPECT_TRUE(folder.logHas(line)) << line;
}

TEST_F(AirportFileTest, WhatCannotBeLoadedIsTold) {
    EXPECT_EQ(load(""), "gf_readApf xml is empty...");
    const std::string whole = document(parameter("altitude", "83"), parkpos("1", 0));
    struct Case {
        const char* what;
        std::string content;
        std::string text; ///< in the result or the exception
    };
    std::string many;
    for (int i = 0; i < 100000; ++i)
        many += fmt::format("<parkpos id=\"{}\" latitude=\"1\" longitude=\"1\" radius=\"20\"/>", i);
    const Case cases[] = {
        {"cut", whole.substr(0, whole.size() - 9), "archive/stock/EGLL.xml could not be loaded: "},
        {"not XML", "404 not found", "archive/stock/EGLL.xml could not be loaded: No document element found"},
        {"empty", "", "could not be loaded: "},
        {"no altitude", document("", parkpos("1", 0)), "65: Parameter altitude not found"},
        {"no number as altitude", document(parameter("altitude", "high"), parkpos("1", 0)), "65: Parameter altitude"},
        {"an id twice", document(parameter("altitude", "83"), parkpos("1", 0) + parkpos("1", 50)),
         "94: Parking position 1 appears more than once?"},
        {"too many", document(parameter("altitude", "83"), many), "could not be loaded: 100000 stands are no airport"},
        {"no stands", document(parameter("altitude", "83"), ""), "no stands found"},
    };
    for (const Case& c : cases) {
        forgetAirportFile();
        put("updates/MSFS/archive/stock/EGLL.xml", c.content);
        std::string text;
        text += thrownBy([&] { text = load(); });
        EXPECT_NE(text.find(c.text), std::string::npos) << c.what << ": " << text;
        EXPECT_EQ(airportLoaded, text == "no stands found") << c.what;
    }
    fs::remove("updates/MSFS/archive/stock/EGLL.xml");
    EXPECT_EQ(load().substr(0, 21), "failed to download: \"");
    setAirportRef(std::nullopt);
    EXPECT_EQ(load(), "gf_readApf no park airport set");
}

TEST_F(AirportFileTest, LearnedOptionsAreMergedOneByOne) {
    putStock(parkpos("1", 0, "radius=\"20\"",
                     "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"10,11\"/>"
                     "<opt airl=\"BAW\" type=\"A319\" day=\"1\" hh=\"12\"/>") +
                 parkpos("2", 200),
             parameter("Qf_real", "90"));
    putLearned(
        "<parkpos id=\"1\" radius=\"99\" cargo=\"true\">"
        "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"11,12\"/>"            // shares a half-hour
        "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"12,13\"/>"            // does not
        "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"13\"/>"               // shares one with that
        "<opt airl=\"BAW\" type=\"A319\" soft=\"true\" day=\"1\" hh=\"12\"/>" // soft is another kind
        "<opt airl=\"BAW\" type=\"A319\" day=\"2\" hh=\"12\"/></parkpos>"
        "<parkpos id=\"2\" radius_change=\"true\" radius=\"33.0\" cargo_change=\"true\" cargo=\"true\">"
        "<opt airl=\"DHK\" type=\"B752\" day=\"4\" hh=\"5\"/></parkpos>"
        "<parkpos id=\"3\"/>" +
        parkpos("M1", 400, "radius=\"15\" manual=\"true\"", "<opt airl=\"EXS\" type=\"B738\" day=\"5\" hh=\"1\"/>") +
        parkpos("2", 500, "radius=\"15\" manual=\"true\"") + parkpos("M2", 500, "radius=\"0\" manual=\"true\"") +
        "<parkpos id=\"M3\" latitude=\"0.0009\" longitude=\"0.05\" radius=\"20\" manual=\"true\"/>");
    EXPECT_EQ(load(), "");
    ASSERT_EQ(stands.size(), 3U);
    EXPECT_EQ(optionsOf(stands[0]), "BAW A320  1 10,11 : #1 real archive;BAW A319  1 12 : #2 real archive;"
                                    "BAW A320  1 12,13 : #3 real;BAW A319  1 12 : #4 soft;BAW A319  2 12 : #5 real;");
    EXPECT_NEAR(stands[0].radius * 1852, 20, 1e-9) << "a radius counts where it is told to be a change";
    EXPECT_EQ(std::tuple(stands[0].cargo, stands[0].radiusChange, stands[0].cargoChange),
              std::tuple(false, false, false));
    EXPECT_NEAR(stands[1].radius * 1852, 33, 1e-9);
    EXPECT_EQ(std::tuple(stands[1].cargo, stands[1].radiusChange, stands[1].cargoChange), std::tuple(true, true, true));
    EXPECT_EQ(optionsOf(stands[1]), "DHK B752  4 5 : #1 real;");
    EXPECT_TRUE(stands[2].manual);
    EXPECT_EQ(stands[2].id + " " + optionsOf(stands[2]), "M1 EXS B738  5 1 : #1 real;");
    EXPECT_EQ(qualityPair, qualityOf(stands)) << "the stored quality is that of the base alone";
    EXPECT_NE(qualityPair.real, 90);
    EXPECT_FALSE(handmadeAirport);
    EXPECT_TRUE(folder.logHas("learned stand 3 in airports/learned/stock/EGLL.xml not found?"));
    EXPECT_TRUE(folder.logHas("===> manually created standid 2 already exists in airports/learned"));
    EXPECT_EQ(folder.logCount("misses correct attributes in airports/learned"), 2U);
    EXPECT_TRUE(fs::exists("airports/learned/stock/EGLL0.xml")) << "the next save would lose stand 3";
    fs::remove("airports/learned/stock/EGLL0.xml");
    putLearned("<parkpos id=\"1\"/>");
    EXPECT_EQ(load(), "");
    EXPECT_FALSE(fs::exists("airports/learned/stock/EGLL0.xml"));
}

TEST_F(AirportFileTest, AHandmadeFileReplacesTheBase) {
    putStock(parkpos("1", 0) + parkpos("2", 200));
    putLearned(parkpos("A", 0, "radius=\"9\"", "<opt airl=\"BAW\" type=\"A320\" day=\"1\" hh=\"10\"/>"),
               parameter("handmade", "false"));
    EXPECT_EQ(load(), "");
    ASSERT_EQ(stands.size(), 1U);
    EXPECT_EQ(stands[0].id + " " + optionsOf(stands[0]), "A BAW A320  1 10 : #1 real archive;");
    EXPECT_EQ(std::tuple(bool{handmadeAirport}, bool{readouts.handmade}), std::tuple(true, true));
    EXPECT_TRUE(folder.logHas("handmade                : false"));
    EXPECT_TRUE(folder.logHas("Airport file read from \"airports/learned/stock/EGLL.xml\" for Heathrow"));
    EXPECT_EQ(statusText(), "A handmade airport file overruled the archived file! airports/learned/stock/EGLL.xml");

    putLearned(parkpos("A", 0) + parkpos("A", 100), parameter("handmade", "true"));
    EXPECT_EQ(load(), "");
    EXPECT_EQ(stands.size(), 2U) << "the base stays";
    EXPECT_FALSE(handmadeAirport);
    EXPECT_TRUE(folder.logHas("lf_readLearned: 94: Parking position A appears more than once?"));
    EXPECT_TRUE(fs::exists("airports/learned/stock/EGLL0.xml")) << "and the user's work is kept from the next save";
}

TEST_F(AirportFileTest, ADamagedLearnedFileIsSetAside) {
    putStock(parkpos("1", 0));
    put(learnedStock, "<parameters><parameter name=\"x\"");
    put("airports/learned/stock/EGLL0.xml", "older");
    EXPECT_EQ(load(), "");
    EXPECT_EQ(stands.size(), 1U);
    EXPECT_EQ(readFile("airports/learned/stock/EGLL0.xml"), readFile(learnedStock));
    EXPECT_TRUE(folder.logHas("airports/learned/stock/EGLL.xml found, but could not be loaded, saved as *.0.xml: "));
}

TEST_F(AirportFileTest, TheAirportsSettingsComeWithTheLearnedFile) {
    static std::vector<bool> switched;
    switched.clear();
    learnedFileHooks.autoRangeSwitched = [](bool on) {
        switched.push_back(on);
        par::LATERAL_RANGE.value = 40; // what a switch leads back to
    };
    putStock(parkpos("1", 0));
    putLearned("", parameter("LATERAL_RANGE", "250") + parameter("AUTO_RANGE", "false") + parameter("WEEK", "yes") +
                       parameter("PARK_SOFT", "false") + parameter("MAX_FIT", "60") + parameter("LEARN_SOFT", "false") +
                       parameter("MAX_LIVE", "999") + parameter("parking_percentage", "55"));
    EXPECT_EQ(load(), "");
    EXPECT_EQ(switched, std::vector<bool>{false});
    EXPECT_EQ(par::LATERAL_RANGE, 100) << "the airport's own range, not the one before the automatic";
    EXPECT_EQ(std::tuple(bool(par::WEEK), bool(par::PARK_SOFT), bool(par::LEARN_SOFT), bool(par::AUTO_RANGE)),
              std::tuple(true, false, false, false));
    EXPECT_EQ(par::MAX_FIT, 47);
    EXPECT_EQ(par::MAX_LIVE, 300);
    EXPECT_TRUE(windowRequests.maxLive);
    EXPECT_EQ(par::parking_percentage, 55);
    EXPECT_TRUE(folder.logHas("MAX_FIT                 : 47 (max number of half hours, is 24 hrs decimal)"));
    putLearned("", parameter("LATERAL_RANGE", "20") + parameter("AUTO_RANGE", "true"));
    EXPECT_EQ(load(), "");
    EXPECT_EQ(switched, (std::vector<bool>{false, true}));
    EXPECT_EQ(par::LATERAL_RANGE, 40) << "the automatic has the last word";
    EXPECT_EQ(par::MAX_LIVE, -1) << "absent means no limit";
    EXPECT_EQ(par::parking_percentage, 30);
}

TEST_F(AirportFileTest, ALearnedFileOfAnotherAirportOrPublisherIsTold) {
    putStock(parkpos("1", 0));
    put(learnedStock, document(parameter("airport_name", "Gatwick") + parameter("publisher", "Some One"), ""));
    EXPECT_EQ(load(), "");
    EXPECT_TRUE(
        folder.logHas("Warning: learned file airport name: \"Gatwick\" differs from archived file airport name: "
                      "\"Heathrow\""));
    EXPECT_TRUE(folder.logHas("Warning: learned file airports/learned/stock/EGLL.xml is of publisher \"Some One\""));
    EXPECT_TRUE(fs::exists("airports/learned/stock/EGLL0.xml"));
}

TEST_F(AirportFileTest, SourcesAreTriedInTheirOrder) {
    struct Step {
        const char* file;
        const char* content;
        const char* source;
    };
    const Step steps[] = {
        {"updates/MSFS/archive/stock/EGLL.xml", "<a/>", "archive/stock/EGLL.xml"},
        {"airports/my_simaddon/EGLL.xml", "<a/>", "airports/my_simaddon/EGLL.xml"},
        {"airports/my_simaddon/EGLL.txt", "archive/simaddon/EGLL.xml\r\n", "archive/simaddon/EGLL.xml"},
        {"airports/my_thirdparty/EGLL.xml", "<a/>", "airports/my_thirdparty/EGLL.xml"},
        {"airports/my_thirdparty/EGLL.txt", "", "airports/my_thirdparty/EGLL.xml"},
        {"airports/my_thirdparty/EGLL.txt", "archive/../../x.xml", "airports/my_thirdparty/EGLL.xml"},
        {"airports/my_thirdparty/EGLL.txt", "archive/thirdparty/Some%20One/EGLL.xml \nmore",
         "archive/thirdparty/Some%20One/EGLL.xml"},
    };
    EXPECT_EQ(airportSource("EGLL"), "");
    EXPECT_FALSE(airportFileExists("EGLL"));
    for (const Step& step : steps) {
        put(step.file, step.content);
        EXPECT_EQ(airportSource("EGLL"), step.source) << step.file << ": " << step.content;
        EXPECT_TRUE(airportFileExists("EGLL")) << step.file;
    }
    EXPECT_FALSE(fs::exists("EGLL.xml")) << "the probe";
    EXPECT_EQ(airportSource("../x"), "");
    EXPECT_EQ(learnedPath(stockPath, "stock"), learnedStock);
    EXPECT_EQ(learnedPath("archive/thirdparty/Some%20One/EGLL.xml", "Some One"),
              learnedFolder("Some One") / "EGLL.xml");
    EXPECT_EQ(learnedPath("airports/my_thirdparty/EGLL.xml", "A/..B"), learnedFolder("A/..B") / "EGLL.xml");
    EXPECT_EQ(learnedFolder("A/..B"), fs::path("airports/learned/thirdparty/A_..B"));
    EXPECT_EQ(learnedFolder(".."), fs::path("airports/learned/thirdparty/_"));
    EXPECT_EQ(learnedPath("airports/my_simaddon/EGLL.xml", "simaddon"), learnedFolder("simaddon") / "EGLL.xml");

    put("updates/MSFS2024/archive/thirdparty/Some One/EGLL.xml",
        document(parameter("altitude", "9") + parameter("publisher", "Some One"), parkpos("T1", 0)));
    par::MSFS_2020.value = false;
    EXPECT_EQ(load(airportSource("EGLL")), "") << "a publisher's airports are those of the simulator";
    EXPECT_EQ(stands.at(0).id, "T1");
}

TEST_F(AirportFileTest, TheClosestStandOfAnyAirport) {
    std::string id = "before";
    EXPECT_EQ(gf_readDestApfForClosestStand("EGLL", {51.47, -0.46}, id), 100.0);
    EXPECT_EQ(id, "");
    putStock(parkpos("1", 300) + parkpos("2", 100) + "<parkpos id=\"0\" latitude=\"0\" longitude=\"0\"/>" +
             parkpos("3", -200));
    EXPECT_NEAR(gf_readDestApfForClosestStand("EGLL", {51.47, -0.46}, id) * 1852, 100, 0.5);
    EXPECT_EQ(id, "2");
    EXPECT_EQ(gf_readDestApfForClosestStand("EGLL", {0, 0.01}, id), 100.0) << "a stand at 0, 0 is none";
    put("airports/my_thirdparty/EGLL.xml", "broken");
    EXPECT_EQ(gf_readDestApfForClosestStand("EGLL", {51.47, -0.46}, id), 100.0);
    EXPECT_TRUE(fs::exists("airports/my_thirdparty/EGLL.xml")) << "only a download is removed";
}

TEST_F(AirportFileTest, AFailedSaveLeavesTheOldFile) {
    put(learnedStock, "old");
    AirportFile file;
    file.standList.assign(1000, {.id = "A"});
    flushLog();
    {
        const FullDisk disk(8192);
        EXPECT_FALSE(writeAirportFile(file, learnedStock, false));
    }
    EXPECT_EQ(readFile(learnedStock), "old");
    EXPECT_TRUE(folder.logHas("saving xml did not work?\n          airports/learned/stock/EGLL.xml, "));
    EXPECT_FALSE(writeAirportFile(file, "airports/learned/nowhere/EGLL.xml", false));
}

TEST_F(AirportFileTest, AProgramThatIsKilledWhileItSavesLeavesAWholeFile) {
    using Clock = std::chrono::steady_clock;
    AirportFile files[2];
    Stand stand{.id = "A"};
    stand.options.assign(3, {.regcode = "G-EUUU", .hours = 1, .optIndex = 1, .day = 3});
    for (const std::size_t which : {0, 1})
        files[which].standList.assign(1000 * (which + 1), stand);
    const auto begin = Clock::now();
    ASSERT_TRUE(writeAirportFile(files[0], learnedStock, false));
    const auto oneSave = Clock::now() - begin;
    std::set<std::size_t> sizes;
    for (int round = 0; round < 24 || (round < 200 && sizes.size() < 2); ++round) {
        int started[2];
        ASSERT_EQ(pipe(started), 0);
        const pid_t child = fork();
        if (child == 0) {
            for (int n = 0;; ++n) {
                writeAirportFile(files[n % 2], learnedStock, false);
                if (n == 0 && write(started[1], "x", 1) != 1)
                    _exit(1);
            }
        }
        char sign = 0;
        EXPECT_EQ(read(started[0], &sign, 1), 1);
        // Another moment of the saves that follow each time.
        for (const auto from = Clock::now(); Clock::now() - from < oneSave * round / 8;)
            ;
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        close(started[0]);
        close(started[1]);
        pugi::xml_document document;
        ASSERT_TRUE(document.load_file(learnedStock.c_str())) << round;
        const auto positions = document.child("parkpositions").children("parkpos");
        const auto count = static_cast<std::size_t>(std::distance(positions.begin(), positions.end()));
        EXPECT_TRUE(count == 1000 || count == 2000) << count;
        sizes.insert(count);
    }
    EXPECT_EQ(sizes.size(), 2U) << "it was killed in saves of both";
    EXPECT_TRUE(writeAirportFile(files[0], learnedStock, false)) << "whatever the last one has left";
}

} // namespace
} // namespace kes::test
