// SPDX-License-Identifier: MIT
// What the tests of the feed share: a clean state, a log of their own, lines, datagrams.
#pragma once

#include "core/clock.h"
#include "core/run_state.h"
#include "core/window.h"
#include "feed/control_link.h"
#include "feed/qnh_reader.h"
#include "feed/traffic_reader.h"
#include "platform/socket.h"
#include "platform/system.h"
#include "support.h"

#include <algorithm>
#include <utility>

namespace kes::test {

using namespace std::chrono_literals;

class FeedTest : public ::testing::Test {
protected:
    void SetUp() override {
        resetRunFlags();
        resetWindow();
        resetStatus();
        clearError();
        rtOnThisPc = true;
        setRange(40.0F);
        resetReaders();
        trafficReader.takeCallsigns();
        trafficReader.setUserPosition(41.3, 2.08);
        trafficReader.setReferenceAirport(FeedAirport{{41.3, 2.08}, 1150.0});
        controlLinkHooks = {};
        reportQueue.clear();
        reportQueue.setAccepting(true);
    }
    void TearDown() override {
        stopTrafficReader();
        stopQnhReader();
        closeControlLink();
        trafficReader.complaints.finish();
        qnhReader.complaints.finish();
        setWallClockMs(-1);
    }

    /// The log without its head line.
    std::vector<std::string> logLines() const {
        std::istringstream file(program.logText());
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line);)
            lines.push_back(line);
        if (!lines.empty())
            lines.erase(lines.begin());
        return lines;
    }
    std::ptrdiff_t timesLogged(std::string_view part) const {
        return std::ranges::count_if(logLines(), [&](const std::string& line) { return line.find(part) != line.npos; });
    }
    bool logged(const std::string& text) const { return std::ranges::count(logLines(), text) != 0; }

    const ProgramFolder program;
};

/// A full line of 44 fields: an airliner 12 nautical miles north of the user, with some fields replaced.
inline std::string feedLine(const std::vector<std::pair<std::size_t, std::string>>& changes = {},
                            std::size_t fieldCount = 44) {
    std::vector<std::string> fields = {
        "RTTFC", "4843221", "41.50000", "2.10000", "12375", "-1376",        "1",      "246.50", "310.20",
        "KES42", "A320",    "EC-KES",   "LEMD",    "LEBL",  "1700000000.5", "T",      "KS42",   "adsb_icao",
        "12000", "280",     "352",      "0.55",    "0.1",   "-2.5",         "244.10", "245.00", "1280",
        "none",  "A3",      "1013.2",   "35008",   "-1",    "54.84",        "null",   "0.0",    "-20.8",
        "227",   "19",      "-15",      "14",      "1",     "12375",        "268697", "KES"};
    for (const auto& [index, value] : changes)
        fields.at(index) = value;
    std::string line;
    for (std::size_t i = 0; i < fieldCount; ++i)
        line += (i == 0 ? "" : ",") + fields.at(i);
    return line;
}

/// Hands a line to the reader as one datagram, without a socket.
inline void feed(UdpReader& reader, std::string_view datagram) {
    reader.text = datagram;
    reader.onDatagram();
    reader.text = {};
}

/// Takes all reports that wait.
inline std::vector<AircraftReport> takeReports() {
    std::vector<AircraftReport> reports(reportQueue.size());
    reports.resize(reportQueue.take(reports));
    return reports;
}

/// A UDP port that nobody uses at the moment.
inline std::uint16_t freeUdpPort() {
    platform::Socket probe;
    EXPECT_EQ(probe.openUdp(), 0);
    EXPECT_EQ(probe.bindUdp(0, true), 0);
    return probe.localPort();
}

struct UdpSender {
    explicit UdpSender(std::uint16_t toPort) : port(toPort) { EXPECT_EQ(socket.openUdp(), 0); }
    void send(std::string_view datagram) {
        EXPECT_EQ(socket.sendTo({datagram.data(), datagram.size()}, "127.0.0.1", port).bytes,
                  static_cast<std::ptrdiff_t>(datagram.size()));
    }
    platform::Socket socket;
    std::uint16_t port;
};

/// Starts the traffic reader on a free port and waits until it listens.
inline std::uint16_t startedTrafficReader() {
    const std::uint16_t port = freeUdpPort();
    readouts.trafficLamp = Lamp::off;
    startTrafficReader(port);
    EXPECT_TRUE(waitFor([] { return readouts.trafficLamp == Lamp::receiving; }));
    return port;
}

} // namespace kes::test
