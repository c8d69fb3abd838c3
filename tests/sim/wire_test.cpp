// SPDX-License-Identifier: MIT
// All that the simulator must receive from this program, in its order, read off the wire by the stand-in simulator.
#include "sim/sim_test.h"

#include <utility>

namespace kes {
namespace {

using test::waitFor;
using Lines = std::vector<std::string>;

Lines takeWire() {
    const auto simulator = world::worldSimulator();
    return std::exchange(simulator->wire, {});
}

std::string told(const SimReply& r) {
    return fmt::format("kind {} object {} hexid {}", static_cast<std::uint32_t>(r.kind), r.objectid, r.hexid) +
           (r.kind == ReplyKind::created ? fmt::format(" {:.0f} ft above ground", r.b) : "");
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
Lines declarations() {
    Lines all{"open 'Kestrelune'"};
    const auto add = [&](const char* form, std::initializer_list<const char*> texts) {
        for (const char* text : texts)
            all.push_back(fmt::format(fmt::runtime(form), text));
    };
    add("define {} 0 -1", {"407 'TITLE' '' 11", "408 'ATC MODEL' '' 6", "409 'SIM ON GROUND' 'Bool' 2"});
    for (const int id : {402, 403}) {
        const std::string form = fmt::format("define {} {{}} 4 0 -1", id);
        add(form.c_str(),
            {"'Plane Latitude' 'degree'", "'Plane Longitude' 'degree'", "'Plane Pitch degrees' 'radians'",
             "'Plane Bank degrees' 'radians'", "'Plane Heading degrees true' 'radians'", "'Plane Altitude' 'feet'"});
        if (id == 402)
            add(form.c_str(), {"'Vertical Speed' 'feet per second'", "'Airspeed True' 'knots'"});
    }
    add("define {} 0 -1",
        {"403 'Plane Alt Above Ground' 'feet' 4", "403 'Ground Velocity' 'knots' 4", "403 'ZULU TIME' 'Seconds' 2",
         "403 'ZULU DAY OF YEAR' 'Number' 2", "403 'ZULU YEAR' 'Number' 2", "403 'LIGHT STATES' 'Mask' 2",
         "405 'Static CG to Ground' 'feet' 4", "405 'Static Pitch' 'radians' 4", "406 'Light On States' 'Mask' 2",
         "404 'Plane Alt Above Ground' 'feet' 4", "404 'Ground Altitude' 'feet' 4", "404 'SIM ON GROUND' 'Bool' 2",
         "404 'ATC ID' '' 6", "401 'SPOILERS HANDLE POSITION' 'percent' 4",
         "401 'GENERAL ENG THROTTLE LEVER POSITION:1' 'percent' 4",
         "401 'GENERAL ENG THROTTLE LEVER POSITION:2' 'percent' 4"});
    add("subscribe {}", {"201 'Sim'", "202 'ObjectAdded'", "203 'ObjectRemoved'", "205 'FlightLoaded'", "204 'Frame'"});
    add("map {}", {"219 'GEAR_SET'", "220 'ENGINE_AUTO_START'", "221 'ENGINE_AUTO_SHUTDOWN'", "222 'THROTTLE_SET'",
                   "217 'FLAPS_SET'", "218 'SPOILERS_SET'", "207 'NAV_LIGHTS_SET'", "206 'BEACON_LIGHTS_SET'",
                   "210 'LANDING_LIGHTS_SET'", "208 'TAXI_LIGHTS_SET'", "209 'STROBES_SET'", "212 'LOGO_LIGHTS_SET'",
                   "211 'CABIN_LIGHTS_SET'", "213 'ALL_LIGHTS_TOGGLE'", "214 'FREEZE_LATITUDE_LONGITUDE_SET'",
                   "215 'FREEZE_ALTITUDE_SET'", "216 'FREEZE_ATTITUDE_SET'"});
    add("group 301 {} 1", {"207", "206", "210", "208", "209", "212", "211", "213", "217", "218", "219", "221", "222",
                           "214", "215", "216"});
    all.push_back("priority 301 1");
    return all;
}

struct Step {
    const char* what;
    std::function<void()> act;
    Lines arrives;
    Lines replies; ///< that the step brings, in their order
};

constexpr std::uint32_t first = world::firstAiId, second = first + 1, third = first + 2;

const Step steps[] = {
    {"nothing but the declarations at the start", [] { startSimClient(); }, declarations(), {}},
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
    world::SimulatorOptions o = options();
    o.terrain.airfields = {{48.35, 11.78, 1000.0, 60}}; // all the land around
    world::inprocStart(o);
    world::worldSimulator()->recordWire = true;

    for (const Step& step : steps) {
        SCOPED_TRACE(step.what);
        step.act();
        Lines wire, replies;
        waitFor(
            [&] {
                for (std::string& line : takeWire())
                    wire.push_back(std::move(line));
                for (const SimReply& reply : takeReplies())
                    replies.push_back(told(reply));
                return wire.size() >= step.arrives.size() && replies.size() >= step.replies.size() &&
                       world::inprocWaiting() == 0;
            },
            5000);
        EXPECT_EQ(wire, step.arrives);
        EXPECT_EQ(replies, step.replies);
    }
    EXPECT_EQ(program.logCount("===> Simconnect call to remove ac with objectid 1"), 1U);
    requestSimClientStop();
    joinSimClient();
    EXPECT_EQ(takeWire(), Lines{}) << "and nothing besides";
}

} // namespace
} // namespace kes
