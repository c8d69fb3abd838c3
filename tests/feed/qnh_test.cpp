// SPDX-License-Identifier: MIT
#include "feed_test.h"

namespace kes::test {
namespace {

class QnhTest : public FeedTest {};

TEST_F(QnhTest, ReadsEveryFormOfThePressure) {
    const std::string deep = "{\"QNH\":" + std::string(8000, '[') + std::string(8000, ']') + "}";
    const std::string noQnh = "no QNH ", strange = "? Strange QNH ",
                      noDigits = "QNH string invalid arg: invalid stoi argument";
    const struct {
        std::string datagram;
        std::int32_t qnh; // 0 = nothing is taken
        std::string complaint = {};
    } cases[] = {
        {R"({"QNH":990,"OAT":12})", 990},
        {R"({"QNH":1013})", 1013},
        {R"({"QNH":930})", 930},
        {R"({"QNH":1080})", 1080},
        {R"({"QNH":929})", 0, strange + "929 found in "},
        {R"({"QNH":1081})", 0, strange + "366 found in "},
        {R"({"QNH":2992})", 1013},
        {R"({"QNH":2744})", 0, strange + "929 found in "},
        {R"({"QNH":2745})", 930},
        {R"({"QNH":1001.5})", 1002},
        {R"({"QNH":1001.4})", 1001},
        {R"({"QNH":1080.4})", 1080},
        {R"({"QNH":1e3})", 1000},
        {R"({"QNH":-5})", 0, strange + "-5 found in "},
        {R"({"QNH":1e30})", 0, strange},
        {R"({"QNH":-1.7e308})", 0, strange},
        {R"({"QNH":1e999})", 0, "Exception [json.exception.out_of_range.406]"},
        {R"({"QNH":18446744073709551615})", 0, strange},
        {R"({"QNH":-9223372036854775808})", 0, strange},
        {R"({"QNH":"1002"})", 1002},
        {R"({"QNH":" \t+1002 hPa"})", 1002},
        {R"({"QNH":"2992"})", 1013},
        {R"({"QNH":"-1002"})", 0, strange + "-1002 found in "},
        {R"({"QNH":""})", 1013, noDigits},
        {R"({"QNH":"high"})", 1013, noDigits},
        {R"({"QNH":"+-1002"})", 1013, noDigits},
        {R"({"QNH":"99999999999"})", 1013, "QNH string out of range: stoi argument out of range"},
        {R"({"QNH":null})", 0, noQnh},
        {R"({"QNH":[]})", 0, noQnh},
        {R"({"QNH":{}})", 0, noQnh},
        {R"({"QNH":[1002]})", 0, noQnh},
        {R"({"QNH":{"hPa":1002}})", 0, noQnh},
        {R"({"QNH":true})", 0, noQnh},
        {R"({"qnh":1002})", 0, noQnh},
        {"{}", 0, noQnh},
        {"[1002]", 0, "Exception the weather is no object but array, in [1002]"},
        {"1002", 0, "Exception the weather is no object but number, in 1002"},
        {R"({"QNH":1002)", 0, "Exception [json.exception.parse_error.101]"},
        {"QNH 1002", 0, "Exception [json.exception.parse_error.101]"},
        {"\xff\xfe{\n}", 0, "Exception [json.exception.parse_error.101]"},
        {std::string(16383, '['), 0, "Exception [json.exception.parse_error.101]"},
        {deep, 0, noQnh},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.datagram.substr(0, 60));
        constexpr std::int32_t untouched = 1050;
        qnhReader.lastQnh = currentQnh = untouched;
        readouts.qnh = untouched;
        const std::size_t before = logLines().size();
        feed(qnhReader, c.datagram);
        for (const std::atomic<std::int32_t>* qnh : {&qnhReader.lastQnh, &currentQnh, &readouts.qnh})
            EXPECT_EQ(*qnh, c.qnh == 0 ? untouched : c.qnh);
        const auto lines = logLines();
        ASSERT_EQ(lines.size(), before + (c.complaint.empty() ? 0U : 1U));
        EXPECT_TRUE(c.complaint.empty() || lines.back().starts_with(c.complaint)) << c.complaint;
    }
    EXPECT_EQ(logLines().back(), "no QNH " + deep.substr(0, longestQuote) + "...");
}

TEST_F(QnhTest, LampTurnsBackOnlyWithNewsOrTheStandard) {
    const struct {
        const char* datagram;
        Lamp before, after;
    } cases[] = {{R"({"QNH":990})", Lamp::silent, Lamp::receiving},
                 {R"({"QNH":990})", Lamp::silent, Lamp::silent},
                 {R"({"QNH":1013})", Lamp::silent, Lamp::receiving},
                 {R"({"QNH":1013})", Lamp::silent, Lamp::receiving},
                 {R"({"QNH":1013})", Lamp::stopped, Lamp::stopped}};
    for (const auto& c : cases) {
        readouts.weatherLamp = c.before;
        feed(qnhReader, c.datagram);
        EXPECT_EQ(readouts.weatherLamp.load(), c.after) << c.datagram;
    }
}

TEST_F(QnhTest, ThreadReceivesAndStops) {
    const std::uint16_t port = freeUdpPort();
    readouts.weatherLamp = Lamp::off;
    readouts.trafficLamp = Lamp::stopped;
    startQnhReader(port);
    ASSERT_TRUE(waitFor([] { return readouts.weatherLamp == Lamp::receiving; }));
    UdpSender sender(port);
    sender.send(R"({"QNH":987})");
    EXPECT_TRUE(waitFor([] { return currentQnh == 987; }));
    // A reset while the reader runs: the pressure holds until the weather tells it anew.
    resetReaders();
    EXPECT_EQ(qnhReader.lastQnh, 1013);
    EXPECT_EQ(currentQnh, 987);
    const auto start = std::chrono::steady_clock::now();
    stopQnhReader();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_EQ(logLines(), (std::vector<std::string>{"          QNH Reader connected", "QNH Reader has stopped"}));
    EXPECT_EQ(readouts.trafficLamp.load(), Lamp::stopped);
    resetReaders();
    EXPECT_EQ(currentQnh, 1013);
}

TEST_F(QnhTest, APortInUseIsAnErrorOfTheRun) {
    platform::Socket other;
    ASSERT_EQ(other.openUdp(), 0);
    ASSERT_EQ(other.bindUdp(0, true), 0);
    startQnhReader(other.localPort());
    EXPECT_TRUE(waitFor([] { return readerFailed.load(); }));
    EXPECT_TRUE(logged("          QNH Reader disconnected"));
    EXPECT_TRUE(waitFor([] { return statusText().starts_with("The WeatherReader has stopped with an error: bind "); }));
}

} // namespace
} // namespace kes::test
