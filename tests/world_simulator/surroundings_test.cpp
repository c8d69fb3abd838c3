// SPDX-License-Identifier: MIT
// What the simulator is started with, and where its user moves: options, terrain, titles, motion.
#include "core/geo.h"
#include "files.h"
#include "raw_client.h"
#include "support.h"
#include "world/simulator/control.h"
#include "world/simulator/options.h"
#include "world/simulator/terrain.h"

#include <algorithm>
#include <cmath>

namespace kes::world::test {
namespace {

namespace fs = std::filesystem;
using kes::test::TempFolder;

TEST(Options, AreReadAndChecked) {
    std::optional<command_line::Ending> ending;
    const auto parse = [&](const std::string& line) {
        ProgramOptions read;
        ending = readOptions(kes::test::words(line), read);
        return read;
    };
    const ProgramOptions options =
        parse("--port 5111 --control-port 0 --at 50.03,8.57,364,70 --user fly:250,90,-500 --fps 60 --msfs 2024 "
              "--airfield 1,2,3 --airfield 4,5,6,7 --report r.json --minutes 0.5");
    EXPECT_FALSE(ending);
    EXPECT_EQ(options.server.port, 5111);
    EXPECT_TRUE(options.server.control);
    EXPECT_EQ(options.simulator.headingDegrees, 70);
    EXPECT_EQ(options.simulator.motion.fpm, -500);
    EXPECT_EQ(options.simulator.generation, Generation::msfs2024);
    EXPECT_EQ(options.simulator.terrain.airfields.size(), 2u);
    EXPECT_EQ(options.minutes, 0.5);
    EXPECT_EQ(parse("--command help --command drop").commands, (std::vector<std::string>{"help", "drop"}));
    parse("--help");
    ASSERT_TRUE(ending);
    EXPECT_EQ(ending->code, 0);
    EXPECT_NE(ending->text.find("teleport LAT LON"), std::string::npos) << "the commands are told, too";
    EXPECT_EQ(parse("--protocols 5-6").simulator.lowestProtocol, 5u);
    for (const std::string bad : {"--port", "--port 70000", "--port x", "--at 1,2", "--at 95,2,3", "--user swim",
                                  "--fps 0", "--msfs 2022", "--community /no/such", "--titles /no/such", "--airfield 1",
                                  "--minutes -1", "--protocols 2-x", "--unknown 1", "stray"}) {
        SCOPED_TRACE(bad);
        parse(bad);
        ASSERT_TRUE(ending);
        EXPECT_EQ(ending->code, 2);
        EXPECT_NE(ending->text.find(kes::test::words(bad)[0]), std::string::npos) << ending->text;
    }
}

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
    if (!fs::is_directory(community)) {
        GTEST_SKIP() << "no " << community;
    }
    Titles titles;
    EXPECT_GT(addTitlesFromFolder(titles, community), 400u);
    EXPECT_GT(titles.known.size(), 1000u);
    EXPECT_TRUE(isKnownTitle(titles, "KC-135R Mildenhall"));
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
        const std::string told = kes::test::thrownBy([&] { parseTrack(one.content); });
        EXPECT_NE(told.find(one.complaint), std::string::npos) << one.content << ": " << told;
    }
}

} // namespace
} // namespace kes::world::test
