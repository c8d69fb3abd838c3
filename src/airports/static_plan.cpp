// SPDX-License-Identifier: MIT
#include "airports/static_plan.h"

#include "airports/best_option.h"
#include "airports/parked_table.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/random.h"
#include "core/text.h"
#include "core/window.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <utility>

namespace kes {

std::vector<StaticPlacement> toPark;
std::vector<LiveStayer> liveStayers;
std::vector<ParkedStayer> parkedStayers;
std::vector<ParkedToRemove> toRemove;
std::set<std::string> liveCallsigns;
std::int32_t wantedParked = 0;
std::int32_t realFit = 0, softFit = -1;

namespace {

constexpr std::size_t usualRound = 512; ///< placements of one half-hour
constexpr std::size_t fewStands = 3;    ///< of so few, half or more has to be wanted to get more than one
constexpr std::int32_t half = 50;       ///< percent

/// How many are more than wanted, when so many are planned.
std::size_t excessOf(std::size_t planned, std::int32_t have) {
    const std::int64_t excess = static_cast<std::int64_t>(planned) + have - wantedParked;
    return static_cast<std::size_t>(std::max<std::int64_t>(excess, 0));
}

void dropLast(std::vector<StaticPlacement>& list, std::size_t count) {
    list.resize(list.size() - std::min(count, list.size()));
}

void moveToPlan(std::vector<StaticPlacement>& round) {
    std::ranges::move(round, std::back_inserter(toPark));
    round.clear();
}

void logCollection(bool real, std::size_t added, std::int32_t fit) {
    if (added == 0)
        return;
    const std::string hours = shortest(maxFitHours());
    const std::string scope = fmt::format(", hh:{} or {} hrs", static_cast<std::int32_t>(par::MAX_FIT), hours) +
                              (par::WEEK ? std::string(", week") : fmt::format(", day {}", hhNow().day));
    log(fmt::format("{} {} position{} found, Max fit={} hours{}{}", added, real ? "real" : "soft",
                    plural(static_cast<std::int64_t>(added)), hours, scope,
                    fit >= 0 ? fmt::format(" fit: {} hour", shortest(fit * 0.5 + 0.5)) : ""));
}

void collect(OptionSearch& search, bool real, std::int32_t have) {
    const std::size_t before = toPark.size();
    std::vector<StaticPlacement> round;
    round.reserve(usualRound);
    bool reached = false;
    std::int32_t fit = 0;
    for (;; ++fit) {
        search.bestOption(hhNow(), real, fit, round);
        reached = search.occupied() >= wantedParked;
        if (reached)
            break;
        moveToPlan(round);
        if (fit >= par::MAX_FIT)
            break;
    }
    (real ? realFit : softFit) = fit;
    if (reached) {
        // The last round has filled more stands than wanted; which of them stay empty is left to chance.
        if (const std::size_t excess = excessOf(toPark.size() + round.size(), have); excess > 0) {
            if (par::RANDOM)
                std::shuffle(round.begin(), round.end(), generator());
            dropLast(round, excess);
        }
        moveToPlan(round);
        dropLast(toPark, excessOf(toPark.size(), have));
    }
    logCollection(real, toPark.size() - std::min(before, toPark.size()), fit);
}

} // namespace

std::int32_t parkingPercentage() {
    return par::CUSTOM_PARKING_PERCENTAGE >= 0 ? par::CUSTOM_PARKING_PERCENTAGE : par::parking_percentage;
}

std::int32_t wantedNumber(std::size_t standCount, std::int32_t& percent) {
    percent = parkingPercentage();
    const double share = percent * static_cast<double>(standCount) / 100.0;
    std::int32_t wanted = 1;
    if (standCount > 1 && (standCount > fewStands || percent >= half))
        wanted = static_cast<std::int32_t>(std::lround(share));
    if (par::CUSTOM_MAX_PARK != -1) {
        wanted = std::min<std::int32_t>(par::CUSTOM_MAX_PARK, wanted);
        percent = standCount == 0
                      ? 0
                      : static_cast<std::int32_t>(std::lround(wanted * 100.0 / static_cast<double>(standCount)));
    }
    return wanted;
}

void setWanted() {
    std::int32_t percent = 0;
    wantedParked = wantedNumber(stands.size(), percent);
    readouts.maxPark = wantedParked;
    readouts.maxParkPercent = percent;
    repaint();
}

void clearPlan() {
    toPark.clear();
    liveStayers.clear();
    parkedStayers.clear();
    toRemove.clear();
    for (Stand& stand : stands)
        stand.occupied = stand.reserved = stand.neighbourTaken = stand.liveOnIt = false;
}

void runPasses(std::int32_t have) {
    realFit = 0;
    softFit = -1;
    OptionSearch search(parkedAircraft);
    collect(search, true, have);
    if (static_cast<std::int64_t>(toPark.size()) + have < wantedParked && (par::PARK_SOFT || par::PARK_FAKE))
        collect(search, false, have);
}

void sortByFit(bool descending) {
    std::ranges::stable_sort(toPark, [descending](const StaticPlacement& a, const StaticPlacement& b) {
        return descending ? a.fit > b.fit : a.fit < b.fit;
    });
}

void dropPlacement(std::uint32_t sid) {
    std::erase_if(toPark, [sid](const StaticPlacement& placement) { return placement.sid == sid; });
}

double maxFitHours() {
    return par::MAX_FIT * 0.5 + 0.5;
}

void resetPlan() {
    clearPlan();
    liveCallsigns.clear();
    wantedParked = 0;
    realFit = 0;
    softFit = -1;
}

} // namespace kes
