// SPDX-License-Identifier: MIT
// The indexed search against the rules read out one by one.
#include "airport_harness.h"
#include "airports/best_option.h"

#include <random>

namespace kes::test {
namespace {

std::string_view without(std::string_view text, char last) {
    return text.substr(0, text.ends_with(last) ? text.size() - 1 : text.size());
}

/// The rules, in their order, with nothing but walks.
struct Plain {
    std::vector<Stand>& list;
    const std::vector<AiAircraft>& parked;
    std::vector<StaticPlacement> planned{}; ///< of earlier rounds and this one

    bool conflicts(const Stand& stand, const std::string& model) const {
        for (const std::uint32_t sid : stand.adjacent)
            for (const AiAircraft& a : parked)
                if (a.st == AircraftStatus::active && a.sid == sid &&
                    wingspanOf(model) + wingspanOf(a.model) > distanceNm({a.standLat, a.standLon}, stand.position()))
                    return true;
        return false;
    }
    static bool reported(const std::string& callsign) {
        return !callsign.empty() && (liveCallsigns.count(callsign) != 0 || liveCallsigns.count(callsign + "_") != 0);
    }
    static bool same(const std::string& a, const std::string& b) { return !a.empty() && a == b; }

    void run(HhNow now, bool real, std::int32_t fit, std::vector<StaticPlacement>& out) {
        int day = now.day, slot = now.slot - fit;
        if (slot < 0) {
            slot += 48;
            day = day == 1 ? 7 : day - 1;
        }
        for (Stand& stand : list) {
            if (stand.reserved || stand.occupied)
                continue;
            std::vector<ParkPosOption*> candidates;
            for (ParkPosOption& o : stand.options) {
                if (o.optIndex != 0 && (o.real == 1) == real &&
                    (par::WEEK || o.day == static_cast<std::uint32_t>(day)) && (o.hours >> slot & 1U) != 0 &&
                    !(stand.heli && !par::HELICOPTERS) && !conflicts(stand, o.model) && !stand.neighbourTaken)
                    candidates.push_back(&o);
            }
            if (candidates.empty())
                continue;
            if (candidates.size() >= 2 && par::RANDOM)
                arrange(stand, candidates);
            choose(stand, *candidates.front(), now, fit, out);
        }
    }
    void arrange(const Stand& stand, std::vector<ParkPosOption*>& candidates) const {
        for (const AiAircraft& a : parked) {
            if (a.sid != stand.sid)
                continue;
            for (ParkPosOption*& o : candidates) {
                const std::string_view callsign = without(a.callsign, '*');
                if (!callsign.empty() && o->airline == a.airline && o->model == a.model &&
                    (o->coupledCs1 == callsign || o->coupledCs2 == callsign)) {
                    std::swap(o, candidates.front());
                    return;
                }
            }
        }
        std::shuffle(candidates.begin(), candidates.end(), generator());
    }
    void choose(Stand& stand, ParkPosOption& o, HhNow now, std::int32_t fit, std::vector<StaticPlacement>& out) {
        for (const StaticPlacement& p : planned)
            if (same(o.regcode, p.regcode)) {
                o.optIndex = 0;
                return;
            }
        if (reported(o.coupledCs1)) {
            o.optIndex = 0;
            return;
        }
        if (reported(o.coupledCs2))
            return;
        bool taken = false;
        for (const AiAircraft& a : parked)
            taken = taken || same(a.coupledCs1, o.coupledCs1) || same(a.coupledCs1, o.coupledCs2) ||
                    same(a.regcode, o.regcode);
        for (const StaticPlacement& p : planned)
            taken = taken || same(p.coupledCs1, o.coupledCs1) || same(p.coupledCs1, o.coupledCs2);
        for (const LiveStayer& s : liveStayers)
            taken = taken || same(s.callsign, o.coupledCs1) || same(s.callsign, o.coupledCs2);
        if (taken) {
            o.optIndex = 0;
            return;
        }
        bool first = true;
        if (!o.coupledCs2.empty()) {
            if (now.slot < 47) {
                first = (o.hours >> (now.slot + 1) & 1U) != 0;
            } else {
                const std::uint32_t tomorrow = now.day == 7 ? 1 : static_cast<std::uint32_t>(now.day) + 1;
                first = false;
                for (const ParkPosOption& other : stand.options)
                    first = first || (other.airline == o.airline && other.model == o.model && other.day == tomorrow &&
                                      (other.hours & 1U) != 0);
            }
        }
        out.push_back({stand.sid, fit, o.airline, o.model, o.coupledCs1, o.coupledCs2, o.regcode, first});
        planned.push_back(out.back());
        stand.occupied = true;
        for (const std::uint32_t sid : stand.adjacent)
            list[sid - 1].neighbourTaken = true;
    }
};

struct BestOptionTest : AirportTest {
    std::mt19937 dice{11};
    int roll(int n) { return static_cast<int>(dice() % static_cast<unsigned>(n)); }
    std::string callsign() { return roll(6) == 0 ? "" : "DLH" + std::to_string(roll(90)); }
    std::string regcode() { return roll(3) == 0 ? "" : "D-A" + std::to_string(roll(60)); }
    std::string model() { return roll(3) == 0 ? "B77W" : "A320"; }

