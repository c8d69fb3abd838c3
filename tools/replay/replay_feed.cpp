#include "tools/replay/replay_feed.h"

#include <cmath>
#include <filesystem>
#include <fmt/format.h>
#include <stdexcept>

namespace kes::replay {

namespace {

constexpr std::int64_t scenarioEpoch = 1'750'000'000; ///< a Sunday afternoon in June 2025
constexpr std::size_t middleLines = 5000;

std::int32_t tickOf(double seconds) {
    return static_cast<std::int32_t>(std::lround(seconds * 100.0));
}

} // namespace

ReplayFeed::ReplayFeed(const std::string& name, std::uint32_t seed) {
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
        lines_.push_back({tickOf(line.seconds), std::move(line.text)});
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

const FeedLine* ReplayFeed::due(std::int32_t tick) {
    if (lines_.empty() && !file_.empty()) {
        if (auto line = recording_.next())
            lines_.push_back({tickOf(line->time), std::move(line->text)});
    }
    return lines_.empty() || lines_.front().tick > tick ? nullptr : &lines_.front();
}

void ReplayFeed::pop() {
    lines_.pop_front();
}

std::optional<source::MiddlePlace> ReplayFeed::middle() const {
    return source::middlePlace(file_, middleLines);
}

} // namespace kes::replay
