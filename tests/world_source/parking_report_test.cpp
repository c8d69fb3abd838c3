// SPDX-License-Identifier: MIT
// What the runner makes of the rests of a run: each count, and each thing that must not be.
#include "support.h"
#include "world/rests.h"
#include "world/runner/parking_report.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

using namespace kes;
using namespace kes::runner;

namespace {

constexpr LatLon field{48.0, 11.0};
constexpr double metre = 1.0 / 60.0 / metresPerNm; // degrees of latitude

LatLon north(double metres) {
    return {field.lat + metres * metre, field.lon};
}

nlohmann::json rest(const char* name, const char* title, double metresNorth, double from, double to,
                    bool rolledIn = false) {
    const LatLon at = north(metresNorth);
    return {{"name", name}, {"title", title}, {"lat", at.lat},       {"lon", at.lon},
            {"from", from}, {"to", to},       {"rolledIn", rolledIn}};
}

struct ParkingReportTest : testing::Test {
    std::vector<Stand> stands; ///< "A" to "D", 50 m apart, "D2" 10 m and "E" 30 m beside "D"
    const std::map<std::string, double, std::less<>> halfSpans{
        {"A320", 17.05 / metresPerNm}, {"B77W", 32.4 / metresPerNm}, {"B748", 34.2 / metresPerNm}};
    nlohmann::json source = {{"rests", nlohmann::json::array()}}, simulator = source;

    ParkingReportTest() {
        for (const auto& [id, metres] :
             {std::pair{"A", 0}, {"B", 50}, {"C", 100}, {"D", 150}, {"D2", 160}, {"E", 180}}) {
            Stand stand{.id = id};
            stand.lat = north(metres).lat;
            stand.lon = field.lon;
            stand.radius = (metres < 150 ? 24.0 : 20.0) / metresPerNm;
            stands.push_back(stand);
        }
        giveSids(stands);
        findAdjacent(stands);
        show(rest("LAST", "none", 9000, 0, 1000));
    }
    void show(const nlohmann::json& r) {
        simulator["rests"].push_back(r);
        simulator["speeds"][r["name"].get<std::string>()] = nlohmann::json::object();
    }
    nlohmann::json report() const { return parkingReport(source, simulator, stands, halfSpans); }
};

} // namespace

TEST_F(ParkingReportTest, TwoThingsAtOnePlaceAreSeenAndNothingElse) {
    struct Side {
        const char *name, *title;
        double metres, from, to;
    };
    const struct {
        const char* name;
        Side a, b;
        int two, inside;
    } rows[] = {
        {"side by side", {"A1*", "KAI A320 X", 0, 0, 99}, {"A2*", "KAI A320 X", 50, 0, 99}, 0, 0},
        {"on one stand", {"A1*", "KAI A320 X", 0, 0, 99}, {"L2", "KAI A320 X", 2.5, 50, 99}, 1, 0},
        {"two live ones on one stand", {"L1", "KAI A320 X", 0, 0, 99}, {"L2", "KAI A320 X", 0, 50, 99}, 1, 0},
        {"one after the other", {"A1*", "KAI A320 X", 0, 0, 50}, {"L2", "KAI A320 X", 0, 49, 99}, 0, 0},
        {"a little too wide for stands apart", {"A1*", "KAI A320 X", 0, 0, 99}, {"A2*", "KAI B748 X", 50, 0, 99}, 0, 0},
        {"too wide for stands apart", {"A1*", "KAI B77W X", 0, 0, 99}, {"A2*", "KAI B77W X", 50, 0, 99}, 0, 1},
        {"wide beside the stand", {"A1*", "KAI B77W X", 0, 0, 99}, {"A2*", "KAI A320 X", 45, 0, 99}, 0, 1},
        {"a live one too wide", {"L1", "KAI B77W X", 0, 0, 99}, {"A2*", "KAI B77W X", 50, 0, 99}, 0, 1},
        {"two live ones may", {"L1", "KAI B77W X", 0, 0, 99}, {"L2", "KAI B77W X", 50, 0, 99}, 0, 0},
        {"who waits to roll on may", {"L1", "KAI B77W X", 25, 0, 99}, {"A2*", "KAI A320 X", 0, 0, 99}, 0, 0},
        {"static off its stand", {"A1*", "KAI A320 X", 25, 0, 99}, {"A2*", "KAI A320 X", 0, 0, 99}, 0, 1},
        {"overlapping stands", {"A1*", "KAI A320 X", 150, 0, 99}, {"A2*", "KAI A320 X", 160, 0, 99}, 0, 1},
        {"too near for neighbours", {"A1*", "KAI A320 X", 150, 0, 99}, {"A2*", "KAI A320 X", 180, 0, 99}, 0, 1},
        {"of unknown size", {"A1*", "KAI Q X", 150, 0, 99}, {"A2*", "KAI A320 X", 160, 0, 99}, 0, 0},
    };
    for (const auto& row : rows) {
        const auto before = simulator;
        for (const Side& s : {row.a, row.b})
            show(rest(s.name, s.title, s.metres, s.from, s.to));
        const auto r = report();
        EXPECT_EQ(r["twoOnOneStand"], row.two) << row.name;
        EXPECT_EQ(r["staticInsideAnother"], row.inside) << row.name;
        EXPECT_EQ(r["clashes"].size(), static_cast<std::size_t>(row.two + row.inside)) << row.name;
        simulator = before;
    }
    stands.push_back(stands[0]);
    stands.back().sid = 7;
    stands.back().lat = north(2).lat;
    show(rest("L1", "none", 0, 0, 99));
    show(rest("L2", "none", 1.8, 0, 99));
    EXPECT_EQ(report()["twoOnOneStand"], 0) << "each is on the nearer of two";
    EXPECT_TRUE(parkingReport(source, simulator, {}, halfSpans).is_null()) << "no stands, no counts";
    EXPECT_TRUE(parkingReport(source, nullptr, stands, halfSpans).is_null());
}

