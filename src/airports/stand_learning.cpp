// SPDX-License-Identifier: MIT
#include "airports/stand_learning.h"

#include "airports/airport_file.h"
#include "airports/airport_ref.h"
#include "airports/airport_source.h"
#include "airports/stand_search.h"
#include "core/log.h"
#include "core/text.h"
#include "core/window.h"
#include "platform/system.h"
#include "reference/reference.h"

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <unordered_map>

namespace kes {

namespace fs = std::filesystem;

std::int32_t saveUpdates = 0;
bool learningAllowed = false;

namespace {

constexpr std::int32_t longestGap = 5;     ///< half-hours that are filled between two notes
constexpr std::int32_t guessedAgain = 3;   ///< half-hours after which an aircraft may be guessed at once more
constexpr std::int32_t heavyWindow = 14;   ///< half-hours around now for coupled callsigns
constexpr std::int32_t coupledWindow = 10; ///< of others

/// When a use was last noted for an aircraft, whatever the stand; by hexid.
std::unordered_map<std::uint32_t, HhNow> parkSeen;

std::string_view withoutGhostMark(std::string_view callsign) {
    if (callsign.ends_with('_'))
        callsign.remove_suffix(1);
    return callsign;
}

constexpr std::uint64_t bitOf(std::int32_t slot) {
    return slot < 0 || slot >= slotsPerDay ? 0 : std::uint64_t{1} << slot;
}

ParkPosOption* optionOf(Stand& stand, std::int32_t optIndex) {
    const auto it = std::ranges::find(stand.options, optIndex, &ParkPosOption::optIndex);
    return optIndex == 0 || it == stand.options.end() ? nullptr : &*it;
}

/// Today's use of a stand by a registration, seen or guessed.
ParkPosOption* usedToday(Stand& stand, std::string_view regcode, bool real, HhNow now) {
    const auto it = std::ranges::find_if(stand.options, [&](const ParkPosOption& o) {
        return o.optIndex != 0 && o.day == static_cast<std::uint32_t>(now.day) && o.regcode == regcode &&
               (o.real != 0) == real;
    });
    return it == stand.options.end() ? nullptr : &*it;
}

/// Sets the half-hour on an option of the day. False = nothing is to be noted.
bool setHalfHour(ParkPosOption& option, HhNow now) {
    const std::uint64_t bit = bitOf(now.slot);
    if ((option.hours & bit) != 0 || option.fromArchive != 0)
        return false;
    option.hours |= bit;
    return true;
}

bool noteReal(Stand& stand, const AiAircraft& a, bool departing, HhNow now) {
    ParkPosOption* option = usedToday(stand, a.regcode, true, now);
    const auto seen = stand.realSeen.find(a.hexid);
    if (option == nullptr) {
        const std::int32_t index = addOption(stand, a, true, now, a.callsign, a.regcode);
        stand.realSeen.try_emplace(a.hexid, SeenEntry{now, index});
        countUpdate();
        return true;
    }
    if ((option->hours & bitOf(now.slot)) != 0) {
        if (departing && seen != stand.realSeen.end())
            stand.realSeen.erase(seen);
        return false;
    }
    if (!setHalfHour(*option, now))
        return false;
    if (departing && seen != stand.realSeen.end()) {
        if (seen->second.time != now)
            fillHours(stand, now, option->optIndex, seen->second, a, true);
        stand.realSeen.erase(a.hexid);
    }
    countUpdate();
    return true;
}

bool noteSoft(Stand& stand, const AiAircraft& a, bool known, HhNow now) {
    ParkPosOption* option = usedToday(stand, a.regcode, false, now);
    if (option == nullptr) {
        const std::int32_t index = addOption(stand, a, false, now, a.callsign, a.regcode);
        if (index < 1)
            return false;
        stand.softSeen.try_emplace(a.hexid, SeenEntry{now, index});
        countUpdate();
        return true;
    }
    if (!setHalfHour(*option, now))
        return false;
    if (known) {
        const std::int32_t index = option->optIndex;
        const auto [seen, isNew] = stand.softSeen.try_emplace(a.hexid, SeenEntry{now, index});
        if (!isNew && seen->second.time != now)
            fillHours(stand, now, index, seen->second, a, false);
    }
    countUpdate();
    return true;
}

template <typename Note> bool guarded(const char* name, std::uint32_t sid, const AiAircraft& a, HhNow now, Note note) {
    try {
        Stand* stand = findStand(sid);
        return stand != nullptr && !a.regcode.empty() && note(*stand);
    } catch (const std::exception& e) {
        log(fmt::format("{}: hh_now: {}, {}", name, fmt::format("{}/{}", now.day, now.slot), e.what()));
        return false;
    }
}

/// A real use of any stand by this registration, now or half an hour before or after.
bool reallySeenAround(std::string_view regcode, HhNow now) {
    const std::uint64_t around = bitOf(now.slot - 1) | bitOf(now.slot) | bitOf(now.slot + 1);
    return std::ranges::any_of(stands, [&](const Stand& stand) {
        return std::ranges::any_of(stand.options, [&](const ParkPosOption& o) {
            return o.real != 0 && o.day == static_cast<std::uint32_t>(now.day) && (o.hours & around) != 0 &&
                   o.regcode == regcode;
        });
    });
}

/// What is in the list already stays out of the learned file; a handmade list is written whole.
std::vector<Stand> standsToSave() {
    std::vector<Stand> list;
    for (Stand& stand : stands) {
        if (!handmadeAirport) {
            std::erase_if(stand.options, [](const ParkPosOption& o) { return o.fromArchive == 1; });
            if (!stand.manual && stand.options.empty() && !stand.radiusChange && !stand.cargoChange)
                continue;
        }
        list.push_back(stand);
    }
    return list;
}

} // namespace

void countUpdate() {
    ++saveUpdates;
    if (readouts.updates.exchange(saveUpdates) != saveUpdates)
        repaint();
}

std::int32_t addOption(Stand& stand, const AiAircraft& a, bool real, HhNow now, std::string_view callsign,
                       std::string_view regcode) {
    ParkPosOption option;
    option.coupledCs1 = withoutGhostMark(callsign);
    option.hours = bitOf(now.slot);
    option.optIndex = stand.options.empty() ? 1 : stand.options.back().optIndex + 1;
    option.airline = a.airline;
    option.model = a.model;
    option.regcode = regcode;
    option.day = static_cast<std::uint32_t>(now.day);
    option.real = real ? 1 : 0;
    if (!regcode.empty()) {
        if (const auto known = lookupRegcode(regcode)) {
            option.airline = known->airl;
            option.model = known->type;
        }
    }
    const bool there = std::ranges::any_of(stand.options, [&](const ParkPosOption& o) {
        return o.regcode == option.regcode && o.day == option.day && o.hours == option.hours &&
               o.coupledCs1 == option.coupledCs1;
    });
    if (there)
        return 0;
    stand.options.push_back(std::move(option));
    return stand.options.back().optIndex;
}

void joinCallsign(Stand& stand, std::int32_t optIndex, std::string_view callsign) {
    callsign = withoutGhostMark(callsign);
    ParkPosOption* option = optionOf(stand, optIndex);
    if (callsign.empty() || option == nullptr)
        return;
    if (option->coupledCs1.empty())
        option->coupledCs1 = callsign;
    else if (callsign != option->coupledCs1)
        option->coupledCs2 = callsign;
}

void fillHours(Stand& stand, HhNow now, std::int32_t optIndex, SeenEntry& seen, const AiAircraft& a, bool real) {
    ParkPosOption* option = optionOf(stand, optIndex);
    if (option == nullptr)
        return;
    const bool sameDay = now.day == seen.time.day;
    const bool nextDay = now.day == seen.time.day % 7 + 1;
    const std::int32_t ahead = now.slot - seen.time.slot + slotsPerDay;
    const std::int32_t gap = sameDay ? ahead % slotsPerDay : ahead;
    if (!(sameDay || nextDay) || gap < 1 || gap > longestGap)
        return;
    if (sameDay) {
        // Of a note of a week ago, late on this day, only what has passed of today is filled.
        for (std::int32_t slot = now.slot - gap + 1; slot <= now.slot; ++slot)
            option->hours |= bitOf(slot);
        joinCallsign(stand, optIndex, a.callsign);
    } else if (const std::int32_t added = addOption(stand, a, real, now, a.callsign, a.regcode); added > 0) {
        ParkPosOption& given = *optionOf(stand, optIndex); // the list has grown
        ParkPosOption& fresh = stand.options.back();
        for (std::int32_t slot = seen.time.slot + 1; slot < now.slot + slotsPerDay; ++slot)
            (slot < slotsPerDay ? given : fresh).hours |= bitOf(slot % slotsPerDay);
        joinCallsign(stand, optIndex, a.callsign);
        joinCallsign(stand, added, a.callsign);
        seen.optIndex = added;
    }
    seen.time = now;
}

bool lf_addRealParkPosOption(std::uint32_t sid, const AiAircraft& aircraft, bool departing, HhNow now) {
    return guarded("lf_addRealParkPosOption", sid, aircraft, now, [&](Stand& stand) {
        return !aircraft.callsign.empty() && noteReal(stand, aircraft, departing, now);
    });
}

bool lf_addSoftParkPosOption(std::uint32_t sid, const AiAircraft& aircraft, bool known, HhNow now) {
    return guarded("lf_addSoftParkPosOption", sid, aircraft, now,
                   [&](Stand& stand) { return noteSoft(stand, aircraft, known, now); });
}

void noteRealUse(const AiAircraft& a, bool departing, HhNow now) {
    if (a.airline.empty() || a.cargo != a.standCargo)
        return;
    if (lf_addRealParkPosOption(a.sid, a, departing, now))
        parkSeen[a.hexid] = now;
}

void noteGuessedUse(const AiAircraft& a, HhNow now) {
    for (const Stand& stand : stands) {
        const auto seen = stand.softSeen.find(a.hexid);
        if (seen == stand.softSeen.end() || seen->second.time == now)
            continue;
        if (lf_addSoftParkPosOption(stand.sid, a, true, now)) {
            parkSeen[a.hexid] = now;
            return;
        }
        break;
    }
    const auto [noted, isNew] = parkSeen.try_emplace(a.hexid, now);
    if (!isNew && halfHoursSince(noted->second, now) < guessedAgain)
        return;
    noted->second = now;
    if (reallySeenAround(a.regcode, now))
        return;
    const std::uint32_t sid = lf_searchStands(now, a, true);
    if (sid != 0 && !lf_addSoftParkPosOption(sid, a, false, now))
        parkSeen.erase(a.hexid);
}

void learnCargo(Stand& stand, const AiAircraft& a) {
    if (!a.cargo || a.standCargo || stand.cargo)
        return;
    stand.cargo = true;
    stand.cargoChange = true;
    countUpdate();
    log(fmt::format("{} stand: {}, cargo attribute set to true, {} parked here", airportRef ? airportRef->code : "",
                    stand.id, longLabel(a)));
}

void lf_searchForCoupledCsAroundThisTime(HhNow now, AiAircraft& a) {
    try {
        const std::int32_t reach = a.category == AircraftCategory::heavy ? heavyWindow : coupledWindow;
        std::uint64_t window = 0;
        for (std::int32_t slot = now.slot - reach; slot <= now.slot + reach; ++slot)
            window |= bitOf(slot);
        const std::string_view callsign = withoutGhostMark(a.callsign);
        for (const Stand& stand : stands) {
            for (const ParkPosOption& o : stand.options) {
                if (o.optIndex == 0 || o.day != static_cast<std::uint32_t>(now.day) || (o.hours & window) == 0 ||
                    o.coupledCs2.empty() || o.airline != a.airline ||
                    (callsign != o.coupledCs1 && callsign != o.coupledCs2))
                    continue;
                a.coupledCs1 = o.coupledCs1;
                a.coupledCs2 = o.coupledCs2;
                return;
            }
        }
    } catch (const std::exception& e) {
        log(fmt::format("{}: {}", "lf_searchForCoupledCsAroundThisTime", e.what()));
    }
}

void saveLearnedFile() {
    AirportFile file;
    file.icao = parkAirportFile.icao;
    file.airport_name = parkAirportFile.airport_name;
    file.altitude = parkAirportFile.altitude;
    file.publisher = parkAirportFile.publisher;
    if (handmadeAirport) {
        const QualityPair quality = gf_qualityFactor();
        file.Qf_real = quality.real;
        file.Qf_soft = quality.soft;
    }
    file.standList = standsToSave();
    const fs::path folder = learnedFolder(file.publisher);
    std::error_code failed;
    fs::create_directories(folder, failed);
    if (failed)
        throw fs::filesystem_error("create_directory", folder, failed);
    const fs::path path = folder / (file.icao + ".xml");
    if (writeAirportFile(file, path, false)) {
        showStatus(fmt::format("{}{} \"{}\" saved with {} update{} {}", timeStamp(), handmadeAirport ? " handmade" : "",
                               platform::pathText(path), saveUpdates, plural(saveUpdates),
                               saveParamChanged ? "and one or more parameter changes" : ""),
                   true);
    } else {
        showStatus(fmt::format("{} saving \"{}\" did not succeed", timeStamp(), platform::pathText(path)), true);
    }
    saveUpdates = 0;
    readouts.updates = 0;
    saveParamChanged = false;
}

void resetStandLearning() {
    saveUpdates = 0;
    readouts.updates = 0;
    learningAllowed = false;
    parkSeen.clear();
}

} // namespace kes
