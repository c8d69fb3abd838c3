// SPDX-License-Identifier: MIT
// The live page and its stream, as a browser reads them.
#include "platform/socket.h"
#include "raw_client.h"
#include "support.h"
#include "world/view/live_state.h"
#include "world/view/live_view.h"

#include <nlohmann/json.hpp>

namespace kes::world::test {
namespace {

using kes::test::waitFor;
using nlohmann::json;

TEST(LiveState, TellsAllOnceAndThenWhatChanges) {
    Simulator simulator;
    start(simulator, World::flat());
    SimObject aircraft;
    aircraft.id = 100;
    aircraft.title = "A320 \xC3\xA9\xFF";
    aircraft.tail = "DLH4AB";
    aircraft.model = "A320";
    aircraft.lat = simulator.user.lat + 0.01;
    aircraft.lon = simulator.user.lon;
    aircraft.alt = 3000;
    aircraft.heading = 1.0;
    aircraft.tas = 250;
    simulator.objects = {aircraft};
    LiveState state;
    json told = state.update(simulator);
    ASSERT_EQ(told["new"].size(), 2U) << "the user's and the other";
    EXPECT_EQ(told["new"][1]["tail"], "DLH4AB");
    EXPECT_NO_THROW(static_cast<void>(told.dump())) << "all texts are UTF-8";
    const json move = told["move"][1];
    EXPECT_EQ(move[0], 100);
    EXPECT_NEAR(move[1].get<double>(), aircraft.lat, 1e-6);
    EXPECT_NEAR(move[3].get<double>(), 3000, 0.5);
    EXPECT_NEAR(move[4].get<double>(), 3000 - groundBelow(simulator, aircraft), 1);
    EXPECT_NEAR(move[5].get<double>(), 57.3, 0.06);
    EXPECT_EQ(move[6], 250.0);

    told = state.update(simulator);
    EXPECT_FALSE(told.contains("new") || told.contains("move") || told.contains("gone")) << told;
    simulator.objects[0].lights = light::landing;
    told = state.update(simulator);
    ASSERT_EQ(told["move"].size(), 1U) << told;
    EXPECT_EQ(told["move"][0][8], light::landing);
    simulator.objects[0].leaving = true;
    EXPECT_EQ(state.update(simulator)["gone"], json::array({100}));
    simulator.objects.clear();
    EXPECT_FALSE(state.update(simulator).contains("gone")) << "told once";
    EXPECT_EQ(LiveState().update(simulator)["new"].size(), 1U) << "each watcher is told for himself";
}

/// A browser: asks once and keeps what comes.
struct Browser {
    Browser(std::uint16_t port, const std::string& path, const std::string& host = "127.0.0.1") {
        EXPECT_EQ(socket.connectTcp("127.0.0.1", std::to_string(port), 2000), 0);
        const std::string request =
            "GET " + path + " HTTP/1.1\r\nHost: " + host + ":" + std::to_string(port) + "\r\nConnection: close\r\n\r\n";
        EXPECT_GT(socket.sendAll({request.data(), request.size()}, 2000).bytes, 0);
    }
    bool waitForText(std::string_view wanted) {
        return waitFor([&] {
            char buffer[65536];
            const platform::IoResult got = socket.receive(buffer, 20);
            if (got.bytes > 0)
                text.append(buffer, static_cast<std::size_t>(got.bytes));
            ended = ended || (got.bytes <= 0 && !got.timedOut);
            return text.find(wanted) != std::string::npos || (wanted.empty() && ended);
        });
    }
    platform::Socket socket;
    std::string text;
    bool ended = false;
};

TEST(LiveView, ServesPageAndStreamAndEndsThemWhenTold) {
    kes::test::ProgramFolder folder;
    Server server;
    std::string error;
    ASSERT_TRUE(server.start(World::flat(), {}, error)) << error;
    Stand stand;
    stand.id = "A\"</script>1";
    stand.radius = 20 / 1852.0;
    LiveView view(server);
    ASSERT_TRUE(view.start({0, {stand}, "Watched.txt", "EDDM"}, error)) << error;
    LiveView second(server);
    EXPECT_FALSE(second.start({view.port(), {}, {}, {}}, error));
    EXPECT_EQ(error, "port " + std::to_string(view.port()) + " of the live page cannot be had");

    Browser page(view.port(), "/");
    EXPECT_TRUE(page.waitForText("</html>"));
    EXPECT_NE(page.text.find("\"place\":\"EDDM\""), std::string::npos);
    EXPECT_EQ(page.text.find("</script>1"), std::string::npos) << "a stand's name ends no script";

    Browser stranger(view.port(), "/", "pages.example");
    EXPECT_TRUE(stranger.waitForText("")) << "answered and closed";
    EXPECT_TRUE(stranger.text.starts_with("HTTP/1.1 403")) << stranger.text;

    Browser stream(view.port(), "/events");
    EXPECT_TRUE(stream.waitForText("data: {\"move\":[[1,"));
    std::ofstream("Watched.txt") << "head\nDLH1 D-AIZA LHR->MUC DLH A320 =2= Test A320\nhalf a li";
    EXPECT_TRUE(stream.waitForText(
        "\"why\":[{\"label\":\"DLH1 D-AIZA LHR->MUC DLH A320\",\"step\":2,\"title\":\"Test A320\"}]"));
    std::ofstream("Watched.txt", std::ios::app) << "ne BAW2 =1= Other\n";
    EXPECT_TRUE(stream.waitForText("\"label\":\"half a line BAW2\""));
    view.stop();
    EXPECT_TRUE(stream.waitForText("")) << "the stream ends";
    server.stop(true);
}

} // namespace
} // namespace kes::world::test
