// SPDX-License-Identifier: MIT
// Three days of a timetable, flown through the whole program: what it learns is the timetable and nothing else, and the
// next run fills the airport with it. The hours in which nothing moves are skipped.
#include "airports/airport_xml.h"
#include "airports/static_parking.h"
#include "core/hh_now.h"
#include "replay/virtual_airport.h"
#include "traffic/live_table.h"

#include <set>

namespace kes::replay {
namespace {

constexpr std::int64_t sunday = 1699747200; // 12 November 2023
constexpr double slotSeconds = 1800;

/// A stay from one half-hour of the three days to another.
struct Visit {
    int stand = 0, arrives = 0, leaves = 0; ///< half-hours since Sunday 00:00; leaves < 0: it stays
    std::string airline, model, regcode, arrival, departure;
    std::uint32_t hexid = 0;
    bool reachesStand = true; ///< else the feed loses it on the taxiway
};

using Learned = std::map<std::string, std::string>;

/// One use as the learned file should tell it.
void addUse(Learned& all, const Visit& v, int day, std::uint64_t hours, const std::string& cs1,
            const std::string& cs2) {
    all[fmt::format("{} {} day {}", StandRow::id(v.stand), v.regcode, day)] =
        fmt::format("{} {} {} {} {}", v.airline, v.model, hoursText(hours), cs1, cs2);
}

int dayOf(int slot) {
    return (slot / slotsPerDay + 6) % 7 + 1;
}

std::uint64_t bitOf(int slot) {
    return std::uint64_t{1} << (slot % slotsPerDay);
}

/// The timetable read as the manual tells it: both ends of a stay, and on one day what lies between when it is short.
/// The departure has the other callsign, and on the next day a use of its own.
void addVisit(Learned& all, const Visit& v) {
    const bool leaves = v.leaves >= 0, sameDay = leaves && dayOf(v.arrives) == dayOf(v.leaves),
               isShort = sameDay && v.leaves - v.arrives <= 5;
    std::uint64_t hours = bitOf(v.arrives);
    for (int slot = v.arrives; sameDay && slot <= v.leaves; ++slot)
        if (isShort || slot == v.leaves)
            hours |= bitOf(slot);
    addUse(all, v, dayOf(v.arrives), hours, v.arrival, isShort ? v.departure : "");
    if (leaves && !sameDay)
        addUse(all, v, dayOf(v.leaves), bitOf(v.leaves), v.departure, "");
}

/// Stands are turned over up to four times a day; every stay is of another length, and two are over midnight.
std::vector<Visit> timetable() {
    static constexpr const char* airlines[] = {"DLH", "BAW", "AFR", "KLM", "SWR"};
    static constexpr const char* models[] = {"A320", "B738"};
    static constexpr struct {
        int stand, arrives, leaves;
    } day[] = {{0, 12, 14}, {3, 13, 14}, {7, 13, 20}, {12, 14, 19}, {0, 20, 26},
               {3, 20, 23}, {9, 26, 31}, {0, 31, 33}, {19, 33, 36}, {7, 36, 41}};
    std::vector<Visit> all;
    const auto add = [&](int stand, int arrives, int leaves) {
        const auto n = static_cast<std::uint32_t>(all.size());
        const std::string airline = airlines[n % 5];
        all.push_back({stand, arrives, leaves, airline, models[n % 3 == 0], fmt::format("D-X{:03}", n),
                       fmt::format("{}{}", airline, 2 * n + 100), fmt::format("{}{}", airline, 2 * n + 101),
                       5000000 + n});
    };
    for (int d = 0; d < 3; ++d)
        for (const auto& v : day)
            add(v.stand, v.arrives + d * slotsPerDay, v.leaves + d * slotsPerDay);
    add(15, 47, 49);                             // over the midnight that ends a week
    add(16, slotsPerDay + 41, slotsPerDay + 60); // a night
    add(17, 2 * slotsPerDay + 36, -1);
    return all;
}

struct LearningTest : testing::Test, VirtualAirport {
    StandRow row;
    const std::vector<Visit> visits = timetable();
    std::vector<Visit> strangers; ///< of which nothing real is to be learned

