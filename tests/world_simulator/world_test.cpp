// Terrain, the user's motion, titles, commands, and time.
#include "core/geo.h"
#include "raw_client.h"
#include "world/simulator/control.h"
#include "world/simulator/options.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

namespace fs = std::filesystem;

struct TempFolder {
    TempFolder()
        : path(fs::temp_directory_path() / ("kes_world_" + std::to_string(reinterpret_cast<std::uintptr_t>(this)))) {
        fs::create_directories(path);
    }
    ~TempFolder() { fs::remove_all(path); }
    fs::path write(const fs::path& name, std::string_view content) const {
        fs::create_directories((path / name).parent_path());
        std::ofstream(path / name, std::ios::binary) << content;
        return path / name;
    }
    fs::path path;
};

TEST(Terrain, IsFlatOnAirfieldsAndSmoothAround) {
    Terrain terrain;
    terrain.hillFeet = 1000;
    terrain.airfields = {{50, 8, -11, 3}, {50.15, 8, 900, 3}};
    EXPECT_EQ(terrainFeet(terrain, 50, 8), -11);
    EXPECT_EQ(terrainFeet(terrain, 50.049, 8), -11);
    EXPECT_EQ(terrainFeet(terrain, 50.15, 8.01), 900);
    double lowest = 1e9, highest = -1e9;
    // Along both meridians of interest: across the fields, and across the date line.
    const auto walk = [&](auto at) {
        double before = at(0);
        for (int i = 1; i <= 20000; ++i) {
            const double ground = at(i);
            EXPECT_LT(std::abs(ground - before), 3.0) << "a step at " << i;
            before = ground;
            lowest = std::min(lowest, ground);
            highest = std::max(highest, ground);
        }
    };
    walk([&](int i) { return terrainFeet(terrain, 49.8 + i * 3e-5, 8); });
    walk([&](int i) {
        const double lon = 179.7 + i * 3e-5;
        return terrainFeet(terrain, 10.3, lon > 180 ? lon - 360 : lon);
    });
    EXPECT_GE(lowest, -11);
    EXPECT_LE(highest, 1000);
    EXPECT_GT(highest - lowest, 300);
}

TEST(Terrain, AirfieldTextsAreChecked) {
    Airfield airfield;
    EXPECT_TRUE(parseAirfield("50.03, 8.57,364,2.5", airfield));
    EXPECT_EQ(airfield.radiusNm, 2.5);
    EXPECT_TRUE(parseAirfield("52.3,4.76,-11", airfield));
    EXPECT_EQ(airfield.radiusNm, 3);
    for (const char* bad :
         {"", "50,8", "50,8,x", "91,8,0", "50,181,0", "50,8,1,0", "50,8,1,2,3", "50,8,nan", "50,8,1e999"})
        EXPECT_FALSE(parseAirfield(bad, airfield)) << bad;
}

TEST(User, StandsFliesAndFollowsAFile) {
    World world;
    SimObject& user = world.simulator.user;
    EXPECT_EQ(user.alt, 300 + user.staticCg);
    world.seconds(10);
    EXPECT_EQ(user.lat, 50.0);

    EXPECT_EQ(runCommand(world.simulator, "user fly:360,90,600"), "ok");
    world.seconds(10);
    EXPECT_NEAR(distanceNm({50, 8}, {user.lat, user.lon}), 1.0, 1e-3);
    EXPECT_NEAR(user.lat, 50.0, 1e-4);
    EXPECT_NEAR(user.alt, 400 + user.staticCg, 1e-6);
    EXPECT_EQ(runCommand(world.simulator, "user fly:0,90,-6000"), "ok");
    world.seconds(60);
    EXPECT_EQ(user.alt, 300 + user.staticCg) << "the ground ends a descent";

    TempFolder folder;
    const fs::path file =
        folder.write("track.csv", "seconds,lat,lon,alt_ft,heading_deg\r\n# start\r\n10,50,179.9,5000,350\r\n"
                                  "20,50.1,-179.9,6000,10\r\n30,50.1,-179.9,6000,10,5\r\n");
    EXPECT_EQ(runCommand(world.simulator, "user file:" + file.string()), "ok");
    EXPECT_EQ(user.lon, 179.9);
    world.seconds(5);
    EXPECT_NEAR(user.lat, 50.05, 1e-3);
    EXPECT_NEAR(std::abs(user.lon), 180.0, 1e-3) << "the short way across the date line";
    EXPECT_NEAR(user.alt, 5500, 5);
    EXPECT_NEAR(angleDiff(user.heading, 0), 0, 0.01) << "the short way round the compass";
    EXPECT_NEAR(user.tas, (distanceNm({50, 179.9}, {50.1, -179.9}) * 360 + 5) / 2, 5);
    world.seconds(100);
    EXPECT_EQ(user.lat, 50.1);
    EXPECT_EQ(user.tas, 0.0);
}

