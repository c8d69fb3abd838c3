// SPDX-License-Identifier: MIT
// One run of the traffic source: the sending loop, the faults that it makes on demand, its report.
#pragma once

#include "platform/socket.h"
#include "world/rests.h"
#include "world/source/burst.h"
#include "world/source/control_client.h"
#include "world/source/recording.h"
#include "world/source/scenario.h"
#include "world/source/source_options.h"
#include "world/speed_slices.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace kes::source {

/// What was sent.
struct SourceCounts {
    std::uint64_t reports = 0; ///< traffic lines
    std::uint64_t parked = 0;  ///< lines of parked aircraft
    std::uint64_t garbage = 0;
    std::uint64_t datagrams = 0; ///< all to the traffic port
    std::uint64_t weather = 0;
    std::uint64_t sendErrors = 0;
    std::uint64_t skippedLines = 0;
};

class SourceRun {
public:
    explicit SourceRun(SourceOptions options);
    SourceRun(const SourceRun&) = delete;
    SourceRun& operator=(const SourceRun&) = delete;
    /// Opens sockets and the recording. False with a reason.
    bool open(std::string& error);
    /// Sends until told to stop or the minutes are over.
    void run();
    /// Ends `run`. Any thread.
    void stop();
    /// One command line but "quit", as --help tells them; returns the answer line. Any thread.
    std::string command(std::string_view line);
    /// The counts as one JSON object. Any thread.
    std::string reportJson();
    /// Port of the command server, 0 when there is none.
    std::uint16_t commandPort() const { return commandListener_.localPort(); }

private:
    using Clock = std::chrono::steady_clock;
    struct Outgoing {
        double due = 0; ///< seconds of the run
        std::string text;
        bool timed = true;
    };
    double elapsed() const;
    bool inBursts() const { return options_.burst.value_or(options_.feed.empty()); }
    std::optional<Outgoing> nextTraffic(double trafficStart);
    std::optional<Outgoing> nextOfBurst(double trafficStart);
    std::optional<RecordedLine> nextRecorded();
    void sendTraffic(std::string_view text);
    void sendWeather();
    void sendGarbage(std::uint64_t count);
    void sendFlood(double now);
    void serveCommands();
    void noteLink();
    void say(const std::string& text);

    SourceOptions options_;
    ControlClient link_;
    Recording recording_;
    Scenario scenario_;
    platform::Socket udp_, commandListener_;
    Clock::time_point begin_;
    double beginEpoch_ = 0; ///< seconds since 1970 at the begin of the run, in whole tenths
    std::thread commandThread_;
    std::mutex clientMutex_;
    platform::Socket* commandClient_ = nullptr; ///< guarded by `clientMutex_`
    bool endCommands_ = false;                  ///< same

    std::mutex mutex_; ///< guards all below
    std::condition_variable wake_;
    bool stopping_ = false, trafficOn_ = true, feedEnded_ = false;
    double qnh_ = standardQnh;
    SourceCounts counts_;
    Bursts<ScenarioReport> scenarioBursts_;
    Bursts<RecordedLine> recordedBursts_;
    std::deque<Outgoing> burst_;                  ///< not yet sent
    world::Rests rests_{20.0, 10.0};              ///< reported, by address
    world::SpeedSlices speeds_;                   ///< reported, times the speed of the run
    std::set<std::string, std::less<>> aircraft_; ///< addresses sent, as text
    std::vector<std::string> recent_;             ///< lines to flood with
    std::size_t recentAt_ = 0;
    double floodRate_ = 0, floodFrom_ = 0, floodUntil_ = 0;
    std::uint64_t floodSent_ = 0;
    std::mt19937 random_;
    std::uint64_t connectionsSaid_ = 0;
    bool connectedSaid_ = false;
};

} // namespace kes::source
