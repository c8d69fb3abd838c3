// SPDX-License-Identifier: MIT
#include "tools/replay/replay_feed.h"

#include "tools/replay/scenario_reports.h"

#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <stdexcept>

namespace kes::replay {

namespace {

constexpr std::int64_t scenarioEpoch = 1'750'000'000; ///< a Sunday afternoon in June 2025
constexpr std::size_t middleLines = 5000;

std::int32_t tickOf(double seconds) {
    return static_cast<std::int32_t>(std::lround(seconds * ticksPerSecond));
}

} // namespace

ReplayFeed::ReplayFeed(const std::string& name, std::uint32_t seed, bool burst) : burst_(burst) {
    if (std::filesystem::is_regular_file(name)) {
        openRecording(name);
        return;
    }
    scenario_ = makeScenario(name);
    if (!scenario_)
        throw std::runtime_error(
            fmt::format("\"{}\" is neither a file nor a scenario; --list tells the scenarios", name));
    epochMs_ = scenarioEpoch * 1000;
    for (ScenarioLine& line : reportsOf(*scenario_, seed, static_cast<double>(scenarioEpoch)))
        scenarioLines_.push_back({tickOf(line.seconds), std::move(line.text)});
    lastTick_ = tickOf(scenario_->seconds);
}

void ReplayFeed::openRecording(const std::string& name) {
    file_ = name;
    // One pass for the length and the time of the first line, then the lines as they are needed.
    source::Recording scan;
    std::string problem;
    if (!scan.open(name, problem))
        throw std::runtime_error(problem);
    std::optional<double> first;
    std::size_t count = 0;
    while (const auto line = scan.next()) {
        if (!first && line->timed)
            first = source::timeField(line->text);
        lastTick_ = tickOf(line->time);
        ++count;
    }
    if (count == 0)
        throw std::runtime_error(
            fmt::format("{} holds no lines{}{}", name, scan.problem().empty() ? "" : ": ", scan.problem()));
    if (!scan.problem().empty())
        throw std::runtime_error(fmt::format("{} is damaged: {}", name, scan.problem()));
    epochMs_ = static_cast<std::int64_t>(std::floor(first.value_or(static_cast<double>(scenarioEpoch)))) * 1000;
    if (!recording_.open(name, problem))
        throw std::runtime_error(problem);
}

std::optional<FeedLine> ReplayFeed::nextByTime() {
    if (!scenarioLines_.empty()) {
        FeedLine line = std::move(scenarioLines_.front());
        scenarioLines_.pop_front();
        return line;
    }
    if (file_.empty())
        return std::nullopt;
    auto line = recording_.next();
    if (!line)
        return std::nullopt;
    return FeedLine{tickOf(line->time), std::move(line->text)};
}

void ReplayFeed::fill() {
    if (!burst_) {
        if (auto line = nextByTime())
            lines_.push_back(std::move(*line));
        return;
    }
    auto burst = bursts_.gather([&] { return nextByTime(); }, [](const FeedLine& l) { return secondsOf(l.tick); },
                                [](const FeedLine& l) { return std::string(source::addressOf(l.text)); });
    for (std::size_t i = 0; i < burst.items.size(); ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(burst.items.size());
        lines_.push_back({tickOf(burst.at + source::burstLength * part), std::move(burst.items[i].text)});
    }
}

const FeedLine* ReplayFeed::due(std::int32_t tick) {
    if (lines_.empty())
        fill();
    return lines_.empty() || lines_.front().tick > tick ? nullptr : &lines_.front();
}

void ReplayFeed::pop() {
    lines_.pop_front();
}

std::optional<source::MiddlePlace> ReplayFeed::middle() const {
    return source::middlePlace(file_, middleLines);
}

} // namespace kes::replay
