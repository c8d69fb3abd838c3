// SPDX-License-Identifier: MIT
// Whole replays of scenarios: the same bytes for the same seed, and motion that stays as good as it is.
#include "files.h"
#include "tools/replay/metrics_text.h"
#include "tools/replay/replay.h"
#include "tools/replay/scenarios.h"
#include "world/source/report_line.h"

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

source::SourceReport reportAt(LatLon place, double degrees, double knots, double feet) {
    source::SourceReport r;
    r.hexid = 0x3C1234;
    r.place = place;
    r.altitude = feet;
    r.airborne = feet > 0;
    r.track = r.trueHeading = degrees;
    r.groundSpeed = knots;
    r.trueAirspeed = r.airborne ? knots : -1;
    r.callsign = "DLH77";
    r.model = "A320";
    r.regcode = "ZZ-K77";
    r.origin = r.destination = "null";
    r.category = "A3";
    return r;
}

/// Records what `at` makes of each fifth second.
template <typename At> std::string recorded(const std::filesystem::path& file, int seconds, At at) {
    std::ofstream out(file);
    for (int t = 0; t <= seconds; t += 5)
        out << source::trafficLine(at(t), 1.75e9 + t, 0.0) << "\n";
    return file.string();
}

/// At 15,000 ft: straight for two minutes, then a turn to the right of 3 miles radius.
source::SourceReport turning(int t) {
    const LatLon begin{50.2, 8.1}, centre = destination(begin, pi / 2, 3 * feetPerNm);
    const double knots = 240, past = (t - 120) * knots / 3600.0; // nautical miles
    const double turned = std::max(past, 0.0) / 3.0;             // radians
    const LatLon at = past < 0 ? destination(begin, pi, -past * feetPerNm)
                               : destination(centre, normalizeAngle(turned - pi / 2), 3 * feetPerNm);
    return reportAt(at, turned * radToDeg, knots, 15000);
}

TEST_F(ReplayTest, WayAndTimeAreMeasuredAgainstTheRightLine) {
    const auto most = [](const Result& r, std::size_t way, Metric metric) {
        Series all;
        for (std::size_t p = 0; p < phaseCount; ++p)
            all.add(r.boards[way]->of(metric, static_cast<Phase>(p)));
        EXPECT_GT(all.count(), 200U) << r.feed << " " << wayNames[way];
        return all.maximum();
    };
    const Result turn = replay(recorded(folder / "turn.txt", 240, turning));
    for (const std::size_t straight : {1U, 2U}) {
        EXPECT_LT(most(turn, straight, Metric::way), 0.01) << "it is the line itself";
        EXPECT_LT(most(turn, straight, Metric::time), 0.01);
    }
    // The arc rises by s^2 / 8r over its chord of 617 m: 8.6 m.
    EXPECT_NEAR(most(turn, 3, Metric::way), 8.6, 0.5);
    EXPECT_LT(most(turn, 3, Metric::time), 0.3);
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
