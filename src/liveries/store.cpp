#include "liveries/store.h"

#include "core/log.h"
#include "core/parameters.h"
#include "core/text.h"
#include "core/window.h"
#include "liveries/livery.h"
#include "reference/regcode_forms.h"
#include "reference/text_map.h"

#include <algorithm>
#include <array>
#include <deque>
#include <fmt/format.h>
#include <unordered_set>

namespace kes {
namespace {

using Titles = std::vector<std::string_view>;

std::vector<Livery> store; ///< in file order; owns the texts that all tables below view
std::unordered_set<std::string_view> allTitles;
TextMap<TextMap<Titles>> byAirlineModel;
TextMap<Titles> byModel;
TextMap<std::string_view> byRegcode;
bool processed = false;

std::deque<std::string> foreignTitles; ///< refused titles that no scan knows
Titles refusedTitles;
std::vector<std::string> refusedNames;
std::array<std::uint32_t, 6> stepCounters{};

constexpr int airlineStep = 2, anyAirlineStep = 5;

/// The first of `titles` that the simulator has not refused, or an empty view.
std::string_view firstUsable(const Titles* titles) {
    if (titles) {
        for (const std::string_view title : *titles) {
            if (!isRefused(title)) {
                return title;
            }
        }
    }
    return {};
}

void buildTables() {
    for (const Livery& livery : store) {
        allTitles.insert(livery.title);
        byAirlineModel[livery.airline][livery.model].push_back(livery.title);
        byModel[livery.model].push_back(livery.title);
        if (!livery.regcode.empty()) {
            byRegcode.try_emplace(livery.regcode, livery.title); // the first in sorted order keeps a registration
        }
    }
}

void clearTables() {
    byRegcode.clear();
    byModel.clear();
    byAirlineModel.clear();
    allTitles.clear();
    store.clear();
}

} // namespace

void reserveLiveryTables() {
    constexpr std::size_t usualTitles = 4096;
    allTitles.reserve(usualTitles);
    byModel.reserve(256);
    byAirlineModel.reserve(512);
}

void processScannedLiveries() {
    if (processed) {
        log("Processing scanned liveries skipped; already done in previous start-up");
        return;
    }
    store = readLiveriesScanned();
    readouts.liveries = static_cast<std::int32_t>(store.size());
    repaint();
    buildTables();
    log(fmt::format("{} registration codes", byRegcode.size()));
    log(fmt::format("{} airlines, {} aircraft models", byAirlineModel.size(), byModel.size()));
    processed = true;
}

void resetLiveries() {
    refusedTitles.clear();
    refusedNames.clear();
    foreignTitles.clear();
    stepCounters = {};
    clearTables();
    processed = false;
}

std::size_t liveryCount() {
    return store.size();
}

std::string_view findTitle(std::string_view title) {
    const auto found = allTitles.find(title);
    return found == allTitles.end() ? std::string_view() : *found;
}

void matchLive(AiAircraft& record) {
    int step = airlineStep;
    std::string_view title;
    if (!record.airline.empty()) {
        const TextMap<Titles>* models = find(byAirlineModel, record.airline);
        title = firstUsable(models ? find(*models, record.model) : nullptr);
    }
    if (title.empty()) {
        step = anyAirlineStep;
        title = firstUsable(find(byModel, record.model));
    }
    record.title = title;
    if (title.empty()) {
        return;
    }
    ++stepCounters[static_cast<std::size_t>(step - 1)];
    if (par::LOG) {
        logIndented(fmt::format("{} ={}= {}", longLabel(record), step, title));
    }
    record.reverseThrust = title.find("FSLTL_") != std::string_view::npos;
}

std::string_view searchRegcode(std::string_view regcode) {
    if (regcode.empty()) {
        return {};
    }
    const std::string_view* title =
        firstOfRegcodeForms(regcode, [](std::string_view form) { return find(byRegcode, form); });
    return title ? *title : std::string_view();
}

void refuseTitle(std::string_view title, std::string_view model, std::string_view airline) {
    refusedNames.push_back(fmt::format("{} {}", model, airline));
    if (title.empty() || isRefused(title)) {
        return;
    }
    std::string_view kept = findTitle(title);
    if (kept.empty()) {
        kept = foreignTitles.emplace_back(title);
    }
    refusedTitles.push_back(kept);
}

std::size_t refusedTitleCount() {
    return refusedTitles.size();
}

bool isRefused(std::string_view title) {
    return std::find(refusedTitles.begin(), refusedTitles.end(), title) != refusedTitles.end();
}

void writeMatchingSummary() {
    const std::string stars(31, '*');
    std::vector<std::string> lines;
    lines.push_back(fmt::format("\n{} live traffic livery matching summary {}", stars, stars));
    lines.push_back("Matches at step: ");
    for (std::size_t i = 0; i < stepCounters.size(); ++i) {
        lines.push_back(fmt::format("  {}: {}", i + 1, stepCounters[i]));
    }
    std::sort(refusedNames.begin(), refusedNames.end());
    refusedNames.erase(std::unique(refusedNames.begin(), refusedNames.end()), refusedNames.end());
    if (!refusedNames.empty()) {
        lines.push_back("\nCould not be created by MSFS:");
        for (const std::string& name : refusedNames) {
            lines.push_back("  " + name);
        }
    }
    lines.push_back(std::string(100, '*') + "\n");
    for (const std::string& line : lines) {
        log(line);
    }
}

} // namespace kes