TEST(User, TrackFaultsNameTheirLine) {
    const struct {
        const char *content, *complaint;
    } cases[] = {{"", "no position"},          {"a,b,c,d,e\n", "no position"}, {"a,b\nc,d\n", "line 2"},
                 {"0,1,2,3,4\nx\n", "line 2"}, {"0,1,2,3\n", "line 1"},        {"0,1,2,3,4\n0,1,2,3,4\n", "line 2"},
                 {"0,91,2,3,4\n", "line 1"}};
    for (const auto& one : cases) {
        try {
            parseTrack(one.content);
            ADD_FAILURE() << one.content;
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find(one.complaint), std::string::npos) << e.what();
        }
    }
}

TEST(Titles, ComeFromFilesAndFolders) {
    TempFolder folder;
    folder.write("Community/pack/SimObjects/Airplanes/one/aircraft.cfg",
                 "[FLTSIM.0]\r\ntitle=Plain title ; comment\r\nTITLE = \"Quoted ; title\" ; "
                 "comment\r\nui_title=no\r\nsubtitle=no\n");
    folder.write("Community/pack/two/AIRCRAFT.CFG", "\xEF\xBB\xBFtitle=Fl\xC3\xBCgel\ntitle = \"never closed\n");
    folder.write("Community/pack/three/aircraft.cfg", "title=Gr\xFC\xDF Gott\n");
    folder.write("Community/pack/four/engines.cfg", "title=no\n");
    std::string wide = "\xFF\xFE";
    for (const char c : std::string_view("title=Wide\r\n"))
        (wide += c) += '\0';
    folder.write("Community/linked/aircraft.cfg", wide);
    Titles titles;
    EXPECT_TRUE(isKnownTitle(titles, "anything while the list is empty"));
    EXPECT_EQ(addTitlesFromFolder(titles, folder.path / "Community"), 4u);
    addTitlesFromFile(titles,
                      folder.write("titles.txt", "# comment\n\n  From a file  \r\n" + std::string(300, 'x') + "\n"));
    for (const char* title : {"Plain title", "Quoted ; title", "Fl\xC3\xBCgel", "Fl\xFCgel", "Gr\xFC\xDF Gott",
                              "Gr\xC3\xBC\xC3\x9F Gott", "Wide", "From a file"})
        EXPECT_TRUE(isKnownTitle(titles, title)) << title;
    EXPECT_TRUE(isKnownTitle(titles, std::string(255, 'x'))) << "as much as the field can hold";
    for (const char* title : {"no", "plain title", "never closed", "# comment", ""})
        EXPECT_FALSE(isKnownTitle(titles, title)) << title;
    EXPECT_THROW(addTitlesFromFolder(titles, folder.path / "none"), std::runtime_error);
    EXPECT_THROW(addTitlesFromFile(titles, folder.path / "none"), std::runtime_error);

    SimulatorOptions options = World::flat();
    options.titles = titles;
    World world(options);
    RawClient client(world.simulator);
    EXPECT_NE(client.created("Plain title", "X", 50, 8, 1000), 0u);
    client.create("Unknown", "X", 50, 8, 1000);
    EXPECT_EQ(client.take(kind::exception).at(0).u32(16), client.lastSendId());
}

TEST(Titles, RealPackagesAreReadWhole) {
    const fs::path community = fs::path(KES_SOURCE_DIR) / "../shared/data/liveries/Community";
    if (!fs::is_directory(community))
        GTEST_SKIP() << "no " << community;
    Titles titles;
    EXPECT_GT(addTitlesFromFolder(titles, community), 400u);
    EXPECT_GT(titles.known.size(), 1000u);
    EXPECT_TRUE(isKnownTitle(titles, "KC-135R Mildenhall"));
}

