// SPDX-License-Identifier: MIT
#include "airports/parked_table.h"

#include <algorithm>
#include <utility>

namespace kes {

std::vector<AiAircraft> parkedAircraft;

namespace {

constexpr std::size_t mostParked = 9000;

std::uint32_t counter = 0;

} // namespace

AiAircraft* findParked(std::uint32_t hexid) {
    const auto it = std::ranges::find(parkedAircraft, hexid, &AiAircraft::hexid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

AiAircraft* findParkedByObject(std::uint32_t objectid) {
    const auto it = std::ranges::find(parkedAircraft, objectid, &AiAircraft::objectid);
    return it == parkedAircraft.end() ? nullptr : &*it;
}

void eraseParked(AiAircraft& aircraft) {
    if (&aircraft != &parkedAircraft.back())
        aircraft = std::move(parkedAircraft.back());
    parkedAircraft.pop_back();
}

void sweepParked() {
    std::erase_if(parkedAircraft, [](const AiAircraft& a) { return a.deleteNow || a.deleteQueued; });
}

std::uint32_t nextStaticHexid() {
    if (parkedAircraft.size() >= mostParked)
        return 0;
    // 0 means "none" elsewhere. Those of a first load that is never renewed outlive many rounds.
    do {
        counter = (counter + 1) % lastStaticHexid;
    } while (counter == 0 || findParked(counter) != nullptr);
    return counter;
}

} // namespace kes
