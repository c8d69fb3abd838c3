#include "airports/stands.h"

#include <algorithm>

namespace kes {

std::vector<Stand> stands;

Stand* findStand(std::uint32_t sid) {
    if (sid == 0)
        return nullptr;
    if (sid <= stands.size() && stands[sid - 1].sid == sid)
        return &stands[sid - 1];
    const auto it = std::ranges::find(stands, sid, &Stand::sid); // a list that was not numbered yet
    return it == stands.end() ? nullptr : &*it;
}

std::string standName(std::uint32_t sid) {
    if (sid == 0)
        return "sid==0?";
    const Stand* stand = findStand(sid);
    return stand != nullptr ? stand->id : "unknown";
}

void releaseStand(std::uint32_t sid) {
    if (Stand* stand = findStand(sid))
        stand->liveOnIt = false;
}

} // namespace kes
