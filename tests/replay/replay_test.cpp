// Whole replays of scenarios: the same bytes for the same seed, and motion that stays as good as it is.
#include "support.h"
#include "tools/replay/replay.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace kes::replay {
namespace {

struct ReplayTest : testing::Test {
    std::filesystem::path folder;

    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "kestrelune-replay-XXXXXX").string();
        folder = mkdtemp(pattern.data());
    }
    void TearDown() override {
        std::error_code ignored;
        std::filesystem::remove_all(folder, ignored);
    }
    Result replay(const std::string& feed, std::uint32_t seed = 1, const char* out = "out") const {
        Options o;
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
    const auto json = nlohmann::json::parse(metricsJson(first));
    EXPECT_EQ(json["reference"], "truth");
    EXPECT_GT(json["ways"]["A straight"]["across"]["phases"]["taxi"]["count"], 1000);
    EXPECT_NE(metricsTable(first).find("DLH1"), std::string::npos);
    EXPECT_FALSE(first.map.aircraft.at(0).truth.empty());
    EXPECT_FALSE(first.map.aircraft[0].shown.empty());
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
        EXPECT_LT(worst(r, Metric::path, Phase::rollOut), 10) << feed;
    }
}

TEST_F(ReplayTest, TurnsCornersAndRestStayAsGoodAsTheyAre) {
    const Result turns = replay("turns");
    EXPECT_LT(worst(turns, Metric::across, Phase::air), 40);
    EXPECT_LT(worst(turns, Metric::turnRate, Phase::air), 3.5);
    EXPECT_LT(worst(turns, Metric::jump, Phase::air), 0.01);
    EXPECT_LT(turns.boards[0]->of(Metric::wrongBank, Phase::air).mean(), 0.02);
    const Result corners = replay("taxi-45");
    EXPECT_LT(worst(corners, Metric::path, Phase::taxi), 8);
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

TEST_F(ReplayTest, TellsWhatCannotBeReplayed) {
    for (const char* feed : {"no-such-scenario", "/etc", "turns+fast"}) {
        try {
            replay(feed);
            ADD_FAILURE() << feed;
        } catch (const std::runtime_error& e) {
            EXPECT_NE(std::string(e.what()).find("neither a file nor a scenario"), std::string::npos) << e.what();
        }
    }
}

} // namespace
} // namespace kes::replay
