// SPDX-License-Identifier: MIT
#include "airports/best_option.h"

#include "core/parameters.h"
#include "core/random.h"
#include "reference/reference.h"

#include <algorithm>
#include <limits>

namespace kes {

namespace {

constexpr std::size_t allDays = 0;

bool holds(std::uint64_t hours, std::int32_t slot) {
    return ((hours >> slot) & 1U) != 0;
}

bool reported(const std::string& callsign) {
    return !callsign.empty() && (liveCallsigns.contains(callsign) || liveCallsigns.contains(callsign + '_'));
}

std::string_view withoutStar(std::string_view callsign) {
    return callsign.substr(0, callsign.ends_with('*') ? callsign.size() - 1 : callsign.size());
}

/// An empty text is nobody's.
template <class Texts> bool among(const Texts& texts, std::string_view text) {
    return !text.empty() && texts.contains(text);
}

template <class Texts> void addTo(Texts& texts, std::string_view text) {
    if (!text.empty())
        texts.insert(text);
}

} // namespace

bool standsOneMore(const Stand& stand, const ParkPosOption& option, HhNow now) {
    const HhNow next = later(now, 1);
    if (next.day == now.day)
        return holds(option.hours, next.slot);
    return std::ranges::any_of(stand.options, [&](const ParkPosOption& o) {
        return o.day == static_cast<std::uint32_t>(next.day) && o.airline == option.airline &&
               o.model == option.model && holds(o.hours, 0);
    });
}

OptionSearch::OptionSearch(const std::vector<AiAircraft>& parked) : parked_(parked) {
    std::size_t count = 0;
    for (const Stand& stand : stands)
        count += stand.options.size();
    options_.reserve(count);
    stands_.resize(stands.size());
    for (std::size_t i = 0; i < stands.size(); ++i) {
        StandOptions& of = stands_[i];
        of.first = static_cast<std::uint32_t>(options_.size());
        for (ParkPosOption& option : stands[i].options) {
            const bool known = option.optIndex != 0 && option.day <= 7;
            options_.push_back({&option, option.hours, -1.0, static_cast<std::uint8_t>(known ? option.day : 0),
                                option.real != 0, known});
            if (known)
                addHours(of, options_.back());
        }
        of.count = static_cast<std::uint32_t>(options_.size()) - of.first;
        if (stands[i].occupied)
            ++occupied_;
    }
    nextParked_.assign(parked_.size(), -1);
    // From the back, so that each list is in the order of the table.
    for (std::size_t n = parked_.size(); n-- > 0;) {
        const AiAircraft& a = parked_[n];
        addTo(takenCs1_, a.coupledCs1);
        addTo(parkedRegcodes_, a.regcode);
        if (a.sid == 0 || a.sid > stands_.size())
            continue;
        StandOptions& of = stands_[a.sid - 1];
        nextParked_[n] = of.firstParked;
        of.firstParked = static_cast<std::int32_t>(n);
    }
    for (const StaticPlacement& placement : toPark) {
        addTo(takenCs1_, placement.coupledCs1);
        addTo(plannedRegcodes_, placement.regcode);
    }
    for (const LiveStayer& stayer : liveStayers)
        addTo(stayerCallsigns_, stayer.callsign);
}

void OptionSearch::addHours(StandOptions& of, const Option& option) {
    auto& days = of.hours[option.real ? 1 : 0];
    days[allDays] |= option.hours;
    if (option.day != 0)
        days[option.day] |= option.hours;
}

void OptionSearch::outOfUse(StandOptions& of, Option& option) {
    option.option->optIndex = 0;
    option.usable = false;
    of.hours = {};
    for (std::uint32_t i = 0; i < of.count; ++i)
        if (const Option& left = options_[of.first + i]; left.usable)
            addHours(of, left);
}

double OptionSearch::roomOf(const Stand& stand, StandOptions& of) {
    if (of.roomKnown)
        return of.room;
    of.roomKnown = true;
    of.room = std::numeric_limits<double>::infinity();
    for (const std::uint32_t sid : stand.adjacent) {
        if (sid == 0 || sid > stands_.size())
            continue;
        for (std::int32_t n = stands_[sid - 1].firstParked; n >= 0; n = nextParked_[static_cast<std::size_t>(n)]) {
            const AiAircraft& a = parked_[static_cast<std::size_t>(n)];
            if (a.st != AircraftStatus::active)
                continue;
            const double distance = distanceNm({a.standLat, a.standLon}, stand.position());
            of.room = std::min(of.room, distance - wingspanOf(a.model));
        }
    }
    return of.room;
}

void OptionSearch::collectCandidates(const Stand& stand, StandOptions& of, HhNow time, bool real) {
    candidates_.clear();
    const std::size_t day = par::WEEK ? allDays : static_cast<std::size_t>(time.day);
    if (stand.neighbourTaken || !holds(of.hours[real ? 1 : 0][day], time.slot) || (stand.heli && !par::HELICOPTERS))
        return;
    const double room = roomOf(stand, of);
    for (std::uint32_t i = 0; i < of.count; ++i) {
        Option& o = options_[of.first + i];
        if (!o.usable || o.real != real || (day != allDays && o.day != day) || !holds(o.hours, time.slot))
            continue;
        if (room != std::numeric_limits<double>::infinity()) {
            if (o.span < 0)
                o.span = wingspanOf(o.option->model);
            if (o.span > room)
                continue;
        }
        candidates_.push_back(&o);
    }
}

/// Who stands there keeps its place in the list of candidates; otherwise chance decides.
void OptionSearch::putParkedFirst(const StandOptions& of) {
    if (candidates_.size() < 2 || !par::RANDOM)
        return;
    for (std::int32_t n = of.firstParked; n >= 0; n = nextParked_[static_cast<std::size_t>(n)]) {
        const AiAircraft& a = parked_[static_cast<std::size_t>(n)];
        const std::string_view callsign = withoutStar(a.callsign);
        const auto own = std::ranges::find_if(candidates_, [&](const Option* o) {
            return !callsign.empty() && o->option->airline == a.airline && o->option->model == a.model &&
                   (o->option->coupledCs1 == callsign || o->option->coupledCs2 == callsign);
        });
        if (own != candidates_.end()) {
            std::swap(*own, candidates_.front());
            return;
        }
    }
    std::shuffle(candidates_.begin(), candidates_.end(), generator());
}

void OptionSearch::note(const ParkPosOption& option) {
    addTo(takenCs1_, option.coupledCs1);
    addTo(plannedRegcodes_, option.regcode);
}

bool OptionSearch::take(Stand& stand, StandOptions& of, Option& chosen, HhNow now, std::int32_t fit,
                        std::vector<StaticPlacement>& out) {
    const ParkPosOption& o = *chosen.option;
    if (among(plannedRegcodes_, o.regcode) || reported(o.coupledCs1)) {
        outOfUse(of, chosen);
        return false;
    }
    if (reported(o.coupledCs2)) // on its way out, but who knows when it comes back
        return false;
    if (among(takenCs1_, o.coupledCs1) || among(takenCs1_, o.coupledCs2) || among(parkedRegcodes_, o.regcode) ||
        among(stayerCallsigns_, o.coupledCs1) || among(stayerCallsigns_, o.coupledCs2)) {
        outOfUse(of, chosen);
        return false;
    }
    StaticPlacement& placement = out.emplace_back();
    placement.sid = stand.sid;
    placement.fit = fit;
    placement.airline = o.airline;
    placement.model = o.model;
    placement.coupledCs1 = o.coupledCs1;
    placement.coupledCs2 = o.coupledCs2;
    placement.regcode = o.regcode;
    placement.firstLeg = o.coupledCs2.empty() || standsOneMore(stand, o, now);
    note(o);
    return true;
}

void OptionSearch::bestOption(HhNow now, bool real, std::int32_t fit, std::vector<StaticPlacement>& out) {
    const HhNow time = later(now, -fit);
    for (std::size_t i = 0; i < stands.size(); ++i) {
        Stand& stand = stands[i];
        if (stand.reserved || stand.occupied)
            continue;
        collectCandidates(stand, stands_[i], time, real);
        if (candidates_.empty())
            continue;
        putParkedFirst(stands_[i]);
        if (!take(stand, stands_[i], *candidates_.front(), now, fit, out))
            continue;
        stand.occupied = true;
        ++occupied_;
        for (const std::uint32_t sid : stand.adjacent)
            if (Stand* neighbour = findStand(sid))
                neighbour->neighbourTaken = true;
    }
}

} // namespace kes
