// SPDX-License-Identifier: MIT
// The source against real sockets: a UDP receiver and a TCP server in the place of the program.
#include "feed/control_link.h"
#include "support.h"
#include "world/source/source_options.h"
#include "world/source/source_run.h"

#include <array>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <zlib.h>

using namespace kes;
using namespace kes::source;

namespace {

std::string feedLine(std::uint32_t hexid, double time) {
    return fmt::format("RTTFC,{0},48.5,11.5,5000,0,1,90.00,250.00,DLH{0},A320,D-AIZC,FRA,MUC,{1:.1f},X2,null,adsb_icao,"
                       "-1,-1,-1,-1,-1,-1,-1,90.00,-1,none,A3,-1,-1,-1,-1,null,0.0,-1,-1,-1,-1,-1,1,5000,0,DLH",
                       hexid, time);
}

using Steady = std::chrono::steady_clock;

double secondsSince(Steady::time_point t) {
    return std::chrono::duration<double>(Steady::now() - t).count();
}

struct Datagram {
    std::string text;
    double at = 0; ///< seconds since the receiver was made
};

/// A UDP port that keeps what it gets, and takes it in when it is asked.
struct Receiver {
    Receiver() {
        EXPECT_EQ(socket.openUdp(), 0);
        EXPECT_EQ(socket.bindUdp(0, true), 0);
        socket.setReceiveBuffer(1 << 22);
    }
    const std::vector<Datagram>& all() {
        for (platform::IoResult r; (r = socket.receive(buffer, 0)).bytes >= 0;)
            got.push_back({std::string(buffer.data(), static_cast<std::size_t>(r.bytes)), secondsSince(begin)});
        return got;
    }
    std::size_t count() { return all().size(); }

    platform::Socket socket;
    const Steady::time_point begin = Steady::now();
    std::vector<char> buffer = std::vector<char>(70000);
    std::vector<Datagram> got;
};

/// A control-link server for one client at a time.
struct Server {
    explicit Server(std::uint16_t port = 0) {
        const char* step = "";
        EXPECT_EQ(listener.listenTcp(std::to_string(port), step, true), 0) << step;
    }
    bool accept(int ms = 10000) {
        client.close();
        client = platform::Socket();
        return listener.accept(client, ms).bytes == 0;
    }
    void send(std::string_view text) { ASSERT_EQ(client.sendAll(text, 2000).bytes, static_cast<int>(text.size())); }
    std::string read() {
        std::array<char, 4096> buffer{};
        const platform::IoResult r = client.receive(buffer, 5000);
        return r.bytes > 0 ? std::string(buffer.data(), static_cast<std::size_t>(r.bytes)) : std::string();
    }
    platform::Socket listener, client;
};

/// A source that runs on a thread of its own.
struct Running {
    explicit Running(SourceOptions options) : run(std::move(options)) {
        std::string error;
        EXPECT_TRUE(run.open(error)) << error;
        thread = std::thread([this] {
            run.run();
            ended = true;
        });
    }
    ~Running() {
        run.stop();
        thread.join();
    }
    nlohmann::json report() { return nlohmann::json::parse(run.reportJson()); }
    SourceRun run;
    std::atomic<bool> ended{false};
    std::thread thread;
};

SourceOptions optionsFor(Receiver& traffic, Receiver& weather, std::uint16_t control) {
    SourceOptions o;
    o.trafficPort = traffic.socket.localPort();
    o.weatherPort = weather.socket.localPort();
    o.controlPort = control;
    return o;
}

std::string userLine(double lat, double lon) {
    UserAircraft user;
    user.lat = lat, user.lon = lon, user.alt = 6500;
    return formatQs121(user);
}

double fieldTime(const std::string& line) {
    return timeField(line).value_or(-1);
}

} // namespace

