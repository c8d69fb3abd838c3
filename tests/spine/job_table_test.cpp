// SPDX-License-Identifier: MIT
// Which job runs at which second of a flight, and how each request of the window comes in.
#include "airports/park_airports.h"
#include "airports/static_parking.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "feed/traffic_reader.h"
#include "flight_folder.h"
#include "sim/orders.h"
#include "spine/job_table.h"
#include "spine/main_tick.h"
#include "traffic/live_table.h"
#include "traffic/title_table.h"

namespace kes::test {
namespace {

struct JobTableTest : VirtualRun {
    void SetUp() override {
        VirtualRun::SetUp();
        parkAirportList.clear();
    }
    /// The tick in which second `n` of the run begins.
    static bool beat(std::int32_t n) {
        secondCounter = n - 1;
        secondDue = true;
        return mainTick();
    }
    /// The parking looks how far it is, and does nothing else.
    static void farParkAirport() { parkAirportList.assign(1, {"EGLL", "", 51.4775, -0.4614, -1}); }
    static bool parkingLookedAbout() { return parkAirportList.front().distance >= 0; }
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

std::string called; ///< names of the jobs in the order of their calls

/// Only looks on, but for the clock.
void noteJob(const Job& job) {
    called += (called.empty() ? "" : ", ") + std::string(job.name);
    if (job.name == std::string("second") || job.name == std::string("day's end"))
        job.run();
}

TEST_F(JobTableTest, EachSecondHasItsJobsInTheirOrder) {
    const std::string always = "resume, status age, counters, half-hour, second, landed, find callsign, flush static, "
                               "user collisions, parked collisions, block callsign, max live";
    const std::string quarter = "user's position, simulator's time, user's stand, re-read, renewal, silent lamps";
    const std::string half = quarter + ", no-match clearing, range, reader failure";
    const std::string minute = half + ", minutes to renewal";
    const std::string renewal = minute + ", no-match report, ask for renewal";
    std::string rows;
    const auto printRow = [&](std::int32_t second) {
        secondCounter = second - 1;
        called.clear();
        ASSERT_TRUE(runJobs(noteJob));
        ASSERT_TRUE(called.starts_with(always)) << called;
        if (called.size() > always.size())
            rows += std::to_string(second) + ": " + called.substr(always.size() + 2) + "\n";
    };
    for (std::int32_t second = 1; second <= 64; ++second)
        printRow(second);
    // Multiples of 16, 59, 61 and 62 alone, in pairs, and in quarter minutes; the long periods.
    for (const std::int32_t second : {240, 885, 915, 930, 944, 992, 1200, 3599, 3600, 3782, 86400})
        printRow(second);
    EXPECT_EQ(rows, "15: " + quarter + "\n16: parking\n30: " + half + "\n32: parking\n45: " + quarter +
                        "\n48: parking\n59: lamps\n60: " + minute + "\n61: twins\n62: callsign list\n64: parking\n" +
                        "240: " + minute + "\n885: " + quarter + "\n915: " + quarter + "\n930: " + half +
                        "\n944: parking, lamps\n992: parking, callsign list\n1200: " + renewal +
                        "\n3599: lamps, twins\n3600: " + renewal + "\n3782: twins, callsign list\n86400: " + renewal +
                        ", day's end\n");
    EXPECT_EQ(secondCounter, 0);

    requestExit(ExitReason::newFlight, 45);
    secondCounter = 59;
    called.clear();
    EXPECT_FALSE(runJobs(noteJob));
    EXPECT_EQ(called, always) << "a run that ends does nothing rarer";
}

TEST_F(JobTableTest, EachJobDoesItsWork) {
    fly(40, {Straight{}});
    ASSERT_EQ(liveAircraft.size(), 1u);
    const auto lamps = [](bool light, Lamp lamp) {
        return [light, lamp] {
            readouts.rtLight = light;
            readouts.trafficLamp = readouts.weatherLamp = lamp;
            if (lamp != Lamp::silent)
                return;
            trafficReader.lampShowsData = false;
            ++trafficReader.datagramCount;
        };
    };
    const auto trafficLamp = [](Lamp lamp) { return [lamp] { return readouts.trafficLamp == lamp; }; };
    const auto onlyTraffic = [] {
        return readouts.trafficLamp == Lamp::receiving && readouts.weatherLamp == Lamp::silent;
    };
    const auto twinOrdered = [] {
        return !waitingOrders().removalQueue.empty() && waitingOrders().removalQueue.back() == 77;
    };
    const auto userKnown = [] {
        return trafficReader.inputs().userPosition.lat == userAircraft.lat && userAircraft.lat != 0;
    };
    const struct {
        const char* name; ///< "-" in front: there is nothing to do
        std::int32_t second;
        std::function<void()> prepare;
        std::function<bool()> done;
    } rows[] = {
        {"lamps", 59, lamps(true, Lamp::receiving), trafficLamp(Lamp::silent)},
        {"silent lamps", 15, lamps(true, Lamp::silent), onlyTraffic},
        {"- lamps without light", 15, lamps(false, Lamp::silent), trafficLamp(Lamp::receiving)},
        {"twins", 61, placeTwin, twinOrdered},
        {"user's position", 15, [] { trafficReader.setUserPosition(0, 0); }, userKnown},
        {"minutes to the renewal", 60, [] { readouts.minutesToRenewal = -1; },
         [] { return readouts.minutesToRenewal == 19; }},
    };
    for (const auto& row : rows) {
        clearOrders();
        parkedAircraft.clear();
        row.prepare();
        ASSERT_TRUE(beat(row.second - 1));
        ASSERT_FALSE(row.done()) << row.name << ", a second early";
        ASSERT_TRUE(beat(row.second));
        EXPECT_EQ(row.done(), row.name[0] != '-') << row.name;
    }
}

TEST_F(JobTableTest, ARenewalTakesTwoPassesAndHoldsTheParkingMeanwhile) {
    for (const bool collected : {false, true}) { // before the renewal begins
        showError("old");
        windowRequests.parkAdjust = true;
        if (collected) {
            trafficReader.setCollectCallsigns();
            world::virtualDatagram(Straight{}.line(0));
        }
        for (int s = 1; s <= 45; ++s) {
            farParkAirport();
            ASSERT_TRUE(beat(s));
            EXPECT_EQ(trafficReader.collecting(), s < 30 && (collected || s >= 15)) << s;
            EXPECT_EQ(windowRequests.parkAdjust, s < 30) << s;
            EXPECT_EQ(errorText(), s < 30 ? "old" : "") << s;
            EXPECT_EQ(parkingLookedAbout(), s == 32) << "not at 16, between the passes: " << s;
            if (collected && (s == 14 || s == 15)) {
                EXPECT_EQ(trafficReader.takeCallsigns().size(), s == 14 ? 1u : 0u);
                trafficReader.setCollectCallsigns();
                if (s == 14)
                    world::virtualDatagram(Straight{}.line(0));
            }
        }
    }
}

TEST_F(JobTableTest, TheNoMatchListIsWrittenEach20MinutesAndClearedOnRequest) {
    Straight nothingFits;
    nothingFits.model = "EC35";
    nothingFits.callsign = "DHABC";
    nothingFits.regcode = "D-HABC";
    fly(40, {nothingFits});
    par::LOG.value = true;
    const auto written = [&] { return program.logCount("\nNo match found for: \n"); };
    for (const int s : {1140, 1185, 1199})
        ASSERT_TRUE(beat(s));
    EXPECT_EQ(written(), 0u);
    ASSERT_TRUE(beat(1200));
    EXPECT_EQ(written(), 1u);
    EXPECT_TRUE(program.logHas("EC35 D-HABC\n\n")) << program.logText();
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
    fly(40, {Straight{}});
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
} // namespace kes::test
