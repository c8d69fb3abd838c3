// SPDX-License-Identifier: MIT
// Numbers, passes, creation and renewal of static aircraft.
#include "airport_harness.h"

#include <tuple>

namespace kes::test {
namespace {

struct StaticPlanTest : AirportTest {
    static ParkPosOption dlh(const std::string& callsign, std::initializer_list<int> slots, int day = 3, int real = 1) {
        ParkPosOption option;
        option.airline = "DLH";
        option.model = "A320";
        option.coupledCs1 = callsign;
        for (const int slot : slots)
            option.hours |= std::uint64_t{1} << slot;
        option.day = static_cast<std::uint32_t>(day);
        option.real = real;
        return option;
    }
    static void fill() {
        clearPlan();
        setWanted();
        if (wantedParked > 0)
            runPasses(0);
        sortByFit(true);
    }
};

TEST_F(StaticPlanTest, WantedNumber) {
    const struct {
        const char* name;
        std::size_t stands;
        int percent, custom, most, wanted, shown;
    } rows[] = {
        {"two stands", 2, 30, -1, -1, 1, 30},           {"two stands, next to nothing", 2, 10, -1, -1, 1, 10},
        {"four stands, rounded", 4, 30, -1, -1, 1, 30}, {"four stands, rounded up", 4, 40, -1, -1, 2, 40},
        {"one stand", 1, 100, -1, -1, 1, 100},          {"three stands, half", 3, 50, -1, -1, 2, 50},
        {"three stands, less", 3, 49, -1, -1, 1, 49},   {"custom percentage", 100, 30, 0, -1, 0, 0},
        {"custom most", 100, 30, -1, 10, 10, 10},       {"custom most not reached", 100, 30, -1, 50, 30, 30},
        {"custom most 0", 10, 30, -1, 0, 0, 0},         {"no stands", 0, 30, -1, 5, 1, 0},
    };
    for (const auto& row : rows) {
        par::parking_percentage.value = row.percent;
        par::CUSTOM_PARKING_PERCENTAGE.value = row.custom;
        par::CUSTOM_MAX_PARK.value = row.most;
        std::int32_t shown = -1;
        EXPECT_EQ(wantedNumber(row.stands, shown), row.wanted) << row.name;
        EXPECT_EQ(shown, row.shown) << row.name;
    }
}

TEST_F(StaticPlanTest, PassesTakeWhatTimeAndSettingsAllow) {
    struct Row {
        const char* name;
        HhNow now;
        std::vector<ParkPosOption> options; ///< one to a stand
        std::function<void()> settings;
        const char* planned;
    };
    using Options = std::vector<ParkPosOption>;
    const auto sets = [](auto& box, auto value) { return [&box, value] { box.value = value; }; };
    const auto nothing = [] {};
    const auto fakes = [] {
        par::PARK_SOFT.value = false;
        par::PARK_FAKE.value = true;
    };
    const auto most = [&](int count) { return sets(par::CUSTOM_MAX_PARK, count); };
    constexpr HhNow night{1, 0}, ten{3, 20};
    const Options a{dlh("A", {20})}, softA{dlh("A", {20}, 3, 0)}, twice{a[0], a[0]}, unnamed(2, dlh("", {20}));
    const Options sunday{dlh("A", {46}, 7), dlh("B", {46}, 1)}, anyDay{dlh("A", {46}, 4), dlh("B", {45}, 2)};
    const Options ab{a[0], dlh("B", {19})}, softAnd{softA[0], dlh("B", {18})}, softAndLate{softA[0], dlh("B", {3})};
    const Options three{dlh("A", {19}), dlh("B", {20}), dlh("C", {19})};
    const Row rows[] = {
        {"the previous day is Sunday", night, sunday, nothing, "1 A 2, "},
        {"a week ignores the day", night, anyDay, sets(par::WEEK, true), "1 A 2, 2 B 3, "},
        {"MAX_FIT 0", ten, ab, sets(par::MAX_FIT, 0), "1 A 0, "},
        {"soft ones fill up", ten, softAnd, nothing, "1 A 0, 2 B 2, "},
        {"no soft ones", ten, softAnd, sets(par::PARK_SOFT, false), "2 B 2, "},
        {"fake lets soft ones in", ten, softA, fakes, "1 A 0, "},
        {"enough real ones", ten, softAndLate, most(1), "2 B 17, "},
        {"the last round is cut at its end", ten, three, most(2), "2 B 0, 1 A 1, "},
        {"nobody twice at the same time", ten, twice, nothing, "1 A 0, "},
        {"options without callsigns are not each other's", ten, unnamed, nothing, "1  0, 2  0, "},
        {"none wanted", ten, a, most(0), ""},
    };
    for (const Row& row : rows) {
        setParameterDefaults();
        par::RANDOM.value = false;
        par::parking_percentage.value = 100;
        stands.clear();
        for (std::size_t n = 0; n < row.options.size(); ++n)
            addOption(addStand(100.0 * static_cast<double>(n)), row.options[n]);
        row.settings();
        setHhNow(row.now);
        fill();
        EXPECT_EQ(planned(), row.planned) << row.name;
    }
}

/// Stand 1 has an option; beside it a Boeing 777 of 32 m half span is parked on stand 2.
TEST_F(StaticPlanTest, NobodyIsPlannedIntoAnother) {
    const auto sets = [](auto member, auto value) { return [=] { stands[0].*member = value; }; };
    const auto leaves = [] { parkedAircraft[0].st = AircraftStatus::removingfromsim; };
    const auto twoOptions = [] {
        parkedAircraft.clear();
        addOption(stands[1], dlh("B", {20}));
    };
    const auto ownOption = [] {
        par::RANDOM.value = true;
        parkedAircraft.clear();
        addParked(1, "B", {3, 10});
        for (const char* callsign : {"B", "C", "D", "E"})
            addOption(stands[0], dlh(callsign, {20}));
    };
    const struct {
        const char* name;
        double metres; ///< between the stands
        std::function<void()> prepare;
        const char* planned;
    } rows[] = {
        {"no room", 48, [] {}, ""},
        {"room", 50, [] {}, "1 A 0, "},
        {"the other leaves", 48, leaves, "1 A 0, "},
        {"one of two neighbours", 48, twoOptions, "1 A 0, "},
        {"one of two for a stand", 50, [] { addOption(stands[0], dlh("B", {19})); }, "1 A 0, "},
        {"the user's stand", 50, sets(&Stand::reserved, true), ""},
        {"a stand in use", 50, sets(&Stand::occupied, true), ""},
        {"a helipad, and no helicopters wanted", 50, sets(&Stand::heli, true), ""},
        {"who stands there already goes before chance", 50, ownOption, ""},
    };
    par::parking_percentage.value = 100;
    par::HELICOPTERS.value = false;
    for (const auto& row : rows) {
        par::RANDOM.value = false;
        stands.clear();
        parkedAircraft.clear();
        addOption(addStand(0), dlh("A", {20}));
        addStand(row.metres);
        findAdjacent(stands);
        addParked(2, "X", {3, 10}, "B77W");
        clearPlan();
        row.prepare();
        setWanted();
        runPasses(0);
        EXPECT_EQ(planned(), row.planned) << row.name;
    }
}

TEST_F(StaticPlanTest, CreationOrdersWhatIsStillFree) {
    enum Way { created, cancelled, waits };
    struct Row {
        const char* name;
        std::function<void()> prepare;
        Way way;
        const char* line;
    };
    const auto liveOn = [](std::uint32_t sid, bool parked) {
        live.assign(1, {.hexid = 0x400001, .sid = sid, .callsign = "BAW9", .parked = parked});
    };
    const auto staticOn = [](std::uint32_t sid) -> AiAircraft& { return addParked(sid, "X", {3, 3}); };
    const Row rows[] = {
        {"free", [] {}, created, ""},
        {"a live one", [&] { liveOn(2, true); }, cancelled,
         "S2      : no static parking for DLH A320, live aircraft BAW9 standing here"},
        {"a live one next door", [&] { liveOn(1, false); }, cancelled,
         "S2      : no static parking for DLH A320, live aircraft BAW9 is adjacent at S1, possibly colliding"},
        {"a live one elsewhere", [&] { liveOn(3, true); }, created, ""},
        {"a live one without a stand", [&] { liveOn(0, true); }, created, ""},
        {"a static one", [&] { staticOn(2); }, cancelled,
         "S2      : no static parking for DLH A320, static aircraft X* is adjacent at S2, possibly colliding"},
        {"a static one next door", [&] { staticOn(1); }, cancelled, "static aircraft X* is adjacent at S1"},
        {"one that leaves", [&] { staticOn(2).st = AircraftStatus::removingfromsim; }, waits, ""},
        {"no such stand", [] { toPark.back().sid = 9; }, cancelled, "stand with id 9 not found"},
        {"no livery", [] { toPark.back().model = "C172"; }, cancelled, "S2      : "},
        {"no callsign", [] { toPark.back().coupledCs1.clear(); }, created, ""},
    };
    for (const Row& row : rows) {
        resetAll();
        live.clear();
        setRandomSeed(3);
        setHhNow({1, 0});
        for (int n = 0; n < 3; ++n)
            addStand(200.0 * n);
        stands[1].adjacent = {1};
        stands[1].heading = 1.5;
        stands[1].cargo = true;
        toPark = {{2, 3, "DLH", "A320", "DLH1", "DLH2", "D-AIZA"}};
        setAirportRef(AirportRef{"EDDF", "FRA", field.lat, field.lon, 364});
        par::LOG.value = true;
        allowWaiting();
        row.prepare();
        const std::size_t before = parkedAircraft.size();
        createNextStatic();
        ASSERT_EQ(parkedAircraft.size() - before, row.way == created ? 1u : 0u) << row.name;
        EXPECT_EQ(toPark.size(), row.way == waits ? 1u : 0u) << row.name;
        EXPECT_TRUE(program.logHas(row.line)) << row.name << program.logText();
        if (row.way != created)
            continue;
        const AiAircraft& a = parkedAircraft.back();
        ASSERT_EQ(waitingOrders().staticCreateQueue.size(), 1u);
        const CreateRequest& request = waitingOrders().staticCreateQueue.front();
        EXPECT_EQ(request.hexid, a.hexid);
        EXPECT_EQ(request.tailNumber, a.callsign);
        EXPECT_EQ(fmt::format("{} {} ft, {:.2f} degrees", request.title, request.alt, request.heading),
                  "DLH A320 364 ft, 85.94 degrees");
        EXPECT_EQ(request.lat, stands[1].lat);
        EXPECT_EQ(std::tuple(a.st, a.sid, a.standCargo), std::tuple(AircraftStatus::adding2sim, 2, true));
        EXPECT_EQ(std::tuple(a.wingspan, a.category), std::tuple(wingspanOf("A320"), AircraftCategory::large));
        EXPECT_EQ(a.coupledCs2 + " " + a.regcode, "DLH2 D-AIZA");
        EXPECT_EQ(a.parkedAt, (HhNow{7, 45}));
        EXPECT_EQ(a.callsign, a.coupledCs1.empty() ? "DLH" + std::to_string(a.hexid) + "*" : "DLH1*");
    }
}

TEST_F(StaticPlanTest, NoHexidIsGivenTwice) {
    for (const std::uint32_t used : {1U, 2U, 500U, 9999U})
        parkedAircraft.emplace_back().hexid = used;
    for (int n = 0; n < 20100; ++n) {
        const std::uint32_t hexid = nextStaticHexid();
        ASSERT_TRUE(hexid > 2 && hexid != 500 && hexid < 9999) << hexid;
    }
}

struct RenewalTest : StaticPlanTest {
    void SetUp() override {
        StaticPlanTest::SetUp();
        setAirportRef(AirportRef{"EDDF", "FRA", field.lat, field.lon, 364});
        setWallClockMs(1'000'000'000'000);
        prepare();
    }
    static void prepare() {
        setParameterDefaults();
        par::RANDOM.value = false;
        par::parking_percentage.value = 100;
        setHhNow({3, 20});
        stands.clear();
        parkedAircraft.clear();
        live.clear();
        liveRemoved.clear();
        reservedStand.clear();
        for (int n = 0; n < 5; ++n)
            addStand(200.0 * n);
    }
    static std::string leaving() {
        std::string text;
        for (const AiAircraft& a : parkedAircraft)
            if (a.st == AircraftStatus::removingfromsim)
                text += a.callsign + " ";
        return text;
    }
    static void park(std::uint32_t hexid, std::uint32_t sid, int minutes, AircraftCategory category,
                     bool seen = false) {
        live.push_back({.hexid = hexid,
                        .sid = sid,
                        .callsign = "L" + std::to_string(hexid),
                        .label = "label" + std::to_string(hexid),
                        .category = category,
                        .parkedTime = monotonicMs() - minutes * 60000LL,
                        .parked = true,
                        .feedAtStand = seen});
    }
};

TEST_F(RenewalTest, EachStaticAircraftIsJudged) {
    struct Row {
        const char* name;
        std::function<void()> prepare;
        std::set<std::string> reported;
        const char *leaving, *planned;
    };
    using Reported = std::set<std::string>;
    const Reported nobody;
    const auto one = [](const ParkPosOption& option, HhNow parkedAt = {3, 18}) {
        return [=] {
            addOption(stands[0], option);
            addParked(1, "DLH1", parkedAt);
        };
    };
    const auto pair = [](std::initializer_list<int> slots, HhNow now = {3, 20}) {
        ParkPosOption option = dlh("DLH1", slots, now.day);
        option.coupledCs2 = "DLH2";
        return [=] {
            setHhNow(now);
            addOption(stands[0], option);
            addParked(1, "DLH1", later(now, -2)).coupledCs2 = "DLH2";
        };
    };
    // Only the aircraft's stand knows of the other.
    const auto nextDoor = [](const char* callsign, std::initializer_list<int> slots) {
        return [option = dlh(callsign, slots)] {
            stands[1].lat = stands[0].lat + 20 * metre;
            stands[0].adjacent = {2};
            addOption(stands[1], option);
            AiAircraft& a = addParked(1, "DLH1", {3, 18});
            if (option.coupledCs1 == "DLH2")
                a.callsign = (a.coupledCs2 = "DLH2") + "*";
        };
    };
    const auto both = [](auto first, auto second) {
        return [first, second] {
            first();
            second();
        };
    };
    const auto sets = [](auto& what, auto value) { return [&what, value] { what = value; }; };
    const auto outOfUse = [] { stands[0].options[0].optIndex = 0; };
    const auto monday = [] { setHhNow({1, 1}); };
    const auto onNoStand = [] { addParked(0, "DLH1", HhNow{3, 18}); };
    const auto tomorrow = [] { addOption(stands[0], dlh("", {0}, 4)); };
    const auto newer = one(dlh("DLH7", {19})), asOld = one(dlh("DLH7", {18}));
    const auto itsOwn = one(dlh("DLH1", {18}));
    const auto next = pair({18, 19, 20});
    const Row rows[] = {
        {"its option still speaks for it", itsOwn, nobody, "", ""},
        {"another option of its kind, too", one(dlh("", {5})), nobody, "", ""},
        {"its option is of another day", one(dlh("DLH1", {18}, 5)), nobody, "DLH1* ", ""},
        {"its option was yesterday, before this time", one(dlh("DLH1", {20}, 2)), nobody, "DLH1* ", ""},
        {"its option was yesterday, after this time", one(dlh("DLH1", {21}, 2), {2, 21}), nobody, "", ""},
        {"the real one is reported", itsOwn, Reported{"DLH1"}, "DLH1* ", ""},
        {"the option of a newer one", newer, nobody, "DLH1* ", "1 DLH7 1, "},
        {"an option out of use counts again", both(newer, outOfUse), nobody, "DLH1* ", "1 DLH7 1, "},
        {"the option of one as old", asOld, nobody, "", ""},
        {"newer over the end of the week", both(monday, one(dlh("DLH7", {0}, 1), {7, 47})), nobody, "DLH1* ",
         "1 DLH7 1, "},
        {"a newer one next door that leaves no room", nextDoor("DLH7", {19}), nobody, "DLH1* ", "2 DLH7 1, "},
        {"an older one", nextDoor("DLH7", {17}), nobody, "", ""},
        {"itself, on its departure", nextDoor("DLH2", {19}), nobody, "", ""},
        {"its stand is the user's, so the newer one cannot come", both(sets(reservedStand, "S1"), newer), nobody, "",
         ""},
        {"no stand", onNoStand, nobody, "DLH1* ", ""},
        {"its departure is not next", pair({18, 19, 20, 21}), nobody, "", ""},
        {"its departure is next", next, nobody, "DLH1* ", "1 DLH1 18, "},
        {"its departure is tomorrow", both(pair({45, 46, 47}, {3, 47}), tomorrow), nobody, "", ""},
        {"its departure is reported", next, Reported{"DLH2"}, "DLH1* ", ""},
    };
    for (const Row& row : rows) {
        prepare();
        row.prepare();
        renewParking(row.reported);
        EXPECT_EQ(leaving(), row.leaving) << row.name;
        EXPECT_EQ(planned(), row.planned) << row.name;
        EXPECT_TRUE(placingGoesOn());
        for (const StaticPlacement& p : toPark)
            EXPECT_EQ(lf_detcs(p), p.coupledCs2.empty() ? p.coupledCs1.empty() ? "" : p.coupledCs1 + "*" : "DLH2*");
    }
}

TEST_F(RenewalTest, MoreThanWantedGo) {
    // The best plans stay, then the oldest static aircraft, then the live ones that came last.
    for (int n = 0; n < 3; ++n) {
        addOption(stands[static_cast<std::size_t>(n)], dlh("DLH" + std::to_string(n), {16 + n}));
        addParked(static_cast<std::uint32_t>(n + 1), "DLH" + std::to_string(n), {3, 16 + n});
    }
    addOption(stands[3], dlh("NEW", {20}));
    park(0x400001, 5, 10, AircraftCategory::large);
    const struct {
        int wanted;
        const char *leaving, *planned;
        std::size_t liveLeft;
    } rows[] = {{5, "", "4 NEW 0, ", 1},
                {4, "", "", 1},
                {3, "DLH2* ", "", 1},
                {2, "DLH0* DLH1* DLH2* ", "4 NEW 0, ", 1}, // found at once, so older options do not count
                {1, "DLH0* DLH1* DLH2* ", "", 1},
                {0, "DLH0* DLH1* DLH2* ", "", 0}};
    for (const auto& row : rows) {
        for (AiAircraft& a : parkedAircraft)
            a.st = AircraftStatus::active;
        par::CUSTOM_MAX_PARK.value = row.wanted;
        renewParking({});
        EXPECT_EQ(leaving(), row.leaving) << row.wanted;
        EXPECT_EQ(planned(), row.planned) << row.wanted;
        EXPECT_EQ(live.size(), row.liveLeft) << row.wanted;
    }
}

TEST_F(RenewalTest, AFlightThatStandsThereLiveIsNotPlannedAndGivesWayToTheNext) {
    addOption(stands[0], dlh("L4194305", {18, 19, 20}));
    addOption(stands[0], dlh("B", {19}));
    park(0x400001, 5, 10, AircraftCategory::large);
    renewParking({});
    EXPECT_EQ(planned(), "1 B 1, ");
}

TEST_F(RenewalTest, LiveAircraftStayForATime) {
    const auto parkAll = [] {
        live.clear();
        liveRemoved.clear();
        park(0x400001, 1, 90, AircraftCategory::large);
        park(0x400002, 2, 91, AircraftCategory::large);
        park(0x400003, 3, 180, AircraftCategory::heavy);
        park(0x400004, 4, 181, AircraftCategory::heavy);
        park(0x400005, 5, 500, AircraftCategory::large, true);
        for (Stand& stand : stands)
            if (stand.options.empty())
                addOption(stand, dlh("C" + stand.id, {20}));
        live.push_back({.hexid = 0x400006, .sid = 2, .parked = false});
    };
    const auto removed = [&] {
        parkAll();
        renewParking({});
        std::string text;
        for (const std::uint32_t hexid : liveRemoved)
            text += std::to_string(hexid - 0x400000) + " ";
        return text;
    };
    EXPECT_EQ(removed(), "2 4 ");
    EXPECT_EQ(planned(), "2 CS2 0, 4 CS4 0, ") << "only on stands of nobody";
    par::INITIAL_LOAD_ONLY.value = true;
    EXPECT_EQ(removed(), "");
    par::CUSTOM_MAX_PARK.value = 0;
    stands[0].liveOnIt = true;
    EXPECT_EQ(removed(), "") << "only static ones are not wanted";
    EXPECT_FALSE(stands[0].liveOnIt);
    par::CUSTOM_MAX_PARK.value = 1;
    EXPECT_EQ(removed(), "4 3 2 1 ") << "no stay is too long, but they are many";
    par::INITIAL_LOAD_ONLY.value = false;
    EXPECT_EQ(removed(), "2 4 3 1 ") << "the longest standing first";
    EXPECT_TRUE(
        program.logHas("Parking adjustments: 2 more live ac than wanted\nlive parked label4194307 at S3 removed\n"));
}

} // namespace
} // namespace kes::test
