// SPDX-License-Identifier: MIT
// Whole replays of scenarios: the same bytes for the same seed, and motion that stays as good as it is.
#include "files.h"
#include "tools/replay/metrics_text.h"
#include "tools/replay/replay.h"
#include "tools/replay/scenario_reports.h"
#include "tools/replay/scenarios.h"

#include <fmt/format.h>

namespace kes::replay {
namespace {

struct ReplayTest : testing::Test {
    const test::TempFolder temporary;
    const std::filesystem::path folder = temporary.path;

    std::filesystem::path stands; ///< of the airport; empty = none is loaded

    Result replay(const std::string& feed, std::uint32_t seed = 1, const char* out = "out") const {
        Options o;
        o.stands = stands;
        o.feed = feed;
        o.seed = seed;
        o.out = folder / out;
        o.data = std::filesystem::path(KES_SOURCE_DIR) / "data";
        return runReplay(o, [](double) {});
    }
    double worst(const Result& r, Metric metric, Phase phase) const {
        const Series& s = r.boards[0]->of(metric, phase);
        EXPECT_GT(s.count(), 0U) << r.feed << ": " << nameOf(metric).key << " " << text(phase);
        return s.maximum();
    }
};

TEST_F(ReplayTest, TheSameSeedGivesTheSameBytes) {
    const Result first = replay("taxi-90+noise", 5, "a"), second = replay("taxi-90+noise", 5, "b"),
                 other = replay("taxi-90+noise", 6, "c");
    const std::string csv = test::readFile(folder / "a" / "motion.csv");
    EXPECT_GT(csv.size(), 100000U);
    EXPECT_EQ(csv, test::readFile(folder / "b" / "motion.csv"));
    EXPECT_EQ(metricsJson(first), metricsJson(second));
    EXPECT_NE(csv, test::readFile(folder / "c" / "motion.csv")) << "and another seed another noise";
    const std::string verdict = verdictText(first);
    EXPECT_EQ(std::count(verdict.begin(), verdict.end(), '\n'), 6) << verdict;
    EXPECT_TRUE(
        verdict.starts_with(fmt::format("traffic:  {:.0f} s, {} reports of ", secondsOf(first.ticks), first.lines)))
        << verdict;
}

TEST_F(ReplayTest, AircraftThatStandInRealityStandOnTheirStands) {
    const auto scenario = makeScenario("parked");
    ASSERT_TRUE(scenario);
    stands = folder / (scenario->airportCode + ".xml");
    std::ofstream file(stands);
    file << R"(<parameters><parameter name="altitude" value="100"/></parameters><parkpositions>)";
    std::size_t placed = 0;
    for (const ScenarioFlight& f : scenario->flights) {
        if (!f.stand)
            continue;
        ++placed;
        file << fmt::format(R"(<parkpos id="{}" latitude="{:.6f}" longitude="{:.6f}" heading="{:.1f}" radius="40.0"/>)",
                            f.stand->id, f.stand->lat, f.stand->lon, f.stand->heading * radToDeg);
    }
    file << "</parkpositions>";
    file.close();
    ASSERT_GE(placed, 2U);
    const Result r = replay("parked");
    EXPECT_TRUE(r.faults.empty()) << r.faults.front();
    EXPECT_EQ(r.parking.stands, placed);
    EXPECT_EQ(r.parking.stays, placed);
    EXPECT_EQ(r.parking.onStand, placed);
    EXPECT_LT(r.parking.metres.maximum(), 1);
    EXPECT_EQ(r.parking.mostParkedLive, placed);
    EXPECT_NE(parkingText(r.parking).find("2 on it, 0 on another, 0 on none"), std::string::npos);
}

TEST_F(ReplayTest, PushBacksGoToTheSideOfTheRealOnes) {
    for (const char* feed : {"push-back-left", "push-back-right", "push-back-straight"}) {
        const Result r = replay(feed);
        EXPECT_TRUE(r.faults.empty()) << r.faults.front();
        EXPECT_EQ(r.parking.pushBacks, 1U) << feed;
        EXPECT_EQ(r.parking.pushBacksToRealSide, 1U) << feed;
    }
}

TEST_F(ReplayTest, ALandingIsSoftAndInItsPlaceAtEveryElevation) {
    for (const char* feed : {"ils-sea", "ils-high+2s", "ils-low", "ils-sea-983", "ils-low-1043", "ils-high+hover"}) {
        const Result r = replay(feed);
        EXPECT_TRUE(r.faults.empty()) << feed << ": " << r.faults.front();
        EXPECT_LT(worst(r, Metric::sinkRate, Phase::flare), 250) << feed;
        EXPECT_NEAR(worst(r, Metric::touchdownPitch, Phase::flare), 4, 0.5) << feed;
        EXPECT_LT(worst(r, Metric::thresholdDistance, Phase::flare), 900) << feed;
        EXPECT_LT(worst(r, Metric::floatTime, Phase::flare), 10) << feed;
        EXPECT_EQ(worst(r, Metric::belowGround, Phase::flare), 0) << feed;
        EXPECT_LT(worst(r, Metric::jump, Phase::approach), 0.05) << feed;
        EXPECT_LT(worst(r, Metric::way, Phase::rollOut), 10) << feed;
    }
}

TEST_F(ReplayTest, TurnsCornersAndRestStayAsGoodAsTheyAre) {
    const Result turns = replay("turns");
    EXPECT_LT(worst(turns, Metric::across, Phase::air), 40);
    EXPECT_LT(worst(turns, Metric::turnRate, Phase::air), 3.5);
    EXPECT_LT(worst(turns, Metric::jump, Phase::air), 0.01);
    EXPECT_LT(turns.boards[0]->of(Metric::wrongBank, Phase::air).mean(), 0.02);
    const Result corners = replay("taxi-45");
    EXPECT_LT(worst(corners, Metric::way, Phase::taxi), 8);
    EXPECT_LT(worst(corners, Metric::turnRate, Phase::taxi), 15);
    const Result rest = replay("parked+noise");
    const Series& path = rest.boards[0]->of(Metric::restPath, Phase::parked);
    EXPECT_GT(path.count(), 100U);
    EXPECT_EQ(path.quantile(0.9), 0) << "noise hardly ever moves an aircraft off its stand";
    const Result push = replay("push-back-right");
    EXPECT_LT(worst(push, Metric::nose, Phase::pushBack), 1);
    for (const Result* r : {&turns, &corners, &rest, &push})
        EXPECT_TRUE(r->faults.empty()) << r->feed;
}

TEST_F(ReplayTest, WayAndTimeAreMeasuredAgainstTheRightLine) {
    const auto most = [](const Result& r, std::size_t way, Metric metric) {
        Series all;
        for (std::size_t p = 0; p < phaseCount; ++p)
            all.add(r.boards[way]->of(metric, static_cast<Phase>(p)));
        EXPECT_GT(all.count(), 200U) << r.feed << " " << wayNames[way];
        return all.maximum();
    };
    std::ofstream file(folder / "turns.txt"); // a recording, whose truth is the line through its reports
    for (const ScenarioLine& line : reportsOf(*makeScenario("turns"), 1, 1.75e9))
        file << line.text << "\n";
    file.close();
    const Result turn = replay((folder / "turns.txt").string());
    for (const std::size_t straight : {1U, 2U}) {
        EXPECT_LT(most(turn, straight, Metric::way), 0.01) << "it is the line itself";
        EXPECT_LT(most(turn, straight, Metric::time), 0.01);
    }
    EXPECT_LT(most(turn, 0, Metric::way), 30);
    EXPECT_LT(most(turn, 0, Metric::late), 5);

    // Ours rolls over a stop of ten seconds that the truth makes: from then on it is early.
    // Noise is in the reports, and so in the baselines, but not in the truth.
    const Result hold = replay("hold-short-10+2s+noise");
    EXPECT_GT(most(hold, 1, Metric::way), 4);
    EXPECT_GT(worst(hold, Metric::early, Phase::taxi), 4);
    EXPECT_LT(worst(hold, Metric::way, Phase::taxi), 10);
}

TEST_F(ReplayTest, TellsWhatCannotBeReplayed) {
    for (const char* feed : {"no-such-scenario", "/etc", "turns+fast"}) {
        const std::string told = test::thrownBy([&] { replay(feed); });
        EXPECT_NE(told.find("neither a file nor a scenario"), std::string::npos) << feed << ": " << told;
    }
}

} // namespace
} // namespace kes::replay