TEST_F(ParkingReportTest, ArrivalsAreFollowedToTheirStands) {
    const struct {
        const char* name;
        double realMetres, realFrom, realTo;
        bool rolledIn;
        double shownMetres, shownFrom; ///< below 0: it was never shown
        int seen, parked, wrong;
        double shownTo = 1000;
    } rows[] = {
        {"on its stand", 4, 100, 400, true, 0, 140, 1, 1, 0},
        {"on another", 4, 100, 400, true, 50, 140, 1, 1, 1},
        {"on none", 4, 100, 400, true, 25, 140, 1, 0, 0},
        {"it was there before", 4, 500, 900, true, 0, 100, 1, 0, 0, 400},
        {"nobody knows its stand", 154, 100, 400, true, 150, 140, 0, 0, 0},
        {"stands from the beginning", 4, 100, 400, false, 0, 140, 0, 0, 0},
        {"waits at a crossing", 4, 100, 129, true, 0, 140, 0, 0, 0},
        {"too late to be shown", 4, 911, 1000, true, 25, 980, 0, 0, 0},
        {"out of range", 4, 100, 400, true, 0, -1, 0, 0, 0},
    };
    for (const auto& row : rows) {
        const auto realBefore = source, shownBefore = simulator;
        source["rests"].push_back(rest("DLH1", "", row.realMetres, row.realFrom, row.realTo, row.rolledIn));
        if (row.shownFrom >= 0)
            show(rest("DLH1", "KAI A320 X", row.shownMetres, row.shownFrom, row.shownTo));
        const auto r = report();
        EXPECT_EQ(r["arrivalsSeen"], row.seen) << row.name;
        EXPECT_EQ(r["arrivalsParked"], row.parked) << row.name;
        EXPECT_EQ(r["parkedOnWrongStand"], row.wrong) << row.name;
        EXPECT_EQ(r["notParked"].size(), static_cast<std::size_t>(row.seen - row.parked)) << row.name;
        source = realBefore, simulator = shownBefore;
    }
}

TEST(Rests, BeginEndAndWhoCameRolling) {
    world::Rests rests(5.0, 10.0);
    const auto note = [&](std::uint32_t key, double metres, bool airborne, double seconds) {
        rests.note(key, "N" + std::to_string(key), "", north(metres), airborne, seconds);
    };
    for (int t = 0; t <= 60; ++t) {
        note(1, t < 30 ? 3.0 * (t % 2) : 6.0 * t, false, t); // stands, and rolls off
        note(2, t < 30 ? 6.0 * t : 500.0, false, t);         // rolls in
        note(3, 500.0, t < 30, t);                           // flies, comes down on the spot
        note(4, t < 9 ? 0.0 : 100.0 * t, false, t);          // too short
    }
    std::string told;
    for (const world::Rest& r : rests.all())
        told += fmt::format("{} {}-{}{};", r.name, r.from, r.to, r.rolledIn ? " rolled in" : "");
    EXPECT_EQ(told, "N1 0-29;N2 30-60 rolled in;N3 30-60;");
}
