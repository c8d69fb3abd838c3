// SPDX-License-Identifier: MIT
#include "traffic/absence.h"

#include "core/log.h"
#include "core/parameters.h"

#include <fmt/format.h>
#include <iterator>
#include <unordered_set>

namespace kes {

namespace {

// In the order of NotShown.
constexpr std::string_view reasons[] = {
    "its type is unknown",
    "its kind of aircraft is switched off",
    "it is reported in the air at the airport's elevation",
    "no second report of it has come",
    "its real flight is shown already",
    "MAX_LIVE aircraft are shown, all nearer to you",
    "its callsign is blocked",
    "it has no callsign and no registration",
    "no installed livery fits",
    "its stand, or one too near, is taken",
};

/// Beyond that the told ones are forgotten, so that some are told twice.
constexpr std::size_t mostTold = 8192;
std::unordered_set<std::uint64_t> told; // hexid and reason

} // namespace

void tellNotShown(std::uint32_t hexid, const AircraftIdentity& who, NotShown reason) {
    if (!par::LOG)
        return;
    const auto index = static_cast<std::size_t>(reason);
    if (told.size() >= mostTold)
        told.clear();
    if (index < std::size(reasons) && told.insert(std::uint64_t{hexid} << 8 | index).second)
        log(fmt::format("{} {} is not shown: {}", timeStamp(), shortLabel(who), reasons[index]));
}

void tellLeaving(const AircraftIdentity& who, std::string_view reason) {
    if (par::LOG)
        log(fmt::format("{} {} leaves: {}", timeStamp(), shortLabel(who), reason));
}

void resetAbsence() {
    told.clear();
}

} // namespace kes
