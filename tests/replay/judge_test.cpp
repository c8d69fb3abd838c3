// SPDX-License-Identifier: MIT
// The measuring instrument, measured: baselines and measures against known motion.
#include "support.h"
#include "tools/replay/baselines.h"
#include "tools/replay/judge.h"

#include <cmath>
#include <memory>

namespace kes::replay {
namespace {

constexpr double metresPerDegree = 60.0 * metresPerNm;
constexpr LatLon home{50.0, 8.0};

LatLon placeAt(double north, double east) {
    return {home.lat + north / metresPerDegree, home.lon + east / metresPerDegree / std::cos(home.lat * degToRad)};
}

Report report(std::int32_t tick, double north, double east, double knots, double degrees) {
    Report r;
    r.tick = tick;
    r.at = placeAt(north, east);
    r.gs = knots;
    r.track = r.heading = degrees * degToRad;
    r.airborne = true;
    return r;
}

TEST(Baselines, DrawWhatTheirNamesSay) {
    Baselines b;
    // A quarter turn to the right of 100 m radius at 15.708 m/s, that is in 10 s.
    const double knots = 15.708 * 3600.0 / metresPerNm;
    b.add(report(1000, 0, 0, knots, 0));
    b.add(report(2000, 100, 100, knots, 90));
    EXPECT_FALSE(b.moveTo(999));
    ASSERT_TRUE(b.moveTo(1000));
    for (int tick = 1000; tick < 2000; tick += 50) {
        ASSERT_TRUE(b.moveTo(tick));
        const double part = (tick - 1000) / 1000.0, angle = part * pi / 2;
        const auto& [a, reported, hermite] = b.poses();
        EXPECT_NEAR((a.lat - home.lat) * metresPerDegree, 100 * part, 1e-3);
        EXPECT_NEAR(a.heading, pi / 4, 1e-3);
        EXPECT_EQ(reported.lat, a.lat);
        EXPECT_NEAR(reported.heading, angle, 1e-9);
        EXPECT_NEAR((hermite.lat - home.lat) * metresPerDegree, 100 * std::sin(angle), 1.5);
        EXPECT_NEAR(hermite.heading, angle, 0.03);
    }
    EXPECT_FALSE(b.moveTo(2000));
}

/// Moves north at a speed for a while and adds what `change` makes of each pose.
template <typename Change>
std::unique_ptr<Board> judged(Phase phase, double metresPerTick, int ticks, const Reference* r, Change change) {
    auto board = std::make_unique<Board>(); // too big for the stack
    Watched w;
    for (int i = 0; i < ticks; ++i) {
        Pose pose;
        const LatLon at = placeAt(metresPerTick * i, 0);
        pose.lat = at.lat;
        pose.lon = at.lon;
        pose.onGround = phase == Phase::taxi || phase == Phase::parked || phase == Phase::pushBack;
        change(pose, i);
        watch(*board, w, pose, phase, r, {0, i});
    }
    return board;
}

TEST(Judge, SeesEachFaultAndNothingElse) {
    const auto nothing = [](Pose&, int) {};
    const auto calm = judged(Phase::air, 0.7, 500, nullptr, nothing);
    for (const Metric m : {Metric::jump, Metric::turnRate, Metric::nose, Metric::bank})
        EXPECT_LT(calm->of(m, Phase::air).maximum(), 1e-5) << nameOf(m).key;

    const auto jump =
        judged(Phase::air, 0.7, 500, nullptr, [](Pose& p, int i) { p.lat += i >= 300 ? 5 / metresPerDegree : 0; });
    EXPECT_NEAR(jump->of(Metric::jump, Phase::air).maximum(), 5, 1e-3);
    EXPECT_EQ(jump->of(Metric::jump, Phase::air).worst().tick, 300);

    const auto skew = judged(Phase::taxi, 0.05, 500, nullptr, [](Pose& p, int) { p.heading = 350 * degToRad; });
    EXPECT_NEAR(skew->of(Metric::nose, Phase::taxi).maximum(), 10, 1e-6);
    const auto tail = judged(Phase::pushBack, 0.015, 500, nullptr, [](Pose& p, int) { p.heading = 178 * degToRad; });
    EXPECT_NEAR(tail->of(Metric::nose, Phase::pushBack).maximum(), 2, 1e-6) << "tail first is right here";

    // 3 degrees a second to the right at 70 m/s want 20.5 degrees of bank.
    const auto turning = [](double bankRight) {
        return [bankRight](Pose& p, int i) {
            p.heading = normalizeAngle(i * 0.03 * degToRad);
            p.bank = -bankRight * degToRad;
        };
    };
    const auto right = judged(Phase::air, 0.7, 500, nullptr, turning(20.5));
    EXPECT_LT(right->of(Metric::bank, Phase::air).maximum(), 0.1);
    EXPECT_EQ(right->of(Metric::wrongBank, Phase::air).maximum(), 0);
    EXPECT_NEAR(right->of(Metric::turnRate, Phase::air).maximum(), 3, 1e-6);
    const auto wrong = judged(Phase::air, 0.7, 500, nullptr, turning(-20.5));
    EXPECT_EQ(wrong->of(Metric::wrongBank, Phase::air).mean(), 1);

    Reference off;
    off.at = placeAt(0, -3);
    const auto place = judged(Phase::air, 0.0, 100, &off, nothing);
    EXPECT_NEAR(place->of(Metric::across, Phase::air).maximum(), 3, 1e-3);
    EXPECT_LT(place->of(Metric::along, Phase::air).maximum(), 1e-3);

    Board& board = *calm;
    judgeWay(board, {12, 7}, Phase::taxi, {0, 10});
    judgeWay(board, {12, -3}, Phase::taxi, {0, 20});
    const auto means = [&](Metric m) { return board.of(m, Phase::taxi).mean(); };
    EXPECT_EQ(means(Metric::way), 12);
    EXPECT_EQ(means(Metric::time), 5);
    EXPECT_EQ(means(Metric::late), 3.5);
    EXPECT_EQ(means(Metric::early), 1.5);

    Reference rest;
    rest.standing = true;
    EXPECT_EQ(judged(Phase::parked, 0, 4000, &rest, nothing)->of(Metric::restPath, Phase::parked).maximum(), 0);
    const auto twitch = judged(Phase::parked, 0, 4000, &rest, [](Pose& p, int i) {
        p.lat += (i / 100 % 2 == 0 ? 0 : (i % 100) * 0.01) / metresPerDegree; // a metre forth, and back at once
    });
    EXPECT_NEAR(twitch->of(Metric::twitches, Phase::parked).maximum(), 30, 6.1);
    EXPECT_GT(twitch->of(Metric::restPath, Phase::parked).maximum(), 50);
}

} // namespace
} // namespace kes::replay
