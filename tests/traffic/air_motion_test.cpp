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

TEST_F(AirMotionTest, WhatALegDoesWithTheHeight) {
    struct Case {
        const char* what;
        double alt0, alt1, vs; ///< of the two samples; 0 = on the ground
        double agl;
        bool approach;
        std::int32_t qnh;
        double altStep; ///< feet per tick expected, over 1000 ticks from 1000 ft
    };
    const Case cases[] = {
        {"a climb", 1000, 1300, 1800, 2500, false, 1013, 0.3},
        {"no faster than the category climbs", 1000, 3000, 1800, 2500, false, 1013, 0.6},
        {"a descent is not limited", 1000, 100, -5400, 2500, false, 1013, -0.9},
        {"near the ground a climb does not hang", 1000, 1100, 600, 900, false, 1013, 0.2},
        {"higher up it may", 1000, 1100, 600, 1500, false, 1013, 0.1},
        {"frozen on approach", 1000, 1000, 0, 900, true, 1013, -601 / 6000.0},
        {"sinking on approach", 1000, 700, -700, 900, true, 1013, -0.3},
        {"frozen, high pressure", 1000, 1000, 0, 900, true, 1043, -601 / 6000.0},
        {"frozen and sinking, high pressure", 1000, 1000, -700, 900, true, 1043, -880 / 6000.0},
        {"frozen, close to the ground", 1000, 1000, -700, 90, true, 1043, -600 / 6000.0},
        {"from the ground", 0, 1300, 1800, 2500, false, 1013, 0.3},
        {"from the ground, data below", 0, 900, 1800, 2500, false, 1013, 0},
        {"never in the air, going up", 0, 0, 1800, 2500, false, 1013, 1800 / 6000.0},
        {"never in the air, going up slowly", 0, 0, 300, 2500, false, 1013, 601 / 6000.0},
        {"never in the air, going down", 0, 0, -300, 2500, true, 1013, -601 / 6000.0},
    };
    for (const Case& c : cases) {
        resetLiveTraffic();
        currentQnh = c.qnh;
        std::vector<PositionSample> stream{air(0, 5000, 300, c.alt0),
                                           air(1000 * 300 / 360000.0 / 60, 6000, 300, c.alt1)};
        stream[0].vs = stream[1].vs = c.vs;
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.onGround = false;
        a.alt = 1000;
        a.agl = c.agl;
        a.approach = c.approach;
        nextPosMain(a);
        EXPECT_NEAR(a.altStep, c.altStep, 1e-3) << c.what;
    }
}

TEST_F(AirMotionTest, SamplesOnTheGroundAreSkippedByOneThatClimbed) {
    std::vector<PositionSample> stream{ground(0, 5000, 150), ground(0.005, 5700, 150), ground(0.010, 6400, 150),
                                       air(0.015, 7100, 150, 700), air(0.02, 7800, 150, 900)};
    for (PositionSample& s : stream)
        s.vs = 900;
    LiveAircraft& a = activeFlight(firstHex, stream);
    a.onGround = false;
    a.alt = 500;
    nextPosMain(a);
    ASSERT_EQ(a.sz(), 2U);
    EXPECT_EQ(a.stream.front().alt, 700);
    const std::int32_t ticks = a.stream.front().tick - 5000;
    EXPECT_NEAR(a.latStep * ticks, 0.015, 1e-6) << "the way leads there";
    EXPECT_NEAR(a.altStep * ticks, 200, 1);
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
            nextPosMain(a);
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
            nextPosMain(b);
            const double bank = b.bankStep * (b.stream.front().tick - tickCount) * radToDeg;
            EXPECT_NEAR(bank, -std::min(c.most, 90.0) * east, 0.5) << c.model;
        }
    }
}

TEST_F(AirMotionTest, ATrustedHeadingGoesBeforeTheCourseNearTheGround) {
    struct Case {
        double agl;
        bool approach, trusted, taken;
    };
    for (const Case& c : {Case{1900, true, true, true}, Case{1900, false, true, false}, Case{900, false, true, true},
                          Case{2100, true, true, false}, Case{900, false, false, false}}) {
        resetLiveTraffic();
        std::vector<PositionSample> stream{air(0, 5000), air(0.02, 6440), air(0.04, 8000)};
        stream[1].trueHeading = 0.2;
        stream[1].trueHeadingValid = stream[1].bankValid = true;
        stream[1].adsbHeading = c.trusted;
        LiveAircraft& a = activeFlight(firstHex, stream);
        a.agl = c.agl;
        a.approach = c.approach;
        nextPosMain(a);
        EXPECT_NEAR(a.headingStep * (a.stream.front().tick - tickCount), c.taken ? 0.2 : 0, 1e-6) << c.agl;
    }
}

TEST_F(AirMotionTest, GoesOnFinalAndAroundAgain) {
    setAirportRef(AirportRef{"EDDF", "FRA", homeLat, homeLon, 0});
    std::vector<PositionSample> stream;
    for (int i = 0; i < 12; ++i)
        stream.push_back(air(0.005 * i, 5000 + 720 * i, 150, 1800 - 50.0 * i));
    for (PositionSample& s : stream)
        s.vs = -700;
    LiveAircraft& a = activeFlight(firstHex, stream);
    a.agl = 2100;
    a.sid = 7;
    nextPosMain(a);
    EXPECT_FALSE(a.approach) << "2050 ft is the limit for an airliner";
    EXPECT_EQ(a.sid, 7U);
    a.agl = 2000;
    nextPosMain(a);
    EXPECT_TRUE(a.approach);
    EXPECT_EQ(a.sid, 0U);
    EXPECT_EQ(a.flapsIndex, 3);
    EXPECT_EQ(a.throttleIndex, 1);
    EXPECT_EQ(a.lateTicks, 3000);
    EXPECT_EQ(landingList.back(), a.hexid);
    a.stream[0].vs = 700;
    nextPosMain(a);
    EXPECT_FALSE(a.approach);
    EXPECT_TRUE(a.climbing);
    EXPECT_EQ(a.throttleIndex, 4);
    EXPECT_EQ(a.flapsIndex, 0);
    setAirportRef(std::nullopt);
    a.stream[0].vs = -700;
    nextPosMain(a);
    EXPECT_FALSE(a.approach) << "there is nothing to land on";
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
        const double pitch = liveAircraft[0].pitch;
        run(100);
        EXPECT_GT(liveAircraft[0].pitch, pitch) << "the nose comes down slowly";
        EXPECT_LT(liveAircraft[0].pitch, 0);
        run(400);
        EXPECT_EQ(liveAircraft[0].pitch, liveAircraft[0].staticPitch);
        EXPECT_EQ(liveAircraft[0].flareStage, 0);
    }
}

} // namespace
} // namespace kes
