// SPDX-License-Identifier: MIT
#include "raw_client.h"
#include "support.h"
#include "world/simulator/options.h"

#include <gtest/gtest.h>

namespace kes::world::test {
namespace {

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

} // namespace
} // namespace kes::world::test
