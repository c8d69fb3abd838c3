// SPDX-License-Identifier: MIT
#include "core/geo.h"
#include "files.h"
#include "raw_client.h"
#include "support.h"
#include "world/simulator/control.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

namespace fs = std::filesystem;
using kes::test::TempFolder;

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
