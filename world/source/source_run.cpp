// SPDX-License-Identifier: MIT
#include "world/source/source_run.h"

#include "core/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace kes::source {

namespace {

constexpr double weatherEvery = 10; // seconds
constexpr double lookEvery = 0.1;   // seconds; longest wait of the loop
constexpr double highestFlood = 200000;

bool readCount(std::string_view text, double high, double& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc{} && end == text.data() + text.size() && value >= 0 && value <= high;
}

} // namespace

SourceRun::SourceRun(SourceOptions options) : options_(std::move(options)), random_(options_.seed ^ 0x5eed) {}

bool SourceRun::open(std::string& error) {
    if (const int code = udp_.openUdp(); code != 0) {
        error = fmt::format("no UDP socket, error {}", code);
        return false;
    }
    qnh_ = options_.qnh.value_or(options_.feed.empty() ? ScenarioConfig{}.qnh : standardQnh);
    if (!options_.feed.empty()) {
        if (!recording_.open(options_.feed, error)) {
            return false;
        }
    } else {
        ScenarioConfig config;
        config.seed = options_.seed;
        config.qnh = std::clamp(qnh_, 930.0, 1080.0);
        if (options_.at) {
            config.centre = *options_.at;
            config.airport.clear();
            config.magneticVariation = 0;
        }
        config.elevation = options_.elevation.value_or(config.elevation);
        startScenario(scenario_, config);
    }
    if (options_.commandPort >= 0) {
        const char* step = "";
        if (const int code = commandListener_.listenTcp(std::to_string(options_.commandPort), step, true); code != 0) {
            error = fmt::format("{} failed on command port {}, error {}", step, options_.commandPort, code);
            return false;
        }
        say(fmt::format("source commands on port {}", commandPort()));
    }
    return true;
}

void SourceRun::say(const std::string& text) {
    std::printf("%s\n", text.c_str());
    std::fflush(stdout);
}

double SourceRun::elapsed() const {
    return std::chrono::duration<double>(Clock::now() - begin_).count();
}

std::optional<SourceRun::Outgoing> SourceRun::nextTraffic(double trafficStart) {
    if (inBursts()) {
        return nextOfBurst(trafficStart);
    }
    Outgoing out;
    if (options_.feed.empty()) {
        const ScenarioReport report = nextReport(scenario_);
        out.due = trafficStart + report.time / options_.speed;
        out.text = lineOf(scenario_, report, beginEpoch_ + out.due);
        return out;
    }
    const auto line = nextRecorded();
    if (!line) {
        return std::nullopt;
    }
    out.due = trafficStart + line->time / options_.speed;
    out.text = withTime(line->text, beginEpoch_ + out.due);
    return out;
}

std::optional<RecordedLine> SourceRun::nextRecorded() {
    auto line = recording_.next();
    counts_.skippedLines = recording_.skipped();
    return line;
}

std::optional<SourceRun::Outgoing> SourceRun::nextOfBurst(double trafficStart) {
    if (burst_.empty()) {
        double at = 0;
        if (options_.feed.empty()) {
            auto burst = scenarioBursts_.gather(
                [&] { return std::optional(nextReport(scenario_)); }, [](const ScenarioReport& r) { return r.time; },
                [](const ScenarioReport& r) { return r.flight == 0 ? std::string() : std::to_string(r.flight); });
            at = burst.at;
            for (ScenarioReport& r : burst.items) {
                // What is handed on at the end of the cycle is where they are then.
                const auto flight = std::ranges::find(scenario_.flights, r.flight, &ScenarioFlight::id);
                if (flight != scenario_.flights.end() && at <= flight->reportUntil) {
                    r.report = truthAt(scenario_, *flight, at);
                }
                burst_.push_back({0, lineOf(scenario_, r, beginEpoch_ + trafficStart + at / options_.speed)});
            }
        } else {
            const auto burst =
                recordedBursts_.gather([&] { return nextRecorded(); }, [](const RecordedLine& l) { return l.time; },
                                       [](const RecordedLine& l) { return std::string(addressOf(l.text)); });
            at = burst.at;
            for (const RecordedLine& l : burst.items) {
                burst_.push_back({0, withTime(l.text, beginEpoch_ + trafficStart + at / options_.speed)});
            }
        }
        for (std::size_t i = 0; i < burst_.size(); ++i) {
            burst_[i].due = trafficStart + at / options_.speed +
                            burstLength * static_cast<double>(i) / static_cast<double>(burst_.size());
        }
    }
    if (burst_.empty()) {
        return std::nullopt;
    }
    Outgoing out = std::move(burst_.front());
    burst_.pop_front();
    return out;
}

