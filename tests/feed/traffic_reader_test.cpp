// SPDX-License-Identifier: MIT
#include "count_allocations.h"
#include "feed/recorder.h"
#include "feed_test.h"

#include <array>
#include <fmt/format.h>
#include <zlib.h>

namespace kes::test {
namespace {

class TrafficReaderTest : public FeedTest {};

TEST_F(TrafficReaderTest, ReceivesAndStopsAtOnce) {
    const std::uint16_t port = startedTrafficReader();
    EXPECT_EQ(readouts.weatherLamp.load(), Lamp::receiving);
    EXPECT_TRUE(logged("          Traffic Reader connected"));
    UdpSender sender(port);
    sender.send(feedLine());
    sender.send("");
    sender.send(feedLine());
    std::vector<AircraftReport> reports;
    EXPECT_TRUE(waitFor([&] {
        for (AircraftReport& report : takeReports())
            reports.push_back(std::move(report));
        return reports.size() == 2;
    })) << "equal lines of a sender on this PC are two reports";

    const auto start = std::chrono::steady_clock::now();
    stopTrafficReader();
    EXPECT_LT(std::chrono::steady_clock::now() - start, 200ms);
    EXPECT_EQ(readouts.trafficLamp.load(), Lamp::stopped);
    EXPECT_FALSE(readerFailed);
    EXPECT_EQ(logLines().back(), "Traffic Reader has stopped");
    stopTrafficReader();

    // The port is free again, also for the next run of the process.
    startTrafficReader(port);
    EXPECT_TRUE(waitFor([] { return readouts.trafficLamp == Lamp::receiving; }));
    sender.send(feedLine());
    EXPECT_TRUE(waitFor([] { return takeReports().size() == 1; }));
    startTrafficReader(port);
    EXPECT_TRUE(waitFor([] { return readouts.trafficLamp == Lamp::receiving; }));
    sender.send(feedLine());
    EXPECT_TRUE(waitFor([] { return takeReports().size() == 1; })) << "a second start replaces the thread";
}

TEST_F(TrafficReaderTest, APortInUseIsAnErrorOfTheRun) {
    platform::Socket other;
    ASSERT_EQ(other.openUdp(), 0);
    ASSERT_EQ(other.bindUdp(0, true), 0);
    startTrafficReader(other.localPort());
    EXPECT_TRUE(waitFor([] { return readerFailed.load(); }));
    stopTrafficReader();
    const std::string text = "The TrafficReader  has stopped with an error: bind to stream socket failed with error: " +
                             socketErrorText(10048);
    EXPECT_EQ(statusText(), text);
    const std::string advice = fmt::format(
        "          Port {} (UDP) is wanted for RealTraffic and cannot be had: test_feed (process {}) has it. "
        "Close it.",
        other.localPort(), getpid());
    EXPECT_EQ(logLines(), (std::vector<std::string>{"          Traffic Reader disconnected", text, advice}));
}

TEST_F(TrafficReaderTest, ARecordingHoldsWhatCameIn) {
    const std::string file = "recording.gz";
    std::string reason;
    EXPECT_FALSE(startRecording("no folder/recording.gz", reason));
    EXPECT_FALSE(reason.empty() || isRecording());
    ASSERT_TRUE(startRecording(file, reason)) << reason;
    UdpSender sender(startedTrafficReader());
    const auto before = trafficReader.datagramCount.load();
    const std::string lines[] = {feedLine(), "not a line at all", feedLine() + "\r\n"};
    for (const std::string& line : lines)
        sender.send(line);
    EXPECT_TRUE(waitFor([&] { return trafficReader.datagramCount >= before + 3; }));
    stopTrafficReader();
    EXPECT_TRUE(isRecording()) << "a run ends, the recording goes on";
    stopRecording();
    EXPECT_TRUE(logged("Recording recording.gz finished with 3 lines"));
    std::string text(4096, '\0');
    const gzFile in = gzopen(file.c_str(), "rb");
    text.resize(static_cast<std::size_t>(std::max(0, gzread(in, text.data(), static_cast<unsigned>(text.size())))));
    gzclose(in);
    EXPECT_EQ(text, feedLine() + "\nnot a line at all\n" + feedLine() + "\n");
    recordDatagram("nobody records");
    EXPECT_FALSE(isRecording());
}

TEST_F(TrafficReaderTest, RepeatsFromAnotherPcAreIgnored) {
    rtOnThisPc = false;
    trafficReader.lastText.clear();
    const std::uint32_t before = trafficReader.datagramCount;
    UdpSender sender(startedTrafficReader());
    const std::string a = feedLine(), b = feedLine({{9, "KES43"}}), last = feedLine({{9, "LAST"}});
    for (const std::string& line : {a, a, b, a, a, a, last})
        sender.send(line);
    ASSERT_TRUE(waitFor([&] { return trafficReader.datagramCount == before + 7; }));
    stopTrafficReader();
    std::string callsigns;
    for (const AircraftReport& report : takeReports())
        callsigns += report.callsign + " ";
    EXPECT_EQ(callsigns, "KES42 KES43 KES42 LAST ");
}

TEST_F(TrafficReaderTest, OversizeDatagramsAreToldAndSkipped) {
    const std::uint32_t before = trafficReader.datagramCount;
    UdpSender sender(startedTrafficReader());
    // A line of 16383 bytes is the longest that is read.
    std::string longest = feedLine() + ",";
    longest.resize(16383, 'x');
    sender.send(longest);
    sender.send(longest + "x");
    sender.send(longest + std::string(20000, 'x'));
    sender.send(feedLine());
    ASSERT_TRUE(waitFor([&] { return trafficReader.datagramCount == before + 2; }));
    stopTrafficReader();
    EXPECT_EQ(takeReports().size(), 2U);
    const auto lines = logLines();
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1] + "|" + lines[2], "buffer overrun: 16384 bytes|buffer overrun: 16384 bytes");
}

