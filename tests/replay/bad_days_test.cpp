// SPDX-License-Identifier: MIT
// The whole program on bad days at the stands: the user stands on one, everybody wants the only one, what was learned
// cannot be saved.
#include "airports/airport_ref.h"
#include "airports/park_airports.h"
#include "airports/reserved_stand.h"
#include "airports/stand_learning.h"
#include "airports/static_parking.h"
#include "core/user_aircraft.h"
#include "files.h"
#include "full_disk.h"
#include "read_only_folder.h"
#include "replay/virtual_airport.h"
#include "tools/replay/stand_check.h"
#include "traffic/live_table.h"

namespace kes::replay {
namespace {

constexpr std::int64_t wednesday = 1700006400 + 9 * 3600; // 15 November 2023, 09:00

struct BadDaysTest : testing::Test, VirtualAirport {
    StandRow row;
    std::vector<std::string> faults;

    void SetUp() override {
        readContent();
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
        list({"EDDM"});
    }
    /// One aircraft of all hours on each stand.
    static std::string standing(int n) {
        return fmt::format("<opt reg='ST-{}' airl='{}' type='A320' day='3' hh='17,18,19,20' cs='{}{}'/>", n,
                           n % 2 == 0 ? "DLH" : "BAW", n % 2 == 0 ? "DLH" : "BAW", 700 + n);
    }
    /// Rolls north onto a place and stands there for some time; from second 0.
    static void rollIn(int number, LatLon to, double t) {
        if (t < 0 || t > 110)
            return;
        test::Straight s;
        s.hexid = 4000000 + static_cast<std::uint32_t>(number);
        s.callsign = fmt::format("DLH{}", 100 + number);
        s.regcode = fmt::format("D-Z{:03}", number);
        s.place = offset(to, 0, std::min(5 * t - 300, 0.0));
        s.bearing = 0;
        s.knots = t < 60 ? 9.7 : 0;
        s.alt = 0;
        world::virtualDatagram(s.line(t + 200 * number));
    }
    static std::size_t parkedOn(LatLon stand, double metres = 3) {
        return static_cast<std::size_t>(std::ranges::count_if(world::inprocObjects(), [&](const world::SimObject& o) {
            return distanceNm({o.lat, o.lon}, stand) * metresPerNm < metres;
        }));
    }
    template <typename Each> void watch(double seconds, Each&& each) {
        fly(seconds, [&] {
            if (ticks % 100 != 0)
                return;
            each();
            for (const std::string& clash : standClashes())
                faults.push_back(clash);
            if (const std::string fault = checkStandTables(); !fault.empty())
                faults.push_back(fault);
        });
    }
};

TEST_F(BadDaysTest, NothingIsBuiltOverTheUsersOwnAircraft) {
    row.count = 8;
    row.write("EDDM", standing);
    world::SimulatorOptions options = test::overTheField();
    options.motion.mode = world::UserMotion::Mode::stand;
    const LatLon user = offset(row.stand(3), 6, -4); // as a user parks by hand
    options.lat = user.lat;
    options.lon = user.lon;
    options.altFeet = test::fieldElevation;
    for (const bool keepsClear : {true, false}) {
        SCOPED_TRACE(keepsClear);
        par::COLLISION_USER_GND.value = keepsClear; // without it, the stand alone keeps others away
        begin(options, wednesday);
        ASSERT_TRUE(userOnGround);
        std::size_t takers = 0, onUser = 0;
        const auto look = [&] {
            const auto takes = [](const AiAircraft& a) { return a.sid == 4; };
            takers += static_cast<std::size_t>(std::ranges::count_if(parkedAircraft, takes) +
                                               std::ranges::count_if(liveAircraft, takes));
            onUser += parkedOn(user, 15);
        };
        const std::int32_t arrivals = ticks + 4000;
        watch(200, [&] {
            const double t = (ticks - arrivals) / 100.0;
            if (ticks % 500 == 0) {
                rollIn(1, row.stand(3), t);
                rollIn(2, row.stand(5), t - 20);
            }
            look();
        });
        EXPECT_EQ(reservedStand, "G4");
        EXPECT_EQ(parkedOn(row.stand(5)), 1U) << "a live one took the place of the static one";
        EXPECT_TRUE(std::ranges::any_of(liveAircraft, [](const LiveAircraft& a) { return a.sid == 6; }));
        EXPECT_EQ(parkedAircraft.size(), 6U) << "all other stands are full";
        windowRequests.parkAdjust = true;
        watch(60, look);
        EXPECT_EQ(takers, 0U);
        EXPECT_EQ(onUser == 0, keepsClear) << "else it stands where it is reported";
        parkedAircraft.push_back(parkedAircraft.front());
        EXPECT_NE(checkStandTables(), "") << "the check of the tables is not blind";
        EXPECT_EQ(standClashes().size(), 1U) << "nor is the one of what stands there";
        end();
    }
    EXPECT_EQ(faults, std::vector<std::string>{});
}

TEST_F(BadDaysTest, AllWantTheOnlyStand) {
    row.count = 1;
    row.write("EDDM", standing);
    begin(test::overTheField(), wednesday);
    watch(50, [] {});
    EXPECT_EQ(parkedOn(row.stand(0)), 1U) << "static";
    constexpr int arrivals = 10;
    const std::int32_t first = ticks;
    std::size_t most = 0;
    watch(20.0 * arrivals + 140, [&] {
        for (int n = 0; n < arrivals && ticks % 500 == 0; ++n)
            rollIn(n, row.stand(0), (ticks - first) / 100.0 - 20.0 * n);
        most = std::max(most, static_cast<std::size_t>(std::ranges::count_if(liveAircraft, [](const LiveAircraft& a) {
                            return a.st == AircraftStatus::active && a.fs == FlightState::parked && a.sid == 1;
                        })));
    });
    EXPECT_EQ(most, 1U);
    EXPECT_EQ(parkedOn(row.stand(0), 0.5), 1U);
    EXPECT_TRUE(program.logHas("wants to park there") || program.logHas("removed"));
    EXPECT_EQ(faults, std::vector<std::string>{});
    EXPECT_GT(saveUpdates, 1);
}

TEST_F(BadDaysTest, WhatCannotBeSavedAtTheReleaseIsTold) {
    row.count = 4;
    row.write("EDDM", [](int) { return ""; });
    const std::filesystem::path folder = "airports/learned/stock", learned = folder / "EDDM.xml";
    const std::string refused = " saving \"airports/learned/stock/EDDM.xml\" did not succeed";
    std::string old;
    enum Day { good, fullDisk, readOnly, noFolder };
    for (const Day day : {good, fullDisk, readOnly, noFolder}) {
        begin(test::overTheField(), wednesday);
        fly(40);
        const std::int32_t first = ticks;
        fly(130, [&] {
            if (ticks % 500 == 0)
                rollIn(day, row.stand(day), (ticks - first) / 100.0);
        });
        EXPECT_EQ(saveUpdates, 1) << day;
        if (day == good) {
            unloadParkAirport();
            old = test::readFile(learned);
            EXPECT_NE(old.find("D-Z000"), std::string::npos);
        } else if (day == fullDisk) {
            const test::FullDisk disk;
            unloadParkAirport();
            EXPECT_NE(statusText().find(refused), std::string::npos) << statusText();
        } else if (day == readOnly) {
            const test::ReadOnlyFolder writeProtected(folder);
            unloadParkAirport();
            EXPECT_NE(statusText().find(refused), std::string::npos) << statusText();
        } else {
            std::filesystem::rename(folder, "aside");
            std::ofstream(folder, std::ios::binary) << "a file";
            const std::string told = test::thrownBy(unloadParkAirport);
            EXPECT_NE(told.find("create_directory"), std::string::npos) << told;
            std::filesystem::remove(folder);
            std::filesystem::rename("aside", folder);
            EXPECT_TRUE(parkAirportLoaded()) << "the end of the run saves once more";
            saveParkState();
            EXPECT_NE(test::readFile(learned).find("D-Z003"), std::string::npos);
            end();
            break;
        }
        EXPECT_FALSE(parkAirportLoaded());
        EXPECT_EQ(test::readFile(learned), old) << "the old file is whole";
        end();
    }
}

} // namespace
} // namespace kes::replay