    /// Stands in two crowded rows, with uses from small pools, so that all rules meet.
    void makeAirport(int count) {
        stands.clear();
        for (int n = 0; n < count; ++n) {
            Stand& stand = addStand(40.0 * (n / 2) + roll(15), 18 + roll(14));
            stand.lon += n % 2 == 0 ? 0 : 90 * metre;
            stand.reserved = roll(25) == 0;
            stand.occupied = roll(25) == 0;
            stand.heli = roll(12) == 0;
            for (int o = roll(9); o > 0; --o)
                addOption(stand, {.airline = roll(2) == 0 ? "DLH" : "BAW",
                                  .model = model(),
                                  .regcode = regcode(),
                                  .coupledCs1 = callsign(),
                                  .coupledCs2 = roll(2) == 0 ? callsign() : "",
                                  .hours = dice() & dice() & 0xffffffff,
                                  .day = static_cast<std::uint32_t>(roll(8)),
                                  .real = roll(2)})
                    .hours |= std::uint64_t{dice() & 0xffff} << 32;
        }
        findAdjacent(stands);
        parkedAircraft.clear();
        for (int n = roll(count); n > 0; --n) {
            AiAircraft& a = addParked(static_cast<std::uint32_t>(roll(count + 1)), callsign(), {3, 10}, model());
            a.regcode = regcode();
            a.airline = roll(2) == 0 ? "DLH" : "BAW";
            a.st = roll(4) == 0 ? AircraftStatus::removingfromsim : AircraftStatus::active;
        }
        liveCallsigns.clear();
        liveStayers.clear();
        for (int n = roll(20); n > 0; --n)
            liveCallsigns.insert(callsign() + (roll(3) == 0 ? "_" : "") + "");
        for (int n = roll(8); n > 0; --n)
            liveStayers.push_back({callsign(), 0, 0, 0, ""});
        par::WEEK.value = roll(3) == 0;
        par::RANDOM.value = roll(2) == 0;
        par::HELICOPTERS.value = roll(2) == 0;
    }
};

std::string text(const std::vector<StaticPlacement>& list) {
    std::string all;
    for (const StaticPlacement& p : list)
        all += fmt::format("{}/{} {} {} {} {} {} {}\n", p.sid, p.fit, p.airline, p.model, p.coupledCs1, p.coupledCs2,
                           p.regcode, p.firstLeg);
    return all;
}

std::string marks(const std::vector<Stand>& list) {
    std::string all;
    for (const Stand& stand : list) {
        all += fmt::format("{}{}", stand.occupied ? 'O' : '.', stand.neighbourTaken ? 'n' : '.');
        for (const ParkPosOption& o : stand.options)
            all += o.optIndex == 0 ? '-' : '+';
    }
    return all;
}

TEST_F(BestOptionTest, IndexedSearchDoesWhatTheRulesSay) {
    std::size_t placed = 0, outOfUse = 0;
    for (unsigned round = 0; round < 300; ++round) {
        makeAirport(4 + roll(40));
        const HhNow now{1 + roll(7), roll(4) == 0 ? 47 * roll(2) : roll(48)};
        std::vector<Stand> list = stands;
        Plain plain{list, parkedAircraft};
        std::vector<StaticPlacement> expected, found;
        setRandomSeed(round);
        for (const bool real : {true, false})
            for (std::int32_t fit = 0; fit < 48; ++fit)
                plain.run(now, real, fit, expected);
        setRandomSeed(round);
        OptionSearch search(parkedAircraft);
        for (const bool real : {true, false})
            for (std::int32_t fit = 0; fit < 48; ++fit)
                search.bestOption(now, real, fit, found);
        ASSERT_EQ(text(found), text(expected)) << round;
        ASSERT_EQ(marks(stands), marks(list)) << round;
        ASSERT_EQ(search.occupied(), std::ranges::count(stands, true, &Stand::occupied)) << round;
        placed += found.size();
        for (const Stand& stand : stands)
            outOfUse += static_cast<std::size_t>(std::ranges::count(stand.options, 0, &ParkPosOption::optIndex));
    }
    EXPECT_GT(placed, 1500u) << "the airports are too empty to tell";
    EXPECT_GT(outOfUse, 1000u);
}

TEST_F(BestOptionTest, NoPlanBreaksItsLimits) {
    for (unsigned round = 0; round < 200; ++round) {
        makeAirport(1 + roll(50));
        liveStayers.clear();
        clearPlan();
        for (Stand& stand : stands)
            stand.reserved = roll(10) == 0;
        par::parking_percentage.value = roll(101);
        par::CUSTOM_MAX_PARK.value = roll(3) == 0 ? roll(20) : -1;
        par::MAX_FIT.value = roll(48);
        par::PARK_SOFT.value = roll(2) == 0;
        setWanted();
        if (wantedParked > 0)
            runPasses(0);
        ASSERT_LE(toPark.size(), static_cast<std::size_t>(wantedParked)) << round;
        std::vector<const StaticPlacement*> on(stands.size() + 1);
        for (const StaticPlacement& p : toPark) {
            ASSERT_EQ(on[p.sid], nullptr) << round;
            on[p.sid] = &p;
            ASSERT_LE(p.fit, par::MAX_FIT) << round;
        }
        for (const Stand& stand : stands) {
            ASSERT_FALSE(stand.reserved && on[stand.sid]) << round << " " << stand.id;
            for (const std::uint32_t sid : stand.adjacent) {
                ASSERT_FALSE(on[stand.sid] && on[sid]) << round << " " << stand.id;
                for (const AiAircraft& a : parkedAircraft)
                    if (on[stand.sid] && a.sid == sid && a.st == AircraftStatus::active) {
                        ASSERT_LE(wingspanOf(a.model) + wingspanOf(on[stand.sid]->model),
                                  distanceNm({a.standLat, a.standLon}, stand.position()))
                            << round << " " << stand.id;
                    }
            }
        }
    }
}

} // namespace
} // namespace kes::test
