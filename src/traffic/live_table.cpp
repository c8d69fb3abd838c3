// SPDX-License-Identifier: MIT
#include "traffic/live_table.h"

#include <algorithm>
#include <utility>

namespace kes {

std::vector<LiveAircraft> liveAircraft;
std::deque<std::uint32_t> landingList;

LiveAircraft* findLive(std::uint32_t hexid) {
    const auto it = std::ranges::find(liveAircraft, hexid, &LiveAircraft::hexid);
    return it == liveAircraft.end() ? nullptr : &*it;
}

LiveAircraft* findLiveByObject(std::uint32_t objectid) {
    if (objectid == 0) // what waits in buffer has no object
        return nullptr;
    const auto it = std::ranges::find(liveAircraft, objectid, &LiveAircraft::objectid);
    return it == liveAircraft.end() ? nullptr : &*it;
}

void eraseLive(LiveAircraft& aircraft) {
    // An entry of a record that has gone would hold up the landing list for good.
    std::erase(landingList, aircraft.hexid);
    LiveAircraft& last = liveAircraft.back();
    if (&aircraft != &last)
        aircraft = std::move(last);
    liveAircraft.pop_back();
}

void compactLive() {
    std::erase_if(liveAircraft, [](const LiveAircraft& a) {
        const bool gone = a.deleteNow || a.deleteQueued;
        if (gone)
            std::erase(landingList, a.hexid);
        return gone;
    });
}

} // namespace kes
