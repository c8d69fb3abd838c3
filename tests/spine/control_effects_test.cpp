// SPDX-License-Identifier: MIT
// What the user does to a control, and what he then sees in the simulator.
#include "airports/airport_ref.h"
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/user_aircraft.h"
#include "replay/virtual_airport.h"
#include "spine/main_tick.h"
#include "traffic/filters.h"

namespace kes::test {
namespace {

std::size_t statics(std::string_view airport = "") {
    return std::ranges::count_if(world::inprocObjects(), [&](const world::SimObject& o) {
        return o.tail.ends_with('*') && o.tail.starts_with(airport);
    });
}
/// What is to be seen.
using Sight = std::function<bool()>;
Sight gone(std::string_view tail) {
    return [tail] { return !world::inprocObject(tail); };
}
/// It flies by the program's will.
Sight flies(std::string_view tail) {
    return [tail] {
        const auto object = world::inprocObject(tail);
        return object && object->positionRecords > 10;
    };
}
Sight parked(std::size_t count, std::string_view airport = "") {
    return [count, airport] { return statics(airport) == count; };
}
/// What the user does.
using Play = std::function<void(TestWindow&)>;
template <typename Box> Play enters(Box& box, const char* text) {
    return [&box, text](TestWindow& w) { w.enter(box, text); };
}
Play ticks(BoolBox& box, bool on) {
    return [&box, on](TestWindow& w) { w.tick(box, on); };
}
Play presses(const Button& button) {
    return [&button](TestWindow& w) { w.press(button); };
}
std::size_t litObjects() {
    return std::ranges::count_if(world::inprocObjects(),
                                 [](const world::SimObject& o) { return (o.lights & world::light::nav) != 0; });
}
/// Goes round a mile about the point that it belongs to.
void circle(Straight& one, double seconds) {
    const double way = one.knots / 3600 * seconds; // the radius is one mile
    one.place = destination(destination({fieldLat, fieldLon}, 0, one.startNm * feetPerNm), way, feetPerNm);
    one.bearing = std::fmod(way + pi / 2, 2 * pi);
}
/// An aircraft that circles so many miles north.
Straight at(const char* callsign, std::uint32_t hexid, double north, const char* model = "A320") {
    Straight one;
    one.callsign = callsign;
    one.hexid = hexid;
    one.model = model;
    one.regcode = fmt::format("D-X{:03}", hexid % 1000);
    one.startNm = north;
    one.knots = 180;
    return one;
}

struct ControlEffectsTest : testing::Test {
    FlightFolder program;
    TestWindow window;
    std::vector<Straight> sky, none;
    int now = 0; ///< ticks

