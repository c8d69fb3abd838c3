// Heights, attitude and configuration in the air, from the descent to the touchdown.
#include "feed/qnh_reader.h"
#include "traffic/air_motion.h"
#include "traffic/ground_motion.h"
#include "traffic/harness.h"

namespace kes {
namespace {

struct AirMotionTest : test::TrafficTest {
    void TearDown() override {
        currentQnh = standardQnh;
        TrafficTest::TearDown();
    }
};
using test::firstHex;
using test::homeLat;
using test::homeLon;

/// 7 s later at 150 kn.
PositionSample northOf(PositionSample s) {
    s.lat += 0.005;
    s.tick += 700;
    return s;
}

TEST_F(AirMotionTest, WhatALegDoesWithTheHeight) {
    struct Case {
        const char* what;
        double alt0, alt1, vs; ///< of the two samples; 0 = on the ground
        double agl;
        bool approach;
        std::int32_t qnh;
        double altStep;      ///< feet per tick expected, over 1000 ticks from 1000 ft
        bool byRate = false; ///< the vertical speed of the leg follows
        double vs1 = 0;      ///< of the second sample; 0 = as the first
    };
    const Case cases[] = {
        {"a climb", 1000, 1300, 1800, 2500, false, 1013, 0.3},
        {"no faster than the category climbs", 1000, 3000, 1800, 2500, false, 1013, 0.6},
        {"a descent is not limited", 1000, 100, -5400, 2500, false, 1013, -0.9},
        {"near the ground a climb does not hang", 1000, 1100, 600, 900, false, 1013, 0.2},
        {"higher up it may", 1000, 1100, 600, 1500, false, 1013, 0.1},
        {"frozen on approach", 1000, 1000, 0, 900, true, 1013, -601 / 6000.0, true},
        {"frozen on approach, still high", 1000, 1000, 0, 1001, true, 1013, 0},
        {"frozen, though it climbs", 1000, 1000, 51, 900, true, 1013, 0},
        {"sinking on approach", 1000, 700, -700, 900, true, 1013, -0.3},
        {"frozen, high pressure", 1000, 1000, 0, 900, true, 1043, -601 / 6000.0},
        {"frozen and sinking, high pressure", 1000, 1000, -700, 900, true, 1043, -880 / 6000.0, true},
        {"sinking by the mean of both", 1000, 1000, -700, 900, true, 1003, -840 / 6000.0, true, -1100},
        {"frozen, close to the ground", 1000, 1000, -700, 100, true, 1043, -600 / 6000.0, true},
        {"from the ground", 0, 1300, 1800, 2500, false, 1013, 0.3},
        {"from the ground, no faster than the category climbs", 0, 3000, 1800, 2500, false, 1013, 0.6},
        {"from the ground, data below", 0, 900, 1800, 2500, false, 1013, 0},
        {"never in the air, going up", 0, 0, 1800, 2500, false, 1013, 1800 / 6000.0, true},
        {"never in the air, going up slowly", 0, 0, 300, 2500, false, 1013, 601 / 6000.0, true},
        {"never in the air, going up by less than that", 0, 0, 50, 2500, false, 1013, -601 / 6000.0, true},
        {"never in the air, on final", 0, 0, 1800, 2500, true, 1013, -601 / 6000.0, true},
        {"never in the air, going down", 0, 0, -300, 2500, true, 1013, -601 / 6000.0, true},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        currentQnh = c.qnh;
        std::vector<PositionSample> stream{air(0, 5000, 300, c.alt0),
                                           air(1000 * 300 / 360000.0 / 60, 6000, 300, c.alt1)};
        stream[0].vs = c.vs;
        stream[1].vs = c.vs1 != 0 ? c.vs1 : c.vs;
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.onGround = false;
        a.alt = 1000;
        a.agl = c.agl;
        a.approach = c.approach;
        nextPosMain(a, motionNow());
        EXPECT_NEAR(a.altStep, c.altStep, 1e-3) << c.what;
        if (c.byRate) {
            EXPECT_NEAR(a.altStep, c.altStep, 1e-12) << c.what;
            EXPECT_NEAR(a.vsFpm, c.altStep * 6000, 1e-9) << c.what;
            EXPECT_NEAR(a.stream.front().vs, c.altStep * 6000, 1e-9) << c.what;
        }
    }
}

TEST_F(AirMotionTest, SamplesOnTheGroundAreSkippedByOneThatClimbed) {
    struct Case {
        const char* what;
        std::size_t onGround; ///< samples before the first one in the air
        std::size_t after;    ///< samples behind that one
        double vs;            ///< of the last sample, where the others have 0
        bool skipped;
    };
    for (const Case& c : {Case{"soon", 3, 1, 900, true}, Case{"as the last but one it counts", 2, 1, 101, true},
                          Case{"not as the last", 3, 0, 900, false}, Case{"as the tenth", 9, 1, 900, true},
                          Case{"not as the eleventh", 10, 2, 900, false}, Case{"no climb", 3, 1, 100, false}}) {
        resetLiveTraffic();
        std::vector<PositionSample> stream;
        for (std::size_t i = 0; i < c.onGround; ++i)
            stream.push_back(ground(0.005 * static_cast<double>(i), 5000 + 700 * static_cast<std::int32_t>(i), 150));
        for (std::size_t i = 0; i <= c.after; ++i) {
            stream.push_back(northOf(stream.back()));
            stream.back().alt = 700;
            stream.back().airborne = true;
        }
        stream[c.onGround].lon += 0.01;
        stream.back().vs = c.vs;
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.onGround = false;
        a.alt = 500;
        nextPosMain(a, motionNow());
        EXPECT_EQ(a.sz(), c.skipped ? c.after + 1 : stream.size() - 1) << c.what;
        EXPECT_EQ(a.stream.front().alt, c.skipped ? 700 : 0) << c.what;
        if (!c.skipped)
            continue;
        const PositionSample& target = stream[c.onGround];
        const std::int32_t ticks = a.stream.front().tick - 5000;
        EXPECT_NEAR(ticks, distanceNm(stream[0].position(), target.position()) * 360000 / 150, 1) << c.what;
        EXPECT_NEAR(a.latStep * ticks, target.lat - homeLat, 1e-9) << c.what << ": the way leads there";
        EXPECT_NEAR(a.lonStep * ticks, 0.01, 1e-9) << c.what;
        EXPECT_NEAR(a.altStep * ticks, 200, 1) << c.what;
    }
}

TEST_F(AirMotionTest, TheNoseFollowsTheVerticalSpeed) {
    struct Case {
        double vs, degrees;
    };
    for (const Case& c : {Case{0, -3}, Case{600, -5.2}, Case{2400, -11.8}, Case{4000, -11.8}, Case{-600, -1.9},
                          Case{-3000, 2.5}, Case{-5000, 2.5}}) {
        for (const bool rotating : {false, true}) {
            resetLiveTraffic();
            LiveAircraft& a = activeFlight(firstHex, {air(0, 5000, 60, 3000), air(0.5, 185000, 60, 3000)});
            a.stream[1].vs = c.vs;
            a.pitchStep = 0.5;
            if (rotating)
                a.fs = FlightState::take_off;
            else
                EXPECT_NEAR(initialPitch(a.stream[1]) * radToDeg, c.degrees, 1e-9);
            nextPosMain(a, motionNow());
            const double pitch = a.pitch + a.pitchStep * (a.stream.front().tick - 5000);
            if (rotating)
                EXPECT_EQ(a.pitchStep, 0.5) << "the rotation has its own";
            else
                EXPECT_NEAR(pitch * radToDeg, c.degrees, 1e-6) << c.vs;
        }
    }
}

TEST_F(AirMotionTest, BankAndPitchChangeNoFasterThanTheCategory) {
    struct Case {
        const char* model;
        double bankStep, pitchStep, most; ///< degrees
    };
    for (const Case& c :
         {Case{"C172", 0.035, 0.01, 40}, Case{"C25A", 0.0275, 0.0085, 35}, Case{"A320", 0.02, 0.0075, 30},
          Case{"B77W", 0.015, 0.005, 20}, Case{"F16", 0.1, 0.03, 90}, Case{"EC35", 0.06, 0.03, 75}}) {
        for (const double east : {1.0, -1.0}) {
            resetLiveTraffic();
            std::vector<PositionSample> stream{air(0, 5000), air(0.0003, 5025), air(0.0003, 9000)};
            stream[2].lon += 0.1 * east;
            stream[1].vs = 2400;
            LiveAircraft& a = activeFlight(firstHex, stream, c.model);
            a.pitch = 10 * degToRad;
            nextPosMain(a, motionNow());
            EXPECT_NEAR(a.bankStep * radToDeg, -c.bankStep * east, 1e-9) << c.model << ": right is negative";
            EXPECT_NEAR(a.pitchStep * radToDeg, -c.pitchStep, 1e-9) << c.model;
            EXPECT_NEAR(angleDiff(a.heading, a.heading + a.headingStep * (a.stream.front().tick - tickCount)) *
                            radToDeg,
                        90 * east, 1)
                << c.model << ": it turns towards the leg after the next sample";
            // Over a long leg it is the largest bank that counts.
            resetLiveTraffic();
            stream[1] = air(0.5, 5000 + 36000);
            stream[2] = air(0.5, 60000);
            stream[2].lon += 0.1 * east;
            LiveAircraft& b = activeFlight(firstHex, stream, c.model);
            nextPosMain(b, motionNow());
            const double bank = b.bankStep * (b.stream.front().tick - tickCount) * radToDeg;
            EXPECT_NEAR(bank, -std::min(c.most, 90.0) * east, 0.5) << c.model;
        }
    }
}

TEST_F(AirMotionTest, ATrustedHeadingGoesBeforeTheCourseNearTheGround) {
    struct Case {
        double agl;
        bool approach, trusted, bank, heading, taken;
    };
    for (const Case& c : {Case{1999, true, true, true, true, true}, Case{1999, false, true, true, true, false},
                          Case{999, false, true, true, true, true}, Case{2000, true, true, true, true, false},
                          Case{1000, false, true, true, true, false}, Case{900, false, false, true, true, false},
                          Case{900, true, true, false, true, false}, Case{900, true, true, true, false, false}}) {
        resetLiveTraffic();
        std::vector<PositionSample> stream{air(0, 5000), air(0.02, 6440), air(0.04, 8000)};
        stream[1].trueHeading = 0.2;
        stream[1].trueHeadingValid = c.heading;
        stream[1].bankValid = c.bank;
        stream[1].adsbHeading = c.trusted;
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.agl = c.agl;
        a.approach = c.approach;
        nextPosMain(a, motionNow());
        EXPECT_NEAR(a.headingStep * (a.stream.front().tick - tickCount), c.taken ? 0.2 : 0, 1e-6) << c.agl;
    }
    // A place that is not left again, or the last sample, leads nowhere: the heading stays.
    for (const std::size_t samples : {2U, 3U}) {
        resetLiveTraffic();
        std::vector<PositionSample> stream{air(0, 5000), air(0.02, 6440), air(0.02, 8000)};
        stream.resize(samples);
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.heading = 1.0;
        nextPosMain(a, motionNow());
        EXPECT_EQ(a.headingStep, 0) << samples;
    }
}

/// From 150 ft above the field, 3 degrees down, on data that end in the air.
TEST_F(AirMotionTest, FlaresInFourStagesAndTouchesDownSoftly) {
    for (const double elevation : {-210.0, 0.0, 5400.0}) {
        resetLiveTraffic();
        setAirportRef(AirportRef{"ZZZZ", "", homeLat, homeLon, elevation});
        std::vector<PositionSample> stream;
        for (int i = 0; i < 12; ++i) {
            stream.push_back(air(0.004 * i, 5000 + 576 * i, 150, std::max(elevation + 150 - 70.0 * i, 1.0)));
            stream.back().vs = -700;
        }
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.approach = true;
        a.staticCg = 11;
        a.flareTicks = 200; // shorter than the flare takes
        a.staticPitch = 0.5 * degToRad;
        a.alt = elevation + 150;
        a.agl = 150;
        int stage = 0;
        double lowestNose = 0;
        bool landed = runUntil(
            [&] {
                LiveAircraft& now = liveAircraft[0];
                const double height = now.alt - elevation;
                if (tickCount % 20 == 0)
                    addSimReply(reply(ReplyKind::ground, now.objectid, height <= now.staticCg, elevation, height));
                EXPECT_GE(height, now.staticCg - 1.0) << elevation;
                EXPECT_TRUE(now.flareStage == stage || now.flareStage == stage + 1);
                stage = now.flareStage;
                lowestNose = std::min(lowestNose, now.pitch);
                return now.onGround;
            },
            6000);
        ASSERT_TRUE(landed) << elevation;
        EXPECT_EQ(stage, 4);
        EXPECT_NEAR(lowestNose * radToDeg, -4, 1e-9) << "nose up, and no further";
        EXPECT_TRUE(liveAircraft[0].landingRoll);
        EXPECT_TRUE(liveAircraft[0].derotating);
        EXPECT_FALSE(liveAircraft[0].approach);
    }
}

} // namespace
} // namespace kes
