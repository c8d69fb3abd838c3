// SPDX-License-Identifier: MIT
// The truth of the scenarios is smooth and agrees with itself.
#include "tools/replay/scenarios.h"

#include <cmath>
#include <gtest/gtest.h>

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

} // namespace
} // namespace kes::replay
