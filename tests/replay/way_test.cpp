// SPDX-License-Identifier: MIT
// The measure of way and time against motion whose distance from the way, and lateness on it, are known.
#include "tools/replay/way.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <random>

namespace kes::replay {
namespace {

struct Metres {
    double north = 0, east = 0;
};
using Motion = std::function<Metres(double seconds)>;

struct Course {
    LatLon home{50.0, 8.0};
    Motion motion;
    double length = 100, spacing = 5;
    std::function<bool(double)> still = [](double) { return false; };

    LatLon placeAt(Metres m) const {
        constexpr double metresPerDegree = 60.0 * metresPerNm;
        double lon = home.lon + m.east / metresPerDegree / std::cos(home.lat * degToRad);
        lon = lon > 180.0 ? lon - 360.0 : lon;
        return {home.lat + m.north / metresPerDegree, lon};
    }
    /// What is measured of something that moves as `drawn`, each tenth of a second from `from` to `to`. The way's
    /// points come in half a minute ahead.
    std::vector<OnWay> measure(const Motion& drawn, double from, double to) const {
        Way way;
        WayFollower follower;
        std::vector<OnWay> out;
        double next = 0;
        for (double t = from; t <= to + 1e-9; t += 0.1) {
            for (; next <= std::min(t + 30.0, length); next += spacing) {
                way.forgetBefore(t - 90.0);
                way.add(next, placeAt(motion(next)), still(next));
            }
            if (const auto on = follower.follow(way, placeAt(drawn(t)), t))
                out.push_back(*on);
        }
        return out;
    }
};

void expectAll(const std::vector<OnWay>& found, double metres, double late, double tolerance, const char* what) {
    ASSERT_GT(found.size(), 100U) << what;
    double mostOff = 0, mostLate = 0;
    for (const OnWay& on : found) {
        mostOff = std::max(mostOff, std::fabs(on.metres - metres));
        mostLate = std::max(mostLate, std::fabs(on.late - late));
    }
    EXPECT_LT(mostOff, tolerance) << what << ": " << metres << " m";
    EXPECT_LT(mostLate, tolerance) << what << ": " << late << " s";
}

Motion straight(double metresPerSecond, double degrees) {
    return [=](double t) {
        return Metres{metresPerSecond * t * std::cos(degrees * degToRad),
                      metresPerSecond * t * std::sin(degrees * degToRad)};
    };
}

/// The same motion so many seconds later and so many metres to the right of it.
Motion shifted(const Motion& motion, double late, double right) {
    return [=](double t) {
        const Metres a = motion(t - late), b = motion(t - late + 0.01);
        const double north = b.north - a.north, east = b.east - a.east, step = std::hypot(north, east);
        return Metres{a.north - right * east / step, a.east + right * north / step};
    };
}

TEST(Way, TellsMetresOffAndSecondsLateApart) {
    for (const double speed : {3.0, 70.0, 230.0}) {
        for (const double spacing : {1.0, 5.0, 10.0}) {
            for (const double degrees : {0.0, 77.0, 200.0}) {
                Course c;
                c.motion = straight(speed, degrees);
                c.length = 250;
                c.spacing = spacing;
                const struct { double right, late; } rows[] = {{0, 0}, {12, 0}, {-12, 7}, {0, -7}, {134, 45}, {2, -18}};
                for (const auto& row : rows)
                    expectAll(c.measure(shifted(c.motion, row.late, row.right), 60, 200), std::fabs(row.right),
                              row.late, 0.02 + std::fabs(row.right) * 0.01, "straight");
            }
        }
    }
    Course far;
    far.home = {-62.0, 179.95};
    far.motion = straight(70, 90);
    expectAll(far.measure(shifted(far.motion, 7, 12), 20, 70), 12, 7, 0.02, "over the date line");
    Course turn;
    turn.spacing = 1;
    turn.motion = [](double t) { return Metres{1000 * std::sin(t * 0.05), 1000 - 1000 * std::cos(t * 0.05)}; };
    for (const double late : {-7.0, 0.0, 7.0})
        expectAll(turn.measure(shifted(turn.motion, late, 12), 20, 70), 12, late, 0.4, "turn of 1000 m radius");
}

TEST(Way, StandingIsOneMomentAsLongAsItLasts) {
    Course c;
    c.spacing = 2;
    c.length = 400;
    std::mt19937 random(1);
    std::vector<double> noise(800);
    for (double& n : noise)
        n = static_cast<double>(random() % 1000) / 50.0 - 10.0;
    // Rolls 300 m, stands from the 60th to the 200th second, rolls on. The reports of its standing scatter by 10 m.
    const auto stopped = [](double t) { return t > 61 && t < 201; };
    const Motion truth = [](double t) { return Metres{t < 60 ? 5 * t : t < 200 ? 300 : 300 + 5 * (t - 200), 0}; };
    c.motion = [&](double t) {
        const Metres m = truth(t);
        const auto i = static_cast<std::size_t>(t);
        return stopped(t) ? Metres{m.north + noise[i], m.east + noise[i + 400]} : m;
    };
    c.still = [&](double t) { return stopped(t) && stopped(t - 2); };
    const Motion late = [&](double t) { return truth(t < 150 ? t - 7 : t - 3); };
    const auto found = c.measure(late, 20, 300);
    const auto at = [&](double seconds) {
        return found.at(static_cast<std::size_t>(std::lround((seconds - 20) * 10)));
    };
    EXPECT_NEAR(at(50).late, 7, 1e-3);
    for (const double t : {75.0, 100.0, 150.0, 190.0}) {
        EXPECT_NEAR(at(t).late, 0, 1e-9) << t;
        EXPECT_LT(at(t).metres, 12) << t;
    }
    EXPECT_NEAR(at(202.5).late, 2.5, 0.6) << "it should have left";
    EXPECT_NEAR(at(250).late, 3, 1e-3);
    // Six metres short of the place is there; thirty are not.
    for (const double shortOf : {6.0, 30.0}) {
        const auto rests = c.measure([&](double t) { return Metres{std::min(5 * t, 300 - shortOf), 0}; }, 20, 120);
        EXPECT_NEAR(rests[900].late, shortOf < 10 ? 0 : 110 - 54, 1e-6);
        EXPECT_NEAR(rests.back().late, 0, 1e-6) << "who has not come in a minute is where he stands, off the way";
        EXPECT_GT(rests.back().metres, shortOf < 10 ? 0 : 20);
    }
    // Who leaves while the other still stands is early, at most by half a minute.
    const auto early = c.measure([&](double t) { return truth(t < 150 ? t : t + 45); }, 20, 199);
    EXPECT_NEAR(early[static_cast<std::size_t>((190 - 20) * 10)].late, -30, 1e-6);
}

} // namespace
} // namespace kes::replay
