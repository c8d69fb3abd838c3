// SPDX-License-Identifier: MIT
// No plan for a crowded airport breaks its limits.
#include "airport_harness.h"
#include "airports/best_option.h"

#include <random>

namespace kes::test {
namespace {

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