    void SetUp() override {
        test::writeSmallReference(
            {.types = "A320,Large,34.1\nB738,Large,35.8\n", .airlines = "DLH,a\nBAW,b\nAFR,c\nKLM,d\nSWR,e\n"});
        writeLiveries(std::array{"DLH", "BAW", "AFR", "KLM", "SWR"}, std::array{"A320", "B738"});
        readContent();
        par::CUSTOM_PARKING_PERCENTAGE.value = 100;
        par::MAX_HOLDING_MINUTES.value = 1;
        par::PARK_SOFT.value = false;
        par::MAX_FIT.value = 0;
        row.write("EDDM", [](int) { return ""; });
        list({"EDDM"});
        strangers = {{10, 13, -1, "DLH", "A320", "", "DLH7", "", 6000000},
                     {11, 20, -1, "BAW", "A320", "D-LOST", "BAW9", "", 6000001, false}};
    }
    /// Rolls in, and half a minute there.
    void sendArrival(const Visit& v, double t) const {
        const double way = v.reachesStand ? 200 + laneSouth : 150;
        if (t < way / rollSpeed + 40)
            send(v, v.arrival, rollingIn(row.stand(v.stand), t, way));
    }
    /// Stands, is pushed back, and rolls off to the east.
    void sendDeparture(const Visit& v, double t) const {
        const double out = t - 40;
        if (out < pushSeconds + 300 / rollSpeed)
            send(v, v.departure, out < 0 ? OnGround{row.stand(v.stand)} : leaving(row.stand(v.stand), out));
    }
    static void send(const Visit& v, const std::string& callsign, const OnGround& pose) {
        test::Straight s;
        s.hexid = v.hexid;
        s.callsign = callsign;
        s.model = v.model;
        s.regcode = v.regcode.empty() ? "null" : v.regcode;
        s.place = pose.at;
        s.bearing = pose.heading;
        s.knots = pose.knots;
        s.alt = 0;
        std::string line = s.line(0);
        line.replace(line.rfind(",DLH"), 4, "," + v.airline);
        const std::string_view time = ",1700000000.0,"; // of the line's second 0
        line.replace(line.find(time), time.size(), fmt::format(",{:.1f},", static_cast<double>(wallClock())));
        world::virtualDatagram(line);
    }
    /// What moves in a half-hour moves in its first minutes; then the clock goes on to the next.
    void flySlot(int slot) {
        std::vector<const Visit*> arrivals, departures;
        const auto take = [&](const Visit& v) {
            if (v.arrives == slot)
                arrivals.push_back(&v);
            if (v.leaves == slot)
                departures.push_back(&v);
        };
        std::ranges::for_each(visits, take);
        std::ranges::for_each(strangers, take);
        if (arrivals.empty() && departures.empty())
            return;
        setClock(sunday + static_cast<std::int64_t>(slot * slotSeconds) + 300);
        const std::int32_t begin = ticks;
        const auto moves = [](const LiveAircraft& a) { return a.fs != FlightState::parked; };
        const auto send = [&] {
            const double t = (ticks - begin) / 100.0;
            if ((ticks - begin) % 500 != 0)
                return;
            for (const Visit* v : arrivals)
                sendArrival(*v, t);
            for (const Visit* v : departures)
                sendDeparture(*v, t);
        };
        fly(180, send);
        ASSERT_TRUE(std::ranges::any_of(liveAircraft, [](const LiveAircraft& a) { return a.objectid != 0; }));
        while (std::ranges::any_of(liveAircraft, moves))
            fly(10, send);
        ASSERT_LT(ticks - begin, 60000) << "half-hour " << slot;
    }
    /// Takes two passes of 15 s.
    void renew() {
        windowRequests.parkAdjust = true;
        fly(45);
    }
    static Learned learned(bool real) {
        pugi::xml_document document;
        Learned all;
        EXPECT_TRUE(document.load_file("airports/learned/stock/EDDM.xml"));
        for (const pugi::xml_node stand : document.child("parkpositions").children("parkpos"))
            for (const pugi::xml_node opt : stand.children("opt")) {
                const ParkPosOption o = readOption(opt, 0);
                if ((o.real != 0) != real)
                    continue;
                const bool isNew =
                    all.emplace(fmt::format("{} {} day {}", stand.attribute("id").value(), o.regcode, o.day),
                                fmt::format("{} {} {} {} {}", o.airline, o.model, hoursText(o.hours), o.coupledCs1,
                                            o.coupledCs2))
                        .second;
                EXPECT_TRUE(isNew) << o.regcode << " stands there twice";
            }
        return all;
    }
    /// What the simulator has: airline and type on each stand.
    std::set<std::string> standing() const {
        std::set<std::string> all;
        for (const world::SimObject& o : world::inprocObjects())
            for (int n = 0; n < row.count; ++n)
                if (distanceNm(row.stand(n), {o.lat, o.lon}) * metresPerNm < 1.0)
                    all.insert(fmt::format("{} {}", StandRow::id(n), o.title));
        return all;
    }
};

TEST_F(LearningTest, ThreeDaysOfATimetableAreLearnedAndShownAgain) {
    begin(test::overTheField(), sunday + 60);
    fly(40);
    ASSERT_TRUE(parkAirportLoaded());
    for (int slot = 0; slot < 3 * slotsPerDay; ++slot) {
        flySlot(slot);
        if (slot % 11 == 0) {
            setClock(sunday + static_cast<std::int64_t>(slot * slotSeconds) + 1200);
            renew();
        }
    }
    unloadParkAirport();
    Learned expected;
    for (const Visit& v : visits)
        addVisit(expected, v);
    EXPECT_EQ(learned(true), expected);
    const Learned guessed = learned(false);
    ASSERT_EQ(guessed.size(), 1U) << "of the one that was lost on the taxiway";
    EXPECT_TRUE(guessed.begin()->first.find(" D-LOST day 7") != std::string::npos);
    end();

    // A week later.
    constexpr std::int64_t week = 7 * 86400;
    const auto clockOf = [](int slot) { return sunday + week + static_cast<std::int64_t>(slot * slotSeconds) + 60; };
    const auto there = [&](int slot) {
        std::set<std::string> all;
        for (const Visit& v : visits) {
            const int leaves = v.leaves < 0 ? v.arrives : v.leaves;
            const bool between =
                slot > v.arrives && slot < leaves && leaves - v.arrives <= 5 && dayOf(v.arrives) == dayOf(leaves);
            if (slot == v.arrives || slot == leaves || between)
                all.insert(fmt::format("{} T {} {}", StandRow::id(v.stand), v.model, v.airline));
        }
        return all;
    };
    begin(test::overTheField(), clockOf(13));
    fly(60);
    EXPECT_EQ(standing(), there(13));
    EXPECT_EQ(standing().size(), 3U);
    for (const int slot : {14, 18, 20, 33, 44, 47, 48, 49, slotsPerDay + 13, slotsPerDay + 60, 2 * slotsPerDay + 36}) {
        setClock(clockOf(slot));
        renew();
        EXPECT_EQ(standing(), there(slot)) << "half-hour " << slot;
    }
}

} // namespace
} // namespace kes::replay
