// SPDX-License-Identifier: MIT
// Born on a stand, and away from it.
#include "traffic/harness.h"
#include "traffic/parking.h"

#include <tuple>

namespace kes::test {
namespace {

constexpr std::int32_t sevenDays = 60480000;

struct StandsTest : TrafficTest {
    /// Parked on the only stand for ten hours, after a flight.
    LiveAircraft& parkedFlight(const std::string& model) {
        resetLiveTraffic();
        stands.assign(1, standAt(0, 30, 0.5));
        stands[0].liveOnIt = true;
        const std::int32_t ends = tickCount - 600 * 6000 + sevenDays;
        LiveAircraft& a = activeFlight(firstHex, {stopAt(0, ends)}, model);
        a.fs = FlightState::parked;
        a.fsPrevious = FlightState::birth;
        a.sid = 1;
        a.standLat = homeLat;
        a.standLon = homeLon;
        a.extrapCount = 1;
        a.landedSearch = true;
        return a;
    }
    static PositionSample away(double metres) {
        PositionSample n = ground(metres * metre, 8000, 3);
        n.stopped = true;
        return n;
    }
};

TEST_F(StandsTest, AParkedAircraftLeavesWhenItReallyMoves) {
    enum Ends { stays, leaves, goes };
    struct Case {
        const char* name;
        const char* model;
        bool arrived;               ///< it drove here, and was not born here
        std::vector<double> metres; ///< from the stand, of the reports
        Ends ends;                  ///< with the last one
    };
    const Case cases[] = {
        {"wobbling", "A320", false, {1, 3, 1, 3, 1, 3, 1, 3}, stays},
        {"three moves, half a span away", "A320", false, {1, 4.5, 8, 11.5}, leaves},
        {"moves of less than 3 m count when they add up", "A320", false, {1, 3.5, 6, 8.5, 11}, stays},
        {"two moves", "A320", false, {1, 6, 11}, stays},
        {"a wide one has farther to go", "B77W", false, {1, 5, 9, 13}, stays},
        {"to half its span", "B77W", false, {1, 5, 9, 13, 17.2}, leaves},
        {"less than the span at once", "B77W", false, {1, 32.8}, stays},
        {"more than the span at once", "B77W", false, {1, 33.2}, leaves},
        {"out and back again", "A320", false, {1, 5, 9, 5.5, 12.5}, stays},
        {"hardly back again", "A320", false, {1, 5, 9, 7, 12.5}, leaves},
        {"in the circle", "A320", false, {84}, stays},
        {"out of the circle", "A320", false, {86}, leaves},
        {"in the circle of one that drove here", "A320", true, {169}, stays},
        {"out of that", "A320", true, {171}, leaves},
        {"just near enough", "A320", false, {199}, leaves},
        {"too far", "A320", false, {201}, goes},
        {"too far for one that drove here", "A320", true, {201}, goes},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        LiveAircraft& a = parkedFlight(c.model);
        a.fsPrevious = c.arrived ? FlightState::parking : FlightState::birth;
        for (const double metres : c.metres) {
            ASSERT_EQ(a.sz(), 1U) << "too early, before " << metres;
            a.pullOutDue = true; // of a leaving that was none
            decodeExisting(a, away(metres), motionNow());
        }
        EXPECT_EQ(a.st == AircraftStatus::removingfromsim, c.ends == goes);
        EXPECT_EQ(a.fs, FlightState::parked);
        EXPECT_TRUE(a.feedAtStand);
        EXPECT_EQ(stands[0].liveOnIt, c.ends == stays);
        if (c.ends == goes)
            continue;
        EXPECT_EQ(a.pullOutDue, c.ends == leaves);
        EXPECT_EQ(a.sz(), c.ends == leaves ? 2U : 1U);
        EXPECT_EQ(a.stream[0].tick == tickCount + 1, c.ends == leaves) << "the wait is over";
        EXPECT_EQ(a.extrapCount, c.ends == leaves ? 0 : 1);
        EXPECT_EQ(a.lateTicks, c.ends == leaves ? 3000 : 1000);
        EXPECT_EQ(a.landedSearch, c.ends == stays);
        EXPECT_TRUE(c.ends == stays || !a.stream[1].stopped);
    }
    LiveAircraft& again = parkedFlight("A320");
    again.fsPrevious = FlightState::parked;
    decodeExisting(again, away(86), motionNow());
    EXPECT_TRUE(again.pullOutDue);
    EXPECT_TRUE(stands[0].liveOnIt) << "it left before: the stand may be another's by now";
    for (const AircraftStatus st : {AircraftStatus::buffer, AircraftStatus::adding2sim}) {
        LiveAircraft& a = parkedFlight("A320");
        a.st = st;
        decodeExisting(a, away(150), motionNow());
        EXPECT_FALSE(a.pullOutDue) << "what is not there cannot leave";
        EXPECT_EQ(a.sz(), 1U);
    }
    LiveAircraft& seen = parkedFlight("A320");
    decodeExisting(seen, away(84), motionNow());
    EXPECT_GT(seen.parkedTime, 0) << "a report near the stand proves that it stands there";
}

TEST_F(StandsTest, BornOnAStandThatFits) {
    struct Case {
        const char* name;
        double metres, backMetres; ///< north of the stand: the first and the last sample
        double gs1;
        bool stopped; ///< the first sample
        BirthPlace place;
        const char* model = "A320";
        double radius = 20;
        bool heli = false, taken = false;
        double airportNm = 0;
    };
    using enum BirthPlace;
    const Case cases[] = {
        {"on it", 0, 0, 0, true, parked},
        {"near it", 54, 54, 0, true, parked},
        {"too far", 56, 56, 5, true, taxiing},
        {"too far, and it stands", 56, 56, 0, true, notKnownYet},
        {"about to stop there", 80, 50, 5, false, parked},
        {"too fast for that", 80, 50, 5.1, false, taxiing},
        {"the last one too far off", 80, 44, 5, false, taxiing},
        {"about to stop elsewhere", 50, 60, 5, false, taxiing},
        {"a helicopter at a gate", 0, 0, 5, true, taxiing, "EC35"},
        {"a helicopter on its pad", 0, 0, 0, true, parked, "EC35", 20, true},
        {"taken", 0, 0, 5, true, taxiing, "A320", 20, false, true},
        {"the airport is near", 0, 0, 0, true, parked, "A320", 20, false, false, 4.9},
        {"it is not", 0, 0, 0, true, taxiing, "A320", 20, false, false, 5.1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        setAirportRef(AirportRef{"EDDF", "FRA", homeLat + c.airportNm / 60, homeLon, 0});
        stands = {standAt(100, 90), standAt(0, c.radius, 0.5, 2)};
        stands[0].liveOnIt = true;
        stands[1].liveOnIt = c.taken;
        stands[1].cargo = true;
        stands[1].heli = c.heli;
        PositionSample first = ground(c.metres * metre, 5000, 7), next = ground(c.metres * metre, 5500, c.gs1);
        first.stopped = c.stopped;
        next.stopped = c.gs1 == 0;
        LiveAircraft& a = activeFlight(firstHex, {first, next, ground(c.backMetres * metre, 6000, 0)}, c.model);
        a.fs = FlightState::birth;
        a.lastStandDist = 1;
        a.awayCount = 2;
        const std::int64_t before = monotonicMs();
        EXPECT_EQ(bornOnStand(a), c.place);
        EXPECT_EQ(a.sz(), c.place == parked ? 1U : c.place == notKnownYet ? 2U : 3U);
        EXPECT_EQ(a.fs, c.place == parked ? FlightState::parked : FlightState::birth);
        EXPECT_EQ(stands[1].liveOnIt, c.taken || c.place == parked);
        if (c.place != parked)
            continue;
        const PositionSample& s = a.stream.front();
        EXPECT_NEAR(s.track, 0.5 * radToDeg, 1e-9);
        EXPECT_EQ(std::tuple(s.lat, s.gs, s.stopped), std::tuple(homeLat, 0, true));
        EXPECT_EQ(std::tuple(a.sid, a.standHeading, a.standCargo), std::tuple(2, 0.5, true));
        EXPECT_GE(a.parkedTime, before);
        EXPECT_EQ(a.lastStandDist + a.awayCount, 0);
    }
    LiveAircraft& a = liveAircraft[0];
    setAirportRef(std::nullopt);
    EXPECT_EQ(bornOnStand(a), taxiing) << "no airport";
    EXPECT_EQ(standName(2) + standName(0) + standName(7), "A2sid==0?unknown");
}

} // namespace
} // namespace kes::test
