// The worker's queues, the run's table of titles, and what belongs to the run as a whole.
#include "traffic/life_cycle.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "sim/orders.h"
#include "traffic/conflicts.h"
#include "traffic/life_cycle_parts.h"
#include "traffic/tick_check.h"

#include <algorithm>
#include <fmt/format.h>
#include <unordered_map>

namespace kes {

std::deque<std::uint32_t> landingList;
NoMatchList noMatchList;

namespace {

// Looked up by hexid only and never walked, so its order shows nowhere.
std::unordered_map<std::uint32_t, std::string_view> titleTable;

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

void NoMatchList::add(std::string key) {
    if (index_.contains(key))
        return;
    if (keys_.size() == limit) {
        index_.erase(keys_.front());
        keys_.pop_front();
    }
    index_.insert(keys_.emplace_back(std::move(key)));
}

void NoMatchList::clear() {
    index_.clear();
    keys_.clear();
}

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

std::string_view rememberedTitle(std::uint32_t hexid) {
    const auto it = titleTable.find(hexid);
    return it == titleTable.end() ? std::string_view() : it->second;
}

void rememberTitle(std::uint32_t hexid, std::string_view title) {
    titleTable[hexid] = title;
}
void forgetTitle(std::uint32_t hexid) {
    titleTable.erase(hexid);
}
void clearTitleTable() {
    titleTable.clear();
}

void writeNoMatchReport() {
    if (!par::LOG || noMatchList.keys().empty())
        return;
    log("\nNo match found for: ");
    for (const std::string& key : noMatchList.keys())
        log(key);
    log("");
}

void resetLiveTraffic() {
    liveAircraft.clear();
    clearOrders();
    clearOutbox();
    landingList.clear();
    noMatchList.clear();
    abandoned.clear();
    clearTitleTable();
    clearLightSequences();
    resetConflicts();
    resetTickCheck();
}

std::string aircraftTrouble(std::string_view routine, std::string_view what, const LiveAircraft& aircraft) {
    return fmt::format("{}: {} {}, sz:{}, fs:{}, st:{}", routine, what, longLabel(aircraft), aircraft.sz(),
                       text(aircraft.fs), text(aircraft.st));
}

void reportEmptyStream(std::string_view routine, LiveAircraft& aircraft) {
    log(fmt::format("{} {} fs:{}, st:{} stream at the end is empty?", routine, longLabel(aircraft), text(aircraft.fs),
                    text(aircraft.st)));
    removeAircraftFromSim(aircraft);
}

} // namespace kes
