// SPDX-License-Identifier: MIT
// The scan of add-on airports over real folders: what is looked at, what becomes of each airport, and what is told.
#include "airports/addon_link.h"
#include "airports/addon_offline.h"
#include "airports/addon_scan.h"
#include "airports/airport_source.h"
#include "airports/airport_table.h"
#include "airports/airport_xml.h"
#include "bgl_file.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "core/window.h"
#include "core/xml_file.h"
#include "full_disk.h"
#include "reference_text.h"
#include "support.h"

#include <set>

namespace kes::test {
namespace {

namespace fs = std::filesystem;

std::vector<BglParking> gates(std::uint32_t count) {
    std::vector<BglParking> list;
    for (std::uint32_t i = 0; i < count; ++i)
        list.push_back({12, count - i});
    return list;
}

struct AddonScan : testing::Test {
    ProgramFolder program;

    void SetUp() override {
        setParameterDefaults();
        resetRunFlags();
        resetWindow();
        resetStatus();
        par::MSFS_2020.value = true;
        par::MSFS_INSTALL_PATH.set("sim");
        par::MSFS_2024_INSTALL_PATH.set("sim");
        ReferenceText text;
        text.types = {{AircraftCategory::large, {"A320"}}};
        text.publishers = {{"Fly Tampa", "flytampa"}, {"Orbx"}};
        text.simaddons = {"EHAM"};
        text.thirdParties20 = {{"Fly Tampa", "KLAS080,KBOS"}, {"Orbx", "EGLC7,KMCI5"}};
        text.thirdParties24 = {{"Fly Tampa", "KLAS90"}};
        text.read();
        airportTable = {{"EDDF", "FRA", 50, 8, 0}, {"EDDN", "NUE", 49, 11, 0}, {"LBBG", "BOJ", 42, 27, 0}};
        for (const char* folder : {"sim/Official", "sim/Community", "input"})
            fs::create_directories(folder);
        put("input/airports_msfs_names.xml",
            "<AirportNames><airport ICAO=\"EDDF\" name=\"Frankfurt\"/></AirportNames>");
        createFolders();
        put("updates/x", "");
    }
    void TearDown() override {
        resetAddonAirports();
        resetReference();
        airportTable.clear();
        setParameterDefaults();
        resetRunFlags();
        resetWindow();
        resetStatus();
    }
    void put(const std::string& file, std::string_view content) const { (void)program.temporary.write(file, content); }
    static std::string report() { return test::readFile("output/info/AirportsScanLog.txt"); }
    static bool told(const std::string& line) {
        return ("\n" + report()).find("\n" + line + "\n") != std::string::npos;
    }
    /// The files of a folder, with `before` in front of each.
    static std::string filesOf(const fs::path& folder, const std::string& before = "") {
        std::set<std::string> files;
        if (fs::exists(folder)) {
            for (const auto& entry : fs::directory_iterator(folder))
                files.insert(before + entry.path().filename().string());
        }
        return fmt::format("{}", fmt::join(files, " "));
    }
    /// What the folders hold afterwards: "simaddon/EHAM.txt thirdparty/KLAS.txt ...".
    static std::string made() {
        const std::string simaddon = filesOf("airports/my_simaddon", "simaddon/");
        const std::string thirdparty = filesOf("airports/my_thirdparty", "thirdparty/");
        return simaddon + (simaddon.empty() || thirdparty.empty() ? "" : " ") + thirdparty;
    }
    static std::string entries() { return filesOf("TBLO"); }
};

TEST_F(AddonScan, EachAirportIsLinkedOrGenerated) {
    struct Case {
        const char *name, *folder;
        std::string file;
        bool msfs2020;
        const char *made, *line; ///< line: of the report
    };
    const std::string other = R"({"manufacturer":"me"})";
    const Case cases[] = {
        {"known, as many stands", "flytampa-x", bglFile("KLAS", gates(80)), true, "thirdparty/KLAS.txt",
         "thirdparty airport KLAS linked to archive/thirdparty/Fly%20Tampa/KLAS.xml"},
        {"known, more stands", "flytampa-x", bglFile("KLAS", gates(85)), true,
         "thirdparty/KLAS.txt thirdparty/KLAS.xml", "===> KLAS has 85 parkpos while archived one has 80"},
        {"2024: a linked one is not counted", "flytampa-x", bglFile("KLAS", gates(95)), false,
         "simaddon/OLD2.txt thirdparty/KLAS.txt",
         "thirdparty airport KLAS linked to archive/thirdparty/Fly%20Tampa/KLAS.xml"},
        {"2024 has a list of its own", "orbx-x", bglFile("EGLC", gates(2)), false,
         "simaddon/OLD2.txt thirdparty/EGLC.xml", "thirdparty Orbx EGLC does not exist"},
        {"an airport the archive lacks", "flytampa-x", bglFile("EDDF", gates(1)), true, "thirdparty/EDDF.xml",
         "Generated EDDF: 1 position"},
        {"of nobody", "x", bglFile(bglAirport("EDDF", 0, bglHelipad(50, 8, 9) + bglParkings(gates(2)))), true,
         "thirdparty/EDDF.xml", "Generated EDDF: 3 positions, of which 1 helipad"},
        {"without stands", "x", bglFile("EDDF", {}), true, "",
         "no valid info found in manifest about publisher, manufacturer:\"me\", creator:\"\" "
         "sim/Community/x/scenery/a.bgl"},
        {"the simulator's own", "asobo-airport-x", bglFile("EHAM", gates(3)), true, "simaddon/EHAM.txt",
         "simaddon airport EHAM linked to archive/simaddon/EHAM.xml"},
        {"the simulator's own, not known", "asobo-airport-x", bglFile("EDDF", gates(3)), true, "simaddon/EDDF.xml",
         "EDDF does not exist as simaddon"},
        {"broken in its second airport", "x",
         bglFile(bglAirport("EDDF", 0, bglParkings(gates(1))) +
                 bglAirport("KLAS", 0, bglParkings(gates(2))).substr(0, 88)),
         true, "thirdparty/EDDF.xml", "===>  airports search aborted, futs inner, "},
        {"what a broken one has told until then", "x", bglFile("EDDF", {{12, 1, 8, 0, 0.5F}, {12, 2}}).substr(0, 240),
         true, "", "skipped position with radius 0.5 meters, in sim/Community/x/scenery/a.bgl"},
        {"a broken one of a known publisher", "flytampa-x", bglFile("KLAS", gates(2)).substr(0, 200), true,
         "thirdparty/KLAS.txt", "thirdparty airport KLAS linked to archive/thirdparty/Fly%20Tampa/KLAS.xml"},
    };
    for (const Case& c : cases) {
        fs::remove_all("sim/Community");
        put(fmt::format("sim/Community/{}/scenery/a.bgl", c.folder), c.file);
        put(fmt::format("sim/Community/{}/manifest.json", c.folder), other);
        for (const char* old : {"airports/my_thirdparty/OLD1.xml", "airports/my_simaddon/OLD2.txt"})
            put(old, "");
        par::MSFS_2020.value = c.msfs2020;
        par::SCAN_AIRPORTS.value = true;
        scanAddonAirports();
        EXPECT_EQ(made(), c.made) << c.name;
        EXPECT_TRUE(told(c.line)) << c.name << "\n" << report();
        EXPECT_FALSE(par::SCAN_AIRPORTS) << c.name;
        EXPECT_EQ(statusText() == "Warning: Scan has not found any add-on airports", *c.made == '\0') << c.name;
        fs::remove("airports/my_simaddon/OLD2.txt");
    }
    EXPECT_TRUE(program.logHas("Exception in lf_toParkingPositions: sim/Community/x/scenery/a.bgl"));
    EXPECT_EQ(test::readFile("airports/my_thirdparty/KLAS.txt"), "archive/thirdparty/Fly%20Tampa/KLAS.xml");
    EXPECT_EQ(airportSource("KLAS"), "archive/thirdparty/Fly%20Tampa/KLAS.xml");
    EXPECT_TRUE(airportNames.empty());
}

TEST_F(AddonScan, AGeneratedFileHoldsAllStandsInOrder) {
    put("sim/Community/x/manifest.json", R"({"manufacturer":"me","creator":"you","title":"t"})");
    put("sim/Community/x/a.BGL",
        bglFile(
            bglAirport("EDDF", 100000,
                       bglHelipad(50, 8, 10) + bglParkings({{12, 9, 5, 0, 20, 0}, {12, 10, 1}, {12, 9, 8, 0, 25}}))));
    scanAddonAirports();
    pugi::xml_document document;
    ASSERT_TRUE(loadXml(document, "airports/my_thirdparty/EDDF.xml"));
    std::string text, parameters;
    for (const char* name :
         {"airport_name", "publisher", "altitude", "num_parkpos", "BGLpath", "manufacturer", "creator"})
        parameters += std::string(parameterText(document, name).value_or("none")) + " ";
    EXPECT_EQ(parameters, "Frankfurt unknown 328 4 sim/Community/x/a.BGL me you ");
    for (const pugi::xml_node node : document.child("parkpositions").children("parkpos")) {
        for (const pugi::xml_attribute attribute : node.attributes()) {
            if (std::string_view(attribute.name()) != "latitude" && std::string_view(attribute.name()) != "longitude")
                text += fmt::format("{} ", attribute.value());
        }
        text += "| ";
    }
    EXPECT_EQ(text, "A10 90.0 20.0 false true | A9 90.0 25.0 false false | A9a 360.0 20.0 true true | "
                    "helipad1 0.0 5.0 true false | ");
    EXPECT_EQ(statusText(), "1 airport in 1 package: 0 linked, 1 generated, 0 not recognised");
    EXPECT_TRUE(program.logHas("output/info/AirportsScanLog.txt written\n"));
    EXPECT_TRUE(program.logHas("Airports scan successful\n1 airport in 1 package"));
}

TEST_F(AddonScan, SaysInPlainWordsWhatItFound) {
    put("sim/Community/flytampa/a.bgl", bglFile("KLAS", gates(85)));
    put("sim/Community/b/a.bgl", bglFile("EDDF", gates(1)));
    put("sim/Community/b/b.bgl", bglFile("EDDN", {}));
    put("sim/Community/b/c.bgl", bglFile("EDDM", gates(9)).substr(0, 200));
    put("sim/Community/b/d.bgl", bglFile("EDDF", gates(1)));
    scanAddonAirports();
    EXPECT_EQ(statusText(),
              "4 airports in 2 packages: 1 linked, 2 generated, 1 without stands, 1 failed, 0 not recognised");
}

TEST_F(AddonScan, LooksAtTheRightFilesOnly) {
    const std::string file = bglFile("EDDF", gates(1));
    const std::string start = "sim/Community/";
    const std::string longest =
        start + std::string(100, 'a') + "/" + std::string(249 - 6 - start.size() - 101, 'b') + "/x.bgl";
    ASSERT_EQ(longest.size(), 249U);
    std::string tooLong = longest;
    tooLong.insert(start.size(), "a");
    struct Case {
        std::string path;
        bool isRead;
    };
    std::vector<Case> cases{{start + "p/x.bgl", true},
                            {start + "p/x.BGL", true},
                            {start + "p/x.Bgl", false},
                            {start + "p/x.bgl.bak", false},
                            {start + "p/.bgl", false},
                            {start + "p/Aircraft/x.bgl", true},
                            {start + "p/statics/x.bgl", false},
                            {start + "p/Statics/x.bgl", true},
                            {start + "p/x_heliports.bgl", false},
                            {start + "p/AFCAD Updates/x.bgl", false},
                            {longest, true},
                            {tooLong, false},
                            {"sim/Official/p/x.bgl", true}};
    for (const char* word :
         {"fs-base", "tutorials", "aircraft", "bushtrip", "discovery", "point-of-interest", "simobjects", "vcockpits",
          "aig-aitraffic", "justflight-aicraft", "fsltl", "gsx-pro", "gsx-world", "landingchallenge"})
        cases.push_back({fmt::format("{}my {}x/x.bgl", start, word), false});
    for (const Case& c : cases) {
        for (const char* folder : {"sim/Community", "sim/Official"}) {
            fs::remove_all(folder);
            fs::create_directories(folder);
        }
        put(c.path, file);
        scanAddonAirports();
        EXPECT_EQ(made() == "thirdparty/EDDF.xml", c.isRead) << c.path;
        EXPECT_EQ(isExcludedPath(c.path), c.path == tooLong || c.path.find("/my ") != std::string::npos) << c.path;
    }
    fs::create_directories("my aircraft");
    put("my aircraft/p/x.bgl", file);
    EXPECT_FALSE(scanRoots({"my aircraft"}));
    EXPECT_EQ(report(), "Scanning for addon airports in my aircraft\n");
}

TEST_F(AddonScan, TheLaterOfTwoPackagesCountsOnAnyNumberOfThreads) {
    std::string expected, expectedReport;
    for (int n = 0; n < 40; ++n)
        put(fmt::format("sim/Community/p{:02}/a.bgl", n), bglFile("EDDF", gates(static_cast<std::uint32_t>(40 - n))));
    for (int round = 0; round < 5; ++round) {
        scanAddonAirports();
        const std::string file = test::readFile("airports/my_thirdparty/EDDF.xml");
        EXPECT_NE(file.find("\"num_parkpos\" value=\"1\""), std::string::npos);
        if (round == 0)
            expectedReport = report();
        EXPECT_EQ(report(), expectedReport);
    }
    EXPECT_EQ(addonAirports.size(), 40U);
    EXPECT_EQ(statusText(), "1 airport in 40 packages: 0 linked, 1 generated, 0 not recognised");
    EXPECT_TRUE(program.logHas("EDDF is in \"sim/Community/p00/a.bgl\" and in \"sim/Community/p01/a.bgl\""));
}

TEST_F(AddonScan, WhatIsNotRecognisedIsNamedAsFarAsCanBe) {
    par::MSFS_2020.value = false;
    const std::string file = bglFile(bglAirport("EDDN", 0, "", 275));
    struct Case {
        const char *path, *title, *line, *entry;
    };
    const Case cases[] = {
        {"p/eddn.bgl", "LBBG", "Not recognised airport has ICAO code \"EDDN\" as BGL stem", "EDDN.xml"},
        {"p/abcd.bgl", "LBBG Burgas", "Not recognised airport has ICAO \"LBBG\" in title \"LBBG Burgas\" of manifest",
         "LBBG.xml"},
        {"p-lbbg-x/a.bgl", nullptr,
         "Not recognised airport has ICAO \"LBBG\" in BGL path \"sim/Community/p-lbbg-x/a.bgl\"", "LBBG.xml"},
        {"p-EDDN-lbbg-x/a.bgl", "Burgas LBBG",
         "Not recognised airport has ICAO \"EDDN\" in BGL path \"sim/Community/p-EDDN-lbbg-x/a.bgl\"", "EDDN.xml"},
        {"p-Lbbg-x/a.bgl", nullptr,
         "==================> Not recognised airport lost ... \"sim/Community/p-Lbbg-x/a.bgl\"", nullptr},
        {"flytampa-klas-x/eddn.bgl", nullptr, "thirdparty Fly Tampa EDDN does not exist", "EDDN.xml"},
        {"asobo-airport-x/eddn.bgl", nullptr, "EDDN does not exist as simaddon", nullptr},
    };
    put("TBLO/OLD1.xml", "");
    for (const Case& c : cases) {
        fs::remove_all("sim/Community");
        const std::string path = std::string("sim/Community/") + c.path;
        put(path, file);
        if (c.title)
            put(path.substr(0, path.rfind('/')) + "/manifest.json",
                fmt::format(R"({{"title":"{}","creator":"me","manufacturer":"you"}})", c.title));
        scanAddonAirports();
        EXPECT_TRUE(told("\n==> Not recognised airport " + path)) << c.path << report();
        EXPECT_TRUE(told(c.line)) << c.path << "\n" << report();
        EXPECT_EQ(entries(), c.entry ? c.entry : "") << c.path;
        EXPECT_EQ(readouts.tbloFiles, c.entry ? 1 : 0) << c.path;
        EXPECT_TRUE(!c.entry || told(fmt::format("==> TBLO entry {} created ", c.entry))) << c.path;
        if (c.title && entries() == "LBBG.xml") {
            EXPECT_EQ(test::readFile("TBLO/LBBG.xml"),
                      path + "\nLBBG by unknown, title: LBBG Burgas crea: me manu: you");
        }
    }
    EXPECT_EQ(addonSummary(), "1 airport in 1 package: 0 linked, 0 generated, 1 not recognised: EDDN");
    // A known one is linked all the same.
    fs::remove_all("sim/Community");
    airportTable.push_back({"KLAS", "LAS", 36, -115, 0});
    put("sim/Community/flytampa/klas.bgl", file);
    scanAddonAirports();
    EXPECT_EQ(made(), "thirdparty/KLAS.txt");
    EXPECT_FALSE(fs::exists("TBLO"));
}

TEST_F(AddonScan, OfflineLearningGathersWhatTheArchiveCanUse) {
    const auto stock = [](const char* quality, int week) {
        return fmt::format("<parameters><parameter name=\"{}\" value=\"5\"/><parameter name=\"RT_traffic_week\" "
                           "value=\"{}\"/></parameters>",
                           quality, week);
    };
    put("updates/MSFS/archive/stock/EDDA.xml", stock("Qf_real", 23));
    put("updates/MSFS/archive/stock/EDDB.xml", stock("Qf_soft", 22));
    put("updates/MSFS/archive/stock/EDDC.xml", stock("none", 30));
    put("updates/MSFS/archive/stock/EDDD.xml", "<parameters");
    put("updates/MSFS/archive/stock/KLAS.xml", stock("Qf_soft", 30));
    put("updates/MSFS/archive/stock/KMCI.xml", stock("Qf_soft", 30));
    put("sim/Community/nobody/f.bgl", bglFile("EDDA", gates(1)));
    put("sim/Community/orbx/manifest.json", R"({"manufacturer":"abcd"})");
    for (const char* code : {"EDDA", "EDDB", "EDDC", "EDDD", "EDDE"})
        put(fmt::format("sim/Community/orbx/{}.bgl", code), bglFile(code, gates(1)));
    put("sim/Community/flytampa/k.bgl", bglFile("KLAS", gates(81)));
    put("sim/Community/orbx/m.bgl", bglFile("KMCI", gates(3)));
    put("TBLO/OLD1.xml", "");
    scanAddonAirports();
    EXPECT_EQ(entries(), "EDDA.xml KLAS.xml");
    EXPECT_EQ(readouts.tbloFiles, 2);
    EXPECT_EQ(made(), "thirdparty/EDDA.xml thirdparty/EDDB.xml thirdparty/EDDC.xml thirdparty/EDDD.xml "
                      "thirdparty/EDDE.xml thirdparty/KLAS.txt thirdparty/KMCI.txt");
    EXPECT_EQ(std::tuple(fs::exists("EDDA.xml"), fs::exists("EDDD.xml"), fs::exists("EDDE.xml")),
              std::tuple(false, false, false));
    EXPECT_EQ(program.logCount("===> EDDE Not suitable for offline learning"), 1U);
    EXPECT_EQ(program.logCount("===> EDDB Not suitable"), 0U);

    // What the walk has noted stays beside the copies.
    par::MSFS_2020.value = false;
    put("sim/Community/new/lbbg.bgl", bglFile(bglAirport("LBBG", 0, "", 275)));
    scanAddonAirports();
    par::MSFS_2020.value = true;
    EXPECT_EQ(entries(), "EDDA.xml KMCI.xml LBBG.xml");
    EXPECT_EQ(readouts.tbloFiles, 3);

    put("unknown.xml", "<parameters><parameter name=\"publisher\" value=\"unknown\"/><parameter name=\"creator\" "
                       "value=\"abc\"/></parameters>");
    EXPECT_EQ(offlineCandidate("unknown.xml"), "manufacturer=, creator=abc");
    EXPECT_EQ(offlineCandidate("none.xml"), "\"none.xml\" not found");
    fs::remove_all("updates/MSFS");
    scanAddonAirports();
    EXPECT_FALSE(fs::exists("TBLO"));
    EXPECT_TRUE(program.logHas("All your third party airports are done, no off line learning needed."));
}

TEST_F(AddonScan, AClickEndsItAndTheNextStartScansAgain) {
    for (int n = 0; n < 300; ++n)
        put(fmt::format("sim/Community/p{}/a.bgl", n), bglFile("EDDF", gates(300)));
    par::SCAN_AIRPORTS.value = true;
    {
        // The first airport's file does not fit on the disk, and that is the click.
        const FullDisk disk(20000);
        std::signal(SIGXFSZ, [](int) { userClosed = true; });
        scanAddonAirports();
    }
    EXPECT_EQ(addonAirports.size(), 1U);
    EXPECT_TRUE(told("===> Generating airports/my_thirdparty/EDDF.xml did not succeed")) << report();
    EXPECT_TRUE(par::SCAN_AIRPORTS);
    EXPECT_TRUE(airportNames.empty());
}

} // namespace
} // namespace kes::test
