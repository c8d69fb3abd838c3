// SPDX-License-Identifier: MIT
// The judge of parking, against scenes of which the answer is known.
#include "core/hh_now.h"
#include "feed/report_queue.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "tools/replay/parking_judge.h"
#include "traffic/harness.h"

namespace kes::replay {
namespace {

using test::firstHex;
using test::homeLat;
using test::homeLon;
using test::metre;

struct ParkingJudgeTest : test::TrafficTest {
    ParkingJudge judge;

    void SetUp() override {
        TrafficTest::SetUp();
        scene();
        reportQueue.setAccepting(true);
    }
    void TearDown() override {
        clear();
        TrafficTest::TearDown();
    }
    static void clear() {
        stands.clear();
        parkedAircraft.clear();
        liveAircraft.clear();
        toPark.clear();
    }
    /// Stands northwards of home: "S1" to "S4" of which the last two are neighbours, and "S5" close to "S6".
    static void scene() {
        clear();
        for (const auto& [metres, radius] : {std::pair{0, 30}, {50, 20}, {90, 20}, {120, 20}, {400, 10}, {415, 2}}) {
            Stand stand{.id = fmt::format("S{}", stands.size() + 1)};
            stand.lat = north(metres).lat;
            stand.lon = homeLon;
            stand.radius = radius / metresPerNm;
            stands.push_back(stand);
        }
        giveSids(stands);
        findAdjacent(stands);
    }
    static LatLon north(double metres) { return {homeLat + metres * metre, homeLon}; }
    static AiAircraft& addStatic(std::uint32_t sid, const char* model) {
        AiAircraft a;
        a.hexid = static_cast<std::uint32_t>(parkedAircraft.size()) + 1;
        a.objectid = 500 + a.hexid;
        a.callsign = fmt::format("T{}*", a.hexid);
        a.model = model;
        a.st = AircraftStatus::active;
        a.sid = sid;
        a.standLat = stands[sid - 1].lat;
        a.standLon = stands[sid - 1].lon;
        return parkedAircraft.emplace_back(a);
    }
    static LiveAircraft& addLive(std::uint32_t sid, const char* model, FlightState fs = FlightState::parked) {
        LiveAircraft& a = liveAircraft.emplace_back();
        a.hexid = firstHex + static_cast<std::uint32_t>(liveAircraft.size());
        a.objectid = 900 + static_cast<std::uint32_t>(liveAircraft.size());
        a.callsign = fmt::format("L{}", liveAircraft.size());
        a.wingspan = wingspanOf(model);
        a.st = AircraftStatus::active;
        a.fs = fs;
        a.sid = sid;
        a.onGround = true;
        a.lat = a.standLat = stands[sid - 1].lat;
        a.lon = a.standLon = stands[sid - 1].lon;
        return a;
    }
    void report(std::int32_t tick, LatLon at, bool airborne = false) {
        AircraftReport r;
        r.hexid = firstHex + 1; // the first live one's
        r.sample.lat = at.lat;
        r.sample.lon = at.lon;
        r.sample.tick = tick;
        r.sample.airborne = airborne;
        reportQueue.push(r);
        judge.takeNewestReport(0);
    }
    void look(std::int32_t from, std::int32_t to) {
        for (std::int32_t tick = from; tick <= to; tick += 10)
            judge.look(tick);
    }
};

TEST_F(ParkingJudgeTest, AStayIsFollowedToItsStand) {
    const struct {
        const char* name;
        double metres;        ///< of the stay, north of home
        std::int32_t reports; ///< ticks from its first report to the last
        bool rolledIn, lands; ///< reports of another place before it; all of them in the air
        std::function<void()> shown;
        const char* measured; ///< "stays arrivals on another none absent"
    } rows[] = {
        {"on its stand", 4, 2000, true, false, [] { addLive(1, "A320"); }, "1 1 1 0 0 0"},
        {"from the beginning", 4, 2000, false, false, [] { addLive(1, "A320"); }, "1 0 1 0 0 0"},
        {"came down there", 4, 2000, true, true, [] { addLive(1, "A320"); }, "1 0 1 0 0 0"},
        {"on another", 4, 2000, true, false, [] { addLive(2, "A320"); }, "1 1 0 1 0 0"},
        {"still rolling", 4, 2000, true, false, [] { addLive(1, "A320", FlightState::taxi); }, "1 1 0 0 1 0"},
        {"parked nowhere", 4, 2000, true, false, [] { addLive(1, "A320").sid = 0; }, "1 1 0 0 1 0"},
        {"not in the simulator", 4, 2000, true, false, [] { addLive(1, "A320").st = AircraftStatus::adding2sim; },
         "1 1 0 0 0 1"},
        {"nobody", 4, 2000, true, false, [] {}, "1 1 0 0 0 1"},
        {"too short a stay", 4, 1990, true, false, [] { addLive(1, "A320"); }, "0 0 0 0 0 0"},
        {"on no stand", 25, 2000, true, false, [] { addLive(1, "A320"); }, "0 0 0 0 0 0"},
        {"one of two stands", 407, 2000, true, false, [] { addLive(5, "A320"); }, "0 0 0 0 0 0"},
    };
    for (const auto& row : rows) {
        scene();
        judge = {};
        row.shown();
        if (row.rolledIn)
            report(100, north(-300), row.lands);
        report(1000, north(row.metres));
        report(1000 + row.reports, north(row.metres));
        look(3000, 12900);
        EXPECT_EQ(judge.finish().stays, 0U) << row.name << ": it may go on";
        look(13000, 13000);
        const ParkingMeasures m = judge.finish();
        EXPECT_EQ(fmt::format("{} {} {} {} {} {}", m.stays, m.arrivals, m.onStand, m.onAnother, m.onNone, m.absent),
                  row.measured)
            << row.name;
        if (m.onStand + m.onAnother == 1) {
            EXPECT_NEAR(m.metres.maximum(), m.onStand == 1 ? 4 : 46, 0.1) << row.name;
            EXPECT_NEAR(m.standMetres.maximum(), 4, 0.1) << row.name;
            EXPECT_EQ(m.mostParkedLive, 1U) << row.name;
        }
    }
}

TEST_F(ParkingJudgeTest, APushBackIsComparedWithTheWayOut) {
    const struct {
        const char* name;
        double turn; ///< degrees of the nose to the right when it has been pushed
        double east; ///< metres from the stand at which it is then reported
        bool pushed;
        const char* counts; ///< "push-backs, to the real side"
    } rows[] = {
        {"right", 90, 60, true, "1 1"},          {"left", -90, -60, true, "1 1"},
        {"the wrong way", 90, -60, true, "1 0"}, {"wrong, too", -90, 60, true, "1 0"},
        {"straight", 10, 60, true, "0 0"},       {"to a side later on", 90, 30, true, "1 0"},
        {"not pushed", 90, 60, false, "0 0"},
    };
    for (const auto& row : rows) {
        scene();
        judge = {};
        LiveAircraft& a = addLive(1, "A320");
        a.standHeading = a.heading = 0.0;
        look(10, 100);
        a.pullOutDue = true;
        if (row.pushed) {
            a.fs = FlightState::pushing_back;
            look(110, 200);
        }
        a.fs = FlightState::pushed_back;
        a.heading = normalizeAngle(row.turn * degToRad);
        look(210, 300);
        report(300, {north(-60).lat, homeLon + row.east * metre / std::cos(homeLat * degToRad)});
        look(310, 400);
        report(500, {north(-60).lat, homeLon - 500 * metre}); // once is enough
        look(510, 600);
        const ParkingMeasures m = judge.finish();
        EXPECT_EQ(fmt::format("{} {}", m.pushBacks, m.pushBacksToRealSide), row.counts) << row.name;
    }
}

TEST_F(ParkingJudgeTest, AClashIsToldOnce) {
    addStatic(3, "A320");
    addStatic(4, "A320");
    look(10, 500);
    const ParkingMeasures m = judge.finish();
    EXPECT_EQ(m.clashes.size(), 1U);
    EXPECT_EQ(m.tableFault, "neighbours held: S3 by T1*, S4 by T2*");
    EXPECT_EQ(m.mostStatic, 2U);
    EXPECT_EQ(m.stands, 6U);
}

} // namespace
} // namespace kes::replay
