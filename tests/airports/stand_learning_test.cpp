// SPDX-License-Identifier: MIT
// What a stand list notes of the aircraft that were seen, or are taken to have been, on its stands.
#include "airports/airport_file.h"
#include "airports/stand_learning.h"
#include "airports/stand_search.h"
#include "core/parameters.h"
#include "reference/reference.h"
#include "support.h"

#include <fmt/format.h>
#include <set>

namespace kes::test {
namespace {

constexpr double metre = 1.0 / metresPerNm; ///< nautical miles

struct StandLearning : testing::Test {
    ProgramFolder program;
    void SetUp() override {
        setParameterDefaults();
        par::RANDOM.value = false;
        resetStandLearning();
        learningAllowed = true;
        stands.assign(1, Stand{.id = "12", .radius = 20 * metre, .sid = 1});
    }
    void TearDown() override {
        stands.clear();
        resetStandLearning();
        resetReference();
    }
    static AiAircraft aircraft(std::string callsign = "DLH4AB", std::string regcode = "D-AIZA") {
        AiAircraft a;
        a.hexid = 0x3c0001;
        a.airline = "DLH";
        a.model = "A320";
        a.callsign = std::move(callsign);
        a.regcode = std::move(regcode);
        a.category = AircraftCategory::large;
        a.wingspan = 17 * metre;
        a.sid = 1;
        return a;
    }
    /// "day:slots callsigns", one a line, r or s in front.
    static std::string learned() {
        std::string text;
        for (const ParkPosOption& o : stands[0].options)
            text += fmt::format("{}{}:{} {} {}\n", o.real != 0 ? 'r' : 's', o.day, hoursText(o.hours), o.coupledCs1,
                                o.coupledCs2);
        return text;
    }
};

TEST_F(StandLearning, RefusesWhatItCannotTellOrHas) {
    const auto real = [](const AiAircraft& a) { return lf_addRealParkPosOption(1, a, false, {3, 10}); };
    const auto soft = [](const AiAircraft& a) { return lf_addSoftParkPosOption(1, a, false, {3, 10}); };
    EXPECT_FALSE(real(aircraft("DLH1", "")));
    EXPECT_FALSE(soft(aircraft("DLH1", "")));
    EXPECT_FALSE(real(aircraft("", "D-AIZA")));
    EXPECT_FALSE(lf_addRealParkPosOption(2, aircraft(), false, {3, 10})) << "no such stand";
    EXPECT_EQ(saveUpdates, 0);

    EXPECT_TRUE(soft(aircraft("", "D-AIZA")));
    EXPECT_FALSE(soft(aircraft("", "D-AIZA")));
    EXPECT_TRUE(real(aircraft("DLH1", "D-AIZA")));
    EXPECT_EQ(saveUpdates, 2);

    stands[0].options.assign(
        1, {.regcode = "D-AIZA", .hours = 1U << 9, .optIndex = 1, .day = 3, .fromArchive = 1, .real = 1});
    EXPECT_FALSE(real(aircraft())) << "what came with the list stays as it is";
    EXPECT_EQ(learned(), "r3:9  \n");

    stands[0].options.assign(1, {.regcode = "D-AIZA", .hours = 1U << 9, .optIndex = 0, .day = 3, .real = 1});
    EXPECT_TRUE(real(aircraft())) << "an option out of use is none";
    stands[0].options[0].optIndex = 7;
    EXPECT_EQ(addOption(stands[0], aircraft(), true, {4, 10}, "DLH1", "D-AIZA"), 2) << "behind the last one's number";
    stands[0].options.back().optIndex = 9;
    EXPECT_EQ(addOption(stands[0], aircraft(), true, {5, 10}, "DLH1", "D-AIZA"), 10);

    // One with another mark but the same flight is in the way of a second option.
    stands[0].options.assign(
        1, {.regcode = "D-AIZA", .coupledCs1 = "DLH4AB", .hours = 1U << 10, .optIndex = 1, .day = 3, .real = 0});
    saveUpdates = 0;
    EXPECT_TRUE(real(aircraft("DLH4AB_"))) << "counts, though there is nothing to add";
    EXPECT_EQ(saveUpdates, 1);
    stands[0].options[0].real = 1;
    EXPECT_FALSE(soft(aircraft()));
    EXPECT_EQ(saveUpdates, 1);
    EXPECT_EQ(stands[0].options.size(), 1U);
}

TEST_F(StandLearning, FreightAndUnknownAirlinesTeachNothing) {
    AiAircraft a = aircraft();
    a.cargo = true;
    noteRealUse(a, false, {1, 1});
    a.standCargo = true;
    a.airline.clear();
    noteRealUse(a, false, {1, 1});
    EXPECT_EQ(learned(), "");
    a.airline = "DLH";
    noteRealUse(a, false, {1, 1});
    EXPECT_EQ(learned(), "r1:1 DLH4AB \n");
}

TEST_F(StandLearning, GuessesOnceInThreeHalfHours) {
    stands.push_back({.id = "14", .radius = 30 * metre, .sid = 2});
    noteGuessedUse(aircraft(), {1, 10});
    EXPECT_EQ(learned(), "s1:10 DLH4AB \n") << "the stand that fits best";
    noteGuessedUse(aircraft(), {1, 12});
    EXPECT_EQ(learned(), "s1:10,11,12 DLH4AB \n") << "known from before, and the gap closed";

    AiAircraft lost = aircraft("DLH7", "D-AIZB");
    lost.hexid = 0x3c0002;
    lost.wingspan = 99 * metre;
    saveUpdates = 0;
    for (Stand& stand : stands)
        stand.options.push_back({.hours = 3U << 13, .optIndex = 1, .day = 1});
    noteGuessedUse(lost, {1, 13}); // finds no stand
    noteGuessedUse(lost, {1, 15});
    EXPECT_EQ(saveUpdates, 0) << "asked again too soon";
    noteGuessedUse(lost, {1, 16});
    EXPECT_EQ(saveUpdates, 1);
}

TEST_F(StandLearning, WhatWasReallySeenIsNotGuessed) {
    const struct {
        const char *name, *regcode;
        unsigned day, slot;
        int real;
        bool guessed;
    } rows[] = {
        {"half an hour before", "D-AIZA", 1, 12, 1, false}, {"now", "D-AIZA", 1, 13, 1, false},
        {"half an hour after", "D-AIZA", 1, 14, 1, false},  {"an hour before", "D-AIZA", 1, 11, 1, true},
        {"another day", "D-AIZA", 2, 13, 1, true},          {"another one", "D-AIZB", 1, 12, 1, true},
        {"guessed itself", "D-AIZA", 1, 12, 0, true},
    };
    for (const auto& row : rows) {
        resetStandLearning();
        stands.assign(2, Stand{.id = "12", .radius = 20 * metre});
        giveSids(stands);
        stands[0].options.push_back(
            {.regcode = row.regcode, .hours = 1ULL << row.slot, .optIndex = 1, .day = row.day, .real = row.real});
        noteGuessedUse(aircraft(), {1, 13});
        EXPECT_EQ(saveUpdates, row.guessed ? 1 : 0) << row.name;
    }
}

TEST_F(StandLearning, FindsBothFlightsOfAVisit) {
    stands[0].options.push_back(
        {.airline = "DLH", .coupledCs1 = "DLH4AB", .coupledCs2 = "DLH5CD", .hours = 1U << 20, .optIndex = 1, .day = 2});
    struct Case {
        const char* name;
        AircraftCategory category;
        HhNow now;
        const char* callsign;
        bool found;
    };
    const Case cases[] = {
        {"now", AircraftCategory::large, {2, 20}, "DLH4AB", true},
        {"the departure, as a ghost", AircraftCategory::large, {2, 20}, "DLH5CD_", true},
        {"five hours before", AircraftCategory::large, {2, 10}, "DLH4AB", true},
        {"too early", AircraftCategory::large, {2, 9}, "DLH4AB", false},
        {"a heavy may be earlier", AircraftCategory::heavy, {2, 6}, "DLH4AB", true},
        {"but not more", AircraftCategory::heavy, {2, 5}, "DLH4AB", false},
        {"another day", AircraftCategory::large, {3, 20}, "DLH4AB", false},
        {"another flight", AircraftCategory::large, {2, 20}, "DLH4", false},
    };
    for (const Case& c : cases) {
        AiAircraft a = aircraft(c.callsign);
        a.category = c.category;
        lf_searchForCoupledCsAroundThisTime(c.now, a);
        EXPECT_EQ(a.coupledCs2 == "DLH5CD" && a.coupledCs1 == "DLH4AB", c.found) << c.name;
    }
    AiAircraft other = aircraft("DLH4AB");
    other.airline = "BAW";
    lf_searchForCoupledCsAroundThisTime({2, 20}, other);
    stands[0].options[0].optIndex = 0;
    other.airline = "DLH";
    lf_searchForCoupledCsAroundThisTime({2, 20}, other);
    EXPECT_EQ(other.coupledCs2, "") << "neither of another airline nor out of use";
}

struct StandSearch : StandLearning {
    static LatLon north(double metres) { return {metres * metre / 60.0, 0.0}; }
    static Stand at(std::string id, double metres, double radius) {
        Stand s{.id = std::move(id)};
        s.lat = north(metres).lat;
        s.radius = radius * metre;
        return s;
    }
    static void use(std::vector<Stand> list) {
        stands = std::move(list);
        giveSids(stands);
    }
};

TEST_F(StandSearch, TakesTheNearestStandThatFits) {
    struct Case {
        const char* name;
        double from; ///< metres north
        bool wide;
        std::vector<Stand> list;
        const char* id; ///< "" = none
    };
    Stand taken = at("taken", 0, 20), pad = at("pad", 0, 20), known = at("known", 80, 20), guessed = known;
    taken.liveOnIt = true;
    pad.heli = true;
    known.options.push_back({.airline = "DLH", .model = "A320", .optIndex = 1, .real = 1});
    guessed.options = known.options;
    guessed.options[0].real = 0;
    const Case cases[] = {
        {"the nearest", 0, true, {at("far", 40, 20), at("near", 30, 20)}, "near"},
        {"narrow ends at 20 metres", 25, false, {at("A", 0, 20)}, ""},
        {"wide does not", 25, true, {at("A", 0, 20)}, "A"},
        {"but at 55", 56, true, {at("A", 0, 20)}, ""},
        {"not a taken one", 0, true, {taken, at("next", 30, 20)}, "next"},
        {"a little too small", 0, true, {at("small", 30, 15.3)}, "small"},
        {"too small", 0, true, {at("small", 21, 15.1), at("A", 40, 20)}, "A"},
        {"too small, but here", 0, true, {at("small", 19, 15.1), at("A", 40, 20)}, "small"},
        {"no helipad for an airliner, nor the next one", 0, true, {pad, at("A", 5, 20)}, ""},
        {"one that knows it", 0, true, {known, at("A", 56, 20)}, "known"},
        {"only what was seen counts", 0, true, {guessed}, ""},
        {"not in a narrow search", 0, false, {known}, ""},
        {"a fitting one in reach goes before", 0, true, {known, at("A", 54, 20)}, "A"},
        {"too far even for a known one", -6, true, {known}, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        use(c.list);
        const double limit = c.wide ? wideStandSearch : narrowStandSearch;
        const Stand* found = findClosestStand(north(c.from), aircraft(), limit, c.wide);
        EXPECT_EQ(found != nullptr ? found->id : "", c.id);
    }
}

TEST_F(StandSearch, AStandLearnsTheSizeOfWhatStandsThere) {
    use({at("small", 10, 12), at("other", 19, 12)});
    saveUpdates = 0;
    ASSERT_EQ(findClosestStand(north(0), aircraft(), wideStandSearch, true), stands.data());
    EXPECT_NEAR(stands[0].radius / metre, 16, 1e-6);
    EXPECT_TRUE(stands[0].radiusChange);
    EXPECT_FALSE(stands[1].radiusChange);
    EXPECT_EQ(saveUpdates, 1);
}

TEST_F(StandSearch, ChoosesByKindThenBySize) {
    struct Case {
        const char* name;
        AircraftCategory category;
        bool cargo;
        const char* airline;
        std::vector<const char*> choice; ///< in this order when the ones before are gone
    };
    const Case cases[] = {
        {"helicopter", AircraftCategory::rotorcraft, false, "DLH", {"pad", "ramp", "small pad", "small ramp"}},
        {"freighter", AircraftCategory::large, true, "DLH", {"cargo", "small cargo", "gate"}},
        {"light", AircraftCategory::light, false, "DLH", {"ramp", "wide ramp", "small ramp", ""}},
        {"private", AircraftCategory::large, false, "PVT", {"ramp", "wide ramp", "small ramp", ""}},
    };
    for (const Case& c : cases) {
        std::vector<Stand> list;
        for (const std::string id :
             {"small gate", "gate", "wide ramp", "ramp", "small ramp", "small cargo", "cargo", "small pad", "pad"}) {
            Stand s = at(id, 0, id.starts_with("small") ? 5 : id.starts_with("wide") ? 40 : 19);
            s.ramp = id.ends_with("ramp");
            s.cargo = id.ends_with("cargo");
            s.heli = id.ends_with("pad");
            const bool leftOut = c.category == AircraftCategory::rotorcraft ? id == "wide ramp" : c.cargo && s.ramp;
            if (!leftOut)
                list.push_back(std::move(s));
        }
        AiAircraft a = aircraft();
        a.category = c.category;
        a.cargo = c.cargo;
        a.airline = c.airline;
        for (const char* id : c.choice) {
            use(list);
            const Stand* found = findStand(lf_searchStands({1, 10}, a, false));
            EXPECT_STREQ(found != nullptr ? found->id.c_str() : "", id) << c.name;
            std::erase_if(list, [&](const Stand& s) { return s.id == id; });
        }
    }
}

TEST_F(StandSearch, AKnownUserGoesBeforeABetterFit) {
    Stand known = at("known", 0, 33), close = at("close", 100, 20);
    known.options.push_back({.airline = "DLH", .model = "A320", .optIndex = 1, .real = 1});
    use({known, close});
    EXPECT_EQ(lf_searchStands({1, 10}, aircraft(), false), 1U);
    use({close, known});
    EXPECT_EQ(lf_searchStands({1, 10}, aircraft(), false), 1U) << "but is not looked for behind it";
    use({close, close, close});
    par::RANDOM.value = true;
    std::set<std::uint32_t> chosen;
    for (int n = 0; n < 100; ++n)
        chosen.insert(lf_searchStands({1, 10}, aircraft(), false));
    EXPECT_EQ(chosen, (std::set<std::uint32_t>{1, 2, 3}));
}

TEST_F(StandSearch, PassesOverStandsInUseAndAsksForTheNextHalfHour) {
    Stand a = at("A", 0, 20), b = at("B", 100, 20);
    a.options.push_back({.hours = 1ULL << 47, .optIndex = 1, .day = 7});
    b.options = a.options;
    b.options[0].real = 1; // seen or guessed, it is in use
    use({a, b});
    EXPECT_EQ(lf_searchStands({7, 47}, aircraft(), false), 0U);
    EXPECT_NE(lf_searchStands({7, 47}, aircraft(), true), 0U);
    stands[1].options[0].hours |= 1;
    stands[1].options[0].day = 1;
    stands[0].options.push_back({.hours = 1, .optIndex = 2, .day = 1});
    EXPECT_EQ(lf_searchStands({7, 47}, aircraft(), true), 2U) << "B's use is on another day now";
    use(std::vector<Stand>(10, a));
    EXPECT_NE(lf_searchStands({7, 47}, aircraft(), true), 0U);
    use(std::vector<Stand>(11, a));
    EXPECT_EQ(lf_searchStands({7, 47}, aircraft(), true), 0U) << "no small airport";
}

} // namespace
} // namespace kes::test
