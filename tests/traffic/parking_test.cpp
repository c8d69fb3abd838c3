// SPDX-License-Identifier: MIT
// Live traffic finds its stand, takes it, and others make way.
#include "airports/airport_file.h"
#include "airports/park_airports.h"
#include "airports/stand_learning.h"
#include "sim/orders.h"
#include "traffic/harness.h"
#include "traffic/parking.h"
#include "traffic/stand_conflicts.h"

#include <tuple>

namespace kes::test {
namespace {

constexpr double metreNm = 1.0 / metresPerNm;

struct Parking : TrafficTest {
    void SetUp() override {
        TrafficTest::SetUp();
        par::RANDOM.value = false;
        par::LOG.value = true;
        setAirportRef(AirportRef{"EDDF", "FRA", homeLat, homeLon, 0});
        standsAt({0});
        airportLoaded = true;
        setHhNow({2, 20});
    }
    /// One stand at each distance north of home in metres, "A1" and so on, for aircraft of 20 metres half span.
    static void standsAt(const std::vector<double>& metres) {
        stands.clear();
        for (const double m : metres)
            stands.push_back(standAt(m, 20, 0.5, static_cast<std::uint32_t>(stands.size() + 1)));
        findAdjacent(stands);
    }
    /// A live aircraft in a state on a stand.
    LiveAircraft& liveOn(std::uint32_t sid, const std::string& callsign, FlightState fs = FlightState::parked) {
        const auto hexid = firstHex + static_cast<std::uint32_t>(liveAircraft.size()) + 10;
        LiveAircraft& a = activeFlight(hexid, {stopAt(0, tickCount + 100000)});
        a.callsign = callsign;
        a.fs = fs;
        a.sid = sid;
        return a;
    }
    static AiAircraft& staticOn(std::uint32_t sid, AircraftStatus st = AircraftStatus::active) {
        AiAircraft a;
        a.hexid = static_cast<std::uint32_t>(parkedAircraft.size()) + 1;
        a.objectid = 9000 + a.hexid;
        a.st = st;
        a.sid = sid;
        a.callsign = "DLH99*";
        a.regcode = "D-ASTA";
        a.wingspan = 17 * metreNm;
        return parkedAircraft.emplace_back(a);
    }
    /// Stands on the taxiway, as many metres north of home, as the reports end.
    LiveAircraft& stopped(double metres, const std::string& model = "A320") {
        LiveAircraft& a = activeFlight(firstHex, {stopAt(metres, tickCount)}, model);
        a.regcode = "D-AIZA";
        return a;
    }
    /// On its way to stand 1, and there.
    static void arriving(LiveAircraft& a) {
        a.fs = FlightState::parking;
        a.sid = 1;
        a.standLat = homeLat;
        a.standLon = homeLon;
    }
    static bool leaves(const AiAircraft& a) { return a.st == AircraftStatus::removingfromsim; }
};

TEST_F(Parking, LooksForAStandOnceAtAPlace) {
    struct Case {
        const char* name;
        double metres;
        bool wide;
        const char* model;
        const char* reserved;
        bool parks;
    };
    const Case cases[] = {
        {"on the spot", 0, false, "A320", "", true},
        {"25 metres off, on the way out", 25, false, "A320", "", false},
        {"25 metres off, after a landing", 25, true, "A320", "", true},
        {"a helicopter at a gate", 5, true, "EC35", "", false},
        {"the user's stand", 5, true, "A320", "A1", false},
        {"another one is the user's", 5, true, "A320", "B1", true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        reservedStand = c.reserved;
        LiveAircraft& a = stopped(c.metres, c.model);
        try2Park(a, c.wide);
        EXPECT_EQ(a.fs == FlightState::parking, c.parks);
        EXPECT_EQ(a.sid != 0, c.parks);
        ASSERT_EQ(a.sz(), c.parks ? 3U : 1U);
        if (c.parks) {
            EXPECT_GE(a.stream[1].tick - a.stream[0].tick, 100);
            EXPECT_EQ(a.stream[2].tick - a.stream[1].tick, 50);
            EXPECT_EQ(std::tuple(a.stream[1].gs, a.stream[2].gs), std::tuple(a.taxiSpeed, 0));
        }
        reservedStand.clear();
        a.fs = FlightState::taxi;
        a.stream.resize(1);
        try2Park(a, c.wide);
        EXPECT_EQ(a.fs, FlightState::taxi) << "not twice at one place";
    }
}

TEST_F(Parking, RemovesWhoeverIsInItsWay) {
    standsAt({0, 30, 100});
    liveOn(1, "OLD1");
    liveOn(2, "NEXT1", FlightState::pushing_back);
    liveOn(3, "FAR1");
    try2Park(stopped(5), true);
    EXPECT_EQ(leaving(), "OLD1 NEXT1");
    EXPECT_TRUE(program.logHas("A1      : OLD1     removed, DLH304 wants to park there"));
    EXPECT_TRUE(program.logHas("A1      : NEXT1    removed by parking DLH304 at adjacent and possibly colliding "
                               "stand A2"));
}

TEST_F(Parking, WhoeverArrivesSecondGoes) {
    LiveAircraft& a = stopped(0);
    arriving(a);
    stands[0].liveOnIt = true;
    arriveAtStand(a, motionNow());
    EXPECT_TRUE(leaves(a));
    EXPECT_TRUE(stands[0].liveOnIt) << "it is the other one's";

    LiveAircraft& past = liveOn(1, "PAST", FlightState::parking);
    past.standLat = homeLat + 3 * metre;
    past.standLon = homeLon;
    stands[0].liveOnIt = false;
    arriveAtStand(past, motionNow());
    EXPECT_EQ(past.fs, FlightState::taxi);
}

TEST_F(Parking, AStandIsOfferedByNameAndByWhatTheFeedShows) {
    struct Case {
        const char* existing;
        const char* newcomer;
        bool atStand; ///< the feed shows the existing one there
        bool born;
        const char* message; ///< behind the stand and the existing callsign
    };
    const Case cases[] = {
        {"DLH1", "DLH1", true, true, "ac with same callsign DLH1 wants it, remove existing ... "},
        {"DLH1", "DLH1_", false, false, ""},
        {"DLH1_", "DLH1", true, true, "ghost, replace by DLH1"},
        {"DLH1_", "DLH2", true, true, "ghost, replace by DLH2"},
        {"DLH1", "DLH2_", false, false, ""},
        {"DLH1", "DLH2", true, false, ""},
        {"DLH1", "DLH2", false, true, "removed because another live DLH2 wants the stand ..."},
        {"DLH1_", "DLH2_", false, true, "removed because another live DLH2_ wants the stand ..."},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(fmt::format("{} {} {}", c.existing, c.newcomer, c.atStand));
        resetLiveTraffic();
        LiveAircraft newcomer = stopped(0);
        newcomer.callsign = c.newcomer;
        liveOn(1, c.existing, FlightState::pushed_back).feedAtStand = c.atStand;
        EXPECT_EQ(offerStand(newcomer, 1), c.born);
        EXPECT_EQ(leaving(), c.born ? c.existing : "");
        EXPECT_TRUE(!c.born || program.logHas(fmt::format("A1      : {:8} {}", c.existing, c.message)));
    }
}

TEST_F(Parking, StaticAircraftMakeWay) {
    standsAt({0, 30, 31});
    LiveAircraft& a = stopped(0);
    staticOn(2);
    staticOn(3).wingspan = 1 * metreNm;
    staticOn(1).coupledCs1 = a.callsign;
    makeWay(a, stands[0]);
    EXPECT_TRUE(program.logHas("A1      : DLH99*   D-ASTA makes way for the same live version DLH304 D-AIZA"));
    EXPECT_TRUE(program.logHas("A2      : DLH99*   removed by DLH304 parking at adjacent stand A1"));
    EXPECT_EQ(std::tuple(leaves(parkedAircraft[0]), leaves(parkedAircraft[2])), std::tuple(true, true));
    EXPECT_FALSE(leaves(parkedAircraft[1])) << "room for both";

    parkedAircraft.clear();
    orderCreate({.tailNumber = {}, .title = {}, .hexid = 1});
    staticOn(1, AircraftStatus::adding2sim);
    makeWay(a, stands[0]);
    EXPECT_TRUE(parkedAircraft.empty());
    EXPECT_TRUE(program.logHas("queued A1      : DLH99*   D-ASTA makes way for DLH304 D-AIZA"));
    staticOn(1, AircraftStatus::adding2sim);
    makeWay(a, stands[0]);
    EXPECT_TRUE(parkedAircraft.at(0).removeWhenReady) << "its request was on its way";

    wantedParked = 5;
    for (const bool born : {true, false}) { // both ways onto a stand ask for it
        resetLiveTraffic();
        parkedAircraft.clear();
        standsAt({0});
        staticOn(1);
        LiveAircraft& comes = stopped(5);
        comes.stream.push_back(comes.stream.front());
        if (born)
            EXPECT_EQ(bornOnStand(comes), BirthPlace::parked);
        else
            try2Park(comes, true);
        EXPECT_TRUE(leaves(parkedAircraft[0])) << born;
    }
}

TEST_F(Parking, AStaticAircraftThatIsTheSameGoes) {
    struct Case {
        const char* name;
        const char* callsign;
        const char* regcode;
        const char* cs2; ///< the live aircraft's coupled callsign
        const char* message;
    };
    const Case cases[] = {
        {"registration", "DLH1", "D-ASTA", "", "DLH99*   D-ASTA removed, new airborne DLH1 has same regcode D-ASTA"},
        {"arrival", "LH11", "D-AIZA", "", "\"LH11 LH12\" removed, new airborne LH11 \"LH11 \" has same callsign"},
        {"departure", "LH12", "D-AIZA", "", "\"LH11 LH12\" removed, new airborne LH12 \"LH12 \" has coupled callsign"},
        {"coupled", "LH13", "", "LH11", "new airborne LH13 \"LH13 LH11\" has coupled callsign"},
        {"ghost", "LH12_", "", "", "new airborne LH12_ \"LH12_ \" has coupled callsign"},
        {"nothing in common", "LH1", "", "", ""},
        {"no callsign to couple", "LH1", "", "", ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        resetLiveTraffic();
        EXPECT_TRUE(landingList.empty()) << "of the row before";
        parkedAircraft.clear();
        AiAircraft& parked = staticOn(1);
        parked.coupledCs1 = "LH11";
        parked.coupledCs2 = std::string_view(c.name) == "no callsign to couple" ? "" : "LH12";
        LiveAircraft& a = activeFlight(firstHex, {air(0, 9000), air(1, 9000)});
        a.callsign = a.coupledCs1 = c.callsign;
        a.regcode = c.regcode;
        a.coupledCs2 = c.cs2;
        a.coupledSearched = true;
        landingList = {firstHex + 5, firstHex};
        replaceParked(a);
        EXPECT_EQ(leaves(parked), *c.message != 0);
        EXPECT_TRUE(program.logHas(c.message)) << program.logText();
        EXPECT_EQ(landingList, std::deque<std::uint32_t>{firstHex + 5});
    }
}

TEST_F(Parking, AnArrivalShutsDownAndCounts) {
    const struct {
        const char* name;
        bool cargo, cargoStand;
        const char* told;
        int updates;
    } rows[] = {
        {"an airliner", false, false, "throttle 0, flaps 0, engines off, lights n----oc", 1},
        {"a freighter", true, true, "throttle 0, flaps 0, engines off, lights -----o-", 1},
        {"a freighter at a gate", true, false, "throttle 0, flaps 0, engines off, lights -----oc",
         1}, // the stand's flag
        {"an airliner among freight", false, true, "throttle 0, flaps 0, engines off, lights n----o-", 0},
    };
    for (const auto& row : rows) {
        resetLiveTraffic();
        standsAt({0, 100, 200});
        stands[0].cargo = row.cargoStand;
        liveOn(2, "LONG").parkedTime = 0;
        liveOn(3, "SHORT").parkedTime = monotonicMs();
        wantedParked = 1;
        saveUpdates = 0;
        par::NAV_LIGHTS_WHILE_PARKED.value = !row.cargo;
        Flight f({stopAt(0, 5000)});
        arriving(f.a);
        f.a.cargo = row.cargo;
        f.a.standCargo = row.cargoStand;
        f.a.regcode = "D-AIZA";
        arriveAtStand(f.a, f.m);
        EXPECT_EQ(f.out.landings, std::vector<std::uint32_t>{f.a.hexid}) << row.name;
        EXPECT_EQ(f.told(), row.told) << row.name;
        EXPECT_EQ(saveUpdates, row.updates) << row.name;
        EXPECT_EQ(stands[0].cargo, row.cargo || row.cargoStand) << row.name;
        EXPECT_EQ(leaving(), "LONG") << "more than wanted";
    }
    EXPECT_TRUE(program.logHas("A1      : DLH304   arrived at stand"));
}

TEST_F(Parking, ABirthOnAStandCounts) {
    enum Ends { parks, refused, asItIs };
    const struct {
        const char* name;
        double neighbour; ///< metres to the other stand, where a live aircraft is parked
        bool cargo;
        const char* reserved;
        Ends ends;
        int updates;
    } rows[] = {{"an airliner", 100, false, "", parks, 1},
                {"a freighter at a gate", 100, true, "", parks, 1},
                {"no room beside a neighbour", 34, false, "", refused, 0},
                {"the user's stand", 34, false, "A1", asItIs, 0}};
    for (const auto& row : rows) {
        resetLiveTraffic();
        standsAt({0, row.neighbour});
        reservedStand = row.reserved;
        saveUpdates = 0;
        wantedParked = 1;
        LiveAircraft& other = liveOn(2, "BAW1");
        other.parkedTime = 0;
        other.wingspan = 19 * metreNm;
        LiveAircraft a = stopped(0);
        a.stream.push_back(a.stream.front());
        a.fs = FlightState::birth;
        a.cargo = row.cargo;
        EXPECT_EQ(bornOnStand(a), row.ends == asItIs ? BirthPlace::asItIs : BirthPlace::parked) << row.name;
        EXPECT_EQ(a.deleteNow, row.ends == refused) << row.name;
        EXPECT_EQ(a.sid, row.ends == parks ? 1U : 0U) << row.name;
        EXPECT_EQ(saveUpdates, row.updates) << row.name;
        EXPECT_EQ(stands[0].options.size(), row.ends == parks && !row.cargo ? 1U : 0U) << row.name;
        EXPECT_EQ(stands[0].cargo && stands[0].cargoChange, row.cargo) << row.name;
        EXPECT_EQ(leaving(), row.ends == parks ? "BAW1" : "") << "more than wanted";
    }
    EXPECT_TRUE(program.logHas("EDDF stand: A1, cargo attribute set to true, "));
    LiveAircraft parked = stopped(0);
    parked.sid = 1;
    toPark = {{.sid = 1}, {.sid = 2}, {.sid = 1}};
    noteParked(parked);
    ASSERT_EQ(toPark.size(), 1U) << "nobody else is planned for it";
    EXPECT_EQ(toPark[0].sid, 2U);
    toPark.clear();
}

TEST_F(Parking, OnlyWhoComesToTheAirportIsGuessedAt) {
    learningAllowed = par::LEARN_SOFT.value = true;
    LiveAircraft& a = stopped(0);
    a.agl = 2500;
    learnStand(a, false);
    EXPECT_EQ(saveUpdates, 0) << "high over it";
    par::LEARN_SOFT.value = false;
    learnStand(a, true);
    EXPECT_EQ(saveUpdates, 0) << "nobody is to be";
    par::LEARN_SOFT.value = true;
    learnStand(a, true);
    EXPECT_EQ(saveUpdates, 1) << "at its end";
}

TEST_F(Parking, WhenTheAirportGoesItsAircraftGo) {
    liveOn(1, "PARKED").sid = 1;
    liveOn(0, "TAXI", FlightState::taxi);
    liveOn(0, "ARRIVES", FlightState::parking).sid = 1;
    activeFlight(firstHex, {air(0, 9000), air(1, 9000)});
    liveOn(1, "COMES", FlightState::parked).st = AircraftStatus::adding2sim;
    orderBirth(liveAircraft[4].hexid);
    std::string seen;
    for (const LiveAtStand& live : hooksOfLiveParking().atStands())
        seen += live.callsign + (live.parked ? " parked" : "") + (live.active ? " active;" : ";");
    EXPECT_EQ(seen, "PARKED parked active;ARRIVES active;COMES parked;");
    hooksOfLiveParking().leaveAirport();
    EXPECT_EQ(liveAircraft.size(), 4U) << "the one that was to be born";
    EXPECT_EQ(leaving(), "PARKED TAXI");
    for (const LiveAircraft& a : liveAircraft)
        EXPECT_EQ(a.sid, 0U) << "a number of the next airport's list";
}

} // namespace
} // namespace kes::test
