// SPDX-License-Identifier: MIT
#include "traffic/abandoned.h"

#include "core/run_state.h"

#include <algorithm>
#include <vector>

namespace kes {

namespace {

/// Ticks after which the object of a creation that was given up is not expected any more.
constexpr std::int32_t abandonedFor = 12000;
struct Abandoned {
    std::uint32_t hexid;
    std::int32_t tick;
};
std::vector<Abandoned> abandoned;

auto findAbandoned(std::uint32_t hexid) {
    std::erase_if(abandoned, [](const Abandoned& a) { return tickCount - a.tick > abandonedFor; });
    return std::ranges::find(abandoned, hexid, &Abandoned::hexid);
}

} // namespace

void noteAbandoned(std::uint32_t hexid) {
    abandoned.push_back({hexid, tickCount});
}
bool isAbandoned(std::uint32_t hexid) {
    return !abandoned.empty() && findAbandoned(hexid) != abandoned.end();
}
bool takeAbandoned(std::uint32_t hexid) {
    const auto it = findAbandoned(hexid);
    if (it == abandoned.end())
        return false;
    abandoned.erase(it);
    return true;
}
void clearAbandoned() {
    abandoned.clear();
}

} // namespace kes
