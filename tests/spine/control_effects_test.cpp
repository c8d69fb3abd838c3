// SPDX-License-Identifier: MIT
// What the user does to a control, and what he then sees in the simulator.
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/clock.h"
#include "core/random.h"
#include "core/user_aircraft.h"
#include "flight_folder.h"
#include "spine/main_tick.h"
#include "traffic/filters.h"
#include "window_backend.h"
#include "world/replay/virtual_flight.h"
#include "world/simulator/inproc.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>

namespace kes {
namespace {

using test::TestWindow;

std::size_t statics(std::string_view airport = "") {
    return std::ranges::count_if(world::inprocObjects(), [&](const world::SimObject& o) {
        return o.tail.ends_with('*') && o.tail.starts_with(airport);
    });
}
bool there(std::string_view tail) {
    return world::inprocObject(tail).has_value();
}
/// It flies by the program's will.
bool flies(std::string_view tail) {
    const auto object = world::inprocObject(tail);
    return object && object->positionRecords > 10;
}
std::size_t litObjects() {
    return std::ranges::count_if(world::inprocObjects(),
                                 [](const world::SimObject& o) { return (o.lights & world::light::nav) != 0; });
}
/// Goes round a mile about the point that it belongs to.
void circle(test::Straight& one, double seconds) {
    using namespace test;
    const double way = one.knots / 3600 * seconds; // the radius is one mile
    one.place = destination(destination({fieldLat, fieldLon}, 0, one.startNm * feetPerNm), way, feetPerNm);
    one.bearing = std::fmod(way + pi / 2, 2 * pi);
}
/// An aircraft that circles so many miles north.
test::Straight at(const char* callsign, std::uint32_t hexid, double north, const char* model = "A320") {
    test::Straight one;
    one.callsign = callsign;
    one.hexid = hexid;
    one.model = model;
    one.regcode = fmt::format("D-X{:03}", hexid % 1000);
    one.startNm = north;
    one.knots = 180;
    return one;
}

struct ControlEffectsTest : testing::Test {
    test::FlightFolder program;
    TestWindow window;
    std::vector<test::Straight> sky, none;
    int ticks = 0;