void SourceRun::sendTraffic(std::string_view text) {
    const platform::IoResult r = udp_.sendTo(text, options_.host, options_.trafficPort);
    if (r.bytes < 0) {
        ++counts_.sendErrors;
        return;
    }
    ++counts_.datagrams;
    if (text.starts_with("RTPARK,")) {
        ++counts_.parked;
        return;
    }
    ++counts_.reports;
    const std::size_t comma = text.find(',');
    if (comma != std::string_view::npos) {
        const std::string_view address = text.substr(comma + 1, text.find(',', comma + 1) - comma - 1);
        if (address.size() <= 10 && !aircraft_.contains(address)) {
            aircraft_.emplace(address);
        }
    }
    if (const auto [callsign, knots] = callsignAndSpeed(text); !callsign.empty() && callsign != "null") {
        const double seconds = std::chrono::duration<double>(Clock::now().time_since_epoch()).count();
        speeds_.note(callsign, seconds, knots * options_.speed);
        if (const auto place = placeOfLine(text)) {
            rests_.note(place->hexid, callsign, {}, place->at, place->airborne, seconds);
        }
    }
}

void SourceRun::sendWeather() {
    nlohmann::json weather{
        {"ICAO", options_.feed.empty() && !options_.at ? "EDDM" : ""}, {"OAT", 12}, {"WINDDIR", 250}, {"WINDSPD", 7}};
    // Whole values go out as integers, as a weather report has them.
    if (qnh_ == std::floor(qnh_)) {
        weather["QNH"] = static_cast<std::int64_t>(qnh_);
    } else {
        weather["QNH"] = qnh_;
    }
    const std::string text = weather.dump();
    if (udp_.sendTo(text, options_.host, options_.weatherPort).bytes < 0) {
        ++counts_.sendErrors;
    } else {
        ++counts_.weather;
    }
}

void SourceRun::sendGarbage(std::uint64_t count) {
    for (std::uint64_t i = 0; i < count; ++i) {
        std::string bytes;
        const std::uint32_t kind = pick(random_, 4);
        if (kind < 2 || recent_.empty()) {
            bytes.resize(1 + pick(random_, kind == 0 ? 60 : 1400));
            for (char& c : bytes) {
                c = static_cast<char>(random_());
            }
        } else {
            // A real line with some bytes or its end spoilt reaches deeper than noise.
            bytes = recent_[pick(random_, static_cast<std::uint32_t>(recent_.size()))];
            for (std::uint32_t k = 1 + pick(random_, 4); k > 0 && !bytes.empty(); --k) {
                bytes[pick(random_, static_cast<std::uint32_t>(bytes.size()))] = static_cast<char>(random_());
            }
            if (kind == 3 && !bytes.empty()) {
                bytes.resize(1 + pick(random_, static_cast<std::uint32_t>(bytes.size())));
            }
        }
        if (udp_.sendTo(bytes, options_.host, options_.trafficPort).bytes < 0) {
            ++counts_.sendErrors;
        } else {
            ++counts_.datagrams;
            ++counts_.garbage;
        }
    }
}

