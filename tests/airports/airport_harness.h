// SPDX-License-Identifier: MIT
// A program folder with small reference data and liveries, the tables of airports empty, and live aircraft by hand.
#pragma once

#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_table.h"
#include "airports/live_parking.h"
#include "airports/park_airports.h"
#include "airports/stand_learning.h"
#include "airports/stands.h"
#include "airports/static_parking.h"
#include "core/clock.h"
#include "core/hh_now.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/run_state.h"
#include "core/user_aircraft.h"
#include "core/window.h"
#include "liveries/livery.h"
#include "liveries/matching.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/reference_document.h"
#include "sim/orders.h"
#include "small_reference.h"
#include "support.h"

#include <algorithm>
#include <fmt/format.h>

namespace kes::test {

inline constexpr LatLon field{50.0, 8.0};
inline constexpr double metre = 1.0 / 1852.0 / 60.0; ///< degrees of latitude

struct AirportTest : testing::Test {
    ProgramFolder program;
    static inline std::vector<LiveAtStand> live;
    static inline std::vector<std::uint32_t> liveRemoved;
    static inline int airportsLeft = 0;

    void SetUp() override {
        std::filesystem::create_directories("input");
        std::filesystem::create_directories("output");
        std::filesystem::create_directories("airports");
        writeSmallReference({.types = "A320,Large,34\nB77W,Heavy,64\nC172,Light,11\nEC35,Rotorcraft,10\n",
                             .airlines = "DLH,Lufthansa\nBAW,British Airways\n",
                             .registrations = "D-AIZA,DLH,A320,,\n"});
        ASSERT_TRUE(writeLiveriesScanned(
            {{"DLH", "A320", "DLH A320", ""}, {"BAW", "A320", "BAW A320", ""}, {"BAW", "B77W", "BAW B77W", ""}}));
        resetAll();
        setParameterDefaults();
        setRandomSeed(7);
        ASSERT_TRUE(readDataBase());
        resetLiveries();
        processScannedLiveries();
        airportTable = {{"EDDF", "FRA", field.lat, field.lon, 364},
                        {"EDFE", "", field.lat + 4.0 / 60, field.lon, 385},
                        {"EGLL", "LHR", 51.4775, -0.4614, 83}};
        setHhNow({3, 20});
        live.clear();
        liveRemoved.clear();
        airportsLeft = 0;
        liveParkingHooks.atStands = [] { return live; };
        liveParkingHooks.remove = [](std::uint32_t hexid) {
            liveRemoved.push_back(hexid);
            std::erase_if(live, [hexid](const LiveAtStand& a) { return a.hexid == hexid; });
        };
        liveParkingHooks.leaveAirport = [] { ++airportsLeft; };
    }
    void TearDown() override {
        resetAll();
        liveParkingHooks = {};
        setWallClockMs(-1);
        airportTable.clear();
    }
    static void resetAll() {
        resetParking();
        clearOrders();
        resetUserAircraft();
        resetWindow();
        resetStatus();
        resetRunFlags();
    }

    /// Adds a stand `north` metres from the field; sid is its place in the list.
    static Stand& addStand(double north, double radiusMetres = 30) {
        Stand& stand = stands.emplace_back();
        stand.sid = static_cast<std::uint32_t>(stands.size());
        stand.id = "S" + std::to_string(stand.sid);
        stand.lat = field.lat + north * metre;
        stand.lon = field.lon;
        stand.radius = radiusMetres / metresPerNm;
        return stand;
    }
    static ParkPosOption& addOption(Stand& stand, const ParkPosOption& option) {
        ParkPosOption& added = stand.options.emplace_back(option);
        added.optIndex = static_cast<std::int32_t>(stand.options.size());
        return added;
    }
    /// An active static aircraft on a stand.
    static AiAircraft& addParked(std::uint32_t sid, const std::string& coupledCs1, HhNow parkedAt,
                                 const std::string& model = "A320") {
        AiAircraft& a = parkedAircraft.emplace_back();
        a.hexid = static_cast<std::uint32_t>(parkedAircraft.size());
        a.objectid = 100 + a.hexid;
        a.airline = "DLH";
        a.model = model;
        a.coupledCs1 = coupledCs1;
        a.callsign = coupledCs1 + "*";
        a.parkedAt = parkedAt;
        a.sid = sid;
        a.st = AircraftStatus::active;
        a.wingspan = wingspanOf(model);
        if (const Stand* stand = findStand(sid)) {
            a.standLat = stand->lat;
            a.standLon = stand->lon;
        }
        return a;
    }
    /// So many nautical miles north of the field.
    static LatLon milesNorth(double miles) { return {field.lat + miles / 60, field.lon}; }
    static void setUser(LatLon position, bool onGround, double agl = 0) {
        userAircraft.lat = position.lat;
        userAircraft.lon = position.lon;
        userAircraft.agl = agl;
        userOnGround = onGround;
    }
    static void write(const std::filesystem::path& file, std::string_view text) {
        if (file.has_parent_path())
            std::filesystem::create_directories(file.parent_path());
        std::ofstream(file, std::ios::binary) << text;
    }
    /// What the plan holds, as "sid callsign fit" in the order of creation; equal fits by stands.
    static std::string planned() {
        std::vector<StaticPlacement> list(toPark.rbegin(), toPark.rend());
        for (auto begin = list.begin(); begin != list.end();) {
            const auto end =
                std::find_if(begin, list.end(), [begin](const StaticPlacement& p) { return p.fit != begin->fit; });
            std::ranges::sort(begin, end, {}, &StaticPlacement::sid);
            begin = end;
        }
        std::string text;
        for (const StaticPlacement& p : list)
            text += fmt::format("{} {} {}, ", p.sid, p.coupledCs1, p.fit);
        return text;
    }
};

} // namespace kes::test
