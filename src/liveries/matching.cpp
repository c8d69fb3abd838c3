// SPDX-License-Identifier: MIT
#include "liveries/matching.h"

#include "core/codes.h"
#include "core/log.h"
#include "core/parameters.h"
#include "core/random.h"
#include "liveries/store.h"
#include "reference/reference.h"
#include "reference/regcode_forms.h"

#include <algorithm>
#include <deque>
#include <fmt/format.h>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

namespace kes {

namespace {

std::array<std::uint32_t, 6> counters{};
std::deque<std::string> foreignTitles; ///< refused titles that no scan knows
std::unordered_set<std::string_view> refusedTitles;
std::vector<std::string> refusedNames;

std::size_t pickIndex(std::size_t n) {
    if (n < 2 || !par::RANDOM)
        return 0;
    return generator()() % n;
}

/// Nothing for an empty list; an empty title when every title of the list is special.
std::optional<std::string_view> chooseTitle(const Titles* list) {
    if (!list || list->empty())
        return {};
    std::string_view title = (*list)[pickIndex(list->size())];
    constexpr int tries = 5;
    for (int i = 0; i < tries; ++i) {
        if (!isSpecial(title))
            return title;
        title = (*list)[pickIndex(list->size())];
    }
    const Titles& open = openTitles(*list);
    return open.empty() ? std::string_view() : open[pickIndex(open.size())];
}

const Titles* titlesOf(std::string_view airline, std::string_view model, std::size_t kind) {
    const auto* models = find(liveryTables().byAirlineModel[kind], airline);
    return models ? find(*models, model) : nullptr;
}

/// The searches write into the record's title; true when it then has one.
bool searchAirlineModel(AiAircraft& record, std::string_view airline, std::string_view model, std::size_t kind) {
    if (const auto title = chooseTitle(titlesOf(airline, model, kind)))
        record.title = *title;
    return !record.title.empty();
}

/// A freighter may wear a passenger livery; never the other way round.
bool searchBoth(AiAircraft& record, std::string_view airline, std::string_view model) {
    return searchAirlineModel(record, airline, model, record.cargo) ||
           (record.cargo && searchAirlineModel(record, airline, model, 0));
}

bool searchModel(AiAircraft& record, std::string_view model) {
    if (const auto title = chooseTitle(find(liveryTables().byModel[record.cargo], model)))
        record.title = *title;
    return !record.title.empty();
}

/// Walks a list in its order, or in random order, until `visit` says true.
template <class Visit> bool walkSimilar(std::span<const std::string> list, Visit&& visit) {
    if (list.size() < 2 || !par::RANDOM)
        return std::any_of(list.begin(), list.end(), visit);
    thread_local std::vector<const std::string*> order; // keeps its room
    order.clear();
    for (const std::string& model : list)
        order.push_back(&model);
    std::shuffle(order.begin(), order.end(), generator());
    return std::any_of(order.begin(), order.end(), [&](const std::string* model) { return visit(*model); });
}

std::span<const std::string> similarForAirline(std::string_view airline, std::string_view model) {
    const auto* models = find(liveryTables().similarByAirline, airline);
    const auto* list = models ? find(*models, model) : nullptr;
    return list ? std::span<const std::string>(*list) : std::span<const std::string>();
}

std::span<const std::string> similarForModel(std::string_view model) {
    const LiveryTables& tables = liveryTables();
    if (const auto* list = find(tables.similarInstalled, model))
        return *list;
    const AircraftCategory category = categoryOf(model);
    const std::vector<std::string>* const source = category == AircraftCategory::light        ? &tables.lightModels
                                                   : category == AircraftCategory::buzjets    ? &tables.buzjetModels
                                                   : category == AircraftCategory::rotorcraft ? &tables.rotorModels
                                                                                              : nullptr;
    if (!source || source->empty())
        return {};
    return std::span<const std::string>(*source).subspan(pickIndex(source->size()), 1);
}

bool isSmall(AircraftCategory category) {
    return category == AircraftCategory::light || category == AircraftCategory::buzjets ||
           category == AircraftCategory::rotorcraft;
}

enum class Kind { live, parked };

/// The step that gave a title when nothing of the airline fits; 0 = none.
int lastResort(AiAircraft& record, int depth) {
    if (depth >= 4 && searchBoth(record, genericAirline, record.model))
        return 4;
    if (!isSmall(record.category))
        return 0;
    if (depth == 3 && searchBoth(record, genericAirline, record.model))
        return 4;
    if (searchModel(record, record.model))
        return 5;
    const bool found = walkSimilar(similarForModel(record.model),
                                   [&](const std::string& model) { return searchModel(record, model); });
    return found ? 6 : 0;
}

/// Models that resemble the record's own and that its airline, or the airframe's own airline, has in its colours.
bool searchSimilar(AiAircraft& record, Kind kind, std::string_view wornBy) {
    return walkSimilar(similarForAirline(record.airline, record.model), [&](const std::string& model) {
        return (kind == Kind::parked || categoryOf(model) == record.category) && searchBoth(record, wornBy, model);
    });
}

/// Fills the title of a record that has none; the step that found it, 0 = none.
int search(AiAircraft& record, Kind kind, const StandUse* stand) {
    const std::int32_t depth = par::MATCHING_DEPTH;
    const bool registered = !record.regcode.empty();
    if (registered)
        record.title = searchRegcode(record.regcode);
    if (stand)
        record.cargo = stand->cargo; // it is a freighter because it stands on a cargo stand
    if (!record.title.empty())
        return 1;
    if (depth < 2)
        return 0;
    if (record.airline == privateAirline && searchBoth(record, genericAirline, record.model))
        return 4;
    std::string alternative; // the airframe's own airline, where another one flies it
    bool hasOperator = false;
    if (registered) {
        if (auto known = lookupRegcode(record.regcode)) {
            hasOperator = !known->opr.empty();
            alternative = std::move(known->airl);
        }
    }
    if (!record.airline.empty() || kind == Kind::parked) {
        if (searchBoth(record, record.airline, record.model))
            return 2;
        if (hasOperator && searchBoth(record, alternative, record.model))
            return 2;
        if (depth < 3)
            return 0;
        if (searchSimilar(record, kind, record.airline))
            return 3;
        if (hasOperator && searchSimilar(record, kind, alternative))
            return 3;
    }
    return depth < 3 ? 0 : lastResort(record, depth);
}

} // namespace

int matchLive(AiAircraft& record) {
    const int step = search(record, Kind::live, nullptr);
    if (record.title.empty())
        return 0;
    if (isRefused(record.title)) {
        record.title = {};
        return 0;
    }
    ++counters[static_cast<std::size_t>(step - 1)];
    if (par::LOG)
        logIndented(fmt::format("{} ={}= {}", longLabel(record), step, record.title));
    record.reverseThrust = record.title.find("FSLTL_") != std::string_view::npos;
    return step;
}

bool matchStatic(AiAircraft& record, const StandUse& stand) {
    if (!record.title.empty()) {
        if (par::LOG)
            logIndented(fmt::format("{} =s= {}", longLabel(record), record.title));
        return true;
    }
    const int step = search(record, Kind::parked, &stand);
    if (record.title.empty()) {
        if (par::LOG)
            log(fmt::format("{:8}: {} no livery match ...", stand.id, shortLabel(record)));
        return false;
    }
    if (isRefused(record.title)) {
        record.title = {};
        return false;
    }
    if (par::LOG)
        logIndented(fmt::format("{} ={}= {}", longLabel(record), step, record.title));
    return true;
}

std::string_view searchRegcode(std::string_view regcode) {
    if (regcode.empty())
        return {};
    const std::string_view* title =
        firstOfRegcodeForms(regcode, [](std::string_view form) { return find(liveryTables().regcodeTable, form); });
    return title ? *title : std::string_view();
}

const std::array<std::uint32_t, 6>& stepCounters() {
    return counters;
}

void refuseTitle(std::string_view title, std::string_view model, std::string_view airline) {
    refusedNames.push_back(fmt::format("{} {}", model, airline));
    if (title.empty() || isRefused(title))
        return;
    std::string_view kept = findTitle(title);
    if (kept.empty())
        kept = foreignTitles.emplace_back(title);
    refusedTitles.insert(kept);
}

std::size_t refusedTitleCount() {
    return refusedTitles.size();
}

bool isRefused(std::string_view title) {
    return !refusedTitles.empty() && refusedTitles.contains(title);
}

void resetMatching() {
    counters = {};
    refusedTitles.clear();
    refusedNames.clear();
    foreignTitles.clear();
}

void writeMatchingSummary() {
    const std::string stars(31, '*');
    std::vector<std::string> lines;
    lines.push_back(fmt::format("\n{} live traffic livery matching summary {}", stars, stars));
    lines.push_back("Matches at step: ");
    for (std::size_t i = 0; i < counters.size(); ++i)
        lines.push_back(fmt::format("  {}: {}", i + 1, counters[i]));
    std::sort(refusedNames.begin(), refusedNames.end());
    refusedNames.erase(std::unique(refusedNames.begin(), refusedNames.end()), refusedNames.end());
    if (!refusedNames.empty()) {
        lines.push_back("\nCould not be created by MSFS:");
        for (const std::string& name : refusedNames)
            lines.push_back("  " + name);
    }
    lines.push_back(std::string(100, '*') + "\n");
    for (const std::string& line : lines)
        log(line);
}

} // namespace kes