    void SetUp() override {
        program.readContent();
        airportTable.push_back({"EDMX", "", test::fieldLat, test::fieldLon + 0.15, test::fieldElevation});
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
    /// Ten stands, each used at this hour.
    void putAirport(const char* code, double lon) const {
        std::string text = "<parameters><parameter name='airport_name' value='Test'/>"
                           "<parameter name='publisher' value='stock'/><parameter name='altitude' "
                           "value='1487'/></parameters><parkpositions>";
        for (int n = 0; n < 10; ++n)
            text += fmt::format("<parkpos id='{}{}' latitude='{:.6f}' longitude='{:.6f}' heading='90' radius='30'>"
                                "<opt airl='DLH' type='A320' day='3' hh='20' cs='{}{}'/></parkpos>",
                                code, n, test::fieldLat + 0.001 * n, lon, code, n);
        std::filesystem::create_directories(program.folder / "updates/MSFS/archive/stock");
        std::ofstream(program.folder / fmt::format("updates/MSFS/archive/stock/{}.xml", code))
            << text << "</parkpositions>";
    }
    void putAirports() const {
        putAirport("EDDM", test::fieldLon);
        putAirport("EDMX", test::fieldLon + 0.15);
        listAirports("EDDM\nEDMX\n");
    }
    void listAirports(const char* codes) const {
        std::filesystem::create_directories("airports");
        std::ofstream(path::myParkAirports) << codes;
    }
    /// Flies until `seen` holds, a tick at least; false after some seconds.
    bool until(const std::function<bool()>& seen, int seconds) {
        for (const int end = ticks + seconds * 100; ticks < end; ++ticks) {
            for (test::Straight& one : ticks % 500 == 0 ? sky : none) {
                circle(one, ticks / 100.0);
                world::virtualDatagram(one.line(ticks / 100.0));
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
        world::startVirtualFlight(test::overTheField());
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
    const test::Straight near = at("DLH4AB", 4000001, 6), far = at("BAW77", 4000002, 25);
    test::Straight userHeight = near;
    userHeight.startNm = 1; // its circle leads through the user
    userHeight.alt = 5000;
    const struct {
        const char* name;
        std::vector<test::Straight> sky;
        std::function<void()> prepare; ///< before the flight
        std::function<bool()> before;  ///< what is to be seen first
        std::function<void(TestWindow&)> play;
        std::function<bool()> after;
        bool lasts = false; ///< `before` holds until the user plays, so nothing comes by itself
    } rows[] = {
        {"MAX_LIVE",
         {near, at("DLH5", 4000003, 8)},
         [] {},
         [] { return flies("DLH4AB") && flies("DLH5"); },
         [](TestWindow& w) { w.enter(MAX_LIVE, "1"); },
         [] { return world::inprocObjects().size() == 1; }},
        {"MAX_LIVE of the default",
         {near},
         [] { MAX_LIVE.value = 0; },
         [] { return !there("DLH4AB"); },
         [](TestWindow& w) { w.enter(MAX_LIVE, ""); },
         [] { return flies("DLH4AB"); },
         true},
        {"LATERAL_RANGE",
         {far},
         [] {
             AUTO_RANGE.value = false;
             LATERAL_RANGE.value = 10;
         },
         [] { return !there("BAW77"); },
         [](TestWindow& w) { w.enter(LATERAL_RANGE, "35"); },
         [] { return flies("BAW77"); },
         true},
        {"AUTO_RANGE",
         {far},
         [] {},
         [] { return !there("BAW77"); },
         [](TestWindow& w) { w.tick(AUTO_RANGE, false); },
         [] { return flies("BAW77"); },
         true},
        {"AIRPORT_HEIGHT, for the range",
         {far},
         [] {},
         [] { return !there("BAW77"); },
         [](TestWindow& w) { w.enter(AIRPORT_HEIGHT, "2000"); },
         [] { return flies("BAW77"); },
         true},
        {"MATCHING_DEPTH",
         {at("BAW738", 4000004, 6, "B738")},
         [] { MATCHING_DEPTH.value = 1; },
         [] { return !there("BAW738"); },
         [](TestWindow& w) { w.enter(MATCHING_DEPTH, "4"); },
         [] { return flies("BAW738"); },
         true},
        {"LIGHT_AIRCRAFT",
         {at("DEABC", 4000005, 6, "C172")},
         [] { LIGHT_AIRCRAFT.value = false; },
         [] { return !there("DEABC"); },
         [](TestWindow& w) { w.tick(LIGHT_AIRCRAFT, true); },
         [] { return flies("DEABC"); },
         true},
        {"BLOCK_CALLSIGN",
         {near},
         [] {},
         [] { return flies("DLH4AB"); },
         [](TestWindow& w) { w.enter(BLOCK_CALLSIGN, "dlh4ab"); },
         [] { return !there("DLH4AB"); }},
        {"Unblock",
         {near},
         [] { BLOCK_CALLSIGN.set("DLH4AB"); },
         [] { return !there("DLH4AB"); },
         [](TestWindow& w) { w.press(unblock); },
         [] { return flies("DLH4AB"); },
         true},
        {"COLLISION_USER_AIR",
         {userHeight},
         [] { COLLISION_USER_AIR.value = false; },
         [] { return flies("DLH4AB"); },
         [](TestWindow& w) { w.tick(COLLISION_USER_AIR, true); },
         [] { return !there("DLH4AB"); }},
        {"CALLSIGN_2_OBJECTID",
         {near},
         [] {},
         [] { return flies("DLH4AB"); },
         [](TestWindow& w) { w.enter(CALLSIGN_2_OBJECTID, "DLH4AB"); },
         [] { return readouts.selectedObject == world::inprocObject("DLH4AB")->id; }},
        {"CALLSIGN_OBJECTIDS",
         {near},
         [] {},
         [] { return flies("DLH4AB"); },
         [](TestWindow& w) { w.tick(CALLSIGN_OBJECTIDS, true); },
         [] { return test::readFile(path::callsign2ObjectId).find("DLH4AB") != std::string::npos; }},
        {"Re-read",
         {},
         [this] {
             putAirports();
             listAirports("");
         },
         [] { return statics() == 0; },
         [this](TestWindow& w) {
             listAirports("EDMX\n");
             w.press(reRead);
         },
         [] { return statics("EDMX") == 10; },
         true},
        {"Flush static",
         {},
         [this] { putAirports(); },
         [] { return statics("EDDM") == 10; },
         [](TestWindow& w) { w.press(flushStatic); },
         [] { return statics() == 0; }},
        {"AIRPORT_HEIGHT, for the stands",
         {},
         [this] {
             putAirports();
             AIRPORT_HEIGHT.value = 2000;
         },
         [] { return statics() == 0; },
         [](TestWindow& w) { w.enter(AIRPORT_HEIGHT, ""); },
         [] { return statics("EDDM") == 10; },
         true},
        {"DESTINATION",
         {},
         [this] {
             putAirports();
             AIRPORT_HEIGHT.value = 2000;
         },
         [] { return statics() == 0; },
         [](TestWindow& w) {
             w.enter(DESTINATION, "edmx");
             w.enter(AIRPORT_HEIGHT, "9000");
         },
         [] { return statics("EDMX") == 10; },
         true},
        {"CUSTOM_MAX_PARK",
         {},
         [this] { putAirports(); },
         [] { return statics("EDDM") == 10; },
         [](TestWindow& w) { w.enter(CUSTOM_MAX_PARK, "4"); },
         [] { return statics() == 4; }},
        {"NAV_LIGHTS_WHILE_PARKED",
         {},
         [this] { putAirports(); },
         [] {
             // Some stand, some are yet to come.
             world::worldSimulator()->user.lights = world::light::nav;
             return litObjects() > 2 && statics() < 9;
         },
         [](TestWindow& w) { w.tick(NAV_LIGHTS_WHILE_PARKED, false); },
         [] { return litObjects() == 0 && world::worldSimulator()->user.lights == world::light::nav; }},
        {"ALWAYS_ON_TOP",
         {},
         [] {},
         [] { return true; },
         [](TestWindow& w) { w.tick(ALWAYS_ON_TOP, true); },
         [this] { return window.shown().topmost; }},
    };
    for (const auto& row : rows) {
        setParameterDefaults();
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
        std::filesystem::remove(path::myParkAirports);
        row.prepare();
        sky = row.sky;
        begin(!sky.empty());
        window.forget();
        ticks = 0;
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
} // namespace kes