TEST_F(TrafficReaderTest, AFloodIsBoundedAndTheNewestStay) {
    UdpSender sender(startedTrafficReader());
    std::uint32_t sent = 0;
    // The queue overflows only with what was received, whatever the system threw away.
    ASSERT_TRUE(waitFor([&] {
        for (int i = 0; i < 500; ++i)
            sender.send(feedLine({{1, std::to_string(100000 + ++sent)}}));
        return reportQueue.dropped() > 1000;
    }));
    const std::size_t gaveWay = reportQueue.dropped();
    stopTrafficReader();
    const auto reports = takeReports();
    EXPECT_EQ(reports.size(), ReportQueue::capacity);
    EXPECT_GT(reports.front().hexid, 100000 + gaveWay);
    for (std::size_t i = 1; i < reports.size(); ++i)
        ASSERT_LT(reports[i - 1].hexid, reports[i].hexid);
    EXPECT_TRUE(takeReports().empty());
    EXPECT_EQ(logLines().size(), 2U);
}

TEST_F(TrafficReaderTest, ComplaintsOfAFloodAreCounted) {
    setWallClockMs(1'700'000'000'000);
    const std::uint32_t many = LogLimiter::linesPerWindow + 250;
    for (std::uint32_t i = 0; i < many; ++i)
        feed(trafficReader, feedLine({{4, "null"}}));
    EXPECT_EQ(logLines().size(), LogLimiter::linesPerWindow);
    setWallClockMs(1'700'000'000'000 + LogLimiter::windowMs - 1);
    trafficReader.complaints.tellLeftOut();
    EXPECT_EQ(logLines().size(), LogLimiter::linesPerWindow);
    setWallClockMs(1'700'000'000'000 + LogLimiter::windowMs);
    trafficReader.complaints.tellLeftOut();
    EXPECT_EQ(logLines().back(), "250 more messages about the feed were left out");
    feed(trafficReader, feedLine({{8, "null"}}));
    EXPECT_EQ(logLines().back(), "exception in processLine: gs:null");
}

TEST_F(TrafficReaderTest, SteadyTrafficAllocatesNothing) {
    const std::string full = feedLine({{9, "CALLSIGN-OF-SOME-LENGTH"}});
    const std::string lines[] = {full, feedLine({{2, "10"}}), feedLine({{28, "C1"}}), "RTPARK,76cd72,1,2",
                                 feedLine({{9, "A VEH"}})};
    std::array<AircraftReport, 2> room; // more than there are
    std::size_t taken = 0;
    const auto round = [&] {
        for (const std::string& line : lines)
            feed(trafficReader, line);
        taken += reportQueue.take(room);
    };
    for (std::size_t i = 0; i <= ReportQueue::capacity; ++i)
        round();
    const std::size_t before = allocations;
    taken = 0;
    for (int i = 0; i < 100; ++i)
        round();
    EXPECT_EQ(allocations, before);
    EXPECT_EQ(taken, 100U);
}

TEST_F(TrafficReaderTest, CollectsCallsignsWhileAsked) {
    const auto feedCallsign = [](const char* callsign, const char* lat = "41.5") {
        feed(trafficReader, feedLine({{9, callsign}, {2, lat}, {28, "C1"}}));
    };
    feedCallsign("EARLY");
    trafficReader.setCollectCallsigns();
    for (const char* callsign : {"KES1", "KES2", "KES1", "null", "", "KES@", "B\nAD"})
        feedCallsign(callsign);
    feedCallsign("FAR", "10");
    EXPECT_EQ(trafficReader.takeCallsigns(), (std::set<std::string>{"KES1", "KES2"}));
    feedCallsign("LATE");
    EXPECT_TRUE(trafficReader.takeCallsigns().empty());
}

TEST_F(TrafficReaderTest, WorkerAndReaderShareTheInputs) {
    std::atomic<bool> done{false};
    std::atomic<int> lines{0};
    std::thread reader([&] {
        for (; !done; ++lines)
            feed(trafficReader, feedLine({{9, "KES" + std::to_string(lines % 50)}, {2, "10"}, {3, "10"}}));
    });
    std::size_t collected = 0;
    const bool enough = waitFor([&] {
        // Far apart, so that a position torn between the two would lie within range of neither.
        for (const double side : {10.0, -50.0}) {
            trafficReader.setUserPosition(side, side);
            trafficReader.setReferenceAirport(FeedAirport{{side, side}, side});
            trafficReader.setCollectCallsigns();
            // A thread that locks without a pause would keep the other one out for good.
            for (const int before = lines; lines < before + 2;)
                std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
        const auto taken = trafficReader.takeCallsigns();
        collected += taken.size();
        for (const AircraftReport& report : takeReports())
            EXPECT_EQ(report.sample.lat, 10.0);
        resetReaders();
        return collected > 200;
    });
    done = true;
    reader.join();
    EXPECT_TRUE(enough);
}

} // namespace
} // namespace kes::test