TEST(Control, RefusesAndAcceptsCreates) {
    World world;
    RawClient client(world.simulator);
    const auto works = [&](const char* title) { return client.created(title, "X", 50, 8, 1000) != 0; };
    const auto tell = [&](std::string_view line) { return runCommand(world.simulator, line); };
    EXPECT_EQ(tell("refuse Bad  Airline A320"), "ok");
    EXPECT_FALSE(works("Bad  Airline A320"));
    EXPECT_TRUE(works("Good Airline A320"));
    EXPECT_EQ(tell("accept Bad  Airline A320"), "ok");
    EXPECT_TRUE(works("Bad  Airline A320"));
    EXPECT_EQ(tell("accept Bad  Airline A320").substr(0, 6), "error:");
    EXPECT_EQ(tell("refuse-all on"), "ok");
    EXPECT_FALSE(works("T"));
    EXPECT_EQ(tell("refuse-all off"), "ok");
    EXPECT_EQ(tell("refuse-every 3"), "ok");
    for (int i = 1; i <= 7; ++i)
        EXPECT_EQ(works("T"), i % 3 != 0) << i;
    EXPECT_EQ(tell("refuse-every 0"), "ok");
    EXPECT_TRUE(works("T"));
    EXPECT_EQ(world.simulator.counters.refusedCreates, 4u);
    EXPECT_EQ(world.simulator.counters.exceptions[22], 4u);
}

TEST(Control, StopsTheSimAndTheFrames) {
    World world;
    RawClient client(world.simulator);
    client.subscribe(201, "SIM");
    client.subscribe(204, "Frame");
    client.subscribe(205, "FlightLoaded");
    client.subscribe(203, "ObjectRemoved");
    const std::uint32_t id = client.created("T", "X", 50, 8, 1000);
    const auto simEvents = [&] {
        std::vector<std::uint32_t> values;
        for (const Message& message : client.take(kind::event))
            values.push_back(message.u32(20));
        return values;
    };
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "sim 0"), "ok");
    world.seconds(5);
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{0}) << "a state that stays is not told again";
    EXPECT_EQ(runCommand(world.simulator, "sim 1"), "ok");
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{1});

    EXPECT_EQ(runCommand(world.simulator, "stall 3"), "ok");
    world.seconds(2.9);
    EXPECT_EQ(client.take().size(), 0u);
    world.seconds(1.1);
    const auto resumed = client.take(kind::frame).size();
    EXPECT_GE(resumed, 30u);
    EXPECT_LE(resumed, 34u) << "lost frames are not made up for";

    EXPECT_EQ(runCommand(world.simulator, "fps 60"), "ok");
    world.seconds(1);
    const auto faster = client.take(kind::frame);
    EXPECT_EQ(faster.size(), 60u);
    EXPECT_EQ(faster[0].get<float>(24), 60.0f);

    EXPECT_EQ(runCommand(world.simulator, "newflight C:\\flights\\b.flt"), "ok");
    auto messages = client.take();
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].u32(20), 0u);
    EXPECT_EQ(messages[1].u32(16), 203u);
    EXPECT_EQ(messages[1].u32(20), id);
    ASSERT_EQ(messages[2].bytes.size(), 288u);
    EXPECT_EQ(messages[2].kind(), kind::filename);
    EXPECT_EQ(messages[2].u32(16), 205u);
    EXPECT_EQ(messages[2].text(24, 260), "C:\\flights\\b.flt");
    world.seconds(1.9);
    EXPECT_EQ(simEvents().size(), 0u);
    world.seconds(0.2);
    EXPECT_EQ(simEvents(), std::vector<std::uint32_t>{1});
}

TEST(Control, TeleportsTheUser) {
    World world;
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35 11.78 9000 270"), "ok");
    world.seconds(1);
    EXPECT_EQ(world.simulator.user.lat, 48.35);
    EXPECT_EQ(world.simulator.user.alt, 9000.0);
    EXPECT_NEAR(world.simulator.user.heading, 1.5 * pi, 1e-12);
    EXPECT_EQ(runCommand(world.simulator, "airfield 48.35,11.78,1487"), "ok");
    EXPECT_EQ(runCommand(world.simulator, "teleport 48.35,11.78,0"), "ok");
    EXPECT_EQ(world.simulator.user.alt, 1487 + world.simulator.user.staticCg) << "never below the ground";
}

TEST(Control, ComplainsAboutWhatItDoesNotUnderstand) {
    World world;
    EXPECT_EQ(runCommand(world.simulator, "  \r"), "");
    for (const char* line : {"dance", "teleport", "teleport 1 2", "teleport 95 2 3", "teleport a b c", "fps 0", "fps x",
                             "stall", "stall -1", "sim 2", "refuse", "refuse-all maybe", "refuse-every 1.5",
                             "user swim", "user fly:1", "user file:/no/such", "airfield 1,2"})
        EXPECT_EQ(runCommand(world.simulator, line).substr(0, 7), "error: ") << line;
    EXPECT_EQ(world.simulator.user.lat, 50.0);
    std::string help = runCommand(world.simulator, "help");
    for (const char* name : {"teleport", "quit", "refuse-every", "report", "newflight"})
        EXPECT_NE(help.find(name), std::string::npos);
}