void SourceRun::sendFlood(double now) {
    const double until = std::min(now, floodUntil_);
    const auto wanted = static_cast<std::uint64_t>((until - floodFrom_) * floodRate_ + 1e-3);
    // In portions, so that a command is heard while it lasts.
    for (int portion = 0; floodSent_ < wanted && portion < 500; ++floodSent_, ++portion) {
        if (recent_.empty()) {
            SourceReport nobody;
            nobody.hexid = 20000;
            nobody.place = scenario_.config.centre;
            nobody.callsign = "FLOOD1";
            sendTraffic(trafficLine(nobody, beginEpoch_ + now, 0));
        } else {
            sendTraffic(withTime(recent_[floodSent_ % recent_.size()], beginEpoch_ + now));
        }
    }
    if (now >= floodUntil_ && floodSent_ >= wanted) {
        floodRate_ = 0;
    }
}

void SourceRun::noteLink() {
    const ControlCounts c = link_.counts();
    if (c.connected != connectedSaid_ || c.connections != connectionsSaid_) {
        connectedSaid_ = c.connected, connectionsSaid_ = c.connections;
        say(c.connected ? "control link connected" : "control link closed");
    }
}

void SourceRun::run() {
    begin_ = Clock::now();
    beginEpoch_ =
        std::floor(10.0 * std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count()) /
        10.0;
    link_.start(options_.host, options_.controlPort, options_.professional);
    if (commandListener_.isOpen()) {
        commandThread_ = std::thread(&SourceRun::serveCommands, this);
    }
    std::optional<Outgoing> next;
    std::optional<double> trafficStart;
    double weatherDue = 0;
    std::unique_lock lock(mutex_);
    while (!stopping_) {
        const double now = elapsed();
        if (options_.minutes > 0 && now >= options_.minutes * 60.0) {
            break;
        }
        noteLink();
        if (now >= weatherDue) {
            sendWeather();
            weatherDue += weatherEvery;
        }
        if (!trafficStart && (!options_.waitForPosition || link_.counts().positions > 0)) {
            trafficStart = std::floor(now * 10.0) / 10.0;
        }
        int portion = 0;
        while (trafficStart && !feedEnded_ && portion < 200) {
            if (!next) {
                next = nextTraffic(*trafficStart);
            }
            if (!next) {
                feedEnded_ = true;
                say(recording_.problem().empty() ? fmt::format("recording ended after {} lines", counts_.reports)
                                                 : fmt::format("recording is damaged: {}", recording_.problem()));
                break;
            }
            if (next->due > elapsed()) {
                break;
            }
            ++portion;
            if (trafficOn_) {
                sendTraffic(next->text);
                if (recent_.size() < 256) {
                    recent_.push_back(next->text);
                } else {
                    recent_[recentAt_++ % recent_.size()] = next->text;
                }
            }
            next.reset();
        }
        if (floodRate_ > 0) {
            sendFlood(elapsed());
        }
        double wait = std::min(lookEvery, weatherDue - elapsed());
        if (next) {
            wait = std::min(wait, next->due - elapsed());
        } else if (portion > 0 && !feedEnded_) {
            wait = 0;
        }
        if (floodRate_ > 0) {
            wait = std::min(wait, 0.001);
        }
        // Also without a wait the lock is let go, for commands.
        wake_.wait_for(lock, std::chrono::duration<double>(std::max(wait, 0.0)), [&] { return stopping_; });
    }
    stopping_ = true;
    lock.unlock();
    link_.stop();
    if (commandThread_.joinable()) {
        {
            std::lock_guard guard(clientMutex_);
            endCommands_ = true;
            commandListener_.stop();
            if (commandClient_) {
                commandClient_->stop();
            }
        }
        commandThread_.join();
    }
}

