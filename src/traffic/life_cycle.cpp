// The worker's queues, the run's table of titles, and what belongs to the run as a whole.
#include "traffic/life_cycle.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/run_state.h"
#include "traffic/conflicts.h"
#include "traffic/life_cycle_parts.h"
#include "traffic/tick_check.h"

#include <algorithm>
#include <fmt/format.h>
#include <unordered_map>

namespace kes {

std::vector<std::uint32_t> spawnQueue;
std::deque<CreateRequest> liveCreateQueue;
std::deque<CreateRequest> staticCreateQueue;
std::deque<std::uint32_t> removalQueue;
std::deque<std::uint32_t> landingList;
std::vector<std::string> noMatchList;

namespace {

// Looked up by hexid only and never walked, so its order shows nowhere.
std::unordered_map<std::uint32_t, std::string_view> titleTable;

} // namespace

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
    if (!par::LOG || noMatchList.empty())
        return;
    log("\nNo match found for: ");
    for (const std::string& key : noMatchList)
        log(key);
    log("");
}

void resetLiveTraffic() {
    liveAircraft.clear();
    spawnQueue.clear();
    liveCreateQueue.clear();
    staticCreateQueue.clear();
    removalQueue.clear();
    landingList.clear();
    noMatchList.clear();
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
