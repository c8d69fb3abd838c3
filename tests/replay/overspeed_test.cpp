// SPDX-License-Identifier: MIT
// A feed that reports all its aircraft at once, in virtual time: nobody dashes to make up for a late birth, and the
// limit of live aircraft holds.
#include "core/run_state.h"
#include "sim/orders.h"
#include "spine/flight_folder.h"
#include "tools/replay/overspeed.h"
#include "traffic/filters.h"
#include "traffic/live_table.h"
#include "world/simulator/inproc.h"

namespace kes::replay {
namespace {

struct BurstTest : test::VirtualRun {
    Overspeed overspeed;
    std::int32_t tick = 0;
    std::size_t mostWaiting = 0, mostObjects = 0;

    void SetUp() override {
        options.altFeet = 20000; // a wide range, and nobody's way
        tickCount = 0;
        VirtualRun::SetUp();
        setRange(40);
    }
    ~BurstTest() override { maxLive = -1; }

    /// Aircraft i on a circle of its own round the field, 250 kn, or taxiing at 12 kn.
    static test::Straight flight(std::uint32_t i, double seconds) {
        const bool taxiing = i % 10 == 9;
        test::Straight s;
        s.hexid = 4000000 + i;
        s.callsign = fmt::format("DLH{}", i);
        s.regcode = fmt::format("D-B{}", i);
        s.knots = taxiing ? 12 : 250;
        s.alt = taxiing ? 0 : 4000 + 40 * i;
        const double radius = taxiing ? 0.5 + 0.01 * i : 3.0 + 0.06 * i;
        const double angle = i * 2.39996 + s.knots / 3600.0 / radius * seconds;
        s.bearing = normalizeAngle(angle + pi / 2);
        s.startNm = 0;
        s.place = destination({test::fieldLat, test::fieldLon}, normalizeAngle(angle), radius * feetPerNm);
        return s;
    }
    /// Every five seconds all aircraft report in one tick.
    void fly(std::uint32_t count, int ticks, const std::function<void()>& each = {}) {
        for (int i = 0; i < ticks; ++i, ++tick) {
            for (std::uint32_t n = 0; tick % 500 == 0 && n < count; ++n) {
                world::virtualDatagram(flight(n, tick / 100.0).line(tick / 100.0));
                overspeed.takeNewestReport(0);
            }
            ASSERT_TRUE(world::virtualTick());
            overspeed.lookAtAll(tick + 1);
            mostWaiting = std::max(mostWaiting, birthsUnderWay());
            mostObjects = std::max(mostObjects, world::inprocObjects().size());
            if (each)
                each();
        }
    }
    static std::size_t active() {
        return static_cast<std::size_t>(std::ranges::count(liveAircraft, AircraftStatus::active, &LiveAircraft::st));
    }
};

TEST_F(BurstTest, NobodyDashesAfterItsBirth) {
    fly(300, 20500);
    EXPECT_EQ(active(), 300U) << "two a second";
    EXPECT_EQ(mostWaiting, 11U);
    EXPECT_EQ(overspeed.dashing(), 0U) << overspeedText(overspeed);
    EXPECT_LT(overspeed.worst().ratio, 1.2) << overspeedText(overspeed);
    EXPECT_GT(overspeed.worst().ratio, 0.9) << "they do move";
    EXPECT_FALSE(program.logHas("has not come into the simulator"));
}

TEST_F(BurstTest, TheLimitOfLiveAircraftIsNeverPassed) {
    par::MAX_LIVE.value = maxLive = 5;
    fly(50, 9000, [] { ASSERT_LE(active(), 5U); });
    EXPECT_EQ(active(), 5U);
    EXPECT_LE(mostObjects, 6U) << "one may be going while the next comes";
}

TEST_F(BurstTest, ALimitSetDuringTheRunHoldsForThoseUnderWayToo) {
    fly(50, 4000);
    ASSERT_GT(active(), 5U);
    ASSERT_FALSE(waitingOrders().liveCreateQueue.empty());
    par::MAX_LIVE.value = 5;
    windowRequests.maxLive = true;
    fly(50, 1500);
    EXPECT_FALSE(windowRequests.maxLive);
    fly(50, 1500, [] { ASSERT_LE(active(), 5U); });
    EXPECT_EQ(active(), 5U);
    par::MAX_LIVE.value = -1;
    windowRequests.maxLive = true;
    fly(50, 6000);
    EXPECT_EQ(active(), 50U);
}

TEST(OverspeedTest, ComparesTheLastSecondWithWhatWasReportedAroundIt) {
    struct Case {
        const char* name;
        double shown, reported; ///< knots
        double ratio;
        std::size_t dashing;
    };
    for (const Case& c : {Case{"as reported", 250, 250, 1, 0}, Case{"too fast", 500, 250, 2, 1},
                          Case{"just not a dash", 370, 250, 1.48, 0}, Case{"slow ones are noise", 29, 1, 1.45, 0}}) {
        SCOPED_TRACE(c.name);
        Overspeed o;
        for (std::int32_t t = 0; t <= 6000; t += 500)
            o.report(7, t, c.reported);
        o.report(7, 20000, 9999); // much later
        for (std::int32_t t = 2000; t <= 3000; ++t)
            o.look(7, t, {50.0 + c.shown * t / 360000.0 / 60.0, 8.0});
        o.look(7, 4000, {60.0, 8.0}); // another object, later: no jump of this one
        EXPECT_NEAR(o.worst().ratio, c.ratio, 0.01);
        EXPECT_EQ(o.dashing(), c.dashing);
    }
}

} // namespace
} // namespace kes::replay