TEST(Control, ReportsInJson) {
    World world;
    RawClient client(world.simulator);
    client.definePose();
    const std::uint32_t id = client.created("Caf\xE9 A320", "DLH1", 50, 8, 300, true);
    client.map(1, "NAV_LIGHTS_SET");
    client.transmit(id, 1, 1);
    client.remove(4711);
    world.seconds(1);
    const auto report = nlohmann::json::parse(runCommand(world.simulator, "report"));
    EXPECT_EQ(report["objectsCreated"], 1);
    EXPECT_EQ(report["peakObjects"], 1);
    EXPECT_EQ(report["exceptions"]["3"], 1);
    EXPECT_EQ(report["events"]["NAV_LIGHTS_SET"], 1);
    EXPECT_EQ(report["packetsReceived"], 13);
    EXPECT_EQ(report["largestGapMs"], 0.0);
    const auto objects = nlohmann::json::parse(runCommand(world.simulator, "objects"));
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_EQ(objects[0]["tail"], "DLH1");
    EXPECT_EQ(objects[0]["onGround"], true);
    EXPECT_EQ(objects[0]["lights"], 1);
}

TEST(Time, FramesNeitherDriftNorPileUp) {
    World world;
    RawClient client(world.simulator);
    client.subscribe(204, "Frame");
    client.subscribe(205, "1sec");
    client.subscribe(206, "4sec");
    client.subscribe(207, "6Hz");
    client.take();
    // Ten minutes in steps that fit no frame.
    for (int i = 0; i < 60000; ++i)
        advance(world.simulator, 10'000'000);
    std::map<std::uint32_t, int> count;
    for (const Message& message : client.take())
        ++count[message.u32(16)];
    EXPECT_EQ(count[204], 18000);
    EXPECT_EQ(count[205], 600);
    EXPECT_EQ(count[206], 150);
    EXPECT_EQ(count[207], 3600);
    advance(world.simulator, 5'000'000'000, true);
    EXPECT_EQ(client.take(kind::frame).size(), 1u) << "a machine that was busy for five seconds";
}

TEST(Options, AreReadAndChecked) {
    std::optional<command_line::Ending> ending;
    const auto parse = [&](const std::vector<std::string>& arguments) {
        ProgramOptions read;
        ending = readOptions(arguments, read);
        return read;
    };
    const ProgramOptions options = parse({"--port",         "5111",
                                          "--control-port", "0",
                                          "--at",           "50.03,8.57,364,70",
                                          "--user",         "fly:250,90,-500",
                                          "--fps",          "60",
                                          "--msfs",         "2024",
                                          "--airfield",     "1,2,3",
                                          "--airfield",     "4,5,6,7",
                                          "--report",       "r.json",
                                          "--minutes",      "0.5"});
    EXPECT_FALSE(ending);
    EXPECT_EQ(options.server.port, 5111);
    EXPECT_TRUE(options.server.control);
    EXPECT_EQ(options.simulator.headingDegrees, 70);
    EXPECT_EQ(options.simulator.motion.fpm, -500);
    EXPECT_EQ(options.simulator.generation, Generation::msfs2024);
    EXPECT_EQ(options.simulator.terrain.airfields.size(), 2u);
    EXPECT_EQ(options.minutes, 0.5);
    EXPECT_EQ(parse({"--command", "fps 60", "--command", "sim 0"}).commands,
              (std::vector<std::string>{"fps 60", "sim 0"}));
    parse({"--help"});
    ASSERT_TRUE(ending);
    EXPECT_EQ(ending->code, 0);
    EXPECT_NE(ending->text.find("teleport LAT LON"), std::string::npos) << "the commands are told, too";
    EXPECT_EQ(parse({"--protocols", "5-6"}).simulator.lowestProtocol, 5u);
    const std::vector<std::vector<std::string>> bad = {{"--port"},
                                                       {"--port", "70000"},
                                                       {"--port", "x"},
                                                       {"--at", "1,2"},
                                                       {"--at", "95,2,3"},
                                                       {"--user", "swim"},
                                                       {"--fps", "0"},
                                                       {"--msfs", "2022"},
                                                       {"--community", "/no/such"},
                                                       {"--titles", "/no/such"},
                                                       {"--airfield", "1"},
                                                       {"--minutes", "-1"},
                                                       {"--protocols", "2-x"},
                                                       {"--unknown", "1"},
                                                       {"stray"}};
    for (const auto& arguments : bad) {
        parse(arguments);
        ASSERT_TRUE(ending) << arguments[0];
        EXPECT_EQ(ending->code, 2) << arguments[0];
        EXPECT_NE(ending->text.find(arguments[0]), std::string::npos) << ending->text;
    }
}

} // namespace
} // namespace kes::world::test
