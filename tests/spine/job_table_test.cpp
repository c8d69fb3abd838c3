// Which job runs at which second of a flight, and how each request of the window comes in.
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/static_parking.h"
#include "core/log.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "feed/traffic_reader.h"
#include "flight_folder.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "sim/orders.h"
#include "spine/main_tick.h"
#include "traffic/live_table.h"
#include "traffic/title_table.h"
#include "world/replay/virtual_flight.h"

#include <functional>
#include <gtest/gtest.h>
#include <set>

namespace kes {
namespace {

std::set<std::uint16_t> enabled; ///< controls

struct JobTableTest : testing::Test {
    test::FlightFolder program;

    void SetUp() override {
        program.readContent();
        world::startVirtualFlight(test::overTheField());
        enabled.clear();
        WindowBackend backend;
        backend.enableControl = [](std::uint16_t control, bool on) {
            if (on)
                enabled.insert(control);
        };
        setWindowBackend(backend);
    }
    void TearDown() override {
        setWindowBackend({});
        world::endVirtualFlight();
        setParameterDefaults();
    }
    /// The tick in which second `n` of the run begins.
    static bool beat(std::int32_t n) {
        secondCounter = n - 1;
        secondDue = true;
        return mainTick();
    }
    static void fly(const test::Straight& flight, int seconds) {
        for (int tick = 0; tick < seconds * 100; ++tick) {
            if (tick % 500 == 0)
                world::virtualDatagram(flight.line(tick / 100.0));
            ASSERT_TRUE(world::virtualTick());
        }
    }
    /// Whether the callsign on the ground is still beside its static twin.
    static void placeTwin() {
        liveAircraft.front().onGround = true;
        liveAircraft.front().st = AircraftStatus::active;
        AiAircraft twin;
        twin.callsign = liveAircraft.front().callsign + "*";
        twin.objectid = 77;
        twin.st = AircraftStatus::active;
        parkedAircraft.assign(1, twin);
    }
};

TEST_F(JobTableTest, EachJobRunsAtItsSecondsAndAtNoOther) {
    fly({}, 40);
    ASSERT_EQ(liveAircraft.size(), 1u);
    struct Job {
        const char* name;
        std::function<bool(int)> due;
        std::function<void()> prepare;
        std::function<bool()> done;
    };
    const auto every = [](int period) { return [period](int s) { return s % period == 0; }; };
    // Quarter minutes have jobs of their own, so these wait for their next turn.
    const auto between = [](int period) { return [period](int s) { return s % period == 0 && s % 15 != 0; }; };
    const Job jobs[] = {
        {"parking", between(16), [] { setAirportRef(std::nullopt); }, [] { return airportRef.has_value(); }},
        {"lamps", between(59),
         [] {
             readouts.rtLight = true;
             readouts.trafficLamp = readouts.weatherLamp = Lamp::receiving;
         },
         [] { return readouts.trafficLamp == Lamp::silent; }},
        {"silent lamps", [](int s) { return s % 15 == 0 || s % 59 == 0; },
         [] {
             readouts.trafficLamp = readouts.weatherLamp = Lamp::silent;
             trafficReader.lampShowsData = false;
             ++trafficReader.datagramCount;
         },
         [] { return readouts.trafficLamp == Lamp::receiving && readouts.weatherLamp == Lamp::silent; }},
        {"lamps without light", [](int) { return false; },
         [] {
             readouts.rtLight = false;
             readouts.trafficLamp = Lamp::silent;
             ++trafficReader.datagramCount;
         },
         [] { return readouts.trafficLamp == Lamp::receiving; }},
        {"twins", between(61), placeTwin,
         [] { return !waitingOrders().removalQueue.empty() && waitingOrders().removalQueue.back() == 77; }},
        {"callsign list", between(62),
         [] {
             par::CALLSIGN_OBJECTIDS.value = par::MSFS_2020.value = true;
             std::filesystem::remove(path::callsign2ObjectId);
         },
         [] { return std::filesystem::exists(path::callsign2ObjectId); }},
        {"callsign list off", [](int) { return false; },
         [] {
             par::CALLSIGN_OBJECTIDS.value = false;
             std::filesystem::remove(path::callsign2ObjectId);
         },
         [] { return std::filesystem::exists(path::callsign2ObjectId); }},
        {"user's position", every(15), [] { trafficReader.setUserPosition(0, 0); },
         [] { return trafficReader.inputs().userPosition.lat == userAircraft.lat && userAircraft.lat != 0; }},
        {"range", every(30),
         [] {
             par::AUTO_RANGE.value = true;
             par::LATERAL_RANGE.value = 77;
         },
         [] { return par::LATERAL_RANGE != 77; }},
        {"range by hand", [](int) { return false; },
         [] {
             par::AUTO_RANGE.value = false;
             par::LATERAL_RANGE.value = 77;
         },
         [] { return par::LATERAL_RANGE != 77; }},
        {"minutes to the renewal", every(60), [] { readouts.minutesToRenewal = -1; },
         [] { return readouts.minutesToRenewal == (1200 - secondCounter % 1200) / 60; }},
    };
    for (const Job& job : jobs) {
        for (int s = 1; s <= 250; ++s) {
            clearOrders();
            parkedAircraft.clear();
            job.prepare();
            ASSERT_TRUE(beat(s));
            ASSERT_EQ(job.done(), job.due(s)) << job.name << " at " << s;
            ASSERT_EQ(secondCounter, s);
        }
    }
}

TEST_F(JobTableTest, EachRequestOfTheWindowIsTakenOnceAtItsBeat) {
    struct Request {
        std::atomic<bool>& flag;
        int period; ///< of the beats that look at it
        std::function<void()> prepare;
        std::function<bool()> done;
    };
    const Request requests[] = {
        {windowRequests.findCallsign, 1, [] { par::CALLSIGN_2_OBJECTID.set("NOBODY"); },
         [] { return statusText() == "callsign \"NOBODY\" is unknown"; }},
        {windowRequests.flushStatic, 1,
         [] {
             parkedAircraft.resize(3);
             par::INITIAL_LOAD_ONLY.value = false;
         },
         [] { return parkedAircraft.empty() && par::INITIAL_LOAD_ONLY; }},
        {windowRequests.reRead, 15, [] { enabled.clear(); },
         [] {
             return statusText() == "park airports and stands are okay" && enabled.contains(par::reRead.controlId) &&
                    enabled.contains(par::DESTINATION.controlId);
         }},
    };
    for (const Request& request : requests) {
        for (int s = 1; s <= 45; ++s) {
            clearStatus();
            parkedAircraft.clear();
            request.prepare();
            ASSERT_TRUE(beat(s));
            ASSERT_FALSE(request.done()) << "nobody asked, at " << s;
            request.flag = true;
            ASSERT_TRUE(mainTick());
            ASSERT_TRUE(request.flag) << "only a beat looks at it";
            request.prepare();
            ASSERT_TRUE(beat(s));
            ASSERT_EQ(request.done(), s % request.period == 0) << s;
            ASSERT_EQ(request.flag, s % request.period != 0) << s;
            request.flag = false;
        }
    }
}

TEST_F(JobTableTest, ARenewalTakesTwoPassesAndHoldsTheParkingMeanwhile) {
    for (const bool collected : {false, true}) { // before the renewal begins
        showError("old");
        windowRequests.parkAdjust = true;
        if (collected) {
            trafficReader.setCollectCallsigns();
            world::virtualDatagram(test::Straight{}.line(0));
        }
        for (int s = 1; s <= 45; ++s) {
            setAirportRef(std::nullopt);
            ASSERT_TRUE(beat(s));
            EXPECT_EQ(trafficReader.collecting(), s < 30 && (collected || s >= 15)) << s;
            EXPECT_EQ(windowRequests.parkAdjust, s < 30) << s;
            EXPECT_EQ(errorText(), s < 30 ? "old" : "") << s;
            EXPECT_EQ(airportRef.has_value(), s == 32) << "not at 16, between the passes: " << s;
            if (collected && (s == 14 || s == 15)) {
                EXPECT_EQ(trafficReader.takeCallsigns().size(), s == 14 ? 1u : 0u);
                trafficReader.setCollectCallsigns();
                if (s == 14)
                    world::virtualDatagram(test::Straight{}.line(0));
            }
        }
    }
}

TEST_F(JobTableTest, TheNoMatchListIsWrittenEach20MinutesAndClearedOnRequest) {
    test::Straight nothingFits;
    nothingFits.model = "EC35";
    nothingFits.callsign = "DHABC";
    nothingFits.regcode = "D-HABC";
    fly(nothingFits, 40);
    par::LOG.value = true;
    const auto written = [&] { return program.logCount("\nNo match found for: \n"); };
    for (const int s : {1140, 1185, 1199})
        ASSERT_TRUE(beat(s));
    EXPECT_EQ(written(), 0u);
    ASSERT_TRUE(beat(1200));
    EXPECT_EQ(written(), 1u);
    EXPECT_EQ(readouts.minutesToRenewal, 20);
    windowRequests.clearNoMatch = true;
    ASSERT_TRUE(beat(2385));
    EXPECT_TRUE(windowRequests.clearNoMatch) << "half minutes only";
    ASSERT_TRUE(beat(2370));
    EXPECT_FALSE(windowRequests.clearNoMatch);
    ASSERT_TRUE(beat(2400));
    EXPECT_EQ(written(), 1u) << "empty";
}

TEST_F(JobTableTest, ADayEndsWithASummaryAndStartsAtZero) {
    fly({}, 40);
    ASSERT_EQ(liveAircraft.size(), 1u);
    const std::uint32_t hexid = liveAircraft.front().hexid;
    const auto summaries = [&] { return program.logCount(" live traffic livery matching summary "); };
    ASSERT_TRUE(beat(85200)); // a multiple of 1200
    EXPECT_EQ(secondCounter, 85200);
    EXPECT_EQ(summaries(), 0u);
    EXPECT_NE(rememberedTitle(hexid), "");
    ASSERT_TRUE(beat(86400));
    EXPECT_EQ(secondCounter, 0);
    EXPECT_EQ(summaries(), 1u);
    EXPECT_EQ(rememberedTitle(hexid), "");
}

TEST_F(JobTableTest, AFailedReaderEndsTheRunAtTheHalfMinute) {
    readerFailed = true;
    ASSERT_TRUE(beat(15));
    EXPECT_EQ(errorText(), "");
    ASSERT_TRUE(beat(30));
    EXPECT_EQ(errorText(), "1001: RT error");
    EXPECT_EQ(exitReason(), ExitReason::systemError);
    EXPECT_TRUE(mainTick()) << "between two beats the flight goes on";
    EXPECT_FALSE(beat(31));
}

TEST_F(JobTableTest, WithoutABeatTheRunStillEnds) {
    requestExit(ExitReason::newFlight, 45);
    secondDue = false;
    int ticks = 1;
    while (mainTick())
        ASSERT_LT(++ticks, 1000);
    EXPECT_EQ(ticks, 150) << "a second and a half";
}

} // namespace
} // namespace kes
