// SPDX-License-Identifier: MIT
// Limits, ghosts, blocking, the user's surroundings, and how the user finds an object.
#include "pipe_guard.h"
#include "traffic/harness.h"

namespace kes::test {
namespace {

using ConflictsTest = TrafficTest;

constexpr std::int32_t far = 1 << 28;

TEST_F(ConflictsTest, TheNearestStayUnderMaxLive) {
    struct Case {
        std::int32_t limit;
        double miles; ///< from home, of the newcomer
        bool spawns;
        std::uint32_t coming; ///< asked of the simulator, which has not answered
        std::uint32_t withdrawn;
        std::size_t active;
        bool takesFarthest = false;
    };
    for (const Case& c :
         {Case{10, 29.95, false, 0, 0, 10}, Case{10, 29.85, true, 0, 0, 10, true}, Case{10, 20, true, 0, 0, 10, true},
          Case{10, 40, true, 0, 0, 9}, Case{10, 40, false, 1, 0, 9}, Case{10, 40, true, 0, 1, 9},
          Case{10, 20, true, 1, 1, 10, true}, Case{-1, 40, true, 9, 9, 10}, Case{0, 1, false, 0, 0, 0}}) {
        SCOPED_TRACE(fmt::format("limit {}, {} miles", c.limit, c.miles));
        resetLiveTraffic();
        maxLive = c.limit;
        for (std::uint32_t i = 0; i < c.active; ++i)
            activeFlight(firstHex + i, {air((i == 3 ? 30.0 : 5.0 + i) / 60, far), air(1, far + 1)});
        for (std::uint32_t i = 0; i < c.coming + c.withdrawn; ++i) {
            LiveAircraft& a = activeFlight(firstHex + 50 + i, {air(1, far), air(1.1, far + 1)});
            a.st = AircraftStatus::adding2sim; // farther than all, but only active ones leave
            a.objectid = i % 2;                // its lights may already be coming on
            a.deleteQueued = i >= c.coming;
        }
        LiveAircraft& newcomer = activeFlight(firstHex + 90, {air(c.miles / 60, 5000), air(1, far)});
        newcomer.st = AircraftStatus::buffer;
        newcomer.fs = FlightState::birth;
        updateLiveAc(newcomer, motionNow());
        EXPECT_EQ(newcomer.st == AircraftStatus::adding2sim, c.spawns);
        EXPECT_EQ(newcomer.deleteNow, !c.spawns);
        EXPECT_EQ(leaving(), c.takesFarthest ? "DLH307" : "");
    }
}

TEST_F(ConflictsTest, ALimitChangedDuringARunAlsoMeetsThoseStillComing) {
    for (std::uint32_t i = 0; i < 4; ++i)
        activeFlight(firstHex + i, {air((i + 1) * 0.01, far), air(1, far + 1)});
    const auto limitedTo = [](std::int32_t limit) {
        par::MAX_LIVE.value = limit;
        windowRequests.maxLive = true;
        takeNewMaxLive();
        return fmt::format("{}: {}{}", maxLive, leaving(), windowRequests.maxLive ? ", another is coming" : "");
    };
    liveAircraft[3].st = AircraftStatus::adding2sim;
    EXPECT_EQ(limitedTo(2), "2: DLH306, another is coming");
    liveAircraft[3].st = AircraftStatus::active;
    EXPECT_EQ(limitedTo(2), "2: DLH306 DLH307") << "the farthest";
    EXPECT_EQ(limitedTo(-1), "-1: DLH306 DLH307");
}

TEST_F(ConflictsTest, TheCallsignListIsSortedAndReplaced) {
    activeFlight(firstHex, {ground(0, far), ground(1, far)}).objectid = 77;
    activeFlight(firstHex + 1, {air(0, far), air(1, far)}).objectid = 78;
    activeFlight(firstHex + 2, {air(0, far), air(1, far)}).st = AircraftStatus::adding2sim;
    LiveAircraft& parked = activeFlight(firstHex + 3, {ground(0, far), ground(1, far)});
    parked.objectid = 79;
    parked.fs = FlightState::parked;
    parked.sid = 1;
    stands.push_back({.id = "V 12", .sid = 1, .liveOnIt = true});
    const std::pair<bool, bool> off[] = {{false, true}, {true, false}};
    for (const auto& [asked, msfs2020] : off) {
        par::CALLSIGN_OBJECTIDS.value = asked;
        par::MSFS_2020.value = msfs2020;
        writeCallsignList();
        EXPECT_FALSE(std::filesystem::exists(path::callsign2ObjectId)) << asked;
    }
    par::CALLSIGN_OBJECTIDS.value = par::MSFS_2020.value = true;
    std::ofstream(path::callsign2ObjectId) << std::string(1000, 'x');
    writeCallsignList();
    EXPECT_EQ(readFile(path::callsign2ObjectId),
              "Air DLH305    DLH A320: 78 \nGnd DLH304    DLH A320: 77 \nGnd DLH307    DLH A320: 79 Parked at V 12\n");
    std::filesystem::remove(path::callsign2ObjectId);
    std::filesystem::create_directory(path::callsign2ObjectId);
    writeCallsignList();
    EXPECT_TRUE(std::filesystem::is_empty(path::callsign2ObjectId)) << "what cannot be opened is left alone";
    std::filesystem::remove(path::callsign2ObjectId);
    {
        const PipeGuard pipe(path::callsign2ObjectId); // must not hold the tick
        writeCallsignList();
    }
    EXPECT_TRUE(program.logHas("could not be written"));
}

TEST_F(ConflictsTest, TheUserFindsAnObjectByItsCallsign) {
    LiveAircraft& a = activeFlight(firstHex, {air(0, far), air(1, far)});
    for (const std::string other : {"DLH30", "DLH3045", "dlh304", "DLH304 ", ""}) {
        findCallsign("DLH304");
        EXPECT_EQ(readouts.selectedObject, a.objectid);
        EXPECT_EQ(readoutText(Readout::foundObject), "= " + std::to_string(a.objectid));
        findCallsign(other);
        EXPECT_EQ(readouts.selectedObject, 0U);
        EXPECT_EQ(readoutText(Readout::foundObject), "");
        EXPECT_EQ(statusText(), "callsign \"" + other + "\" is unknown");
    }
    a.st = AircraftStatus::buffer;
    findCallsign("DLH304");
    EXPECT_EQ(readouts.selectedObject, 0U);
    a.st = AircraftStatus::active;
    findCallsign("DLH304");
    liveryRespawn(a);
    EXPECT_EQ(readouts.selectedObject, 0U) << "the number is no longer true";
}

TEST_F(ConflictsTest, BirthsNearTheUser) {
    struct Case {
        const char* name;
        bool userFlies, seen, airborne;
        double metres, gs, userSpeed; ///< from the user; knots
        bool option, wait;
    };
    const Case cases[] = {
        {"held back before, at 700 m", false, true, false, 700, 2, 7, false, false},
        {"held back before, at 100 m", false, true, false, 100, 2, 7, false, true},
        {"held back before, moving", false, true, false, 700, 9, 7, false, true},
        {"held back before, in the air", false, true, true, 100, 100, 7, false, false},
        {"held back before, the user rolls", false, true, true, 700, 2, 9, false, true},
        {"never held back, option off", false, false, false, 100, 0, 0, false, false},
        {"never held back, option on", false, false, false, 100, 0, 0, true, true},
        {"never held back, farther", false, false, false, 151, 0, 0, true, false},
        {"never held back, in the air", false, false, true, 100, 0, 0, true, false},
        {"the user flies, five miles ahead", true, false, true, 9000, 300, 200, true, true},
        {"the user flies, seven miles ahead", true, false, true, 12000, 300, 200, true, false},
        {"the user flies, option off", true, false, true, 9000, 300, 200, false, false},
        {"the user flies, held back before, on the ground", true, true, false, 9000, 0, 200, true, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        userOnGround = !c.userFlies;
        userAircraft.alt = 6000;
        userAircraft.groundSpeed = c.userSpeed;
        par::COLLISION_USER_AIR.value = par::COLLISION_USER_GND.value = c.option;
        LiveAircraft& a = activeFlight(firstHex, {air(c.metres / metresPerNm / 60, far, c.gs, c.airborne ? 8000 : 0)});
        a.userConflictSeen = c.seen;
        EXPECT_EQ(birthCheckUser(a) == BirthCheck::wait, c.wait);
        EXPECT_EQ(a.userConflictSeen, c.seen || (c.wait && c.userFlies));
    }
}

TEST_F(ConflictsTest, LiveAircraftNearTheUserGo) {
    struct Case {
        const char* name;
        bool userFlies, onGround;
        double ahead, across; ///< nautical miles, feet
        double below, userAgl;
        bool goes;
    };
    const Case cases[] = {
        {"3 nm ahead, 600 ft across, 500 ft lower", true, false, 3, 600, 500, 5000, true},
        {"800 ft across", true, false, 3, 800, 500, 5000, false},
        {"1000 ft lower", true, false, 3, 600, 1000, 5000, false},
        {"5 nm ahead", true, false, 5, 600, 500, 5000, false},
        {"on the runway before the landing user", true, true, 0.8, 20, 0, 400, true},
        {"beside the runway", true, true, 0.8, 60, 0, 400, false},
        {"the user is still high", true, true, 0.8, 20, 0, 600, false},
        {"wing to wing on the ground", false, true, 36 / metresPerNm, 0, 0, 0, true},
        {"a little farther", false, true, 40 / metresPerNm, 0, 0, 0, false},
        {"over a standing user", false, false, 0, 0, 0, 0, false},
    };
    userSpan = 15 / metresPerNm;
    userSpanKnown = true;
    userAircraft.heading = 0;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        userOnGround = !c.userFlies;
        userAircraft.agl = c.userAgl;
        userAircraft.alt = 8000 + c.below;
        LiveAircraft& a = activeFlight(firstHex, {c.onGround ? ground(0, far) : air(0, far), air(1, far)});
        const LatLon at = destination(destination(userAircraft.position(), 0, c.ahead * feetPerNm), pi / 2, c.across);
        a.lat = at.lat;
        a.lon = at.lon;
        checkUserCollisions();
        EXPECT_EQ(a.st == AircraftStatus::removingfromsim, c.goes);
    }
}

TEST_F(ConflictsTest, StaticAircraftGiveWay) {
    const auto goesBy = [](void (*check)()) {
        parkedAircraft.assign(1, {});
        AiAircraft& p = parkedAircraft[0];
        p.hexid = 5;
        p.objectid = 9000;
        p.st = AircraftStatus::active;
        p.callsign = "DLH304*";
        p.regcode = "D-AIZA";
        p.wingspan = 17 / metresPerNm;
        p.standLat = homeLat + 30 / metresPerNm / 60;
        p.standLon = homeLon;
        check();
        return p.st == AircraftStatus::removingfromsim;
    };
    LiveAircraft& a = activeFlight(firstHex, {ground(0, far), ground(1, far)});
    EXPECT_FALSE(goesBy(checkParkedCollisions)) << "switched off";
    par::COLLISION_LIVE_PARKED_GND.value = true;
    EXPECT_TRUE(goesBy(checkParkedCollisions));
    EXPECT_FALSE(goesBy(checkParkedCollisions)) << "it did not move since the last check";
    EXPECT_TRUE(goesBy(removeParkedTwins)) << "the same flight";
    a.callsign = "DLH2";
    a.regcode = "D-AIZA";
    EXPECT_TRUE(goesBy(removeParkedTwins)) << "the same airframe";
    a.onGround = false;
    EXPECT_FALSE(goesBy(removeParkedTwins));
    userOnGround = userSpanKnown = true;
    userSpan = 15 / metresPerNm;
    EXPECT_TRUE(goesBy(checkUserCollisions)) << "the user comes too near";
    EXPECT_FALSE(goesBy(checkUserCollisions)) << "the user did not move";
    answer(ReplyKind::removed, 9000, 0);
    EXPECT_TRUE(parkedAircraft.empty());
}

} // namespace
} // namespace kes::test
