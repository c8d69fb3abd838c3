// SPDX-License-Identifier: MIT
// The truth of the scenarios is smooth and agrees with itself, and the reports are what a receiver would make of it.
#include "core/text.h"
#include "tools/replay/scenario_reports.h"
#include "tools/replay/scenarios.h"

#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <set>

namespace kes::replay {
namespace {

TEST(Scenarios, TruthIsSmoothAndAgreesWithItself) {
    for (const std::string& name : scenarioNames()) {
        const auto s = makeScenario(name);
        ASSERT_TRUE(s) << name;
        ASSERT_FALSE(s->flights.empty()) << name;
        EXPECT_GE(s->seconds, 180) << name;
        for (const ScenarioFlight& f : s->flights) {
            Truth last = f.truth(f.begin);
            for (double t = f.begin + 0.05; t < f.end; t += 0.05) {
                const Truth now = f.truth(t);
                const double metres = distanceNm(last.at, now.at) * metresPerNm;
                const double knots = (last.gs + now.gs) / 2;
                ASSERT_NEAR(metres, knots * metresPerNm / 3600 * 0.05, 0.02 + 0.02 * metres) << name << " at " << t;
                ASSERT_LT(std::fabs(angleDiff(last.heading, now.heading)) * radToDeg, 1.3) << name << " at " << t;
                ASSERT_NEAR(now.alt - last.alt, (last.vs + now.vs) / 2 / 60 * 0.05, 0.4) << name << " at " << t;
                ASSERT_GE(now.alt, s->elevation) << name << " at " << t;
                const double nose = std::fabs(angleDiff(now.heading, now.track));
                const bool tailFirst = name.starts_with("push-back") && nose > 3;
                ASSERT_NEAR(nose, tailFirst ? pi : 0, 1e-6) << name << " at " << t;
                if (metres > 0.02) {
                    ASSERT_LT(std::fabs(angleDiff(bearingRad(last.at, now.at), now.track)) * radToDeg, 2) << name;
                }
                last = now;
            }
        }
    }
    EXPECT_FALSE(makeScenario("turn"));
    EXPECT_FALSE(makeScenario("turns+3s"));
    EXPECT_FALSE(makeScenario(""));
}

double field(const std::string& line, std::size_t index) {
    return std::stod(std::string(split(line, ',').at(index)));
}

TEST(Scenarios, ReportsFollowThePlan) {
    for (const double spacing : {2.0, 5.0, 10.0}) {
        const auto s = makeScenario("parked+noise+" + std::to_string(static_cast<int>(spacing)) + "s");
        const auto lines = reportsOf(*s, 3, 1.7e9);
        std::map<std::uint32_t, double> last;
        double squares = 0;
        std::size_t far = 0;
        for (const ScenarioLine& line : lines) {
            const auto hexid = static_cast<std::uint32_t>(field(line.text, 1));
            const double before = last.contains(hexid) ? last[hexid] : line.seconds - spacing;
            ASSERT_NEAR(line.seconds - before, spacing, 1e-9);
            last[hexid] = line.seconds;
            EXPECT_NEAR(field(line.text, 14), 1.7e9 + line.seconds, 0.051);
            const double off = distanceNm({field(line.text, 2), field(line.text, 3)},
                                          s->flights.at(hexid - 0x3C0001).truth(line.seconds).at) *
                               metresPerNm;
            squares += off * off;
            far += off > 25.5 ? 1 : 0;
        }
        EXPECT_EQ(last.size(), 2U);
        EXPECT_NEAR(std::sqrt(squares / static_cast<double>(lines.size())), std::sqrt(0.95 * 98 + 0.05 * 400), 2.5);
        EXPECT_LT(far, lines.size() / 50);
        EXPECT_EQ(reportsOf(*s, 3, 1.7e9).back().text, lines.back().text);
        EXPECT_NE(reportsOf(*s, 4, 1.7e9).back().text, lines.back().text);
    }
    double longest = 0, before = 0;
    for (const ScenarioLine& line : reportsOf(*makeScenario("turns+gaps"), 1, 0)) {
        longest = std::max(longest, line.seconds - before);
        before = line.seconds;
    }
    EXPECT_GE(longest, 31);
    int level = 0;
    for (const ScenarioLine& line : reportsOf(*makeScenario("ils-sea+hover+2s"), 1, 0)) {
        const double alt = field(line.text, 4);
        level += alt == 85 && field(line.text, 5) == 0 && field(line.text, 6) == 1 ? 1 : 0;
    }
    EXPECT_GT(level, 8);
}

TEST(Scenarios, GroundDataAsTheyAreReallySent) {
    for (const char* name : {"take-off-heavy+real+2s", "taxi-170+real", "push-back-left+real+2s", "ils-sea+real"}) {
        const auto s = makeScenario(name);
        ASSERT_TRUE(s) << name;
        const ScenarioFlight& f = s->flights.front();
        const auto lines = reportsOf(*s, 3, 0);
        EXPECT_EQ(lines.back().text, reportsOf(*s, 3, 0).back().text);
        std::set<double> headings;
        double most = 0, silent = 0, before = 0, silentUntil = 0;
        int ground = 0, slower = 0, faster = 0;
        for (const ScenarioLine& line : lines) {
            const Truth t = f.truth(line.seconds);
            if (line.seconds - before > silent) {
                silent = line.seconds - before;
                silentUntil = line.seconds;
            }
            before = line.seconds;
            const double heading = field(line.text, 25), off = field(line.text, 8) - t.gs;
            if (t.airborne) {
                EXPECT_NEAR(field(line.text, 7), t.track * radToDeg, 0.006) << name;
                EXPECT_NEAR(off, 0, 0.006) << name;
                continue;
            }
            ++ground;
            headings.insert(heading);
            EXPECT_EQ(field(line.text, 7), 0) << name;
            EXPECT_NEAR(std::remainder(heading, 2.8125), 0, 0.006) << name << ": " << heading;
            EXPECT_LT(std::fabs(angleDiff(heading * degToRad, t.heading)) * radToDeg, 1.42) << name;
            EXPECT_LT(heading, 360);
            EXPECT_LT(std::fabs(off), t.gs > 0.5 ? 5.01 : 0.51) << name << ": who stands knows it";
            most = std::max(most, std::fabs(off));
            slower += off < -0.01 ? 1 : 0;
            faster += off > 0.01 ? 1 : 0;
        }
        EXPECT_GT(ground, 12) << name;
        EXPECT_GT(most, 3) << name;
        EXPECT_GT(std::min(slower, faster), 2) << name;
        if (f.lineUp) {
            EXPECT_NEAR(silent, 26, 2) << name;
            EXPECT_NEAR(silentUntil - *f.lineUp, 11, 1.1) << name;
            EXPECT_EQ(f.truth(*f.lineUp).gs, 0) << name;
            EXPECT_GT(f.truth(*f.lineUp + 1).gs, 0) << name;
        } else {
            EXPECT_LT(silent, 5.1) << name;
        }
        if (std::string_view(name).starts_with("taxi")) {
            EXPECT_GT(headings.size(), 4U) << name;
        }
    }
}

} // namespace
} // namespace kes::replay
