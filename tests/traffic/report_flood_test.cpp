// SPDX-License-Identifier: MIT
// Invented aircraft do not crowd out those that fly.
#include "feed/traffic_reader.h"
#include "traffic/harness.h"

namespace kes::test {
namespace {

struct ReportFloodTest : TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        trafficReader.setUserPosition(homeLat, homeLon);
        trafficReader.setReferenceAirport(std::nullopt);
    }
    /// A line about an airliner that has flown north for `seconds`.
    static void line(std::uint32_t hexid, double seconds, double east) {
        text = fmt::format("RTTFC,{},{:.6f},{:.6f},8000,0,1,0.00,300.00,DLH{},A320,D-{},EDDF,EDDM,{:.1f},T,X,adsb_icao,"
                           "8000,250,300,0.5,0.1,0,0,360,1280,none,A3",
                           hexid, homeLat + 300.0 * seconds / 3600.0 / 60.0, homeLon + east, hexid % 100000,
                           hexid % 100000, 1.7e9 + seconds);
        trafficReader.text = text;
        trafficReader.onDatagram();
    }
    inline static std::string text;
};

TEST_F(ReportFloodTest, TwentyTrueAircraftKeepTheirReportsBesideTwentyThousandInventedOnesASecond) {
    constexpr std::uint32_t count = 20;
    for (int now = 0; now < 6000; ++now) {
        // Each of them every five seconds, spread over the time.
        for (std::uint32_t i = 0; i < count; ++i)
            if (now % 500 == static_cast<int>(24 * i))
                line(firstHex + count - i, now / 100.0, 0.02 * i);
        // In the last ten seconds others once a second: who is reported again is an expected aircraft.
        for (std::uint32_t i = 0; now >= 5000 && i < 200; ++i)
            line(firstHex + 100 + static_cast<std::uint32_t>(now % 100) * 200 + i, now / 100 + 1.0, -0.1);
        tick();
        const double since = 1.7e9 + (now - 499) / 100.0 - 0.06;
        const auto upToDate = [&](const LiveAircraft& a) {
            return a.hexid < firstHex + 100 && a.st == AircraftStatus::active && a.lastReportTime > since;
        };
        if (now > 4500 && now % 500 == 499) { // 43 ticks after the last of them
            ASSERT_EQ(std::ranges::count_if(liveAircraft, upToDate), count) << now;
        }
    }
    const auto isNewcomer = [](const LiveAircraft& a) { return a.hexid >= firstHex + 100; };
    EXPECT_GT(std::ranges::count_if(liveAircraft, isNewcomer), 180)
        << "who is not known has a tenth of the reports all the same";
    std::vector<AircraftReport> room(ReportQueue::capacity);
    const auto isKnown = [&] {
        reportQueue.take(room);
        for (const std::uint32_t hexid : {firstHex + 50000, firstHex + 1})
            push(report(hexid, 0));
        reportQueue.take(room);
        return room[0].hexid == firstHex + 1;
    };
    EXPECT_TRUE(isKnown());
    std::erase_if(liveAircraft, [](const LiveAircraft& a) { return a.hexid == firstHex + 1; });
    run(100);
    EXPECT_FALSE(isKnown()) << "who has left is not known any more";
}

} // namespace
} // namespace kes::test
