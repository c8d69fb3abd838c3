// SPDX-License-Identifier: MIT
#include "simconnect/config.h"
#include "simconnect/raw_server.h"

namespace kes::simconnect {

namespace {
using Config = ClientTest;
}

TEST(ConfigText, Table) {
    const std::string two =
        "; the simulator\r\n[simconnect]\r\nPROTOCOL = ipv4\r\naddress=192.0.2.10 ; the other PC\r\n"
        "Port=5111\r\nMaxReceiveSize=8000\r\nDisableNagle=1\r\nColour=red\r\n"
        "[SimConnect.1]\nport= 500 \nprotocol=Pipe\n[SimConnect.12]\naddress=sim.example\n";
    const struct {
        const char* name;
        std::string text;
        std::uint32_t index;
        bool found;
        const char *protocol, *address, *port;
        std::uint32_t maxReceiveSize;
        bool disableNagle;
    } cases[] = {
        {"first", two, 0, true, "IPv4", "192.0.2.10", "5111", 8000, true},
        {"second", two, 1, true, "Pipe", "127.0.0.1", "500", 41088, false},
        {"last", two, 12, true, "Auto", "sim.example", "", 41088, false},
        {"none of that index", two, 2, false, "", "", "", 0, false},
        {"byte order mark", "\xEF\xBB\xBF[SimConnect]\nPort=7", 0, true, "Auto", "127.0.0.1", "7", 41088, false},
        {"bad values", "[SimConnect]\nPort=70000\nProtocol=Token\nAddress=\nMaxReceiveSize=-1\nDisableNagle=maybe", 0,
         true, "Auto", "127.0.0.1", "", 41088, false},
        {"a bad port after a good one", "[SimConnect]\nPort=7\nPort=0\nPort=7a\nPort=", 0, true, "Auto", "127.0.0.1",
         "7", 41088, false},
        {"keys of other sections", "Port=1\n[Other]\nPort=2\n[SimConnect]\nPort=3\n[Other]\nPort=4", 0, true, "Auto",
         "127.0.0.1", "3", 41088, false},
        {"first of two", "[SimConnect]\nPort=3\n[SimConnect]\nPort=4", 0, true, "Auto", "127.0.0.1", "3", 41088, false},
        {"not quite the section", "[SimConnect\nPort=1\n[SimConnects]\nPort=2\n[SimConnect.x]\nPort=3\n[]\n[", 0, false,
         "", "", "", 0, false},
        {"commented out", ";[SimConnect]\n;Port=1", 0, false, "", "", "", 0, false},
        {"no text", "", 0, false, "", "", "", 0, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const auto config = parseConfig(c.text, c.index);
        ASSERT_EQ(config.has_value(), c.found);
        if (!config)
            continue;
        EXPECT_EQ(config->protocol, c.protocol);
        EXPECT_EQ(config->address, c.address);
        EXPECT_EQ(config->port, c.port);
        EXPECT_EQ(config->maxReceiveSize, c.maxReceiveSize);
        EXPECT_EQ(config->disableNagle, c.disableNagle);
        EXPECT_EQ(config->notUnderstood, c.name == std::string("bad values") ? "Port=70000, Protocol=Token"
                                         : c.name == std::string("a bad port after a good one") ? "Port=0, Port=7a"
                                                                                                : "");
    }
}

TEST_F(Config, FileBesideTheProgramThenUserFolderThenDefault) {
    std::filesystem::create_directories(folder / "user");
    std::ofstream(folder / "user" / "SimConnect.cfg") << "[SimConnect]\nPort=7\n";
    EXPECT_EQ(loadConfig(0)->port, std::to_string(port));
    std::filesystem::remove(folder / "SimConnect.cfg");
    EXPECT_EQ(loadConfig(0)->port, "7");
    EXPECT_FALSE(loadConfig(1));
    EXPECT_FALSE(loadConfig(1));
    EXPECT_EQ(program.logCount("no section for index 1"), 1U);
    std::filesystem::remove(folder / "user" / "SimConnect.cfg");
    EXPECT_FALSE(loadConfig(1));
    EXPECT_EQ(loadConfig(0)->port, defaultPort);
    EXPECT_EQ(loadConfig(0)->address, "127.0.0.1");
    EXPECT_EQ(program.logCount("127.0.0.1:5111"), 1U);
}

} // namespace kes::simconnect
