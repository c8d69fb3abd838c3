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
    int taken = 0, missed = 0, latest = 0;
    std::map<std::uint32_t, std::pair<int, double>> awaited; ///< tick and time of the report that must come
    const auto second = [&](int s, int flood) {
        for (int t = 0; t < 100; ++t) {
            const int now = 100 * s + t;
            // Each of them every five seconds, spread over the time.
            for (std::uint32_t i = 0; i < count; ++i)
                if (now % 500 == static_cast<int>(25 * i)) {
                    const std::uint32_t hexid = firstHex + count - i;
                    missed += awaited.count(hexid) != 0 ? 1 : 0;
                    awaited[hexid] = {now, 1.7e9 + now / 100.0};
                    line(hexid, now / 100.0, 0.02 * i);
                }
            // Each once a second: who is reported again is an expected aircraft.
            for (int i = 0; i < flood / 100; ++i)
                line(firstHex + 100 + static_cast<std::uint32_t>(t * flood / 100 + i), s + 1.0, -0.1);
            tick();
            for (const LiveAircraft& a : liveAircraft) {
                const auto it = awaited.find(a.hexid);
                if (it == awaited.end() || a.lastReportTime < it->second.second - 0.06)
                    continue;
                latest = std::max(latest, now - it->second.first);
                ++taken;
                awaited.erase(it);
            }
        }
    };
    int s = 0;
    for (; s < 50; ++s)
        second(s, 0);
    ASSERT_EQ(std::ranges::count(liveAircraft, AircraftStatus::active, &LiveAircraft::st), count);
    EXPECT_EQ(missed, 0);
    EXPECT_LE(latest, 1) << "ticks";
    taken = latest = 0;
    for (; s < 60; ++s)
        second(s, 20000);
    EXPECT_EQ(missed + static_cast<int>(awaited.size()), 0) << "reports that were lost";
    EXPECT_EQ(taken, 40);
    EXPECT_LE(latest, 20) << "ticks that a report waited at most";
    std::size_t newcomers = 0;
    for (const LiveAircraft& a : liveAircraft)
        newcomers += a.hexid >= firstHex + 100 ? 1 : 0;
    EXPECT_GT(newcomers, 180U) << "who is not known has a tenth of the reports all the same";
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