TEST(SourceRun, RecordingGoesOutAtItsPaceWithPresentTimes) {
    const test::TempFolder folder;
    std::string content;
    constexpr std::array times{1000.0, 1000.5, 1002.0, 1002.0, 1004.0, 1010.0};
    for (std::size_t i = 0; i < times.size(); ++i) {
        content += feedLine(20001 + static_cast<std::uint32_t>(i), times[i]) + "\n";
        content += i == 2 ? "no line at all\n" : "";
    }
    folder.write("a.txt", content);
    const gzFile packed = gzopen((folder.path / "a.rttfc.gz").c_str(), "wb");
    gzwrite(packed, content.data(), static_cast<unsigned>(content.size()));
    gzclose(packed);
    for (const char* name : {"a.txt", "a.rttfc.gz"}) {
        Receiver traffic, weather;
        Server server;
        SourceOptions o = optionsFor(traffic, weather, server.listener.localPort());
        o.feed = (folder.path / name).string();
        o.speed = 10;
        const double epoch = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
        Running source(o);
        ASSERT_TRUE(test::waitFor([&] { return traffic.count() == 7; })) << traffic.count();
        const auto got = traffic.all();
        EXPECT_EQ(got[3].text, "no line at all");
        const std::array<std::size_t, 6> index{0, 1, 2, 4, 5, 6};
        for (std::size_t i = 0; i < times.size(); ++i) {
            const Datagram& d = got[index[i]];
            const double offset = (times[i] - times[0]) / o.speed;
            EXPECT_GE(d.at - got[0].at, offset - 0.06) << i;
            EXPECT_LE(d.at - got[0].at, offset + 0.5) << i;
            EXPECT_NEAR(fieldTime(d.text) - fieldTime(got[0].text), offset, 0.11) << i;
            EXPECT_EQ(withTime(d.text, times[i]), feedLine(20001 + static_cast<std::uint32_t>(i), times[i]));
        }
        EXPECT_NEAR(fieldTime(got[0].text), epoch, 2.0);
        // At its end it goes quiet but stays.
        ASSERT_TRUE(test::waitFor([&] { return source.report()["feedEnded"].get<bool>(); }));
        EXPECT_TRUE(server.accept());
        EXPECT_FALSE(source.ended);
        EXPECT_EQ(source.report()["reportsSent"], 7);
    }
}

TEST(SourceRun, AHostNameIsRefusedSinceDatagramsWouldBeLostWithoutAWord) {
    const struct {
        const char* host;
        bool taken;
    } rows[] = {{"127.0.0.1", true}, {"localhost", false}, {"1.2.3", false}, {"1.2.3.256", false}, {"", false}};
    for (const auto& row : rows) {
        SourceOptions o;
        EXPECT_EQ(!readOptions({"--host", row.host}, o), row.taken) << row.host;
    }
}

TEST(SourceRun, ControlLinkAnswersCountsAndReturns) {
    Receiver traffic, weather;
    Server server;
    const std::uint16_t port = server.listener.localPort();
    Running source(optionsFor(traffic, weather, port));
    ASSERT_TRUE(server.accept());
    server.send("Qs999=ver");
    server.send("sion\r\n");
    const auto reply = nlohmann::json::parse(server.read());
    EXPECT_EQ(reply["level"], 2);
    EXPECT_TRUE(reply["version"].is_string());
    server.send(userLine(48.5, 11.25) +
                "Qs123=1753000000000\r\nQs121=1;2;3\r\nQs121=0;0;0;0;0;9;0\r\nQs123=x\r\nhello\r\n");
    ASSERT_TRUE(test::waitFor([&] { return source.report()["linesByKind"]["other"] == 1; }));
    auto report = source.report();
    EXPECT_EQ(report["linesByKind"],
              (nlohmann::json{{"Qs121", 3}, {"Qs123", 2}, {"Qs999", 1}, {"exit", 0}, {"other", 1}}));
    EXPECT_EQ(report["badLines"], (nlohmann::json{{"Qs121", 2}, {"Qs123", 1}}));
    EXPECT_NEAR(report["lastPosition"]["lat"].get<double>(), 48.5, 1e-4);
    EXPECT_NEAR(report["lastPosition"]["lon"].get<double>(), 11.25, 1e-4);

    // The connection breaks: it comes back. On command, too, and not while the link is off. A command that comes
    // while the client is still connecting would cut that short, hence the waits.
    const auto made = [&](int connections) {
        return test::waitFor([&] { return source.report()["controlConnections"] == connections; });
    };
    ASSERT_TRUE(server.accept()) << "a broken connection was not made again";
    ASSERT_TRUE(made(2));
    EXPECT_EQ(source.run.command("drop-link"), "ok");
    EXPECT_EQ(server.read(), "");
    ASSERT_TRUE(server.accept());
    ASSERT_TRUE(made(3));
    EXPECT_EQ(source.run.command("link off"), "ok");
    EXPECT_EQ(server.read(), "");
    EXPECT_FALSE(server.accept(1200));
    EXPECT_EQ(source.run.command("link on"), "ok");
    ASSERT_TRUE(server.accept());
    ASSERT_TRUE(made(4));

    // After "exit" it closes from its side and finds the next server on the port.
    server.listener.close();
    server.send("exit\r\n");
    EXPECT_EQ(server.read(), "");
    server.client.close();
    Server next(port);
    ASSERT_TRUE(next.accept());
    ASSERT_TRUE(made(5));
    EXPECT_EQ(source.report()["linesByKind"]["exit"], 1);
    EXPECT_EQ(source.report()["controlConnectionsLost"], 1);
}
