// SPDX-License-Identifier: MIT
// All that the simulator must receive from this program, in its order, read off the wire by the stand-in simulator.
#include "sim/sim_test.h"

#include <fmt/format.h>
#include <functional>
#include <gtest/gtest.h>
#include <utility>

namespace kes {
namespace {

using test::waitFor;
using Lines = std::vector<std::string>;

Lines takeWire() {
    const auto simulator = world::worldSimulator();
    return std::exchange(simulator->wire, {});
}

Lines seenReplies;
void keepReply(const SimReply& r) {
    std::string line =
        fmt::format("kind {} object {} hexid {}", static_cast<std::uint32_t>(r.kind), r.objectid, r.hexid);
    if (r.kind == ReplyKind::created)
        line += fmt::format(" {:.0f} ft above ground", r.b);
    seenReplies.push_back(line);
}

CreateRequest request(std::string tail, std::uint32_t hexid, double north) {
    CreateRequest r;
    r.lat = 48.25 + north;
    r.lon = 11.75;
    r.alt = 3000;
    r.pitch = 1;
    r.bank = 2;
    r.heading = 90;
    r.airspeed = 250;
    r.tailNumber = std::move(tail);
    r.title = "Test A320 One";
    r.hexid = hexid;
    return r;
}

/// One frame of the simulator; what the client makes of it comes later, on its own thread.
void frame() {
    world::inprocStep(0.034);
}

// Numbers: data types 2 int64, 4 float64, 6 string32, 11 variable text; period 1 once, 4 every second; 2 = aircraft.
const Lines declarations = {
    "open 'Kestrelune'",
    "define 407 'TITLE' '' 11 0 -1",
    "define 408 'ATC MODEL' '' 6 0 -1",
    "define 409 'SIM ON GROUND' 'Bool' 2 0 -1",
    "define 402 'Plane Latitude' 'degree' 4 0 -1",
    "define 402 'Plane Longitude' 'degree' 4 0 -1",
    "define 402 'Plane Pitch degrees' 'radians' 4 0 -1",
    "define 402 'Plane Bank degrees' 'radians' 4 0 -1",
    "define 402 'Plane Heading degrees true' 'radians' 4 0 -1",
    "define 402 'Plane Altitude' 'feet' 4 0 -1",
    "define 402 'Vertical Speed' 'feet per second' 4 0 -1",
    "define 402 'Airspeed True' 'knots' 4 0 -1",
    "define 403 'Plane Latitude' 'degree' 4 0 -1",
    "define 403 'Plane Longitude' 'degree' 4 0 -1",
    "define 403 'Plane Pitch degrees' 'radians' 4 0 -1",
    "define 403 'Plane Bank degrees' 'radians' 4 0 -1",
    "define 403 'Plane Heading degrees true' 'radians' 4 0 -1",
    "define 403 'Plane Altitude' 'feet' 4 0 -1",
    "define 403 'Plane Alt Above Ground' 'feet' 4 0 -1",
    "define 403 'Ground Velocity' 'knots' 4 0 -1",
    "define 403 'ZULU TIME' 'Seconds' 2 0 -1",
    "define 403 'ZULU DAY OF YEAR' 'Number' 2 0 -1",
    "define 403 'ZULU YEAR' 'Number' 2 0 -1",
    "define 403 'LIGHT STATES' 'Mask' 2 0 -1",
    "define 405 'Static CG to Ground' 'feet' 4 0 -1",
    "define 405 'Static Pitch' 'radians' 4 0 -1",
    "define 406 'Light On States' 'Mask' 2 0 -1",
    "define 404 'Plane Alt Above Ground' 'feet' 4 0 -1",
    "define 404 'Ground Altitude' 'feet' 4 0 -1",
    "define 404 'SIM ON GROUND' 'Bool' 2 0 -1",
    "define 404 'ATC ID' '' 6 0 -1",
    "define 401 'SPOILERS HANDLE POSITION' 'percent' 4 0 -1",
    "define 401 'GENERAL ENG THROTTLE LEVER POSITION:1' 'percent' 4 0 -1",
    "define 401 'GENERAL ENG THROTTLE LEVER POSITION:2' 'percent' 4 0 -1",
    "subscribe 201 'Sim'",
    "subscribe 202 'ObjectAdded'",
    "subscribe 203 'ObjectRemoved'",
    "subscribe 205 'FlightLoaded'",
    "subscribe 204 'Frame'",
    "map 219 'GEAR_SET'",
    "map 220 'ENGINE_AUTO_START'",
    "map 221 'ENGINE_AUTO_SHUTDOWN'",
    "map 222 'THROTTLE_SET'",
    "map 217 'FLAPS_SET'",
    "map 218 'SPOILERS_SET'",
    "map 207 'NAV_LIGHTS_SET'",
    "map 206 'BEACON_LIGHTS_SET'",
    "map 210 'LANDING_LIGHTS_SET'",
    "map 208 'TAXI_LIGHTS_SET'",
    "map 209 'STROBES_SET'",
    "map 212 'LOGO_LIGHTS_SET'",
    "map 211 'CABIN_LIGHTS_SET'",
    "map 213 'ALL_LIGHTS_TOGGLE'",
    "map 214 'FREEZE_LATITUDE_LONGITUDE_SET'",
    "map 215 'FREEZE_ALTITUDE_SET'",
    "map 216 'FREEZE_ATTITUDE_SET'",
    "group 301 207 1",
    "group 301 206 1",
    "group 301 210 1",
    "group 301 208 1",
    "group 301 209 1",
    "group 301 212 1",
    "group 301 211 1",
    "group 301 213 1",
    "group 301 217 1",
    "group 301 218 1",
    "group 301 219 1",
    "group 301 221 1",
    "group 301 222 1",
    "group 301 214 1",
    "group 301 215 1",
    "group 301 216 1",
    "priority 301 1",
};

struct Step {
    const char* what;
    std::function<void()> act;
    Lines arrives;
    Lines replies; ///< that the step brings, in their order
};

constexpr std::uint32_t first = world::firstAiId, second = first + 1, third = first + 2;

const Step steps[] = {
    {"nothing but the declarations at the start", [] { startSimClient(); }, declarations, {}},
    {"the user's position",
     [] {
         ASSERT_TRUE(waitFor([] { return simRunning.load(); }));
         readUserPosition();
         frame();
         ASSERT_TRUE(waitFor([] { return userObjectId == world::userId; }));
     },
     {"request 109 403 0 1 0 0 0 0"},
     {}},
    {"the one-second beat",
     [] {
         requestOnGroundBeat();
         world::inprocStep(1.1);
         ASSERT_TRUE(waitFor([] { return secondDue.load() && firstReplySeen.load(); }));
     },
     {"request 108 409 0 4 0 0 0 0"},
     {}},
    {"title and model",
     [] { requestUserRecognition(); },
     {"request 106 407 0 1 0 0 0 0", "request 107 408 0 1 0 0 0 0"},
     {}},
    {"what flies around", [] { requestRange(); }, {"range 101 404 74080 2"}, {}},
    {"three creates, the tail number cut to what a field holds",
     [] {
         queueCreate(request("ABCDEFGHIJKLMN", 4195971, 0));
         queueCreate(request("STATIC1*", 10000, 0.25));
         queueCreate(request("LIVE2", 10001, 0.5));
         frame();
     },
     {"create 'Test A320 One' 'ABCDEFGHIJK' 48.25 11.75 3000 1 2 90 0 250 104",
      "create 'Test A320 One' 'STATIC1*' 48.5 11.75 3000 1 2 90 0 250 104",
      "create 'Test A320 One' 'LIVE2' 48.75 11.75 3000 1 2 90 0 250 104"},
     {}},
    {"an object is known by its tail number, and let go at once",
     [] {
         frame();
         ASSERT_TRUE(waitFor([] { return world::inprocWaiting() == 0; }));
         requestRange();
         frame();
     },
     {"range 101 404 74080 2", fmt::format("release {} 103", first), fmt::format("release {} 103", second),
      fmt::format("release {} 103", third)},
     {fmt::format("kind 0 object {} hexid 4195971 2000 ft above ground", first),
      fmt::format("kind 1 object {} hexid 10000", second),
      fmt::format("kind 0 object {} hexid 10001 2000 ft above ground", third)}},
    {"... and frozen in the next frame",
     frame,
     [] {
         Lines lines;
         for (const auto id : {first, second, third})
             for (const int freeze : {214, 215, 216})
                 lines.push_back(fmt::format("event {} {} 1 301 0", id, freeze));
         return lines;
     }(),
     {}},
    {"static data",
     [] {
         requestStaticData(first);
         frame();
     },
     {fmt::format("request 102 405 {} 1 0 0 0 0", first)},
     {fmt::format("kind 4 object {} hexid 0", first)}},
    {"a frame's commands in their order, none for the user's own aircraft",
     [] {
         queueRemove(world::userId);
         queueRemove(second);
         queueCreate(request("LATE", 4195972, 0));
         setNavLights(first, true);
         setCabinLights(first, false);
         queueEvent(first, event::flaps, 8191);
         queueEvent(first, event::gear, 1);
         queuePosition({1, 2, 3, 4, 5, 6, 7, 8, world::userId});
         queuePosition({48.5, 11.5, -0.5, 0.25, 1.5, 3100, 5, 200, first});
         publishPositions();
         frame();
     },
     {fmt::format("set 402 {} 0 1 64 48.5 11.5 -0.5 0.25 1.5 3100 5 200", first),
      fmt::format("event {} 207 1 301 0", first), fmt::format("event {} 211 0 301 0", first),
      fmt::format("release {} 103", first), fmt::format("event {} 217 8191 301 0", first),
      fmt::format("release {} 103", first), fmt::format("event {} 219 1 301 0", first),
      "create 'Test A320 One' 'LATE' 48.25 11.75 3000 1 2 90 0 250 104", fmt::format("remove {} 105", second)},
     {}},
    {"a frame without commands is silent; the removal is told",
     frame,
     {},
     {fmt::format("kind 2 object {} hexid 0", second)}},
    {"direct calls",
     [] {
         sendAllLightsToggle(first);
         setFlightPlan(first, "a.pln");
         setControlData(first, 10, 20, 30);
     },
     {fmt::format("event {} 213 0 301 0", first), fmt::format("plan {} 'a.pln' 110", first),
      fmt::format("set 401 {} 0 1 24 10 20 30", first)},
     {}},
};

using WireTest = test::SimTest;

TEST_F(WireTest, EverythingThatMustArrive) {
    seenReplies.clear();
    world::SimulatorOptions options;
    options.lat = 48.35;
    options.lon = 11.78;
    options.altFeet = 5000;
    options.terrain.airfields.push_back({48.35, 11.78, 1000.0, 60}); // all the land around
    world::inprocStart(options);
    world::worldSimulator()->recordWire = true;

    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        step.act();
        Lines wire;
        waitFor(
            [&] {
                for (std::string& line : takeWire())
                    wire.push_back(std::move(line));
                drainSimReplies(keepReply);
                return wire.size() >= step.arrives.size() && seenReplies.size() >= step.replies.size() &&
                       world::inprocWaiting() == 0;
            },
            5000);
        EXPECT_EQ(wire, step.arrives);
        EXPECT_EQ(std::exchange(seenReplies, {}), step.replies);
    }
    EXPECT_EQ(program.logCount("===> Simconnect call to remove ac with objectid 1"), 1U);
    requestSimClientStop();
    joinSimClient();
    EXPECT_EQ(takeWire(), Lines{}) << "and nothing besides";
}

} // namespace
} // namespace kes