    void SetUp() override {
        program.readContent();
        airportTable.push_back({"EDMX", "", fieldLat, fieldLon + 0.15, fieldElevation});
        setWallClockMs(1700042400LL * 1000); // a Wednesday, 10:00
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
        std::ofstream(program.folder / "Callsign2ObjectId.txt") << "";
    }
    void TearDown() override {
        world::endVirtualFlight();
        setWallClockMs(-1);
        setParameterDefaults();
        airportTable.clear();
    }
    /// Two of ten stands, each used at this hour.
    static void putAirports() {
        for (const auto& [code, lon] : {std::pair("EDDM", fieldLon), {"EDMX", fieldLon + 0.15}})
            replay::StandRow{.at = {fieldLat, lon}, .count = 10}.write(code, [code = code](int n) {
                return fmt::format("<opt airl='DLH' type='A320' day='3' hh='20' cs='{}{}'/>", code, n);
            });
        replay::VirtualAirport::list({"EDDM", "EDMX"});
    }
    /// Flies until `seen` holds, a tick at least; false after some seconds.
    bool until(const std::function<bool()>& seen, int seconds) {
        for (const int end = now + seconds * 100; now < end; ++now) {
            for (Straight& one : now % 500 == 0 ? sky : none) {
                circle(one, now / 100.0);
                world::virtualDatagram(one.line(now / 100.0));
            }
            if (!world::virtualTick())
                return false;
            if (seen())
                return true;
        }
        return false;
    }
    /// As a run begins.
    static void begin(bool withTraffic) {
        maxLive = par::MAX_LIVE;
        world::startVirtualFlight(overTheField());
        if (par::AUTO_RANGE)
            rangeRule();
        if (withTraffic || placingGoesOn())
            return;
        setAirportRef(std::nullopt); // the airport is the one that is filled
        lf_readMyParkAirports();
    }
};

TEST_F(ControlEffectsTest, EachIsSeenInTheSimulator) {
    using namespace par;
    using Sky = std::vector<Straight>;
    const Sky near{at("DLH4AB", 4000001, 6)}, far{at("BAW77", 4000002, 25)};
    const Sky two{near[0], at("DLH5", 4000003, 8)}, b738{at("BAW738", 4000004, 6, "B738")};
    const Sky c172{at("DEABC", 4000005, 6, "C172")};
    Sky userHeight = near;
    userHeight[0].startNm = 1; // its circle leads through the user
    userHeight[0].alt = 5000;
    const auto sets = [](auto& box, auto value) { return [&box, value] { box.value = value; }; };
    const auto airports = [] { putAirports(); };
    const auto above = [] {
        putAirports();
        AIRPORT_HEIGHT.value = 2000;
    };
    const auto smallRange = [] {
        AUTO_RANGE.value = false;
        LATERAL_RANGE.value = 10;
    };
    const auto unlisted = [] {
        putAirports();
        replay::VirtualAirport::list({});
    };
    const Play lists = [](TestWindow& w) {
        replay::VirtualAirport::list({"EDMX"});
        w.press(reRead);
    };
    const Play goesElsewhere = [](TestWindow& w) {
        w.enter(DESTINATION, "edmx");
        w.enter(AIRPORT_HEIGHT, "9000");
    };
    const Sight someLit = [] { // some stand, some are yet to come
        world::worldSimulator()->user.lights = world::light::nav;
        return litObjects() > 2 && statics() < 9;
    };
    const Sight othersDark = [] {
        return litObjects() == 0 && world::worldSimulator()->user.lights == world::light::nav;
    };
    const Sight twoFly = [] { return flies("DLH4AB")() && flies("DLH5")(); };
    const Sight oneIsLeft = [] { return world::inprocObjects().size() == 1; };
    const Sight selected = [] { return readouts.selectedObject == world::inprocObject("DLH4AB")->id; };
    const Sight listed = [] { return readFile(path::callsign2ObjectId).find("DLH4AB") != std::string::npos; };
    const Sight topmost = [this] { return window.shown().topmost; };
    const Sight any = [] { return true; };
    const auto nothing = [] {};
    constexpr bool lasts = true;
    const struct {
        const char* name;
        Sky sky;
        std::function<void()> prepare; ///< before the flight
        Sight before;                  ///< what is to be seen first
        Play play;
        Sight after;
        bool lasts = false; ///< `before` holds until the user plays, so nothing comes by itself
    } rows[] = {
        {"MAX_LIVE", two, nothing, twoFly, enters(MAX_LIVE, "1"), oneIsLeft},
        {"MAX_LIVE of the default", near, sets(MAX_LIVE, 0), gone("DLH4AB"), enters(MAX_LIVE, ""), flies("DLH4AB"),
         lasts},
        {"LATERAL_RANGE", far, smallRange, gone("BAW77"), enters(LATERAL_RANGE, "35"), flies("BAW77"), lasts},
        {"AUTO_RANGE", far, nothing, gone("BAW77"), ticks(AUTO_RANGE, false), flies("BAW77"), lasts},
        {"AIRPORT_HEIGHT, for the range", far, nothing, gone("BAW77"), enters(AIRPORT_HEIGHT, "2000"), flies("BAW77"),
         lasts},
        {"MATCHING_DEPTH", b738, sets(MATCHING_DEPTH, 1), gone("BAW738"), enters(MATCHING_DEPTH, "4"), flies("BAW738"),
         lasts},
        {"LIGHT_AIRCRAFT", c172, sets(LIGHT_AIRCRAFT, false), gone("DEABC"), ticks(LIGHT_AIRCRAFT, true),
         flies("DEABC"), lasts},
        {"BLOCK_CALLSIGN", near, nothing, flies("DLH4AB"), enters(BLOCK_CALLSIGN, "dlh4ab"), gone("DLH4AB")},
        {"Unblock", near, [] { BLOCK_CALLSIGN.set("DLH4AB"); }, gone("DLH4AB"), presses(unblock), flies("DLH4AB"),
         lasts},
        {"COLLISION_USER_AIR", userHeight, sets(COLLISION_USER_AIR, false), flies("DLH4AB"),
         ticks(COLLISION_USER_AIR, true), gone("DLH4AB")},
        {"CALLSIGN_2_OBJECTID", near, nothing, flies("DLH4AB"), enters(CALLSIGN_2_OBJECTID, "DLH4AB"), selected},
        {"CALLSIGN_OBJECTIDS", near, nothing, flies("DLH4AB"), ticks(CALLSIGN_OBJECTIDS, true), listed},
        {"Re-read", none, unlisted, parked(0), lists, parked(10, "EDMX"), lasts},
        {"Flush static", none, airports, parked(10, "EDDM"), presses(flushStatic), parked(0)},
        {"AIRPORT_HEIGHT, for the stands", none, above, parked(0), enters(AIRPORT_HEIGHT, ""), parked(10, "EDDM"),
         lasts},
        {"DESTINATION", none, above, parked(0), goesElsewhere, parked(10, "EDMX"), lasts},
        {"CUSTOM_MAX_PARK", none, airports, parked(10, "EDDM"), enters(CUSTOM_MAX_PARK, "4"), parked(4)},
        {"NAV_LIGHTS_WHILE_PARKED", none, airports, someLit, ticks(NAV_LIGHTS_WHILE_PARKED, false), othersDark},
        {"ALWAYS_ON_TOP", none, nothing, any, ticks(ALWAYS_ON_TOP, true), topmost},
    };
    for (const auto& row : rows) {
        setParameterDefaults();
        CUSTOM_PARKING_PERCENTAGE.value = 100;
        std::filesystem::remove(path::myParkAirports);
        row.prepare();
        sky = row.sky;
        begin(!sky.empty());
        window.forget();
        now = 0;
        EXPECT_TRUE(until(row.before, 90)) << row.name;
        if (row.lasts) {
            EXPECT_FALSE(until([&] { return !row.before(); }, 60)) << row.name << ": by itself";
        }
        EXPECT_FALSE(row.after()) << row.name;
        row.play(window);
        EXPECT_TRUE(until(row.after, 150)) << row.name;
        world::endVirtualFlight();
    }
}

} // namespace
} // namespace kes::test