void SourceRun::stop() {
    {
        std::lock_guard lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_all();
}

std::string SourceRun::command(std::string_view line) {
    const auto words = split(strip(line), ' ');
    const std::string_view name = words[0];
    double a = 0, b = 0;
    if (name == "report" && words.size() == 1) {
        return reportJson();
    }
    if (name == "drop-link" && words.size() == 1) {
        link_.drop();
        return "ok";
    }
    if (name == "link" && words.size() == 2 && (words[1] == "on" || words[1] == "off")) {
        link_.setEnabled(words[1] == "on");
        return "ok";
    }
    std::lock_guard lock(mutex_);
    if ((name == "stop-traffic" || name == "start-traffic") && words.size() == 1) {
        trafficOn_ = name == "start-traffic";
    } else if (name == "garbage" && words.size() == 2 && readCount(words[1], 1e6, a)) {
        sendGarbage(static_cast<std::uint64_t>(a));
    } else if (name == "flood" && words.size() == 3 && readCount(words[1], highestFlood, a) &&
               readCount(words[2], 3600, b)) {
        floodRate_ = a, floodFrom_ = elapsed(), floodUntil_ = floodFrom_ + b, floodSent_ = 0;
    } else if (name == "qnh" && words.size() == 2 && readCount(words[1], 1e6, a)) {
        qnh_ = a;
        scenario_.config.qnh = std::clamp(a, 930.0, 1080.0);
        sendWeather();
    } else {
        return fmt::format("error: cannot do \"{}\"", strip(line));
    }
    return "ok";
}

void SourceRun::serveCommands() {
    for (;;) {
        platform::Socket client;
        {
            std::lock_guard lock(clientMutex_);
            if (endCommands_) {
                return;
            }
            commandClient_ = &client;
        }
        if (commandListener_.accept(client, -1).bytes == 0) {
            std::array<char, 1024> buffer;
            std::string text;
            for (bool open = true; open;) {
                const platform::IoResult r = client.receive(buffer, -1);
                if (r.bytes <= 0) {
                    break;
                }
                text.append(buffer.data(), static_cast<std::size_t>(r.bytes));
                for (std::size_t end; open && (end = text.find('\n')) != std::string::npos;) {
                    const std::string_view line = std::string_view(text).substr(0, end);
                    // The answer goes first: who ends the run closes this connection as well.
                    const bool ends = strip(line) == "quit";
                    const std::string answer = (ends ? "ok" : command(line)) + "\n";
                    text.erase(0, end + 1);
                    open = client.sendAll(answer, 2000).bytes >= 0;
                    if (ends)
                        stop();
                }
                open = open && text.size() < 4096;
            }
        }
        std::lock_guard lock(clientMutex_);
        commandClient_ = nullptr;
    }
}

std::string SourceRun::reportJson() {
    const ControlCounts c = link_.counts();
    std::lock_guard lock(mutex_);
    nlohmann::json rests = nlohmann::json::array();
    for (const world::Rest& r : rests_.all()) {
        rests.push_back({{"name", r.name},
                         {"lat", r.at.lat},
                         {"lon", r.at.lon},
                         {"from", r.from},
                         {"to", r.to},
                         {"rolledIn", r.rolledIn}});
    }
    const nlohmann::json report{
        {"reportsSent", counts_.reports},
        {"parkedSent", counts_.parked},
        {"garbageSent", counts_.garbage},
        {"datagrams", counts_.datagrams},
        {"weatherSent", counts_.weather},
        {"sendErrors", counts_.sendErrors},
        {"skippedLines", counts_.skippedLines},
        {"feedEnded", feedEnded_},
        {"aircraft", aircraft_.size()},
        {"controlConnections", c.connections},
        {"controlConnectionsLost", c.connectionsLost},
        {"linesByKind",
         {{"Qs121", c.positions}, {"Qs123", c.times}, {"Qs999", c.versions}, {"exit", c.exits}, {"other", c.others}}},
        {"badLines", {{"Qs121", c.badPositions}, {"Qs123", c.badTimes}}},
        {"lastPosition", {{"lat", c.lat}, {"lon", c.lon}, {"altitude", c.altitude}, {"groundSpeed", c.groundSpeed}}},
        {"lastSimTime", c.simTimeMs / 1000},
        {"speeds", speeds_.flights()},
        {"rests", rests}};
    return report.dump();
}

} // namespace kes::source
