#include "airports/stands.h"

#include <algorithm>

namespace kes {

std::vector<Stand> stands;

Stand* findStand(std::uint32_t sid) {
    const auto it = std::ranges::find(stands, sid, &Stand::sid);
    return sid == 0 || it == stands.end() ? nullptr : &*it;
}

} // namespace kes
